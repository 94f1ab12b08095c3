#pragma once

#include "connection/EventSinks.h"
#include "connection/HandleBase.h"
#include "connection/HandlerRegistry.h"
#include "connection/NotificationBase.h"
#include "handlers/base/DataSender.h"
#include "message/ByteSet.h"
#include "runtime/CallGate.h"
#include "runtime/SLSrvPtr.h"
#include "runtime/ZelNotification.h"

#include <vector>

/// Something to deliver to the application.
struct CNTFData
{
    std::uint32_t kind;  ///< ZEL_CONNECTION_EVENT or ZEL_INDICATION.
    std::uint32_t messageId;
    void* record;
};

/// One open connection from the application to one phone, through the link service. Its address is the application's
/// handle.
class CVorlanControl final : public CHandleBase,
                             public CNotificationBase,
                             public CDataSender,
                             public CZelNotification<CNTFData>,
                             public CIVorlanServiceEvents,
                             public CIVorlanServiceEvents2
{
  public:
    CVorlanControl();
    ~CVorlanControl() override;

    std::uint32_t Initialize() override { return ZEL_OK; }
    std::uint32_t Shutdown() override;

    /// Results: 0, or ZEL_E_FAIL whatever failed.
    std::uint32_t OpenById(std::uint32_t deviceId);
    /// Results: 0, or the HRESULT of what failed.
    std::uint32_t OpenBySerialNumber(const OLECHAR* serialNumber, std::uint32_t medium);
    /// Undoes an open, or what a failed one has left. Harmless when there is nothing to undo.
    std::uint32_t Close();

    std::uint32_t SendRequest(std::uint32_t messageId, void* record);
    std::uint32_t QuerySupport(std::uint32_t messageId, std::uint32_t& version) const;
    std::uint32_t Subscribe(std::uint32_t action, std::uint32_t messageId);

    std::uint32_t Send(CMessage& message, std::uint32_t timeoutMs) override;
    std::uint32_t SendRaw(std::uint32_t length, const std::uint8_t* bytes) override;
    std::uint32_t GetServiceVersion(std::uint8_t resource, std::uint8_t& major, std::uint8_t& minor) override;
    std::uint32_t GetTimeServiceParameters(std::uint16_t& first, std::uint16_t& second) override;

    std::uint32_t Execute(CNTFData* notification) override;

    HRESULT STDMETHODCALLTYPE OnMessageReceived(unsigned char resource, VARIANT* message) override;
    HRESULT STDMETHODCALLTYPE OnConnectionEvent() override;
    HRESULT STDMETHODCALLTYPE OnRawMessageReceived(VARIANT* message) override;

  private:
    struct SupportedService
    {
        std::uint8_t resource;
        std::uint8_t major;
        std::uint8_t minor;
    };

    void SelectDeviceRange(std::uint32_t range);
    HRESULT OpenDeviceById(std::uint32_t deviceId);
    HRESULT OpenDeviceBySerialNumber(const OLECHAR* serialNumber, std::uint32_t medium);
    HRESULT GetBrokeredDevice(CComRef<IVorlanDevice>& device) const;
    HRESULT GetConnectionPoints(CComRef<IConnectionPointContainer>& container) const;
    HRESULT AdviseSinks();
    HRESULT UnadviseSinks();
    HRESULT CompleteOpen();

    std::uint32_t QueryServiceVersions();
    void QueryTimeService();
    const SupportedService* FindService(std::uint8_t resource) const;
    CServiceRef<IVorlanService2> RequireService() const;

    /// Adds or removes a resource; the set as it is then.
    CByteSet ChangeSubscriptions(bool add, std::uint8_t resource);

    void QueueIndication(CContentHandler& handler, CMessage& message);

    std::vector<SupportedService> m_supportedServices;
    std::uint16_t m_timeParameters[2] = {};
    CByteSet m_subscriptions;
    CCriticalSection m_subscriptionsLock;
    CSLSrvPtr m_service;
    DWORD m_eventsCookie = 0;
    DWORD m_rawEventsCookie = 0;
    CHandlerRegistry m_handlers;
    CCallGate m_events;
};

#pragma once

#include "connection/EventSinks.h"
#include "connection/HandleBase.h"
#include "connection/HandlerRegistry.h"
#include "connection/NotificationBase.h"
#include "connection/ServiceVersions.h"
#include "connection/Subscriptions.h"
#include "handlers/base/DataSender.h"
#include "runtime/Occupancy.h"
#include "runtime/SLSrvPtr.h"
#include "runtime/ZelNotification.h"

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

    /// Ends a connection and frees it: now, or, if an event is still inside, when the last one leaves. The handle is
    /// invalid from now on.
    static void Dispose(CVorlanControl* connection);

    std::uint32_t Initialize() override { return ZEL_OK; }
    std::uint32_t Shutdown() override;

    /// Results: 0, or ZEL_E_FAIL whatever failed.
    std::uint32_t OpenById(std::uint32_t deviceId);
    /// Results: 0, or the HRESULT of what failed.
    std::uint32_t OpenBySerialNumber(const OLECHAR* serialNumber, std::uint32_t medium);
    /// Undoes an open, or what a failed one has left. Harmless when there is nothing to undo.
    std::uint32_t Close();

    /// How long the end of the connection waits for a delivery, and then for an event, in milliseconds.
    void SetEndWait(std::uint32_t waitMs) { m_endWaitMs = waitMs; }

    /// Throws nothing.
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
    enum Unadvising : std::uint8_t
    {
        kUnadvise,
        kLeaveAdvised,
    };

    static void DeleteLater(void* connection);

    void SelectDeviceRange(std::uint32_t range);
    HRESULT OpenDeviceById(std::uint32_t deviceId);
    HRESULT OpenDeviceBySerialNumber(const OLECHAR* serialNumber, std::uint32_t medium);
    HRESULT GetBrokeredDevice(CComRef<IVorlanDevice>& device) const;
    HRESULT GetConnectionPoints(CComRef<IConnectionPointContainer>& container) const;
    HRESULT AdviseSinks();
    HRESULT UnadviseSinks();
    HRESULT CompleteOpen();
    /// The one way in which a connection ends. The service, its thread and the tables go when no event is inside, which
    /// may use them; an event that stays longer than it is waited for finds them empty.
    std::uint32_t End(Unadvising unadvising);
    void CutOffSinks();

    std::uint32_t QueryServiceVersions();
    void QueryTimeService();
    CServiceRef<IVorlanService2> RequireService() const;

    void QueueIndication(CContentHandler& handler, CMessage& message);
    void Queue(std::uint32_t kind, std::uint32_t messageId, void* record);

    CServiceVersions m_versions;
    std::uint16_t m_timeParameters[2] = {};
    CSubscriptions m_subscriptions;
    CSLSrvPtr m_service;
    DWORD m_eventsCookie = 0;
    DWORD m_rawEventsCookie = 0;
    CHandlerRegistry m_handlers;
    bool m_ended = true;
    std::uint32_t m_endWaitMs = kStopWaitMs;
    COccupancy m_events;
    /// Who holds a reference to a sink. COM holds one while a call is on its way in or out.
    COccupancy m_sinkHolders;
};

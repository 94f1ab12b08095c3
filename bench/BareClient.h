#pragma once

#include "runtime/ComRef.h"
#include "runtime/LockedQueue.h"
#include "vorlan_service.h"
#include "zelapi/time.h"

#include <functional>
#include <objidl.h>
#include <ocidl.h>
#include <thread>

/// What an application would write by hand on the service's COM interfaces, without the library.
class BareClient
{
  public:
    /// Finds the service and opens device 1. REQUIRES: a thread of the multithreaded apartment.
    BareClient();
    BareClient(const BareClient&) = delete;
    BareClient& operator=(const BareClient&) = delete;
    ~BareClient();

    bool IsOpen() const { return static_cast<bool>(m_service); }

    /// Reads the phone's clock. False if it does not answer as expected.
    bool ReadTime(TimeNow& now) const { return ReadTime(*m_service.Get(), now); }
    /// The same, with an interface of its own for the call, as a thread of any apartment needs it.
    bool ReadTimeThroughTable(TimeNow& now) const;

    void AskForEvent() const;

    /// Calls `onEvent` for each event of the messaging service while it lives: on the service's thread, or on a thread
    /// of its own, so that the service need not wait.
    class Events;

  private:
    static bool ReadTime(IVorlanService2& service, TimeNow& now);

    CComRef<IVorlanLocator> m_locator;
    CComRef<IVorlanDevice> m_device;
    CComRef<IVorlanDeviceBroker> m_broker;
    CComRef<IConnectionPointContainer> m_container;
    CComRef<IConnectionPoint> m_point;
    CComRef<IVorlanService2> m_service;
    CComRef<IGlobalInterfaceTable> m_table;
    DWORD m_cookie = 0;
};

class BareClient::Events final : public IVorlanServiceEvents
{
  public:
    enum class Delivery
    {
        OnServiceThread,
        OnOwnThread,
    };

    Events(BareClient& client, Delivery delivery, std::function<void()> onEvent);
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;
    ~Events();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE OnMessageReceived(unsigned char resource, VARIANT* message) override;
    HRESULT STDMETHODCALLTYPE OnConnectionEvent() override { return S_OK; }

  private:
    void DeliverQueued();

    BareClient& m_client;
    std::function<void()> m_onEvent;
    Delivery m_delivery;
    DWORD m_cookie = 0;
    CLockedQueue<std::uint16_t> m_queue;
    HANDLE m_queued;
    HANDLE m_stop;
    std::thread m_thread;
};

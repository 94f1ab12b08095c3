#include "BareClient.h"

#include <cstring>
#include <memory>
#include <utility>

namespace
{

template <typename Interface>
void** Out(CComRef<Interface>& reference)
{
    return reinterpret_cast<void**>(reference.Put());
}

std::uint16_t WordAt(const std::uint8_t* bytes)
{
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

}  // namespace

BareClient::BareClient()
{
    CComRef<IUnknown> object;
    if (FAILED(CoCreateInstance(CLSID_VorlanLocator, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                                IID_IVorlanLocator, Out(m_locator))) ||
        FAILED(m_locator->Find(3, object.Put())) || FAILED(object.QueryInto(m_device)) ||
        FAILED(object.QueryInto(m_broker)) || FAILED(m_device->Connect(object.Put())) ||
        FAILED(object.QueryInto(m_service)) || FAILED(m_device->OpenById(1, 0)) ||
        FAILED(m_service.QueryInto(m_container)) ||
        FAILED(m_container->FindConnectionPoint(IID_IVorlanServiceEvents, m_point.Put())) ||
        FAILED(CoCreateInstance(CLSID_StdGlobalInterfaceTable, nullptr, CLSCTX_INPROC_SERVER, IID_IGlobalInterfaceTable,
                                Out(m_table))) ||
        FAILED(m_table->RegisterInterfaceInGlobal(m_service.Get(), IID_IVorlanService2, &m_cookie)))
        m_service.Release();
}

BareClient::~BareClient()
{
    if (m_cookie != 0)
        m_table->RevokeInterfaceFromGlobal(m_cookie);
}

bool BareClient::ReadTime(IVorlanService2& service, TimeNow& now)
{
    static constexpr std::uint8_t kRequest[] = {0x0A, 0, 0};
    VARIANT message;
    VariantInit(&message);
    message.vt = VT_ARRAY | VT_UI1;
    message.parray = SafeArrayCreateVector(VT_UI1, 0, sizeof kRequest);
    std::memcpy(message.parray->pvData, kRequest, sizeof kRequest);
    VARIANT replies;
    VariantInit(&replies);

    const HRESULT result = service.Send(0x19, &message, VARIANT_TRUE, replies, 60000);
    const auto* reply = static_cast<const std::uint8_t*>(message.parray->pvData);
    // Id, done, one sub-block: id, length, two leading bytes, the time.
    const bool good = SUCCEEDED(result) && message.parray->rgsabound[0].cElements == 15 && reply[0] == 0x0B &&
                      reply[1] == 1 && reply[3] == 1;
    if (good)
    {
        now.lead_0 = reply[5];
        now.lead_1 = reply[6];
        now.year = WordAt(reply + 7);
        now.month = reply[9];
        now.day = reply[10];
        now.hour = reply[11];
        now.minute = reply[12];
        now.second = reply[13];
    }
    VariantClear(&message);
    return good;
}

bool BareClient::ReadTimeThroughTable(TimeNow& now) const
{
    CComRef<IVorlanService2> service;
    return SUCCEEDED(m_table->GetInterfaceFromGlobal(m_cookie, IID_IVorlanService2, Out(service))) &&
           ReadTime(*service.Get(), now);
}

void BareClient::AskForEvent() const
{
    VARIANT nothing;
    VariantInit(&nothing);
    nothing.vt = VT_ARRAY | VT_UI1;
    nothing.parray = SafeArrayCreateVector(VT_UI1, 0, 1);
    m_service->SendRaw(nothing);
    VariantClear(&nothing);
}

BareClient::Events::Events(BareClient& client, Delivery delivery, std::function<void()> onEvent)
    : m_client(client),
      m_onEvent(std::move(onEvent)),
      m_delivery(delivery),
      m_queued(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      m_stop(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      m_thread([this] { DeliverQueued(); })
{
    m_client.m_point->Advise(this, &m_cookie);
}

BareClient::Events::~Events()
{
    m_client.m_point->Unadvise(m_cookie);
    CoDisconnectObject(this, 0);
    SetEvent(m_stop);
    m_thread.join();
    CloseHandle(m_queued);
    CloseHandle(m_stop);
}

HRESULT BareClient::Events::QueryInterface(REFIID id, void** object)
{
    const bool known = IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IVorlanServiceEvents);
    *object = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
}

HRESULT BareClient::Events::OnMessageReceived(unsigned char resource, VARIANT* message)
{
    const auto* bytes = static_cast<const std::uint8_t*>(message->parray->pvData);
    if (resource != 0x66 || message->parray->rgsabound[0].cElements != 5 || bytes[3] != 0x84)
        return S_OK;
    if (m_delivery == Delivery::OnServiceThread)
    {
        m_onEvent();
        return S_OK;
    }
    m_queue.Push(new std::uint16_t{bytes[4]});
    SetEvent(m_queued);
    return S_OK;
}

void BareClient::Events::DeliverQueued()
{
    const HANDLE events[] = {m_stop, m_queued};
    while (WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0 + 1)
    {
        std::uint16_t* event = nullptr;
        while (m_queue.Pop(event))
        {
            const std::unique_ptr<std::uint16_t> owned(event);
            m_onEvent();
        }
    }
}

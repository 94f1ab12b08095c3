#include "ServiceObject.h"

#include "KeptObjects.h"
#include "Variant.h"

#include <algorithm>
#include <array>
#include <olectl.h>

namespace vorlansim
{
namespace
{

const IID& EventsIid(Events which)
{
    return which == Events::First ? IID_IVorlanServiceEvents : IID_IVorlanServiceEvents2;
}

/// Results of a call to a client whose process or object does not exist any more.
bool IsGone(HRESULT result)
{
    static const std::array<HRESULT, 7> results{RPC_E_DISCONNECTED,
                                                RPC_E_SERVER_DIED,
                                                RPC_E_SERVER_DIED_DNE,
                                                CO_E_OBJNOTCONNECTED,
                                                HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE),
                                                HRESULT_FROM_WIN32(RPC_S_CALL_FAILED),
                                                HRESULT_FROM_WIN32(RPC_S_CALL_FAILED_DNE)};
    return std::find(results.begin(), results.end(), result) != results.end();
}

/// Events may be delivered on any thread of the phone.
class CApartment
{
  public:
    CApartment() : m_result(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~CApartment()
    {
        if (SUCCEEDED(m_result))
            CoUninitialize();
    }
    CApartment(const CApartment&) = delete;
    CApartment& operator=(const CApartment&) = delete;

  private:
    const HRESULT m_result;
};

/// A client's sink; it is the owner of one reference.
class CComSink : public IEventSink
{
  public:
    explicit CComSink(IUnknown* sink) : m_sink(sink) {}
    ~CComSink() override { m_sink->Release(); }
    CComSink(const CComSink&) = delete;
    CComSink& operator=(const CComSink&) = delete;

    Result Deliver(const Event& event, bool& gone) override
    {
        const CApartment apartment;
        const HRESULT result = Guarded([&] { return Call(event); });
        gone = IsGone(result);
        return static_cast<Result>(result);
    }

  private:
    HRESULT Call(const Event& event)
    {
        if (event.kind == Event::Kind::Connection)
            return static_cast<IVorlanServiceEvents*>(m_sink)->OnConnectionEvent();
        CVariant message(event.bytes);
        if (event.kind == Event::Kind::Raw)
            return static_cast<IVorlanServiceEvents2*>(m_sink)->OnRawMessageReceived(message.Get());
        return static_cast<IVorlanServiceEvents*>(m_sink)->OnMessageReceived(event.resource, message.Get());
    }

    IUnknown* const m_sink;  // in truth a pointer to the point's event interface
};

}  // namespace

HRESULT CServiceObject::Admit(REFIID iid)
{
    if (IsEqualIID(iid, IID_IVorlanService2))
        return static_cast<HRESULT>(m_session->TakeQuietly(ClientStep::Service));
    if (IsEqualIID(iid, IID_IConnectionPointContainer))
        return static_cast<HRESULT>(m_session->TakeQuietly(ClientStep::Container));
    return S_OK;
}

HRESULT CServiceObject::GetAccess(unsigned char* access)
{
    if (access == nullptr)
        return E_POINTER;
    return Guarded([&] { return m_session->GetAccess(*access); });
}

HRESULT CServiceObject::Send(unsigned char resource, VARIANT* message, VARIANT_BOOL waitForReply,
                             VARIANT expectedReplies, ULONG timeoutMs)
{
    if (message == nullptr)
        return E_POINTER;
    return Guarded([&]() -> Result {
        auto bytes = ReadBytes(*message);
        auto expected = expectedReplies.vt == VT_EMPTY ? Bytes() : ReadBytes(expectedReplies);
        if (!bytes || !expected)
            return kBadArgument;
        const SendAnswer answer = m_session->Send(
            {resource, std::move(*bytes), waitForReply != VARIANT_FALSE, std::move(*expected), timeoutMs});
        if (answer.reply)
            CVariant(*answer.reply).MoveTo(*message);
        return answer.result;
    });
}

HRESULT CServiceObject::SendRaw(VARIANT bytes)
{
    return Guarded([&] {
        const auto raw = ReadBytes(bytes);
        return raw ? m_session->SendRaw(*raw) : kBadArgument;
    });
}

HRESULT CServiceObject::SelectDeviceRange(ULONG range)
{
    return Guarded([&] { return m_session->Take(ClientStep::Range, " " + ToHex(range, 8)); });
}

/// There are two points and clients know them by their interface.
HRESULT CServiceObject::EnumConnectionPoints(IEnumConnectionPoints** points)
{
    if (points == nullptr)
        return E_POINTER;
    *points = nullptr;
    return E_NOTIMPL;
}

HRESULT CServiceObject::FindConnectionPoint(REFIID iid, IConnectionPoint** point)
{
    if (point == nullptr)
        return E_POINTER;
    *point = nullptr;
    return Guarded([&]() -> HRESULT {
        const bool isFirst = IsEqualIID(iid, IID_IVorlanServiceEvents);
        if (!isFirst && !IsEqualIID(iid, IID_IVorlanServiceEvents2))
            return CONNECT_E_NOCONNECTION;
        const Result result = m_session->TakeQuietly(isFirst ? ClientStep::PointEvents : ClientStep::PointEvents2);
        if (IsFailure(result))
            return static_cast<HRESULT>(result);
        *point = new CEventPoint(*this, m_session, isFirst ? Events::First : Events::Second);
        KeepConnected(*point);
        return S_OK;
    });
}

CEventPoint::CEventPoint(CServiceObject& service, std::shared_ptr<CSession> session, Events which)
    : m_service(service), m_session(std::move(session)), m_which(which)
{
    m_service.AddRef();
}

HRESULT CEventPoint::GetConnectionInterface(IID* iid)
{
    if (iid == nullptr)
        return E_POINTER;
    *iid = EventsIid(m_which);
    return S_OK;
}

HRESULT CEventPoint::GetConnectionPointContainer(IConnectionPointContainer** container)
{
    if (container == nullptr)
        return E_POINTER;
    *container = &m_service;
    m_service.AddRef();
    return S_OK;
}

HRESULT CEventPoint::Advise(IUnknown* sink, DWORD* cookie)
{
    if (sink == nullptr || cookie == nullptr)
        return E_POINTER;
    *cookie = 0;
    return Guarded([&]() -> HRESULT {
        const bool isFirst = m_which == Events::First;
        const Result fault = m_session->Take(isFirst ? ClientStep::AdviseEvents : ClientStep::AdviseEvents2);
        if (IsFailure(fault))
            return static_cast<HRESULT>(fault);
        void* events = nullptr;
        if (FAILED(sink->QueryInterface(EventsIid(m_which), &events)))
            return CONNECT_E_CANNOTCONNECT;
        *cookie = m_session->Advise(m_which, std::make_shared<CComSink>(static_cast<IUnknown*>(events)));
        return S_OK;
    });
}

HRESULT CEventPoint::Unadvise(DWORD cookie)
{
    return Guarded([&] { return m_session->Unadvise(m_which, cookie) ? S_OK : CONNECT_E_NOCONNECTION; });
}

HRESULT CEventPoint::EnumConnections(IEnumConnections** connections)
{
    if (connections == nullptr)
        return E_POINTER;
    *connections = nullptr;
    return E_NOTIMPL;
}

}  // namespace vorlansim

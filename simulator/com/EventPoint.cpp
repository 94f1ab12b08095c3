#include "com/EventPoint.h"

#include "com/ComSink.h"

#include <olectl.h>

namespace vorlansim
{

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
    *container = CReference<IConnectionPointContainer>::Share(*m_container.Get()).Detach();
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
        auto events = MakeComSink(m_which, *sink);
        if (events == nullptr)
            return CONNECT_E_CANNOTCONNECT;
        *cookie = m_session->Advise(m_which, std::move(events));
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

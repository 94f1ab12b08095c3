#pragma once

#include "com/ComObject.h"
#include "com/Reference.h"
#include "com/ServerLock.h"
#include "phone/Session.h"

namespace vorlansim
{

/// Where a client registers its sink for one event interface.
class CEventPoint : public CComObject<IConnectionPoint>
{
  public:
    CEventPoint(IConnectionPointContainer& container, std::shared_ptr<CSession> session, Events which)
        : m_container(CReference<IConnectionPointContainer>::Share(container)),
          m_session(std::move(session)),
          m_which(which)
    {
    }

    HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override;
    HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** container) override;
    HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override;
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override;
    HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** connections) override;

  private:
    ~CEventPoint() override = default;

    const CServerLock m_lock;
    const CReference<IConnectionPointContainer> m_container;
    const std::shared_ptr<CSession> m_session;
    const Events m_which;
};

}  // namespace vorlansim

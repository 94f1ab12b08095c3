#pragma once

#include "ComObject.h"
#include "Session.h"

namespace vorlansim
{

/// The service as one client sees it, with a connection point for each event interface.
class CServiceObject : public CComObject<IVorlanService2, IConnectionPointContainer>
{
  public:
    explicit CServiceObject(std::shared_ptr<CSession> session) : m_session(std::move(session)) {}

    HRESULT STDMETHODCALLTYPE GetAccess(unsigned char* access) override;
    HRESULT STDMETHODCALLTYPE Send(unsigned char resource, VARIANT* message, VARIANT_BOOL waitForReply,
                                   VARIANT expectedReplies, ULONG timeoutMs) override;
    HRESULT STDMETHODCALLTYPE SendRaw(VARIANT bytes) override;
    HRESULT STDMETHODCALLTYPE SelectDeviceRange(ULONG range) override;

    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** points) override;
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

  protected:
    HRESULT Admit(REFIID iid) override;

  private:
    ~CServiceObject() override { m_session->Close(); }

    const CServerLock m_lock;
    const std::shared_ptr<CSession> m_session;
};

/// Where a client registers its sink for one event interface.
class CEventPoint : public CComObject<IConnectionPoint>
{
  public:
    CEventPoint(CServiceObject& service, std::shared_ptr<CSession> session, Events which);

    HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override;
    HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** container) override;
    HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override;
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override;
    HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** connections) override;

  private:
    ~CEventPoint() override { m_service.Release(); }

    const CServerLock m_lock;
    CServiceObject& m_service;
    const std::shared_ptr<CSession> m_session;
    const Events m_which;
};

}  // namespace vorlansim

#pragma once

#include "com/ComObject.h"
#include "com/ServerLock.h"
#include "phone/Session.h"

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

}  // namespace vorlansim

#include "com/ComServer.h"

#include "com/KeptObjects.h"
#include "com/Locator.h"
#include "com/Reference.h"

namespace vorlansim
{
namespace
{

class CFactory : public CComObject<IClassFactory>
{
  public:
    explicit CFactory(CPhone& phone) : m_phone(phone) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override
    {
        if (object == nullptr)
            return E_POINTER;
        *object = nullptr;
        if (outer != nullptr)
            return CLASS_E_NOAGGREGATION;
        return Guarded([&] {
            const CReference<CLocator> locator(new CLocator(m_phone));
            KeepConnected(locator->Identity());
            return locator->QueryInterface(iid, object);
        });
    }

    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override
    {
        return Guarded([&] {
            if (lock != FALSE)
                CServerLock::Add();
            else
                CServerLock::Remove();
            return S_OK;
        });
    }

  private:
    ~CFactory() override = default;

    CPhone& m_phone;
};

}  // namespace

HRESULT CComServer::Register(DWORD context)
{
    return Guarded([&] {
        const CReference<CFactory> factory(new CFactory(m_phone));
        return CoRegisterClassObject(CLSID_VorlanLocator, factory->Identity(), context, REGCLS_MULTIPLEUSE, &m_cookie);
    });
}

void CComServer::Revoke()
{
    if (m_cookie != 0)
        CoRevokeClassObject(m_cookie);
    m_cookie = 0;
}

}  // namespace vorlansim

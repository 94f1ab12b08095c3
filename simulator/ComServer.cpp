#include "ComServer.h"

#include "DeviceObject.h"
#include "KeptObjects.h"

namespace vorlansim
{
namespace
{

/// The entry point: every look-up begins a session.
class CLocator : public CComObject<IVorlanLocator>
{
  public:
    explicit CLocator(CPhone& phone) : m_phone(phone) {}

    HRESULT STDMETHODCALLTYPE FindDevice(ULONG kind, BSTR selector, IUnknown** object) override
    {
        return Guarded([&] { return Look(kind, " \"" + ToUtf8(ToView(selector)) + "\"", object); });
    }

    HRESULT STDMETHODCALLTYPE Find(ULONG kind, IUnknown** object) override
    {
        return Guarded([&] { return Look(kind, "", object); });
    }

  private:
    ~CLocator() override = default;

    HRESULT Look(ULONG kind, const std::string& selector, IUnknown** object)
    {
        if (object == nullptr)
            return E_POINTER;
        *object = nullptr;
        auto session = m_phone.NewSession();
        const Result result = session->Take(ClientStep::Find, " " + std::to_string(kind) + selector,
                                            kind == kServiceKind ? kOk : kBadArgument);
        if (IsFailure(result))
            return static_cast<HRESULT>(result);
        *object = (new CDeviceObject(std::move(session)))->Identity();
        KeepConnected(*object);
        return S_OK;
    }

    const CServerLock m_lock;
    CPhone& m_phone;
};

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
            const CRelease<CLocator> locator(new CLocator(m_phone));
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
        const CRelease<CFactory> factory(new CFactory(m_phone));
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

#include "runtime/SLSrvPtr.h"

CSLSrvPtr::~CSLSrvPtr()
{
    Stop(kDestructorStopMs);
    SysFreeString(m_deviceSelector);
}

void CSLSrvPtr::SelectDevice(const OLECHAR* selector)
{
    BSTR copy = SysAllocString(selector);
    if (copy == nullptr && selector != nullptr)
        throw CAtlException(E_OUTOFMEMORY);
    SysFreeString(m_deviceSelector);
    m_deviceSelector = copy;
}

HRESULT CSLSrvPtr::CreateService()
{
    CComRef<IUnknown> object;
    HRESULT result = Locate(object);
    if (SUCCEEDED(result))
        result = FindInterfaces(object);
    if (FAILED(result))
        return result;

    result = m_device->Connect(object.Put());
    if (FAILED(result))
        return result;
    return object.QueryInto(m_service);
}

HRESULT CSLSrvPtr::Locate(CComRef<IUnknown>& object) const
{
    CComRef<IVorlanLocator> locator;
    HRESULT result = CoCreateInstance(CLSID_VorlanLocator, nullptr, kServerContext, IID_IVorlanLocator,
                                      reinterpret_cast<void**>(locator.Put()));
    if (FAILED(result))
        return result;
    result = SysStringLen(m_deviceSelector) > 0 ? locator->FindDevice(m_kind, m_deviceSelector, object.Put())
                                                : locator->Find(m_kind, object.Put());
    return SUCCEEDED(result) && !object ? E_NOINTERFACE : result;
}

HRESULT CSLSrvPtr::FindInterfaces(const CComRef<IUnknown>& object)
{
    HRESULT result = FindAuxiliary(object, m_device, m_deviceCookie);
    if (SUCCEEDED(result) && !m_device)
        result = E_NOINTERFACE;
    if (SUCCEEDED(result))
        result = FindAuxiliary(object, m_broker, m_brokerCookie);
    return result;
}

template <typename Auxiliary>
HRESULT CSLSrvPtr::FindAuxiliary(const CComRef<IUnknown>& object, CComRef<Auxiliary>& target,
                                 std::atomic<DWORD>& cookie)
{
    const HRESULT result = object.QueryInto(target);
    if (FAILED(result) || !target || !m_useTable)
        return result;
    CSmartPtrOperData operation;
    operation.kind = CSmartPtrOperData::kRegister;
    operation.interfaceId = __uuidof(Auxiliary);
    operation.interfacePointer = target.Get();
    const auto registered = static_cast<HRESULT>(Execute(&operation));
    cookie = operation.cookie;
    return registered;
}

HRESULT CSLSrvPtr::ReleaseService()
{
    if (m_useTable)
    {
        Revoke(m_brokerCookie);
        Revoke(m_deviceCookie);
    }
    m_device.Release();
    m_broker.Release();
    return CSmartIFPtr::ReleaseService();
}

void CSLSrvPtr::OnThreadKilled()
{
    CSmartIFPtr::OnThreadKilled();
    m_device.Forget();
    m_deviceCookie = 0;
    m_broker.Forget();
    m_brokerCookie = 0;
}

void CSLSrvPtr::Revoke(std::atomic<DWORD>& cookie)
{
    if (cookie == 0)
        return;
    CSmartPtrOperData operation;
    operation.kind = CSmartPtrOperData::kRevoke;
    operation.cookie = cookie.exchange(0);
    Execute(&operation);
}

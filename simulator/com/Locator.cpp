#include "com/Locator.h"

#include "com/DeviceObject.h"
#include "com/KeptObjects.h"
#include "com/Variant.h"

namespace vorlansim
{

HRESULT CLocator::FindDevice(ULONG kind, BSTR selector, IUnknown** object)
{
    return Guarded([&] { return Look(kind, " \"" + ToUtf8(ToView(selector)) + "\"", object); });
}

HRESULT CLocator::Find(ULONG kind, IUnknown** object)
{
    return Guarded([&] { return Look(kind, "", object); });
}

HRESULT CLocator::Look(ULONG kind, const std::string& selector, IUnknown** object)
{
    if (object == nullptr)
        return E_POINTER;
    *object = nullptr;
    auto session = std::make_shared<CSession>(m_phone);
    const Result result = session->Take(ClientStep::Find, " " + std::to_string(kind) + selector,
                                        kind == kServiceKind ? kOk : kBadArgument);
    if (IsFailure(result))
        return static_cast<HRESULT>(result);
    *object = (new CDeviceObject(std::move(session)))->Identity();
    KeepConnected(*object);
    return S_OK;
}

}  // namespace vorlansim

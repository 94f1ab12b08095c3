#include "runtime/Apartment.h"

#include "message/ExceptionFrame.h"
#include "message/Platform.h"
#include "runtime/SystemHandles.h"

namespace
{

bool IsSingleThreaded()
{
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    return SUCCEEDED(CoGetApartmentType(&type, &qualifier)) && (type == APTTYPE_STA || type == APTTYPE_MAINSTA);
}

DWORD WINAPI RunBody(void* argument)
{
    const HRESULT initialised = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    (*static_cast<const std::function<void()>*>(argument))();
    if (SUCCEEDED(initialised))
        CoUninitialize();
    return 0;
}

}  // namespace

HRESULT KeepMultithreadedApartment()
{
    static CO_MTA_USAGE_COOKIE cookie = nullptr;
    static const HRESULT kept = CoIncrementMTAUsage(&cookie);
    return kept;
}

void RunInMultithreadedApartment(const std::function<void()>& body)
{
    const std::function<void()> guarded = [&] {
        ResultOf([&] {
            body();
            return ZEL_OK;
        });
    };
    if (!IsSingleThreaded())
    {
        guarded();
        return;
    }
    const CHandleOwner thread(
        CreateThread(nullptr, 0, &RunBody, const_cast<std::function<void()>*>(&guarded), 0, nullptr));
    if (!thread)
        ThrowCode(ZEL_E_FAIL);
    WaitForSingleObject(thread.get(), INFINITE);
}

#include "runtime/Apartment.h"

#include "message/ExceptionFrame.h"
#include "message/Platform.h"

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
    HANDLE thread = CreateThread(nullptr, 0, &RunBody, const_cast<std::function<void()>*>(&guarded), 0, nullptr);
    if (thread == nullptr)
        ThrowCode(ZEL_E_FAIL);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}

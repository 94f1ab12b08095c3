#include "support/TypeLibrary.h"

#include <oleauto.h>

HRESULT RegisterTypeLibrary()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    ITypeLib* library = nullptr;
    const HRESULT result = LoadTypeLibEx(path, REGKIND_REGISTER, &library);
    if (SUCCEEDED(result))
        library->Release();
    return result;
}

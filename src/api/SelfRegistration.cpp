#include "message/ExceptionFrame.h"
#include "message/Platform.h"
#include "runtime/SystemHandles.h"

#include <string>

namespace
{

constexpr wchar_t kKey[] = L"SOFTWARE\\Orbalink\\API\\";
constexpr char kValue[] = "ZelAPI";
constexpr REGSAM kReadWrite = 0x2001F;
constexpr DWORD kPathSize = 500;

HMODULE g_module = nullptr;

std::string AnsiKey()
{
    std::string key(sizeof kKey, '\0');
    WideCharToMultiByte(CP_ACP, 0, kKey, -1, key.data(), static_cast<int>(key.size()), nullptr, nullptr);
    return key;
}

/// Writes where this library lies on disk, as far as the system tells.
void WriteModulePath(HKEY key)
{
    if (g_module == nullptr)
        return;
    char path[kPathSize] = {};
    if (GetModuleFileNameA(g_module, path, kPathSize) == 0)
        return;
    RegSetValueExA(key, kValue, 0, REG_SZ, reinterpret_cast<const BYTE*>(path), static_cast<DWORD>(lstrlenA(path)) + 1);
}

}  // namespace

/// Lets other software find this library. Registers no COM class: the library serves none.
STDAPI DllRegisterServer()
{
    ResultOf([] {
        HKEY key = nullptr;
        if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, AnsiKey().c_str(), 0, nullptr, 0, kReadWrite, nullptr, &key, nullptr) ==
            ERROR_SUCCESS)
            WriteModulePath(CRegistryKeyOwner(key).get());
        return ZEL_OK;
    });
    return S_OK;
}

STDAPI DllUnregisterServer()
{
    ResultOf([] {
        HKEY key = nullptr;
        if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, AnsiKey().c_str(), 0, kReadWrite, &key) == ERROR_SUCCESS)
            RegDeleteValueA(CRegistryKeyOwner(key).get(), kValue);
        return ZEL_OK;
    });
    return S_OK;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* reserved);

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*)
{
    if (reason == DLL_PROCESS_ATTACH)
        g_module = module;
    return TRUE;
}

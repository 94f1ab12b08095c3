#include "com/Registration.h"

#include "com/Reference.h"

#include <array>
#include <oleauto.h>
#include <vorlan_service.h>

namespace vorlansim
{
namespace
{

// Version of the type library.
constexpr WORD kMajor = 1;
constexpr WORD kMinor = 0;

std::wstring ToText(const GUID& guid)
{
    std::array<wchar_t, 40> text{};
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::wstring ClassKey()
{
    return L"Software\\Classes\\CLSID\\" + ToText(CLSID_VorlanLocator);
}

/// Sets the default value of a key below HKEY_LOCAL_MACHINE.
HRESULT SetKey(const std::wstring& key, const std::wstring& value)
{
    const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
    return HRESULT_FROM_WIN32(
        static_cast<DWORD>(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), nullptr, REG_SZ, value.c_str(), size)));
}

HRESULT RegisterTypes(const std::filesystem::path& program)
{
    CReference<ITypeLib> library;
    return LoadTypeLibEx(program.c_str(), REGKIND_REGISTER, library.Out());
}

HRESULT UnregisterTypes()
{
    BSTR path = nullptr;
    if (FAILED(QueryPathOfRegTypeLib(LIBID_VorlanService, kMajor, kMinor, LOCALE_NEUTRAL, &path)))
        return S_OK;
    SysFreeString(path);
    return UnRegisterTypeLib(LIBID_VorlanService, kMajor, kMinor, LOCALE_NEUTRAL, SYS_WIN64);
}

}  // namespace

HRESULT RegisterServer(const std::filesystem::path& program, const std::wstring& arguments)
{
    HRESULT result = SetKey(ClassKey(), L"Vorlan development link service");
    if (SUCCEEDED(result))
        result = SetKey(ClassKey() + L"\\LocalServer32", L"\"" + program.wstring() + L"\"" + arguments);
    if (SUCCEEDED(result))
        result = SetKey(ClassKey() + L"\\TypeLib", ToText(LIBID_VorlanService));
    return SUCCEEDED(result) ? RegisterTypes(program) : result;
}

HRESULT UnregisterServer()
{
    const LSTATUS deleted = RegDeleteTreeW(HKEY_LOCAL_MACHINE, ClassKey().c_str());
    const HRESULT types = UnregisterTypes();
    const bool isGone = deleted == ERROR_SUCCESS || deleted == ERROR_FILE_NOT_FOUND;
    return isGone ? types : HRESULT_FROM_WIN32(static_cast<DWORD>(deleted));
}

}  // namespace vorlansim

#include "support/NewSpy.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <olectl.h>
#include <string>

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* reserved);

namespace
{

constexpr char kKey[] = "SOFTWARE\\Orbalink\\API";

/// The registered path with its terminating zero; empty if there is none.
std::string Registered()
{
    char data[600] = {};
    DWORD size = sizeof data;
    DWORD type = 0;
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return {};
    const LSTATUS read = RegQueryValueExA(key, "ZelAPI", nullptr, &type, reinterpret_cast<BYTE*>(data), &size);
    RegCloseKey(key);
    if (read != ERROR_SUCCESS)
        return {};
    EXPECT_EQ(static_cast<DWORD>(REG_SZ), type);
    return {data, size};
}

bool HasKey()
{
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    RegCloseKey(key);
    return true;
}

TEST(SelfRegistration, WritesAndRemovesTheModulePath)
{
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, kKey);
    EXPECT_EQ(S_OK, DllUnregisterServer());
    EXPECT_FALSE(HasKey()) << "unregistering creates nothing";

    EXPECT_EQ(S_OK, DllRegisterServer());
    EXPECT_TRUE(HasKey());
    EXPECT_EQ("", Registered()) << "no module is known yet";

    char path[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameA(nullptr, path, sizeof path);
    EXPECT_TRUE(DllMain(GetModuleHandleW(nullptr), DLL_PROCESS_ATTACH, nullptr));
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(S_OK, DllRegisterServer());
        EXPECT_EQ(std::string(path, length + 1), Registered());
    }

    for (const auto entry : {&DllRegisterServer, &DllUnregisterServer})
    {
        host::FailNew(1);
        EXPECT_EQ(S_OK, entry()) << "without memory";
        EXPECT_FALSE(host::IsNewFailurePending());
        EXPECT_EQ(std::string(path, length + 1), Registered());
    }

    HKEY key = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ | KEY_WRITE, &key));
    RegSetValueExA(key, "Other", 0, REG_SZ, reinterpret_cast<const BYTE*>("x"), 2);
    EXPECT_EQ(S_OK, DllUnregisterServer());
    EXPECT_EQ("", Registered());
    EXPECT_EQ(S_OK, DllUnregisterServer());
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(key, "Other", nullptr, nullptr, nullptr, nullptr));
    RegCloseKey(key);
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, kKey);
}

}  // namespace

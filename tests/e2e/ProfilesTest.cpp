#include "zelapi/profiles.h"

#include "e2e/LinkService.h"

namespace
{

using ProfilesTest = EndToEnd;

/// The name of a profile.
std::wstring NameOf(ZelConnection phone, std::uint8_t profile)
{
    constexpr std::uint8_t kIds[] = {ZEL_PROFILES_SETTING_TEXT};
    ProfileRecord record = {0, 0, profile, 1, 0, {kIds}, 0, nullptr};
    EXPECT_EQ(ZelSendMessage(phone, ZEL_PROFILES_READ_SETTINGS, &record), ZEL_OK);
    if (record.count == 0)
        return L"(no answer)";
    const BSTR text = record.settings[0].value.text;
    const std::wstring name = text == nullptr ? L"(no name)" : text;
    SysFreeString(text);
    CoTaskMemFree(record.settings);
    return name;
}

TEST_F(ProfilesTest, SettingsAndBytesAreWrittenAndReadBack)
{
    const LinkService service(Shipped("profiles"));
    const NothingLeft nothing(service);
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    EXPECT_EQ(NameOf(phone.Handle(), 1), L"General");
    EXPECT_EQ(NameOf(phone.Handle(), 7), L"(no name)");

    ProfileSetting setting = {0, 1, 0, 0, 0, ZEL_PROFILES_SETTING_TEXT, {}};
    setting.value.text = SysAllocString(L"Meeting");
    ProfileRecord record = {0, 1, 0, 0, 0, {}, 0, nullptr};
    record.in.settings = &setting;
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROFILES_WRITE_SETTINGS, &record), ZEL_OK);
    SysFreeString(setting.value.text);
    EXPECT_EQ(setting.status, 1u);
    EXPECT_EQ(NameOf(phone.Handle(), 1), L"Meeting");

    ProfileRecord bytes = {0, 2, 3, 4, 5, {}, 0, nullptr};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROFILES_WRITE_BYTES, &bytes), ZEL_OK);
    ProfileRecord back = {};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROFILES_READ_BYTES, &back), ZEL_OK);
    EXPECT_EQ(back.p0, 2);
    EXPECT_EQ(back.p3, 5);
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROFILES_OPERATION, nullptr), ZEL_OK);
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROFILES_READ_BYTES, &back), ZEL_OK);
    EXPECT_EQ(back.p0, 1);
}

}  // namespace

#include "zelapi/profiles.h"

#include "e2e/LinkService.h"

namespace
{

using ProfilesTest = EndToEnd;

/// Reads the name of a profile: its status, a colon, and the name.
std::u16string NameOf(ZelConnection phone, std::uint8_t profile)
{
    constexpr std::uint8_t kIds[] = {ZEL_PROFILES_SETTING_TEXT};
    ProfileRecord record = {0, 0, profile, 1, 0, {kIds}, 0, nullptr};
    EXPECT_EQ(ZelSendMessage(phone, ZEL_PROFILES_READ_SETTINGS, &record), ZEL_OK);
    if (record.count != 1)
        return {};
    const ProfileSetting setting = *record.settings;
    CoTaskMemFree(record.settings);
    EXPECT_EQ(setting.setting_id, 12);
    std::u16string name = setting.status == 1 ? u"1:" : u"?:";
    for (UINT i = 0; i < SysStringLen(setting.value.text); ++i)
        name.push_back(static_cast<char16_t>(setting.value.text[i]));
    SysFreeString(setting.value.text);
    return name;
}

TEST_F(ProfilesTest, SettingsAndBytesAreWrittenAndReadBack)
{
    const LinkService service(Shipped("profiles"));
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    EXPECT_EQ(NameOf(phone.Handle(), 1), u"1:General");
    EXPECT_EQ(NameOf(phone.Handle(), 7), u"?:");

    ProfileSetting setting = {0, 1, 0, 0, 0, ZEL_PROFILES_SETTING_TEXT, {}};
    setting.value.text = SysAllocString(L"Meeting");
    ProfileRecord record = {0, 1, 0, 0, 0, {}, 0, nullptr};
    record.in.settings = &setting;
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROFILES_WRITE_SETTINGS, &record), ZEL_OK);
    SysFreeString(setting.value.text);
    EXPECT_EQ(setting.status, 1u);
    EXPECT_EQ(NameOf(phone.Handle(), 1), u"1:Meeting");

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

#include "fuzz/FuzzService.h"
#include "handlers/UserProfilesHandler.h"
#include "zelapi/profiles.h"

namespace
{

ProfileRecord Record(CFuzzCase& fuzz)
{
    return {0, fuzz.Byte(), fuzz.Byte(), fuzz.Byte(), fuzz.Byte(), {}, 0, nullptr};
}

void Read(CFuzzCase& fuzz)
{
    ProfileRecord record = Record(fuzz);
    const auto ids = fuzz.Block(record.p2);
    record.in.setting_ids = ids.data();
    fuzz.Request(&record);
    for (std::uint32_t i = 0; i < record.count; ++i)
        if (record.settings[i].setting_id == ZEL_PROFILES_SETTING_TEXT)
            TakeText(record.settings[i].value.text);
    TakeBlock(record.settings, record.count * sizeof *record.settings);
}

void Write(CFuzzCase& fuzz)
{
    ProfileRecord record = Record(fuzz);
    std::vector<ProfileSetting> settings(record.p0);
    std::vector<CBStrOwner> texts;
    for (ProfileSetting& setting : settings)
    {
        setting.type = fuzz.Byte();
        setting.setting_id = fuzz.Byte();
        if (setting.setting_id == ZEL_PROFILES_SETTING_TEXT)
            setting.value.text = texts.emplace_back(fuzz.Text()).get();
    }
    record.in.settings = settings.data();
    fuzz.Request(&record);
}

void Bytes(CFuzzCase& fuzz)
{
    ProfileRecord record = Record(fuzz);
    fuzz.Request(&record);
}

const CFuzzService g_profiles(0x39, NewHandler<CUserProfilesHandler>, {Read, Write, Bytes});

}  // namespace

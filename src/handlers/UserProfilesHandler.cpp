#include "handlers/UserProfilesHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/CallersData.h"
#include "handlers/base/RecordArray.h"
#include "zelapi/profiles.h"

namespace
{

void ReadSettings(CConversation& phone, ProfileRecord& record);
void WriteSettings(CConversation& phone, const ProfileRecord& record);
void RunOperation(CConversation& phone);
void ReadBytes(CConversation& phone, void* record);
void WriteBytes(CConversation& phone, const ProfileRecord& record);

constexpr Operation kOperations[] = {
    {ZEL_PROFILES_READ_SETTINGS, Serve<ReadSettings>}, {ZEL_PROFILES_WRITE_SETTINGS, Serve<WriteSettings>},
    {ZEL_PROFILES_OPERATION, Serve<RunOperation>},     {ZEL_PROFILES_READ_BYTES, Serve<ReadBytes>},
    {ZEL_PROFILES_WRITE_BYTES, Serve<WriteBytes>},
};

/// The status of success. 0 is no failure either.
constexpr std::uint8_t kDone = 1;

bool HoldsText(const ProfileSetting& setting)
{
    return setting.setting_id == ZEL_PROFILES_SETTING_TEXT;
}

void FreeText(const ProfileSetting& setting)
{
    if (HoldsText(setting))
        SysFreeString(setting.value.text);
}

void ReadValue(CSubBlock& block, ProfileSetting& setting)
{
    if (HoldsText(setting))
        setting.value.text = block.ReadString(setting.type);
    else if (setting.type == ZEL_PROFILES_TYPE_U8)
        setting.value.u8 = block.ReadByte();
    else if (setting.type == ZEL_PROFILES_TYPE_U16)
        setting.value.u16 = block.ReadWord();
    else if (setting.type == ZEL_PROFILES_TYPE_U32)
        setting.value.u32 = block.ReadDword();
}

void ReadSetting(CSubBlock& block, ProfileSetting& setting)
{
    setting.setting_id = block.ReadByte();
    setting.status = block.ReadByte();
    if (setting.status != kDone)
        return;
    setting.profile = block.ReadByte();
    setting.second = block.ReadByte();
    block.Skip(1);
    setting.type = block.ReadByte();
    ReadValue(block, setting);
}

constexpr Exchange kReadSettings = {.request = 0x01, .reply = 0x02};

void ReadSettings(CConversation& phone, ProfileRecord& record)
{
    constexpr std::uint16_t kWanted = 1;
    constexpr std::uint16_t kSetting = 2;

    CMessage message = phone.Request(kReadSettings);
    message.AppendBytes({record.p0, record.p2});
    for (const std::uint8_t id : ElementsOf(record.in.setting_ids, record.p2))
    {
        CSubBlock block = NewBlock(kShortBlock, kWanted);
        block.AppendBytes({record.p1, id});
        block.WriteTo(&message);
    }

    phone.Ask(message, kReadSettings);
    message.Skip(1);
    const std::uint8_t count = message.ReadByte();
    CRecordArray<ProfileSetting, &FreeText> settings(count);
    ForEachBlock(message, count, kShortBlock, [&](CSubBlock& block, std::uint32_t index) {
        if (block.GetId() == kSetting)
            ReadSetting(block, settings[index]);
    });
    record.count = count;
    record.settings = settings.Release();
}

void AppendTextValue(CSubBlock& block, ProfileSetting& setting)
{
    constexpr UINT kLongestBytes = 33;
    constexpr std::uint8_t kTerminatorBytes = 2;

    const BSTR text = IsReadable(setting.value.text) ? setting.value.text : nullptr;
    const UINT bytes = SysStringByteLen(text);
    setting.type = static_cast<std::uint8_t>(bytes);
    if (bytes > kLongestBytes)
        ThrowCode(ZEL_PROFILES_TEXT_TOO_LONG);
    block.AppendByte(static_cast<std::uint8_t>(bytes + kTerminatorBytes));
    AppendText(block, TextOf(text));
    block.AppendWord(0);
}

void AppendValue(CSubBlock& block, ProfileSetting& setting)
{
    if (HoldsText(setting))
        return AppendTextValue(block, setting);
    switch (setting.type)
    {
    case ZEL_PROFILES_TYPE_U8:
        block.AppendBytes({ZEL_PROFILES_TYPE_U8, setting.value.u8});
        break;
    case ZEL_PROFILES_TYPE_U16:
        block.AppendByte(ZEL_PROFILES_TYPE_U16);
        block.AppendWord(setting.value.u16);
        break;
    case ZEL_PROFILES_TYPE_U32:
        block.AppendByte(ZEL_PROFILES_TYPE_U32);
        block.AppendDword(setting.value.u32);
        block.AppendDword(1);
        break;
    default:
        break;
    }
}

constexpr Exchange kWriteSettings = {.request = 0x03, .reply = 0x04};

void WriteSettings(CConversation& phone, const ProfileRecord& record)
{
    constexpr std::uint16_t kSetting = 3;
    constexpr std::uint16_t kAnswer = 4;

    const auto settings = ElementsOf(record.in.settings, record.p0);
    CMessage message = phone.Request(kWriteSettings);
    message.AppendBytes({1, record.p0});
    for (ProfileSetting& setting : settings)
    {
        CSubBlock block = NewBlock(kShortBlock, kSetting);
        block.AppendBytes({setting.setting_id, setting.profile, setting.second, 0, 0});
        AppendValue(block, setting);
        block.WriteTo(&message);
    }

    phone.Ask(message, kWriteSettings);
    message.Skip(1);
    auto next = settings.begin();
    ForEachBlock(message, message.ReadByte(), kShortBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() != kAnswer || next == settings.end())
            return;
        next->setting_id = block.ReadByte();
        next->profile = block.ReadByte();
        next->status = block.ReadByte();
        ++next;
    });
}

constexpr Exchange kOperation = {.request = 0x09, .reply = 0x0A};

void RunOperation(CConversation& phone)
{
    CMessage message = phone.Request(kOperation);
    message.AppendWord(0);

    phone.Ask(message, kOperation);
    phone.RequireStatus(message, {kDone});
}

constexpr Exchange kReadBytes = {.request = 0x05, .reply = 0x06};

void ReadBytes(CConversation& phone, void* record)
{
    CMessage message = phone.Request(kReadBytes);
    message.AppendWord(0);

    phone.Ask(message, kReadBytes);
    phone.RequireStatus(message, {kDone});
    if (!IsReadable(record))
        ThrowCode(ZEL_E_FAIL);
    auto& profile = *static_cast<ProfileRecord*>(record);
    profile.p0 = message.ReadByte();
    profile.p1 = message.ReadByte();
    profile.p2 = message.ReadByte();
    profile.p3 = message.ReadByte();
}

constexpr Exchange kWriteBytes = {.request = 0x07, .reply = 0x08};

void WriteBytes(CConversation& phone, const ProfileRecord& record)
{
    CMessage message = phone.Request(kWriteBytes);
    message.AppendBytes({record.p0, record.p1, record.p2, record.p3, 0, 0});

    phone.Ask(message, kWriteBytes);
    phone.RequireStatus(message, {kDone});
}

}  // namespace

CUserProfilesHandler::CUserProfilesHandler() : CContentHandler(kOperations) {}

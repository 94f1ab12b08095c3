#include "handlers/UserProfilesHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/RecordArray.h"

namespace
{

enum MessageId : std::uint8_t
{
    kReadSettingsRequest = 0x01,
    kReadSettingsReply = 0x02,
    kWriteSettingsRequest = 0x03,
    kWriteSettingsReply = 0x04,
    kReadBytesRequest = 0x05,
    kReadBytesReply = 0x06,
    kWriteBytesRequest = 0x07,
    kWriteBytesReply = 0x08,
    kOperationRequest = 0x09,
    kOperationReply = 0x0A,
};

enum SubBlockId : std::uint16_t
{
    kSettingToRead = 1,
    kSettingRead = 2,
    kSettingToWrite = 3,
    kSettingWritten = 4,
};

constexpr std::uint8_t kDone = 1;
constexpr UINT kLongestTextBytes = 33;
constexpr std::uint8_t kTerminatorBytes = 2;

/// An array in the caller's record must be there as soon as it has elements.
void CheckArray(const void* array, std::uint8_t count)
{
    if (count != 0 && !IsReadable(array))
        ThrowCode(ZEL_E_FAIL);
}

bool HoldsText(const ProfileSetting& setting)
{
    return setting.setting_id == ZEL_PROFILES_SETTING_TEXT;
}

void FreeText(const ProfileSetting& setting)
{
    if (HoldsText(setting))
        SysFreeString(setting.value.text);
}

using CSettings = CRecordArray<ProfileSetting, FreeText>;

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

void AppendText(CSubBlock& block, ProfileSetting& setting)
{
    const BSTR text = IsReadable(setting.value.text) ? setting.value.text : nullptr;
    const UINT bytes = SysStringByteLen(text);
    setting.type = static_cast<std::uint8_t>(bytes);
    if (bytes > kLongestTextBytes)
        ThrowCode(ZEL_PROFILES_TEXT_TOO_LONG);
    block.AppendByte(static_cast<std::uint8_t>(bytes + kTerminatorBytes));
    const auto units = static_cast<std::int32_t>(SysStringLen(text));
    block.AppendStringN(text, units, units, true);
}

void AppendValue(CSubBlock& block, ProfileSetting& setting)
{
    if (HoldsText(setting))
        return AppendText(block, setting);
    switch (setting.type)
    {
    case ZEL_PROFILES_TYPE_U8:
        block.AppendByte(ZEL_PROFILES_TYPE_U8);
        block.AppendByte(setting.value.u8);
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

void AppendSetting(CMessage& message, ProfileSetting& setting)
{
    CSubBlock block = NewBlock(kShortBlock, kSettingToWrite);
    block.AppendByte(setting.setting_id);
    block.AppendByte(setting.profile);
    block.AppendByte(setting.second);
    block.AppendWord(0);
    AppendValue(block, setting);
    block.WriteTo(&message);
}

/// Stores the answers for written settings in the caller's array.
void ReadWritten(CMessage& reply, ProfileSetting* settings, std::uint8_t count)
{
    std::uint8_t next = 0;
    ForEachBlock(reply, reply.ReadByte(), kShortBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() != kSettingWritten || next >= count)
            return;
        ProfileSetting& setting = settings[next++];
        setting.setting_id = block.ReadByte();
        setting.profile = block.ReadByte();
        setting.status = block.ReadByte();
    });
}

}  // namespace

std::uint32_t CUserProfilesHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (messageId)
        {
        case ZEL_PROFILES_READ_SETTINGS:
            return ReadSettings(sender, RecordOf<ProfileRecord>(record));
        case ZEL_PROFILES_WRITE_SETTINGS:
            return WriteSettings(sender, RecordOf<ProfileRecord>(record));
        case ZEL_PROFILES_OPERATION:
            return Operation(sender);
        case ZEL_PROFILES_READ_BYTES:
            return ReadBytes(sender, record);
        case ZEL_PROFILES_WRITE_BYTES:
            return WriteBytes(sender, RecordOf<ProfileRecord>(record));
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

std::uint32_t CUserProfilesHandler::ProfileResult(std::uint8_t status) const
{
    return status == kDone ? ZEL_OK : StatusResult(status);
}

std::uint32_t CUserProfilesHandler::ReadSettings(CDataSender& sender, ProfileRecord& record) const
{
    CheckArray(record.in.setting_ids, record.p2);
    CMessage message = Request(kReadSettingsRequest);
    message.AppendByte(record.p0);
    message.AppendByte(record.p2);
    for (std::uint8_t i = 0; i < record.p2; ++i)
    {
        CSubBlock block = NewBlock(kShortBlock, kSettingToRead);
        block.AppendByte(record.p1);
        block.AppendByte(record.in.setting_ids[i]);
        block.WriteTo(&message);
    }

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kReadSettingsReply, result))
        return result;
    message.Skip(1);
    const std::uint8_t count = message.ReadByte();
    CSettings settings(count);
    ForEachBlock(message, count, kShortBlock, [&](CSubBlock& block, std::uint32_t index) {
        if (block.GetId() == kSettingRead)
            ReadSetting(block, settings[index]);
    });
    record.count = count;
    record.settings = settings.Release();
    return ZEL_OK;
}

std::uint32_t CUserProfilesHandler::WriteSettings(CDataSender& sender, ProfileRecord& record) const
{
    CheckArray(record.in.settings, record.p0);
    CMessage message = Request(kWriteSettingsRequest);
    message.AppendByte(1);
    message.AppendByte(record.p0);
    for (std::uint8_t i = 0; i < record.p0; ++i)
        AppendSetting(message, record.in.settings[i]);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kWriteSettingsReply, result))
        return result;
    message.Skip(1);
    ReadWritten(message, record.in.settings, record.p0);
    return ZEL_OK;
}

std::uint32_t CUserProfilesHandler::Operation(CDataSender& sender) const
{
    CMessage message = Request(kOperationRequest);
    message.AppendWord(0);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kOperationReply, result))
        return result;
    return ProfileResult(message.ReadByte());
}

std::uint32_t CUserProfilesHandler::ReadBytes(CDataSender& sender, void* record) const
{
    CMessage message = Request(kReadBytesRequest);
    message.AppendWord(0);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kReadBytesReply, result))
        return result;
    const std::uint8_t status = message.ReadByte();
    if (status != kDone)
        return StatusResult(status);
    if (!IsReadable(record))
        return ZEL_E_FAIL;
    auto& profile = *static_cast<ProfileRecord*>(record);
    profile.p0 = message.ReadByte();
    profile.p1 = message.ReadByte();
    profile.p2 = message.ReadByte();
    profile.p3 = message.ReadByte();
    return ZEL_OK;
}

std::uint32_t CUserProfilesHandler::WriteBytes(CDataSender& sender, const ProfileRecord& record) const
{
    CMessage message = Request(kWriteBytesRequest);
    message.AppendByte(record.p0);
    message.AppendByte(record.p1);
    message.AppendByte(record.p2);
    message.AppendByte(record.p3);
    message.AppendWord(0);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kWriteBytesReply, result))
        return result;
    return ProfileResult(message.ReadByte());
}

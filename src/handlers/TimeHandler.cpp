#include "handlers/TimeHandler.h"

#include "handlers/base/Blocks.h"

namespace
{

enum MessageId : std::uint8_t
{
    kSetRequest = 0x01,
    kSetReply = 0x02,
    kReadRequest = 0x0A,
    kReadReply = 0x0B,
    kSettingsRequest = 0x1F,
    kSettingsReply = 0x20,
};

enum SubBlockId : std::uint16_t
{
    kDateTime = 1,
    kValue4 = 4,
    kSetting = 5,
};

constexpr std::uint8_t kDone = 1;
constexpr std::uint8_t kFirstVersionWithSettings = 16;
constexpr std::uint8_t kSetting10 = 10;
constexpr std::uint8_t kSetting11 = 11;

void ReadClock(CSubBlock& block, TimeNow& record)
{
    record.lead_0 = block.ReadByte();
    record.lead_1 = block.ReadByte();
    const bool valid = record.lead_1 == ZEL_TIME_VALID;
    record.year = valid ? block.ReadWord() : 0;
    record.month = valid ? block.ReadByte() : 0;
    record.day = valid ? block.ReadByte() : 0;
    record.hour = valid ? block.ReadByte() : 0;
    record.minute = valid ? block.ReadByte() : 0;
    record.second = valid ? block.ReadByte() : 0;
}

void ReadSetClock(CSubBlock& block, TimeToSet& record)
{
    record.lead_0 = block.ReadByte();
    record.lead_1 = block.ReadByte();
    record.year = block.ReadWord();
    record.month = block.ReadByte();
    record.day = block.ReadByte();
    record.hour = block.ReadByte();
    record.minute = block.ReadByte();
    record.second = block.ReadByte();
}

void WriteClock(CSubBlock& block, const TimeToSet& record)
{
    block.AppendByte(record.lead_0);
    block.AppendByte(record.lead_1);
    block.AppendWord(record.year);
    block.AppendByte(record.month);
    block.AppendByte(record.day);
    block.AppendByte(record.hour);
    block.AppendByte(record.minute);
    block.AppendByte(record.second);
    block.AppendByte(0);
}

void ReadSetting(CSubBlock& block, TimeSettings& record)
{
    const std::uint8_t number = block.ReadByte();
    block.Skip(1);
    if (number == kSetting10)
    {
        record.setting_10_first = block.ReadWord();
        record.setting_10_second = block.ReadWord();
    }
    else if (number == kSetting11)
    {
        record.setting_11_first = block.ReadWord();
        record.setting_11_second = block.ReadWord();
    }
}

}  // namespace

std::uint32_t CTimeHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (messageId)
        {
        case ZEL_TIME_READ:
            return Read(sender, RecordOf<TimeNow>(record));
        case ZEL_TIME_SET:
            return Set(sender, RecordOf<TimeToSet>(record));
        case ZEL_TIME_READ_SETTINGS:
            return ReadSettings(sender, RecordOf<TimeSettings>(record));
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

std::uint32_t CTimeHandler::Read(CDataSender& sender, TimeNow& record) const
{
    CMessage message = Request(kReadRequest);
    message.AppendByte(0);
    message.AppendByte(0);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kReadReply, result) || message.ReadByte() != kDone)
        return result;
    ForEachBlock(message, message.ReadByte(), kShortBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() == kDateTime)
            ReadClock(block, record);
        else if (block.GetId() == kValue4)
            record.value_4 = block.ReadByte();
    });
    return ZEL_OK;
}

std::uint32_t CTimeHandler::Set(CDataSender& sender, TimeToSet& record) const
{
    CMessage message = Request(kSetRequest);
    message.AppendByte(0);
    message.AppendByte(1);
    CSubBlock clock = NewBlock(kShortBlock, kDateTime);
    WriteClock(clock, record);
    clock.WriteTo(&message);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kSetReply, result) || message.ReadByte() != kDone)
        return result;
    CSubBlock answer = NewBlock(kShortBlock);
    if (message.ReadByte() != 0 && answer.ReadFrom(&message) && answer.GetId() == kDateTime)
        ReadSetClock(answer, record);
    return ZEL_OK;
}

std::uint32_t CTimeHandler::ReadSettings(CDataSender& sender, TimeSettings& record) const
{
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    const std::uint32_t known = sender.GetServiceVersion(GetResource(), major, minor);
    if (known != ZEL_OK)
        return known;
    if (major < kFirstVersionWithSettings)
        return ZEL_E_VERSION;

    CMessage message = Request(kSettingsRequest);
    message.AppendByte(1);
    message.AppendByte(0);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kSettingsReply, result) || message.ReadByte() != kDone)
        return result;
    ForEachBlock(message, message.ReadByte(), kShortBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() == kSetting)
            ReadSetting(block, record);
    });
    return ZEL_OK;
}

#include "handlers/TimeHandler.h"

#include "handlers/base/Blocks.h"
#include "zelapi/time.h"

namespace
{

void ReadClock(CConversation& phone, TimeNow& record);
void SetClock(CConversation& phone, TimeToSet& record);
void ReadSettings(CConversation& phone, TimeSettings& record);

constexpr Operation kOperations[] = {
    {ZEL_TIME_READ, Serve<ReadClock>},
    {ZEL_TIME_SET, Serve<SetClock>},
    {ZEL_TIME_READ_SETTINGS, Serve<ReadSettings>},
};

enum SubBlockId : std::uint16_t
{
    kClockBlock = 1,
    kValue4Block = 4,
    kSettingBlock = 5,
};

/// The status of a reply that brings what was asked for. Any other one is no failure; it brings nothing.
constexpr std::uint8_t kDone = 1;

void TakeClock(CSubBlock& block, TimeNow& record)
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

constexpr Exchange kReadClock = {.request = 0x0A, .reply = 0x0B};

void ReadClock(CConversation& phone, TimeNow& record)
{
    CMessage message = phone.Request(kReadClock);
    message.AppendBytes({0, 0});

    phone.Ask(message, kReadClock);
    if (message.ReadByte() != kDone)
        return;
    ForEachBlock(message, message.ReadByte(), kShortBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() == kClockBlock)
            TakeClock(block, record);
        else if (block.GetId() == kValue4Block)
            record.value_4 = block.ReadByte();
    });
}

constexpr Exchange kSetClock = {.request = 0x01, .reply = 0x02};

void SetClock(CConversation& phone, TimeToSet& record)
{
    CMessage message = phone.Request(kSetClock);
    message.AppendBytes({0, 1});
    CSubBlock clock = NewBlock(kShortBlock, kClockBlock);
    clock.AppendBytes({record.lead_0, record.lead_1});
    clock.AppendWord(record.year);
    clock.AppendBytes({record.month, record.day, record.hour, record.minute, record.second, 0});
    clock.WriteTo(&message);

    phone.Ask(message, kSetClock);
    CSubBlock answer = NewBlock(kShortBlock);
    if (message.ReadByte() != kDone || !ReadFirstBlock(message, answer) || answer.GetId() != kClockBlock)
        return;
    record.lead_0 = answer.ReadByte();
    record.lead_1 = answer.ReadByte();
    record.year = answer.ReadWord();
    record.month = answer.ReadByte();
    record.day = answer.ReadByte();
    record.hour = answer.ReadByte();
    record.minute = answer.ReadByte();
    record.second = answer.ReadByte();
}

void TakeSetting(CSubBlock& block, TimeSettings& record)
{
    const std::uint8_t number = block.ReadByte();
    block.Skip(1);
    if (number == 10)
    {
        record.setting_10_first = block.ReadWord();
        record.setting_10_second = block.ReadWord();
    }
    else if (number == 11)
    {
        record.setting_11_first = block.ReadWord();
        record.setting_11_second = block.ReadWord();
    }
}

constexpr std::uint8_t kFirstVersionWithSettings = 16;
constexpr Exchange kReadSettings = {.request = 0x1F, .reply = 0x20};

void ReadSettings(CConversation& phone, TimeSettings& record)
{
    const auto version = phone.GetVersion();
    if (!version)
        ThrowCode(ZEL_E_FAIL);
    if (version->major < kFirstVersionWithSettings)
        ThrowCode(ZEL_E_VERSION);

    CMessage message = phone.Request(kReadSettings);
    message.AppendBytes({1, 0});

    phone.Ask(message, kReadSettings);
    if (message.ReadByte() != kDone)
        return;
    ForEachBlock(message, message.ReadByte(), kShortBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() == kSettingBlock)
            TakeSetting(block, record);
    });
}

}  // namespace

CTimeHandler::CTimeHandler() : CContentHandler(kOperations) {}

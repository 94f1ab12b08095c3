#include "handlers/RadioHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/CallersData.h"
#include "handlers/base/RecordArray.h"
#include "zelapi/radio.h"

namespace
{

void List(CConversation& phone, RadioList& record);
void WriteItem(CConversation& phone, const RadioItemRecord& record);
void ReadSetting(CConversation& phone, void* record);
void WriteSetting(CConversation& phone, const RadioSetting& record);
void SendKeys(CConversation& phone, const RadioSetting& record);

constexpr Operation kOperations[] = {
    {ZEL_RADIO_LIST, Serve<List>},
    {ZEL_RADIO_WRITE_ITEM, Serve<WriteItem>},
    {ZEL_RADIO_READ_SETTING, Serve<ReadSetting>},
    {ZEL_RADIO_WRITE_SETTING, Serve<WriteSetting>},
    {ZEL_RADIO_REQUEST_3, Serve<SendKeys>},
};

enum SubBlockId : std::uint16_t
{
    kSettingBlock = 0,
    kItemBlock = 1,
};

constexpr std::uint8_t kDone = 21;
constexpr std::uint8_t kRefusal = 22;

std::uint32_t RefusalResult(CMessage& message)
{
    if (message.GetMessageId() != kRefusal)
        return ZEL_OK;
    message.Skip(1);
    return StatusResult(message, message.ReadByte());
}

void FreeItem(const RadioItem& item)
{
    SysFreeString(item.name);
    CoTaskMemFree(item.data);
}

void ReadItem(CSubBlock& block, RadioItem& item)
{
    const std::uint8_t length = block.ReadByte();
    item.data_length = block.ReadByte();
    item.value = block.ReadByte();
    block.Skip(1);
    if (length != 0)
        item.name = block.ReadString(length);
    // Two bytes or none: what exceeds a multiple of 4 is also what the next one lacks.
    block.Skip(block.GetPosition() % 4);
    item.data = block.ReadBytes(item.data_length);
}

/// The list is not worth a longer wait.
constexpr Exchange kList = {
    .request = 13, .reply = 14, .answers = {14, kRefusal}, .other = &RefusalResult, .timeoutMs = 10000};

void List(CConversation& phone, RadioList& record)
{
    CMessage message = phone.Request(kList);
    message.AppendWord(0);

    phone.Ask(message, kList);
    const std::uint8_t value = message.ReadByte();
    const std::uint8_t count = message.ReadByte();
    CRecordArray<RadioItem, &FreeItem> items(count);
    ForEachBlock(message, count, kByteIdBlock, [&](CSubBlock& block, std::uint32_t index) {
        if (block.GetId() == kItemBlock)
            ReadItem(block, items[index]);
    });
    record.value = value;
    record.count = count;
    record.items = items.Release();
}

CSubBlock ItemBlock(const RadioItem& item)
{
    const CTextView name = TextOf(item.name);
    const auto lengthByte = static_cast<std::uint8_t>(name.size());
    CSubBlock block = NewBlock(kByteIdBlock, kItemBlock);
    block.AppendBytes({lengthByte, item.data_length, item.value, 0});
    if (lengthByte != 0)
        AppendText(block, name);
    for (std::uint32_t zeros = block.GetSize() % 4; zeros != 0; --zeros)
        block.AppendByte(0);
    const auto data = ElementsOf(item.data, item.data_length);
    block.AppendBytes(data.size(), data.data());
    return block;
}

constexpr Exchange kWriteItem = {.request = 17, .reply = kDone, .answers = {kDone, kRefusal}, .other = &RefusalResult};

void WriteItem(CConversation& phone, const RadioItemRecord& record)
{
    CSubBlock item = ItemBlock(Required(record.item));
    CMessage message = phone.Request(kWriteItem);
    message.AppendBytes({0, 1});
    AppendFitting(message, item);

    phone.Ask(message, kWriteItem);
}

void TakeSetting(CSubBlock& block, RadioSetting& record)
{
    const std::uint8_t length = block.ReadByte();
    RadioSetting setting = record;
    setting.value_12 = block.ReadByte();
    setting.value_13 = block.ReadByte();
    setting.value_14 = block.ReadByte();
    block.Skip(1);
    setting.value_15 = block.ReadByte();
    setting.value_16 = block.ReadDword();
    if (length != 0)
        setting.text = block.ReadString(length);
    record = setting;
}

constexpr Exchange kReadSetting = {.request = 5, .reply = 6, .answers = {6, kRefusal}, .other = &RefusalResult};

void ReadSetting(CConversation& phone, void* record)
{
    // Applications know this request's other result for a missing record.
    if (!IsReadable(record))
        ThrowCode(ZEL_E_FAIL);
    auto& setting = *static_cast<RadioSetting*>(record);
    CMessage message = phone.Request(kReadSetting);
    message.AppendBytes({setting.key, 0});

    phone.Ask(message, kReadSetting);
    message.Skip(1);
    // Further settings may follow; the first is the one that was asked for.
    CSubBlock block = NewBlock(kShortBlock);
    if (ReadFirstBlock(message, block) && block.GetId() == kSettingBlock)
        TakeSetting(block, setting);
}

constexpr Exchange kWriteSetting = {
    .request = 18, .reply = kDone, .answers = {kDone, kRefusal}, .other = &RefusalResult};

void WriteSetting(CConversation& phone, const RadioSetting& record)
{
    const CTextView text = TextOf(record.text);
    CSubBlock block = NewBlock(kShortBlock, kSettingBlock);
    block.AppendBytes({static_cast<std::uint8_t>(text.size()), record.value_12, record.value_13, record.value_14,
                       record.key, record.value_15});
    block.AppendDword(record.value_16);
    AppendText(block, text);
    CMessage message = phone.Request(kWriteSetting);
    message.AppendBytes({0, 1});
    AppendFitting(message, block);

    phone.Ask(message, kWriteSetting);
}

constexpr Exchange kSendKeys = {.request = 3, .reply = kDone, .answers = {kDone, kRefusal}, .other = &RefusalResult};

void SendKeys(CConversation& phone, const RadioSetting& record)
{
    CMessage message = phone.Request(kSendKeys);
    message.AppendBytes({record.key, record.second_key});

    phone.Ask(message, kSendKeys);
}

}  // namespace

CRadioHandler::CRadioHandler() : CContentHandler(kOperations) {}

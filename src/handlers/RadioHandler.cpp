#include "handlers/RadioHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/RecordArray.h"

namespace
{

enum MessageId : std::uint8_t
{
    kRequest3 = 3,
    kReadSettingRequest = 5,
    kReadSettingReply = 6,
    kListRequest = 13,
    kListReply = 14,
    kWriteItemRequest = 17,
    kWriteSettingRequest = 18,
    kDoneReply = 21,
    kRefusalReply = 22,
};

enum SubBlockId : std::uint16_t
{
    kSettingBlock = 0,
    kItemBlock = 1,
};

/// The list is not worth a longer wait.
constexpr std::uint32_t kListMs = 10000;

/// Longest texts in units. A sub-block is a multiple of 4 bytes long; an item names its length in 16 bits and has up to
/// 255 bytes of data, a setting in 8 bits.
constexpr std::uint32_t kLongestName = 32632;
constexpr std::uint32_t kLongestText = 120;

/// Units of a text from the caller; an unreadable one is empty.
std::uint32_t LengthOf(BSTR text)
{
    return IsReadable(text) ? SysStringLen(text) : 0;
}

void AppendText(CSubBlock& block, BSTR text, std::uint32_t length, std::uint32_t longest)
{
    if (length > longest)
        ThrowCode(ZEL_E_ARGUMENT);
    block.AppendStringN(text, static_cast<std::int32_t>(length), static_cast<std::int32_t>(longest), false);
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

CSubBlock ItemBlock(const RadioItem& item)
{
    const std::uint32_t length = LengthOf(item.name);
    const auto lengthByte = static_cast<std::uint8_t>(length);
    CSubBlock block = NewBlock(kByteIdBlock, kItemBlock);
    block.AppendByte(lengthByte);
    block.AppendByte(item.data_length);
    block.AppendByte(item.value);
    block.AppendByte(0);
    if (lengthByte != 0)
        AppendText(block, item.name, length, kLongestName);
    for (std::uint32_t zeros = block.GetSize() % 4; zeros != 0; --zeros)
        block.AppendByte(0);
    if (item.data_length != 0)
    {
        if (!IsReadable(item.data))
            ThrowCode(ZEL_E_ARGUMENT);
        block.AppendBytes(item.data_length, item.data);
    }
    return block;
}

CSubBlock SettingBlock(const RadioSetting& setting)
{
    const std::uint32_t length = LengthOf(setting.text);
    CSubBlock block = NewBlock(kShortBlock, kSettingBlock);
    block.AppendByte(static_cast<std::uint8_t>(length));
    block.AppendByte(setting.value_12);
    block.AppendByte(setting.value_13);
    block.AppendByte(setting.value_14);
    block.AppendByte(setting.key);
    block.AppendByte(setting.value_15);
    block.AppendDword(setting.value_16);
    AppendText(block, setting.text, length, kLongestText);
    return block;
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

}  // namespace

std::uint32_t CRadioHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (messageId)
        {
        case ZEL_RADIO_LIST:
            return List(sender, RecordOf<RadioList>(record));
        case ZEL_RADIO_WRITE_ITEM:
            return WriteItem(sender, RecordOf<RadioItemRecord>(record));
        case ZEL_RADIO_READ_SETTING:
            // Applications know this request's other result for a missing record.
            if (!IsReadable(record))
                return ZEL_E_FAIL;
            return ReadSetting(sender, RecordOf<RadioSetting>(record));
        case ZEL_RADIO_WRITE_SETTING:
            return WriteSetting(sender, RecordOf<RadioSetting>(record));
        case ZEL_RADIO_REQUEST_3:
            return Request3(sender, RecordOf<RadioSetting>(record));
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

std::uint32_t CRadioHandler::StatusOf(CMessage& reply) const
{
    if (reply.GetMessageId() != kRefusalReply)
        return ZEL_OK;
    reply.Skip(1);
    return StatusResult(reply.ReadByte());
}

std::uint32_t CRadioHandler::Command(CDataSender& sender, CMessage& message) const
{
    const std::uint32_t result = sender.Send(message, kReplyMs);
    return result == ZEL_OK ? StatusOf(message) : result;
}

std::uint32_t CRadioHandler::List(CDataSender& sender, RadioList& record) const
{
    CMessage message = Request(kListRequest, {kListReply, kRefusalReply});
    message.AppendWord(0);
    if (const std::uint32_t result = sender.Send(message, kListMs); result != ZEL_OK)
        return result;
    if (message.GetMessageId() != kListReply)
        return StatusOf(message);

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
    return ZEL_OK;
}

std::uint32_t CRadioHandler::WriteItem(CDataSender& sender, const RadioItemRecord& record) const
{
    if (!IsReadable(record.item))
        return ZEL_E_ARGUMENT;
    CMessage message = Request(kWriteItemRequest, {kDoneReply, kRefusalReply});
    message.AppendByte(0);
    message.AppendByte(1);
    ItemBlock(*record.item).WriteTo(&message);
    return Command(sender, message);
}

std::uint32_t CRadioHandler::ReadSetting(CDataSender& sender, RadioSetting& record) const
{
    CMessage message = Request(kReadSettingRequest, {kReadSettingReply, kRefusalReply});
    message.AppendByte(record.key);
    message.AppendByte(0);
    std::uint32_t result = ZEL_OK;
    if (!Exchange(sender, message, kReadSettingReply, result))
        return result == ZEL_OK ? StatusOf(message) : result;
    message.Skip(1);
    // Further settings may follow; the first is the one that was asked for.
    CSubBlock block = NewBlock(kShortBlock);
    if (message.ReadByte() != 0 && block.ReadFrom(&message) && block.GetId() == kSettingBlock)
        TakeSetting(block, record);
    return ZEL_OK;
}

std::uint32_t CRadioHandler::WriteSetting(CDataSender& sender, const RadioSetting& record) const
{
    CMessage message = Request(kWriteSettingRequest, {kDoneReply, kRefusalReply});
    message.AppendByte(0);
    message.AppendByte(1);
    SettingBlock(record).WriteTo(&message);
    return Command(sender, message);
}

std::uint32_t CRadioHandler::Request3(CDataSender& sender, const RadioSetting& record) const
{
    CMessage message = Request(kRequest3, {kDoneReply, kRefusalReply});
    message.AppendByte(record.key);
    message.AppendByte(record.second_key);
    return Command(sender, message);
}

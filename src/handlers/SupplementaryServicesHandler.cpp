#include "handlers/SupplementaryServicesHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/Owners.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace
{

enum MessageId : std::uint8_t
{
    kRequest = 0,
    kResultReply = 1,
    kErrorReply = 2,
    kRejectReply = 3,
    kIgnoredIndication = 9,
    kIndication = 16,
};

enum SubBlockId : std::uint16_t
{
    kText = 0,
    kDetail = 4,
};

enum Operation : std::uint8_t
{
    kOperation4 = 4,
    kQueryOperation = 5,
};

constexpr std::uint16_t kFixedValue = 43;

/// The part of an entry that holds its detail.
constexpr std::uint8_t kDetailPart = 5;
constexpr std::uint8_t kPaddingBits = 3;

/// Where the status of an error stands, by the error's kind.
constexpr std::uint8_t kStatusAtOnce = 14;
constexpr std::uint8_t kStatusLater = 15;

/// A sub-block names its length in one byte and is a multiple of 4 bytes long.
constexpr std::uint32_t kLongestPayload = 252 - 2;

/// What an entry of a reply tells, owned until all entries are read.
struct Detail
{
    std::array<std::optional<std::uint8_t>, 4> values;
    CBStrOwner text;
    CTaskMemOwner<std::uint8_t> data;
};

struct Entry
{
    std::uint8_t type = 0;
    Detail detail;
};

void ReadDetailPart(CMessage& reply, Detail& detail)
{
    detail.values[0] = reply.ReadByte();
    detail.values[1] = reply.ReadByte();
    detail.values[2] = reply.ReadByte();
    reply.Skip(1);
    detail.values[3] = reply.ReadByte();
    const std::uint8_t textLength = reply.ReadByte();
    const std::uint8_t dataLength = reply.ReadByte();
    reply.Skip(1);
    if (textLength != 0)
        detail.text.reset(reply.ReadString(textLength));
    if (dataLength != 0)
        detail.data.reset(reply.ReadBytes(dataLength));
}

void ReadParts(CMessage& reply, Detail& detail)
{
    const std::uint8_t count = reply.ReadByte();
    for (std::uint8_t i = 0; i < count; ++i)
    {
        const std::uint8_t id = reply.ReadByte();
        const std::uint8_t padding = reply.ReadByte() & kPaddingBits;
        // Of the other parts only these two bytes are passed over.
        if (id != kDetailPart)
            continue;
        ReadDetailPart(reply, detail);
        reply.Skip(padding);
    }
}

void ReadEntry(CMessage& reply, Entry& entry)
{
    entry.type = reply.ReadByte();
    reply.Skip(1);
    if (entry.type == ZEL_SUPPLEMENTARY_ENTRY_VALUE)
    {
        entry.detail.values[1] = reply.ReadByte();
        reply.Skip(1);
    }
    else if (entry.type == ZEL_SUPPLEMENTARY_ENTRY_PARTS)
    {
        reply.Skip(1);
        ReadParts(reply, entry.detail);
    }
}

std::vector<Entry> ReadEntries(CMessage& reply)
{
    std::vector<Entry> entries(reply.ReadByte());
    for (Entry& entry : entries)
        ReadEntry(reply, entry);
    return entries;
}

/// Moves what was read into a record; the rest of the record stays as it is.
void Store(Detail& detail, SupplementaryDetail& record)
{
    record.value_1 = detail.values[0].value_or(record.value_1);
    record.value_2 = detail.values[1].value_or(record.value_2);
    record.value_3 = detail.values[2].value_or(record.value_3);
    record.value_4 = detail.values[3].value_or(record.value_4);
    if (detail.text)
        record.text = detail.text.release();
    if (detail.data)
        record.data = detail.data.release();
}

/// Moves the entries into an array for the caller; null if there are none.
SupplementaryListEntry* ReleaseEntries(std::vector<Entry>& entries)
{
    if (entries.empty())
        return nullptr;
    SupplementaryListEntry* array = AllocateRecords<SupplementaryListEntry>(entries.size()).release();
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        array[i].type = entries[i].type;
        Store(entries[i].detail, array[i].detail);
    }
    return array;
}

void AppendText(CMessage& message, const SupplementaryText* record)
{
    if (!IsReadable(record))
        ThrowCode(ZEL_E_FAIL);
    const BSTR text = IsReadable(record->text) ? record->text : nullptr;
    CSubBlock block = NewBlock(kShortBlock, kText);
    block.AppendByte(record->length);
    block.AppendByte(0);
    block.AppendByte(record->length);
    block.AppendByte(0);
    block.AppendStringN(text, static_cast<std::int32_t>(SysStringLen(text)), record->length, false);
    if (block.GetSize() > kLongestPayload)
        ThrowCode(ZEL_E_ARGUMENT);
    block.WriteTo(&message);
}

std::uint8_t ErrorStatus(CMessage& error)
{
    error.Skip(1);
    if (error.ReadByte() == 0)
        return 0;
    const std::uint8_t kind = error.ReadByte();
    error.Skip(1);
    if (kind == kStatusLater)
        error.Skip(1);
    return kind == kStatusAtOnce || kind == kStatusLater ? error.ReadByte() : std::uint8_t{0};
}

/// Whether a sub-block of an indication is one with a detail.
bool HasDetail(CSubBlock& block)
{
    if (block.GetId() != kDetail)
        return false;
    block.Skip(1);
    return block.ReadByte() != 0 && block.ReadByte() == kDetailPart;
}

}  // namespace

std::uint32_t CSupplementaryServicesHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (messageId)
        {
        case ZEL_SUPPLEMENTARY_QUERY:
            return Query(sender, RecordOf<SupplementaryRequest>(record));
        case ZEL_SUPPLEMENTARY_QUERY_43:
            return SendFixed(sender, kQueryOperation, RecordOf<SupplementaryRequest>(record).service_code);
        case ZEL_SUPPLEMENTARY_REQUEST:
            return SendList(sender, RecordOf<SupplementaryListRequest>(record));
        case ZEL_SUPPLEMENTARY_REQUEST_43: {
            const auto& request = RecordOf<SupplementaryRequest>(record);
            return SendFixed(sender, request.operation, request.service_code);
        }
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

CMessage CSupplementaryServicesHandler::Start(std::uint8_t operation, std::uint8_t serviceCode,
                                              std::uint16_t value) const
{
    CMessage message = Request(kRequest, {kResultReply});
    message.AppendByte(operation);
    message.AppendByte(serviceCode);
    message.AppendWord(value);
    return message;
}

bool CSupplementaryServicesHandler::Ask(CDataSender& sender, CMessage& message, std::uint32_t& result) const
{
    if (Exchange(sender, message, kResultReply, result))
        return true;
    if (result == ZEL_OK && message.GetMessageId() == kErrorReply)
        result = StatusResult(ErrorStatus(message));
    else if (result == ZEL_OK && message.GetMessageId() == kRejectReply)
        result = StatusResult(message.ReadByte());
    return false;
}

std::uint32_t CSupplementaryServicesHandler::Query(CDataSender& sender, SupplementaryRequest& record) const
{
    CMessage message = Start(kQueryOperation, record.service_code, record.value);
    message.AppendWord(0);

    std::uint32_t result = 0;
    if (!Ask(sender, message, result))
        return result;
    message.Skip(2 + 3);
    std::vector<Entry> entries = ReadEntries(message);
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        record.entries[i].type = entries[i].type;
        if (IsReadable(record.entries[i].detail))
            Store(entries[i].detail, *record.entries[i].detail);
    }
    return ZEL_OK;
}

std::uint32_t CSupplementaryServicesHandler::SendFixed(CDataSender& sender, std::uint8_t operation,
                                                       std::uint8_t serviceCode) const
{
    CMessage message = Start(operation, serviceCode, kFixedValue);
    message.AppendWord(0);

    std::uint32_t result = 0;
    Ask(sender, message, result);
    return result;
}

std::uint32_t CSupplementaryServicesHandler::SendList(CDataSender& sender, SupplementaryListRequest& record) const
{
    CMessage message = Start(record.operation, record.service_code, record.value);
    message.AppendByte(0);
    if (record.operation == kOperation4)
        message.AppendByte(0);
    if (record.operation == ZEL_SUPPLEMENTARY_OPERATION_TEXT)
    {
        message.AppendByte(1);
        AppendText(message, record.list.text);
    }

    std::uint32_t result = 0;
    if (!Ask(sender, message, result))
        return result;
    const std::uint8_t operation = message.ReadByte();
    message.Skip(1);
    const std::uint16_t value = message.ReadWord();
    message.Skip(1);
    std::vector<Entry> entries = ReadEntries(message);
    record.list.entries = ReleaseEntries(entries);
    record.operation = operation;
    record.value = value;
    record.count = static_cast<std::uint8_t>(entries.size());
    return ZEL_OK;
}

std::uint32_t CSupplementaryServicesHandler::DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record)
{
    return ResultOf([&]() -> std::uint32_t {
        if (message.GetMessageId() == kIgnoredIndication)
            return ZEL_OK;
        if (message.GetMessageId() != kIndication)
            return ZEL_NOT_HANDLED;
        auto indication = AllocateRecords<SupplementaryIndication>();
        indication->first = message.ReadByte();
        message.Skip(1);
        indication->second = message.ReadWord();
        if (message.ReadByte() != 0)
        {
            CSubBlock block = NewBlock(kShortBlock);
            // An unreadable one reads as zeros; its id is kept all the same.
            block.ReadFrom(&message);
            indication->block_id = static_cast<std::uint8_t>(block.GetId());
            // The record has no room for a detail, so such an indication fails.
            if (HasDetail(block))
                return ZEL_E_FAIL;
        }
        messageId = ZEL_SUPPLEMENTARY_INDICATION;
        record = indication.release();
        return ZEL_OK;
    });
}

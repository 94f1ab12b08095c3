#include "handlers/SupplementaryServicesHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/CallersData.h"
#include "handlers/base/RecordArray.h"
#include "zelapi/supplementary.h"

#include <array>
#include <utility>

namespace
{

void Query(CConversation& phone, SupplementaryRequest& record);
void QueryFixed(CConversation& phone, const SupplementaryRequest& record);
void RequestList(CConversation& phone, SupplementaryListRequest& record);
void RequestFixed(CConversation& phone, const SupplementaryRequest& record);

constexpr Operation kOperations[] = {
    {ZEL_SUPPLEMENTARY_QUERY, Serve<Query>},
    {ZEL_SUPPLEMENTARY_QUERY_43, Serve<QueryFixed>},
    {ZEL_SUPPLEMENTARY_REQUEST, Serve<RequestList>},
    {ZEL_SUPPLEMENTARY_REQUEST_43, Serve<RequestFixed>},
};

CTaskMemOwner<SupplementaryIndication> ReadIndication(CMessage& message);
void* Ignore(CMessage& message);

constexpr Indication kIndications[] = {
    {16, ZEL_SUPPLEMENTARY_INDICATION, Decode<ReadIndication>, nullptr},
    {9, 0, Ignore, nullptr},
};

/// The part of an entry, or of an indication, that holds a detail.
constexpr std::uint8_t kDetailPart = 5;

std::uint8_t ErrorStatus(CMessage& error)
{
    constexpr std::uint8_t kStatusAtOnce = 14;
    constexpr std::uint8_t kStatusLater = 15;

    error.Skip(1);
    if (error.ReadByte() == 0)
        return 0;
    const std::uint8_t kind = error.ReadByte();
    error.Skip(1);
    if (kind == kStatusLater)
        error.Skip(1);
    return kind == kStatusAtOnce || kind == kStatusLater ? error.ReadByte() : std::uint8_t{0};
}

std::uint32_t RefusalResult(CMessage& message)
{
    constexpr std::uint8_t kError = 2;
    constexpr std::uint8_t kReject = 3;

    switch (message.GetMessageId())
    {
    case kError:
        return StatusResult(message, ErrorStatus(message));
    case kReject:
        return StatusResult(message, message.ReadByte());
    default:
        return ZEL_OK;
    }
}

/// The one exchange that there is.
constexpr Exchange kRequest = {.request = 0, .reply = 1, .answers = {1}, .other = &RefusalResult};

CMessage Start(const CConversation& phone, std::uint8_t operation, std::uint8_t serviceCode, std::uint16_t value)
{
    CMessage message = phone.Request(kRequest);
    message.AppendBytes({operation, serviceCode});
    message.AppendWord(value);
    return message;
}

void ReadDetail(CMessage& reply, SupplementaryDetail& detail)
{
    detail.value_1 = reply.ReadByte();
    detail.value_2 = reply.ReadByte();
    detail.value_3 = reply.ReadByte();
    reply.Skip(1);
    detail.value_4 = reply.ReadByte();
    const std::uint8_t textLength = reply.ReadByte();
    const std::uint8_t dataLength = reply.ReadByte();
    reply.Skip(1);
    if (textLength != 0)
        Replace(detail.text, reply.ReadString(textLength));
    if (dataLength != 0)
        Replace(detail.data, reply.ReadBytes(dataLength));
}

/// Reads the parts of an entry. Whether there is one with a detail among them.
bool ReadParts(CMessage& reply, SupplementaryDetail& detail)
{
    constexpr std::uint8_t kPaddingBits = 3;

    bool found = false;
    const std::uint8_t count = reply.ReadByte();
    for (std::uint8_t i = 0; i < count; ++i)
    {
        const std::uint8_t id = reply.ReadByte();
        const std::uint8_t padding = reply.ReadByte() & kPaddingBits;
        // Of the other parts only these two bytes are passed over.
        if (id != kDetailPart)
            continue;
        ReadDetail(reply, detail);
        reply.Skip(padding);
        found = true;
    }
    return found;
}

/// Reads an entry. Whether it tells the whole detail.
bool ReadEntry(CMessage& reply, SupplementaryListEntry& entry)
{
    entry.type = reply.ReadByte();
    reply.Skip(1);
    if (entry.type == ZEL_SUPPLEMENTARY_ENTRY_VALUE)
    {
        entry.detail.value_2 = reply.ReadByte();
        reply.Skip(1);
    }
    if (entry.type != ZEL_SUPPLEMENTARY_ENTRY_PARTS)
        return false;
    reply.Skip(1);
    return ReadParts(reply, entry.detail);
}

void FreeEntry(const SupplementaryListEntry& entry)
{
    SysFreeString(entry.detail.text);
    CoTaskMemFree(entry.detail.data);
}
using CEntries = CRecordArray<SupplementaryListEntry, &FreeEntry>;

/// Moves what an entry tells into the caller's record; the rest of that stays as it is.
void TakeDetail(SupplementaryListEntry& entry, bool whole, SupplementaryDetail& record)
{
    SupplementaryDetail& told = entry.detail;
    if (entry.type == ZEL_SUPPLEMENTARY_ENTRY_VALUE)
        record.value_2 = told.value_2;
    if (!whole)
        return;
    record.value_1 = told.value_1;
    record.value_2 = told.value_2;
    record.value_3 = told.value_3;
    record.value_4 = told.value_4;
    if (told.text != nullptr)
        record.text = std::exchange(told.text, nullptr);
    if (told.data != nullptr)
        record.data = std::exchange(told.data, nullptr);
}

constexpr std::uint8_t kQueryOperation = 5;

void Query(CConversation& phone, SupplementaryRequest& record)
{
    CMessage message = Start(phone, kQueryOperation, record.service_code, record.value);
    message.AppendBytes({0, 0});

    phone.Ask(message, kRequest);
    message.Skip(5);
    // The caller's records change when nothing can fail any more.
    CEntries entries(message.ReadByte());
    std::array<bool, ZEL_SUPPLEMENTARY_ENTRIES> whole = {};
    for (std::size_t i = 0; i < entries.Count(); ++i)
        whole[i] = ReadEntry(message, entries[i]);
    for (std::size_t i = 0; i < entries.Count(); ++i)
    {
        record.entries[i].type = entries[i].type;
        if (IsReadable(record.entries[i].detail))
            TakeDetail(entries[i], whole[i], *record.entries[i].detail);
    }
}

void SendFixed(const CConversation& phone, std::uint8_t operation, std::uint8_t serviceCode)
{
    constexpr std::uint16_t kFixedValue = 43;

    CMessage message = Start(phone, operation, serviceCode, kFixedValue);
    message.AppendBytes({0, 0});
    phone.Ask(message, kRequest);
}

void QueryFixed(CConversation& phone, const SupplementaryRequest& record)
{
    SendFixed(phone, kQueryOperation, record.service_code);
}

void RequestFixed(CConversation& phone, const SupplementaryRequest& record)
{
    SendFixed(phone, record.operation, record.service_code);
}

void AppendTextBlock(CMessage& message, const SupplementaryText& record)
{
    constexpr std::uint16_t kText = 0;

    CSubBlock block = NewBlock(kShortBlock, kText);
    block.AppendBytes({record.length, 0, record.length, 0});
    AppendText(block, TextOf(record.text).substr(0, record.length));
    AppendFitting(message, block);
}

void RequestList(CConversation& phone, SupplementaryListRequest& record)
{
    constexpr std::uint8_t kOperation4 = 4;

    CMessage message = Start(phone, record.operation, record.service_code, record.value);
    message.AppendByte(0);
    if (record.operation == kOperation4)
        message.AppendByte(0);
    if (record.operation == ZEL_SUPPLEMENTARY_OPERATION_TEXT)
    {
        message.AppendByte(1);
        AppendTextBlock(message, Required(record.list.text));
    }

    phone.Ask(message, kRequest);
    const std::uint8_t operation = message.ReadByte();
    message.Skip(1);
    const std::uint16_t value = message.ReadWord();
    message.Skip(1);
    const std::uint8_t count = message.ReadByte();
    CEntries entries(count);
    for (SupplementaryListEntry& entry : entries)
        ReadEntry(message, entry);
    record.operation = operation;
    record.value = value;
    record.count = count;
    record.list.entries = entries.Release();
}

/// Whether a sub-block of an indication is one with a detail.
bool HasDetail(CSubBlock& block)
{
    constexpr std::uint16_t kDetailBlock = 4;

    if (block.GetId() != kDetailBlock)
        return false;
    block.Skip(1);
    return block.ReadByte() != 0 && block.ReadByte() == kDetailPart;
}

CTaskMemOwner<SupplementaryIndication> ReadIndication(CMessage& message)
{
    auto indication = AllocateRecords<SupplementaryIndication>();
    indication->first = message.ReadByte();
    message.Skip(1);
    indication->second = message.ReadWord();
    if (message.ReadByte() == 0)
        return indication;
    CSubBlock block = NewBlock(kShortBlock);
    // An unreadable one reads as zeros; its id is kept all the same.
    block.ReadFrom(&message);
    indication->block_id = static_cast<std::uint8_t>(block.GetId());
    // The record has no room for a detail, so such an indication fails.
    if (HasDetail(block))
        ThrowCode(ZEL_E_FAIL);
    return indication;
}

/// Handles a message that brings nothing to deliver.
void* Ignore(CMessage&)
{
    ThrowCode(ZEL_OK);
}

}  // namespace

CSupplementaryServicesHandler::CSupplementaryServicesHandler() : CContentHandler(kOperations, kIndications) {}

std::uint32_t CSupplementaryServicesHandler::FreeDecodedData(std::uint32_t, void*)
{
    return ZEL_E_FAIL;
}

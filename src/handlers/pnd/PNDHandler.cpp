#include "handlers/pnd/PNDHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/Owners.h"
#include "handlers/base/RecordArray.h"

#include <optional>

namespace
{

enum MessageId : std::uint8_t
{
    kStoreStateRequest = 3,
    kStoreStateReply = 4,
    kReadRequest = 7,
    kReadReply = 8,
    kReadFieldsRequest = 9,
    kReadFieldsReply = 10,
    kWriteRequest = 11,
    kWriteReply = 12,
    kWriteFieldsRequest = 13,
    kWriteFieldsReply = 14,
    kCommand15Request = 15,
    kCommand15Reply = 16,
    kCommand21Request = 21,
    kCommand21Reply = 22,
    kCommand23Request = 23,
    kCommand23Reply = 24,
    kCommand28Request = 28,
    kCommand28Reply = 29,
    kEventIndication = 30,
    kListRequest = 37,
    kListReply = 38,
};

enum SubBlockId : std::uint16_t
{
    kEntryBlock = 1,
    kLocationBlock = 4,
    kStatusBlock = 15,
    kStateBlock = 16,
    kStore14Block = 26,
    kItemBlock = 29,
    kStoreBlock = 48,
};

constexpr std::uint16_t kAnyLocation = 0xFFFF;
constexpr std::uint8_t kStore14 = 14;
constexpr std::uint8_t kOldStore16 = 16;
constexpr std::uint8_t kNewStore16 = 35;
constexpr std::uint8_t kStore14Item = 11;

// Requests

void AppendCommand(CMessage& message, const PndCommandRecord& record)
{
    message.AppendByte(0);
    message.AppendByte(record.value_4);
    message.AppendDword(0);
}

void AppendLocation(CMessage& message, std::uint8_t kind, std::uint16_t location)
{
    const bool isAny = kind == ZEL_PND_ANY_LOCATION_2 || kind == ZEL_PND_ANY_LOCATION_3;
    message.AppendWord(isAny ? kAnyLocation : location);
    message.AppendByte(0);
    message.AppendByte(0);
}

/// The first of an array of the application's. Throws ZEL_E_ARGUMENT if it cannot be read.
template <typename Element>
Element& FirstOf(Element* elements)
{
    if (!IsReadable(elements))
        ThrowCode(ZEL_E_ARGUMENT);
    return *elements;
}

void AppendSearch(CMessage& message, PndField* fields, const CPNDFieldCodec& codec)
{
    PndField& field = FirstOf(fields);
    // Only the low byte of the length counts.
    if (static_cast<std::uint8_t>(SysStringLen(PndTextOf(field))) == 0)
        ThrowCode(ZEL_E_ARGUMENT);
    message.AppendWord(kAnyLocation);
    message.AppendByte(0);
    message.AppendByte(1);
    codec.Write(message, field);
}

/// Lowers the record's count by the fields without a type. Returns what it was.
/// Throws ZEL_E_ARGUMENT if no field is left, or the fields cannot be read.
std::uint8_t DropUntyped(PndWriteRecord& record)
{
    const std::uint8_t total = record.field_count;
    if (total != 0)
        FirstOf(record.fields);
    for (std::size_t i = 0; i < total; ++i)
        if (record.fields[i].type == 0)
            --record.field_count;
    if (record.field_count == 0)
        ThrowCode(ZEL_E_ARGUMENT);
    return total;
}

void AppendFields(CMessage& message, PndField* fields, std::uint8_t total, const CPNDFieldCodec& codec)
{
    for (std::size_t i = 0; i < total; ++i)
        if (fields[i].type != 0)
            codec.WriteToStore(message, fields[i]);
}

CSubBlock EntryBlock(std::uint8_t store, std::uint16_t location, std::uint8_t count)
{
    CSubBlock block = NewBlock(kByteIdBlock, kEntryBlock);
    block.AppendByte(0xFF);
    block.AppendByte(store);
    block.AppendWord(location);
    block.AppendDword(0);
    block.AppendWord(0);
    block.AppendByte(0);
    block.AppendByte(count);
    return block;
}

// Replies

/// Reads the first sub-block of a reply; false if there is none.
bool ReadFirstBlock(CMessage& reply, CSubBlock& block)
{
    reply.Skip(1);
    return reply.ReadByte() != 0 && block.ReadFrom(&reply);
}

/// The status that a run of sub-blocks starts with. If it starts otherwise, the cursor stays at its start.
std::optional<std::uint8_t> LeadingStatus(CMessage& reply)
{
    const std::uint32_t start = reply.GetPosition();
    CSubBlock block = NewBlock(kByteIdBlock);
    if (block.ReadFrom(&reply) && block.GetId() == kStatusBlock)
        return block.ReadByte();
    reply.SetPosition(start);
    return std::nullopt;
}

std::uint8_t LastByte(const CSubBlock& block)
{
    return block.GetData()[block.GetSize() - 1];
}

/// Replaces the fields of an entry by those that follow in the reply; without memory, or for a malformed field, by
/// none.
void TakeFields(CMessage& reply, std::uint8_t count, PndEntry& entry, const CPNDFieldCodec& codec)
{
    entry.field_count = 0;
    entry.fields = nullptr;
    entry.fields = codec.Read(reply, count);
    entry.field_count = count;
}

void FreeItemText(const PndItem& item)
{
    SysFreeString(item.text);
}

void ReadItem(CMsgBase& block, PndItem& item)
{
    item.value_4 = block.ReadByte();
    item.value_5 = block.ReadByte();
    item.value_6 = block.ReadWord();
    item.value_8 = block.ReadByte();
    item.text_length = block.ReadByte();
    item.text = block.ReadString(item.text_length / 2u);
}

void ReadStore14Item(CMsgBase& block, PndStore14Item& item)
{
    item.value_4 = block.ReadByte();
    block.Skip(1);
    item.value_6 = block.ReadWord();
    item.value_8 = block.ReadDword();
    item.value_5 = block.ReadByte();
    item.value_12 = block.ReadByte();
    item.value_13 = block.ReadByte();
}

void TakeStore14Items(CMessage& reply, std::uint8_t count, PndStore14Record& record)
{
    record.count = 0;
    record.items = nullptr;
    if (count == 0)
        return;
    auto items = AllocateRecords<PndStore14Item>(count);
    CSubBlock block = NewBlock(kByteIdBlock);
    // The phone describes the first item only, whatever their number.
    if (block.ReadFrom(&reply) && block.GetId() == kStore14Block)
        ReadStore14Item(block, *items);
    record.items = items.release();
    record.count = count;
}

void ReadState(CMsgBase& block, PndStoreStateRecord& record)
{
    record.value_12 = block.ReadWord();
    record.value_14 = block.ReadWord();
    record.value_16 = block.ReadByte();
    record.value_17 = block.ReadByte();
}

std::uint8_t EventKind(std::uint8_t code)
{
    switch (code)
    {
    case 11:
        return ZEL_PND_EVENT_1;
    case 15:
        return ZEL_PND_EVENT_3;
    case 28:
        return ZEL_PND_EVENT_4;
    default:
        return ZEL_PND_EVENT_2;
    }
}

}  // namespace

std::uint32_t CPNDHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (messageId)
        {
        case ZEL_PND_COMMAND_21:
            return Command21(sender, RecordOf<PndCommandRecord>(record));
        case ZEL_PND_COMMAND_23:
            return Command23(sender, RecordOf<PndCommandRecord>(record));
        case ZEL_PND_READ_ENTRY:
            return ReadEntry(sender, RecordOf<PndReadRecord>(record));
        case ZEL_PND_WRITE_ENTRY:
            return WriteEntry(sender, RecordOf<PndWriteRecord>(record));
        case ZEL_PND_READ_FIELDS:
            return ReadFields(sender, RecordOf<PndReadRecord>(record));
        case ZEL_PND_WRITE_FIELDS:
            return WriteFields(sender, RecordOf<PndWriteRecord>(record));
        case ZEL_PND_COMMAND_28:
            return Command28(sender, RecordOf<PndCommand28Record>(record));
        case ZEL_PND_COMMAND_15:
            return Command15(sender, RecordOf<PndCommand15Record>(record));
        case ZEL_PND_LIST:
            return List(sender, RecordOf<PndListRecord>(record));
        case ZEL_PND_READ_STORE_14:
            return ReadStore14(sender, RecordOf<PndStore14Record>(record));
        case ZEL_PND_WRITE_STORE_14:
            return WriteStore14(sender, RecordOf<PndStore14Record>(record));
        case ZEL_PND_READ_STORE_16:
            return ReadStore16(sender, RecordOf<PndReadStore16Record>(record));
        case ZEL_PND_WRITE_STORE_16:
            return WriteStore16(sender, RecordOf<PndWriteRecord>(record));
        case ZEL_PND_STORE_STATE:
            return StoreState(sender, RecordOf<PndStoreStateRecord>(record));
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

std::uint32_t CPNDHandler::DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record)
{
    return ResultOf([&]() -> std::uint32_t {
        if (message.GetMessageId() != kEventIndication)
            return ZEL_NOT_HANDLED;
        auto event = AllocateRecords<PndEventRecord>();
        message.Skip(1);
        event->value_4 = message.ReadByte();
        event->value_8 = message.ReadDword();
        event->value_12 = message.ReadWord();
        event->kind = EventKind(message.ReadByte());
        event->value_15 = message.ReadByte();
        messageId = ZEL_PND_EVENT;
        record = event.release();
        return ZEL_OK;
    });
}

std::uint32_t CPNDHandler::FreeDecodedData(std::uint32_t messageId, void* record)
{
    if (messageId != ZEL_PND_EVENT)
        return ZEL_NOT_HANDLED;
    if (IsReadable(record))
        CoTaskMemFree(record);
    return ZEL_OK;
}

template <typename Read>
std::uint32_t CPNDHandler::ReadReply(CMessage& message, std::uint16_t dataId, Read&& read) const
{
    CSubBlock block = NewBlock(kByteIdBlock);
    if (!ReadFirstBlock(message, block))
        return ZEL_OK;
    if (block.GetId() == kStatusBlock)
        return StatusResult(block.ReadByte());
    if (block.GetId() == dataId)
        read(block);
    return ZEL_OK;
}

std::uint32_t CPNDHandler::ExchangeStatus(CDataSender& sender, CMessage& message, std::uint8_t replyId) const
{
    std::uint32_t result = 0;
    if (!Exchange(sender, message, replyId, result))
        return result;
    return ReadReply(message, kStatusBlock, [](CSubBlock&) {});
}

std::uint8_t CPNDHandler::ExchangeRun(CDataSender& sender, CMessage& message, std::uint8_t replyId,
                                      std::uint32_t& result) const
{
    if (!Exchange(sender, message, replyId, result))
        return 0;
    message.Skip(1);
    const std::uint8_t count = message.ReadByte();
    if (count == 0)
        return 0;
    const auto status = LeadingStatus(message);
    if (!status)
        return count;
    result = StatusResult(*status);
    return 0;
}

// Commands

std::uint32_t CPNDHandler::Command21(CDataSender& sender, const PndCommandRecord& record) const
{
    CMessage message = Request(kCommand21Request, {kCommand21Reply});
    AppendCommand(message, record);
    return ExchangeStatus(sender, message, kCommand21Reply);
}

std::uint32_t CPNDHandler::Command23(CDataSender& sender, const PndCommandRecord& record) const
{
    CMessage message = Request(kCommand23Request, {kCommand23Reply});
    AppendCommand(message, record);
    return ExchangeStatus(sender, message, kCommand23Reply);
}

std::uint32_t CPNDHandler::Command28(CDataSender& sender, const PndCommand28Record& record) const
{
    CMessage message = Request(kCommand28Request, {kCommand28Reply});
    message.AppendByte(0xFF);
    message.AppendByte(record.store);
    message.AppendDword(0);
    message.AppendWord(record.location);
    message.AppendByte(record.value_8);
    message.AppendByte(record.value_7);
    message.AppendDword(0);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kCommand28Reply, result))
        return result;
    // Here a status comes under any sub-block id.
    CSubBlock block = NewBlock(kByteIdBlock);
    return ReadFirstBlock(message, block) ? StatusResult(block.ReadByte()) : ZEL_OK;
}

std::uint32_t CPNDHandler::Command15(CDataSender& sender, const PndCommand15Record& record) const
{
    if (record.store == kOldStore16)
        return ZEL_E_ARGUMENT;
    CMessage message = Request(kCommand15Request, {kCommand15Reply});
    message.AppendByte(0);
    message.AppendByte(1);
    CSubBlock block = NewBlock(kByteIdBlock, kLocationBlock);
    block.AppendByte(0x80);
    block.AppendByte(0xFF);
    block.AppendWord(record.location);
    block.AppendDword(0);
    block.AppendByte(record.store);
    block.WriteTo(&message);
    return ExchangeStatus(sender, message, kCommand15Reply);
}

// Entries

CMessage CPNDHandler::ReadRequest(std::uint8_t kind, std::uint8_t mode, std::uint8_t value6, std::uint8_t store) const
{
    CMessage message = Request(kReadRequest, {kReadReply});
    message.AppendByte(kind);
    message.AppendByte(mode);
    message.AppendByte(value6);
    message.AppendByte(1);
    message.AppendByte(0xFF);
    message.AppendByte(store);
    message.AppendDword(0);
    return message;
}

std::uint32_t CPNDHandler::ReadEntry(CDataSender& sender, PndReadRecord& record) const
{
    CMessage message = ReadRequest(record.kind, record.mode, record.value_6, record.store);
    if (record.kind == ZEL_PND_BY_TEXT && record.mode != ZEL_PND_MODE_LOCATION)
        AppendSearch(message, record.entry.fields, FieldCodec(sender));
    else
        AppendLocation(message, record.kind, record.entry.location);
    return FetchEntry(sender, message, record.entry);
}

std::uint32_t CPNDHandler::ReadStore16(CDataSender& sender, PndReadStore16Record& record) const
{
    CMessage message = ReadRequest(record.kind, ZEL_PND_MODE_LOCATION, 0, Store16(sender));
    AppendLocation(message, record.kind, record.location);
    return FetchEntry(sender, message, record.entry);
}

std::uint32_t CPNDHandler::FetchEntry(CDataSender& sender, CMessage& message, PndEntry& entry) const
{
    std::uint32_t result = 0;
    if (!Exchange(sender, message, kReadReply, result))
        return result;
    return ReadReply(message, kEntryBlock, [&](CSubBlock& block) {
        block.Skip(2);
        entry.location = block.ReadWord();
        entry.value = block.ReadDword();
        TakeFields(message, LastByte(block), entry, FieldCodec(sender));
    });
}

std::uint32_t CPNDHandler::WriteEntry(CDataSender& sender, PndWriteRecord& record) const
{
    return StoreEntry(sender, record, record.store);
}

std::uint32_t CPNDHandler::WriteStore16(CDataSender& sender, PndWriteRecord& record) const
{
    return StoreEntry(sender, record, Store16(sender));
}

std::uint32_t CPNDHandler::StoreEntry(CDataSender& sender, PndWriteRecord& record, std::uint8_t store) const
{
    const std::uint8_t total = DropUntyped(record);
    CMessage message = Request(kWriteRequest, {kWriteReply});
    message.AppendByte(0);
    message.AppendByte(1);
    EntryBlock(store, record.location, record.field_count).WriteTo(&message);
    AppendFields(message, record.fields, total, FieldCodec(sender));

    // Whatever message answers a write is its reply.
    if (const std::uint32_t result = sender.Send(message, kReplyMs); result != 0)
        return result;
    return ReadReply(message, kLocationBlock, [&](CSubBlock& block) {
        block.Skip(2);
        record.location = block.ReadWord();
    });
}

// Fields

std::uint32_t CPNDHandler::ReadFields(CDataSender& sender, PndReadRecord& record) const
{
    const PndField& wanted = FirstOf(record.entry.fields);
    CMessage message = Request(kReadFieldsRequest, {kReadFieldsReply});
    message.AppendByte(0xFF);
    message.AppendByte(record.store);
    message.AppendDword(0);
    message.AppendWord(record.entry.location);
    message.AppendByte(wanted.type);
    message.AppendByte(wanted.attribute);
    message.AppendWord(0);

    std::uint32_t result = 0;
    if (const std::uint8_t count = ExchangeRun(sender, message, kReadFieldsReply, result); count != 0)
        TakeFields(message, count, record.entry, FieldCodec(sender));
    return result;
}

std::uint32_t CPNDHandler::WriteFields(CDataSender& sender, PndWriteRecord& record) const
{
    const std::uint8_t total = DropUntyped(record);
    CMessage message = Request(kWriteFieldsRequest, {kWriteFieldsReply});
    message.AppendByte(0xFF);
    message.AppendByte(record.store);
    message.AppendDword(0);
    message.AppendWord(record.location);
    message.AppendByte(0);
    message.AppendByte(record.field_count);
    AppendFields(message, record.fields, total, FieldCodec(sender));
    return ExchangeStatus(sender, message, kWriteFieldsReply);
}

// Lists and stores

std::uint32_t CPNDHandler::List(CDataSender& sender, PndListRecord& record) const
{
    CMessage message = Request(kListRequest, {kListReply});
    message.AppendByte(record.value_4);
    message.AppendByte(0);

    std::uint32_t result = 0;
    const std::uint8_t count = ExchangeRun(sender, message, kListReply, result);
    if (count == 0)
        return result;
    CRecordArray<PndItem, &FreeItemText> items(count);
    ForEachBlock(message, count, kByteIdBlock, [&](CSubBlock& block, std::uint32_t index) {
        if (block.GetId() == kItemBlock)
            ReadItem(block, items[index]);
    });
    record.items = items.Release();
    record.count = count;
    return ZEL_OK;
}

std::uint32_t CPNDHandler::ReadStore14(CDataSender& sender, PndStore14Record& record) const
{
    CMessage message = ReadRequest(record.kind, ZEL_PND_MODE_LOCATION, 0, kStore14);
    AppendLocation(message, record.kind, record.location);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kReadReply, result))
        return result;
    return ReadReply(message, kEntryBlock, [&](CSubBlock& block) {
        block.Skip(2);
        record.location = block.ReadWord();
        record.value = block.ReadDword();
        TakeStore14Items(message, LastByte(block), record);
    });
}

std::uint32_t CPNDHandler::WriteStore14(CDataSender& sender, const PndStore14Record& record) const
{
    const PndStore14Item& item = FirstOf(record.items);
    CMessage message = Request(kWriteRequest, {kWriteReply});
    message.AppendByte(0);
    message.AppendByte(1);
    EntryBlock(kStore14, record.location, 1).WriteTo(&message);
    CSubBlock block = NewBlock(kByteIdBlock, kStore14Block);
    block.AppendByte(0x80);
    block.AppendByte(0xFF);
    block.AppendWord(item.value_6);
    block.AppendDword(0);
    block.AppendByte(item.value_5);
    block.AppendByte(kStore14Item);
    block.AppendByte(item.value_13);
    block.AppendByte(0);
    block.WriteTo(&message);

    if (const std::uint32_t result = sender.Send(message, kReplyMs); result != 0)
        return result;
    return ReadReply(message, kStatusBlock, [](CSubBlock&) {});
}

std::uint32_t CPNDHandler::StoreState(CDataSender& sender, PndStoreStateRecord& record) const
{
    CMessage message = Request(kStoreStateRequest, {kStoreStateReply});
    message.AppendByte(0xFF);
    message.AppendByte(record.store);
    message.AppendWord(0);
    CSubBlock storeBlock = NewBlock(kByteIdBlock, kStoreBlock);
    storeBlock.AppendWord(0);
    storeBlock.WriteTo(&message);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kStoreStateReply, result))
        return result;
    message.Skip(1);
    const std::uint8_t store = message.ReadByte();
    const std::uint32_t value8 = message.ReadDword();
    message.Skip(3);
    const std::uint8_t count = message.ReadByte();
    if (count == 0)
        return ZEL_OK;
    record.store = store;
    record.value_8 = value8;
    ForEachBlock(message, count, kByteIdBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() == kStateBlock)
            ReadState(block, record);
        else if (block.GetId() == kStatusBlock)
            result = StatusResult(block.ReadByte());
    });
    return result;
}

// Versions

bool CPNDHandler::IsAtLeast(CDataSender& sender, std::uint8_t major, std::uint8_t minor) const
{
    std::uint8_t phoneMajor = 0;
    std::uint8_t phoneMinor = 0;
    if (sender.GetServiceVersion(GetResource(), phoneMajor, phoneMinor) != ZEL_OK)
        return false;
    return phoneMajor > major || (phoneMajor == major && phoneMinor >= minor);
}

std::uint8_t CPNDHandler::Store16(CDataSender& sender) const
{
    return IsAtLeast(sender, 5, 25) ? kNewStore16 : kOldStore16;
}

CPNDFieldCodec CPNDHandler::FieldCodec(CDataSender& sender) const
{
    return CPNDFieldCodec(IsAtLeast(sender, 5, 54));
}

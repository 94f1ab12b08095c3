#include "handlers/pnd/PNDHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/CallersData.h"
#include "handlers/base/RecordArray.h"
#include "handlers/pnd/PNDFieldCodec.h"
#include "zelapi/pnd.h"

#include <algorithm>

namespace
{

void Command21(CConversation& phone, const PndCommandRecord& record);
void Command23(CConversation& phone, const PndCommandRecord& record);
void ReadEntry(CConversation& phone, PndReadRecord& record);
void WriteEntry(CConversation& phone, PndWriteRecord& record);
void ReadFields(CConversation& phone, PndReadRecord& record);
void WriteFields(CConversation& phone, PndWriteRecord& record);
void Command28(CConversation& phone, const PndCommand28Record& record);
void Command15(CConversation& phone, const PndCommand15Record& record);
void List(CConversation& phone, PndListRecord& record);
void ReadStore14(CConversation& phone, PndStore14Record& record);
void WriteStore14(CConversation& phone, const PndStore14Record& record);
void ReadStore16(CConversation& phone, PndReadStore16Record& record);
void WriteStore16(CConversation& phone, PndWriteRecord& record);
void ReadStoreState(CConversation& phone, PndStoreStateRecord& record);
CTaskMemOwner<PndEventRecord> ReadEvent(CMessage& message);
void FreeEvent(void* event);

constexpr Operation kOperations[] = {
    {ZEL_PND_COMMAND_21, Serve<Command21>},
    {ZEL_PND_COMMAND_23, Serve<Command23>},
    {ZEL_PND_READ_ENTRY, Serve<ReadEntry>},
    {ZEL_PND_WRITE_ENTRY, Serve<WriteEntry>},
    {ZEL_PND_READ_FIELDS, Serve<ReadFields>},
    {ZEL_PND_WRITE_FIELDS, Serve<WriteFields>},
    {ZEL_PND_COMMAND_28, Serve<Command28>},
    {ZEL_PND_COMMAND_15, Serve<Command15>},
    {ZEL_PND_LIST, Serve<List>},
    {ZEL_PND_READ_STORE_14, Serve<ReadStore14>},
    {ZEL_PND_WRITE_STORE_14, Serve<WriteStore14>},
    {ZEL_PND_READ_STORE_16, Serve<ReadStore16>},
    {ZEL_PND_WRITE_STORE_16, Serve<WriteStore16>},
    {ZEL_PND_STORE_STATE, Serve<ReadStoreState>},
};

constexpr Indication kIndications[] = {
    {30, ZEL_PND_EVENT, Decode<ReadEvent>, FreeEvent},
};

enum SubBlockId : std::uint16_t
{
    kEntryBlock = 1,
    kLocationBlock = 4,
    kStatusBlock = 15,
    kStore14Block = 26,
};

constexpr std::uint8_t kStore14 = 14;
constexpr std::uint8_t kStore16 = 16;

/// Where the phone keeps what older ones have in store 16.
std::uint8_t Store16(const CConversation& phone)
{
    constexpr std::uint8_t kNewStore = 35;
    return phone.IsAtLeast(5, 25) ? kNewStore : kStore16;
}

CPNDFieldCodec FieldCodec(const CConversation& phone)
{
    return CPNDFieldCodec(phone.IsAtLeast(5, 54));
}

/// The number of sub-blocks in a reply, which is then read up to the first of them. Leaves with 0 if there are none,
/// and with the result of the status if the first is one.
std::uint8_t RequireRun(CMessage& reply)
{
    reply.Skip(1);
    const std::uint8_t count = reply.ReadByte();
    if (count == 0)
        ThrowCode(ZEL_OK);
    const std::uint32_t start = reply.GetPosition();
    CSubBlock first = NewBlock(kByteIdBlock);
    if (first.ReadFrom(&reply) && first.GetId() == kStatusBlock)
        ThrowCode(StatusResult(reply, first.ReadByte()));
    reply.SetPosition(start);
    return count;
}

/// The first sub-block of a reply. Leaves like RequireRun, and with 0 if it cannot be read.
CSubBlock RequireBlock(CMessage& reply)
{
    RequireRun(reply);
    CSubBlock block = NewBlock(kByteIdBlock);
    if (!block.ReadFrom(&reply))
        ThrowCode(ZEL_OK);
    return block;
}

// Commands

void SendCommand(CConversation& phone, const PndCommandRecord& record, const Exchange& command)
{
    CMessage message = phone.Request(command);
    message.AppendBytes({0, record.value_4, 0, 0, 0, 0});
    phone.Ask(message, command);
    RequireRun(message);
}

constexpr Exchange kCommand21 = {.request = 21, .reply = 22, .answers = {22}};

void Command21(CConversation& phone, const PndCommandRecord& record)
{
    SendCommand(phone, record, kCommand21);
}

constexpr Exchange kCommand23 = {.request = 23, .reply = 24, .answers = {24}};

void Command23(CConversation& phone, const PndCommandRecord& record)
{
    SendCommand(phone, record, kCommand23);
}

constexpr Exchange kCommand28 = {.request = 28, .reply = 29, .answers = {29}};

void Command28(CConversation& phone, const PndCommand28Record& record)
{
    CMessage message = phone.Request(kCommand28);
    message.AppendBytes({0xFF, record.store, 0, 0, 0, 0});
    message.AppendWord(record.location);
    message.AppendBytes({record.value_8, record.value_7, 0, 0, 0, 0});

    phone.Ask(message, kCommand28);
    // Here a status comes under any sub-block id.
    CSubBlock status = RequireBlock(message);
    ThrowCode(StatusResult(message, status.ReadByte()));
}

constexpr Exchange kCommand15 = {.request = 15, .reply = 16, .answers = {16}};

void Command15(CConversation& phone, const PndCommand15Record& record)
{
    if (record.store == kStore16)
        ThrowCode(ZEL_E_ARGUMENT);
    CMessage message = phone.Request(kCommand15);
    message.AppendBytes({0, 1});
    CSubBlock block = NewBlock(kByteIdBlock, kLocationBlock);
    block.AppendBytes({0x80, 0xFF});
    block.AppendWord(record.location);
    block.AppendBytes({0, 0, 0, 0, record.store});
    block.WriteTo(&message);

    phone.Ask(message, kCommand15);
    RequireRun(message);
}

// Reading entries

constexpr Exchange kRead = {.request = 7, .reply = 8, .answers = {8}};

/// The request up to where it says which entry.
CMessage ReadRequest(const CConversation& phone, std::uint8_t kind, std::uint8_t mode, std::uint8_t value6,
                     std::uint8_t store)
{
    CMessage message = phone.Request(kRead);
    message.AppendBytes({kind, mode, value6, 1, 0xFF, store, 0, 0, 0, 0});
    return message;
}

constexpr std::uint16_t kAnyLocation = 0xFFFF;

void AppendLocation(CMessage& message, std::uint8_t kind, std::uint16_t location)
{
    const bool isAny = kind == ZEL_PND_ANY_LOCATION_2 || kind == ZEL_PND_ANY_LOCATION_3;
    message.AppendWord(isAny ? kAnyLocation : location);
    message.AppendBytes({0, 0});
}

void AppendSearch(CMessage& message, PndField& wanted, const CPNDFieldCodec& codec)
{
    // Only the low byte of the length counts.
    if (static_cast<std::uint8_t>(PndTextOf(wanted).size()) == 0)
        ThrowCode(ZEL_E_ARGUMENT);
    message.AppendWord(kAnyLocation);
    message.AppendBytes({0, 1});
    codec.Write(message, wanted);
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

void FetchEntry(const CConversation& phone, CMessage& message, PndEntry& entry)
{
    phone.Ask(message, kRead);
    CSubBlock block = RequireBlock(message);
    if (block.GetId() != kEntryBlock)
        return;
    block.Skip(2);
    entry.location = block.ReadWord();
    entry.value = block.ReadDword();
    TakeFields(message, LastByte(block), entry, FieldCodec(phone));
}

void ReadEntry(CConversation& phone, PndReadRecord& record)
{
    CMessage message = ReadRequest(phone, record.kind, record.mode, record.value_6, record.store);
    if (record.kind == ZEL_PND_BY_TEXT && record.mode != ZEL_PND_MODE_LOCATION)
        AppendSearch(message, Required(record.entry.fields), FieldCodec(phone));
    else
        AppendLocation(message, record.kind, record.entry.location);
    FetchEntry(phone, message, record.entry);
}

void ReadStore16(CConversation& phone, PndReadStore16Record& record)
{
    CMessage message = ReadRequest(phone, record.kind, ZEL_PND_MODE_LOCATION, 0, Store16(phone));
    AppendLocation(message, record.kind, record.location);
    FetchEntry(phone, message, record.entry);
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
    CRecordArray<PndStore14Item> items(count);
    // The phone describes the first item only, whatever their number.
    ForEachBlock(reply, count == 0 ? 0 : 1, kByteIdBlock, [&](CSubBlock& block, std::uint32_t index) {
        if (block.GetId() == kStore14Block)
            ReadStore14Item(block, items[index]);
    });
    record.items = items.Release();
    record.count = count;
}

void ReadStore14(CConversation& phone, PndStore14Record& record)
{
    CMessage message = ReadRequest(phone, record.kind, ZEL_PND_MODE_LOCATION, 0, kStore14);
    AppendLocation(message, record.kind, record.location);

    phone.Ask(message, kRead);
    CSubBlock block = RequireBlock(message);
    if (block.GetId() != kEntryBlock)
        return;
    block.Skip(2);
    record.location = block.ReadWord();
    record.value = block.ReadDword();
    TakeStore14Items(message, LastByte(block), record);
}

// Writing entries. Whatever message answers a write is its reply.

constexpr Exchange kWrite = {.request = 11, .reply = 12, .answers = {12}};

/// The request up to its fields.
CMessage WriteRequest(const CConversation& phone, std::uint8_t store, std::uint16_t location, std::uint8_t count)
{
    CMessage message = phone.Request(kWrite);
    message.AppendBytes({0, 1});
    CSubBlock block = NewBlock(kByteIdBlock, kEntryBlock);
    block.AppendBytes({0xFF, store});
    block.AppendWord(location);
    block.AppendBytes({0, 0, 0, 0, 0, 0, 0, count});
    block.WriteTo(&message);
    return message;
}

/// The fields of a record whose count is lowered by those without a type. Throws ZEL_E_ARGUMENT if no field is left, or
/// they cannot be read.
std::span<PndField> CountTyped(PndWriteRecord& record)
{
    const auto fields = ElementsOf(record.fields, record.field_count);
    const auto untyped = std::ranges::count(fields, 0, &PndField::type);
    record.field_count = static_cast<std::uint8_t>(record.field_count - untyped);
    if (record.field_count == 0)
        ThrowCode(ZEL_E_ARGUMENT);
    return fields;
}

void AppendTyped(CMessage& message, std::span<PndField> fields, const CPNDFieldCodec& codec)
{
    for (PndField& field : fields)
        if (field.type != 0)
            codec.WriteToStore(message, field);
}

void StoreEntry(const CConversation& phone, PndWriteRecord& record, std::uint8_t store)
{
    const auto fields = CountTyped(record);
    CMessage message = WriteRequest(phone, store, record.location, record.field_count);
    AppendTyped(message, fields, FieldCodec(phone));

    phone.Send(message, kWrite);
    CSubBlock block = RequireBlock(message);
    if (block.GetId() != kLocationBlock)
        return;
    block.Skip(2);
    record.location = block.ReadWord();
}

void WriteEntry(CConversation& phone, PndWriteRecord& record)
{
    StoreEntry(phone, record, record.store);
}

void WriteStore16(CConversation& phone, PndWriteRecord& record)
{
    StoreEntry(phone, record, Store16(phone));
}

void WriteStore14(CConversation& phone, const PndStore14Record& record)
{
    constexpr std::uint8_t kItem = 11;
    const PndStore14Item& item = Required(record.items);
    CMessage message = WriteRequest(phone, kStore14, record.location, 1);
    CSubBlock block = NewBlock(kByteIdBlock, kStore14Block);
    block.AppendBytes({0x80, 0xFF});
    block.AppendWord(item.value_6);
    block.AppendBytes({0, 0, 0, 0, item.value_5, kItem, item.value_13, 0});
    block.WriteTo(&message);

    phone.Send(message, kWrite);
    RequireRun(message);
}

// Fields of an entry

constexpr Exchange kReadFields = {.request = 9, .reply = 10, .answers = {10}};

void ReadFields(CConversation& phone, PndReadRecord& record)
{
    const PndField& wanted = Required(record.entry.fields);
    CMessage message = phone.Request(kReadFields);
    message.AppendBytes({0xFF, record.store, 0, 0, 0, 0});
    message.AppendWord(record.entry.location);
    message.AppendBytes({wanted.type, wanted.attribute, 0, 0});

    phone.Ask(message, kReadFields);
    const std::uint8_t count = RequireRun(message);
    TakeFields(message, count, record.entry, FieldCodec(phone));
}

constexpr Exchange kWriteFields = {.request = 13, .reply = 14, .answers = {14}};

void WriteFields(CConversation& phone, PndWriteRecord& record)
{
    const auto fields = CountTyped(record);
    CMessage message = phone.Request(kWriteFields);
    message.AppendBytes({0xFF, record.store, 0, 0, 0, 0});
    message.AppendWord(record.location);
    message.AppendBytes({0, record.field_count});
    AppendTyped(message, fields, FieldCodec(phone));

    phone.Ask(message, kWriteFields);
    RequireRun(message);
}

// Lists and stores

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

constexpr Exchange kList = {.request = 37, .reply = 38, .answers = {38}};

void List(CConversation& phone, PndListRecord& record)
{
    constexpr std::uint16_t kItemBlock = 29;
    CMessage message = phone.Request(kList);
    message.AppendBytes({record.value_4, 0});

    phone.Ask(message, kList);
    const std::uint8_t count = RequireRun(message);
    CRecordArray<PndItem, &FreeItemText> items(count);
    ForEachBlock(message, count, kByteIdBlock, [&](CSubBlock& block, std::uint32_t index) {
        if (block.GetId() == kItemBlock)
            ReadItem(block, items[index]);
    });
    record.items = items.Release();
    record.count = count;
}

void ReadState(CMsgBase& block, PndStoreStateRecord& record)
{
    record.value_12 = block.ReadWord();
    record.value_14 = block.ReadWord();
    record.value_16 = block.ReadByte();
    record.value_17 = block.ReadByte();
}

constexpr Exchange kStoreState = {.request = 3, .reply = 4, .answers = {4}};

void ReadStoreState(CConversation& phone, PndStoreStateRecord& record)
{
    constexpr std::uint16_t kStateBlock = 16;
    constexpr std::uint16_t kStoreBlock = 48;
    CMessage message = phone.Request(kStoreState);
    message.AppendBytes({0xFF, record.store, 0, 0});
    CSubBlock storeBlock = NewBlock(kByteIdBlock, kStoreBlock);
    storeBlock.AppendWord(0);
    storeBlock.WriteTo(&message);

    phone.Ask(message, kStoreState);
    message.Skip(1);
    const std::uint8_t store = message.ReadByte();
    const std::uint32_t value8 = message.ReadDword();
    message.Skip(3);
    const std::uint8_t count = message.ReadByte();
    if (count == 0)
        return;
    record.store = store;
    record.value_8 = value8;
    std::uint32_t result = ZEL_OK;
    ForEachBlock(message, count, kByteIdBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() == kStateBlock)
            ReadState(block, record);
        else if (block.GetId() == kStatusBlock)
            result = StatusResult(message, block.ReadByte());
    });
    if (result != ZEL_OK)
        ThrowCode(result);
}

// Events

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

CTaskMemOwner<PndEventRecord> ReadEvent(CMessage& message)
{
    auto event = AllocateRecords<PndEventRecord>();
    message.Skip(1);
    event->value_4 = message.ReadByte();
    event->value_8 = message.ReadDword();
    event->value_12 = message.ReadWord();
    event->kind = EventKind(message.ReadByte());
    event->value_15 = message.ReadByte();
    return event;
}

void FreeEvent(void* event)
{
    CoTaskMemFree(event);
}

}  // namespace

CPNDHandler::CPNDHandler() : CContentHandler(kOperations, kIndications) {}

#include "handlers/StorageHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/RecordArray.h"
#include "zelapi/storage.h"

#include <algorithm>

namespace
{

void SendAreaCommand(CConversation& phone, const StorageAreaCommand& record);
void ListAreas(CConversation& phone, StorageAreaList& record);
void ListIdentifiers(CConversation& phone, StorageIdentifierList& record);
void SendIdentifierCommand(CConversation& phone, const StorageIdentifierCommand& record);
void SendCommand(CConversation& phone);
void SendThreeByteCommand(CConversation& phone, const StorageThreeByteCommand& record);
CTaskMemOwner<StorageEventRecord> ReadEvent(CMessage& message);
void KeepEvent(void* record);

constexpr Operation kOperations[] = {
    {ZEL_STORAGE_AREA_COMMAND, Serve<SendAreaCommand>},
    {ZEL_STORAGE_LIST_AREAS, Serve<ListAreas>},
    {ZEL_STORAGE_LIST_IDENTIFIERS, Serve<ListIdentifiers>},
    {ZEL_STORAGE_IDENTIFIER_COMMAND, Serve<SendIdentifierCommand>},
    {ZEL_STORAGE_COMMAND, Serve<SendCommand>},
    {ZEL_STORAGE_THREE_BYTE_COMMAND, Serve<SendThreeByteCommand>},
};

constexpr Indication kIndications[] = {
    {0x60, ZEL_STORAGE_EVENT, Decode<ReadEvent>, KeepEvent},
};

constexpr Exchange kAreaCommand = {.request = 0x18, .reply = 0x19, .answers = {0x19}, .other = NotHandled};

void SendAreaCommand(CConversation& phone, const StorageAreaCommand& record)
{
    CMessage message = phone.Request(kAreaCommand);
    message.AppendBytes({record.value, 0});

    phone.Ask(message, kAreaCommand);
    phone.RequireStatus(message);
}

// Areas

void FreeName(const StorageArea& area)
{
    SysFreeString(area.name);
}
using CAreas = CRecordArray<StorageArea, FreeName>;

/// The first area of a number wins; the bytes of a later one are passed over by its sub-block's length.
void ReadArea(CSubBlock& block, std::uint32_t head, std::uint32_t gap, CAreas& areas)
{
    const std::uint8_t number = block.ReadByte();
    if (std::ranges::count(areas, number, &StorageArea::number) != 0)
        return;
    StorageArea& area = areas.Append();
    area.size = sizeof(StorageArea);
    area.number = number;
    block.Skip(head);
    area.name_length = block.ReadByte();
    if (area.name_length == 0)
        return;
    block.Skip(gap);
    area.name = block.ReadString(area.name_length);
}

constexpr std::uint16_t kAreaBlock = 0x0003;
constexpr std::uint16_t kDetailedAreaBlock = 0x0010;
constexpr Exchange kListAreas = {.request = 0x23, .reply = 0x24, .answers = {0x24}, .other = NotHandled};

void ListAreas(CConversation& phone, StorageAreaList& record)
{
    // A phone that does not tell its version counts as the oldest.
    const CConversation::Version version = phone.GetVersion().value_or(CConversation::Version{});
    const bool hasNewAreas = version.major >= 3;
    const bool hasNewDetails = hasNewAreas || version.minor >= 10;

    CMessage message = phone.Request(kListAreas);
    message.AppendBytes({0, 1});
    if (hasNewAreas)
        message.AppendWord(0);

    phone.Ask(message, kListAreas);
    phone.RequireStatus(message);
    CAreas areas;
    ForEachBlock(message, message.ReadByte(), kWordIdBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() == kAreaBlock)
            ReadArea(block, hasNewAreas ? 2 : 0, 0, areas);
        else if (block.GetId() == kDetailedAreaBlock)
            ReadArea(block, hasNewDetails ? 1 + 22 : 18, 3, areas);
    });
    if (areas.Count() == 0)
        return;
    record.count = static_cast<std::uint8_t>(areas.Count());
    record.areas = areas.Release();
}

// Identifiers

constexpr std::uint16_t kAreaNumberBlock = 0x0005;
constexpr Exchange kListIdentifiers = {.request = 0x06, .reply = 0x07, .answers = {0x07}, .other = NotHandled};

void ListIdentifiers(CConversation& phone, StorageIdentifierList& record)
{
    CMessage message = phone.Request(kListIdentifiers);
    message.AppendBytes({0, 1});
    CSubBlock area = NewBlock(kWordIdBlock, kAreaNumberBlock);
    area.AppendBytes({0, record.area});
    area.WriteTo(&message);

    phone.Ask(message, kListIdentifiers);
    phone.RequireStatus(message);
    CSubBlock list = NewBlock(kWordIdBlock);
    if (message.ReadByte() != 1 || !list.ReadFrom(&message))
        return;
    const std::uint16_t count = list.ReadWord();
    list.Skip(2);
    CRecordArray<std::uint32_t> identifiers(count);
    std::ranges::generate(identifiers, [&] { return list.ReadDword(); });
    record.count = count;
    record.identifiers = identifiers.Release();
}

void AppendIdentifier(CMessage& message, std::uint32_t identifier)
{
    constexpr std::uint16_t kIdentifierBlock = 0x000E;
    message.AppendBytes({0, 1});
    CSubBlock block = NewBlock(kWordIdBlock, kIdentifierBlock);
    block.AppendWord(1);
    block.AppendWord(0);
    block.AppendDword(identifier);
    block.WriteTo(&message);
}

constexpr Exchange kIdentifierCommand = {.request = 0x0A, .reply = 0x0B, .answers = {0x0B}, .other = NotHandled};

void SendIdentifierCommand(CConversation& phone, const StorageIdentifierCommand& record)
{
    CMessage message = phone.Request(kIdentifierCommand);
    AppendIdentifier(message, record.identifier);

    phone.Ask(message, kIdentifierCommand);
    phone.RequireStatus(message);
}

constexpr Exchange kCommand = {.request = 0x00, .reply = 0x01, .answers = {0x01}, .other = NotHandled};

void SendCommand(CConversation& phone)
{
    CMessage message = phone.Request(kCommand);
    phone.Ask(message, kCommand);
    phone.RequireStatus(message);
}

constexpr Exchange kThreeByteCommand = {.request = 0x0E, .reply = 0x0F, .answers = {0x0F}, .other = NotHandled};

void SendThreeByteCommand(CConversation& phone, const StorageThreeByteCommand& record)
{
    CMessage message = phone.Request(kThreeByteCommand);
    message.AppendByte(static_cast<std::uint8_t>(record.first));
    message.AppendByte(static_cast<std::uint8_t>(record.second));
    message.AppendByte(static_cast<std::uint8_t>(record.third));
    message.AppendBytes({0, 0, 0, 0, 0});
    AppendIdentifier(message, record.identifier);

    phone.Ask(message, kThreeByteCommand);
    phone.RequireStatus(message);
}

// Events

constexpr std::uint16_t kEventValuesBlock = 0x0002;
constexpr std::uint16_t kNoValue = 0xFFFF;

CTaskMemOwner<StorageEventRecord> ReadEvent(CMessage& message)
{
    // An event of another kind is taken and delivers nothing.
    if (message.ReadByte() != 0)
        ThrowCode(ZEL_OK);
    auto event = AllocateRecords<StorageEventRecord>();
    event->size = sizeof(StorageEventRecord);
    event->event = message.ReadByte();
    event->first = event->second = event->third = kNoValue;
    message.Skip(3);
    CSubBlock values = NewBlock(kWordIdBlock);
    if (ReadFirstBlock(message, values) && values.GetId() == kEventValuesBlock)
    {
        event->first = values.ReadByte();
        event->second = values.ReadByte();
        event->third = values.ReadByte();
    }
    return event;
}

/// Event records stay with whoever received them.
void KeepEvent(void*) {}

}  // namespace

CStorageHandler::CStorageHandler() : CContentHandler(kOperations, kIndications) {}

#include "handlers/StorageHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/Owners.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace
{

enum MessageId : std::uint8_t
{
    kCommandRequest = 0x00,
    kCommandReply = 0x01,
    kIdentifiersRequest = 0x06,
    kIdentifiersReply = 0x07,
    kIdentifierCommandRequest = 0x0A,
    kIdentifierCommandReply = 0x0B,
    kThreeByteRequest = 0x0E,
    kThreeByteReply = 0x0F,
    kAreaCommandRequest = 0x18,
    kAreaCommandReply = 0x19,
    kAreasRequest = 0x23,
    kAreasReply = 0x24,
    kEventIndication = 0x60,
};

enum SubBlockId : std::uint16_t
{
    kEventValues = 0x0002,
    kArea = 0x0003,
    kAreaNumber = 0x0005,
    kIdentifier = 0x000E,
    kDetailedArea = 0x0010,
};

constexpr std::uint16_t kNoValue = 0xFFFF;

struct Version
{
    std::uint8_t major = 0;
    std::uint8_t minor = 0;

    bool HasNewAreas() const { return major >= 3; }
    bool HasNewDetails() const { return major >= 3 || minor >= 10; }
};

struct Area
{
    std::uint8_t number = 0;
    std::uint8_t nameLength = 0;
    CBStrOwner name;
};

/// Reads a length and, `gap` bytes behind it, the name; an empty one has no gap.
void ReadName(CSubBlock& block, std::uint32_t gap, Area& area)
{
    area.nameLength = block.ReadByte();
    if (area.nameLength == 0)
        return;
    block.Skip(gap);
    area.name.reset(block.ReadString(area.nameLength));
}

Area ReadArea(CSubBlock& block, const Version& version)
{
    Area area;
    area.number = block.ReadByte();
    block.Skip(version.HasNewAreas() ? 2 : 0);
    ReadName(block, 0, area);
    return area;
}

Area ReadDetailedArea(CSubBlock& block, const Version& version)
{
    Area area;
    area.number = block.ReadByte();
    block.Skip(version.HasNewDetails() ? 1 + 22 : 18);
    ReadName(block, 3, area);
    return area;
}

/// The first area of a number wins.
void AddArea(std::vector<Area>& areas, Area area)
{
    if (std::none_of(areas.begin(), areas.end(), [&](const Area& other) { return other.number == area.number; }))
        areas.push_back(std::move(area));
}

std::vector<Area> ReadAreas(CMessage& reply, const Version& version)
{
    std::vector<Area> areas;
    ForEachBlock(reply, reply.ReadByte(), kWordIdBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() == kArea)
            AddArea(areas, ReadArea(block, version));
        else if (block.GetId() == kDetailedArea)
            AddArea(areas, ReadDetailedArea(block, version));
    });
    return areas;
}

/// Moves the areas, with their names, into an array for the caller; null if there are none.
StorageArea* ReleaseAreas(std::vector<Area>& areas)
{
    if (areas.empty())
        return nullptr;
    StorageArea* array = AllocateRecords<StorageArea>(areas.size()).release();
    std::transform(areas.begin(), areas.end(), array, [](Area& area) {
        return StorageArea{sizeof(StorageArea), area.number, area.nameLength, area.name.release()};
    });
    return array;
}

void AppendIdentifier(CMessage& message, std::uint32_t identifier)
{
    message.AppendByte(0);
    message.AppendByte(1);
    CSubBlock block = NewBlock(kWordIdBlock, kIdentifier);
    block.AppendWord(1);
    block.AppendWord(0);
    block.AppendDword(identifier);
    block.WriteTo(&message);
}

void ReadIdentifiers(CSubBlock& block, StorageIdentifierList& record)
{
    const std::uint16_t count = block.ReadWord();
    block.Skip(2);
    CTaskMemOwner<std::uint32_t> identifiers;
    if (count != 0)
        identifiers = AllocateRecords<std::uint32_t>(count);
    std::generate_n(identifiers.get(), count, [&] { return block.ReadDword(); });
    record.count = count;
    record.identifiers = identifiers.release();
}

}  // namespace

std::uint32_t CStorageHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (messageId)
        {
        case ZEL_STORAGE_AREA_COMMAND:
            return AreaCommand(sender, RecordOf<StorageAreaCommand>(record));
        case ZEL_STORAGE_LIST_AREAS:
            return ListAreas(sender, RecordOf<StorageAreaList>(record));
        case ZEL_STORAGE_LIST_IDENTIFIERS:
            return ListIdentifiers(sender, RecordOf<StorageIdentifierList>(record));
        case ZEL_STORAGE_IDENTIFIER_COMMAND:
            return IdentifierCommand(sender, RecordOf<StorageIdentifierCommand>(record));
        case ZEL_STORAGE_COMMAND:
            return Command(sender);
        case ZEL_STORAGE_THREE_BYTE_COMMAND:
            return ThreeByteCommand(sender, RecordOf<StorageThreeByteCommand>(record));
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

std::uint32_t CStorageHandler::Ask(CDataSender& sender, CMessage& message, std::uint8_t replyId) const
{
    std::uint32_t result = 0;
    if (Exchange(sender, message, replyId, result))
        return StatusResult(message.ReadByte());
    return result == 0 ? ZEL_NOT_HANDLED : result;
}

std::uint32_t CStorageHandler::AreaCommand(CDataSender& sender, const StorageAreaCommand& record) const
{
    CMessage message = Request(kAreaCommandRequest, {kAreaCommandReply});
    message.AppendByte(record.value);
    message.AppendByte(0);
    return Ask(sender, message, kAreaCommandReply);
}

std::uint32_t CStorageHandler::ListAreas(CDataSender& sender, StorageAreaList& record) const
{
    // A phone that does not tell its version counts as the oldest.
    Version version;
    sender.GetServiceVersion(GetResource(), version.major, version.minor);

    CMessage message = Request(kAreasRequest, {kAreasReply});
    message.AppendByte(0);
    message.AppendByte(1);
    if (version.HasNewAreas())
        message.AppendWord(0);

    const std::uint32_t result = Ask(sender, message, kAreasReply);
    if (result != ZEL_OK)
        return result;
    std::vector<Area> areas = ReadAreas(message, version);
    record.areas = ReleaseAreas(areas);
    record.count = static_cast<std::uint8_t>(areas.size());
    return ZEL_OK;
}

std::uint32_t CStorageHandler::ListIdentifiers(CDataSender& sender, StorageIdentifierList& record) const
{
    CMessage message = Request(kIdentifiersRequest, {kIdentifiersReply});
    message.AppendByte(0);
    message.AppendByte(1);
    CSubBlock area = NewBlock(kWordIdBlock, kAreaNumber);
    area.AppendByte(0);
    area.AppendByte(record.area);
    area.WriteTo(&message);

    const std::uint32_t result = Ask(sender, message, kIdentifiersReply);
    if (result != ZEL_OK)
        return result;
    CSubBlock list = NewBlock(kWordIdBlock);
    if (message.ReadByte() == 1 && list.ReadFrom(&message))
        ReadIdentifiers(list, record);
    return ZEL_OK;
}

std::uint32_t CStorageHandler::IdentifierCommand(CDataSender& sender, const StorageIdentifierCommand& record) const
{
    CMessage message = Request(kIdentifierCommandRequest, {kIdentifierCommandReply});
    AppendIdentifier(message, record.identifier);
    return Ask(sender, message, kIdentifierCommandReply);
}

std::uint32_t CStorageHandler::Command(CDataSender& sender) const
{
    CMessage message = Request(kCommandRequest, {kCommandReply});
    return Ask(sender, message, kCommandReply);
}

std::uint32_t CStorageHandler::ThreeByteCommand(CDataSender& sender, const StorageThreeByteCommand& record) const
{
    CMessage message = Request(kThreeByteRequest, {kThreeByteReply});
    message.AppendByte(static_cast<std::uint8_t>(record.first));
    message.AppendByte(static_cast<std::uint8_t>(record.second));
    message.AppendByte(static_cast<std::uint8_t>(record.third));
    message.AppendByte(0);
    message.AppendWord(0);
    message.AppendWord(0);
    AppendIdentifier(message, record.identifier);
    return Ask(sender, message, kThreeByteReply);
}

std::uint32_t CStorageHandler::DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record)
{
    return ResultOf([&]() -> std::uint32_t {
        if (message.GetMessageId() != kEventIndication)
            return ZEL_NOT_HANDLED;
        // An event of another kind is taken and delivers nothing.
        if (message.ReadByte() != 0)
            return ZEL_OK;
        auto event = AllocateRecords<StorageEventRecord>();
        event->size = sizeof(StorageEventRecord);
        event->event = message.ReadByte();
        event->first = event->second = event->third = kNoValue;
        message.Skip(3);
        CSubBlock values = NewBlock(kWordIdBlock);
        if (message.ReadByte() != 0 && values.ReadFrom(&message) && values.GetId() == kEventValues)
        {
            event->first = values.ReadByte();
            event->second = values.ReadByte();
            event->third = values.ReadByte();
        }
        messageId = ZEL_STORAGE_EVENT;
        record = event.release();
        return ZEL_OK;
    });
}

std::uint32_t CStorageHandler::FreeDecodedData(std::uint32_t messageId, void*)
{
    // Event records are not freed here: they stay with whoever received them.
    return messageId == ZEL_STORAGE_EVENT ? ZEL_OK : ZEL_NOT_HANDLED;
}

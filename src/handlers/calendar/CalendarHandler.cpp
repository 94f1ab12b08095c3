#include "handlers/calendar/CalendarHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/calendar/CalendarCodes.h"
#include "handlers/calendar/CalendarFields.h"
#include "handlers/calendar/CalendarNewFormat.h"
#include "handlers/calendar/CalendarOldFormat.h"

#include <cstring>
#include <set>

namespace
{

enum MessageId : std::uint8_t
{
    kWriteOldRequest = 0x65,
    kWriteOldReply = 0x66,
    kQueryRequest = 0x6F,
    kQueryReply = 0x70,
    kReadOldRequest = 0x7D,
    kReadOldReply = 0x7E,
    // Phones answer an operation on a kind (0xA6) with this id, not with 0xA7.
    kKindOperationReply = 0x90,
    kCreateRequest = 0x95,
    kCreateReply = 0x96,
    kAnnounceRequest = 0x98,
    kAnnounceReply = 0x99,
    kListRequest = 0x9E,
    kListReply = 0x9F,
    kKindOperationRequest = 0xA6,
    kReadNewRequest = 0xB5,
    kReadNewReply = 0xB6,
    kWriteNewRequest = 0xB7,
    kWriteNewReply = 0xB8,
    kSummaryRequest = 0xBA,
    kSummaryReply = 0xBB,
};

enum ListMode : std::uint8_t
{
    kByWireSelector = 0,
    kByKindCode = 1,
    kEveryKind = 2,
    kEveryKindOther = 3,
};

constexpr std::uint8_t kDone = 0;
constexpr std::uint8_t kLastPart = 7;
constexpr std::uint16_t kEveryKindSelector = 0xFFFF;

constexpr std::uint8_t kNewFormatMinor = 1;
constexpr std::uint8_t kSummaryMinor = 7;

constexpr std::uint16_t kSummaryItem = 2;

/// What one item of the summary brings, each 0 if it is missing.
struct SummaryItem
{
    std::uint32_t group = 0;
    std::uint32_t counter111 = 0;
    std::uint32_t counter112 = 0;
    std::uint32_t counter113 = 0;
    std::uint32_t counter114 = 0;
};

void ReadSummaryBlock(CSubBlock& block, SummaryItem& item)
{
    switch (block.GetId())
    {
    case 0x0102:
        item.group = block.ReadDword();
        break;
    case 0x0111:
        item.counter111 = block.ReadDword();
        break;
    case 0x0112:
        item.counter112 = block.ReadDword();
        break;
    case 0x0113:
        item.counter113 = block.ReadDword();
        break;
    case 0x0114:
        item.counter114 = block.ReadDword();
        break;
    default:
        break;
    }
}

/// Reads the next item. One of another type has only its type read: what follows is taken for the next item.
SummaryItem ReadSummaryItem(CMessage& message)
{
    SummaryItem item;
    if (message.ReadWord() != kSummaryItem || message.ReadWord() == 0)
        return item;
    message.Skip(3);
    ForEachBlock(message, message.ReadByte(), kWordIdBlock,
                 [&](CSubBlock& block, std::uint32_t) { ReadSummaryBlock(block, item); });
    return item;
}

void SetUnlessZero(std::uint32_t& word, std::uint32_t counter)
{
    if (counter != 0)
        word = counter;
}

void StoreSummaryItem(const SummaryItem& item, CalendarSummaryRecord& record)
{
    switch (item.group)
    {
    case 1:
        SetUnlessZero(record.group_1_counter_111, item.counter111);
        SetUnlessZero(record.group_1_counter_113, item.counter113);
        SetUnlessZero(record.group_1_counter_114, item.counter114);
        SetUnlessZero(record.group_1_counter_112, item.counter112);
        break;
    case 2:
        SetUnlessZero(record.group_2_counter_111, item.counter111);
        break;
    case 3:
        SetUnlessZero(record.group_3_counter_111, item.counter111);
        break;
    default:
        break;
    }
}

/// Where the next part of a listing starts.
std::uint32_t LastOf(const std::vector<std::uint32_t>& locations)
{
    return locations.empty() ? 0 : locations.back();
}

void StoreLocations(const std::vector<std::uint32_t>& locations, CalendarListRecord& record)
{
    record.locations = nullptr;
    if (!locations.empty())
    {
        auto array = AllocateRecords<std::uint32_t>(locations.size());
        std::memcpy(array.get(), locations.data(), locations.size() * sizeof locations[0]);
        record.locations = array.release();
    }
    record.count = static_cast<std::uint32_t>(locations.size());
}

/// The connection is to be asked before an entry is converted, and what it throws ends the request; no field depends on
/// the values.
void FetchTimeParameters(CDataSender& sender)
{
    std::uint16_t first = 0;
    std::uint16_t second = 0;
    sender.GetTimeServiceParameters(first, second);
}

}  // namespace

std::uint32_t CCalendarHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (messageId)
        {
        case ZEL_CALENDAR_LIST:
            return List(sender, RecordOf<CalendarListRecord>(record));
        case ZEL_CALENDAR_READ:
            return Read(sender, RecordOf<CalendarEntryRecord>(record));
        case ZEL_CALENDAR_WRITE:
            return Write(sender, RecordOf<CalendarEntryRecord>(record));
        case ZEL_CALENDAR_QUERY:
            return Query(sender, RecordOf<CalendarLocationRecord>(record));
        case ZEL_CALENDAR_KIND_OPERATION:
            return OperateOnKind(sender, RecordOf<CalendarKindRecord>(record));
        case ZEL_CALENDAR_SUMMARY:
            return Summary(sender, RecordOf<CalendarSummaryRecord>(record));
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

std::uint32_t CCalendarHandler::List(CDataSender& sender, CalendarListRecord& record) const
{
    std::uint16_t selector = record.selector;
    if (record.mode == kByKindCode)
    {
        record.mode = kByWireSelector;
        selector = CalendarToWire(kCalendarKindCodes, selector);
    }
    else if (record.mode == kEveryKind || record.mode == kEveryKindOther)
    {
        std::uint8_t major = 0;
        std::uint8_t minor = 0;
        if (sender.GetServiceVersion(GetResource(), major, minor) != ZEL_OK)
            return ZEL_E_VERSION;
        --record.mode;
        selector = kEveryKindSelector;
    }

    std::vector<std::uint32_t> locations;
    std::set<std::uint32_t> asked;
    bool isAnswered = false;
    std::uint32_t result = ZEL_OK;
    // A part that brings nothing new would be asked for again and again: it ends the listing like a last part.
    while (result == ZEL_OK && asked.insert(LastOf(locations)).second)
        isAnswered |= ListPart(sender, selector, record.mode, locations, result);

    if (result != ZEL_OK && result != ZEL_CALENDAR_LAST_PART)
        return result;
    if (isAnswered)
        StoreLocations(locations, record);
    return locations.empty() ? result : ZEL_OK;
}

/// Appends the next part's locations. False if the phone has sent no part.
bool CCalendarHandler::ListPart(CDataSender& sender, std::uint16_t selector, std::uint8_t mode,
                                std::vector<std::uint32_t>& locations, std::uint32_t& result) const
{
    CMessage message = Request(kListRequest);
    message.AppendWord(selector);
    message.AppendDword(LastOf(locations));
    message.AppendByte(mode);

    if (!Exchange(sender, message, kListReply, result))
        return false;
    const std::uint8_t count = message.ReadByte();
    result = StatusResult(message.ReadByte());
    if (result != ZEL_OK && result != ZEL_CALENDAR_LAST_PART)
        return false;
    message.Skip(4);
    for (unsigned i = 0; i < count; ++i)
        locations.push_back(message.ReadDword());
    return true;
}

std::uint32_t CCalendarHandler::Read(CDataSender& sender, CalendarEntryRecord& record) const
{
    FetchTimeParameters(sender);
    return HasVersion3(sender, kNewFormatMinor) ? ReadNewFormat(sender, record) : ReadOldFormat(sender, record);
}

std::uint32_t CCalendarHandler::ReadNewFormat(CDataSender& sender, CalendarEntryRecord& record) const
{
    CMessage message = Request(kReadNewRequest);
    message.AppendByte(0);
    message.AppendByte(1);
    CSubBlock location = NewBlock(kWordIdBlock, ZEL_CALENDAR_LOCATION);
    location.AppendDword(record.location);
    location.WriteTo(&message);

    std::uint32_t result = 0;
    if (!Converse(sender, message, kReadNewReply, result))
        return result;
    ReadNewCalendarEntry(message, record);
    return ZEL_OK;
}

std::uint32_t CCalendarHandler::ReadOldFormat(CDataSender& sender, CalendarEntryRecord& record) const
{
    CMessage message = Request(kReadOldRequest);
    message.AppendWord(0);
    message.AppendDword(record.location);
    message.AppendWord(0xFFFF);
    message.AppendByte(0xFF);
    message.AppendByte(0xFF);

    std::uint32_t result = 0;
    if (!Converse(sender, message, kReadOldReply, result))
        return result;
    ReadOldCalendarEntry(message, record);
    return ZEL_OK;
}

std::uint32_t CCalendarHandler::Write(CDataSender& sender, CalendarEntryRecord& record) const
{
    if (record.count <= 0 || !IsReadable(record.fields))
        return ZEL_E_ARGUMENT;
    const std::span<CalendarField> fields(record.fields, static_cast<std::size_t>(record.count));
    std::uint32_t location = CalendarNumberOf(fields, ZEL_CALENDAR_LOCATION);
    const auto apiKind = static_cast<std::uint8_t>(CalendarNumberOf(fields, ZEL_CALENDAR_ENTRY_KIND));
    const auto kind = static_cast<std::uint8_t>(CalendarToWire(kCalendarEntryKinds, apiKind));

    const std::uint32_t result = location != 0 ? Announce(sender, location) : Create(sender, kind, fields, location);
    if (result != ZEL_OK)
        return result;
    return HasVersion3(sender, kNewFormatMinor) ? WriteNewFormat(sender, record)
                                                : WriteOldFormat(sender, kind, location, fields);
}

/// Tells the phone which entry will be written. A reply of another kind does not stop the write.
std::uint32_t CCalendarHandler::Announce(CDataSender& sender, std::uint32_t location) const
{
    CMessage message = Request(kAnnounceRequest);
    message.AppendWord(0);
    message.AppendDword(location);

    std::uint32_t result = 0;
    Converse(sender, message, kAnnounceReply, result);
    return result;
}

/// Makes a new entry and stores its location. A reply of another kind does not stop the write.
std::uint32_t CCalendarHandler::Create(CDataSender& sender, std::uint8_t kind, std::span<CalendarField> fields,
                                       std::uint32_t& location) const
{
    CMessage message = Request(kCreateRequest);
    message.AppendByte(kind);

    std::uint32_t result = 0;
    if (!Converse(sender, message, kCreateReply, result))
        return result;
    message.Skip(1);
    location = message.ReadDword();
    for (CalendarField& field : fields)
        if (field.id == ZEL_CALENDAR_LOCATION)
            field.value.number = location;
    return ZEL_OK;
}

std::uint32_t CCalendarHandler::WriteNewFormat(CDataSender& sender, CalendarEntryRecord& record) const
{
    FetchTimeParameters(sender);
    CMessage message = Request(kWriteNewRequest);
    AppendNewCalendarEntry(message, record);

    std::uint32_t result = 0;
    if (!Converse(sender, message, kWriteNewReply, result))
        return result;
    CSubBlock location = NewBlock(kWordIdBlock);
    if (message.ReadByte() != 0 && location.ReadFrom(&message) && location.GetId() == ZEL_CALENDAR_LOCATION)
        record.location = location.ReadDword();
    return ZEL_OK;
}

std::uint32_t CCalendarHandler::WriteOldFormat(CDataSender& sender, std::uint8_t kind, std::uint32_t location,
                                               std::span<const CalendarField> fields) const
{
    CMessage message = Request(kWriteOldRequest);
    AppendOldCalendarEntry(message, kind, location, fields);

    std::uint32_t result = 0;
    Converse(sender, message, kWriteOldReply, result);
    return result;
}

std::uint32_t CCalendarHandler::Query(CDataSender& sender, CalendarLocationRecord& record) const
{
    CMessage message = Request(kQueryRequest);
    message.AppendWord(0);
    message.AppendDword(record.location);
    message.AppendDword(0);

    std::uint32_t result = 0;
    if (!Converse(sender, message, kQueryReply, result))
        return result;
    message.Skip(1);
    record.location = message.ReadDword();
    return ZEL_OK;
}

std::uint32_t CCalendarHandler::OperateOnKind(CDataSender& sender, const CalendarKindRecord& record) const
{
    CMessage message = Request(kKindOperationRequest);
    message.AppendWord(0xFFFF);
    message.AppendDword(0);
    message.AppendByte(static_cast<std::uint8_t>(CalendarToWire(kCalendarEntryKinds, record.kind)));

    std::uint32_t result = 0;
    Converse(sender, message, kKindOperationReply, result);
    return result;
}

std::uint32_t CCalendarHandler::Summary(CDataSender& sender, CalendarSummaryRecord& record) const
{
    if (!HasVersion3(sender, kSummaryMinor))
        return ZEL_NOT_SUPPORTED;
    CMessage message = Request(kSummaryRequest);
    message.AppendByte(0);
    message.AppendByte(0);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kSummaryReply, result))
        return result;
    if (const std::uint8_t status = message.ReadByte(); status != kDone)
        return StatusResult(status);
    const std::uint8_t count = message.ReadByte();
    if (count == 0)
        return ZEL_OK;
    record = {};
    for (unsigned i = 0; i < count; ++i)
        StoreSummaryItem(ReadSummaryItem(message), record);
    return ZEL_OK;
}

bool CCalendarHandler::HasVersion3(CDataSender& sender, std::uint8_t minor) const
{
    std::uint8_t phoneMajor = 0;
    std::uint8_t phoneMinor = 0;
    if (sender.GetServiceVersion(GetResource(), phoneMajor, phoneMinor) != ZEL_OK)
        return false;
    return phoneMajor > 3 || (phoneMajor == 3 && phoneMinor >= minor);
}

bool CCalendarHandler::Converse(CDataSender& sender, CMessage& message, std::uint8_t replyId,
                                std::uint32_t& result) const
{
    if (!Exchange(sender, message, replyId, result))
        return false;
    const std::uint8_t status = message.ReadByte();
    const bool isSuccess = status == kDone || status == kLastPart;
    result = isSuccess ? ZEL_OK : StatusResult(status);
    return isSuccess;
}

#include "handlers/calendar/CalendarHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/calendar/CalendarFields.h"
#include "handlers/calendar/CalendarNewFormat.h"
#include "handlers/calendar/CalendarOldFormat.h"

#include <map>
#include <set>

namespace
{

void List(CConversation& phone, CalendarListRecord& record);
void Read(CConversation& phone, CalendarEntryRecord& record);
void Write(CConversation& phone, CalendarEntryRecord& record);
void Query(CConversation& phone, CalendarLocationRecord& record);
void OperateOnKind(CConversation& phone, const CalendarKindRecord& record);
void Summarize(CConversation& phone, CalendarSummaryRecord& record);

constexpr Operation kOperations[] = {
    {ZEL_CALENDAR_LIST, Serve<List>},
    {ZEL_CALENDAR_READ, Serve<Read>},
    {ZEL_CALENDAR_WRITE, Serve<Write>},
    {ZEL_CALENDAR_QUERY, Serve<Query>},
    {ZEL_CALENDAR_KIND_OPERATION, Serve<OperateOnKind>},
    {ZEL_CALENDAR_SUMMARY, Serve<Summarize>},
};

// ---------------------------------------------------------------------------------------------------------------------
// Listing

constexpr Exchange kList = {.request = 0x9E, .reply = 0x9F};

enum ListMode : std::uint8_t
{
    kByWireSelector = 0,
    kByKindCode = 1,
    kEveryKind = 2,
    kEveryKindOther = 3,
};

constexpr std::uint16_t kEveryKindSelector = 0xFFFF;

// A phone that repeats itself would be asked for ever.
constexpr unsigned kMostRepeats = 32;
constexpr std::size_t kMostLocations = 0xFFFF;

/// Turns the record's mode into the phone's. The selector for the phone.
std::uint16_t SelectForPhone(const CConversation& phone, CalendarListRecord& record)
{
    if (record.mode == kByKindCode)
    {
        record.mode = kByWireSelector;
        return CalendarToWire(kCalendarKindCodes, record.selector);
    }
    if (record.mode != kEveryKind && record.mode != kEveryKindOther)
        return record.selector;
    if (!phone.GetVersion())
        ThrowCode(ZEL_E_VERSION);
    --record.mode;
    return kEveryKindSelector;
}

/// The locations that a phone has listed so far.
class CListing
{
  public:
    /// Where the next part starts.
    std::uint32_t Last() const { return m_locations.Count() == 0 ? 0 : m_locations.end()[-1]; }

    /// Appends the locations of a part that was asked for from the last one. Its status; leaves with that of a refusal.
    std::uint8_t ReadPart(CMessage& part)
    {
        m_askedFrom.insert(Last());
        const std::uint8_t count = part.ReadByte();
        const std::uint8_t status = part.ReadByte();
        if (status != kCalendarDone && status != kCalendarLastPart)
            ThrowCode(StatusResult(part, status));
        part.Skip(4);
        for (unsigned i = 0; i < count; ++i)
            m_locations.Append() = part.ReadDword();
        m_repeats = m_askedFrom.contains(Last()) ? m_repeats + 1 : 0;
        return status;
    }

    /// No more is asked for.
    bool IsFull() const { return m_repeats == kMostRepeats || m_locations.Count() >= kMostLocations; }

    std::uint32_t MoveTo(CalendarListRecord& record)
    {
        record.count = static_cast<std::uint32_t>(m_locations.Count());
        record.locations = m_locations.Release();
        return record.count;
    }

  private:
    CRecordArray<std::uint32_t> m_locations;
    std::set<std::uint32_t> m_askedFrom;
    /// Parts in a row after which the next one starts where one has started before.
    unsigned m_repeats = 0;
};

void List(CConversation& phone, CalendarListRecord& record)
{
    const std::uint16_t selector = SelectForPhone(phone, record);
    CListing listing;
    bool isAnswered = false;
    std::uint8_t status = kCalendarDone;
    while (status == kCalendarDone && !listing.IsFull())
    {
        CMessage message = phone.Request(kList);
        message.AppendWord(selector);
        message.AppendDword(listing.Last());
        message.AppendByte(record.mode);

        phone.Send(message, kList);
        if (message.GetMessageId() != kList.reply)
            break;
        isAnswered = true;
        status = listing.ReadPart(message);
    }
    if (isAnswered && listing.MoveTo(record) == 0 && status == kCalendarLastPart)
        ThrowCode(ZEL_CALENDAR_LAST_PART);
}

// ---------------------------------------------------------------------------------------------------------------------
// Entries

bool HasNewFormat(const CConversation& phone)
{
    return phone.IsAtLeast(3, 1);
}

void Read(CConversation& phone, CalendarEntryRecord& record)
{
    phone.AskClockSettings();
    HasNewFormat(phone) ? ReadNewCalendarEntry(phone, record) : ReadOldCalendarEntry(phone, record);
}

constexpr Exchange kAnnounce = {.request = 0x98, .reply = 0x99};

/// Tells the phone which entry will be written. A reply of another kind does not stop the write.
void Announce(CConversation& phone, std::uint32_t location)
{
    CMessage message = phone.Request(kAnnounce);
    message.AppendWord(0);
    message.AppendDword(location);

    phone.Send(message, kAnnounce);
    if (message.GetMessageId() == kAnnounce.reply)
        phone.RequireStatus(message, kCalendarSuccesses);
}

constexpr Exchange kCreate = {.request = 0x95, .reply = 0x96};

/// Makes a new entry. Its location, also stored in the fields; 0 after a reply of another kind, which does not stop the
/// write.
std::uint32_t Create(CConversation& phone, std::uint8_t kind, std::span<CalendarField> fields)
{
    CMessage message = phone.Request(kCreate);
    message.AppendByte(kind);

    phone.Send(message, kCreate);
    if (message.GetMessageId() != kCreate.reply)
        return 0;
    phone.RequireStatus(message, kCalendarSuccesses);
    message.Skip(1);
    const std::uint32_t location = message.ReadDword();
    for (CalendarField& field : fields)
        if (field.id == ZEL_CALENDAR_LOCATION)
            field.value.number = location;
    return location;
}

void Write(CConversation& phone, CalendarEntryRecord& record)
{
    if (record.count <= 0)
        ThrowCode(ZEL_E_ARGUMENT);
    const auto fields = ElementsOf(record.fields, static_cast<std::size_t>(record.count));
    const bool hasNewFormat = HasNewFormat(phone);
    if (hasNewFormat)
        CheckNewCalendarEntry(fields);

    const auto apiKind = static_cast<std::uint8_t>(CalendarNumberOf(fields, ZEL_CALENDAR_ENTRY_KIND));
    const auto kind = static_cast<std::uint8_t>(CalendarToWire(kCalendarEntryKinds, apiKind));
    std::uint32_t location = CalendarNumberOf(fields, ZEL_CALENDAR_LOCATION);
    if (location != 0)
        Announce(phone, location);
    else
        location = Create(phone, kind, fields);

    if (!hasNewFormat)
        return WriteOldCalendarEntry(phone, kind, location, fields);
    phone.AskClockSettings();
    WriteNewCalendarEntry(phone, record, fields);
}

// ---------------------------------------------------------------------------------------------------------------------
// Other operations

constexpr Exchange kQuery = {.request = 0x6F, .reply = 0x70};

void Query(CConversation& phone, CalendarLocationRecord& record)
{
    CMessage message = phone.Request(kQuery);
    message.AppendWord(0);
    message.AppendDword(record.location);
    message.AppendDword(0);

    phone.Ask(message, kQuery);
    phone.RequireStatus(message, kCalendarSuccesses);
    message.Skip(1);
    record.location = message.ReadDword();
}

// Phones answer with this id, not with 0xA7.
constexpr Exchange kOperateOnKind = {.request = 0xA6, .reply = 0x90};

void OperateOnKind(CConversation& phone, const CalendarKindRecord& record)
{
    CMessage message = phone.Request(kOperateOnKind);
    message.AppendWord(0xFFFF);
    message.AppendDword(0);
    message.AppendByte(static_cast<std::uint8_t>(CalendarToWire(kCalendarEntryKinds, record.kind)));

    phone.Ask(message, kOperateOnKind);
    phone.RequireStatus(message, kCalendarSuccesses);
}

constexpr Exchange kSummarize = {.request = 0xBA, .reply = 0xBB};
constexpr std::uint16_t kSummaryItem = 2;
constexpr std::uint16_t kGroup = 0x0102;

/// Where a group's counter goes. The counters are named by the ids of their sub-blocks.
struct SummaryWord
{
    std::uint32_t group;
    std::uint16_t counter;
    std::uint32_t CalendarSummaryRecord::*word;
};

constexpr SummaryWord kSummaryWords[] = {
    {1, 0x0111, &CalendarSummaryRecord::group_1_counter_111}, {1, 0x0112, &CalendarSummaryRecord::group_1_counter_112},
    {1, 0x0113, &CalendarSummaryRecord::group_1_counter_113}, {1, 0x0114, &CalendarSummaryRecord::group_1_counter_114},
    {2, 0x0111, &CalendarSummaryRecord::group_2_counter_111}, {3, 0x0111, &CalendarSummaryRecord::group_3_counter_111},
};

/// Reads the next item. One of another type has only its type read: what follows is taken for the next item.
void ReadSummaryItem(CMessage& message, CalendarSummaryRecord& summary)
{
    if (message.ReadWord() != kSummaryItem || message.ReadWord() == 0)
        return;
    message.Skip(3);
    std::map<std::uint16_t, std::uint32_t> numbers;
    ForEachBlock(message, message.ReadByte(), kWordIdBlock,
                 [&](CSubBlock& block, std::uint32_t) { numbers[block.GetId()] = block.ReadDword(); });
    for (const auto& [group, counter, word] : kSummaryWords)
        if (numbers[kGroup] == group && numbers[counter] != 0)
            summary.*word = numbers[counter];
}

void Summarize(CConversation& phone, CalendarSummaryRecord& record)
{
    if (!phone.IsAtLeast(3, 7))
        ThrowCode(ZEL_NOT_SUPPORTED);
    CMessage message = phone.Request(kSummarize);
    message.AppendBytes({0, 0});

    phone.Ask(message, kSummarize);
    phone.RequireStatus(message);
    const std::uint8_t count = message.ReadByte();
    if (count == 0)
        return;
    CalendarSummaryRecord summary = {};
    for (unsigned i = 0; i < count; ++i)
        ReadSummaryItem(message, summary);
    record = summary;
}

}  // namespace

CCalendarHandler::CCalendarHandler() : CContentHandler(kOperations) {}

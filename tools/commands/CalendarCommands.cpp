#include "commands/CalendarCommands.h"

#include "commands/CalendarEntry.h"
#include "shell/Failure.h"
#include "shell/Received.h"

#include <zelapi/calendar.h>

namespace zelctl
{
namespace
{

constexpr std::uint8_t kUsualMode = 2;
constexpr std::uint8_t kLastMode = 3;

// ---- Listing

CalendarListRecord ListRecordOf(const CArguments& arguments)
{
    CalendarListRecord record = {};
    const auto selector = arguments.OptionNumber("--selector", kWordRange);
    const auto mode = arguments.OptionNumber("--mode", {0, kLastMode});
    record.selector = static_cast<std::uint16_t>(selector.value_or(0));
    record.mode = static_cast<std::uint8_t>(mode.value_or(selector ? 1 : kUsualMode));
    return record;
}

std::vector<std::uint32_t> ListLocations(CConnection& phone, const CalendarListRecord& request)
try
{
    const CProgress progress("Listing the entries...");
    CReceived<CalendarListRecord> list(request);
    phone.Send("listing the entries", ZEL_CALENDAR_LIST, list.record);
    return {list.record.locations, list.record.locations + (list.record.locations == nullptr ? 0 : list.record.count)};
}
catch (const CFailure& failure)
{
    if (failure.Code() != ZEL_CALENDAR_LAST_PART)
        throw;
    return {};
}

void ShowLocations(CContext& context)
{
    const CalendarListRecord record = ListRecordOf(context.arguments);
    const std::vector<std::uint32_t> locations = ListLocations(context.Phone(), record);
    context.output.Show({{"count", locations.size()}, {"locations", locations}});
}

CReceived<CalendarEntryRecord> Read(CConnection& phone, std::uint32_t location)
{
    CReceived<CalendarEntryRecord> entry;
    entry.record.location = location;
    phone.Send("reading the entry", ZEL_CALENDAR_READ, entry.record);
    return entry;
}

/// An entry that the phone refuses to read shows why.
Value ReadRow(CConnection& phone, std::uint32_t location)
try
{
    const auto entry = Read(phone, location);
    const auto fields = FieldsOf(entry.record);
    return {{"location", location},
            {"entry_kind", CalendarValueOf(fields, ZEL_CALENDAR_ENTRY_KIND)},
            {"kind_code", CalendarValueOf(fields, ZEL_CALENDAR_KIND_CODE)},
            {"date_1", CalendarValueOf(fields, ZEL_CALENDAR_DATE_1)},
            {"date_2", CalendarValueOf(fields, ZEL_CALENDAR_DATE_2)},
            {"text_1", CalendarValueOf(fields, ZEL_CALENDAR_TEXT_1)}};
}
catch (const CFailure& failure)
{
    const std::uint32_t code = failure.Code().value_or(ZEL_E_FAIL);
    if (!ZEL_IS_PHONE_STATUS(code))
        throw;
    return {{"location", location}, {"refused_with_status", ZEL_PHONE_STATUS(code)}};
}

Value ReadRows(CContext& context, const std::vector<std::uint32_t>& locations)
{
    Value rows = Value::array();
    CProgress progress("Reading the entries...");
    for (const std::uint32_t location : locations)
    {
        if (context.stop.IsSet())
            break;
        progress.Show("Reading entry " + std::to_string(rows.size() + 1) + " of " + std::to_string(locations.size()) +
                      "...");
        rows.push_back(ReadRow(context.Phone(), location));
    }
    return rows;
}

void List(CContext& context)
{
    const CalendarListRecord record = ListRecordOf(context.arguments);
    const std::vector<std::uint32_t> locations = ListLocations(context.Phone(), record);
    context.output.Show({{"entries", ReadRows(context, locations)}});
}

// ---- Entries

void Show(CContext& context)
{
    const std::uint32_t location = context.arguments.Number(0, "LOCATION");
    const auto entry = Read(context.Phone(), location);
    context.output.Show({{"location", location}, {"fields", DescribeCalendarFields(FieldsOf(entry.record))}});
}

void WriteEntry(CContext& context, CCalendarFieldsToSend fields)
{
    CalendarEntryRecord record = {};
    record.count = fields.Count();
    record.fields = fields.Data();
    context.Phone().Send("writing the entry", ZEL_CALENDAR_WRITE, record);
    context.output.Show({{"location", fields.Location()}, {"fields", record.count}});
}

void Add(CContext& context)
{
    WriteEntry(context, CCalendarFieldsToSend(0, context.arguments.Words()));
}

void Write(CContext& context)
{
    const std::uint32_t location = context.arguments.Number(0, "LOCATION", {1});
    WriteEntry(context, CCalendarFieldsToSend(location, context.arguments.Words().subspan(1)));
}

void Query(CContext& context)
{
    CalendarLocationRecord record = {0, context.arguments.Number(0, "LOCATION")};
    context.Phone().Send("asking about the location", ZEL_CALENDAR_QUERY, record);
    context.output.Show({{"location", record.location}});
}

void OperateOnKind(CContext& context)
{
    CalendarKindRecord record = {};
    record.kind = context.arguments.Byte(0, "KIND");
    context.Phone().Send("the operation", ZEL_CALENDAR_KIND_OPERATION, record);
    context.output.Show({{"done", true}});
}

void ShowSummary(CContext& context)
{
    CalendarSummaryRecord record = {};
    context.Phone().Send("reading the summary", ZEL_CALENDAR_SUMMARY, record);
    context.output.Show({{"group_1_counter_111", record.group_1_counter_111},
                         {"group_1_counter_112", record.group_1_counter_112},
                         {"group_1_counter_113", record.group_1_counter_113},
                         {"group_1_counter_114", record.group_1_counter_114},
                         {"group_2_counter_111", record.group_2_counter_111},
                         {"group_3_counter_111", record.group_3_counter_111}});
}

constexpr Option kListOptions[] = {
    {"--selector", "N", "kind code of the entries; in mode 0 the phone's own number"},
    {"--mode", "N", "0 to 3: 1 goes by the selector, 2 and 3 list every kind (2; 1 with a selector)"},
};

constexpr Command kCommands[] = {
    {"calendar list", "", "lists the entries", "Reads every one of them.", kListOptions, List},
    {"calendar locations", "", "lists where entries are", "", kListOptions, ShowLocations},
    {"calendar show", "LOCATION", "shows an entry", "", kNoOptions, Show},
    {"calendar add", "FIELD...", "writes a new entry, and shows the location that the phone chose", kCalendarFieldHelp,
     kNoOptions, Add},
    {"calendar write", "LOCATION FIELD...", "writes an entry that exists", kCalendarFieldHelp, kNoOptions, Write},
    {"calendar query", "LOCATION", "asks the phone about a location", "The phone answers with a location.", kNoOptions,
     Query},
    {"calendar operate", "KIND", "runs the phone's operation on one kind of entries",
     "KIND is an entry kind, 1 to 3, or another number that goes to the phone as it is. The meaning of the operation "
     "is\n"
     "the phone's.",
     kNoOptions, OperateOnKind},
    {"calendar summary", "", "shows how full the calendar is",
     "Since version 3.7 of the service. The meaning of the counters is the phone's.", kNoOptions, ShowSummary},
};

}  // namespace

const Module kCalendarModule = {0x13, kCommands, {}, nullptr};

}  // namespace zelctl

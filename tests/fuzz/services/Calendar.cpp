#include "fuzz/FuzzService.h"
#include "handlers/CalendarHandler.h"

#include <cstring>

namespace
{

bool HoldsText(const CalendarField& field)
{
    return field.id >= ZEL_CALENDAR_TEXT_1 && field.id <= ZEL_CALENDAR_TEXT_4;
}

void RequestList(CFuzzCase& fuzz)
{
    CalendarListRecord record = {0, fuzz.Word(), fuzz.Byte(), 0, nullptr};
    fuzz.Request(&record);
    Touch(record.locations, record.count * sizeof *record.locations);
    CoTaskMemFree(record.locations);
}

void RequestRead(CFuzzCase& fuzz)
{
    CalendarEntryRecord record = {0, fuzz.Dword(), 0, nullptr};
    fuzz.Request(&record);
    for (std::int32_t i = 0; i < record.count; ++i)
    {
        Touch(&record.fields[i], sizeof record.fields[i]);
        if (HoldsText(record.fields[i]))
            TakeText(record.fields[i].value.text);
    }
    CoTaskMemFree(record.fields);
}

void RequestWrite(CFuzzCase& fuzz)
{
    std::vector<CalendarField> fields(fuzz.Byte());
    std::vector<CBStrOwner> texts;
    for (CalendarField& field : fields)
    {
        field.id = fuzz.Word();
        if (HoldsText(field))
            field.value.text = texts.emplace_back(fuzz.Text()).get();
        else
            field.value.date = {fuzz.Word(), fuzz.Byte(), fuzz.Byte(), fuzz.Byte(), fuzz.Byte(), fuzz.Byte()};
    }
    const auto count = static_cast<std::int32_t>(fields.size());
    CalendarEntryRecord record = {0, fuzz.Dword(), count, fields.data()};
    fuzz.Request(&record);
    Require(record.fields == fields.data() && record.count >= 0 && record.count <= count, "a write keeps the fields");
}

/// A record that holds nothing to be freed.
template <typename Record>
void RequestPlain(CFuzzCase& fuzz)
{
    Record record = {};
    const auto bytes = fuzz.Block(sizeof record);
    std::memcpy(&record, bytes.data(), bytes.size());
    fuzz.Request(&record);
    Touch(&record, sizeof record);
}

void Request(CFuzzCase& fuzz)
{
    switch (fuzz.MessageId())
    {
    case ZEL_CALENDAR_LIST:
        return RequestList(fuzz);
    case ZEL_CALENDAR_READ:
        return RequestRead(fuzz);
    case ZEL_CALENDAR_WRITE:
        return RequestWrite(fuzz);
    case ZEL_CALENDAR_KIND_OPERATION:
        return RequestPlain<CalendarKindRecord>(fuzz);
    case ZEL_CALENDAR_SUMMARY:
        return RequestPlain<CalendarSummaryRecord>(fuzz);
    default:
        return RequestPlain<CalendarLocationRecord>(fuzz);
    }
}

const CFuzzService g_calendar(0x13, NewHandler<CCalendarHandler>, Request);

}  // namespace

#include "fuzz/FuzzService.h"
#include "handlers/calendar/CalendarHandler.h"

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
    TakeBlock(record.locations, record.count * sizeof *record.locations);
}

void RequestRead(CFuzzCase& fuzz)
{
    CalendarEntryRecord record = {0, fuzz.Dword(), 0, nullptr};
    fuzz.Request(&record);
    for (std::int32_t i = 0; i < record.count; ++i)
        if (HoldsText(record.fields[i]))
            TakeText(record.fields[i].value.text);
    TakeBlock(record.fields, static_cast<std::size_t>(record.count) * sizeof *record.fields);
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

const CFuzzService g_calendar(0x13, NewHandler<CCalendarHandler>,
                              {RequestList, RequestRead, RequestWrite, RequestPlain<CalendarLocationRecord>,
                               RequestPlain<CalendarKindRecord>, RequestPlain<CalendarSummaryRecord>,
                               RequestPlain<CalendarLocationRecord>});

}  // namespace

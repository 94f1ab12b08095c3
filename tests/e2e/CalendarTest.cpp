#include "zelapi/calendar.h"

#include "e2e/LinkService.h"

namespace
{

using CalendarTest = EndToEnd;

std::vector<std::uint32_t> Locations(ZelConnection phone, std::uint16_t kindCode)
{
    CalendarListRecord record = {0, kindCode, 1, 0, nullptr};
    EXPECT_EQ(ZelSendMessage(phone, ZEL_CALENDAR_LIST, &record), ZEL_OK);
    const std::vector<std::uint32_t> locations(record.locations, record.locations + record.count);
    CoTaskMemFree(record.locations);
    return locations;
}

/// The number in a field of an entry, 0 without it, and the entry's first text; all that was given is freed.
std::pair<std::uint32_t, std::u16string> Read(ZelConnection phone, std::uint32_t location, std::uint16_t wanted)
{
    CalendarEntryRecord record = {0, location, 0, nullptr};
    EXPECT_EQ(ZelSendMessage(phone, ZEL_CALENDAR_READ, &record), ZEL_OK);
    std::pair<std::uint32_t, std::u16string> found;
    for (std::int32_t i = 0; i < record.count; ++i)
    {
        const CalendarField& field = record.fields[i];
        if (field.id == wanted)
            found.first = field.value.number;
        if (field.id == ZEL_CALENDAR_TEXT_1)
            found.second.assign(field.value.text, field.value.text + SysStringLen(field.value.text));
        if (field.id >= ZEL_CALENDAR_TEXT_1 && field.id <= ZEL_CALENDAR_TEXT_4)
            SysFreeString(field.value.text);
    }
    CoTaskMemFree(record.fields);
    return found;
}

/// Writes a new entry of kind 2 and code 4, and gives its location.
std::uint32_t Write(ZelConnection phone)
{
    CalendarField fields[5] = {};
    fields[0].id = ZEL_CALENDAR_LOCATION;
    fields[1].id = ZEL_CALENDAR_ENTRY_KIND;
    fields[1].value.number = ZEL_CALENDAR_ENTRY_KIND_2;
    fields[2].id = ZEL_CALENDAR_KIND_CODE;
    fields[2].value.number = ZEL_CALENDAR_KIND_CODE_4;
    fields[3].id = ZEL_CALENDAR_TEXT_1;
    fields[3].value.text = SysAllocString(L"Sauna");
    fields[4].id = ZEL_CALENDAR_ALARM;
    fields[4].value.number = 5;
    CalendarEntryRecord record = {0, 0, 5, fields};
    EXPECT_EQ(ZelSendMessage(phone, ZEL_CALENDAR_WRITE, &record), ZEL_OK);
    SysFreeString(fields[3].value.text);
    return fields[0].value.number;
}

TEST_F(CalendarTest, EntriesAreListedReadAndWrittenInBothForms)
{
    using Numbers = std::vector<std::uint32_t>;
    for (const bool isOld : {false, true})
    {
        const LinkService service(Shipped(isOld ? "calendar-old" : "calendar"));
        const NothingLeft nothing(service);
        const Connection phone;
        ASSERT_EQ(phone.Result(), ZEL_OK);
        EXPECT_EQ(Locations(phone.Handle(), ZEL_CALENDAR_KIND_CODE_4), (Numbers{3, 4, 5}));
        EXPECT_EQ(Read(phone.Handle(), 3, ZEL_CALENDAR_INTERVAL).first, 3u);
        EXPECT_EQ(Read(phone.Handle(), 7, ZEL_CALENDAR_KIND_CODE).first, isOld ? 0u : 1u);
        EXPECT_EQ(Write(phone.Handle()), 11u);
        const auto written = Read(phone.Handle(), 11, ZEL_CALENDAR_ALARM);
        EXPECT_EQ(written.first, 5u);
        EXPECT_EQ(written.second, isOld ? u"" : u"Sauna");
        CalendarSummaryRecord summary = {};
        EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_CALENDAR_SUMMARY, &summary), isOld ? ZEL_NOT_SUPPORTED : ZEL_OK);
        EXPECT_EQ(summary.group_1_counter_111, isOld ? 0u : 11u);
    }
}

}  // namespace

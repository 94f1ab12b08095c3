#include "commands/CalendarEntry.h"

#include <gtest/gtest.h>

using namespace zelctl;

namespace
{

using Words = std::vector<std::string>;

TEST(CalendarEntry, FieldsAreReadAndDescribed)
{
    CCalendarFieldsToSend sent(
        9, Words{"entry-kind=1", "text-1=a=b", "date-5=2024-02-29 23:05:09", "number-12=4294967295"});
    ASSERT_EQ(sent.Count(), 5);
    EXPECT_EQ(sent.Location(), 9U);
    const std::span<CalendarField> fields(sent.Data(), 5);
    fields[3].base_offset = 60;
    fields[3].extra_offset = -30;
    fields[4].id = 0x0106;
    EXPECT_EQ(DescribeCalendarFields(fields), Value::parse(R"([
        {"id": "0x0101", "name": "location", "value": 9}, {"id": "0x0102", "name": "entry-kind", "value": 1},
        {"id": "0x0201", "name": "text-1", "value": "a=b"},
        {"id": "0x0305", "name": "date-5", "value": "2024-02-29 23:05:09", "utc_offset_minutes": 30},
        {"id": "0x0106", "name": null, "value": null}])"));
    EXPECT_EQ(CalendarValueOf(fields, 0x0102), 1);
    EXPECT_EQ(CalendarValueOf(fields, 0x0103), nullptr);
}

}  // namespace

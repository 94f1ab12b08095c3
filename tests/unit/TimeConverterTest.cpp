#include "handlers/base/TimeConverter.h"

#include "handlers/base/DateTime.h"
#include "support/Memory.h"
#include "zelapi/zelapi.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <tuple>

bool operator==(const SYSTEMTIME& a, const SYSTEMTIME& b)
{
    const auto fields = [](const SYSTEMTIME& t) {
        return std::tie(t.wYear, t.wMonth, t.wDayOfWeek, t.wDay, t.wHour, t.wMinute, t.wSecond, t.wMilliseconds);
    };
    return fields(a) == fields(b);
}

void PrintTo(const SYSTEMTIME& t, std::ostream* out)
{
    *out << t.wYear << '-' << t.wMonth << '-' << t.wDay << " (" << t.wDayOfWeek << ") " << t.wHour << ':' << t.wMinute
         << ':' << t.wSecond << '.' << t.wMilliseconds;
}

bool operator==(const ZoneInformation& a, const ZoneInformation& b)
{
    return std::tie(a.state, a.base_offset, a.extra_offset) == std::tie(b.state, b.base_offset, b.extra_offset);
}

void PrintTo(const ZoneInformation& info, std::ostream* out)
{
    *out << '{' << info.state << ", " << info.base_offset << ", " << info.extra_offset << '}';
}

namespace
{

using Converter = CTimeConverter;

constexpr WORD kSunday = 0;
constexpr WORD kLast = 5;

SYSTEMTIME Rule(WORD month, WORD week, WORD weekday, WORD hour)
{
    return {0, month, weekday, week, hour, 0, 0, 0};
}

SYSTEMTIME Time(WORD year, WORD month, WORD day, WORD hour, WORD minute = 0, WORD millisecond = 0)
{
    return {year, month, 0, day, hour, minute, 0, millisecond};
}

TIME_ZONE_INFORMATION Zone(LONG bias, const SYSTEMTIME& standard, const SYSTEMTIME& daylight)
{
    TIME_ZONE_INFORMATION zone = {};
    zone.Bias = bias;
    zone.StandardDate = standard;
    zone.DaylightDate = daylight;
    zone.DaylightBias = -60;
    return zone;
}

TIME_ZONE_INFORMATION CentralEurope()
{
    return Zone(-60, Rule(10, kLast, kSunday, 3), Rule(3, kLast, kSunday, 2));
}

TIME_ZONE_INFORMATION Sydney()
{
    return Zone(-600, Rule(4, 1, kSunday, 3), Rule(10, 1, kSunday, 2));
}

TEST(TimeConverter, KnowsLeapYears)
{
    for (const std::uint32_t year : {1904u, 2000u, 2004u, 2096u})
        EXPECT_TRUE(Converter::IsLeapYear(year)) << year;
    for (const std::uint32_t year : {1900u, 1901u, 2002u, 2006u, 2100u})
        EXPECT_FALSE(Converter::IsLeapYear(year)) << year;
}

TEST(TimeConverter, CountsTheDaysBeforeAMonth)
{
    const std::uint32_t common[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const std::uint32_t leap[] = {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335};
    for (std::uint32_t month = 1; month <= 12; ++month)
    {
        EXPECT_EQ(Converter::DaysBeforeMonth(2006, month), common[month - 1]) << month;
        EXPECT_EQ(Converter::DaysBeforeMonth(2004, month), leap[month - 1]) << month;
    }
}

TEST(TimeConverter, ALeapYearLengthensTheMonthsFromMarchOn)
{
    const std::uint32_t common[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const std::uint32_t leap[] = {31, 28, 32, 31, 32, 31, 32, 32, 31, 32, 31, 32};
    for (std::uint32_t month = 1; month <= 12; ++month)
    {
        EXPECT_EQ(Converter::DaysInMonth(2006, month), common[month - 1]) << month;
        EXPECT_EQ(Converter::DaysInMonth(2004, month), leap[month - 1]) << month;
    }
}

TEST(TimeConverter, AMonthThatDoesNotExistHasNoDays)
{
    for (const std::uint32_t month : {0u, 13u, 0xFFFFu})
    {
        EXPECT_EQ(Converter::DaysInMonth(2004, month), 0u);
        EXPECT_EQ(Converter::DaysBeforeMonth(2004, month), 0u);
    }
}

TEST(TimeConverter, FindsTheFirstWeekdayOfEveryMonth)
{
    EXPECT_EQ(Converter::FirstWeekdayOfMonth(1901, 1), 2u);
    EXPECT_EQ(Converter::FirstWeekdayOfMonth(2000, 2), 2u);
    EXPECT_EQ(Converter::FirstWeekdayOfMonth(2012, 3), 4u);
    EXPECT_EQ(Converter::FirstWeekdayOfMonth(2099, 12), 2u);
    for (int year = 1901; year <= 2099; ++year)
        for (unsigned month = 1; month <= 12; ++month)
        {
            const std::chrono::weekday weekday(
                std::chrono::sys_days(std::chrono::year(year) / std::chrono::month(month) / 1));
            EXPECT_EQ(Converter::FirstWeekdayOfMonth(static_cast<std::uint32_t>(year), month), weekday.c_encoding())
                << year << '-' << month;
        }
}

TEST(TimeConverter, TurnsARuleIntoADate)
{
    struct Case
    {
        const char* what;
        SYSTEMTIME rule;
        std::uint32_t year;
        WORD day;
    };
    const Case cases[] = {
        {"last Sunday of October, the fifth", Rule(10, kLast, 0, 3), 2006, 29},
        {"last Sunday of March, the fourth", Rule(3, kLast, 0, 2), 2006, 26},
        {"first Sunday of October 2006, its first day", Rule(10, 1, 0, 2), 2006, 1},
        {"second Sunday of March", Rule(3, 2, 0, 2), 2007, 11},
        {"first Sunday of November", Rule(11, 1, 0, 2), 2007, 4},
        {"third Saturday of April", Rule(4, 3, 6, 0), 2006, 15},
        {"fourth Monday of October", Rule(10, 4, 1, 0), 2004, 25},
        {"last Friday of February, in a leap year", Rule(2, kLast, 5, 0), 2008, 22},
        {"last Sunday of March, in a leap year with 32 days of March", Rule(3, kLast, 0, 2), 2012, 32},
        {"last Sunday of March, in another leap year", Rule(3, kLast, 0, 2), 2004, 28},
        {"first year", Rule(1, 1, 2, 0), 1901, 1},
        {"last year", Rule(12, kLast, 2, 0), 2099, 29},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        SYSTEMTIME expected = c.rule;
        expected.wYear = static_cast<WORD>(c.year);
        expected.wDay = c.day;
        SYSTEMTIME date = {};
        EXPECT_EQ(Converter::TransitionDate(&c.rule, c.year, &date), ZEL_OK);
        EXPECT_EQ(date, expected);
    }
}

TEST(TimeConverter, ADateTakesItsClockFromTheRule)
{
    const SYSTEMTIME rule = {0, 3, 0, 2, 23, 59, 58, 999};
    SYSTEMTIME date = {};
    EXPECT_EQ(Converter::TransitionDate(&rule, 2007, &date), ZEL_OK);
    EXPECT_EQ(date, (SYSTEMTIME{2007, 3, 0, 11, 23, 59, 58, 999}));
}

TEST(TimeConverter, RefusesARuleThatIsNoRule)
{
    SYSTEMTIME rule = Rule(3, 1, kSunday, 2);
    SYSTEMTIME date = Time(2006, 1, 1, 1);
    for (const std::uint32_t year : {0u, 1900u, 2100u})
        EXPECT_EQ(Converter::TransitionDate(&rule, year, &date), ZEL_E_ARGUMENT) << year;

    rule.wYear = 2006;
    EXPECT_EQ(Converter::TransitionDate(&rule, 2006, &date), ZEL_E_ARGUMENT);
    EXPECT_EQ(date, SYSTEMTIME{});

    auto* const unreadable = static_cast<SYSTEMTIME*>(kUnreadable);
    EXPECT_EQ(Converter::TransitionDate(nullptr, 2006, &date), ZEL_E_POINTER);
    EXPECT_EQ(Converter::TransitionDate(&rule, 2006, nullptr), ZEL_E_POINTER);
    EXPECT_EQ(Converter::TransitionDate(unreadable, 2006, &date), ZEL_E_POINTER);
    EXPECT_EQ(Converter::TransitionDate(&rule, 2006, unreadable), ZEL_E_POINTER);
}

TEST(TimeConverter, ComparesTimes)
{
    const SYSTEMTIME early = Time(2006, 5, 31, 23, 59, 998);
    const SYSTEMTIME late = Time(2006, 5, 31, 23, 59, 999);
    const SYSTEMTIME never = Time(2006, 3, 32, 0);
    EXPECT_EQ(Converter::CompareTimes(&early, &late), 0xFFFFFFFFu);
    EXPECT_EQ(Converter::CompareTimes(&late, &early), 1u);
    EXPECT_EQ(Converter::CompareTimes(&late, &late), 0u);
    EXPECT_EQ(Converter::CompareTimes(&never, &early), 0xFFFFFFFFu);
    EXPECT_EQ(Converter::CompareTimes(nullptr, &late), ZEL_E_POINTER);
    EXPECT_EQ(Converter::CompareTimes(&late, nullptr), ZEL_E_POINTER);
    EXPECT_EQ(Converter::CompareTimes(&late, static_cast<const SYSTEMTIME*>(kUnreadable)), ZEL_E_POINTER);
}

TEST(TimeConverter, TellsTheZoneState)
{
    struct Case
    {
        const char* what;
        TIME_ZONE_INFORMATION zone;
        SYSTEMTIME time;
        std::uint32_t state;
    };
    const SYSTEMTIME none = {};
    const Case cases[] = {
        {"no rules", Zone(-60, none, none), Time(2006, 7, 1, 12), 0},
        {"no standard rule", Zone(-60, none, Rule(3, kLast, 0, 2)), Time(2006, 7, 1, 12), 0},
        {"no daylight rule", Zone(-60, Rule(10, kLast, 0, 3), none), Time(2006, 7, 1, 12), 0},
        {"winter", CentralEurope(), Time(2006, 1, 1, 12), 1},
        {"at the spring change", CentralEurope(), Time(2006, 3, 26, 2), 1},
        {"after the spring change", CentralEurope(), Time(2006, 3, 26, 2, 0, 1), 2},
        {"summer", CentralEurope(), Time(2006, 7, 1, 12), 2},
        {"before the autumn change", CentralEurope(), Time(2006, 10, 29, 2, 59, 999), 2},
        {"at the autumn change", CentralEurope(), Time(2006, 10, 29, 3), 1},
        {"southern winter", Sydney(), Time(2006, 7, 1, 12), 1},
        {"southern summer, which is not seen", Sydney(), Time(2006, 1, 1, 12), 1},
        {"southern summer at the year's end", Sydney(), Time(2006, 12, 1, 12), 1},
        {"a spring change on 32 March never comes", CentralEurope(), Time(2012, 1, 1, 12), 2},
        {"a year before the rules", CentralEurope(), Time(1900, 7, 1, 12), 1},
        {"a year after the rules", CentralEurope(), Time(2100, 7, 1, 12), 1},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Converter::GetZoneState(&c.zone, &c.time), c.state);
    }
    const TIME_ZONE_INFORMATION zone = CentralEurope();
    const SYSTEMTIME time = Time(2006, 1, 1, 12);
    EXPECT_EQ(Converter::GetZoneState(nullptr, &time), ZEL_E_FAIL);
    EXPECT_EQ(Converter::GetZoneState(&zone, nullptr), ZEL_E_FAIL);
    EXPECT_EQ(Converter::GetZoneState(&zone, static_cast<const SYSTEMTIME*>(kUnreadable)), ZEL_E_FAIL);
}

TEST(TimeConverter, ConversionsNeedTheirPointers)
{
    SYSTEMTIME time = Time(2006, 1, 1, 12);
    ZoneInformation info = {};
    for (void* bad : {static_cast<void*>(nullptr), kUnreadable})
    {
        auto* const badTime = static_cast<SYSTEMTIME*>(bad);
        auto* const badInfo = static_cast<ZoneInformation*>(bad);
        for (const auto conversion : {&Converter::LocalToUtc, &Converter::UtcToLocal})
        {
            EXPECT_EQ((Converter().*conversion)(badTime, &time, &info), ZEL_E_POINTER);
            EXPECT_EQ((Converter().*conversion)(&time, badTime, &info), ZEL_E_POINTER);
            EXPECT_EQ((Converter().*conversion)(&time, &time, badInfo), ZEL_E_POINTER);
        }
    }
}

/// The same moment, for the comparison of fields that matter.
SYSTEMTIME WithoutWeekday(SYSTEMTIME time)
{
    time.wDayOfWeek = 0;
    return time;
}

void ExpectBothWays(const SYSTEMTIME& local, const SYSTEMTIME& utc, const ZoneInformation& expected)
{
    SYSTEMTIME time = Time(1999, 1, 1, 1);
    ZoneInformation info = {};
    EXPECT_EQ(Converter().LocalToUtc(&local, &time, &info), ZEL_OK);
    EXPECT_EQ(WithoutWeekday(time), utc);
    EXPECT_EQ(info, expected);

    time = Time(1999, 1, 1, 1);
    info = {};
    EXPECT_EQ(Converter().UtcToLocal(&utc, &time, &info), ZEL_OK);
    EXPECT_EQ(WithoutWeekday(time), local);
    EXPECT_EQ(info, expected);
}

#ifdef _WIN32

// A process has the zone that TZ names at its start, so the test is run once for each.
TEST(SystemZone, ConvertsByTheRulesOfWindows)
{
    struct Case
    {
        std::string zone;
        SYSTEMTIME local;
        SYSTEMTIME utc;
        ZoneInformation info;
    };
    const Case cases[] = {
        {"Europe/Berlin", Time(2026, 1, 15, 12), Time(2026, 1, 15, 11), {1, 60, 0}},
        {"Europe/Berlin", Time(2026, 7, 1, 12, 30), Time(2026, 7, 1, 10, 30), {2, 60, 60}},
        {"Europe/Berlin", {}, {}, {0, 60, 0}},
        {"Australia/Sydney", Time(2026, 7, 1, 12), Time(2026, 7, 1, 2), {1, 600, 0}},
        {"Australia/Sydney", Time(2026, 1, 15, 12), Time(2026, 1, 15, 1), {1, 600, 0}},
        {"Australia/Sydney", {}, {}, {0, 600, 0}},
    };
    const char* const zone = std::getenv("TZ");
    std::size_t played = 0;
    for (const Case& c : cases)
        if (zone != nullptr && c.zone == zone)
        {
            SCOPED_TRACE(testing::PrintToString(c.local));
            ExpectBothWays(c.local, c.utc, c.info);
            ++played;
        }
    if (played == 0)
        GTEST_SKIP() << "TZ names no zone of this test";
}

#else

class SystemZone : public testing::Test
{
  protected:
    SystemZone() = default;
    ~SystemZone() override { host::SetTimeZone({}); }
};

TEST_F(SystemZone, ConvertsByItsRules)
{
    struct Case
    {
        const char* what;
        TIME_ZONE_INFORMATION zone;
        SYSTEMTIME local;
        SYSTEMTIME utc;
        ZoneInformation info;
    };
    TIME_ZONE_INFORMATION oddStandard = CentralEurope();
    oddStandard.StandardBias = -15;
    const TIME_ZONE_INFORMATION newYork = Zone(300, Rule(11, 1, kSunday, 2), Rule(3, 2, kSunday, 2));
    const TIME_ZONE_INFORMATION noRules = Zone(-330, {}, {});
    const Case cases[] = {
        {"no rules", noRules, Time(2006, 7, 1, 12), Time(2006, 7, 1, 12), {0, 330, 0}},
        {"no date, without rules", noRules, {}, {}, {0, 330, 0}},
        {"no date", CentralEurope(), {}, {}, {0, 60, 0}},
        {"a daylight date only",
         Zone(-60, {}, Rule(3, kLast, kSunday, 2)),
         Time(2006, 7, 1, 12),
         Time(2006, 7, 1, 12),
         {0, 60, 0}},
        {"winter", CentralEurope(), Time(2006, 1, 1, 12, 30, 7), Time(2006, 1, 1, 11, 30, 7), {1, 60, 0}},
        {"summer", CentralEurope(), Time(2006, 7, 1, 12), Time(2006, 7, 1, 10), {2, 60, 60}},
        {"standard time with an extra offset",
         oddStandard,
         Time(2006, 1, 1, 12),
         Time(2006, 1, 1, 10, 45),
         {1, 60, 15}},
        {"west of Greenwich", newYork, Time(2007, 7, 1, 21), Time(2007, 7, 2, 1), {2, -300, 60}},
        {"over the end of a year", newYork, Time(2007, 12, 31, 20), Time(2008, 1, 1, 1), {1, -300, 0}},
        {"southern winter", Sydney(), Time(2006, 7, 1, 12), Time(2006, 7, 1, 2), {1, 600, 0}},
        {"southern summer, reported as standard time",
         Sydney(),
         Time(2006, 1, 15, 12),
         Time(2006, 1, 15, 1),
         {1, 600, 0}},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        host::SetTimeZone(c.zone);
        ExpectBothWays(c.local, c.utc, c.info);
    }
}

TEST_F(SystemZone, LocalToUtcTakesTheOffsetThatUtcHasAtThatClockTime)
{
    // 1:30 local is still standard time, but 1:30 UTC is daylight time already: two hours go, not one.
    host::SetTimeZone(CentralEurope());
    const SYSTEMTIME local = Time(2006, 3, 26, 1, 30);
    SYSTEMTIME utc = {};
    ZoneInformation info = {};
    EXPECT_EQ(Converter().LocalToUtc(&local, &utc, &info), ZEL_OK);
    EXPECT_EQ(WithoutWeekday(utc), Time(2006, 3, 25, 23, 30));
    EXPECT_EQ(info, (ZoneInformation{1, 60, 0}));
}

TEST_F(SystemZone, ConvertsInPlace)
{
    host::SetTimeZone(CentralEurope());
    SYSTEMTIME time = Time(2006, 7, 1, 12);
    ZoneInformation info = {};
    EXPECT_EQ(Converter().LocalToUtc(&time, &time, &info), ZEL_OK);
    EXPECT_EQ(WithoutWeekday(time), Time(2006, 7, 1, 10));
    EXPECT_EQ(Converter().UtcToLocal(&time, &time, &info), ZEL_OK);
    EXPECT_EQ(WithoutWeekday(time), Time(2006, 7, 1, 12));
}

TEST_F(SystemZone, MayBeUnavailable)
{
    host::FailTimeZone();
    const SYSTEMTIME time = Time(2006, 7, 1, 12);
    for (const auto conversion : {&Converter::LocalToUtc, &Converter::UtcToLocal})
    {
        SYSTEMTIME converted = Time(1999, 1, 1, 1);
        ZoneInformation info = {};
        EXPECT_EQ((Converter().*conversion)(&time, &converted, &info), ZEL_E_TIME_ZONE);
        EXPECT_EQ(converted, Time(1999, 1, 1, 1));
        EXPECT_EQ(info, (ZoneInformation{-1, 0, 0}));
    }
}

TEST_F(SystemZone, ADateThatDoesNotExistFails)
{
    host::SetTimeZone(CentralEurope());
    const SYSTEMTIME never = Time(2006, 13, 1, 12);
    SYSTEMTIME converted = {};
    ZoneInformation info = {};
    EXPECT_EQ(Converter().UtcToLocal(&never, &converted, &info), ZEL_E_FAIL);
    EXPECT_EQ(info, (ZoneInformation{-1, 0, 0}));

    // The other way the computation goes on with time 0.
    EXPECT_EQ(Converter().LocalToUtc(&never, &converted, &info), ZEL_E_FAIL);
    EXPECT_EQ(converted, (SYSTEMTIME{1601, 1, 1, 1, 0, 0, 0, 0}));
    EXPECT_EQ(info, (ZoneInformation{1, 60, 0}));

    // Without rules nothing is computed.
    host::SetTimeZone(Zone(-60, {}, {}));
    EXPECT_EQ(Converter().LocalToUtc(&never, &converted, &info), ZEL_OK);
    EXPECT_EQ(converted, never);
}

TEST_F(SystemZone, HandlersConvertIntoWhatTheyHave)
{
    host::SetTimeZone(CentralEurope());
    const SYSTEMTIME local = Time(2006, 7, 1, 12);
    SYSTEMTIME utc = {};
    ZoneInformation info = {};
    EXPECT_EQ(LocalToUtc(local, &utc, nullptr), ZEL_OK);
    EXPECT_EQ(WithoutWeekday(utc), Time(2006, 7, 1, 10));
    EXPECT_EQ(LocalToUtc(local, nullptr, &info), ZEL_OK);
    EXPECT_EQ(info, (ZoneInformation{2, 60, 60}));
    host::FailTimeZone();
    EXPECT_EQ(LocalToUtc(local, nullptr, &info), ZEL_E_TIME_ZONE);
    EXPECT_EQ(info, (ZoneInformation{-1, 0, 0}));
}

#endif

}  // namespace

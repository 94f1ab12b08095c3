#include <windows.h>

#include <chrono>
#include <host_control.h>
#include <optional>

namespace
{

using std::chrono::sys_days;
using std::chrono::year_month_day;

/// File time counts these from 1601 on.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

constexpr sys_days kEpoch = std::chrono::January / 1 / 1601;
constexpr int kFirstYear = 1601;
constexpr int kLastYear = 30827;

std::optional<TIME_ZONE_INFORMATION> g_zone = TIME_ZONE_INFORMATION{};

year_month_day DateOf(const SYSTEMTIME& time)
{
    return std::chrono::year(time.wYear) / time.wMonth / time.wDay;
}

std::optional<Ticks> TicksOf(const SYSTEMTIME& time)
{
    if (time.wYear < kFirstYear || time.wYear > kLastYear || !DateOf(time).ok() || time.wHour > 23 ||
        time.wMinute > 59 || time.wSecond > 59 || time.wMilliseconds > 999)
        return std::nullopt;
    return sys_days(DateOf(time)) - kEpoch + std::chrono::hours(time.wHour) + std::chrono::minutes(time.wMinute) +
           std::chrono::seconds(time.wSecond) + std::chrono::milliseconds(time.wMilliseconds);
}

SYSTEMTIME TimeOf(Ticks ticks)
{
    const auto days = std::chrono::floor<std::chrono::days>(ticks);
    const year_month_day date{kEpoch + days};
    const std::chrono::hh_mm_ss clock{std::chrono::floor<std::chrono::milliseconds>(ticks - days)};
    return {static_cast<WORD>(static_cast<int>(date.year())),
            static_cast<WORD>(static_cast<unsigned>(date.month())),
            static_cast<WORD>(std::chrono::weekday(kEpoch + days).c_encoding()),
            static_cast<WORD>(static_cast<unsigned>(date.day())),
            static_cast<WORD>(clock.hours().count()),
            static_cast<WORD>(clock.minutes().count()),
            static_cast<WORD>(clock.seconds().count()),
            static_cast<WORD>(clock.subseconds().count())};
}

/// The moment of a rule in a year, by the clock on the wall; nothing for a rule that makes no sense.
std::optional<Ticks> TransitionOf(const SYSTEMTIME& rule, WORD year)
{
    SYSTEMTIME date = rule;
    if (rule.wYear == 0)
    {
        if (rule.wDay < 1 || rule.wDay > 5 || rule.wDayOfWeek > 6 || rule.wMonth > 12)
            return std::nullopt;
        const std::chrono::year_month month{std::chrono::year(year), std::chrono::month(rule.wMonth)};
        const std::chrono::weekday weekday(rule.wDayOfWeek);
        const sys_days day =
            rule.wDay == 5 ? sys_days(month / weekday[std::chrono::last]) : sys_days(month / weekday[rule.wDay]);
        date.wYear = year;
        date.wDay = static_cast<WORD>(static_cast<unsigned>(year_month_day(day).day()));
    }
    return TicksOf(date);
}

Ticks Local(Ticks utc, LONG bias)
{
    return utc - std::chrono::minutes(bias);
}

/// Minutes to take from a UTC time; nothing for a zone whose rules make no sense.
std::optional<LONG> BiasAt(const TIME_ZONE_INFORMATION& zone, Ticks utc)
{
    if (zone.StandardDate.wMonth == 0 || zone.DaylightDate.wMonth == 0)
        return zone.Bias;
    const LONG standard = zone.Bias + zone.StandardBias;
    const LONG daylight = zone.Bias + zone.DaylightBias;
    // Each change is announced in the time that it ends.
    const Ticks inDaylight = Local(utc, daylight);
    const Ticks inStandard = Local(utc, standard);
    const auto standardDate = TransitionOf(zone.StandardDate, TimeOf(inDaylight).wYear);
    const auto daylightDate = TransitionOf(zone.DaylightDate, TimeOf(inStandard).wYear);
    if (!standardDate || !daylightDate)
        return std::nullopt;
    const bool beforeStandard = inDaylight < *standardDate;
    const bool afterDaylight = inStandard >= *daylightDate;
    const bool northern = zone.DaylightDate.wMonth < zone.StandardDate.wMonth;
    const bool isDaylight = northern ? beforeStandard && afterDaylight : beforeStandard || afterDaylight;
    return isDaylight ? daylight : standard;
}

}  // namespace

void host::SetTimeZone(const TIME_ZONE_INFORMATION& zone)
{
    g_zone = zone;
}

void host::FailTimeZone()
{
    g_zone.reset();
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* file)
{
    const auto ticks = TicksOf(*time);
    if (!ticks)
        return FALSE;
    file->dwLowDateTime = static_cast<DWORD>(ticks->count());
    file->dwHighDateTime = static_cast<DWORD>(ticks->count() >> 32);
    return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* file, SYSTEMTIME* time)
{
    const auto ticks = static_cast<std::int64_t>(std::uint64_t{file->dwHighDateTime} << 32 | file->dwLowDateTime);
    if (ticks < 0)
        return FALSE;
    *time = TimeOf(Ticks(ticks));
    return TRUE;
}

DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone)
{
    if (!g_zone)
        return TIME_ZONE_ID_INVALID;
    *zone = *g_zone;
    return TIME_ZONE_ID_UNKNOWN;
}

BOOL SystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* utc, SYSTEMTIME* local)
{
    const auto ticks = TicksOf(*utc);
    const auto bias = ticks ? BiasAt(*zone, *ticks) : std::nullopt;
    if (!bias || Local(*ticks, *bias).count() < 0)
        return FALSE;
    *local = TimeOf(Local(*ticks, *bias));
    return TRUE;
}

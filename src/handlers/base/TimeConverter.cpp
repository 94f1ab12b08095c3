#include "handlers/base/TimeConverter.h"

#include "message/ExceptionFrame.h"

#include <cstring>

namespace
{

constexpr std::uint32_t kEarlier = 0xFFFFFFFF;
constexpr std::uint32_t kEqual = 0;
constexpr std::uint32_t kLater = 1;

constexpr std::uint32_t kFirstYear = 1901;
constexpr std::uint32_t kLastYear = 2099;

/// 100-nanosecond intervals since 1601; 0 for a date that does not exist.
std::uint64_t Ticks(const SYSTEMTIME& time)
{
    FILETIME file = {};
    if (!SystemTimeToFileTime(&time, &file))
        return 0;
    return std::uint64_t{file.dwHighDateTime} << 32 | file.dwLowDateTime;
}

void SetTicks(SYSTEMTIME& time, std::uint64_t ticks)
{
    FILETIME file = {};
    file.dwLowDateTime = static_cast<DWORD>(ticks);
    file.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    FileTimeToSystemTime(&file, &time);
}

std::uint32_t Compare(std::uint64_t a, std::uint64_t b)
{
    if (a == b)
        return kEqual;
    return a < b ? kEarlier : kLater;
}

bool GetZone(TIME_ZONE_INFORMATION& zone)
{
    return GetTimeZoneInformation(&zone) != TIME_ZONE_ID_INVALID;
}

/// A phone's field for a date that was never set.
bool IsNoDate(const SYSTEMTIME& time)
{
    const SYSTEMTIME none = {};
    return std::memcmp(&time, &none, sizeof none) == 0;
}

std::int32_t ExtraOffset(const TIME_ZONE_INFORMATION& zone, std::uint32_t state)
{
    switch (state)
    {
    case CTimeConverter::kStandard:
        return static_cast<std::int32_t>(-zone.StandardBias);
    case CTimeConverter::kDaylight:
        return static_cast<std::int32_t>(-zone.DaylightBias);
    default:
        return 0;
    }
}

ZoneInformation Describe(const TIME_ZONE_INFORMATION& zone, std::uint32_t state)
{
    return {static_cast<std::int32_t>(state), static_cast<std::int32_t>(-zone.Bias), ExtraOffset(zone, state)};
}

}  // namespace

bool CTimeConverter::IsLeapYear(std::uint32_t year)
{
    return year % 4 == 0 && (year % 400 == 0 || year % 100 != 0);
}

std::uint32_t CTimeConverter::DaysBeforeMonth(std::uint32_t year, std::uint32_t month)
{
    static constexpr std::uint16_t kDays[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    if (month < 1 || month > 12)
        return 0;
    return kDays[month - 1] + (month > 2 && IsLeapYear(year) ? 1u : 0u);
}

std::uint32_t CTimeConverter::DaysInMonth(std::uint32_t year, std::uint32_t month)
{
    static constexpr std::uint8_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12)
        return 0;
    return kDays[month - 1] + (month > 2 && IsLeapYear(year) ? 1u : 0u);
}

std::uint32_t CTimeConverter::FirstWeekdayOfMonth(std::uint32_t year, std::uint32_t month)
{
    // The calendar repeats every 28 years; 1 January 1901 was a Tuesday.
    const std::uint32_t cycle = (year - kFirstYear) % 28;
    const std::uint32_t newYear = (cycle + cycle / 4 + 2) % 7;
    return (newYear + DaysBeforeMonth(year, month)) % 7;
}

std::uint32_t CTimeConverter::TransitionDate(const SYSTEMTIME* rule, std::uint32_t year, SYSTEMTIME* date)
{
    if (!IsReadable(rule) || !IsReadable(date))
        return ZEL_E_POINTER;
    if (year < kFirstYear || year > kLastYear)
        return ZEL_E_ARGUMENT;
    *date = {};
    if (rule->wYear != 0)
        return ZEL_E_ARGUMENT;

    const std::uint32_t month = rule->wMonth;
    const std::uint32_t first = FirstWeekdayOfMonth(year, month);
    const std::uint32_t weekday = rule->wDayOfWeek;
    const std::uint32_t offset = weekday >= first ? weekday - first : weekday + 7 - first;
    // The rule's day is the week, 1 to 5; 5 is the last one, which may be the fourth.
    auto day = static_cast<std::int32_t>(7u * rule->wDay + offset) - 6;
    while (day > static_cast<std::int32_t>(DaysInMonth(year, month)))
        day -= 7;

    *date = *rule;
    date->wYear = static_cast<WORD>(year);
    date->wDay = static_cast<WORD>(day);
    return ZEL_OK;
}

std::uint32_t CTimeConverter::CompareTimes(const SYSTEMTIME* a, const SYSTEMTIME* b)
{
    if (!IsReadable(a) || !IsReadable(b))
        return ZEL_E_POINTER;
    return Compare(Ticks(*a), Ticks(*b));
}

std::uint32_t CTimeConverter::GetZoneState(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* time)
{
    if (!IsReadable(zone) || !IsReadable(time))
        return ZEL_E_FAIL;
    if (zone->StandardDate.wMonth == 0 || zone->DaylightDate.wMonth == 0)
        return kNoDaylightRules;

    SYSTEMTIME standardDate = {};
    SYSTEMTIME daylightDate = {};
    TransitionDate(&zone->StandardDate, time->wYear, &standardDate);
    TransitionDate(&zone->DaylightDate, time->wYear, &daylightDate);
    // Between the two dates it is daylight time, in a year that has them in this order. Where the standard date comes
    // first (the southern hemisphere), the same comparison never finds daylight time.
    const bool beforeDaylight = CompareTimes(time, &daylightDate) != kLater;
    const bool fromStandard = CompareTimes(time, &standardDate) != kEarlier;
    return beforeDaylight || fromStandard ? kStandard : kDaylight;
}

std::uint32_t CTimeConverter::LocalToUtc(const SYSTEMTIME* local, SYSTEMTIME* utc, ZoneInformation* info) const
{
    if (!IsReadable(local) || !IsReadable(utc) || !IsReadable(info))
        return ZEL_E_POINTER;
    *info = {kUnknown, 0, 0};
    TIME_ZONE_INFORMATION zone = {};
    if (!GetZone(zone))
        return ZEL_E_TIME_ZONE;

    const SYSTEMTIME from = *local;
    const std::uint32_t state = IsNoDate(from) ? std::uint32_t{kNoDaylightRules} : GetZoneState(&zone, &from);
    *info = Describe(zone, state);
    if (state == kNoDaylightRules)
    {
        *utc = from;
        return ZEL_OK;
    }
    // Taking the local time for UTC gives the offset that the zone has then.
    SYSTEMTIME shifted = {};
    const bool converted = SystemTimeToTzSpecificLocalTime(&zone, &from, &shifted) != FALSE;
    SetTicks(*utc, Ticks(from) - (Ticks(shifted) - Ticks(from)));
    return converted ? ZEL_OK : ZEL_E_FAIL;
}

std::uint32_t CTimeConverter::UtcToLocal(const SYSTEMTIME* utc, SYSTEMTIME* local, ZoneInformation* info) const
{
    if (!IsReadable(utc) || !IsReadable(local) || !IsReadable(info))
        return ZEL_E_POINTER;
    *info = {kUnknown, 0, 0};
    TIME_ZONE_INFORMATION zone = {};
    if (!GetZone(zone))
        return ZEL_E_TIME_ZONE;

    const SYSTEMTIME from = *utc;
    if (IsNoDate(from))
    {
        *local = from;
        *info = Describe(zone, kNoDaylightRules);
        return ZEL_OK;
    }
    if (!SystemTimeToTzSpecificLocalTime(&zone, &from, local))
        return ZEL_E_FAIL;
    const std::uint32_t state = GetZoneState(&zone, local);
    *info = Describe(zone, state);
    if (state == kNoDaylightRules)
        *local = from;
    return ZEL_OK;
}

#pragma once

#include "message/Platform.h"

#include <cstdint>

/// How a local time relates to UTC.
struct ZoneInformation
{
    std::int32_t state;         ///< One of CTimeConverter::ZoneState.
    std::int32_t base_offset;   ///< Local time minus UTC, in minutes, without the extra offset.
    std::int32_t extra_offset;  ///< Minutes that standard or daylight time add.
};

/// Converts between local time and UTC by the rules of the system's time zone. Keeps no state.
///
/// Each operation returns 0, or ZEL_E_FAIL, ZEL_E_POINTER, ZEL_E_ARGUMENT, ZEL_E_TIME_ZONE.
class CTimeConverter
{
  public:
    enum ZoneState : std::int32_t
    {
        kUnknown = -1,
        kNoDaylightRules = 0,
        kStandard = 1,
        kDaylight = 2,
    };

    /// In a zone without daylight rules the time is handed on unchanged, in both directions; so is one of zeros in any
    /// zone, which stands for no date.
    std::uint32_t LocalToUtc(const SYSTEMTIME* local, SYSTEMTIME* utc, ZoneInformation* zone) const;
    std::uint32_t UtcToLocal(const SYSTEMTIME* utc, SYSTEMTIME* local, ZoneInformation* zone) const;

    static bool IsLeapYear(std::uint32_t year);
    /// Days of the year before a month, 1 to 12.
    static std::uint32_t DaysBeforeMonth(std::uint32_t year, std::uint32_t month);
    /// Days of a month, 1 to 12. In a leap year the months from March on count one day more, and February does not:
    /// phones and applications have agreed on transition dates computed this way.
    static std::uint32_t DaysInMonth(std::uint32_t year, std::uint32_t month);
    /// Day of the week of a month's first day, 0 for Sunday; for the years 1901 to 2099.
    static std::uint32_t FirstWeekdayOfMonth(std::uint32_t year, std::uint32_t month);
    /// The date in a year of a rule "the n-th such weekday of the month".
    static std::uint32_t TransitionDate(const SYSTEMTIME* rule, std::uint32_t year, SYSTEMTIME* date);
    /// 0 for equal times, -1 (0xFFFFFFFF) if `a` is earlier, 1 if it is later. A date that does not exist is time 0.
    static std::uint32_t CompareTimes(const SYSTEMTIME* a, const SYSTEMTIME* b);
    /// The ZoneState at a time; ZEL_E_FAIL for a null or unreadable pointer.
    static std::uint32_t GetZoneState(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* time);
};

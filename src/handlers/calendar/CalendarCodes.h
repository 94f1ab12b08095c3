#pragma once

#include <cstdint>
#include <span>

/// A number that applications and phones write differently.
struct CalendarCode
{
    std::uint16_t api;
    std::uint16_t wire;
};

inline constexpr CalendarCode kCalendarEntryKinds[] = {{1, 0}, {2, 1}, {3, 2}};
inline constexpr CalendarCode kCalendarKindCodes[] = {{3, 0x0004}, {4, 0x0008}, {5, 0x0200}};
/// On the wire in hours, and two codes. A fortnight reads like a week, and is written as one.
inline constexpr CalendarCode kCalendarIntervals[] = {{4, 24}, {3, 168}, {3, 336}, {2, 0xFFFE}, {1, 0xFFFF}};
inline constexpr CalendarCode kCalendarAlarms[] = {{5, 0x10}, {3, 0x20}, {1, 0x30}};

/// A value that is not in the table stays as it is, in both directions; the first match counts.
constexpr std::uint16_t CalendarToWire(std::span<const CalendarCode> codes, std::uint16_t api)
{
    for (const CalendarCode& code : codes)
        if (code.api == api)
            return code.wire;
    return api;
}

constexpr std::uint16_t CalendarFromWire(std::span<const CalendarCode> codes, std::uint16_t wire)
{
    for (const CalendarCode& code : codes)
        if (code.wire == wire)
            return code.api;
    return wire;
}

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zelctl
{

/// A date and time of day without a zone.
struct DateTime
{
    std::uint16_t year;
    std::uint8_t month;
    std::uint8_t day;
    std::uint8_t hour;
    std::uint8_t minute;
    std::uint8_t second;
};

/// "YYYY-MM-DD HH:MM:SS"; throws CUsageError for anything else, and for a date that does not exist.
DateTime ParseDateTime(std::string_view text);

/// The reverse; shows what a phone says, sensible or not.
std::string FormatDateTime(const DateTime& time);

/// The local time of this computer.
DateTime LocalNow();

/// Whether every field is in its range, and the month has such a day.
bool IsValid(const DateTime& time);

/// From `start` to `end`. REQUIRES: both valid.
std::int64_t SecondsBetween(const DateTime& start, const DateTime& end);

}  // namespace zelctl

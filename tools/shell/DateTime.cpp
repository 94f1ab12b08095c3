#include "shell/DateTime.h"

#include "shell/Failure.h"

#include <windows.h>

#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>

namespace zelctl
{
namespace
{

/// In the form, 0 stands for a digit.
constexpr std::string_view kForm = "0000-00-00 00:00:00";

bool HasForm(std::string_view text)
{
    if (text.size() != kForm.size())
        return false;
    for (std::size_t at = 0; at < kForm.size(); ++at)
    {
        const bool isDigit = text[at] >= '0' && text[at] <= '9';
        if (kForm[at] == '0' ? !isDigit : text[at] != kForm[at])
            return false;
    }
    return true;
}

template <typename Number>
Number Digits(std::string_view text, std::size_t start, std::size_t length)
{
    Number number = 0;
    std::from_chars(text.data() + start, text.data() + start + length, number);
    return number;
}

std::chrono::year_month_day DateOf(const DateTime& time)
{
    return {std::chrono::year(time.year), std::chrono::month(time.month), std::chrono::day(time.day)};
}

std::chrono::sys_seconds PointOf(const DateTime& time)
{
    return std::chrono::sys_days(DateOf(time)) + std::chrono::hours(time.hour) + std::chrono::minutes(time.minute) +
           std::chrono::seconds(time.second);
}

}  // namespace

DateTime ParseDateTime(std::string_view text)
{
    const std::string quoted = "\"" + std::string(text) + "\"";
    if (!HasForm(text))
        throw CUsageError(quoted + " is not a date and time of the form \"YYYY-MM-DD HH:MM:SS\"");
    const DateTime time = {Digits<std::uint16_t>(text, 0, 4), Digits<std::uint8_t>(text, 5, 2),
                           Digits<std::uint8_t>(text, 8, 2),  Digits<std::uint8_t>(text, 11, 2),
                           Digits<std::uint8_t>(text, 14, 2), Digits<std::uint8_t>(text, 17, 2)};
    if (!IsValid(time))
        throw CUsageError("there is no such date and time: " + quoted);
    return time;
}

std::string FormatDateTime(const DateTime& time)
{
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%04u-%02u-%02u %02u:%02u:%02u", unsigned{time.year}, unsigned{time.month},
                  unsigned{time.day}, unsigned{time.hour}, unsigned{time.minute}, unsigned{time.second});
    return text.data();
}

DateTime LocalNow()
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    return {now.wYear,
            static_cast<std::uint8_t>(now.wMonth),
            static_cast<std::uint8_t>(now.wDay),
            static_cast<std::uint8_t>(now.wHour),
            static_cast<std::uint8_t>(now.wMinute),
            static_cast<std::uint8_t>(now.wSecond)};
}

bool IsValid(const DateTime& time)
{
    return DateOf(time).ok() && time.hour < 24 && time.minute < 60 && time.second < 60;
}

std::int64_t SecondsBetween(const DateTime& start, const DateTime& end)
{
    return (PointOf(end) - PointOf(start)).count();
}

}  // namespace zelctl

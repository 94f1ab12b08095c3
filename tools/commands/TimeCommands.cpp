#include "commands/TimeCommands.h"

#include "shell/DateTime.h"
#include "shell/Failure.h"

#include <array>
#include <cstring>
#include <zelapi/time.h>

namespace zelctl
{
namespace
{

/// The first leading byte of a time has no known meaning; phones send this one.
constexpr std::uint8_t kLead0 = 1;

/// What the record holds where the phone writes nothing; no phone writes it as year and leading byte at once, because a
/// leading byte other than ZEL_TIME_VALID comes with the year 0.
constexpr int kUntouched = 0xFF;

TimeNow ReadClock(CConnection& phone)
{
    TimeRecord record;
    std::memset(&record, kUntouched, sizeof record);
    record.now.value_4 = 0;
    phone.Send("reading the clock", ZEL_TIME_READ, record);
    if (record.now.lead_1 == kUntouched && record.now.year != 0)
        throw CFailure("reading the clock", std::nullopt, {"The phone did not tell the time.", ""});
    return record.now;
}

DateTime TimeOf(const TimeNow& now)
{
    return {now.year, now.month, now.day, now.hour, now.minute, now.second};
}

void ShowTime(CContext& context)
{
    const TimeNow now = ReadClock(context.Phone());
    const bool isValid = now.lead_1 == ZEL_TIME_VALID;
    const std::array<std::uint8_t, 2> leading = {now.lead_0, now.lead_1};
    context.output.Show({{"time", isValid ? Value(FormatDateTime(TimeOf(now))) : Value(nullptr)},
                         {"valid", isValid},
                         {"leading_bytes", HexBytes(leading)},
                         {"value_4", now.value_4}});
}

TimeRecord RecordOf(const DateTime& time)
{
    TimeRecord record = {};
    record.set.lead_0 = kLead0;
    record.set.lead_1 = ZEL_TIME_VALID;
    record.set.year = time.year;
    record.set.month = time.month;
    record.set.day = time.day;
    record.set.hour = time.hour;
    record.set.minute = time.minute;
    record.set.second = time.second;
    return record;
}

/// The result of the request does not tell whether the phone took the time, but its clock does.
void CheckClock(const DateTime& wanted, const TimeNow& now)
{
    constexpr std::int64_t kToleranceSeconds = 60;
    const DateTime shown = TimeOf(now);
    const bool isValid = now.lead_1 == ZEL_TIME_VALID && IsValid(shown);
    const std::int64_t late = isValid ? SecondsBetween(wanted, shown) : -1;
    if (late < 0 || late > kToleranceSeconds)
        throw CFailure("setting the clock", std::nullopt,
                       {"The phone did not take the time; its clock says " +
                            (isValid ? FormatDateTime(shown) : "no valid time") + ".",
                        ""});
}

void SetTime(CContext& context)
{
    const std::string& text = context.arguments.Text(0);
    const bool toNow = text == "now";
    DateTime wanted = toNow ? DateTime{} : ParseDateTime(text);
    CConnection& phone = context.Phone();
    if (toNow)
        wanted = LocalNow();
    TimeRecord record = RecordOf(wanted);
    phone.Send("setting the clock", ZEL_TIME_SET, record);
    const TimeNow now = ReadClock(phone);
    CheckClock(wanted, now);
    context.output.Show({{"set_to", FormatDateTime(wanted)}, {"phone_says", FormatDateTime(TimeOf(now))}});
}

void ShowSettings(CContext& context)
{
    TimeRecord record = {};
    context.Phone().Send("reading the clock settings", ZEL_TIME_READ_SETTINGS, record);
    const TimeSettings& settings = record.settings;
    context.output.Show({{"setting_10", Value::array({settings.setting_10_first, settings.setting_10_second})},
                         {"setting_11", Value::array({settings.setting_11_first, settings.setting_11_second})}});
}

constexpr Command kCommands[] = {
    {"time", "", "shows the phone's clock", "", kNoOptions, ShowTime},
    {"time set", "TIME", "sets the clock and reads it back",
     "TIME is \"YYYY-MM-DD HH:MM:SS\", or \"now\" for the local time of this computer.", kNoOptions, SetTime},
    {"time settings", "", "shows the clock settings 10 and 11", "Since version 16 of the service.", kNoOptions,
     ShowSettings},
};

}  // namespace

const Module kTimeModule = {0x19, kCommands, {}, nullptr};

}  // namespace zelctl

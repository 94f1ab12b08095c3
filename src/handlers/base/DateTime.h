#pragma once

#include "handlers/base/TimeConverter.h"
#include "message/MsgBase.h"

// Dates and times of records, as SYSTEMTIME, and on the wire.

/// Converts by the rules of the PC's time zone, and stores time and zone where they can be stored. The result is that
/// of the conversion; one that fails gives what the converter leaves: as a rule all zeros.
std::uint32_t LocalToUtc(const SYSTEMTIME& local, SYSTEMTIME* utc, ZoneInformation* zone = nullptr);
std::uint32_t UtcToLocal(const SYSTEMTIME& utc, SYSTEMTIME* local, ZoneInformation* zone = nullptr);

/// Year in two bytes; month, day, hour and minute in one each. Nothing else is set.
SYSTEMTIME ReadTimeToMinute(CMsgBase& from);
void AppendTimeToMinute(CMsgBase& to, const SYSTEMTIME& time);

/// The same with the second behind it.
SYSTEMTIME ReadTimeToSecond(CMsgBase& from);
void AppendTimeToSecond(CMsgBase& to, const SYSTEMTIME& time);

/// The time in a record's fields year, month, day, hour, minute and second.
template <typename Fields>
SYSTEMTIME TimeIn(const Fields& fields)
{
    SYSTEMTIME time = {};
    time.wYear = fields.year;
    time.wMonth = fields.month;
    time.wDay = fields.day;
    time.wHour = fields.hour;
    time.wMinute = fields.minute;
    time.wSecond = fields.second;
    return time;
}

template <typename Fields>
void StoreTime(const SYSTEMTIME& time, Fields& fields)
{
    fields.year = time.wYear;
    fields.month = static_cast<std::uint8_t>(time.wMonth);
    fields.day = static_cast<std::uint8_t>(time.wDay);
    fields.hour = static_cast<std::uint8_t>(time.wHour);
    fields.minute = static_cast<std::uint8_t>(time.wMinute);
    fields.second = static_cast<std::uint8_t>(time.wSecond);
}

/// Stores what a zone says about a time in a record's fields base_offset and extra_offset.
template <typename Fields>
void StoreOffsets(const ZoneInformation& zone, Fields& fields)
{
    fields.base_offset = zone.base_offset;
    fields.extra_offset = zone.extra_offset;
}

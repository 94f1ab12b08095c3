#pragma once

#include "handlers/base/CallersData.h"
#include "handlers/base/RecordArray.h"
#include "message/MsgBase.h"
#include "zelapi/calendar.h"

#include <cstdint>
#include <initializer_list>
#include <span>

/// The statuses of a success: done, and "this is the last part".
inline constexpr std::uint8_t kCalendarDone = 0;
inline constexpr std::uint8_t kCalendarLastPart = 7;
inline constexpr std::initializer_list<std::uint8_t> kCalendarSuccesses = {kCalendarDone, kCalendarLastPart};

/// A number that applications and phones write differently.
struct CalendarCode
{
    std::uint16_t api;
    std::uint16_t wire;
};

inline constexpr CalendarCode kCalendarEntryKinds[] = {{1, 0}, {2, 1}, {3, 2}};
inline constexpr CalendarCode kCalendarKindCodes[] = {{3, 0x0004}, {4, 0x0008}, {5, 0x0200}};

/// A value that is not in the table stays as it is, in both directions; the first match counts.
std::uint16_t CalendarToWire(std::span<const CalendarCode> codes, std::uint16_t api);
std::uint16_t CalendarFromWire(std::span<const CalendarCode> codes, std::uint16_t wire);

/// What a field's value is.
enum class CalendarFieldType : std::uint8_t
{
    kNone,          ///< Ids that the library does not know: written without a value, dropped when read.
    kNumber,        ///< u32
    kText,          ///< u16 length, UTF-16 units
    kOptionalText,  ///< The same; when empty it has no BSTR, and is written without a value.
    kDate,          ///< Local time in the record, UTC on the wire.
};

CalendarFieldType CalendarFieldTypeOf(std::uint16_t id);

/// The last field with this id; null if there is none.
const CalendarField* FindCalendarField(std::span<const CalendarField> fields, std::uint16_t id);
/// The number of the last field with this id, 0 if there is none.
std::uint32_t CalendarNumberOf(std::span<const CalendarField> fields, std::uint16_t id);

/// Stores a date of the phone as local time, with the offsets of the zone. What cannot be converted becomes all zeros.
void SetCalendarDate(CalendarField& field, const SYSTEMTIME& phoneTime);
/// A field's date as the phone wants it.
SYSTEMTIME CalendarDateForPhone(const CalendarField& field);

void FreeCalendarField(const CalendarField& field);
/// The fields of an entry while it is being read.
using CCalendarFields = CRecordArray<CalendarField, FreeCalendarField>;

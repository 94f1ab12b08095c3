#pragma once

#include "handlers/base/Owners.h"
#include "message/MsgBase.h"
#include "zelapi/calendar.h"

#include <cstdint>
#include <span>

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

/// The units of a field's text; empty for a null or unreadable one.
std::span<const OLECHAR> CalendarTextOf(const CalendarField& field);

/// Reads year, month, day, hour and minute, with nothing else set.
SYSTEMTIME ReadCalendarTime(CMsgBase& from);
/// Appends year, month, day, hour and minute.
void AppendCalendarTime(CMsgBase& to, const SYSTEMTIME& time);

/// Stores a date of the phone as local time, with the offsets of the zone. What cannot be converted becomes all zeros.
void SetCalendarDate(CalendarField& field, const SYSTEMTIME& phoneTime);
/// A field's date as the phone wants it.
SYSTEMTIME CalendarDateForPhone(const CalendarField& field);

/// Owns the fields of an entry, and their texts, while it is being read.
class CCalendarFields
{
  public:
    /// `count` empty fields, and room for `spare` more. Throws CAtlException (E_OUTOFMEMORY).
    CCalendarFields(std::uint32_t count, std::uint32_t spare);
    CCalendarFields(const CCalendarFields&) = delete;
    CCalendarFields& operator=(const CCalendarFields&) = delete;
    ~CCalendarFields();

    std::span<CalendarField> Fields() { return {m_fields.get(), m_count}; }

    /// One more field. REQUIRES: room for it.
    CalendarField& Append(std::uint16_t id);
    void AppendNumber(std::uint16_t id, std::uint32_t number) { Append(id).value.number = number; }

    /// Hands everything over to the caller of the request.
    void ReleaseInto(CalendarEntryRecord& record);

  private:
    CTaskMemOwner<CalendarField> m_fields;
    std::uint32_t m_count;
};

#include "handlers/calendar/CalendarFields.h"

#include "handlers/base/TimeConverter.h"

#include <algorithm>
#include <iterator>

namespace
{

struct FieldType
{
    std::uint16_t id;
    CalendarFieldType type;
};

/// Every field that the library reads and writes.
constexpr FieldType kFieldTypes[] = {
    {ZEL_CALENDAR_LOCATION, CalendarFieldType::kNumber},     {ZEL_CALENDAR_ENTRY_KIND, CalendarFieldType::kNumber},
    {ZEL_CALENDAR_KIND_CODE, CalendarFieldType::kNumber},    {ZEL_CALENDAR_NUMBER_4, CalendarFieldType::kNumber},
    {ZEL_CALENDAR_NUMBER_5, CalendarFieldType::kNumber},     {ZEL_CALENDAR_INTERVAL, CalendarFieldType::kNumber},
    {ZEL_CALENDAR_ALARM, CalendarFieldType::kNumber},        {ZEL_CALENDAR_NUMBER_9, CalendarFieldType::kNumber},
    {ZEL_CALENDAR_NUMBER_10, CalendarFieldType::kNumber},    {ZEL_CALENDAR_NUMBER_11, CalendarFieldType::kNumber},
    {ZEL_CALENDAR_NUMBER_12, CalendarFieldType::kNumber},    {ZEL_CALENDAR_TEXT_1, CalendarFieldType::kText},
    {ZEL_CALENDAR_TEXT_2, CalendarFieldType::kOptionalText}, {ZEL_CALENDAR_TEXT_3, CalendarFieldType::kText},
    {ZEL_CALENDAR_TEXT_4, CalendarFieldType::kText},         {ZEL_CALENDAR_DATE_1, CalendarFieldType::kDate},
    {ZEL_CALENDAR_DATE_2, CalendarFieldType::kDate},         {ZEL_CALENDAR_DATE_3, CalendarFieldType::kDate},
    {ZEL_CALENDAR_DATE_4, CalendarFieldType::kDate},         {ZEL_CALENDAR_DATE_5, CalendarFieldType::kDate},
};

bool HoldsText(const CalendarField& field)
{
    const CalendarFieldType type = CalendarFieldTypeOf(field.id);
    return type == CalendarFieldType::kText || type == CalendarFieldType::kOptionalText;
}

}  // namespace

CalendarFieldType CalendarFieldTypeOf(std::uint16_t id)
{
    const auto* known = std::ranges::find(kFieldTypes, id, &FieldType::id);
    return known == std::end(kFieldTypes) ? CalendarFieldType::kNone : known->type;
}

const CalendarField* FindCalendarField(std::span<const CalendarField> fields, std::uint16_t id)
{
    const auto found = std::find_if(fields.rbegin(), fields.rend(), [id](const auto& field) { return field.id == id; });
    return found == fields.rend() ? nullptr : &*found;
}

std::uint32_t CalendarNumberOf(std::span<const CalendarField> fields, std::uint16_t id)
{
    const CalendarField* field = FindCalendarField(fields, id);
    return field == nullptr ? 0 : field->value.number;
}

std::span<const OLECHAR> CalendarTextOf(const CalendarField& field)
{
    if (!IsReadable(field.value.text))
        return {};
    return {field.value.text, SysStringLen(field.value.text)};
}

SYSTEMTIME ReadCalendarTime(CMsgBase& from)
{
    SYSTEMTIME time = {};
    time.wYear = from.ReadWord();
    time.wMonth = from.ReadByte();
    time.wDay = from.ReadByte();
    time.wHour = from.ReadByte();
    time.wMinute = from.ReadByte();
    return time;
}

void AppendCalendarTime(CMsgBase& to, const SYSTEMTIME& time)
{
    to.AppendWord(time.wYear);
    to.AppendByte(static_cast<std::uint8_t>(time.wMonth));
    to.AppendByte(static_cast<std::uint8_t>(time.wDay));
    to.AppendByte(static_cast<std::uint8_t>(time.wHour));
    to.AppendByte(static_cast<std::uint8_t>(time.wMinute));
}

void SetCalendarDate(CalendarField& field, const SYSTEMTIME& phoneTime)
{
    SYSTEMTIME local = {};
    ZoneInformation zone = {};
    CTimeConverter().UtcToLocal(&phoneTime, &local, &zone);
    CalendarDate& date = field.value.date;
    date.year = local.wYear;
    date.month = static_cast<std::uint8_t>(local.wMonth);
    date.day = static_cast<std::uint8_t>(local.wDay);
    date.hour = static_cast<std::uint8_t>(local.wHour);
    date.minute = static_cast<std::uint8_t>(local.wMinute);
    date.second = static_cast<std::uint8_t>(local.wSecond);
    field.base_offset = zone.base_offset;
    field.extra_offset = zone.extra_offset;
}

SYSTEMTIME CalendarDateForPhone(const CalendarField& field)
{
    const CalendarDate& date = field.value.date;
    SYSTEMTIME local = {};
    local.wYear = date.year;
    local.wMonth = date.month;
    local.wDay = date.day;
    local.wHour = date.hour;
    local.wMinute = date.minute;
    local.wSecond = date.second;
    SYSTEMTIME phoneTime = {};
    ZoneInformation zone = {};
    CTimeConverter().LocalToUtc(&local, &phoneTime, &zone);
    return phoneTime;
}

CCalendarFields::CCalendarFields(std::uint32_t count, std::uint32_t spare)
    : m_fields(AllocateRecords<CalendarField>(std::size_t{count} + spare)), m_count(count)
{
}

CCalendarFields::~CCalendarFields()
{
    if (!m_fields)
        return;
    for (const CalendarField& field : Fields())
        if (HoldsText(field))
            SysFreeString(field.value.text);
}

CalendarField& CCalendarFields::Append(std::uint16_t id)
{
    CalendarField& field = m_fields.get()[m_count++];
    field.id = id;
    return field;
}

void CCalendarFields::ReleaseInto(CalendarEntryRecord& record)
{
    record.count = static_cast<std::int32_t>(m_count);
    record.fields = m_fields.release();
}

#include "handlers/calendar/CalendarFields.h"

#include "handlers/base/DateTime.h"

#include <algorithm>

namespace
{

/// The one id among those of the numbers that is none.
constexpr std::uint16_t kNoNumber = 0x0106;

}  // namespace

std::uint16_t CalendarToWire(std::span<const CalendarCode> codes, std::uint16_t api)
{
    const auto code = std::ranges::find(codes, api, &CalendarCode::api);
    return code == codes.end() ? api : code->wire;
}

std::uint16_t CalendarFromWire(std::span<const CalendarCode> codes, std::uint16_t wire)
{
    const auto code = std::ranges::find(codes, wire, &CalendarCode::wire);
    return code == codes.end() ? wire : code->api;
}

CalendarFieldType CalendarFieldTypeOf(std::uint16_t id)
{
    const auto isWithin = [id](unsigned first, unsigned last) { return id >= first && id <= last; };
    if (isWithin(ZEL_CALENDAR_LOCATION, ZEL_CALENDAR_NUMBER_12) && id != kNoNumber)
        return CalendarFieldType::kNumber;
    if (id == ZEL_CALENDAR_TEXT_2)
        return CalendarFieldType::kOptionalText;
    if (isWithin(ZEL_CALENDAR_TEXT_1, ZEL_CALENDAR_TEXT_4))
        return CalendarFieldType::kText;
    if (isWithin(ZEL_CALENDAR_DATE_1, ZEL_CALENDAR_DATE_5))
        return CalendarFieldType::kDate;
    return CalendarFieldType::kNone;
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

void SetCalendarDate(CalendarField& field, const SYSTEMTIME& phoneTime)
{
    SYSTEMTIME local = {};
    ZoneInformation zone = {};
    UtcToLocal(phoneTime, &local, &zone);
    StoreTime(local, field.value.date);
    StoreOffsets(zone, field);
}

SYSTEMTIME CalendarDateForPhone(const CalendarField& field)
{
    SYSTEMTIME phoneTime = {};
    LocalToUtc(TimeIn(field.value.date), &phoneTime);
    return phoneTime;
}

void FreeCalendarField(const CalendarField& field)
{
    const CalendarFieldType type = CalendarFieldTypeOf(field.id);
    if (type == CalendarFieldType::kText || type == CalendarFieldType::kOptionalText)
        SysFreeString(field.value.text);
}

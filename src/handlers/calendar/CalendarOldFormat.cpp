#include "handlers/calendar/CalendarOldFormat.h"

#include "handlers/calendar/CalendarCodes.h"
#include "handlers/calendar/CalendarFields.h"

#include <algorithm>

namespace
{

constexpr std::uint32_t kAlwaysRead = 9;
constexpr std::uint32_t kReadUnlessZero = 3;

constexpr std::size_t kMaxLongText = 0xFFFF;
constexpr std::size_t kMaxShortText = 0xFF;

void AppendNumberUnlessZero(CCalendarFields& fields, std::uint16_t id, std::uint32_t number)
{
    if (number != 0)
        fields.AppendNumber(id, number);
}

std::uint16_t WordOf(std::span<const CalendarField> fields, std::uint16_t id)
{
    return static_cast<std::uint16_t>(CalendarNumberOf(fields, id));
}

std::uint8_t ByteOf(std::span<const CalendarField> fields, std::uint16_t id)
{
    return static_cast<std::uint8_t>(CalendarNumberOf(fields, id));
}

void AppendDate(CMessage& request, std::span<const CalendarField> fields, std::uint16_t id)
{
    const CalendarField* field = FindCalendarField(fields, id);
    AppendCalendarTime(request, field == nullptr ? SYSTEMTIME{} : CalendarDateForPhone(*field));
}

/// A text as far as its length can be told.
std::span<const OLECHAR> TextOf(std::span<const CalendarField> fields, std::uint16_t id, std::size_t limit)
{
    const CalendarField* field = FindCalendarField(fields, id);
    if (field == nullptr)
        return {};
    const auto text = CalendarTextOf(*field);
    return text.first(std::min(text.size(), limit));
}

void AppendUnits(CMessage& request, std::span<const OLECHAR> text)
{
    const auto length = static_cast<std::int32_t>(text.size());
    request.AppendStringN(text.data(), length, length, false);
}

void AppendTexts(CMessage& request, std::span<const CalendarField> fields)
{
    const auto first = TextOf(fields, ZEL_CALENDAR_TEXT_1, kMaxLongText);
    const auto second = TextOf(fields, ZEL_CALENDAR_TEXT_2, kMaxLongText);
    auto third = TextOf(fields, ZEL_CALENDAR_TEXT_3, kMaxShortText);
    if (third.empty())
        third = TextOf(fields, ZEL_CALENDAR_TEXT_4, kMaxShortText);

    request.AppendWord(static_cast<std::uint16_t>(first.size()));
    request.AppendWord(static_cast<std::uint16_t>(second.size()));
    request.AppendByte(static_cast<std::uint8_t>(third.size()));
    request.AppendByte(0);
    request.AppendWord(0);
    AppendUnits(request, first);
    AppendUnits(request, second);
    AppendUnits(request, third);
}

}  // namespace

void ReadOldCalendarEntry(CMessage& reply, CalendarEntryRecord& record)
{
    const std::uint16_t kind = CalendarFromWire(kCalendarEntryKinds, reply.ReadByte());
    reply.Skip(4);
    const std::uint32_t location = reply.ReadDword();
    reply.Skip(8);
    const std::uint32_t number5 = reply.ReadDword();
    const std::uint16_t kindCode = CalendarFromWire(kCalendarKindCodes, reply.ReadWord());
    const SYSTEMTIME date1 = ReadCalendarTime(reply);
    const SYSTEMTIME date2 = ReadCalendarTime(reply);
    const std::uint16_t interval = CalendarFromWire(kCalendarIntervals, reply.ReadWord());
    const std::uint16_t number9 = reply.ReadWord();
    const std::uint16_t alarm = CalendarFromWire(kCalendarAlarms, reply.ReadByte());
    reply.Skip(3);
    const std::uint16_t number4 = reply.ReadWord();
    const std::uint16_t number11 = reply.ReadWord();
    const std::uint8_t number12 = reply.ReadByte();

    CCalendarFields fields(0, kAlwaysRead + kReadUnlessZero);
    fields.AppendNumber(ZEL_CALENDAR_LOCATION, location);
    fields.AppendNumber(ZEL_CALENDAR_ENTRY_KIND, kind);
    if (kind != ZEL_CALENDAR_ENTRY_KIND_3)
        fields.AppendNumber(ZEL_CALENDAR_KIND_CODE, kindCode);
    fields.AppendNumber(ZEL_CALENDAR_INTERVAL, interval);
    fields.AppendNumber(ZEL_CALENDAR_ALARM, alarm);
    fields.AppendNumber(ZEL_CALENDAR_NUMBER_5, number5);
    fields.AppendNumber(ZEL_CALENDAR_NUMBER_9, number9);
    SetCalendarDate(fields.Append(ZEL_CALENDAR_DATE_1), date1);
    SetCalendarDate(fields.Append(ZEL_CALENDAR_DATE_2), date2);
    AppendNumberUnlessZero(fields, ZEL_CALENDAR_NUMBER_4, number4);
    AppendNumberUnlessZero(fields, ZEL_CALENDAR_NUMBER_11, number11);
    AppendNumberUnlessZero(fields, ZEL_CALENDAR_NUMBER_12, number12);
    fields.ReleaseInto(record);
}

void AppendOldCalendarEntry(CMessage& request, std::uint8_t kind, std::uint32_t location,
                            std::span<const CalendarField> fields)
{
    request.AppendByte(kind);
    request.AppendByte(0);
    request.AppendDword(location);
    request.AppendDword(0);
    request.AppendDword(0xFFFFFFFF);
    request.AppendDword(0);
    request.AppendDword(0xFFFFFFFF);
    request.AppendDword(CalendarNumberOf(fields, ZEL_CALENDAR_NUMBER_5));
    request.AppendWord(CalendarToWire(kCalendarKindCodes, WordOf(fields, ZEL_CALENDAR_KIND_CODE)));
    AppendDate(request, fields, ZEL_CALENDAR_DATE_1);
    AppendDate(request, fields, ZEL_CALENDAR_DATE_2);
    request.AppendWord(CalendarToWire(kCalendarIntervals, WordOf(fields, ZEL_CALENDAR_INTERVAL)));
    request.AppendWord(WordOf(fields, ZEL_CALENDAR_NUMBER_9));
    request.AppendByte(static_cast<std::uint8_t>(CalendarToWire(kCalendarAlarms, ByteOf(fields, ZEL_CALENDAR_ALARM))));
    request.AppendByte(0);
    request.AppendWord(0);
    request.AppendWord(WordOf(fields, ZEL_CALENDAR_NUMBER_4));
    request.AppendWord(WordOf(fields, ZEL_CALENDAR_NUMBER_11));
    request.AppendByte(ByteOf(fields, ZEL_CALENDAR_NUMBER_12));
    request.AppendByte(0);
    AppendTexts(request, fields);
}

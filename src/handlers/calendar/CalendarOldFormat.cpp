#include "handlers/calendar/CalendarOldFormat.h"

#include "handlers/base/DateTime.h"
#include "handlers/calendar/CalendarFields.h"

namespace
{

/// On the wire in hours, and two codes. A fortnight reads like a week, and is written as one.
constexpr CalendarCode kIntervals[] = {{4, 24}, {3, 168}, {3, 336}, {2, 0xFFFE}, {1, 0xFFFF}};
constexpr CalendarCode kAlarms[] = {{5, 0x10}, {3, 0x20}, {1, 0x30}};
constexpr std::span<const CalendarCode> kAsItIs = {};

constexpr std::size_t kMaxLongText = 0xFFFF;
constexpr std::size_t kMaxShortText = 0xFF;

void AddNumber(CCalendarFields& fields, std::uint16_t id, std::uint32_t number)
{
    CalendarField& field = fields.Append();
    field.id = id;
    field.value.number = number;
}

void AddNumberUnlessZero(CCalendarFields& fields, std::uint16_t id, std::uint32_t number)
{
    if (number != 0)
        AddNumber(fields, id, number);
}

void AddDate(CCalendarFields& fields, std::uint16_t id, const SYSTEMTIME& phoneTime)
{
    CalendarField& field = fields.Append();
    field.id = id;
    SetCalendarDate(field, phoneTime);
}

std::uint16_t WordOf(std::span<const CalendarField> fields, std::uint16_t id,
                     std::span<const CalendarCode> codes = kAsItIs)
{
    return CalendarToWire(codes, static_cast<std::uint16_t>(CalendarNumberOf(fields, id)));
}

std::uint8_t ByteOf(std::span<const CalendarField> fields, std::uint16_t id,
                    std::span<const CalendarCode> codes = kAsItIs)
{
    const auto number = static_cast<std::uint8_t>(CalendarNumberOf(fields, id));
    return static_cast<std::uint8_t>(CalendarToWire(codes, number));
}

SYSTEMTIME DateOf(std::span<const CalendarField> fields, std::uint16_t id)
{
    const CalendarField* field = FindCalendarField(fields, id);
    return field == nullptr ? SYSTEMTIME{} : CalendarDateForPhone(*field);
}

/// A text as far as its length can be told.
CTextView TextWithin(std::span<const CalendarField> fields, std::uint16_t id, std::size_t limit)
{
    const CalendarField* field = FindCalendarField(fields, id);
    return field == nullptr ? CTextView() : TextOf(field->value.text).substr(0, limit);
}

void AppendTexts(CMessage& message, std::span<const CalendarField> fields)
{
    const CTextView first = TextWithin(fields, ZEL_CALENDAR_TEXT_1, kMaxLongText);
    const CTextView second = TextWithin(fields, ZEL_CALENDAR_TEXT_2, kMaxLongText);
    CTextView third = TextWithin(fields, ZEL_CALENDAR_TEXT_3, kMaxShortText);
    if (third.empty())
        third = TextWithin(fields, ZEL_CALENDAR_TEXT_4, kMaxShortText);

    message.AppendWord(static_cast<std::uint16_t>(first.size()));
    message.AppendWord(static_cast<std::uint16_t>(second.size()));
    message.AppendBytes({static_cast<std::uint8_t>(third.size()), 0, 0, 0});
    AppendText(message, first);
    AppendText(message, second);
    AppendText(message, third);
}

constexpr Exchange kRead = {.request = 0x7D, .reply = 0x7E};
constexpr Exchange kWrite = {.request = 0x65, .reply = 0x66};

}  // namespace

void ReadOldCalendarEntry(const CConversation& phone, CalendarEntryRecord& record)
{
    CMessage message = phone.Request(kRead);
    message.AppendWord(0);
    message.AppendDword(record.location);
    message.AppendBytes({0xFF, 0xFF, 0xFF, 0xFF});

    phone.Ask(message, kRead);
    phone.RequireStatus(message, kCalendarSuccesses);
    const std::uint16_t kind = CalendarFromWire(kCalendarEntryKinds, message.ReadByte());
    message.Skip(4);
    const std::uint32_t location = message.ReadDword();
    message.Skip(8);
    const std::uint32_t number5 = message.ReadDword();
    const std::uint16_t kindCode = CalendarFromWire(kCalendarKindCodes, message.ReadWord());
    const SYSTEMTIME date1 = ReadTimeToMinute(message);
    const SYSTEMTIME date2 = ReadTimeToMinute(message);
    const std::uint16_t interval = CalendarFromWire(kIntervals, message.ReadWord());
    const std::uint16_t number9 = message.ReadWord();
    const std::uint16_t alarm = CalendarFromWire(kAlarms, message.ReadByte());
    message.Skip(3);
    const std::uint16_t number4 = message.ReadWord();
    const std::uint16_t number11 = message.ReadWord();
    const std::uint8_t number12 = message.ReadByte();

    CCalendarFields fields;
    AddNumber(fields, ZEL_CALENDAR_LOCATION, location);
    AddNumber(fields, ZEL_CALENDAR_ENTRY_KIND, kind);
    if (kind != ZEL_CALENDAR_ENTRY_KIND_3)
        AddNumber(fields, ZEL_CALENDAR_KIND_CODE, kindCode);
    AddNumber(fields, ZEL_CALENDAR_INTERVAL, interval);
    AddNumber(fields, ZEL_CALENDAR_ALARM, alarm);
    AddNumber(fields, ZEL_CALENDAR_NUMBER_5, number5);
    AddNumber(fields, ZEL_CALENDAR_NUMBER_9, number9);
    AddDate(fields, ZEL_CALENDAR_DATE_1, date1);
    AddDate(fields, ZEL_CALENDAR_DATE_2, date2);
    AddNumberUnlessZero(fields, ZEL_CALENDAR_NUMBER_4, number4);
    AddNumberUnlessZero(fields, ZEL_CALENDAR_NUMBER_11, number11);
    AddNumberUnlessZero(fields, ZEL_CALENDAR_NUMBER_12, number12);
    record.count = static_cast<std::int32_t>(fields.Count());
    record.fields = fields.Release();
}

void WriteOldCalendarEntry(const CConversation& phone, std::uint8_t kind, std::uint32_t location,
                           std::span<const CalendarField> fields)
{
    CMessage message = phone.Request(kWrite);
    message.AppendBytes({kind, 0});
    message.AppendDword(location);
    message.AppendDword(0);
    message.AppendDword(0xFFFFFFFF);
    message.AppendDword(0);
    message.AppendDword(0xFFFFFFFF);
    message.AppendDword(CalendarNumberOf(fields, ZEL_CALENDAR_NUMBER_5));
    message.AppendWord(WordOf(fields, ZEL_CALENDAR_KIND_CODE, kCalendarKindCodes));
    AppendTimeToMinute(message, DateOf(fields, ZEL_CALENDAR_DATE_1));
    AppendTimeToMinute(message, DateOf(fields, ZEL_CALENDAR_DATE_2));
    message.AppendWord(WordOf(fields, ZEL_CALENDAR_INTERVAL, kIntervals));
    message.AppendWord(WordOf(fields, ZEL_CALENDAR_NUMBER_9));
    message.AppendBytes({ByteOf(fields, ZEL_CALENDAR_ALARM, kAlarms), 0, 0, 0});
    message.AppendWord(WordOf(fields, ZEL_CALENDAR_NUMBER_4));
    message.AppendWord(WordOf(fields, ZEL_CALENDAR_NUMBER_11));
    message.AppendBytes({ByteOf(fields, ZEL_CALENDAR_NUMBER_12), 0});
    AppendTexts(message, fields);

    phone.Ask(message, kWrite);
    phone.RequireStatus(message, kCalendarSuccesses);
}

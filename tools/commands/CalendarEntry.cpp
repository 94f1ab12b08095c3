#include "commands/CalendarEntry.h"

#include "shell/DateTime.h"
#include "shell/Failure.h"
#include "shell/Input.h"

#include <algorithm>
#include <iterator>

namespace zelctl
{
namespace
{

enum class Form
{
    kUnknown,
    kNumber,
    kText,
    kDate,
};

struct FieldName
{
    std::uint16_t id;
    const char* name;
    Form form;
};

constexpr FieldName kNames[] = {
    {ZEL_CALENDAR_LOCATION, "location", Form::kNumber},   {ZEL_CALENDAR_ENTRY_KIND, "entry-kind", Form::kNumber},
    {ZEL_CALENDAR_KIND_CODE, "kind-code", Form::kNumber}, {ZEL_CALENDAR_NUMBER_4, "number-4", Form::kNumber},
    {ZEL_CALENDAR_NUMBER_5, "number-5", Form::kNumber},   {ZEL_CALENDAR_INTERVAL, "interval", Form::kNumber},
    {ZEL_CALENDAR_ALARM, "alarm", Form::kNumber},         {ZEL_CALENDAR_NUMBER_9, "number-9", Form::kNumber},
    {ZEL_CALENDAR_NUMBER_10, "number-10", Form::kNumber}, {ZEL_CALENDAR_NUMBER_11, "number-11", Form::kNumber},
    {ZEL_CALENDAR_NUMBER_12, "number-12", Form::kNumber}, {ZEL_CALENDAR_TEXT_1, "text-1", Form::kText},
    {ZEL_CALENDAR_TEXT_2, "text-2", Form::kText},         {ZEL_CALENDAR_TEXT_3, "text-3", Form::kText},
    {ZEL_CALENDAR_TEXT_4, "text-4", Form::kText},         {ZEL_CALENDAR_DATE_1, "date-1", Form::kDate},
    {ZEL_CALENDAR_DATE_2, "date-2", Form::kDate},         {ZEL_CALENDAR_DATE_3, "date-3", Form::kDate},
    {ZEL_CALENDAR_DATE_4, "date-4", Form::kDate},         {ZEL_CALENDAR_DATE_5, "date-5", Form::kDate},
};

constexpr std::size_t kMostFields = 255;
constexpr std::size_t kLongestText = 32755;

const FieldName* FindId(std::uint16_t id)
{
    const auto* found =
        std::find_if(std::begin(kNames), std::end(kNames), [id](const FieldName& known) { return known.id == id; });
    return found == std::end(kNames) ? nullptr : found;
}

const FieldName& FieldNamed(const std::string& name)
{
    const auto* found =
        std::find_if(std::begin(kNames), std::end(kNames), [&](const FieldName& known) { return known.name == name; });
    if (found == std::end(kNames))
        throw CUsageError("there is no field called \"" + name + "\"");
    return *found;
}

Form FormOf(std::uint16_t id)
{
    const FieldName* known = FindId(id);
    return known == nullptr ? Form::kUnknown : known->form;
}

Value ValueOf(const CalendarField& field)
{
    switch (FormOf(field.id))
    {
    case Form::kNumber:
        return field.value.number;
    case Form::kText:
        return FromBStr(field.value.text);
    case Form::kDate: {
        const CalendarDate& date = field.value.date;
        return FormatDateTime({date.year, date.month, date.day, date.hour, date.minute, date.second});
    }
    case Form::kUnknown:
        break;
    }
    return nullptr;
}

CalendarDate ParseDate(const std::string& text)
{
    const DateTime time = ParseDateTime(text);
    return {time.year, time.month, time.day, time.hour, time.minute, time.second};
}

}  // namespace

const char kCalendarFieldHelp[] =
    "A FIELD is NAME=VALUE. The names, and their values:\n"
    "  entry-kind, kind-code, interval, alarm,      a number\n"
    "  number-4, number-5, number-9 to number-12    a number\n"
    "  text-1 to text-4                             a text\n"
    "  date-1 to date-5                             \"YYYY-MM-DD HH:MM:SS\", local time\n"
    "What the numbers stand for is the phone's. Phones before version 3.1 of the service know less of them.";

std::span<const CalendarField> FieldsOf(const CalendarEntryRecord& entry)
{
    return {entry.fields, entry.fields == nullptr ? 0 : static_cast<std::size_t>(entry.count)};
}

Value DescribeCalendarFields(std::span<const CalendarField> fields)
{
    Value rows = Value::array();
    for (const CalendarField& field : fields)
    {
        const FieldName* known = FindId(field.id);
        Value row = {{"id", Hex(field.id, 4)},
                     {"name", known == nullptr ? Value(nullptr) : Value(known->name)},
                     {"value", ValueOf(field)}};
        if (known != nullptr && known->form == Form::kDate)
            row["utc_offset_minutes"] = field.base_offset + field.extra_offset;
        rows.push_back(std::move(row));
    }
    return rows;
}

Value CalendarValueOf(std::span<const CalendarField> fields, std::uint16_t id)
{
    const auto found =
        std::find_if(fields.begin(), fields.end(), [id](const CalendarField& field) { return field.id == id; });
    return found == fields.end() ? Value(nullptr) : ValueOf(*found);
}

CCalendarFieldsToSend::CCalendarFieldsToSend(std::uint32_t location, std::span<const std::string> words)
{
    if (words.size() >= kMostFields)
        throw CUsageError("an entry has at most 254 fields beside its location");
    CalendarField first = {};
    first.id = ZEL_CALENDAR_LOCATION;
    first.value.number = location;
    m_fields.push_back(first);
    for (const std::string& word : words)
        Add(word);
}

void CCalendarFieldsToSend::Add(const std::string& word)
{
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos)
        throw CUsageError("\"" + word + "\" is not a field of the form NAME=VALUE");
    const FieldName& named = FieldNamed(word.substr(0, equals));
    if (named.id == ZEL_CALENDAR_LOCATION)
        throw CUsageError("the location is an argument of its own: use \"zelctl calendar write\"");
    const std::string text = word.substr(equals + 1);
    CalendarField field = {};
    field.id = named.id;
    switch (named.form)
    {
    case Form::kNumber:
        field.value.number = ParseNumber(text, named.name);
        break;
    case Form::kText:
        if (ToUtf16(text).size() > kLongestText)
            throw CUsageError(std::string(named.name) + ": the text is too long");
        field.value.text = m_texts.emplace_back(ToBStr(text)).get();
        break;
    case Form::kDate:
        field.value.date = ParseDate(text);
        break;
    case Form::kUnknown:
        break;
    }
    m_fields.push_back(field);
}

}  // namespace zelctl

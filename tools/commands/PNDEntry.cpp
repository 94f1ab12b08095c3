#include "commands/PNDEntry.h"

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
    kText,
    kNumber,
    kCompound,
    kGroup,
};

struct FieldType
{
    std::uint8_t type;
    Form form;
    std::uint32_t greatest;  ///< Of a number.
};

constexpr std::uint8_t kSubAttributeType = 11;
constexpr std::uint8_t kGroupType = 74;
constexpr std::uint8_t kFirstGroupText = 75;
constexpr std::size_t kGroupTexts = std::size(PndField{}.texts);
constexpr std::size_t kLongestGroupText = 126;
/// What a length byte of 8 bits can tell, terminator included.
constexpr std::size_t kLongestText = 126;
/// A sub-block's length has 16 bits.
constexpr std::size_t kLongestWideText = 32761;
constexpr std::uint8_t kWideTextType = 63;

/// Those that hold no text.
constexpr FieldType kFieldTypes[] = {
    {12, Form::kNumber, 0xFFFF},     {25, Form::kNumber, 0xFF},     {28, Form::kNumber, 0xFF},
    {30, Form::kNumber, 0xFF},       {40, Form::kNumber, 0xFF},     {51, Form::kNumber, 0xFFFFFFFF},
    {55, Form::kNumber, 0xFFFFFFFF}, {64, Form::kNumber, 0xFF},     {67, Form::kNumber, 0xFFFF},
    {69, Form::kNumber, 0xFFFFFFFF}, {kGroupType, Form::kGroup, 0}, {87, Form::kCompound, 0},
};

FieldType TypeOf(const PndField& field)
{
    if (HoldsText(field))
        return {field.type, Form::kText, 0};
    const auto* found = std::find_if(std::begin(kFieldTypes), std::end(kFieldTypes),
                                     [&](const FieldType& known) { return known.type == field.type; });
    return found == std::end(kFieldTypes) ? FieldType{field.type, Form::kUnknown, 0} : *found;
}

/// A text without the terminator that is part of it.
std::string TextOf(const OLECHAR* text)
{
    std::string bytes = FromBStr(text);
    if (!bytes.empty() && bytes.back() == '\0')
        bytes.pop_back();
    return bytes;
}

Value ValueOf(const PndField& field)
{
    switch (TypeOf(field).form)
    {
    case Form::kText:
        return TextOf(field.value.text);
    case Form::kNumber:
        return field.value.number;
    case Form::kCompound: {
        const PndCompound& compound = field.value.compound;
        Value numbers = {compound.word};
        for (const std::uint8_t byte : compound.bytes)
            numbers.push_back(byte);
        return numbers;
    }
    case Form::kGroup: {
        Value texts = Value::array();
        for (const OLECHAR* text : field.texts)
            texts.push_back(text == nullptr ? Value(nullptr) : Value(TextOf(text)));
        return texts;
    }
    case Form::kUnknown:
        return nullptr;
    }
    return nullptr;
}

/// One word of a command line, taken apart.
struct FieldWord
{
    std::uint8_t type;
    std::uint8_t subAttribute;
    std::uint8_t attribute;
    std::string value;
};

/// The number behind `mark` in a field's head, taken off it; 0 if there is none.
std::uint8_t TakeNumber(std::string& head, char mark, const char* what)
{
    const std::size_t at = head.find(mark);
    if (at == std::string::npos)
        return 0;
    const auto number = static_cast<std::uint8_t>(ParseNumber(head.substr(at + 1), what, kByteRange));
    head.resize(at);
    return number;
}

FieldWord Split(const std::string& word)
{
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos)
        throw CUsageError("\"" + word + "\" is not a field of the form TYPE=VALUE");
    FieldWord field = {};
    field.value = word.substr(equals + 1);
    std::string head = word.substr(0, equals);
    field.attribute = TakeNumber(head, '@', "ATTRIBUTE");
    field.subAttribute = TakeNumber(head, '/', "SUB");
    field.type = static_cast<std::uint8_t>(ParseNumber(head, "TYPE", {1, 0xFF}));
    return field;
}

[[noreturn]] void ThrowBadValue(std::uint8_t type, const std::string& reason)
{
    throw CUsageError("type " + std::to_string(type) + ": " + reason);
}

PndCompound ParseCompound(std::uint8_t type, const std::string& text)
{
    std::vector<std::uint32_t> numbers;
    for (std::size_t start = 0; start <= text.size();)
    {
        const std::size_t end = std::min(text.find(',', start), text.size());
        numbers.push_back(
            ParseNumber(text.substr(start, end - start), "VALUE", {0, numbers.empty() ? 0xFFFFu : 0xFFu}));
        start = end + 1;
    }
    PndCompound compound = {};
    if (numbers.size() != 1 + std::size(compound.bytes))
        ThrowBadValue(type, "five numbers with commas between them are expected");
    compound.word = static_cast<std::uint16_t>(numbers[0]);
    std::transform(numbers.begin() + 1, numbers.end(), compound.bytes,
                   [](std::uint32_t number) { return static_cast<std::uint8_t>(number); });
    return compound;
}

}  // namespace

const char kPndFieldHelp[] =
    "A FIELD is TYPE=VALUE, or TYPE@ATTRIBUTE=VALUE; the attribute is 0x80 if not given. What a type stands for is "
    "the\n"
    "phone's. Its value is\n"
    "  a text         for the types 7 to 11, 18, 44, 52 to 54, 56, 57, 62, 63, 70 to 73, 82 to 86;\n"
    "                 type 11 takes a sub-attribute: 11/2=TEXT\n"
    "  a number       for 25, 28, 30, 40, 64 (8 bits), 12, 67 (16 bits), 51, 55, 69 (32 bits)\n"
    "  five numbers   for 87: 87=2006,5,17,12,30\n"
    "  nothing        for other types: 58=\n"
    "75=TEXT to 80=TEXT give the six texts of one group, which is a field of type 74.";

std::span<const PndField> FieldsOf(const PndEntry& entry)
{
    return {entry.fields, entry.fields == nullptr ? 0u : entry.field_count};
}

Value DescribePndFields(std::span<const PndField> fields)
{
    Value rows = Value::array();
    for (const PndField& field : fields)
    {
        Value row = {{"type", field.type}, {"attribute", Hex(field.attribute, 2)}};
        if (field.type == kSubAttributeType)
            row["sub_attribute"] = field.sub_attribute;
        row["value"] = ValueOf(field);
        rows.push_back(std::move(row));
    }
    return rows;
}

Value FirstPndText(std::span<const PndField> fields)
{
    const auto first =
        std::find_if(fields.begin(), fields.end(), [](const PndField& field) { return HoldsText(field); });
    return first == fields.end() ? Value(nullptr) : Value(TextOf(first->value.text));
}

void ShowPndEntry(const COutput& output, const CReceived<PndEntry>& entry)
{
    output.Show({{"location", entry.record.location},
                 {"value", entry.record.value},
                 {"fields", DescribePndFields(FieldsOf(entry.record))}});
}

void WritePndFields(CContext& context, std::uint32_t messageId, const char* what, PndWriteRecord& record,
                    std::size_t firstField)
{
    CPndFieldsToSend fields(context.arguments.Words().subspan(firstField));
    record.field_count = fields.Count();
    record.fields = fields.Data();
    context.Phone().Send(what, messageId, record);
    context.output.Show({{"location", record.location}, {"fields", record.field_count}});
}

CPndFieldsToSend::CPndFieldsToSend(std::span<const std::string> words)
{
    if (words.size() > 0xFF)
        throw CUsageError("an entry has at most 255 fields");
    for (const std::string& word : words)
        Add(word);
}

CPndFieldsToSend::CPndFieldsToSend(std::uint8_t type, const std::string& text)
{
    if (text.empty())
        throw CUsageError("TEXT is empty");
    PndField field = {};
    field.type = type;
    if (!HoldsText(field))
        ThrowBadValue(type, "it does not hold a text");
    Add(std::to_string(type) + "=" + text);
}

void CPndFieldsToSend::Add(const std::string& word)
{
    const FieldWord parsed = Split(word);
    if (parsed.subAttribute != 0 && parsed.type != kSubAttributeType)
        ThrowBadValue(parsed.type, "only type 11 has a sub-attribute");
    if (parsed.type >= kFirstGroupText && parsed.type < kFirstGroupText + kGroupTexts)
        return AddGroupText(parsed.type - std::size_t{kFirstGroupText}, parsed.attribute, parsed.value);

    PndField field = {};
    field.type = parsed.type;
    field.attribute = parsed.attribute;
    field.sub_attribute = parsed.subAttribute;
    SetValue(field, parsed.value);
    m_fields.push_back(field);
}

void CPndFieldsToSend::SetValue(PndField& field, const std::string& value)
{
    const FieldType type = TypeOf(field);
    switch (type.form)
    {
    case Form::kText:
        if (ToUtf16(value).size() > (type.type == kWideTextType ? kLongestWideText : kLongestText))
            ThrowBadValue(type.type, "the text is too long");
        field.value.text = Keep(value);
        break;
    case Form::kNumber:
        field.value.number = ParseNumber(value, "VALUE", {0, type.greatest});
        break;
    case Form::kCompound:
        field.value.compound = ParseCompound(type.type, value);
        break;
    case Form::kGroup:
        ThrowBadValue(type.type, "give its texts as 75=TEXT to 80=TEXT");
    case Form::kUnknown:
        if (!value.empty())
            ThrowBadValue(type.type, "it takes no value");
        break;
    }
}

void CPndFieldsToSend::AddGroupText(std::size_t index, std::uint8_t attribute, const std::string& text)
{
    const auto type = static_cast<std::uint8_t>(kFirstGroupText + index);
    const std::size_t length = ToUtf16(text).size();
    if (length == 0 || length > kLongestGroupText)
        ThrowBadValue(type, "the text has to have 1 to 126 characters");
    auto group =
        std::find_if(m_fields.begin(), m_fields.end(), [](const PndField& field) { return field.type == kGroupType; });
    if (group == m_fields.end())
    {
        group = m_fields.insert(group, PndField{});
        group->type = kGroupType;
        group->attribute = attribute;
    }
    if (group->texts[index] != nullptr)
        ThrowBadValue(type, "it is given twice");
    group->texts[index] = Keep(text);
}

BSTR CPndFieldsToSend::Keep(const std::string& text)
{
    return m_texts.emplace_back(ToBStr(text)).get();
}

}  // namespace zelctl

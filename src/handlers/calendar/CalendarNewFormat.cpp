#include "handlers/calendar/CalendarNewFormat.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/DateTime.h"
#include "handlers/calendar/CalendarFields.h"

#include <algorithm>
#include <limits>

namespace
{

/// Id of the sub-block of an entry. Those in it have the ids of their fields.
constexpr std::uint16_t kEntry = 0x0001;

void ReadField(CSubBlock& block, CalendarField& field)
{
    switch (CalendarFieldTypeOf(block.GetId()))
    {
    case CalendarFieldType::kNone:
        return;
    case CalendarFieldType::kNumber:
        field.value.number = block.ReadDword();
        break;
    case CalendarFieldType::kText:
        field.value.text = block.ReadString(block.ReadWord());
        break;
    case CalendarFieldType::kOptionalText:
        if (const std::uint16_t length = block.ReadWord(); length != 0)
            field.value.text = block.ReadString(length);
        break;
    case CalendarFieldType::kDate:
        SetCalendarDate(field, ReadTimeToSecond(block));
        break;
    }
    field.id = block.GetId();
}

void AppendCountedText(CSubBlock& block, CTextView text)
{
    block.AppendWord(static_cast<std::uint16_t>(text.size()));
    AppendText(block, text);
}

void AppendValue(CSubBlock& block, const CalendarField& field)
{
    switch (CalendarFieldTypeOf(field.id))
    {
    case CalendarFieldType::kNone:
        break;
    case CalendarFieldType::kNumber:
        block.AppendDword(field.value.number);
        break;
    case CalendarFieldType::kText:
        AppendCountedText(block, TextOf(field.value.text));
        break;
    case CalendarFieldType::kOptionalText:
        if (const CTextView text = TextOf(field.value.text); !text.empty())
            AppendCountedText(block, text);
        break;
    case CalendarFieldType::kDate:
        AppendTimeToSecond(block, CalendarDateForPhone(field));
        block.AppendByte(0);
        break;
    }
}

/// As many of the first fields as there are fields that are not empty: the array keeps its holes, and what stands
/// behind the last one sent is left out.
std::span<const CalendarField> FieldsToSend(std::span<const CalendarField> fields)
{
    const auto empty = static_cast<std::size_t>(std::ranges::count(fields, 0, &CalendarField::id));
    return fields.first(fields.size() - empty);
}

/// Throws ZEL_E_ARGUMENT for more than the lengths in it can name.
void AppendEntry(CMessage& message, std::span<const CalendarField> fields)
{
    if (fields.size() > std::numeric_limits<std::uint8_t>::max())
        ThrowCode(ZEL_E_ARGUMENT);
    CSubBlock entry = NewBlock(kWordIdBlock, kEntry);
    entry.AppendBytes({0, 0, 0, static_cast<std::uint8_t>(fields.size())});
    for (const CalendarField& field : fields)
    {
        CSubBlock block = NewBlock(kWordIdBlock, field.id);
        AppendValue(block, field);
        AppendFitting(entry, block);
    }
    message.AppendBytes({0, 1});
    AppendFitting(message, entry);
}

constexpr Exchange kRead = {.request = 0xB5, .reply = 0xB6};
constexpr Exchange kWrite = {.request = 0xB7, .reply = 0xB8};

}  // namespace

void ReadNewCalendarEntry(const CConversation& phone, CalendarEntryRecord& record)
{
    CMessage message = phone.Request(kRead);
    message.AppendBytes({0, 1});
    CSubBlock location = NewBlock(kWordIdBlock, ZEL_CALENDAR_LOCATION);
    location.AppendDword(record.location);
    location.WriteTo(&message);

    phone.Ask(message, kRead);
    phone.RequireStatus(message, kCalendarSuccesses);
    CSubBlock entry = NewBlock(kWordIdBlock);
    if (!ReadFirstBlock(message, entry) || entry.GetId() != kEntry)
        return;
    entry.Skip(3);
    std::int32_t count = entry.ReadByte();
    // One to spare: an entry of kind 3 always gets a kind code.
    CCalendarFields fields(static_cast<std::size_t>(count) + 1);
    ForEachBlock(entry, static_cast<std::uint32_t>(count), kWordIdBlock,
                 [&](CSubBlock& block, std::uint32_t index) { ReadField(block, fields[index]); });
    const std::span<const CalendarField> read(fields.begin(), fields.end());
    if (CalendarNumberOf(read, ZEL_CALENDAR_ENTRY_KIND) == ZEL_CALENDAR_ENTRY_KIND_3 &&
        CalendarNumberOf(read, ZEL_CALENDAR_KIND_CODE) == 0)
    {
        CalendarField& code = fields[static_cast<std::size_t>(count++)];
        code.id = ZEL_CALENDAR_KIND_CODE;
        code.value.number = 1;
    }
    record.count = count;
    record.fields = fields.Release();
}

void CheckNewCalendarEntry(std::span<const CalendarField> fields)
{
    CMessage message;
    AppendEntry(message, FieldsToSend(fields));
}

void WriteNewCalendarEntry(const CConversation& phone, CalendarEntryRecord& record,
                           std::span<const CalendarField> fields)
{
    const auto sent = FieldsToSend(fields);
    record.count = static_cast<std::int32_t>(sent.size());
    CMessage message = phone.Request(kWrite);
    AppendEntry(message, sent);

    phone.Ask(message, kWrite);
    phone.RequireStatus(message, kCalendarSuccesses);
    CSubBlock location = NewBlock(kWordIdBlock);
    if (ReadFirstBlock(message, location) && location.GetId() == ZEL_CALENDAR_LOCATION)
        record.location = location.ReadDword();
}

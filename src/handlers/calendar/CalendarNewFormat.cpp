#include "handlers/calendar/CalendarNewFormat.h"

#include "handlers/base/Blocks.h"
#include "handlers/calendar/CalendarFields.h"
#include "message/ExceptionFrame.h"

#include <algorithm>

namespace
{

constexpr std::uint16_t kEntryBlock = 0x0001;
constexpr std::uint32_t kMaxFields = 0xFF;
/// The length of a sub-block has 16 bits and counts its header of 4 bytes; it is a multiple of 4.
constexpr std::uint32_t kMaxPayload = 0xFFFC - 4;

void ReadDate(CSubBlock& block, CalendarField& field)
{
    SYSTEMTIME time = ReadCalendarTime(block);
    time.wSecond = block.ReadByte();
    SetCalendarDate(field, time);
}

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
        ReadDate(block, field);
        break;
    }
    field.id = block.GetId();
}

void AppendText(CSubBlock& block, std::span<const OLECHAR> text)
{
    const auto length = static_cast<std::int32_t>(text.size());
    block.AppendWord(static_cast<std::uint16_t>(length));
    block.AppendStringN(text.data(), length, length, false);
}

void AppendDate(CSubBlock& block, const CalendarField& field)
{
    const SYSTEMTIME time = CalendarDateForPhone(field);
    AppendCalendarTime(block, time);
    block.AppendByte(static_cast<std::uint8_t>(time.wSecond));
    block.AppendByte(0);
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
        AppendText(block, CalendarTextOf(field));
        break;
    case CalendarFieldType::kOptionalText:
        if (const auto text = CalendarTextOf(field); !text.empty())
            AppendText(block, text);
        break;
    case CalendarFieldType::kDate:
        AppendDate(block, field);
        break;
    }
}

/// Refuses what a sub-block's length cannot tell: the phone would take the rest for something else.
void WriteBlock(CSubBlock& block, CMsgBase& to)
{
    if (block.GetSize() > kMaxPayload)
        ThrowCode(ZEL_E_ARGUMENT);
    block.WriteTo(&to);
}

}  // namespace

void ReadNewCalendarEntry(CMessage& reply, CalendarEntryRecord& record)
{
    CSubBlock entry = NewBlock(kWordIdBlock);
    if (reply.ReadByte() == 0 || !entry.ReadFrom(&reply) || entry.GetId() != kEntryBlock)
        return;
    entry.Skip(3);
    const std::uint8_t count = entry.ReadByte();

    CCalendarFields fields(count, 1);
    ForEachBlock(entry, count, kWordIdBlock,
                 [&](CSubBlock& block, std::uint32_t index) { ReadField(block, fields.Fields()[index]); });
    const bool isKind3 = CalendarNumberOf(fields.Fields(), ZEL_CALENDAR_ENTRY_KIND) == ZEL_CALENDAR_ENTRY_KIND_3;
    if (isKind3 && CalendarNumberOf(fields.Fields(), ZEL_CALENDAR_KIND_CODE) == 0)
        fields.AppendNumber(ZEL_CALENDAR_KIND_CODE, 1);
    fields.ReleaseInto(record);
}

void AppendNewCalendarEntry(CMessage& request, CalendarEntryRecord& record)
{
    const std::span<const CalendarField> fields(record.fields, static_cast<std::size_t>(record.count));
    const auto empty = static_cast<std::size_t>(std::ranges::count(fields, 0, &CalendarField::id));
    // Only the count is lowered: the array keeps its holes, and what stands behind the last one sent is left out.
    const auto sent = fields.first(fields.size() - empty);
    if (sent.size() > kMaxFields)
        ThrowCode(ZEL_E_ARGUMENT);
    record.count = static_cast<std::int32_t>(sent.size());

    CSubBlock entry = NewBlock(kWordIdBlock, kEntryBlock);
    entry.AppendByte(0);
    entry.AppendWord(0);
    entry.AppendByte(static_cast<std::uint8_t>(sent.size()));
    for (const CalendarField& field : sent)
    {
        CSubBlock block = NewBlock(kWordIdBlock, field.id);
        AppendValue(block, field);
        WriteBlock(block, entry);
    }
    request.AppendByte(0);
    request.AppendByte(1);
    WriteBlock(entry, request);
}

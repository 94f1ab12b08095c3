#include "handlers/pnd/PNDFieldCodec.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/RecordArray.h"
#include "message/ExceptionFrame.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <utility>

namespace
{

/// What stands behind the attribute of a field. Values of the forms before kNumber8 are texts, where they are anything.
enum class FieldForm
{
    kUnknown,
    kGroup,
    kText,
    kText63,
    kQualifiedText,
    kNumber8,
    kNumber16,
    kNumber32,
    kCompound,
};

bool HoldsText(FieldForm form)
{
    return form < FieldForm::kNumber8;
}

struct FieldTypes
{
    std::uint8_t first;
    std::uint8_t last;
    FieldForm form;
};

constexpr FieldTypes kFieldTypes[] = {
    {7, 10, FieldForm::kText},      {11, 11, FieldForm::kQualifiedText}, {12, 12, FieldForm::kNumber16},
    {18, 18, FieldForm::kText},     {25, 25, FieldForm::kNumber8},       {28, 28, FieldForm::kNumber8},
    {30, 30, FieldForm::kNumber8},  {40, 40, FieldForm::kNumber8},       {44, 44, FieldForm::kText},
    {51, 51, FieldForm::kNumber32}, {52, 54, FieldForm::kText},          {55, 55, FieldForm::kNumber32},
    {56, 57, FieldForm::kText},     {62, 62, FieldForm::kText},          {63, 63, FieldForm::kText63},
    {64, 64, FieldForm::kNumber8},  {67, 67, FieldForm::kNumber16},      {69, 69, FieldForm::kNumber32},
    {70, 73, FieldForm::kText},     {74, 74, FieldForm::kGroup},         {82, 86, FieldForm::kText},
    {87, 87, FieldForm::kCompound},
};

FieldForm FormOf(std::uint16_t type)
{
    const auto* found = std::find_if(std::begin(kFieldTypes), std::end(kFieldTypes), [&](const FieldTypes& types) {
        return types.first <= type && type <= types.last;
    });
    return found == std::end(kFieldTypes) ? FieldForm::kUnknown : found->form;
}

/// The payload of a field behind its attribute, stated once for both directions: `Direction` is CPayloadWriter or
/// CPayloadReader.
template <typename Direction, typename Field>
void TransferPayload(Direction wire, Field& field, FieldForm form, bool hasWideLength63)
{
    auto& value = field.value;
    switch (form)
    {
    case FieldForm::kText63:
        if (!hasWideLength63)
            return wire.Text(value.text);
        wire.Fixed({0});
        return wire.WideText(value.text);
    case FieldForm::kText:
        return wire.Text(value.text);
    case FieldForm::kQualifiedText:
        wire.SubAttribute(field.sub_attribute);
        wire.Fixed({0, 0, 0});
        return wire.Text(value.text);
    case FieldForm::kNumber8:
        return wire.Byte(value.number);
    case FieldForm::kNumber16:
        wire.Fixed({0});
        return wire.Word(value.number);
    case FieldForm::kNumber32:
        wire.Fixed({0, 0, 0});
        wire.Dword(value.number);
        return wire.Fixed({0, 0, 0, 1});
    case FieldForm::kCompound:
        wire.Fixed({1});
        wire.Word(value.compound.word);
        for (auto& byte : value.compound.bytes)
            wire.Byte(byte);
        return;
    case FieldForm::kGroup:
    case FieldForm::kUnknown:
        return;
    }
}

/// Length of a text on the wire, in bytes and with its terminator.
std::uint32_t WireLength(CTextView text)
{
    return static_cast<std::uint32_t>(2 * text.size() + 2);
}

class CPayloadWriter
{
  public:
    explicit CPayloadWriter(CMsgBase& payload) : m_payload(payload) {}

    void Fixed(std::initializer_list<std::uint8_t> bytes) { m_payload.AppendBytes(bytes); }
    void SubAttribute(std::uint8_t value) { m_payload.AppendByte(value); }
    void Byte(std::uint32_t value) { m_payload.AppendByte(static_cast<std::uint8_t>(value)); }
    void Word(std::uint32_t value) { m_payload.AppendWord(static_cast<std::uint16_t>(value)); }
    void Dword(std::uint32_t value) { m_payload.AppendDword(value); }
    void Text(BSTR text)
    {
        Byte(WireLength(TextOf(text)));
        Terminated(TextOf(text));
    }
    void WideText(BSTR text)
    {
        Word(WireLength(TextOf(text)));
        Terminated(TextOf(text));
    }

  private:
    void Terminated(CTextView text)
    {
        AppendText(m_payload, text);
        m_payload.AppendWord(0);
    }

    CMsgBase& m_payload;
};

/// REQUIRES: the texts that it fills are null.
class CPayloadReader
{
  public:
    explicit CPayloadReader(CMsgBase& payload) : m_payload(payload) {}

    void Fixed(std::initializer_list<std::uint8_t> bytes) { m_payload.Skip(static_cast<std::uint32_t>(bytes.size())); }
    void SubAttribute(std::uint8_t& value) { value = std::max<std::uint8_t>(m_payload.ReadByte(), 1); }
    template <typename Value>
    void Byte(Value& value)
    {
        value = m_payload.ReadByte();
    }
    template <typename Value>
    void Word(Value& value)
    {
        value = m_payload.ReadWord();
    }
    void Dword(std::uint32_t& value) { value = m_payload.ReadDword(); }
    // The length counts the terminator, so the text that is read ends with a zero unit.
    void Text(BSTR& text) { ReadUnits(text, m_payload.ReadByte() / 2u); }
    void WideText(BSTR& text) { ReadUnits(text, m_payload.ReadWord() / 2u); }

  private:
    void ReadUnits(BSTR& text, std::uint32_t count) { text = m_payload.ReadString(count); }

    CMsgBase& m_payload;
};

// Groups

constexpr std::size_t kGroupTexts = std::size(PndField{}.texts);
constexpr std::uint16_t kFirstGroupText = 75;

void ReadGroupText(CMsgBase& block, BSTR& text)
{
    block.Skip(1);
    const std::uint8_t length = block.ReadByte();
    if (length == 0)
        return;
    // A phone may send the same text twice; the later one stays.
    Replace(text, block.ReadString(length / 2u));
}

void ReadGroup(CMsgBase& payload, PndField& field)
{
    payload.Skip(2);
    const std::uint8_t count = payload.ReadByte();
    CSubBlock block = NewBlock(kByteIdBlock);
    // Behind the end there are no texts, whatever the count.
    for (std::size_t i = 0; i < count && payload.GetPosition() < payload.GetSize(); ++i)
    {
        const std::uint32_t start = payload.GetPosition();
        block.Clear();
        if (!block.ReadFrom(&payload))
            return;
        const auto index = static_cast<std::size_t>(block.GetId()) - kFirstGroupText;
        if (index < kGroupTexts)
            ReadGroupText(block, field.texts[index]);
        // A sub-block of length 0 would only be read again.
        if (payload.GetPosition() == start)
            return;
    }
}

/// The low byte of the length decides, so a text of 256 units counts as empty.
bool IsSentInGroup(BSTR text)
{
    constexpr std::uint8_t kLongest = 126;
    const auto length = static_cast<std::uint8_t>(TextOf(text).size());
    return length != 0 && length <= kLongest;
}

void WriteGroup(CMsgBase& message, const PndField& field)
{
    CSubBlock header = NewBlock(kByteIdBlock, field.type);
    const auto count = static_cast<std::uint8_t>(std::ranges::count_if(field.texts, IsSentInGroup));
    header.AppendBytes({field.attribute, 0, 0, count});
    header.WriteTo(&message);

    for (std::size_t i = 0; i < kGroupTexts; ++i)
    {
        if (!IsSentInGroup(field.texts[i]))
            continue;
        CSubBlock block = NewBlock(kByteIdBlock, static_cast<std::uint16_t>(kFirstGroupText + i));
        block.AppendByte(field.attribute);
        CPayloadWriter(block).Text(field.texts[i]);
        block.WriteTo(&message);
    }
}

void SetDefaultAttribute(PndField& field)
{
    constexpr std::uint8_t kDefault = 0x80;
    if (field.attribute == 0)
        field.attribute = kDefault;
}

void FreeFieldTexts(const PndField& field)
{
    if (HoldsText(FormOf(field.type)))
        SysFreeString(field.value.text);
    for (BSTR text : field.texts)
        SysFreeString(text);
}

}  // namespace

void CPNDFieldCodec::Write(CMsgBase& message, PndField& field) const
{
    SetDefaultAttribute(field);
    CSubBlock block = NewBlock(kByteIdBlock, field.type);
    block.AppendByte(field.attribute);
    TransferPayload(CPayloadWriter(block), std::as_const(field), FormOf(field.type), m_hasWideLength63);
    block.WriteTo(&message);
}

void CPNDFieldCodec::WriteToStore(CMsgBase& message, PndField& field) const
{
    if (FormOf(field.type) != FieldForm::kGroup)
        return Write(message, field);
    SetDefaultAttribute(field);
    WriteGroup(message, field);
}

PndField* CPNDFieldCodec::Read(CMsgBase& message, std::uint8_t count) const
{
    CRecordArray<PndField, &FreeFieldTexts> fields(count);
    const bool complete = ForEachBlock(message, count, kByteIdBlock, [&](CSubBlock& block, std::uint32_t index) {
        ReadField(block, fields[index], block.GetId());
    });
    if (!complete)
        ThrowCode(ZEL_E_FAIL);
    return fields.Release();
}

void CPNDFieldCodec::ReadField(CMsgBase& block, PndField& field, std::uint16_t type) const
{
    field.attribute = block.ReadByte();
    const FieldForm form = FormOf(type);
    if (form == FieldForm::kUnknown)
        return;
    field.type = static_cast<std::uint8_t>(type);
    if (form == FieldForm::kGroup)
        ReadGroup(block, field);
    else
        TransferPayload(CPayloadReader(block), field, form, m_hasWideLength63);
}

CTextView PndTextOf(const PndField& field)
{
    return HoldsText(FormOf(field.type)) ? TextOf(field.value.text) : CTextView();
}

#include "handlers/CallElements.h"

#include <algorithm>

namespace
{

CallElement Element(std::uint16_t id)
{
    CallElement element = {};
    element.id = id;
    return element;
}

BSTR ReadCountedText(CMsgBase& source)
{
    const std::uint8_t length = source.ReadByte();
    return source.ReadString(length);
}

CallElement TextElement(CMsgBase& source)
{
    CallElement element = Element(ZEL_CALL_TEXT);
    element.p0 = source.ReadByte();
    element.p1 = source.ReadByte();
    element.p2 = source.ReadByte();
    element.p3 = source.ReadByte();
    source.Skip(1);
    element.value.text = ReadCountedText(source);
    return element;
}

CallElement NumberElement(CMsgBase& source, std::uint16_t id)
{
    CallElement element = Element(id);
    element.p0 = source.ReadByte();
    element.p1 = source.ReadByte();
    source.Skip(1);
    element.value.text = ReadCountedText(source);
    return element;
}

// Sub-blocks of a status

enum SubBlockId : std::uint16_t
{
    kCauseBlock = 8,
    kStateBlock = 11,
    kTextBlock = 14,
    kParametersAndNumberBlock = 29,
};

CallElement CauseElement(CSubBlock& block)
{
    CallElement element = Element(ZEL_CALL_CAUSE);
    element.p0 = block.ReadByte();
    element.value.cause = block.ReadByte();
    return element;
}

/// Reads the three parameters of a sub-block, and what stands behind them unused.
CallElement ParametersElement(CSubBlock& block, std::uint16_t id)
{
    CallElement element = Element(id);
    element.p0 = block.ReadByte();
    element.p1 = block.ReadByte();
    element.p2 = block.ReadByte();
    block.Skip(2);
    return element;
}

// Items of an indication

enum ItemType : std::uint8_t
{
    kFirstNumberItem = 1,
    kNumberItem = 3,
    kParametersItem = 7,
    kCauseItem = 8,
    kParameter2Item = 10,
    kTextItem = 14,
};

/// The number with the "+" that the phone leaves out. Throws CAtlException (E_OUTOFMEMORY).
BSTR WithPlus(const CBStrOwner& number)
{
    const UINT length = SysStringLen(number.get());
    BSTR whole = SysAllocStringLen(nullptr, length + 1);
    if (whole == nullptr)
        throw CAtlException(E_OUTOFMEMORY);
    whole[0] = u'+';
    std::copy_n(number.get(), length, whole + 1);
    return whole;
}

/// Moves behind the padding of an item with `bytes` bytes before it. Texts are whole units, so it is two bytes or none.
void SkipPadding(CMsgBase& message, std::uint32_t bytes)
{
    if (bytes % 4 != 0)
        message.Skip(2);
}

CallElement ReadNumberItem(CMsgBase& message, std::uint8_t type)
{
    CallElement element = NumberElement(message, type);
    const UINT textBytes = SysStringByteLen(element.value.text);
    if ((element.p0 & ZEL_CALL_INTERNATIONAL) != 0 && element.value.text[0] != u'+')
        element.value.text = WithPlus(CBStrOwner(element.value.text));
    SkipPadding(message, textBytes + 6);
    return element;
}

CallElement ReadTextItem(CMsgBase& message)
{
    CallElement element = TextElement(message);
    SkipPadding(message, SysStringByteLen(element.value.text));
    return element;
}

CallElement ReadParametersItem(CMsgBase& message)
{
    // The phone's item 7 has no element id; applications know it by the 0.
    CallElement element = Element(0);
    element.p0 = message.ReadByte();
    element.p1 = message.ReadByte();
    return element;
}

CallElement ReadCauseItem(CMsgBase& message)
{
    CallElement element = Element(ZEL_CALL_CAUSE);
    element.p0 = message.ReadByte();
    element.value.cause = CauseResult(message.ReadByte());
    return element;
}

CallElement ReadParameter2Item(CMsgBase& message)
{
    CallElement element = Element(ZEL_CALL_PARAMETERS);
    element.p2 = message.ReadByte();
    message.Skip(1);
    return element;
}

}  // namespace

void FreeElementText(const CallElement& element)
{
    if (element.id == ZEL_CALL_FIRST_NUMBER || element.id == ZEL_CALL_NUMBER || element.id == ZEL_CALL_TEXT)
        SysFreeString(element.value.text);
}

void CCallElements::ReadStatusBlock(CSubBlock& block, std::uint8_t& callId)
{
    switch (block.GetId())
    {
    case kCauseBlock:
        Add(CauseElement(block));
        break;
    case kStateBlock:
        callId = block.ReadByte();
        Add(ParametersElement(block, ZEL_CALL_STATE));
        break;
    case kTextBlock:
        Add(TextElement(block));
        break;
    case kParametersAndNumberBlock:
        callId = block.ReadByte();
        Add(ParametersElement(block, ZEL_CALL_PARAMETERS));
        Add(NumberElement(block, ZEL_CALL_NUMBER));
        break;
    default:
        break;
    }
}

void CCallElements::ReadItem(CMsgBase& message)
{
    // The length counts its type and itself.
    constexpr std::uint8_t kHeader = 2;
    const std::uint8_t type = message.ReadByte();
    const std::uint8_t length = message.ReadByte();
    switch (type)
    {
    case kFirstNumberItem:
    case kNumberItem:
        Add(ReadNumberItem(message, type));
        break;
    case kParametersItem:
        Add(ReadParametersItem(message));
        break;
    case kCauseItem:
        Add(ReadCauseItem(message));
        break;
    case kParameter2Item:
        Add(ReadParameter2Item(message));
        break;
    case kTextItem:
        Add(ReadTextItem(message));
        break;
    default:
        // A length that does not even count the header must not move the cursor back.
        message.Skip(std::max(length, kHeader) - std::uint32_t{kHeader});
        break;
    }
}

void CCallElements::Add(const CallElement& element)
{
    // The count is a byte in every record.
    constexpr std::size_t kMost = 255;
    if (m_count < std::min(m_elements.Count(), kMost))
        m_elements[m_count++] = element;
    else
        FreeElementText(element);
}

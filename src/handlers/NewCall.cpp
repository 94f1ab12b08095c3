#include "handlers/NewCall.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/CallersData.h"
#include "handlers/base/Owners.h"

#include <algorithm>

namespace
{

constexpr OLECHAR kPlus = u'+';

void AppendCountedText(CSubBlock& block, CTextView text)
{
    block.AppendByte(static_cast<std::uint8_t>(text.size()));
    AppendText(block, text);
}

void AppendNumber(CSubBlock& block, const CallElement& element)
{
    CTextView number = TextOf(element.value.text);
    std::uint8_t p0 = element.p0;
    if (number.starts_with(kPlus))
    {
        number.remove_prefix(1);
        p0 |= ZEL_CALL_INTERNATIONAL;
    }
    block.AppendBytes({p0, element.p1, 0});
    AppendCountedText(block, number);
}

void AppendElement(CMessage& message, const CallElement& element)
{
    CSubBlock block = NewBlock(kShortBlock, element.id);
    switch (element.id)
    {
    case ZEL_CALL_NUMBER:
        AppendNumber(block, element);
        break;
    case ZEL_CALL_PARAMETERS:
        block.AppendBytes({element.p0, element.p1});
        break;
    case ZEL_CALL_TEXT:
        block.AppendBytes({element.p0, element.p1, element.p2, element.p3, 0});
        AppendCountedText(block, TextOf(element.value.text));
        break;
    default:
        break;
    }
    AppendFitting(message, block);
}

/// A number without its "+"; null for an element that has none. Throws CAtlException (E_OUTOFMEMORY).
CBStrOwner WithoutPlus(const CallElement& element)
{
    if (element.id != ZEL_CALL_NUMBER || !TextOf(element.value.text).starts_with(kPlus))
        return nullptr;
    const CTextView digits = TextOf(element.value.text).substr(1);
    CBStrOwner copy(SysAllocStringLen(digits.data(), static_cast<UINT>(digits.size())));
    if (!copy)
        throw CAtlException(E_OUTOFMEMORY);
    return copy;
}

}  // namespace

CNewCall::CNewCall(const CallRecord& record)
    : m_callers(ElementsOf(record.elements, record.count_or_mode)), m_elements(m_callers.begin(), m_callers.end())
{
}

CallElement* CNewCall::Find(std::uint16_t id)
{
    const auto found = std::ranges::find(m_elements, id, &CallElement::id);
    return found == m_elements.end() ? nullptr : &*found;
}

void CNewCall::AppendTo(CMessage& message) const
{
    message.AppendByte(static_cast<std::uint8_t>(m_elements.size()));
    for (const CallElement& element : m_elements)
        AppendElement(message, element);
}

void CNewCall::UpdateCallers() const
{
    std::vector<CBStrOwner> numbers;
    numbers.reserve(m_elements.size());
    for (const CallElement& element : m_elements)
        numbers.push_back(WithoutPlus(element));

    // From here on nothing can fail.
    for (std::size_t i = 0; i < numbers.size(); ++i)
    {
        m_callers[i].p0 = m_elements[i].p0;
        if (numbers[i])
            Replace(m_callers[i].value.text, numbers[i].release());
    }
}

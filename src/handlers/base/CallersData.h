#pragma once

#include "message/ExceptionFrame.h"
#include "message/MsgBase.h"
#include "message/Platform.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// What pointers inside a caller's record name.

/// The elements of an array; none for a count of 0, whatever the pointer is. Throws ZEL_E_ARGUMENT if others cannot be
/// read.
template <typename Element>
std::span<Element> ElementsOf(Element* elements, std::size_t count)
{
    if (count == 0)
        return {};
    if (!IsReadable(elements))
        ThrowCode(ZEL_E_ARGUMENT);
    return {elements, count};
}

/// What a pointer names. Throws ZEL_E_ARGUMENT if it cannot be read.
template <typename Record>
Record& Required(Record* record)
{
    return ElementsOf(record, 1).front();
}

using CTextView = std::basic_string_view<OLECHAR>;

/// A text's units; none for a null or unreadable one.
inline CTextView TextOf(BSTR text)
{
    return IsReadable(text) ? CTextView(text, SysStringLen(text)) : CTextView();
}

/// Appends a text without a terminator.
inline void AppendText(CMsgBase& message, CTextView text)
{
    const auto length = static_cast<std::int32_t>(text.size());
    message.AppendStringN(text.data(), length, length, false);
}

#pragma once

#include "handlers/base/Owners.h"

#include <string>
#include <string_view>

/// A BSTR with these units; zeros in the middle stay.
inline CBStrOwner MakeText(std::u16string_view units)
{
    CBStrOwner text(SysAllocStringLen(nullptr, static_cast<UINT>(units.size())));
    for (std::size_t i = 0; i < units.size(); ++i)
        text.get()[i] = static_cast<OLECHAR>(units[i]);
    return text;
}

/// All units of a BSTR.
inline std::u16string UnitsOf(BSTR text)
{
    std::u16string units;
    for (UINT i = 0; i < SysStringLen(text); ++i)
        units.push_back(static_cast<char16_t>(text[i]));
    return units;
}

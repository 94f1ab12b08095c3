#include "shell/Text.h"

#include <new>

namespace zelctl
{

std::string ToUtf8(std::wstring_view text)
{
    const auto length = static_cast<int>(text.size());
    std::string bytes(text.size() * 3, '\0');
    bytes.resize(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(),
                                                              static_cast<int>(bytes.size()), nullptr, nullptr)));
    return bytes;
}

std::wstring ToUtf16(std::string_view text)
{
    std::wstring units(text.size(), L'\0');
    units.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                                              units.data(), static_cast<int>(units.size()))));
    return units;
}

BStr ToBStr(std::string_view text)
{
    const std::wstring units = ToUtf16(text);
    BStr bstr(SysAllocStringLen(units.data(), static_cast<UINT>(units.size())));
    if (!bstr)
        throw std::bad_alloc();
    return bstr;
}

std::string FromBStr(const OLECHAR* text)
{
    if (text == nullptr)
        return {};
    return ToUtf8({text, SysStringLen(const_cast<OLECHAR*>(text))});
}

}  // namespace zelctl

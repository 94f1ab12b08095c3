#pragma once

#include <windows.h>

#include <memory>
#include <oleauto.h>
#include <string>
#include <string_view>

namespace zelctl
{

/// Half a surrogate pair becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);
std::wstring ToUtf16(std::string_view text);

struct BStrDeleter
{
    void operator()(OLECHAR* text) const { SysFreeString(text); }
};

/// Owns a BSTR.
using BStr = std::unique_ptr<OLECHAR, BStrDeleter>;

BStr ToBStr(std::string_view text);
/// A null text is an empty one.
std::string FromBStr(const OLECHAR* text);

}  // namespace zelctl

#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vorlansim
{

using Bytes = std::vector<std::uint8_t>;
using BytesView = std::span<const std::uint8_t>;

/// "01 0A FF".
std::string ToHex(BytesView bytes);

/// "0x0B": at least `digits` hex digits.
std::string ToHex(std::uint32_t number, int digits);

/// Nothing for bytes that are not UTF-8.
std::optional<std::u16string> ToUtf16(std::string_view utf8);

/// A lone surrogate becomes the replacement character.
std::string ToUtf8(std::u16string_view utf16);

}  // namespace vorlansim

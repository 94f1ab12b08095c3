#pragma once

#include "shell/Text.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zelctl
{

// What the user has typed, read and checked. What makes no sense is thrown as a CUsageError; `what` names the thing in
// it.

struct NumberRange
{
    std::uint32_t minimum = 0;
    std::uint32_t maximum = 0xFFFFFFFF;
};

inline constexpr NumberRange kByteRange = {0, 0xFF};
inline constexpr NumberRange kWordRange = {0, 0xFFFF};

/// A number, decimal or hex with 0x.
std::uint32_t ParseNumber(std::string_view text, std::string_view what, NumberRange range = {});

/// Bytes in hex, in as many words as you like: "01 0A", "010A".
std::vector<std::uint8_t> ParseHex(std::span<const std::string> words);

/// A text of at most `longest` UTF-16 units: the library or the phone would cut or refuse more.
BStr ToBStrWithin(std::string_view text, std::string_view what, std::size_t longest);

}  // namespace zelctl

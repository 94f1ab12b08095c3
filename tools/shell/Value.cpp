#include "shell/Value.h"

#include <array>
#include <cstdio>

namespace zelctl
{

std::string Hex(std::uint32_t number, int digits)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%0*X", digits, static_cast<unsigned>(number));
    return text.data();
}

std::string HexBytes(std::span<const std::uint8_t> bytes)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes)
    {
        if (!text.empty())
            text += ' ';
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

}  // namespace zelctl

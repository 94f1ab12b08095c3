#include "scenario/Text.h"

namespace vorlansim
{
namespace
{

constexpr char kDigits[] = "0123456789ABCDEF";

/// The character that starts at `position`, which moves behind it; nothing if it is malformed.
std::optional<char32_t> NextCharacter(std::string_view utf8, std::size_t& position)
{
    const auto lead = static_cast<unsigned char>(utf8[position++]);
    if (lead < 0x80)
        return lead;
    if (lead < 0xC2 || lead > 0xF4)
        return std::nullopt;
    const std::size_t following = lead >= 0xF0 ? 3U : lead >= 0xE0 ? 2U : 1U;
    if (utf8.size() - position < following)
        return std::nullopt;
    char32_t character = lead & (0x3FU >> following);
    for (std::size_t i = 0; i < following; ++i)
    {
        const auto next = static_cast<unsigned char>(utf8[position++]);
        if ((next & 0xC0U) != 0x80U)
            return std::nullopt;
        character = (character << 6U) | (next & 0x3FU);
    }
    const bool overlong = (following == 2 && character < 0x800) || (following == 3 && character < 0x10000);
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (overlong || surrogate || character > 0x10FFFF)
        return std::nullopt;
    return character;
}

void AppendUtf8(std::string& text, char32_t character)
{
    const auto append = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    const auto follow = [&](unsigned shift) { append(0x80U | ((character >> shift) & 0x3FU)); };
    if (character < 0x80)
    {
        append(character);
    }
    else if (character < 0x800)
    {
        append(0xC0U | (character >> 6U));
        follow(0);
    }
    else if (character < 0x10000)
    {
        append(0xE0U | (character >> 12U));
        follow(6);
        follow(0);
    }
    else
    {
        append(0xF0U | (character >> 18U));
        follow(12);
        follow(6);
        follow(0);
    }
}

}  // namespace

std::string ToHex(BytesView bytes)
{
    std::string text;
    text.reserve(bytes.size() * 3);
    for (const std::uint8_t byte : bytes)
    {
        if (!text.empty())
            text.push_back(' ');
        text.push_back(kDigits[byte >> 4U]);
        text.push_back(kDigits[byte & 0x0FU]);
    }
    return text;
}

std::string ToHex(std::uint32_t number, int digits)
{
    std::string text;
    for (; digits > 0 || number != 0; --digits, number >>= 4U)
        text.insert(text.begin(), kDigits[number & 0x0FU]);
    return "0x" + text;
}

std::optional<std::u16string> ToUtf16(std::string_view utf8)
{
    std::u16string text;
    for (std::size_t position = 0; position < utf8.size();)
    {
        const auto character = NextCharacter(utf8, position);
        if (!character)
            return std::nullopt;
        if (*character < 0x10000)
        {
            text.push_back(static_cast<char16_t>(*character));
            continue;
        }
        text.push_back(static_cast<char16_t>(0xD800U + ((*character - 0x10000U) >> 10U)));
        text.push_back(static_cast<char16_t>(0xDC00U + ((*character - 0x10000U) & 0x3FFU)));
    }
    return text;
}

std::string ToUtf8(std::u16string_view utf16)
{
    const auto isHigh = [](char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; };
    const auto isLow = [](char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; };
    std::string text;
    for (std::size_t i = 0; i < utf16.size(); ++i)
    {
        char32_t character = utf16[i];
        if (isHigh(utf16[i]) && i + 1 < utf16.size() && isLow(utf16[i + 1]))
        {
            character = 0x10000U + ((character - 0xD800U) << 10U) + (utf16[i + 1] - 0xDC00U);
            ++i;
        }
        else if (isHigh(utf16[i]) || isLow(utf16[i]))
        {
            character = 0xFFFD;
        }
        AppendUtf8(text, character);
    }
    return text;
}

}  // namespace vorlansim

#include "shell/Input.h"

#include "shell/Failure.h"

#include <algorithm>
#include <charconv>

namespace zelctl
{
namespace
{

std::string Quoted(std::string_view text)
{
    return "\"" + std::string(text) + "\"";
}

bool IsHexPrefixed(std::string_view text)
{
    return text.starts_with("0x") || text.starts_with("0X");
}

int HexDigit(char character)
{
    int digit = -1;
    std::from_chars(&character, &character + 1, digit, 16);
    return digit;
}

void AppendHex(std::vector<std::uint8_t>& bytes, std::string_view word)
{
    if (word.size() % 2 != 0)
        throw CUsageError(Quoted(word) + " is not whole bytes: two hex digits make a byte");
    for (std::size_t at = 0; at < word.size(); at += 2)
    {
        const int high = HexDigit(word[at]);
        const int low = HexDigit(word[at + 1]);
        if (high < 0 || low < 0)
            throw CUsageError(Quoted(word) + " is not bytes in hex");
        bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
    }
}

}  // namespace

std::uint32_t ParseNumber(std::string_view text, std::string_view what, NumberRange range)
{
    const bool isHex = IsHexPrefixed(text);
    const std::string_view digits = isHex ? text.substr(2) : text;
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, isHex ? 16 : 10);
    if (error == std::errc::invalid_argument || end != digits.data() + digits.size())
        throw CUsageError(std::string(what) + ": " + Quoted(text) + " is not a number (decimal, or hex with 0x)");
    if (error == std::errc::result_out_of_range || number < range.minimum || number > range.maximum)
        throw CUsageError(std::string(what) + ": " + std::string(text) + " is not between " +
                          std::to_string(range.minimum) + " and " + std::to_string(range.maximum));
    return static_cast<std::uint32_t>(number);
}

std::vector<std::uint8_t> ParseHex(std::span<const std::string> words)
{
    std::vector<std::uint8_t> bytes;
    for (const std::string& word : words)
    {
        for (std::size_t start = 0; start < word.size();)
        {
            const std::size_t end = std::min(word.find(' ', start), word.size());
            AppendHex(bytes, std::string_view(word).substr(start, end - start));
            start = end + 1;
        }
    }
    return bytes;
}

BStr ToBStrWithin(std::string_view text, std::string_view what, std::size_t longest)
{
    BStr units = ToBStr(text);
    if (SysStringLen(units.get()) > longest)
        throw CUsageError(std::string(what) + " has more than " + std::to_string(longest) + " characters");
    return units;
}

}  // namespace zelctl

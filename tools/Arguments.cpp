#include "Arguments.h"

#include "Failure.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace zelctl
{
namespace
{

constexpr NumberRange kByte = {0, 0xFF};
constexpr NumberRange kWord = {0, 0xFFFF};

constexpr std::string_view kEndOfOptions = "--";

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

/// The value of the option at `at`, taken out of `words` together with the option.
std::string TakeValue(std::vector<std::string>& words, std::size_t at, const Option& option)
{
    const std::string word = words[at];
    words.erase(words.begin() + static_cast<std::ptrdiff_t>(at));
    const bool isFlag = *option.value == '\0';
    if (const std::size_t equals = word.find('='); equals != std::string::npos)
    {
        if (isFlag)
            throw CUsageError(std::string(option.name) + " takes no value");
        return word.substr(equals + 1);
    }
    if (isFlag)
        return {};
    if (at == words.size())
        throw CUsageError(std::string(option.name) + " needs a value: " + option.value);
    std::string value = std::move(words[at]);
    words.erase(words.begin() + static_cast<std::ptrdiff_t>(at));
    return value;
}

}  // namespace

OptionValues TakeOptions(std::vector<std::string>& words, std::span<const Option> known)
{
    OptionValues taken;
    for (std::size_t at = 0; at < words.size() && words[at] != kEndOfOptions;)
    {
        const std::string name = words[at].substr(0, words[at].find('='));
        const auto option =
            std::find_if(known.begin(), known.end(), [&](const Option& candidate) { return candidate.name == name; });
        if (option == known.end())
            ++at;
        else if (!taken.emplace(name, TakeValue(words, at, *option)).second)
            throw CUsageError(name + " is given twice");
    }
    return taken;
}

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

CArguments::CArguments(std::vector<std::string> words, std::span<const Option> known)
    : m_words(std::move(words)), m_options(TakeOptions(m_words, known))
{
    const auto end = std::find(m_words.begin(), m_words.end(), kEndOfOptions);
    const auto unknown =
        std::find_if(m_words.begin(), end, [](const std::string& word) { return word.size() > 1 && word[0] == '-'; });
    if (unknown != end)
        throw CUsageError("unknown option " + *unknown);
    if (end != m_words.end())
        m_words.erase(end);
}

std::uint32_t CArguments::Number(std::size_t index, std::string_view what, NumberRange range) const
{
    return ParseNumber(m_words[index], what, range);
}

std::uint8_t CArguments::Byte(std::size_t index, std::string_view what) const
{
    return static_cast<std::uint8_t>(Number(index, what, kByte));
}

std::uint16_t CArguments::Word(std::size_t index, std::string_view what) const
{
    return static_cast<std::uint16_t>(Number(index, what, kWord));
}

std::uint8_t CArguments::OptionByte(std::string_view option, std::uint8_t otherwise) const
{
    return static_cast<std::uint8_t>(OptionNumber(option, kByte).value_or(otherwise));
}

std::uint16_t CArguments::OptionWord(std::string_view option, std::uint16_t otherwise) const
{
    return static_cast<std::uint16_t>(OptionNumber(option, kWord).value_or(otherwise));
}

std::optional<std::string> CArguments::OptionText(std::string_view option) const
{
    const auto found = m_options.find(option);
    if (found == m_options.end())
        return std::nullopt;
    return found->second;
}

std::optional<std::vector<std::uint8_t>> CArguments::OptionBytes(std::string_view option, NumberRange counts) const
{
    const auto text = OptionText(option);
    if (!text)
        return std::nullopt;
    std::vector<std::uint8_t> bytes = ParseHex({&*text, 1});
    if (bytes.size() >= counts.minimum && bytes.size() <= counts.maximum)
        return bytes;
    const std::string range = counts.minimum == counts.maximum
                                  ? std::to_string(counts.minimum)
                                  : std::to_string(counts.minimum) + " to " + std::to_string(counts.maximum);
    throw CUsageError(std::string(option) + " takes " + range + " bytes, not " + std::to_string(bytes.size()));
}

std::optional<std::uint32_t> CArguments::OptionNumber(std::string_view option, NumberRange range) const
{
    const auto found = m_options.find(option);
    if (found == m_options.end())
        return std::nullopt;
    return ParseNumber(found->second, option, range);
}

}  // namespace zelctl

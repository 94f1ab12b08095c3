#include "shell/Arguments.h"

#include "shell/Failure.h"

namespace zelctl
{

std::uint32_t CArguments::Number(std::size_t index, std::string_view what, NumberRange range) const
{
    return ParseNumber(m_words[index], what, range);
}

std::uint8_t CArguments::Byte(std::size_t index, std::string_view what) const
{
    return static_cast<std::uint8_t>(Number(index, what, kByteRange));
}

std::uint16_t CArguments::Word(std::size_t index, std::string_view what) const
{
    return static_cast<std::uint16_t>(Number(index, what, kWordRange));
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
    const auto text = OptionText(option);
    if (!text)
        return std::nullopt;
    return ParseNumber(*text, option, range);
}

std::uint8_t CArguments::OptionByte(std::string_view option, std::uint8_t otherwise) const
{
    return static_cast<std::uint8_t>(OptionNumber(option, kByteRange).value_or(otherwise));
}

std::uint16_t CArguments::OptionWord(std::string_view option, std::uint16_t otherwise) const
{
    return static_cast<std::uint16_t>(OptionNumber(option, kWordRange).value_or(otherwise));
}

}  // namespace zelctl

#pragma once

#include "shell/Input.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zelctl
{

/// Options that were given, with their values; a flag has an empty one.
using OptionValues = std::map<std::string, std::string, std::less<>>;

/// What stands behind the name of a command.
class CArguments
{
  public:
    CArguments() = default;
    CArguments(std::vector<std::string> words, OptionValues options)
        : m_words(std::move(words)), m_options(std::move(options))
    {
    }

    std::size_t Count() const { return m_words.size(); }
    std::span<const std::string> Words() const { return m_words; }
    /// REQUIRES: index < Count().
    const std::string& Text(std::size_t index) const { return m_words[index]; }
    std::uint32_t Number(std::size_t index, std::string_view what, NumberRange range = {}) const;
    std::uint8_t Byte(std::size_t index, std::string_view what) const;
    std::uint16_t Word(std::size_t index, std::string_view what) const;

    bool Has(std::string_view option) const { return m_options.contains(option); }
    std::optional<std::string> OptionText(std::string_view option) const;
    /// Bytes in hex. `counts` says how many there may be.
    std::optional<std::vector<std::uint8_t>> OptionBytes(std::string_view option, NumberRange counts) const;
    std::optional<std::uint32_t> OptionNumber(std::string_view option, NumberRange range = {}) const;
    /// `otherwise` where the option is not given.
    std::uint8_t OptionByte(std::string_view option, std::uint8_t otherwise = 0) const;
    std::uint16_t OptionWord(std::string_view option, std::uint16_t otherwise = 0) const;

  private:
    std::vector<std::string> m_words;
    OptionValues m_options;
};

}  // namespace zelctl

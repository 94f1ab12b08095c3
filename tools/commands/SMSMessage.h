#pragma once

#include "shell/Command.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>
#include <zelapi/sms.h>

namespace zelctl
{

/// The options of a message's parameters.
inline constexpr Option kParameterOptions[] = {
    {"--first-address", "HEX", "first address"},
    {"--first-type", "N", "its type (0)"},
    {"--second-address", "HEX", "second address"},
    {"--second-type", "N", "its type (0)"},
    {"--data", "HEX", "user data"},
    {"--coding", "N", "their coding (0)"},
    {"--extra", "HEX", "extra parameters"},
};

/// The options of one command, those of `second` behind its own.
template <std::size_t own, std::size_t common>
constexpr std::array<Option, own + common> Join(const Option (&first)[own], const Option (&second)[common])
{
    std::array<Option, own + common> all{};
    std::copy(first, first + own, all.begin());
    std::copy(second, second + common, all.begin() + own);
    return all;
}

/// The parameters of a message that were given as options.
class CMessageParameters
{
  public:
    /// Throws CUsageError, also when the parameters together are too long for a message.
    explicit CMessageParameters(const CArguments& arguments);

    bool IsEmpty() const;
    /// Valid as long as this object.
    SmsParameterGroup Group();

  private:
    std::vector<std::uint8_t> m_firstAddress;
    std::vector<std::uint8_t> m_secondAddress;
    std::vector<std::uint8_t> m_extra;
    std::vector<std::uint8_t> m_data;
    std::uint8_t m_firstType;
    std::uint8_t m_secondType;
    std::uint8_t m_coding;
};

/// Bytes in hex; null where there are none.
Value BlockText(const std::uint8_t* block, std::size_t size);

/// The header bytes that a message of this kind has, in the order in which they are sent.
std::vector<std::uint8_t> HeaderOf(const SmsContent& content);
/// The reverse. Throws CUsageError for a wrong number of bytes.
void SetHeader(SmsContent& content, const std::vector<std::uint8_t>& bytes);

/// Adds the fields of a content to an object; null, as a whole, when there is none.
void AddContent(Value& fields, const SmsContent* content);
void AddParameters(Value& fields, const SmsParameterGroup& group);

}  // namespace zelctl

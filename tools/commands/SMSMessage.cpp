#include "commands/SMSMessage.h"

#include "shell/Failure.h"

#include <array>
#include <span>

namespace zelctl
{
namespace
{

/// All parameters of a message travel in one sub-block of at most 252 bytes; 40 of them are for what stands before.
constexpr std::size_t kMostParameterBytes = 212;
/// What the sub-block of a parameter holds beside the parameter's bytes.
constexpr std::size_t kParameterHead = 4;

/// By kind: which header bytes are sent, in their order.
struct HeaderOrder
{
    std::size_t count;
    std::array<std::size_t, 4> places;

    std::span<const std::size_t> Places() const { return {places.data(), count}; }
};
constexpr HeaderOrder kHeaders[] = {{3, {0, 1, 2}}, {2, {0, 3}}, {4, {0, 3, 1, 2}}};

std::vector<std::uint8_t> BytesOption(const CArguments& arguments, std::string_view option)
{
    return arguments.OptionBytes(option, {1, ZEL_SMS_PARAMETER_MAX}).value_or(std::vector<std::uint8_t>());
}

std::size_t SizeOf(const std::vector<std::uint8_t>& parameter)
{
    return parameter.empty() ? 0 : (kParameterHead + parameter.size() + 3) / 4 * 4;
}

Value TypeText(const std::uint8_t* address, std::uint8_t type)
{
    return address == nullptr ? Value(nullptr) : Value(Hex(type, 2));
}

}  // namespace

Value BlockText(const std::uint8_t* block, std::size_t size)
{
    return block == nullptr ? Value(nullptr) : Value(HexBytes({block, size}));
}

CMessageParameters::CMessageParameters(const CArguments& arguments)
    : m_firstAddress(BytesOption(arguments, "--first-address")),
      m_secondAddress(BytesOption(arguments, "--second-address")),
      m_extra(BytesOption(arguments, "--extra")),
      m_data(BytesOption(arguments, "--data")),
      m_firstType(arguments.OptionByte("--first-type")),
      m_secondType(arguments.OptionByte("--second-type")),
      m_coding(arguments.OptionByte("--coding"))
{
    const std::size_t size = SizeOf(m_firstAddress) + SizeOf(m_secondAddress) + SizeOf(m_extra) + SizeOf(m_data);
    if (size > kMostParameterBytes)
        throw CUsageError("addresses, data and extra parameters are too long together for a message: " +
                          std::to_string(size) + " bytes instead of " + std::to_string(kMostParameterBytes));
}

bool CMessageParameters::IsEmpty() const
{
    return m_firstAddress.empty() && m_secondAddress.empty() && m_extra.empty() && m_data.empty();
}

SmsParameterGroup CMessageParameters::Group()
{
    SmsParameterGroup group = {};
    group.first_address_type = m_firstType;
    group.first_address_length = static_cast<std::uint32_t>(m_firstAddress.size());
    group.first_address = m_firstAddress.data();
    group.second_address_type = m_secondType;
    group.second_address_length = static_cast<std::uint32_t>(m_secondAddress.size());
    group.second_address = m_secondAddress.data();
    group.extra_length = static_cast<std::uint32_t>(m_extra.size());
    group.extra = m_extra.data();
    group.user_data_coding = m_coding;
    group.user_data_length = static_cast<std::uint32_t>(m_data.size());
    group.user_data = m_data.data();
    return group;
}

std::vector<std::uint8_t> HeaderOf(const SmsContent& content)
{
    std::vector<std::uint8_t> bytes;
    for (const std::size_t at : kHeaders[content.kind].Places())
        bytes.push_back(content.header[at]);
    return bytes;
}

void SetHeader(SmsContent& content, const std::vector<std::uint8_t>& bytes)
{
    const auto places = kHeaders[content.kind].Places();
    if (bytes.size() != places.size())
        throw CUsageError("the header of kind " + std::to_string(content.kind) + " has " +
                          std::to_string(places.size()) + " bytes, not " + std::to_string(bytes.size()));
    for (std::size_t i = 0; i < places.size(); ++i)
        content.header[places[i]] = bytes[i];
}

void AddContent(Value& fields, const SmsContent* content)
{
    fields["kind"] = content == nullptr ? Value(nullptr) : Value(content->kind);
    if (content == nullptr)
        return;
    fields["header"] = HexBytes(HeaderOf(*content));
    fields["first_block"] = BlockText(content->first_block, ZEL_SMS_BLOCK_LENGTH);
    fields["second_block"] = BlockText(content->second_block, ZEL_SMS_BLOCK_LENGTH);
}

void AddParameters(Value& fields, const SmsParameterGroup& group)
{
    fields["first_address_type"] = TypeText(group.first_address, group.first_address_type);
    fields["first_address"] = BlockText(group.first_address, group.first_address_length);
    fields["second_address_type"] = TypeText(group.second_address, group.second_address_type);
    fields["second_address"] = BlockText(group.second_address, group.second_address_length);
    fields["user_data_coding"] = TypeText(group.user_data, static_cast<std::uint8_t>(group.user_data_coding));
    fields["user_data"] = BlockText(group.user_data, group.user_data_length);
    fields["extra"] = BlockText(group.extra, group.extra_length);
}

}  // namespace zelctl

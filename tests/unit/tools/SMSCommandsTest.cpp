#include "commands/SMSCommands.h"

#include "commands/SMSMessage.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace zelctl;

namespace
{

TEST(SMSCommands, HeadersAreShownAndTakenInTheOrderInWhichTheyAreSent)
{
    using Bytes = std::vector<std::uint8_t>;
    const std::tuple<std::uint8_t, Bytes, Bytes> cases[] = {
        {0, {1, 2, 3}, {1, 2, 3, 0}}, {1, {1, 2}, {1, 0, 0, 2}}, {2, {1, 2, 3, 4}, {1, 3, 4, 2}}};
    for (const auto& [kind, sent, record] : cases)
    {
        SmsContent content = {};
        content.kind = kind;
        SetHeader(content, sent);
        EXPECT_EQ(Bytes(content.header, content.header + 4), record);
        EXPECT_EQ(HeaderOf(content), sent);
    }
}

TEST(SMSCommands, AMessageWithoutContentIsDescribed)
{
    std::uint8_t address[] = {0x53, 0x48};
    SmsReceivedMessage message = {};
    message.location = 7;
    message.parameters.first_address_type = 0x91;
    message.parameters.first_address_length = 2;
    message.parameters.first_address = address;
    const Value fields = kSMSModule.indications[0].describe(&message);
    EXPECT_EQ(fields["location"], 7);
    EXPECT_EQ(fields["kind"], nullptr);
    EXPECT_EQ(fields["first_address_type"], "0x91");
    EXPECT_EQ(fields["first_address"], "53 48");
    EXPECT_EQ(fields["user_data"], nullptr);
}

}  // namespace

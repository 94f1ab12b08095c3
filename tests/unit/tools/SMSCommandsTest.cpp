#include "Modules.h"
#include "Program.h"
#include "SMSMessage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

using namespace zelctl;

namespace
{

// None of these opens a phone.
TEST(SMSCommands, WrongUsageIsExplained)
{
    const std::pair<std::vector<std::string>, const char*> wrong[] = {
        {{"list", "--selectors", "0102"}, "takes 3 bytes, not 2"},
        {{"show", "65536"}, "LOCATION: 65536 is not between"},
        {{"store", "3"}, "KIND: 3 is not between"},
        {{"store", "0", "--header", "0102"}, "kind 0 has 3 bytes, not 2"},
        {{"store", "1", "--header", "010203"}, "kind 1 has 2 bytes, not 3"},
        {{"store", "0", "--second-block", "01020304050607"}, "kind 0 takes no --second-block"},
        {{"store", "2", "--first-block", "01020304050607"}, "kind 2 takes no --first-block"},
        {{"store", "1", "--second-block", "01"}, "takes 7 bytes, not 1"},
        {{"store", "0", "--time", "today"}, "YYYY-MM-DD"},
        {{"store", "0", "--coding", "256"}, "--coding: 256 is not between"},
        {{"store", "0", "--data", ""}, "takes 1 to 255 bytes, not 0"},
        {{"send"}, "nothing to send"},
        {{"send", "--data", std::string(2 * 209, '0')}, "216 bytes instead of 212"},
        {{"send", "--data", "00", "--request", "01"}, "takes 4 bytes, not 1"},
        {{"write-text", "1", std::string(41, 'x')}, "longer than 40"},
    };
    for (const auto& [words, message] : wrong)
    {
        std::vector<std::string> line = {"sms"};
        line.insert(line.end(), words.begin(), words.end());
        testing::internal::CaptureStderr();
        EXPECT_EQ(RunProgram(line, CStopSignal()), kWrongUsage) << message;
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(message));
    }
}

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

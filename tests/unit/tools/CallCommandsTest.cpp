#include "Modules.h"
#include "Program.h"
#include "Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <zelapi/call.h>

using namespace zelctl;

namespace
{

// None of these opens a phone.
TEST(CallCommands, WrongUsageIsExplained)
{
    const std::string longest(124, '1');
    const std::pair<std::vector<std::string>, const char*> wrong[] = {
        {{"dial", "+"}, "NUMBER is empty"},
        {{"dial", longest}, "more than 123 characters"},
        {{"dial", "+" + longest}, "more than 124 characters"},
        {{"dial", "1", "--text", longest}, "more than 122 characters"},
        {{"dial", "1", "--text-parameters", "01020304"}, "goes with --text"},
        {{"dial", "1", "--number-parameters", "01"}, "takes 2 bytes, not 1"},
        {{"dial-variant", "--parameters", "0102"}, "go with a NUMBER"},
        {{"control", "6"}, "none of 1, 2, 3, 4, 5, 0xA1"},
        {{"control", "5"}, "needs a CALL"},
        {{"control", "1", "1"}, "only operation 5"},
        {{"status", "256"}, "CALL: 256 is not between"},
    };
    for (const auto& [words, message] : wrong)
    {
        std::vector<std::string> line = {"call"};
        line.insert(line.end(), words.begin(), words.end());
        testing::internal::CaptureStderr();
        EXPECT_EQ(RunProgram(line, CStopSignal()), kWrongUsage) << message;
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(message));
    }
}

TEST(CallCommands, EveryElementOfAnIndicationIsDescribed)
{
    const BStr number = ToBStr("+1");
    CallElement elements[] = {{0, 0, 0, 1, 2, 0, 0, {}}, {0, 3, 0, 0x10, 0, 0, 0, {}}, {0, 8, 0, 1, 0, 0, 0, {}}};
    elements[1].value.text = number.get();
    elements[2].value.cause = 0x111;
    const CallRecord record = {0, 5, 3, 0, elements};
    EXPECT_EQ(kCallModule.indications[0].describe(&record),
              (Value{{"call", 5},
                     {"elements",
                      {{{"id", 0}, {"element", "item 7"}, {"parameters", "01 02 00 00"}},
                       {{"id", 3}, {"element", "number"}, {"parameters", "10 00 00 00"}, {"text", "+1"}},
                       {{"id", 8}, {"element", "cause"}, {"parameters", "01 00 00 00"}, {"cause", 0x11}}}}}));
}

}  // namespace

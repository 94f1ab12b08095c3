#include "Program.h"

#include <gmock/gmock.h>

namespace zelctl
{
namespace
{

using Words = std::vector<std::string>;

// None of these opens a phone.
TEST(SupplementaryCommands, WrongArgumentsAreExplained)
{
    const std::string longText(124, 'x');
    const std::pair<Words, const char*> wrong[] = {
        {{"supplementary", "query", "256", "0"}, "CODE: 256 is not between 0 and 255"},
        {{"supplementary", "query", "1", "65536"}, "VALUE: 65536 is not between 0 and 65535"},
        {{"supplementary", "request", "3", "1", "0"}, "operation 3 takes a text"},
        {{"supplementary", "request", "4", "1", "0", "x"}, "operation 3 takes a text"},
        {{"supplementary", "request", "3", "1", "0", longText}, "more than 123 characters"},
        {{"supplementary", "request-43", "3", "x"}, "CODE: \"x\" is not a number"},
    };
    for (const auto& [words, message] : wrong)
    {
        const CStopSignal stop;
        testing::internal::CaptureStderr();
        EXPECT_EQ(RunProgram(words, stop), kWrongUsage) << message;
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(message));
    }
}

}  // namespace
}  // namespace zelctl

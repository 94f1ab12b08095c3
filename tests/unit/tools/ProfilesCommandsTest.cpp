#include "Program.h"

#include <gmock/gmock.h>

namespace zelctl
{
namespace
{

using Words = std::vector<std::string>;

// None of these opens a phone.
TEST(ProfilesCommands, WrongArgumentsAreExplained)
{
    const std::string longText(17, 'x');
    const std::pair<Words, const char*> wrong[] = {
        {{"profiles", "show", "1"}, "an argument is missing"},
        {{"profiles", "show", "1", "12", "256"}, "SETTING: 256 is not between 0 and 255"},
        {{"profiles", "set", "1", "12", "text", longText}, "at most 16 characters"},
        {{"profiles", "set", "1", "5", "text", "x"}, "only setting 12 is a text"},
        {{"profiles", "set", "1", "12", "u8", "1"}, "setting 12 is a text"},
        {{"profiles", "set", "1", "5", "u16", "65536"}, "VALUE: 65536 is not between 0 and 65535"},
        {{"profiles", "set", "1", "5", "i8", "1"}, "\"i8\" is none of u8, u16, u32, text"},
        {{"profiles", "set-bytes", "010203"}, "four bytes are needed"},
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

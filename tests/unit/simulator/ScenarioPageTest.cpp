#include "PhoneFixture.h"
#include "com/Options.h"

#include <fstream>
#include <iterator>
#include <sstream>

namespace vorlansim
{
namespace
{

/// The code blocks of docs/scenarios.md in the given language; all of them must have one.
std::vector<std::string> CodeBlocks(const std::string& language)
{
    std::ifstream page(SCENARIO_PAGE);
    const std::string text{std::istreambuf_iterator<char>(page), {}};
    const std::string fence = "\n```";
    std::vector<std::string> blocks;
    for (std::size_t end = 0, start = text.find(fence); start != std::string::npos; start = text.find(fence, end + 1))
    {
        end = text.find(fence, start + 1);
        const std::size_t code = text.find('\n', start + 1) + 1;
        const std::string found = text.substr(start + fence.size(), code - 1 - start - fence.size());
        EXPECT_NE(found, "") << "a code block without a language";
        if (found == language)
            blocks.push_back(text.substr(code, end + 1 - code));
    }
    return blocks;
}

CPlay Play(const std::string& source)
{
    return CPlay(ParseScenario(source, std::filesystem::path(SCENARIO_FOLDER) / "page"));
}

TEST(ScenarioPageTest, EveryScenarioAnswersAsThePageSays)
{
    // What the library sends to each, in the order of the page.
    const std::vector<Exchange> conversations[] = {
        // The clock.
        {{"F0 12 00", "F0 01 10 00"},
         {"0A 00 00", "0B 01 01 01 0C 01 03 07 D6 05 11 0C 1E 00 00"},
         {"01 00 01 01 0C 01 03 07 D7 06 05 04 03 02 00", "02 01 01 01 0C 01 03 07 D7 06 05 04 03 02 00"},
         {"0A 00 00", "0B 01 01 01 0C 01 03 07 D7 06 05 04 03 02 00"}},
        // A layer on the default phone.
        {{"0A 00 00", "0x800705B4"}, {"F0 12 00", "F0 01 10 00"}},
        // A stored message, and a place without one.
        {{"02 00 00 00 01 00 00",
          "03 00 01 00 00 00 00 00 00 00 01 00 1C 04 00 04 00 00 00 00 00 00 00 00 00 00 01 80 0C 05 04 48 65 6C 6C 6F "
          "00 "
          "00 00",
          0x14},
         {"02 00 00 00 02 00 00", "03 05", 0x14}},
        // One answer after the other.
        {{"0A 00 00", "0B 01 00"},
         {"0A 00 00", "0B 01 00"},
         {"0A 00 00", "0x8007001F"},
         {"0A 00 00", "0x800705B4"},
         {"0A 00 00", "0x800705B4"}},
        // A memory.
        {{"0C 00 00 00 00 00 00", "0D 00 00 00 00", 0x14},
         {"00 00 00 00 00 07 01 02 04 11 2A", "01 00 00 00 01", 0x14},
         {"00 00 00 00 00 07 01 02 04 11 2B", "01 00 00 00 02", 0x14},
         {"0C 00 00 00 00 00 00", "0D 00 00 00 02 00 01 00 02", 0x14},
         {"04 00 00 00 01 0F 00", "05 00", 0x14},
         {"0C 00 00 00 00 00 00", "0D 00 00 00 01 00 02", 0x14}},
    };
    const auto blocks = CodeBlocks("scenario");
    ASSERT_EQ(blocks.size(), std::size(conversations)) << "every block needs a conversation";
    for (std::size_t i = 0; i < blocks.size(); ++i)
    {
        SCOPED_TRACE(blocks[i]);
        Play(blocks[i]).Converse(conversations[i]);
    }
}

TEST(ScenarioPageTest, TheProgramTakesEveryCommand)
{
    for (const std::string& block : CodeBlocks("sh"))
    {
        std::istringstream lines(block);
        for (std::string line; std::getline(lines, line);)
        {
            const std::string command = line.substr(0, line.find('#'));
            std::wistringstream words(std::wstring(command.begin(), command.end()));
            std::vector<std::wstring> arguments{std::istream_iterator<std::wstring, wchar_t>(words), {}};
            std::vector<wchar_t*> pointers;
            for (std::wstring& argument : arguments)
                pointers.push_back(argument.data());
            ASSERT_EQ(arguments.at(0), L"vorlansim");
            EXPECT_EQ(ReadOptions(std::span(pointers).subspan(1)).error, L"") << line;
        }
    }
}

TEST(ScenarioPageTest, TheTraceLooksAsThePageShowsIt)
{
    CPlay play = Play(CodeBlocks("scenario").at(0) +
                      "on 0x66 0x83\n  indicate 0x66 0x84 05 01\n  delay 50ms\n  reply 0x0B BB\n");
    play.client->Send({0x19, FromHex("0A 00 00"), true, {0x0B}, 2000});
    play.Ask("83", 10, 0x66);
    for (const std::string& block : CodeBlocks("text"))
    {
        std::istringstream lines(block);
        for (std::string line; std::getline(lines, line);)
            EXPECT_TRUE(play.traced.WaitFor(line.substr(line.find("  #")))) << line;
    }
}

}  // namespace
}  // namespace vorlansim

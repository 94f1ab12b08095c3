#include "com/Options.h"

#include <gtest/gtest.h>

#include <vector>

namespace vorlansim
{
namespace
{

Options Read(std::vector<std::wstring> words)
{
    std::vector<wchar_t*> arguments;
    for (std::wstring& word : words)
        arguments.push_back(word.data());
    return ReadOptions(arguments);
}

TEST(OptionsTest, TakesEveryPrefixAndCase)
{
    for (const wchar_t* word : {L"/regserver", L"-RegServer", L"--regserver"})
        EXPECT_EQ(Read({word}).mode, Options::Mode::Register) << word;
    EXPECT_EQ(Read({L"/UnregServer"}).mode, Options::Mode::Unregister);
    EXPECT_EQ(Read({L"/?"}).mode, Options::Mode::Help);
    EXPECT_EQ(Read({L"--check", L"a"}).mode, Options::Mode::Check);
    EXPECT_TRUE(Read({L"-Embedding"}).startedByCom);
}

TEST(OptionsTest, KeepsValuesAsTheyAre)
{
    const Options options = Read({L"--scenario", L"/tmp/A phone.scenario", L"--trace", L"--quiet", L"--quiet",
                                  L"--ready-event", L"Up", L"--stop-event", L"Down"});
    EXPECT_EQ(options.scenario, std::filesystem::path(L"/tmp/A phone.scenario"));
    EXPECT_EQ(options.trace, std::filesystem::path(L"--quiet"));
    EXPECT_TRUE(options.quiet);
    EXPECT_EQ(options.readyEvent + L" " + options.stopEvent + L" " + options.error, L"Up Down ");
}

TEST(OptionsTest, NamesWhatIsWrong)
{
    EXPECT_EQ(Read({L"--speed"}).error, L"unknown option --speed");
    EXPECT_EQ(Read({L"phone.scenario"}).error, L"unknown option phone.scenario");
    EXPECT_EQ(Read({L"--trace"}).error, L"--trace needs a value");
}

}  // namespace
}  // namespace vorlansim

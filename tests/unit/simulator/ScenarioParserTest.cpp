#include "PhoneFixture.h"

#include <gmock/gmock.h>

#include <fstream>

namespace vorlansim
{
namespace
{

/// The message of the error that loading ends with.
template <typename Load>
std::string ErrorOf(Load load)
{
    try
    {
        load();
    }
    catch (const CScenarioError& error)
    {
        return error.what();
    }
    return "no error";
}

std::string ErrorIn(const std::string& source)
{
    return ErrorOf([&] { CScript(ParseScenario(source, "t")); });
}

TEST(ScenarioParserTest, ReportsMistakesWithFileAndLine)
{
    struct Mistake
    {
        const char* source;
        const char* error;  // what the message begins with
    };
    const Mistake mistakes[] = {
        {"\n# fine\nanswer 1", "t:3: 'answer' is no declaration"},
        {"  reply 1", "t:1: an indented line needs a rule or a timer above it"},
        {"access 1\n  reply 1", "t:2: an indented line needs"},
        {"access 256", "t:1: an access byte expected, decimal or 0x, at most 255, not '256'"},
        {"access 1 2", "t:1: '2' is one too many"},
        {"access", "t:1: an access byte expected, decimal or 0x, at most 255, not the end of the line"},
        {"broker maybe", "t:1: broker is on, off or null"},
        {"device x", "t:1: a device id expected"},
        {"device 1 serial 35", "t:1: a serial number in quotes expected"},
        {"service 25 version 16", "t:1: a version like 16.0 expected, not '16'"},
        {"service 25 version 16.256", "t:1: a version like 16.0 expected"},
        {"fail nothing 0x80004005", "t:1: 'nothing' is no step that can fail"},
        {"fail find 1", "t:1: a failing HRESULT expected"},
        {"include \"x\"\n", "t:1: cannot read x"},
        {"access 1\ninclude \"x\"", "t:2: includes stand before everything else"},
        {"include \"t\"", "t:1: t includes itself"},
        {"set a\n", "t:1: set NAME = BYTES"},
        {"set a = $b\n", "t:1: nothing sets $b"},
        {"set a = $b\nset b = 00", "t:1: $b is not set"},
        {"set a = 1\n", "t:1: '1' is neither bytes"},
        {"set a = 0x01\n", "t:1: '0x01' is neither bytes"},
        {"set a = u8(256)\n", "t:1: 256 does not fit in 1 byte"},
        {"set a = u16(\n  70000)\n", "t:1: 70000 does not fit in 2 bytes"},
        {"set a = u8(1 - 2)\n", "t:1: 1 - 2 is below 0"},
        {"set a = u8(01 02)\n", "t:1: ')' expected, not '02'"},
        {"set a = count(a)\n", "t:1: count makes a number"},
        {"set a = u8(bytes8(00))\n", "t:1: bytes8 makes bytes, not a number"},
        {"set a = block11(1, repeat(300, 00))\n", "t:1: 304 does not fit in 1 byte"},
        {"set a = repeat(16777216, 00) 00\n", "t:1: more than 16 MiB"},
        {"set a = pad(0, 00)\n", "t:1: cannot pad"},
        {"set a = ansi\"x\"\n", "t:1: a text among bytes is"},
        {"set a = utf8\"x\n", "t:1: the text has no closing quote"},
        {"set a = utf8\"\xC3\"\n", "t:1: not UTF-8"},
        {"set a = ;\n", "t:1: ';' has no meaning here"},
        {"set a = ??\n", "t:1: '?\?' cannot stand among bytes (wildcards"},
        {"\nset a = u8(\n  1\nset b = 00\n", "t:2: this '(' is never closed"},
        {"set a = u8(1", "t:1: this '(' is never closed"},
        {"on 25 0x100", "t:1: a message id or any expected"},
        {"on 25 1 * 00", "t:1: nothing can follow the rest"},
        {"on 25 1 <a:*> 00", "t:1: nothing can follow the rest"},
        {"on 25 1\n  reply 2 $x\n", "t:2: nothing sets $x"},
        {"on 25 1\n  if set x\n  reply 2\n", "t:2: nothing sets $x"},
        {"on 25 1 <x:1>\non 25 2\n  reply 2 $x\n", "t:3: nothing sets $x"},
        {"on 25 1\n  reply 2\n  fail 0x80004005", "t:3: the message is answered already"},
        {"on 25 1\n  reply 2\n  if 1 == 1", "t:3: if stands before the actions"},
        {"on 25 1\n  if 1 = 1", "t:2: a comparison expected"},
        {"on 25 1\n  reply 2\n  times 2", "t:3: times stands once, before the actions"},
        {"on 25 1\n  after 1s reply 2", "t:2: after cannot put off reply"},
        {"on 25 1\n  delay 5", "t:2: a time like 500ms, 2s or 1min expected, not '5'"},
        {"on 25 1\n  sing", "t:2: 'sing' is no action"},
        {"on raw *\n  reply 2", "t:2: a raw message has no reply"},
        {"on raw *\n  raw $id", "t:2: nothing sets $id"},
        {"at start\n  reply 2", "t:2: a timer answers nothing"},
        {"after 1s\n  times 2\n", "t:2: times is for every only"},
        {"every 0s\n", "t:1: every needs a time above 0"}};
    for (const Mistake& mistake : mistakes)
        EXPECT_THAT(ErrorIn(mistake.source), testing::StartsWith(mistake.error)) << mistake.source;
}

TEST(ScenarioParserTest, RefusesDeepNesting)
{
    const auto repeat = [](const std::string& part) {
        std::string text;
        for (int i = 0; i < 100000; ++i)
            text += part;
        return text;
    };
    const std::string nested = "set a = " + repeat("pad(1, ") + "00" + repeat(")");
    EXPECT_EQ(ErrorIn(nested), "t:1: too deeply nested");
    const std::string sum = "set a = u8(1" + repeat(" + 1") + ")";
    EXPECT_EQ(ErrorIn(sum), "t:1: too deeply nested");
}

TEST(ScenarioParserTest, TakesMarksAndLineEndsOfWindows)
{
    const Scenario scenario = ParseScenario("\xEF\xBB\xBF"
                                            "access 0x07\r\non 25 1\r\n\treply 2 00\r\n",
                                            "t");
    EXPECT_EQ(scenario.access, 7);
    EXPECT_EQ(scenario.rules.size(), 1U);
}

class LayersTest : public testing::Test
{
  protected:
    LayersTest() { std::filesystem::create_directories(m_folder); }
    ~LayersTest() override { std::filesystem::remove_all(m_folder); }
    LayersTest(const LayersTest&) = delete;
    LayersTest& operator=(const LayersTest&) = delete;

    std::filesystem::path Write(const std::string& name, const std::string& source) const
    {
        std::ofstream(m_folder / name) << source;
        return m_folder / name;
    }

  private:
    const std::filesystem::path m_folder = std::filesystem::temp_directory_path() / u8"vorlansim tést";
};

TEST_F(LayersTest, ALaterLayerLiesOnTop)
{
    Write("base", "access 1\nset a = 0A\non 25 1\n  reply 2 $a\non 25 2\n  reply 2 0B\n");
    Write("middle", "include \"base\"\non 25 2\n  reply 2 1B\non 25 3\n  reply 2 1C\n");
    const auto top = Write("top", "include \"base\"\ninclude \"middle\"\nset a = 2A\non 25 3\n  reply 2 2C\n");
    CPlay play(LoadScenario(top));
    play.Converse({{"01", "02 2A"}, {"02", "02 1B"}, {"03", "02 2C"}});
    std::uint8_t access = 0;
    EXPECT_EQ(play.client->GetAccess(access), kOk);
    EXPECT_EQ(access, 1);
}

TEST_F(LayersTest, MistakesAreReportedWhereTheyAre)
{
    Write("bad", "\naccess x\n");
    const auto top = Write("top", "include \"bad\"\n");
    const auto first = Write("first", "include \"second\"\n");
    Write("second", "# two\ninclude \"first\"\n");
    EXPECT_THAT(ErrorOf([&] { LoadScenario(top); }), testing::HasSubstr("bad:2: an access byte expected"));
    EXPECT_THAT(ErrorOf([&] { LoadScenario(first); }), testing::HasSubstr("second:2: first includes itself"));
    EXPECT_THAT(ErrorOf([&] { LoadScenario(top.parent_path()); }), testing::HasSubstr("cannot read"));
}

}  // namespace
}  // namespace vorlansim

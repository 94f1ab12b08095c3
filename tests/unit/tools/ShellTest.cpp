#include "shell/BlockProgress.h"
#include "shell/DateTime.h"
#include "shell/Failure.h"
#include "shell/Input.h"
#include "shell/Render.h"
#include "shell/ResultText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace zelctl;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

using Words = std::vector<std::string>;

/// What a CUsageError says; "(none)" if nothing is thrown.
template <typename Function>
std::string UsageErrorOf(Function&& function)
{
    try
    {
        function();
    }
    catch (const CUsageError& error)
    {
        return error.what();
    }
    return "(none)";
}

TEST(Input, NumbersAreDecimalOrHexAndChecked)
{
    EXPECT_EQ(ParseNumber("0", "ID"), 0U);
    EXPECT_EQ(ParseNumber("4294967295", "ID"), 0xFFFFFFFFU);
    EXPECT_EQ(ParseNumber("0xFFFFFFFF", "ID"), 0xFFFFFFFFU);
    EXPECT_EQ(ParseNumber("0X1a", "ID", {26, 26}), 26U);
    for (const char* text : {"", "0x", "-1", "1x", "x", " 1", "0x1G", "1.5"})
        EXPECT_THAT(UsageErrorOf([&] { ParseNumber(text, "ID"); }), HasSubstr("is not a number")) << text;
    for (const char* text : {"1", "5", "4294967296", "0x10000000000000000"})
        EXPECT_EQ(UsageErrorOf([&] {
                      ParseNumber(text, "ID", {2, 4});
                  }),
                  "ID: " + std::string(text) + " is not between 2 and 4");
}

TEST(Input, HexBytesComeInAsManyWordsAsWanted)
{
    EXPECT_THAT(ParseHex(Words{"01 0a", "FF00", ""}), ElementsAre(0x01, 0x0A, 0xFF, 0x00));
    for (const char* text : {"1", "01 0", "0G", "G0", "+1", "\xC3\xBC"})
        EXPECT_THAT(UsageErrorOf([&] { ParseHex(Words{"00", text}); }), HasSubstr("\" is not ")) << text;
}

TEST(DateTime, IsReadStrictlyAndWritten)
{
    const DateTime time = ParseDateTime("2024-02-29 23:05:09");
    EXPECT_EQ(FormatDateTime(time), "2024-02-29 23:05:09");
    EXPECT_EQ(time.year, 2024);
    EXPECT_EQ(time.minute, 5);
    EXPECT_EQ(SecondsBetween(time, ParseDateTime("2024-03-01 00:00:00")), 3291);
    for (const char* text : {"", "2024-02-29", "2024-02-29T23:05:09", "2024-02-29 23:05:09 ", "2O24-02-29 23:05:09"})
        EXPECT_THAT(UsageErrorOf([&] { ParseDateTime(text); }), HasSubstr("YYYY-MM-DD HH:MM:SS")) << text;
    for (const char* text : {"2023-02-29 00:00:00", "2024-00-01 00:00:00", "2024-13-01 00:00:00", "2024-01-01 24:00:00",
                             "2024-01-01 00:60:00", "2024-01-01 00:00:60"})
        EXPECT_THAT(UsageErrorOf([&] { ParseDateTime(text); }), HasSubstr("no such date")) << text;
}

TEST(Text, SurvivesBothWays)
{
    EXPECT_EQ(ToUtf8(L"\u00E9\u20AC\xD83D\xDE00"), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(ToUtf16("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), L"\u00E9\u20AC\xD83D\xDE00");
    EXPECT_EQ(ToUtf8({}), "");
    EXPECT_EQ(ToUtf8(std::wstring(1, L'\xD83D') + L"a"), "\xEF\xBF\xBD"
                                                         "a");
    EXPECT_EQ(FromBStr(nullptr), "");
    EXPECT_EQ(FromBStr(ToBStr(std::string("a\0b", 3)).get()), std::string("a\0b", 3));
}

TEST(Render, OneTreeBecomesTextAndJson)
{
    const Value value = {
        {"file_id", 3},
        {"name", "Gr\xC3\xBC\xC3\x9F"
                 "e\x1B[2J\n"},
        {"numbers", {1, 2}},
        {"nothing", nullptr},
        {"none", Value::array()},
        {"details", {{"valid", true}}},
        {"rows", {{{"name", "\xC3\xBC"}, {"size", 5}}, {{"name", "abc"}, {"size", 100}, {"more", "x"}}}}};
    EXPECT_EQ(RenderText(value, 2), "  file id: 3\n"
                                    "  name:    Gr\xC3\xBC\xC3\x9F"
                                    "e\\x1B[2J\\x0A\n"
                                    "  numbers: 1, 2\n"
                                    "  nothing: -\n"
                                    "  none:    (none)\n"
                                    "  details:\n"
                                    "    valid: yes\n"
                                    "  rows:\n"
                                    "    name  size  more\n"
                                    "    \xC3\xBC        5\n"
                                    "    abc    100  x\n");
    EXPECT_EQ(Value::parse(RenderJson(value)), value);
    EXPECT_EQ(RenderJsonLine(value),
              "{\"file_id\":3,\"name\":\"Gr\xC3\xBC\xC3\x9F"
              "e\\u001b[2J\\n\",\"numbers\":[1,2],\"nothing\":null,"
              "\"none\":[],\"details\":{\"valid\":true},\"rows\":[{\"name\":\"\xC3\xBC\",\"size\":5},"
              "{\"name\":\"abc\",\"size\":100,\"more\":\"x\"}]}\n");
}

TEST(Render, ListsOfNestedRecordsAreBlocks)
{
    const Value list = {{{"a", 1}, {"b", {{"c", 2}}}}, {{"a", 3}}};
    EXPECT_EQ(RenderText(list), "a: 1\nb:\n  c: 2\n\na: 3\n");
    EXPECT_EQ(RenderText(Value::array()), "(none)\n");
}

TEST(Render, BrokenUtf8IsReplaced)
{
    EXPECT_EQ(RenderJsonLine("\xC3"), "\"\xEF\xBF\xBD\"\n");
}

TEST(ResultText, SaysWhatItMeansAndWhatToDo)
{
    struct Case
    {
        std::uint32_t code;
        const char* meaning;
        const char* remedy;
    };
    const Case cases[] = {
        {0x80040154, "not registered", "/regserver"},
        {0x8007048F, "phone is not there", "connected"},
        {3, "does not support", "zelctl services"},
        {0x800705B4, "in time", "switched on"},
        {0x800706BA, "service is gone", "again"},
        {0x80010108, "gone away", "again"},
        {0x800706BE, "ended during the call", "again"},
        {0x80200001, "no link service", "again"},
        {0x6D02, "\"file\" refused: status 2.", ""},
        {0x4207, "\"0x42\" refused: status 7.", ""},
        {0x80100014, "not open", ""},
    };
    for (const Case& expected : cases)
    {
        const ResultText text = DescribeResult(expected.code);
        EXPECT_THAT(text.meaning, HasSubstr(expected.meaning)) << Hex(expected.code, 8);
        EXPECT_THAT(text.remedy, HasSubstr(expected.remedy)) << Hex(expected.code, 8);
    }
    EXPECT_EQ(DescribeResult(0xA0001234).meaning, "A code of the link service or of COM.");
}

TEST(ProgressBar, FillsUp)
{
    constexpr std::uint64_t kMegabyte = 1 << 20;
    EXPECT_EQ(ProgressBar("writing", 0, 1), "writing [....................]   0 %, 0.0 of 0.0 MiB");
    EXPECT_EQ(ProgressBar("a", 4 * kMegabyte, 8 * kMegabyte), "a [##########..........]  50 %, 4.0 of 8.0 MiB");
    EXPECT_EQ(ProgressBar("a", 0xFFFFFFFF, 0xFFFFFFFF), "a [####################] 100 %, 4096.0 of 4096.0 MiB");
}

}  // namespace

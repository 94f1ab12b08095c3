#include "Arguments.h"
#include "DateTime.h"
#include "Failure.h"
#include "Help.h"
#include "Modules.h"
#include "Program.h"
#include "Render.h"
#include "ResultText.h"
#include "ServiceNames.h"
#include "Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

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

TEST(Arguments, NumbersAreDecimalOrHexAndChecked)
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

TEST(Arguments, HexBytesComeInAsManyWordsAsWanted)
{
    EXPECT_THAT(ParseHex(Words{"01 0a", "FF00", ""}), ElementsAre(0x01, 0x0A, 0xFF, 0x00));
    for (const char* text : {"1", "01 0", "0G", "G0", "+1", "\xC3\xBC"})
        EXPECT_THAT(UsageErrorOf([&] { ParseHex(Words{"00", text}); }), HasSubstr("\" is not ")) << text;
}

TEST(Arguments, OptionsMayStandAnywhereBeforeTheDashes)
{
    constexpr Option kKnown[] = {{"--for", "SECONDS", ""}, {"--all", "", ""}};
    const CArguments arguments({"a", "--for", "7", "b", "--all", "--", "--for", "--"}, kKnown);
    EXPECT_THAT(arguments.Words(), ElementsAre("a", "b", "--for", "--"));
    EXPECT_TRUE(arguments.Has("--all"));
    EXPECT_EQ(arguments.OptionNumber("--for"), 7U);
    EXPECT_EQ(CArguments({"--for=0x10"}, kKnown).OptionNumber("--for"), 16U);
    EXPECT_EQ(CArguments({"-"}, kKnown).OptionNumber("--for"), std::nullopt);

    const std::pair<Words, const char*> wrong[] = {
        {{"--for"}, "--for needs a value: SECONDS"},
        {{"--all=1"}, "--all takes no value"},
        {{"--all", "--all"}, "--all is given twice"},
        {{"--none"}, "unknown option --none"},
        {{"-f"}, "unknown option -f"},
    };
    for (const auto& [words, message] : wrong)
        EXPECT_EQ(UsageErrorOf([&] { CArguments(words, kKnown); }), message);
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

TEST(Program, EveryCommandIsExplainedAndFoundOnce)
{
    std::set<std::string> names;
    ForEachCommand([&](const Command& command) {
        EXPECT_TRUE(names.insert(command.name).second) << command.name;
        EXPECT_THAT(HelpFor({}), HasSubstr(command.summary));
        EXPECT_THAT(HelpFor({command.name}), HasSubstr(UsageOf(command)));
    });
    EXPECT_THAT(HelpFor({"raw"}), testing::AllOf(HasSubstr("zelctl raw access"), HasSubstr("zelctl raw send HEX...")));
    EXPECT_THAT(UsageErrorOf([] { HelpFor({"tim"}); }), HasSubstr("no command \"tim\""));
}

TEST(Program, EveryIndicationBelongsToANamedService)
{
    for (const Module* module : Modules())
    {
        EXPECT_FALSE(ServiceNameOf(module->resource).starts_with("0x"));
        for (const Indication& indication : module->indications)
            EXPECT_EQ(ZEL_RESOURCE_OF(indication.id), module->resource) << indication.name;
    }
}

/// The exit code of a command line, and what it wrote.
struct Outcome
{
    int code;
    std::string out;
    std::string error;
};

Outcome RunWords(Words words)
{
    const CStopSignal stop;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int code = RunProgram(std::move(words), stop);
    return {code, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

// None of these opens a phone: what was typed is checked before.
TEST(Program, WrongUsageIsExplained)
{
    const std::pair<Words, const char*> wrong[] = {
        {{}, "a command is missing"},
        {{"tim"}, "there is no command \"tim\""},
        {{"raw"}, "one of: access, send"},
        {{"time", "sett"}, "\"sett\" is one argument too many"},
        {{"time", "set"}, "an argument is missing"},
        {{"time", "set", "today"}, "Usage: zelctl time set"},
        {{"file", "name", "x"}, "ID: \"x\" is not a number"},
        {{"profiles", "set", "1", "12", "text", "12345678901234567"}, "at most 16 characters"},
        {{"profiles", "set", "1", "5", "text", "x"}, "only setting 12 is a text"},
        {{"profiles", "set", "1", "12", "u8", "1"}, "setting 12 is a text"},
        {{"profiles", "set", "1", "5", "u16", "65536"}, "VALUE: 65536 is not between 0 and 65535"},
        {{"profiles", "set", "1", "5", "i8", "1"}, "is none of u8, u16, u32, text"},
        {{"profiles", "set-bytes", "010203"}, "four bytes are needed"},
        {{"raw", "send", "0"}, "is not whole bytes"},
        {{"provisioning", "select", "256"}, "NUMBER: 256 is not between 0 and 255"},
        {{"provisioning", "write", ""}, "FOLDER is empty"},
        {{"radio", "write", "1", "name", "0G"}, "is not"},
        {{"radio", "write", "1", std::string(256, 'n')}, "more than 255 characters"},
        {{"radio", "set", "1", "2", "3", "4", "5", "6", std::string(121, 't')}, "more than 120 characters"},
        {{"radio", "request", "1", "x"}, "SECOND-KEY: \"x\" is not a number"},
        {{"permissions", "size", "65536"}, "KEY: 65536 is not between"},
        {{"permissions", "read", "1"}, "an argument is missing"},
        {{"storage", "three-byte-command", "1", "0", "256", "0"}, "SECOND: 256 is not between"},
        {{"wap", "byte", "256"}, "KEY: 256 is not between"},
        {{"wap", "write", "a", std::string(256, 'x')}, "SECOND has more than 255 characters"},
        {{"wap", "write", "a", "b", "--identifier", "0"}, "--identifier: 0 is not between"},
        {{"call", "dial", "+"}, "NUMBER is empty"},
        {{"call", "dial", std::string(124, '1')}, "has more than 123"},
        {{"call", "dial", "+" + std::string(124, '1')}, "has more than 124"},
        {{"call", "dial", "1", "--text", std::string(124, '1')}, "has more than 122"},
        {{"call", "dial", "1", "--text-parameters", "01020304"}, "goes with --text"},
        {{"call", "dial", "1", "--number-parameters", "01"}, "takes 2 bytes, not 1"},
        {{"call", "dial-variant", "--parameters", "0102"}, "go with a NUMBER"},
        {{"call", "control", "6"}, "none of 1, 2, 3, 4, 5, 0xA1"},
        {{"call", "control", "5"}, "needs a CALL"},
        {{"call", "control", "1", "1"}, "only operation 5"},
        {{"call", "status", "256"}, "CALL: 256 is not between"},
        {{"sms", "list", "--selectors", "0102"}, "takes 3 bytes, not 2"},
        {{"sms", "show", "65536"}, "LOCATION: 65536 is not between"},
        {{"sms", "store", "3"}, "KIND: 3 is not between"},
        {{"sms", "store", "0", "--header", "0102"}, "kind 0 has 3 bytes, not 2"},
        {{"sms", "store", "1", "--header", "010203"}, "kind 1 has 2 bytes, not 3"},
        {{"sms", "store", "0", "--second-block", "01020304050607"}, "kind 0 takes no --second-block"},
        {{"sms", "store", "2", "--first-block", "01020304050607"}, "kind 2 takes no --first-block"},
        {{"sms", "store", "1", "--second-block", "01"}, "takes 7 bytes, not 1"},
        {{"sms", "store", "0", "--time", "today"}, "YYYY-MM-DD"},
        {{"sms", "store", "0", "--coding", "256"}, "--coding: 256 is not between"},
        {{"sms", "store", "0", "--data", ""}, "takes 1 to 255 bytes, not 0"},
        {{"sms", "send"}, "nothing to send"},
        {{"sms", "send", "--data", std::string(2 * 209, '0')}, "216 bytes instead of 212"},
        {{"sms", "send", "--data", "00", "--request", "01"}, "takes 4 bytes, not 1"},
        {{"sms", "write-text", "1", std::string(41, 'x')}, "longer than 40"},
        {{"supplementary", "query", "256", "0"}, "CODE: 256 is not between 0 and 255"},
        {{"supplementary", "request", "3", "1", "0"}, "operation 3 takes a text"},
        {{"supplementary", "request", "4", "1", "0", "x"}, "operation 3 takes a text"},
        {{"supplementary", "request", "3", "1", "0", std::string(124, 'x')}, "more than 123 characters"},
        {{"watch", "file"}, "there are connection, "},
        {{"watch", "--count", "0"}, "--count: 0 is not between"},
        {{"--device", "1", "--serial", "2", "time"}, "exclude each other"},
        {{"--medium", "2", "time"}, "goes with --serial"},
        {{"--serial", "1", "--medium", "3", "time"}, "none of 1, 2, 4, 8, 16"},
        {{"--frob", "time"}, "unknown option --frob"},
    };
    for (auto [words, message] : wrong)
    {
        const Outcome text = RunWords(words);
        EXPECT_EQ(text.code, kWrongUsage) << message;
        EXPECT_THAT(text.error, HasSubstr(message));
        EXPECT_THAT(text.error, HasSubstr("--help"));
        EXPECT_EQ(text.out, "");

        words.emplace_back("--json");
        const Outcome json = RunWords(words);
        EXPECT_EQ(json.code, kWrongUsage) << message;
        EXPECT_THAT(Value::parse(json.out)["error"]["usage"].get<std::string>(), HasSubstr(message));
        EXPECT_EQ(json.error, "");
    }
}

TEST(Program, HelpSucceeds)
{
    for (const Words& words : {Words{"--help"}, Words{"time", "set", "--help"}})
    {
        const Outcome outcome = RunWords(words);
        EXPECT_EQ(outcome.code, kSuccess);
        EXPECT_THAT(outcome.out, HasSubstr("sets the clock and reads it back"));
        EXPECT_EQ(outcome.error, "");
    }
}

}  // namespace

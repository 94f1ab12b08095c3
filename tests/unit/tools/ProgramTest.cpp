#include "Program.h"

#include "Catalogue.h"
#include "shell/ServiceNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <sstream>
#include <zelapi/file.h>
#include <zelapi/profiles.h>
#include <zelapi/time.h>

using namespace zelctl;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace
{

/// What the phone answers to a request. The functions of the library lead here, in place of the library.
using Answer = std::function<std::uint32_t(std::uint32_t messageId, void* record)>;
Answer g_answer;

std::uint32_t Open(ZelConnection* connection)
{
    *connection = &g_answer;
    return ZEL_OK;
}

}  // namespace

// clang-format off
std::uint32_t __stdcall ZelAPI_Initialize() { return 1; }
std::uint32_t __stdcall ZelAPI_Terminate() { return 0; }
std::uint32_t __stdcall ZelOpenConnection(std::uint32_t, ZelConnection* phone) { return Open(phone); }
std::uint32_t __stdcall ZelOpenConnectionUsingSN(const OLECHAR*, const uint32_t*, ZelConnection* phone)
{ return Open(phone); }
std::uint32_t __stdcall ZelCloseConnection(ZelConnection) { return ZEL_OK; }
std::uint32_t __stdcall ZelSendMessage(ZelConnection, std::uint32_t id, void* record) { return g_answer(id, record); }
std::uint32_t __stdcall ZelMsgSupportQuery(ZelConnection, std::uint32_t, std::uint32_t*) { return ZEL_NOT_SUPPORTED; }
std::uint32_t __stdcall ZelRegisterNotification(ZelConnection, std::uint32_t, std::uint32_t) { return ZEL_OK; }
std::uint32_t __stdcall ZelRegisterNotificationIF(ZelConnection, std::uint32_t, IZelNotification*) { return ZEL_OK; }
// clang-format on

namespace
{

using Words = std::vector<std::string>;

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

Words Split(const std::string& text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

TEST(Program, EveryCommandIsExplainedAndFoundOnce)
{
    std::set<std::string> names;
    for (const Command* command : AllCommands())
    {
        EXPECT_TRUE(names.insert(command->name).second) << command->name;
        for (const char* help : {"-h", "--help"})
        {
            const Outcome own = RunWords(Split(std::string(command->name) + " " + help));
            EXPECT_EQ(own.code, kSuccess);
            EXPECT_THAT(own.out, AllOf(HasSubstr(command->summary), HasSubstr(command->details),
                                       HasSubstr(std::string("Usage: zelctl ") + command->name)));
            for (const Option& option : command->options)
                EXPECT_THAT(own.out, AllOf(HasSubstr(option.name), HasSubstr(option.help)));
        }
        EXPECT_THAT(RunWords({Split(command->name).front(), "--help"}).out, HasSubstr(command->summary));
    }
    EXPECT_THAT(RunWords({"--help"}).out,
                AllOf(HasSubstr("watch"), HasSubstr("short messages"), HasSubstr("--serial")));
}

TEST(Program, TheVersionIsToldEverywhere)
{
    const std::string version = RunWords({"--version"}).out;
    EXPECT_THAT(version, testing::MatchesRegex("zelctl \\d+\\.\\d+\\.\\d+\\n"));
    for (const Command* command : AllCommands())
        EXPECT_EQ(RunWords(Split(std::string(command->name) + " --version")).out, version);
}

TEST(Program, EveryIndicationBelongsToANamedService)
{
    for (const Module* module : AllModules())
    {
        EXPECT_FALSE(ServiceNameOf(module->resource).starts_with("0x"));
        for (const Indication& indication : module->indications)
            EXPECT_EQ(ZEL_RESOURCE_OF(indication.id), module->resource) << indication.name;
    }
}

Words Join(Words words, const Words& more)
{
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

// None of these opens a phone: what was typed is checked before.
TEST(Program, WrongUsageIsExplained)
{
    g_answer = nullptr;
    const std::pair<Words, const char*> wrong[] = {
        {{}, "a command is missing"},
        {{"tim"}, "there is no command \"tim\""},
        {{"raw"}, "one of: access, send"},
        {{"raw", "receive"}, "one of: access, send"},
        {{"time", "sett"}, "\"sett\" is one argument too many"},
        {{"-f", "time"}, "unknown option -f"},
        {{"time", "--device"}, "--device"},
        {{"watch", "--for", "1", "--for", "1"}, "--for"},
        {{"wap", "write", "a", "b", "--flag=1"}, "flag override"},
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
        {{"--device", "1", "--serial", "2", "time"}, "excludes"},
        {{"--medium", "2", "time"}, "requires --serial"},
        {{"--serial", "1", "--medium", "3", "time"}, "none of 1, 2, 4, 8, 16"},
        {{"--frob", "time"}, "unknown option --frob"},
        {{"profiles", "show", "1"}, "an argument is missing"},
        {Join({"profiles", "show", "1"}, Words(256, "1")), "at most 255 settings"},
        {{"pnd", "find", "5", "x", "--type", "25"}, "it does not hold a text"},
        {{"pnd", "add", "5", "7"}, "not a field of the form TYPE=VALUE"},
        {{"pnd", "add", "5", "=x"}, "TYPE: \"\" is not a number"},
        {{"pnd", "add", "5", "0=x"}, "TYPE: 0 is not between 1 and 255"},
        {{"pnd", "add", "5", "7@256=x"}, "ATTRIBUTE: 256 is not between"},
        {{"pnd", "add", "5", "7/1=x"}, "only type 11 has a sub-attribute"},
        {{"pnd", "add", "5", "7=" + std::string(127, 'x')}, "type 7: the text is too long"},
        {{"pnd", "add", "5", "25=256"}, "VALUE: 256 is not between 0 and 255"},
        {{"pnd", "add", "5", "12=65536"}, "is not between 0 and 65535"},
        {{"pnd", "add", "5", "87=1,2,3,4"}, "five numbers"},
        {{"pnd", "add", "5", "87=1,256,3,4,5"}, "256 is not between"},
        {{"pnd", "add", "5", "74=x"}, "75=TEXT"},
        {{"pnd", "add", "5", "75="}, "1 to 126 characters"},
        {{"pnd", "add", "5", "80=" + std::string(127, 'x')}, "1 to 126 characters"},
        {{"pnd", "add", "5", "75=a", "75=b"}, "type 75: it is given twice"},
        {{"pnd", "add", "5", "58=x"}, "type 58: it takes no value"},
        {Join({"pnd", "add", "5"}, Words(256, "7=x")), "at most 255 fields"},
        {{"calendar", "add", "alarm"}, "not a field of the form NAME=VALUE"},
        {{"calendar", "add", "colour=1"}, "no field called \"colour\""},
        {{"calendar", "add", "location=1"}, "zelctl calendar write"},
        {{"calendar", "add", "alarm=x"}, "alarm: \"x\" is not a number"},
        {{"calendar", "add", "date-1=2023-02-29 00:00:00"}, "no such date"},
        {{"calendar", "add", "text-1=" + std::string(32756, 'x')}, "text-1: the text is too long"},
        {Join({"calendar", "add"}, Words(255, "alarm=1")), "at most 254 fields"},
    };
    for (auto [words, message] : wrong)
    {
        const Outcome text = RunWords(words);
        EXPECT_EQ(text.code, kWrongUsage) << message;
        EXPECT_THAT(text.error, HasSubstr(message));
        EXPECT_THAT(text.error, HasSubstr("--help"));
        EXPECT_EQ(text.out, "");

        words.insert(words.begin(), "--json");
        const Outcome json = RunWords(words);
        EXPECT_EQ(json.code, kWrongUsage) << message;
        EXPECT_THAT(Value::parse(json.out)["error"]["usage"].get<std::string>(), HasSubstr(message));
        EXPECT_EQ(json.error, "");
    }
}

// What stands on the command line as an argument reaches the phone as it is.
TEST(Program, ArgumentsAreTakenAsTheyAre)
{
    std::string name;
    g_answer = [&](std::uint32_t, void* record) {
        name = FromBStr(static_cast<FileLookupRecord*>(record)->name);
        return ZEL_OK;
    };
    for (const char* word : {"", "-", "-1", "+1", "/h", "{}", "[a,b]", "a=b", "time", "id", "\xC3\xBC \xE2\x82\xAC"})
    {
        EXPECT_EQ(RunWords({"file", "id", word}).code, kSuccess) << word;
        EXPECT_EQ(name, word);
    }
    for (const char* word : {"--json", "-h", "--"})
    {
        EXPECT_THAT(RunWords({"file", "--json", "id", "--", word}).out, HasSubstr("{\n"));
        EXPECT_EQ(name, word);
    }
}

std::uint32_t AnswerForTheText(std::uint32_t, void* record)
{
    ProfileSetting& setting = *static_cast<ProfileRecord*>(record)->in.settings;
    setting.setting_id = ZEL_PROFILES_SETTING_TEXT;
    setting.status = 1;
    return ZEL_OK;
}

std::uint32_t TellNoTime(std::uint32_t messageId, void* record)
{
    if (messageId == ZEL_TIME_READ)
        static_cast<TimeRecord*>(record)->now = {};
    return ZEL_OK;
}

Answer With(std::uint32_t result)
{
    return [result](std::uint32_t, void*) { return result; };
}

// ZEL_OK with an untouched record is how the library tells that another message came.
TEST(Program, FailuresAreToldAsTheyAre)
{
    const std::tuple<Words, Answer, const char*> cases[] = {
        {{"profiles", "set", "1", "5", "u32", "7"}, AnswerForTheText, "answered for another setting: 12"},
        {{"profiles", "set", "1", "5", "u8", "7"}, With(ZEL_OK), "does not say that it took the setting"},
        {{"profiles", "bytes"}, With(ZEL_OK), "gave no bytes"},
        {{"time"}, With(ZEL_OK), "did not tell the time"},
        {{"time", "set", "now"}, TellNoTime, "its clock says no valid time"},
        {{"pnd", "find", "5", "x"}, With(ZEL_OK), "brings no entry"},
        {{"permissions", "size", "1"}, With(ZEL_OK), "another message"},
        {{"supplementary", "request", "1", "2", "3"}, With(ZEL_OK), "another message"},
        {{"wap", "show", "1"}, With(ZEL_OK), "another message"},
        {{"wap", "write", "a", "b"}, With(ZEL_OK), "no identifier"},
        {{"wap", "write", "a", "b"}, With(ZEL_NOT_SUPPORTED), "did not get through"},
        {{"wap", "connection-command", "1"}, With(ZEL_NOT_SUPPORTED), "did not get through"},
        {{"sms", "send", "--data", "00"}, With(0x0142), "names a cause: 01 42"},
    };
    for (const auto& [words, answer, message] : cases)
    {
        g_answer = answer;
        const Outcome outcome = RunWords(words);
        EXPECT_EQ(outcome.code, kCallFailed) << message;
        EXPECT_THAT(outcome.error, AllOf(HasSubstr(message), Not(HasSubstr("refused"))));
    }
}

TEST(Program, ASettingIsShownAsItWasSent)
{
    g_answer = AnswerForTheText;
    const Outcome outcome = RunWords({"profiles", "set", "1", "12", "text", "B\xC3\xBCro"});
    EXPECT_EQ(outcome.code, kSuccess);
    EXPECT_THAT(outcome.out, HasSubstr("B\xC3\xBCro"));
}

}  // namespace

#include "PhoneFixture.h"

namespace vorlansim
{
namespace
{

constexpr char kVariables[] = "set data = 01 02 03 04 05\n"
                              "set n = 03\n"
                              "set entry[1] = AA\n"
                              "set entry[2] = BB BB\n"
                              "set entry[7] = CC\n";

TEST(ExpressionTest, BodiesMakeTheseBytes)
{
    struct Case
    {
        const char* text;
        const char* expected;
    };
    const Case cases[] = {
        {"00 0a Ff 0102 $data", "00 0A FF 01 02 01 02 03 04 05"},
        {"u8(255) u16(2006) u32(0x10000001)", "FF 07 D6 10 00 00 01"},
        {"u8(2 + 3 * 4 - 1) u8(10 - 2 - 3)", "0D 05"},
        {"u16($n + 1) u8(number(01 00) - 250)", "00 04 06"},
        {"slice($data, 1, $n) slice($data, 3, 99) slice($data, 9, 1)", "02 03 04 04 05"},
        {"repeat(3, 0A 0B)", "0A 0B 0A 0B 0A 0B"},
        {"pad(4, $data) pad(4, 01020304)", "01 02 03 04 05 00 00 00 01 02 03 04"},
        // Texts: a letter beyond 16 bits is two units and four UTF-8 bytes.
        {"utf16\"aé\" utf16z\"a\"", "00 61 00 E9 00 61 00 00"},
        {"utf8\"aé\" utf8z\"\\\"\\\\\"", "61 C3 A9 22 5C 00"},
        {"utf16\"😀\" utf8\"😀\"", "D8 3D DE 00 F0 9F 98 80"},
        {"bytes8(utf16z\"ab\") bytes16($data)", "06 00 61 00 62 00 00 00 05 01 02 03 04 05"},
        {"units8(utf16\"ab\") units16(utf16z\"a\")", "02 00 61 00 62 00 02 00 61 00 00"},
        {"u8(units(utf16\"abc\")) u8(length(utf8\"abc\"))", "03 03"},
        // Sub-blocks: the length counts header, payload and padding.
        {"block11(0x01, 05) block11(1, 01 02 03)", "01 04 05 00 01 08 01 02 03 00 00 00"},
        {"block12(0x1A, 01 02) block22(0x0101, )", "1A 00 00 08 01 02 00 00 01 01 00 04"},
        {"block22(5, 00 0A)", "00 05 00 08 00 0A 00 00"},
        {"block14(0, u32(1) AB)", "00 00 00 00 00 00 00 10 00 00 00 01 AB 00 00 00"},
        {"blocks() blocks(block11(1, 05) block11(2, block11(3, 06)))", "00 02 01 04 05 00 02 08 03 04 06 00 00 00"},
        // Keyed variables.
        {"u8(count(entry)) u8(next(entry)) u8(find(entry, CC)) u8(find(entry, DD))", "03 03 07 00"},
        {"$entry[2] $entry[$n + 4]", "BB BB CC"},
        {"each(key in entry, u16($key) $entry[$key])", "00 01 AA 00 02 BB BB 00 07 CC"},
        {"blocks(each(key in entry, block11($key, $entry[$key])))", "03 01 04 AA 00 02 04 BB BB 07 04 CC 00"}};
    for (const Case& body : cases)
    {
        CPlay play(std::string(kVariables) + "on 0x19 1\n  reply 2 " + body.text + "\n");
        EXPECT_EQ(play.Ask("01"), "02 " + std::string(body.expected)) << body.text;
    }
}

TEST(ExpressionTest, PatternsMatchAndCapture)
{
    struct Case
    {
        const char* pattern;
        const char* body;
        const char* answer;  // $a and then $b
    };
    constexpr char kNoMatch[] = "03";
    const Case cases[] = {{"", "", "02 A0 EE B0"},
                          {"", "00", kNoMatch},
                          {"01 ?? 03", "01 FF 03", "02 A0 EE B0"},
                          {"01 ?? 03", "01 03", kNoMatch},
                          {"01 *", "01", "02 A0 EE B0"},
                          {"01 *", "02 01", kNoMatch},
                          {"<a:2> <b:*>", "01 02 03", "02 01 02 EE 03"},
                          {"<a:2> <b:*>", "01 02", "02 01 02 EE"},
                          {"<a:2> <b:*>", "01", kNoMatch},
                          // A capture may be as long as an earlier one says.
                          {"<a:1> <b:2 * $a> 00", "02 11 12 13 14 00", "02 02 EE 11 12 13 14"},
                          {"<a:1> <b:2 * $a> 00", "02 11 12 13 00", kNoMatch},
                          {"$clock <b:1>", "07 D6 01", "02 A0 EE 01"},
                          {"$clock <b:1>", "07 D7 01", kNoMatch},
                          {"u16(2006) utf16\"a\"", "07 D6 00 61", "02 A0 EE B0"},
                          // Sub-blocks may be padded; what is behind the length is not theirs.
                          {"block11(1, <a:1>) <b:*>", "01 04 05 00 06", "02 05 EE 06"},
                          {"block11(1, <a:1>)", "01 03 05", "02 05 EE B0"},
                          {"block11(1, <a:1>)", "02 04 05 00", kNoMatch},
                          {"block11(1, <a:1>)", "01 04 05 01", kNoMatch},
                          {"block11(1, <a:1>)", "01 05 05 00", kNoMatch},
                          {"block11(1, <a:1>)", "01 01", kNoMatch},
                          {"block12(1, <a:*>)", "01 00 00 06 07 08", "02 07 08 EE B0"},
                          {"block22(0x0102, block11(3, <a:*>))", "01 02 00 08 03 04 09 0A", "02 09 0A EE B0"},
                          {"block14(0, <a:2>)", "00 00 00 00 00 00 00 0A 01 02", "02 01 02 EE B0"}};
    for (const Case& match : cases)
    {
        CPlay play("set a = A0\nset b = B0\nset clock = 07 D6\non 0x19 1 " + std::string(match.pattern) +
                   "\n  reply 2 $a EE $b\notherwise\n  reply 3\n");
        EXPECT_EQ(play.Ask("01" + std::string(match.body)), match.answer) << match.pattern << " | " << match.body;
    }
}

}  // namespace
}  // namespace vorlansim

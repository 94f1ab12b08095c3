#include "message/MsgBase.h"

#include "message/AtlException.h"
#include "support/Bytes.h"
#include "support/Memory.h"
#include "support/Text.h"

#include <optional>
#ifndef _WIN32
#include <sanitizer/asan_interface.h>
#endif

namespace
{

CMsgBase MessageOf(const Bytes& body)
{
    CMsgBase message;
    message.AppendBytes(body.size(), body.data());
    return message;
}

TEST(MsgBase, NumbersAreBigEndian)
{
    struct Case
    {
        std::uint32_t value;
        Bytes bytes;
    };
    const Case cases[] = {
        {0x00000000, {0x00, 0x00, 0x00, 0x00}}, {0x0000007F, {0x00, 0x00, 0x00, 0x7F}},
        {0x00000080, {0x00, 0x00, 0x00, 0x80}}, {0x000000FF, {0x00, 0x00, 0x00, 0xFF}},
        {0x00000100, {0x00, 0x00, 0x01, 0x00}}, {0x00007FFF, {0x00, 0x00, 0x7F, 0xFF}},
        {0x00008001, {0x00, 0x00, 0x80, 0x01}}, {0x0000FFFF, {0x00, 0x00, 0xFF, 0xFF}},
        {0x00010000, {0x00, 0x01, 0x00, 0x00}}, {0x7FFFFFFF, {0x7F, 0xFF, 0xFF, 0xFF}},
        {0x80000001, {0x80, 0x00, 0x00, 0x01}}, {0xFFFFFFFF, {0xFF, 0xFF, 0xFF, 0xFF}},
        {0x12345678, {0x12, 0x34, 0x56, 0x78}},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.value);
        CMsgBase dword;
        dword.AppendDword(c.value);
        EXPECT_TRUE(SameBytes(c.bytes, BodyOf(dword)));
        EXPECT_EQ(dword.ReadDword(), c.value);

        CMsgBase word;
        word.AppendWord(static_cast<std::uint16_t>(c.value));
        EXPECT_TRUE(SameBytes({c.bytes[2], c.bytes[3]}, BodyOf(word)));
        EXPECT_EQ(word.ReadWord(), static_cast<std::uint16_t>(c.value));

        CMsgBase single;
        single.AppendByte(static_cast<std::uint8_t>(c.value));
        EXPECT_TRUE(SameBytes({c.bytes[3]}, BodyOf(single)));
        EXPECT_EQ(single.ReadByte(), c.bytes[3]);
    }
}

TEST(MsgBase, WritesAtTheEndWhereverTheCursorStands)
{
    CMsgBase message = MessageOf({1, 2});
    EXPECT_EQ(message.ReadByte(), 1);
    const std::uint8_t more[] = {3, 4};
    message.AppendBytes(sizeof more, more);
    message.AppendBytes(0, nullptr);
    EXPECT_TRUE(SameBytes({1, 2, 3, 4}, BodyOf(message)));
    EXPECT_EQ(message.ReadByte(), 2);
}

TEST(MsgBase, AppendsTexts)
{
    struct Case
    {
        std::u16string_view text;
        Bytes units;
    };
    const Case cases[] = {
        {u"", {}},
        {u"A", {0x00, 0x41}},
        {u"\u20AC\u00E9", {0x20, 0xAC, 0x00, 0xE9}},
        {u"\U0001F600", {0xD8, 0x3D, 0xDE, 0x00}},
        {std::u16string_view(u"A\0B", 3), {0x00, 0x41}},  // a text ends at its first zero
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(Hex(c.units));
        const CLeakCheck leaks;
        const CBStrOwner text = MakeText(c.text);
        CMsgBase message;
        message.AppendString(text.get(), false);
        EXPECT_TRUE(SameBytes(c.units, BodyOf(message)));

        Bytes terminated = c.units;
        terminated.insert(terminated.end(), {0x00, 0x00});
        message.Clear();
        message.AppendString(text.get(), true);
        EXPECT_TRUE(SameBytes(terminated, BodyOf(message)));
    }
}

TEST(MsgBase, ANullTextAppendsNothing)
{
    CMsgBase message;
    message.AppendString(nullptr, false);
    message.AppendString(nullptr, true);
    EXPECT_EQ(message.GetSize(), 0u);
}

TEST(MsgBase, AppendStringNeedsMemoryForItsCopy)
{
    const CBStrOwner text = MakeText(u"AB");
    FailEachAllocation([&]() -> std::uint32_t {
        CMsgBase message;
        try
        {
            message.AppendString(text.get(), true);
        }
        catch (const CAtlException& failure)
        {
            EXPECT_EQ(message.GetSize(), 0u);
            return static_cast<std::uint32_t>(failure.m_hr);
        }
        return 0;
    });
}

TEST(MsgBase, AppendsTheFirstUnitsOfAText)
{
    struct Case
    {
        std::int32_t length;
        std::int32_t maximum;
        bool terminate;
        Bytes bytes;
    };
    const Case cases[] = {
        {3, 3, false, {0x01, 0x02, 0x00, 0x00, 0x03, 0x04}},
        {3, 2, false, {0x01, 0x02, 0x00, 0x00}},
        {1, 3, true, {0x01, 0x02, 0x00, 0x00}},
        {0, 3, true, {0x00, 0x00}},
        {3, 0, false, {}},
        {-1, 3, true, {0x00, 0x00}},
        {3, INT32_MIN, false, {}},
    };
    const CBStrOwner text = MakeText(std::u16string_view(u"\u0102\0\u0304", 3));
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.length << ", " << c.maximum);
        CMsgBase message;
        message.AppendStringN(text.get(), c.length, c.maximum, c.terminate);
        EXPECT_TRUE(SameBytes(c.bytes, BodyOf(message)));
    }
}

TEST(MsgBase, MissingBytesReadAsZero)
{
    struct Case
    {
        Bytes body;
        std::uint16_t word;
        std::uint32_t dword;
    };
    const Case cases[] = {
        {{}, 0x0000, 0x00000000},
        {{0x12}, 0x1200, 0x12000000},
        {{0x12, 0x34}, 0x1234, 0x12340000},
        {{0x12, 0x34, 0x56}, 0x1234, 0x12345600},
        {{0x12, 0x34, 0x56, 0x78}, 0x1234, 0x12345678},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(Hex(c.body));
        CMsgBase message = MessageOf(c.body);
        EXPECT_EQ(message.ReadDword(), c.dword);
        EXPECT_EQ(message.GetPosition(), c.body.size());
        EXPECT_EQ(message.ReadByte(), 0);
        EXPECT_EQ(message.GetPosition(), c.body.size());

        message.SetPosition(0);
        EXPECT_EQ(message.ReadWord(), c.word);
        EXPECT_EQ(message.GetPosition(), std::min<std::size_t>(2, c.body.size()));
    }
}

TEST(MsgBase, ACursorOutsideTheBodyReadsZeroAndStays)
{
    for (const std::uint32_t position : {2u, 3u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(position);
        const CLeakCheck leaks;
        CMsgBase message = MessageOf({0x12, 0x34});
        message.SetPosition(position);
        EXPECT_EQ(message.ReadByte(), 0);
        EXPECT_EQ(message.ReadWord(), 0);
        EXPECT_EQ(message.ReadDword(), 0u);
        EXPECT_EQ(UnitsOf(CBStrOwner(message.ReadString(2)).get()), std::u16string(2, u'\0'));
        const CTaskMemOwner<std::uint8_t> block(message.ReadBytes(2));
        EXPECT_TRUE(SameBytes({0, 0}, Bytes(block.get(), block.get() + 2)));
        message.ZeroAtPosition();
        EXPECT_EQ(message.GetPosition(), position);
        EXPECT_TRUE(SameBytes({0x12, 0x34}, BodyOf(message)));
    }
}

TEST(MsgBase, SkipMovesTheCursorUnchecked)
{
    CMsgBase message = MessageOf({0x12, 0x34});
    message.Skip(1);
    EXPECT_EQ(message.ReadByte(), 0x34);
    message.Skip(100);
    EXPECT_EQ(message.GetPosition(), 102u);
    message.Skip(0xFFFFFFFFu - 101);
    EXPECT_EQ(message.GetPosition(), 0u);
    EXPECT_EQ(message.ReadByte(), 0x12);
}

TEST(MsgBase, ReadsBlocks)
{
    const CLeakCheck leaks;
    CMsgBase message = MessageOf({1, 2, 3});
    EXPECT_EQ(message.ReadBytes(0), nullptr);
    const CTaskMemOwner<std::uint8_t> whole(message.ReadBytes(2));
    EXPECT_TRUE(SameBytes({1, 2}, Bytes(whole.get(), whole.get() + 2)));
    const CTaskMemOwner<std::uint8_t> beyond(message.ReadBytes(3));
    EXPECT_TRUE(SameBytes({3, 0, 0}, Bytes(beyond.get(), beyond.get() + 3)));
    EXPECT_EQ(message.GetPosition(), 3u);
}

TEST(MsgBase, ReadsTexts)
{
    struct Case
    {
        Bytes body;
        std::uint32_t count;
        std::u16string text;
        std::uint32_t position;
    };
    const Case cases[] = {
        {{0x00, 0x41}, 0, u"", 0},
        {{0x00, 0x41, 0x20, 0xAC, 0x00, 0x42}, 2, u"A\u20AC", 4},
        {{0x00, 0x41, 0x00, 0x00, 0x00, 0x42}, 3, std::u16string(u"A\0B", 3), 6},
        {{0x00, 0x41, 0x20}, 2, u"A\u2000", 3},  // half a unit is its high byte
        {{0x00, 0x41, 0x20}, 3, std::u16string(u"A\u2000\0", 3), 3},
        {{}, 1, std::u16string(1, u'\0'), 0},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.count << " of " << Hex(c.body));
        const CLeakCheck leaks;
        CMsgBase message = MessageOf(c.body);
        const CBStrOwner text(message.ReadString(c.count));
        ASSERT_NE(text, nullptr);
        EXPECT_EQ(UnitsOf(text.get()), c.text);
        EXPECT_EQ(text.get()[c.count], 0);
        EXPECT_EQ(message.GetPosition(), c.position);
    }
}

TEST(MsgBase, ReadsUtf8)
{
    using namespace std::string_literals;
    struct Case
    {
        const char* what;
        Bytes body;
        std::uint32_t count;
        std::optional<std::u16string> text;  // null: the bytes convert to nothing
        std::uint32_t position;
    };
    // A text of n bytes up to its zero, the zero counted, gets 2n units; the conversion may fill n of them.
    const Case cases[] = {
        {"no bytes", {0x41}, 0, std::nullopt, 0},
        {"one letter", {0x41, 0x42}, 1, u"A\0\0\0"s, 1},
        {"two, three and four bytes a character",
         {0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80},
         9,
         u"\u00E9\u20AC\U0001F600"s + std::u16string(16, u'\0'),
         9},
        {"with its terminator", {0x41, 0x42, 0x00}, 3, u"AB\0\0\0\0"s, 3},
        {"only a terminator", {0x00}, 1, u"\0\0"s, 1},
        {"more bytes behind the terminator than fit", {0x41, 0x00, 0x42, 0x43}, 4, std::nullopt, 4},
        {"beyond the end", {0x41, 0x42}, 4, std::nullopt, 2},
        {"not UTF-8", {0x41, 0xFF, 0x42}, 3, u"A\uFFFDB\0\0\0\0\0"s, 3},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        const CLeakCheck leaks;
        CMsgBase message = MessageOf(c.body);
        const CBStrOwner text(message.ReadUtf8String(c.count));
        EXPECT_EQ(message.GetPosition(), c.position);
        ASSERT_EQ(text != nullptr, c.text.has_value());
        EXPECT_EQ(UnitsOf(text.get()), c.text.value_or(u""));
    }
}

TEST(MsgBase, ReadersNeedMemory)
{
    using Reader = void (*)(CMsgBase&);
    const Reader readers[] = {
        [](CMsgBase& message) { CTaskMemOwner<std::uint8_t>(message.ReadBytes(2)); },
        [](CMsgBase& message) { CBStrOwner(message.ReadString(1)); },
        [](CMsgBase& message) { CBStrOwner(message.ReadUtf8String(2)); },
    };
    for (const Reader reader : readers)
        FailEachAllocation([&]() -> std::uint32_t {
            CMsgBase message = MessageOf({0x41, 0x42});
            try
            {
                reader(message);
            }
            catch (const CAtlException& failure)
            {
                return static_cast<std::uint32_t>(failure.m_hr);
            }
            return 0;
        });
}

#ifndef _WIN32
TEST(MsgBase, TheSanitizerSeesAReadBehindABodyOfAnySize)
{
    CMsgBase grown;
    for (std::size_t size = 1; size <= 80; ++size)
    {
        grown.AppendByte(1);
        for (const CMsgBase& message : {grown, MessageOf(Bytes(size, 1))})
        {
            EXPECT_FALSE(__asan_address_is_poisoned(message.GetData() + size - 1)) << size;
            EXPECT_TRUE(__asan_address_is_poisoned(message.GetData() + size)) << size;
        }
        EXPECT_TRUE(__asan_address_is_poisoned(grown.GetData() + size)) << size;
    }
}
#endif

TEST(MsgBase, ZeroAtPositionDoesNotAdvance)
{
    CMsgBase message = MessageOf({1, 2, 3});
    message.Skip(1);
    message.ZeroAtPosition();
    EXPECT_EQ(message.GetPosition(), 1u);
    EXPECT_TRUE(SameBytes({1, 0, 3}, BodyOf(message)));
}

TEST(MsgBase, AnEmptyBodyHasNoData)
{
    CMsgBase message = MessageOf({1, 2});
    EXPECT_NE(message.GetData(), nullptr);
    message.Skip(2);
    message.Clear();
    EXPECT_EQ(message.GetData(), nullptr);
    EXPECT_EQ(message.GetSize(), 0u);
    EXPECT_EQ(message.GetPosition(), 0u);
}

}  // namespace

#include "message/MsgBase.h"

#include "message/AtlException.h"
#include "support/Bytes.h"
#include "support/Memory.h"
#include "support/Text.h"
#include "zelapi/zelapi.h"

#include <functional>

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

/// What a reader gives: a number, the bytes of a block or the units of a text.
using Values = std::vector<std::uint32_t>;
using Reader = Values (*)(CMsgBase&);
const Values kNull = {0xFFFFFFFF, 0xFFFFFFFF};

template <typename Owner>
Values ValuesOf(const Owner& memory, std::size_t count)
{
    return memory == nullptr ? kNull : Values(memory.get(), memory.get() + count);
}

Values Byte(CMsgBase& message)
{
    return {message.ReadByte()};
}

Values Word(CMsgBase& message)
{
    return {message.ReadWord()};
}

Values Dword(CMsgBase& message)
{
    return {message.ReadDword()};
}

template <std::uint32_t kCount>
Values Block(CMsgBase& message)
{
    return ValuesOf(CTaskMemOwner<std::uint8_t>(message.ReadBytes(kCount)), kCount);
}

/// With its terminator.
template <std::uint32_t kCount>
Values Text(CMsgBase& message)
{
    const CBStrOwner text(message.ReadString(kCount));
    return ValuesOf(text, SysStringLen(text.get()) + std::size_t{1});
}

template <std::uint32_t kCount>
Values Utf8(CMsgBase& message)
{
    const CBStrOwner text(message.ReadUtf8String(kCount));
    return ValuesOf(text, SysStringLen(text.get()));
}

TEST(MsgBase, Reads)
{
    const Bytes numbers = {0xFE, 0x80, 0x7F, 0x01, 0x55};
    const struct
    {
        const char* what;
        Bytes body;
        Reader read;
        Values values;
        std::uint32_t position;
    } cases[] = {
        {"a byte", numbers, Byte, {0xFE}, 1},
        {"a word", numbers, Word, {0xFE80}, 2},
        {"a double word", numbers, Dword, {0xFE807F01}, 4},
        {"a missing byte", {}, Byte, {0}, 0},
        {"half a word", {0x12}, Word, {0x1200}, 1},
        {"part of a double word", {0x12, 0x34, 0x56}, Dword, {0x12345600}, 3},
        {"no block", {1, 2}, Block<0>, kNull, 0},
        {"a block", {1, 2, 3}, Block<2>, {1, 2}, 2},
        {"a block beyond the end", {1, 2}, Block<4>, {1, 2, 0, 0}, 2},
        {"an empty text", {0x00, 0x41}, Text<0>, {0}, 0},
        {"a text", {0x00, 0x41, 0x20, 0xAC, 0x00, 0x42}, Text<2>, {0x41, 0x20AC, 0}, 4},
        {"a text with a zero in it", {0x00, 0x41, 0x00, 0x00, 0x00, 0x42}, Text<3>, {0x41, 0, 0x42, 0}, 6},
        {"half a unit at the end", {0x00, 0x41, 0x20}, Text<2>, {0x41, 0x2000, 0}, 3},
        {"a text beyond half a unit", {0x00, 0x41, 0x20}, Text<4>, {0x41, 0x2000, 0, 0, 0}, 3},
        {"a text without units", {}, Text<1>, {0, 0}, 0},
        // A text of n bytes up to its zero, the zero counted, gets 2n units; the conversion may fill n of them.
        {"no UTF-8", {0x41}, Utf8<0>, kNull, 0},
        {"one letter", {0x41, 0x42}, Utf8<1>, {0x41, 0, 0, 0}, 1},
        {"two and three bytes a character",
         {0xC3, 0xA9, 0xE2, 0x82, 0xAC},
         Utf8<5>,
         {0xE9, 0x20AC, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
         5},
        {"four bytes a character", {0xF0, 0x9F, 0x98, 0x80}, Utf8<4>, {0xD83D, 0xDE00, 0, 0, 0, 0, 0, 0, 0, 0}, 4},
        {"UTF-8 with its terminator", {0x41, 0x42, 0x00}, Utf8<3>, {0x41, 0x42, 0, 0, 0, 0}, 3},
        {"only a terminator", {0x00}, Utf8<1>, {0, 0}, 1},
        {"more bytes behind the terminator than fit", {0x41, 0x00, 0x42, 0x43}, Utf8<4>, kNull, 4},
        {"UTF-8 beyond the end", {0x41, 0x42}, Utf8<4>, kNull, 2},
        {"not UTF-8", {0x41, 0xFF, 0x42}, Utf8<3>, {0x41, 0xFFFD, 0x42, 0, 0, 0, 0, 0}, 3},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        const CLeakCheck leaks;
        CMsgBase message = MessageOf(c.body);
        EXPECT_EQ(c.read(message), c.values);
        EXPECT_EQ(message.GetPosition(), c.position);
        EXPECT_TRUE(SameBytes(c.body, BodyOf(message)));
    }
}

TEST(MsgBase, ACursorOutsideTheBodyReadsZeroAndStays)
{
    const std::pair<Reader, Values> readers[] = {
        {Byte, {0}}, {Word, {0}}, {Dword, {0}}, {Block<2>, {0, 0}}, {Text<2>, {0, 0, 0}}};
    for (const std::uint32_t position : {2u, 3u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(position);
        CMsgBase message = MessageOf({0x12, 0x34});
        message.SetPosition(position);
        for (const auto& [read, zeros] : readers)
            EXPECT_EQ(read(message), zeros);
        message.ZeroAtPosition();
        EXPECT_EQ(message.GetPosition(), position);
        EXPECT_TRUE(SameBytes({0x12, 0x34}, BodyOf(message)));
    }
}

TEST(MsgBase, Writes)
{
    // A text ends at its first zero, unless its length is told.
    const CBStrOwner text = MakeText(std::u16string_view(u"A\u20AC\0\u0304", 4));
    const CBStrOwner empty = MakeText(u"");
    using Writer = std::function<void(CMsgBase&)>;
    const auto first = [&](std::int32_t length, std::int32_t maximum, bool terminate) -> Writer {
        return [=, &text](CMsgBase& m) { m.AppendStringN(text.get(), length, maximum, terminate); };
    };
    const struct
    {
        const char* what;
        Writer write;
        Bytes bytes;
    } cases[] = {
        {"a byte", [](CMsgBase& m) { m.AppendByte(0xFE); }, {0xFE}},
        {"a word", [](CMsgBase& m) { m.AppendWord(0xFE80); }, {0xFE, 0x80}},
        {"a double word", [](CMsgBase& m) { m.AppendDword(0xFE807F01); }, {0xFE, 0x80, 0x7F, 0x01}},
        {"no bytes", [](CMsgBase& m) { m.AppendBytes(0, nullptr); }, {}},
        {"a text", [&](CMsgBase& m) { m.AppendString(text.get(), false); }, {0x00, 0x41, 0x20, 0xAC}},
        {"and its terminator", [&](CMsgBase& m) { m.AppendString(text.get(), true); }, {0x00, 0x41, 0x20, 0xAC, 0, 0}},
        {"an empty text", [&](CMsgBase& m) { m.AppendString(empty.get(), true); }, {0, 0}},
        {"a null text", [](CMsgBase& m) { m.AppendString(nullptr, true); }, {}},
        {"as many units as told", first(4, 4, false), {0x00, 0x41, 0x20, 0xAC, 0, 0, 0x03, 0x04}},
        {"not more than the maximum", first(4, 1, false), {0x00, 0x41}},
        {"not more than the length", first(1, 4, true), {0x00, 0x41, 0, 0}},
        {"a length of 0", first(0, 4, true), {0, 0}},
        {"a negative length", first(-1, 4, true), {0, 0}},
        {"a negative maximum", first(4, INT32_MIN, false), {}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        const CLeakCheck leaks;
        // At the end, wherever the cursor stands.
        CMsgBase message = MessageOf({1, 2});
        message.Skip(1);
        c.write(message);
        EXPECT_TRUE(SameBytes(Bytes{1, 2} + c.bytes, BodyOf(message)));
        EXPECT_EQ(message.ReadByte(), 2);
    }
}

TEST(MsgBase, NeedsMemory)
{
    const CBStrOwner text = MakeText(u"AB");
    const std::function<void(CMsgBase&)> operations[] = {
        Block<2>, Text<1>, Utf8<2>, [&](CMsgBase& message) { message.AppendString(text.get(), true); }};
    for (const auto& operation : operations)
        FailEachAllocation([&]() -> std::uint32_t {
            CMsgBase message = MessageOf({0x41, 0x42});
            try
            {
                operation(message);
            }
            catch (const CAtlException& failure)
            {
                EXPECT_EQ(message.GetSize(), 2u);
                return static_cast<std::uint32_t>(failure.m_hr);
            }
            return ZEL_OK;
        });
}

TEST(MsgBase, MovesItsCursorUnchecked)
{
    CMsgBase message = MessageOf({1, 2, 3});
    message.Skip(1);
    message.ZeroAtPosition();
    EXPECT_EQ(message.GetPosition(), 1u);
    EXPECT_TRUE(SameBytes({1, 0, 3}, BodyOf(message)));
    message.Skip(100);
    EXPECT_EQ(message.GetPosition(), 101u);
    message.Skip(0xFFFFFFFFu - 100);
    EXPECT_EQ(message.GetPosition(), 0u);

    message.Skip(2);
    message.Clear();
    EXPECT_EQ(message.GetData(), nullptr);
    EXPECT_EQ(message.GetSize(), 0u);
    EXPECT_EQ(message.GetPosition(), 0u);
}

#ifndef _WIN32
TEST(MsgBase, TheSanitizerSeesAReadBehindABodyThatWasAppendedAtOnce)
{
    CMsgBase message;
    for (std::size_t size = 80; size != 0; --size)
    {
        message.Clear();
        message.AppendBytes(size, Bytes(size, 1).data());
        EXPECT_FALSE(__asan_address_is_poisoned(message.GetData() + size - 1)) << size;
        EXPECT_TRUE(__asan_address_is_poisoned(message.GetData() + size)) << size;
    }
}
#endif

}  // namespace

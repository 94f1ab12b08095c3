#include "message/SubBlock.h"

#include "message/Message.h"
#include "support/Bytes.h"
#include "support/Memory.h"

#include <array>

namespace
{

/// Id width, filler mode, length width, filler count.
using Format = std::array<std::uint32_t, 4>;

CSubBlock BlockOf(const Format& format, std::uint16_t id = 0xFFFF, const Bytes& payload = {})
{
    CSubBlock block;
    block.SetFormat(format[0], format[1], format[2], format[3]);
    block.SetId(id);
    block.AppendBytes(payload.size(), payload.data());
    return block;
}

CMessage MessageOf(const Bytes& body)
{
    CMessage message;
    message.AppendBytes(body.size(), body.data());
    return message;
}

TEST(SubBlock, IsWrittenWithHeaderAndPadding)
{
    const struct
    {
        Format format;
        std::uint16_t id;
        Bytes payload;
        Bytes bytes;
    } cases[] = {
        {{1, 1, 1, 0}, 0x05, {0xAA}, {0x05, 0x04, 0xAA, 0x00}},
        {{1, 1, 1, 0}, 0x05, {0xAA, 0xBB}, {0x05, 0x04, 0xAA, 0xBB}},
        {{1, 1, 1, 0}, 0x05, {}, {0x05, 0x04, 0x00, 0x00}},
        {{1, 0, 1, 0}, 0x1234, {0xAA, 0xBB, 0xCC}, {0x34, 0x08, 0xAA, 0xBB, 0xCC, 0x00, 0x00, 0x00}},
        {{1, 2, 2, 0}, 0x07, {0xAA, 0xBB}, {0x07, 0x00, 0x00, 0x08, 0xAA, 0xBB, 0x00, 0x00}},
        {{1, 2, 2, 3}, 0x07, {0xAA}, {0x07, 0x00, 0x00, 0x08, 0xAA, 0x00, 0x00, 0x00}},
        {{2, 1, 2, 0}, 0x0102, {}, {0x01, 0x02, 0x00, 0x04}},
        {{2, 1, 2, 0}, 0x0102, {1, 2, 3, 4, 5}, {0x01, 0x02, 0x00, 0x0C, 1, 2, 3, 4, 5, 0, 0, 0}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(Hex(c.bytes));
        CSubBlock block = BlockOf(c.format, c.id, c.payload);
        CMessage message;
        EXPECT_TRUE(block.WriteTo(&message));
        EXPECT_TRUE(SameBytes(c.bytes, BodyOf(message)));

        // The padding stays in the payload; written again, the sub-block is the same.
        Bytes twice = c.bytes;
        twice.insert(twice.end(), c.bytes.begin(), c.bytes.end());
        EXPECT_TRUE(block.WriteTo(&message));
        EXPECT_TRUE(SameBytes(twice, BodyOf(message)));
    }
}

TEST(SubBlock, CountsItsLengthModulo65536)
{
    CSubBlock block = BlockOf({2, 1, 2, 0}, 0x0102, Bytes(65533, 0x55));
    CMessage message;
    EXPECT_TRUE(block.WriteTo(&message));
    // 65533 + 4 is 1 in 16 bits, and becomes 4 with three bytes of padding.
    EXPECT_EQ(message.GetSize(), 4u + 65536);
    EXPECT_EQ(message.ReadDword(), 0x01020004u);
}

TEST(SubBlock, WhatCannotBeWrittenFails)
{
    const struct
    {
        Format format;
        Bytes left;  // what has reached the message by then
    } cases[] = {
        {{0, 1, 1, 0}, {}},     {{3, 1, 1, 0}, {}},     {{1, 3, 1, 0}, {0x09}},       {{2, 4, 4, 3}, {0x00, 0x09}},
        {{1, 1, 0, 0}, {0x09}}, {{1, 1, 3, 0}, {0x09}}, {{1, 2, 4, 0}, {0x09, 0x00}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::PrintToString(c.format));
        CSubBlock block = BlockOf(c.format, 0x09, {0xAA});
        CMessage message;
        EXPECT_FALSE(block.WriteTo(&message));
        EXPECT_TRUE(SameBytes(c.left, BodyOf(message)));
    }
}

TEST(SubBlock, IsRead)
{
    const struct
    {
        const char* what;
        Format format;
        Bytes body;
        std::uint16_t id;
        Bytes payload;
        std::uint32_t position;
    } cases[] = {
        {"one-byte header", {1, 1, 1, 0}, {0x05, 0x04, 0xAA, 0xBB, 0xEE}, 0x05, {0xAA, 0xBB}, 4},
        {"filler mode 0", {1, 0, 1, 0}, {0x05, 0x03, 0xAA}, 0x05, {0xAA}, 3},
        {"filler mode 3", {1, 3, 1, 1}, {0x05, 0x04, 0xAA}, 0x05, {0xAA}, 4},
        {"one filler byte", {1, 2, 2, 0}, {0x07, 0xFF, 0x00, 0x06, 0xAA, 0xBB}, 0x07, {0xAA, 0xBB}, 6},
        {"one filler byte, counted", {1, 2, 2, 1}, {0x07, 0xFF, 0x00, 0x06, 0xAA, 0xBB}, 0x07, {0xAA, 0xBB}, 6},
        {"two-byte id", {2, 1, 2, 0}, {0x01, 0x02, 0x00, 0x05, 0xAA}, 0x0102, {0xAA}, 5},
        {"three filler bytes",
         {1, 4, 4, 3},
         {0x09, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0x0A, 0xAA, 0xBB},
         0x09,
         {0xAA, 0xBB},
         10},
        {"three filler bytes, one counted",
         {1, 4, 4, 0},
         {0x09, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0x08, 0xAA, 0xBB},
         0x09,
         {0xAA, 0xBB},
         8},
        {"a length above 65535", {1, 4, 4, 3}, {0x09, 0xFF, 0xFF, 0xFF, 0x00, 0x07, 0x00, 0x09, 0xAA}, 0x09, {0xAA}, 9},
        {"a length beyond the body", {1, 1, 1, 0}, {0x05, 0x07, 0xAA, 0xBB}, 0x05, {0xAA, 0xBB, 0, 0, 0}, 7},
        {"a length below the header", {1, 1, 1, 0}, {0x05, 0x01}, 0x05, Bytes(65535), 1},
        {"a length of 0", {2, 1, 2, 0}, {0x00, 0x05}, 0x05, Bytes(65532), 0},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        const CLeakCheck leaks;
        CMessage message = MessageOf(c.body);
        CSubBlock block = BlockOf(c.format);
        EXPECT_TRUE(block.ReadFrom(&message));
        EXPECT_EQ(block.GetId(), c.id);
        EXPECT_EQ(block.GetPosition(), 0u);
        EXPECT_TRUE(SameBytes(c.payload, BodyOf(block)));
        EXPECT_EQ(message.GetPosition(), c.position);

        // Without Clear the payload grows, and is read from its start again.
        block.Skip(1);
        message.SetPosition(0);
        EXPECT_TRUE(block.ReadFrom(&message));
        EXPECT_EQ(block.GetPosition(), 0u);
        EXPECT_TRUE(SameBytes(c.payload + c.payload, BodyOf(block)));
    }
}

TEST(SubBlock, WhatCannotBeReadFails)
{
    const struct
    {
        Format format;
        Bytes body;
    } cases[] = {
        {{0, 1, 1, 0}, {0x05, 0x04, 0xAA, 0xBB}},       {{3, 1, 1, 0}, {0x05, 0x04, 0xAA, 0xBB}},
        {{1, 5, 1, 0}, {0x05, 0x04, 0xAA, 0xBB}},       {{1, 1, 0, 0}, {0x05, 0x04, 0xAA, 0xBB}},
        {{1, 1, 3, 0}, {0x05, 0x04, 0xAA, 0xBB}},       {{1, 1, 1, 0}, {0x05, 0x02, 0xAA, 0xBB}},
        {{1, 2, 2, 0}, {0x05, 0x00, 0x00, 0x04, 0xAA}}, {{2, 1, 2, 0}, {0x01, 0x02, 0x00, 0x04}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::PrintToString(c.format) + " " + Hex(c.body));
        CMessage message = MessageOf(c.body);
        CSubBlock block = BlockOf(c.format);
        EXPECT_FALSE(block.ReadFrom(&message));
        EXPECT_EQ(block.GetSize(), 0u);
    }
}

TEST(SubBlock, ClearKeepsTheFormatOnly)
{
    EXPECT_EQ(CSubBlock().GetId(), 0xFFFF);
    CSubBlock block = BlockOf({1, 1, 1, 0}, 5, {0xAA});
    static_cast<CMsgBase&>(block).Clear();
    EXPECT_EQ(block.GetId(), 0xFFFF);
    EXPECT_EQ(block.GetSize(), 0u);
    CMessage message;
    EXPECT_TRUE(block.WriteTo(&message));
    EXPECT_TRUE(SameBytes({0xFF, 0x04, 0x00, 0x00}, BodyOf(message)));
}

TEST(SubBlock, NeedsAReadableMessage)
{
    CSubBlock block = BlockOf({1, 1, 1, 0}, 5, {0xAA});
    for (CMsgBase* message : {static_cast<CMsgBase*>(nullptr), static_cast<CMsgBase*>(kUnreadable)})
    {
        EXPECT_FALSE(block.WriteTo(message));
        EXPECT_FALSE(block.ReadFrom(message));
    }
    EXPECT_TRUE(SameBytes({0xAA}, BodyOf(block)));
}

}  // namespace

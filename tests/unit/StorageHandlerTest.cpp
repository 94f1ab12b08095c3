#include "handlers/StorageHandler.h"

#include "support/FakeSender.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <utility>

#ifndef _WIN32
#include <host_control.h>
#endif

namespace
{

constexpr std::uint32_t kSendFailure = 0x80070005;

/// All layouts of the caller's record.
union AnyRecord {
    std::uint8_t bytes[24];
    StorageAreaCommand areaCommand;
    StorageAreaList areas;
    StorageIdentifierList identifiers;
    StorageIdentifierCommand identifierCommand;
    StorageThreeByteCommand threeByteCommand;
};

/// W1 0x11223344, B2 0xA2, B4 0xB4, B6 0xC6 and what an untouched array pointer looks like.
constexpr AnyRecord kRecord = {
    {0x18, 0, 0, 0, 0x44, 0x33, 0x22, 0x11, 0xA2, 1, 0xB4, 2, 0xC6, 3, 9, 9, 8, 7, 6, 5, 4, 3, 2, 1}};

class StorageHandlerTest : public testing::Test
{
  protected:
    StorageHandlerTest() { handler.SetResource(0xAA); }

    std::uint32_t Encode(std::uint32_t id, void* data) { return handler.EncodeRequest(sender, id, data); }

    std::uint32_t Ask(std::uint32_t id, std::uint8_t reply, const Bytes& body)
    {
        record = kRecord;
        sender.Reply(reply, body);
        return Encode(id, &record);
    }

    /// Lists the areas of a phone; the caller frees them.
    StorageAreaList Areas(const Bytes& body)
    {
        EXPECT_EQ(Ask(0xAA02, 0x24, body), 0u);
        return record.areas;
    }

    bool IsUntouched() const { return std::equal(record.bytes, record.bytes + sizeof record, kRecord.bytes); }

    FakeSender sender;
    CStorageHandler handler;
    AnyRecord record = kRecord;
};

/// Checks the areas' numbers and names in order, and frees them.
void ExpectAreas(const StorageAreaList& list, const std::vector<std::pair<int, std::u16string>>& expected)
{
    ASSERT_EQ(list.count, expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        const StorageArea& area = list.areas[i];
        EXPECT_EQ(area.size, 16u);
        EXPECT_EQ(area.number, expected[i].first);
        EXPECT_EQ(area.name_length, expected[i].second.size());
        EXPECT_EQ(area.name == nullptr, expected[i].second.empty());
        EXPECT_EQ(std::u16string(area.name, area.name + SysStringLen(area.name)), expected[i].second);
        SysFreeString(area.name);
    }
    CoTaskMemFree(list.areas);
}

struct RequestCase
{
    std::uint32_t api;
    std::uint8_t request;
    Bytes body;
};

const RequestCase kRequests[] = {
    {0xAA01, 0x18, {0x18, 0}},
    {0xAA02, 0x23, {0, 1}},
    {0xAA03, 0x06, {0, 1, 0, 5, 0, 8, 0, 0x33, 0, 0}},
    {0xAA04, 0x0A, {0, 1, 0, 0x0E, 0, 12, 0, 1, 0, 0, 0x11, 0x22, 0x33, 0x44}},
    {0xAA05, 0x00, {}},
    {0xAA07, 0x0E, {0xA2, 0xB4, 0xC6, 0, 0, 0, 0, 0, 0, 1, 0, 0x0E, 0, 12, 0, 1, 0, 0, 0x11, 0x22, 0x33, 0x44}},
};

TEST_F(StorageHandlerTest, SendsEachRequestAndReportsItsStatus)
{
    for (const auto& [api, request, body] : kRequests)
    {
        const auto reply = static_cast<std::uint8_t>(request + 1);
        EXPECT_EQ(Ask(api, reply, {0x42, 1, 0, 3, 0, 8, 1, 0, 0, 0}), 0xAA42u);
        EXPECT_EQ(sender.Last().resource, 0xAA);
        EXPECT_EQ(sender.Last().id, request);
        EXPECT_TRUE(SameBytes(body, sender.Last().body));
        EXPECT_EQ(sender.Last().expectedReplies, Bytes{reply});
        EXPECT_EQ(sender.Last().timeoutMs, 60000u);
        EXPECT_TRUE(IsUntouched());

        EXPECT_EQ(Ask(api, 0x7F, {0, 1, 0, 3, 0, 8, 1, 0, 0, 0}), ZEL_NOT_HANDLED);
        EXPECT_TRUE(IsUntouched());
        sender.Fail(kSendFailure);
        EXPECT_EQ(Encode(api, &record), kSendFailure);
        EXPECT_TRUE(IsUntouched());
    }
}

TEST_F(StorageHandlerTest, CommandsSucceedWithStatusZero)
{
    for (const std::uint32_t api : {0xAA01u, 0xAA04u, 0xAA05u, 0xAA07u})
    {
        const auto& request = *std::find_if(std::begin(kRequests), std::end(kRequests),
                                            [&](const RequestCase& test) { return test.api == api; });
        EXPECT_EQ(Ask(api, static_cast<std::uint8_t>(request.request + 1), {0}), 0u);
        EXPECT_TRUE(IsUntouched());
    }
}

TEST_F(StorageHandlerTest, OnlyTheCommandWithoutDataNeedsNoRecord)
{
    for (const auto& [api, request, body] : kRequests)
        for (void* missing : {static_cast<void*>(nullptr), reinterpret_cast<void*>(std::uintptr_t{8})})
        {
            const bool needed = api != 0xAA05;
            if (!needed)
                sender.Reply(0x01, {0});
            EXPECT_EQ(Encode(api, missing), needed ? ZEL_E_ARGUMENT : 0u);
        }
    EXPECT_EQ(sender.Requests().size(), 2u);
    for (const std::uint32_t id : {0xAA00u, 0xAA06u, 0xAA08u})
        EXPECT_EQ(Encode(id, nullptr), ZEL_NOT_HANDLED);
}

TEST_F(StorageHandlerTest, ListsTheAreasOfEachServiceVersion)
{
    const struct
    {
        std::uint8_t major;
        std::uint8_t minor;
        std::uint16_t id;
        std::uint8_t length;  ///< Where the name's length stands behind the area number.
        std::uint8_t gap;     ///< Bytes between it and the name.
    } cases[] = {{2, 9, 3, 0, 0},      {2, 99, 3, 0, 0},    {3, 0, 3, 2, 0},    {2, 9, 0x10, 18, 3},
                 {2, 10, 0x10, 23, 3}, {3, 0, 0x10, 23, 3}, {0, 0, 0x10, 18, 3}};
    for (const auto& test : cases)
    {
        sender.SetVersion(0xAA, test.major, test.minor);
        Bytes body = {0, 1, 0, static_cast<std::uint8_t>(test.id), 0, 64, 7};
        body.resize(body.size() + 59, 0);
        body[7u + test.length] = 1;
        body[7u + test.length + 1u + test.gap + 1u] = 0x11;
        ExpectAreas(Areas(body), {{7, u"\x11"}});
        // No name, whatever the version.
        body[7u + test.length] = 0;
        ExpectAreas(Areas(body), {{7, u""}});
        EXPECT_TRUE(SameBytes(test.major >= 3 ? Bytes{0, 1, 0, 0} : Bytes{0, 1}, sender.Last().body));
    }
}

const Bytes kAreaReply = {
    0, 6,                               // status; sub-blocks
    0, 3, 0, 10, 5, 2, 0, 'A', 0, 'B',  // area 5
    0, 9, 0, 8,  6, 1, 0, 'X',          // not known
    0, 3, 0, 8,  4, 1, 0, 'C',          // area 4
    0, 3, 0, 8,  5, 1, 0, 'D',          // area 5 again
    0, 3, 0, 8,  9, 0, 0, 0,            // area 9, no name
    0, 3, 0, 8,  9, 1, 0, 'E',          // area 9 again
};

TEST_F(StorageHandlerTest, TheFirstAreaOfANumberWinsAndOrderStays)
{
    ExpectAreas(Areas(kAreaReply), {{5, u"AB"}, {4, u"C"}, {9, u""}});
    EXPECT_EQ(record.areas.leading, 0x18u);
}

TEST_F(StorageHandlerTest, ListsNoAreas)
{
    for (const Bytes& body : {Bytes{0}, Bytes{0, 0}, Bytes{0, 1, 0, 9, 0, 8, 1, 0, 0, 0}, Bytes{0, 1, 0, 3, 0, 4}})
    {
        const StorageAreaList list = Areas(body);
        EXPECT_EQ(list.count, 0);
        EXPECT_EQ(list.areas, nullptr);
    }
}

TEST_F(StorageHandlerTest, ListsWhatATruncatedReplyHolds)
{
    for (std::ptrdiff_t length = 0; length <= std::ssize(kAreaReply); ++length)
    {
        const StorageAreaList list = Areas(Bytes(kAreaReply.begin(), kAreaReply.begin() + length));
        EXPECT_LE(list.count, 4) << length;
        EXPECT_EQ(list.count >= 1, length >= 4);
        for (int i = 0; i < list.count; ++i)
            SysFreeString(list.areas[i].name);
        CoTaskMemFree(list.areas);
    }
}

TEST_F(StorageHandlerTest, ReadsTheIdentifiersOfAnArea)
{
    const Bytes whole = {0, 1, 0, 1, 0, 16, 0, 2, 9, 9, 0x11, 0x22, 0x33, 0x44, 0, 0, 0, 5};
    EXPECT_EQ(Ask(0xAA03, 0x07, whole), 0u);
    ASSERT_EQ(record.identifiers.count, 2);
    EXPECT_EQ(record.identifiers.identifiers[0], 0x11223344u);
    EXPECT_EQ(record.identifiers.identifiers[1], 5u);
    CoTaskMemFree(record.identifiers.identifiers);
    // Nothing before the count is touched.
    EXPECT_TRUE(std::equal(record.bytes, record.bytes + 12, kRecord.bytes));

    // The count stands in byte 7; what has been cut off behind it reads as 0.
    for (std::ptrdiff_t length = 2; length <= std::ssize(whole); ++length)
    {
        EXPECT_EQ(Ask(0xAA03, 0x07, Bytes(whole.begin(), whole.begin() + length)), 0u);
        EXPECT_EQ(record.identifiers.count, length > 7 ? 2 : 0) << length;
        EXPECT_EQ(record.identifiers.identifiers == nullptr, length <= 7);
        if (length > 7)
        {
            EXPECT_EQ(record.identifiers.identifiers[1], length == std::ssize(whole) ? 5u : 0u);
        }
        CoTaskMemFree(record.identifiers.identifiers);
    }
}

TEST_F(StorageHandlerTest, BelievesAnIdentifierCountButReadsNothingBeyondTheReply)
{
    EXPECT_EQ(Ask(0xAA03, 0x07, {0, 1, 0, 1, 0, 12, 0xFF, 0xFF, 0, 0, 0, 0, 0, 7}), 0u);
    ASSERT_EQ(record.identifiers.count, 0xFFFF);
    EXPECT_EQ(record.identifiers.identifiers[0], 7u);
    EXPECT_EQ(record.identifiers.identifiers[0xFFFE], 0u);
    CoTaskMemFree(record.identifiers.identifiers);
}

TEST_F(StorageHandlerTest, LeavesTheRecordWithoutAListOfIdentifiers)
{
    for (const Bytes& body :
         {Bytes{0}, Bytes{0, 0}, Bytes{0, 2, 0, 1, 0, 12, 0, 1, 0, 0, 0, 0, 0, 7}, Bytes{0, 1, 0, 1, 0, 4, 0, 1, 0, 0}})
    {
        EXPECT_EQ(Ask(0xAA03, 0x07, body), 0u);
        EXPECT_TRUE(IsUntouched());
    }
}

TEST_F(StorageHandlerTest, DecodesEvents)
{
    const struct
    {
        Bytes body;
        std::vector<std::uint16_t> values;
    } cases[] = {
        {{0, 3, 9, 9, 9, 1, 0, 2, 0, 8, 1, 2, 3, 0}, {3, 1, 2, 3}},
        {{0, 3, 9, 9, 9, 1, 0, 1, 0, 8, 1, 2, 3, 0}, {3, 0xFFFF, 0xFFFF, 0xFFFF}},
        {{0, 3, 9, 9, 9, 1, 0, 2, 0, 4}, {3, 0xFFFF, 0xFFFF, 0xFFFF}},
        {{0, 0xFF, 9, 9, 9, 0, 0, 2, 0, 8, 1, 2, 3, 0}, {0xFF, 0xFFFF, 0xFFFF, 0xFFFF}},
        {{0, 3}, {3, 0xFFFF, 0xFFFF, 0xFFFF}},
        {{}, {0, 0xFFFF, 0xFFFF, 0xFFFF}},
    };
    for (const auto& test : cases)
    {
        CMessage message;
        message.SetMessageId(0x60);
        message.AppendBytes(test.body.size(), test.body.data());
        std::uint32_t id = 0;
        void* decoded = nullptr;
        EXPECT_EQ(handler.DecodeMessage(message, id, decoded), 0u);
        EXPECT_EQ(id, 0xAA06u);
        ASSERT_NE(decoded, nullptr);
        // The record outlives FreeDecodedData.
        EXPECT_EQ(handler.FreeDecodedData(0xAA06, decoded), 0u);
        const auto& event = *static_cast<StorageEventRecord*>(decoded);
        EXPECT_EQ(event.size, 12);
        EXPECT_EQ(event.reserved, 0);
        EXPECT_EQ((std::vector<std::uint16_t>{event.event, event.first, event.second, event.third}), test.values);
        CoTaskMemFree(decoded);
    }
    EXPECT_EQ(handler.FreeDecodedData(0xAA05, &record), ZEL_NOT_HANDLED);
}

TEST_F(StorageHandlerTest, DeliversNoOtherMessages)
{
    const struct
    {
        std::uint8_t id;
        std::uint8_t first;
        std::uint32_t result;
    } cases[] = {{0x60, 1, ZEL_OK}, {0x61, 0, ZEL_NOT_HANDLED}};
    for (const auto& test : cases)
    {
        CMessage message;
        message.SetMessageId(test.id);
        message.AppendByte(test.first);
        std::uint32_t id = 0;
        void* decoded = nullptr;
        EXPECT_EQ(handler.DecodeMessage(message, id, decoded), test.result);
        EXPECT_EQ(id, 0u);
        EXPECT_EQ(decoded, nullptr);
    }
}

#ifndef _WIN32

TEST_F(StorageHandlerTest, AFailedAllocationLosesNothing)
{
    CMessage event;
    event.SetMessageId(0x60);
    std::uint32_t id = 0;
    void* decoded = nullptr;
    // Allocations that each needs: four names and the array; the identifiers; the record.
    const struct
    {
        unsigned allocations;
        std::function<std::uint32_t()> run;
    } cases[] = {
        {5, [&] { return Ask(0xAA02, 0x24, kAreaReply); }},
        {1,
         [&] {
             return Ask(0xAA03, 0x07, {0, 1, 0, 1, 0, 12, 0, 1, 0, 0, 0, 0, 0, 7});
         }},
        {1, [&] { return handler.DecodeMessage(event, id, decoded); }},
    };
    for (const auto& test : cases)
        for (unsigned n = 1; n <= test.allocations; ++n)
        {
            const std::size_t live = host::LiveAllocations();
            host::FailAllocation(n);
            EXPECT_EQ(test.run(), 0x8007000Eu);
            EXPECT_FALSE(host::IsFailurePending());
            EXPECT_EQ(host::LiveAllocations(), live);
            EXPECT_TRUE(IsUntouched());
        }
    EXPECT_EQ(decoded, nullptr);
}

#endif

}  // namespace

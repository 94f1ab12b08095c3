#include "handlers/FullAccessHandler.h"

#include "handlers/base/Owners.h"
#include "support/HandlerChecks.h"
#include "zelapi/full_access.h"

namespace
{

std::uint32_t Decode(CFullAccessHandler& handler, const Bytes& body, std::uint32_t& messageId, void*& record)
{
    CMessage message;
    message.SetResource(0xFF);
    message.SetMessageId(0x12);
    message.AppendBytes(body.size(), body.data());
    return handler.DecodeMessage(message, messageId, record);
}

/// A receiver frees raw messages itself.
void FreeRaw(void* record)
{
    if (record == nullptr)
        return;
    CoTaskMemFree(static_cast<RawMessage*>(record)->bytes);
    CoTaskMemFree(record);
}

TEST(FullAccessHandler, TellsTheAccess)
{
    CFullAccessHandler handler;
    FakeSender phone;
    std::uint8_t record[] = {0xEE, 0xEE};
    EXPECT_EQ(handler.EncodeRequest(phone, ZEL_FULL_ACCESS_QUERY, record), ZEL_OK);
    EXPECT_EQ(record[0], 0);
    handler.SetAccess(0xA5);
    EXPECT_EQ(handler.EncodeRequest(phone, ZEL_FULL_ACCESS_QUERY, record), ZEL_OK);
    EXPECT_EQ(record[0], 0xA5);
    EXPECT_EQ(record[1], 0xEE);
    EXPECT_TRUE(phone.Requests().empty());
    ExpectBadRecordsRefused(handler, ZEL_FULL_ACCESS_QUERY, ZEL_E_FAIL);
}

TEST(FullAccessHandler, SendsBytesAsTheyAre)
{
    CFullAccessHandler handler;
    FakeSender phone;
    std::uint8_t bytes[] = {0x12, 0x00, 0xFF, 0x34};
    RawRequest record = {0, 3, bytes};
    ExpectRecordUntouched(handler, phone, ZEL_RAW_SEND, record, ZEL_OK);
    record = {0, 0, nullptr};
    ExpectRecordUntouched(handler, phone, ZEL_RAW_SEND, record, ZEL_OK);
    ASSERT_EQ(phone.Raw().size(), 2u);
    EXPECT_TRUE(SameBytes({0x12, 0x00, 0xFF}, phone.Raw()[0]));
    EXPECT_TRUE(SameBytes({}, phone.Raw()[1]));
    EXPECT_TRUE(phone.Requests().empty());

    phone.Fail(0x80040155);
    record = {0, 4, bytes};
    ExpectRecordUntouched(handler, phone, ZEL_RAW_SEND, record, 0x80040155);
}

TEST(FullAccessHandler, RefusesBytesThatItCannotRead)
{
    CFullAccessHandler handler;
    ExpectBadRecordsRefused(handler, ZEL_RAW_SEND, ZEL_E_FAIL);
    for (void* bytes : {static_cast<void*>(nullptr), kUnreadable})
    {
        FakeSender phone;
        const RawRequest record = {0, 1, static_cast<std::uint8_t*>(bytes)};
        ExpectRecordUntouched(handler, phone, ZEL_RAW_SEND, record, ZEL_E_FAIL);
        EXPECT_TRUE(phone.Raw().empty());
    }
}

TEST(FullAccessHandler, DeliversEveryMessage)
{
    for (const Bytes& body : {Bytes{}, Bytes{0x01}, Bytes(300, 0x5A)})
    {
        SCOPED_TRACE(body.size());
        const CLeakCheck leaks;
        CFullAccessHandler handler;
        std::uint32_t messageId = 0;
        void* record = nullptr;
        ASSERT_EQ(Decode(handler, body, messageId, record), ZEL_OK);
        EXPECT_EQ(messageId, ZEL_RAW_MESSAGE);
        const auto& raw = *static_cast<const RawMessage*>(record);
        EXPECT_EQ(raw.size, 16u);
        EXPECT_EQ(raw.count, body.size());
        ASSERT_NE(raw.bytes, nullptr);
        EXPECT_TRUE(SameBytes(body, Bytes(raw.bytes, raw.bytes + raw.count)));
        // The handler leaves raw messages to whoever received them.
        EXPECT_EQ(handler.FreeDecodedData(messageId, record), ZEL_NOT_HANDLED);
        FreeRaw(record);
    }
}

TEST(FullAccessHandler, NeedsMemoryForTheRecordOnly)
{
    const CLeakCheck leaks;
    CFullAccessHandler handler;
    std::uint32_t messageId = 0;
    void* record = nullptr;
    host::FailAllocation(1);
    EXPECT_EQ(Decode(handler, {1, 2}, messageId, record), ZEL_E_OUT_OF_MEMORY);
    EXPECT_EQ(messageId, 0u);
    EXPECT_EQ(record, nullptr);

    // Without memory for the bytes the message arrives without them.
    host::FailAllocation(2);
    ASSERT_EQ(Decode(handler, {1, 2}, messageId, record), ZEL_OK);
    EXPECT_EQ(static_cast<const RawMessage*>(record)->count, 0u);
    EXPECT_EQ(static_cast<const RawMessage*>(record)->bytes, nullptr);
    FreeRaw(record);
}

TEST(FullAccessHandler, FreesRequests)
{
    const CLeakCheck leaks;
    CFullAccessHandler handler;
    for (const bool withBytes : {true, false})
    {
        auto request = AllocateRecords<RawRequest>();
        request->bytes =
            withBytes ? AllocateRecords<std::uint8_t>(4).release() : static_cast<std::uint8_t*>(kUnreadable);
        EXPECT_EQ(handler.FreeDecodedData(ZEL_RAW_SEND, request.release()), ZEL_OK);
    }
    EXPECT_EQ(handler.FreeDecodedData(ZEL_RAW_SEND, nullptr), ZEL_OK);
    EXPECT_EQ(handler.FreeDecodedData(ZEL_RAW_SEND, kUnreadable), ZEL_OK);

    AccessRecord stranger = {1};
    EXPECT_EQ(handler.FreeDecodedData(ZEL_FULL_ACCESS_QUERY, &stranger), ZEL_OK);
    EXPECT_EQ(handler.FreeDecodedData(0xFF11, &stranger), ZEL_NOT_HANDLED);
}

TEST(FullAccessHandler, KnowsNothingElse)
{
    CFullAccessHandler handler;
    ExpectBadRecordsRefused(handler, 0xFF03, ZEL_NOT_HANDLED);
    ExpectBadRecordsRefused(handler, ZEL_RAW_MESSAGE, ZEL_NOT_HANDLED);
}

}  // namespace

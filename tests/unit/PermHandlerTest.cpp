#include "handlers/PermHandler.h"

#include "support/HandlerChecks.h"

#include <optional>

namespace
{

constexpr std::uint8_t kResource = 0x23;

/// The reply to a chunk's request: the chunk's length, or what the phone claims it to be, and its bytes.
Bytes ChunkReply(const Bytes& bytes, std::optional<std::uint32_t> claim = {})
{
    const std::uint32_t told = claim.value_or(static_cast<std::uint32_t>(bytes.size()));
    const auto length = static_cast<std::uint16_t>(12 + bytes.size());
    Bytes reply = {0, 1, 0, 9, 9, 9, 0, 0};
    for (const std::uint32_t value : {length >> 8 & 0xFFu, length & 0xFFu, told >> 24, told >> 16, told >> 8, told})
        reply.push_back(static_cast<std::uint8_t>(value));
    reply.insert(reply.end(), bytes.begin(), bytes.end());
    return reply;
}

void FreeChunks(const PermissionRecord& record)
{
    for (std::uint32_t i = 0; i < record.count; ++i)
        CoTaskMemFree(record.chunks[i].bytes);
    CoTaskMemFree(record.chunks);
}

class PermHandler : public testing::Test
{
  protected:
    PermHandler() { m_handler.SetResource(kResource); }

    std::uint32_t Send(std::uint32_t messageId, PermissionRecord& record)
    {
        return m_handler.EncodeRequest(m_phone, messageId, &record);
    }

    /// The array that a record holds before a request; nobody frees it.
    PermissionChunk m_earlier = {};
    const CLeakCheck m_leaks;
    CPermHandler m_handler;
    FakeSender m_phone;
};

TEST_F(PermHandler, ReadsTheSizes)
{
    // Status, one sub-block: the size's id and length, two bytes passed over, the size. Zeros stand where something is
    // missing; a sub-block without a length takes what there is.
    const struct
    {
        Bytes reply;
        std::uint32_t result;
        std::uint32_t size;
    } cases[] = {
        {{0, 1, 6, 8, 9, 9, 0x12, 0x34, 0x56, 0x78}, ZEL_OK, 0x12345678},
        {{0, 1, 6, 8, 9, 9, 0x12, 0x34, 0x56}, ZEL_OK, 0x12345600},
        {{0, 1, 6, 8, 9, 9}, ZEL_OK, 0},
        {{0, 1, 6, 8}, ZEL_OK, 0},
        {{0, 1, 6}, ZEL_OK, 0},
        {{0, 1}, ZEL_E_FAIL, 2},
        {{}, ZEL_E_FAIL, 2},
        {{0x21, 1, 6, 8, 0, 0, 0, 0, 0, 5}, 0x2321, 2},
        {{0xFF}, 0x23FF, 2},
        {{0, 0, 6, 8, 0, 0, 0, 0, 0, 5}, ZEL_E_FAIL, 2},
        {{0, 2, 6, 8, 0, 0, 0, 0, 0, 5}, ZEL_E_FAIL, 2},
        {{0, 1, 5, 8, 0, 0, 0, 0, 0, 5}, ZEL_E_FAIL, 2},
        {{0, 1, 6, 2, 0, 0, 0, 0, 0, 5}, ZEL_E_FAIL, 2},
    };
    const struct
    {
        std::uint32_t messageId;
        std::uint8_t requestId;
        Bytes body;
    } requests[] = {{0x2301, 12, {0x12, 0x34, 0, 0, 0, 0}}, {0x2304, 16, {0x12, 0x34}}};
    for (const auto& [messageId, requestId, body] : requests)
    {
        const auto replyId = static_cast<std::uint8_t>(requestId + 1);
        for (const auto& test : cases)
        {
            SCOPED_TRACE(Hex(test.reply));
            PermissionRecord record = {1, 0x1234, 2, 3, &m_earlier};
            m_phone.Reply(replyId, test.reply);
            EXPECT_EQ(Send(messageId, record), test.result);
            EXPECT_EQ(record.size, test.size);
            EXPECT_EQ(record.count, 3u);
            EXPECT_EQ(record.chunks, &m_earlier);
        }
        EXPECT_TRUE(SameRequest(m_phone.Last(), kResource, requestId, body, {replyId}));
        ExpectUnansweredKept(m_handler, m_phone, messageId, PermissionRecord{1, 0x1234, 2, 3, &m_earlier});
    }
}

TEST_F(PermHandler, AsksForEachChunkOnce)
{
    const std::pair<std::uint32_t, std::vector<std::uint16_t>> cases[] = {
        {1, {1}}, {1023, {1023}}, {1024, {1024}}, {1025, {1024, 1}}, {2049, {1024, 1024, 1}}};
    for (const auto& [size, lengths] : cases)
    {
        SCOPED_TRACE(size);
        FakeSender phone;
        for (const std::uint16_t length : lengths)
            phone.Reply(5, ChunkReply(Bytes(length, 0xA5)));
        PermissionRecord record = {1, 0x1234, size, 7, &m_earlier};
        EXPECT_EQ(m_handler.EncodeRequest(phone, ZEL_PERMISSIONS_READ, &record), ZEL_OK);
        EXPECT_EQ(record.leading, 1u);
        EXPECT_EQ(record.size, size);
        ASSERT_EQ(record.count, lengths.size());
        for (std::size_t i = 0; i < lengths.size(); ++i)
        {
            EXPECT_EQ(record.chunks[i].offset, 1024 * i);
            EXPECT_EQ(record.chunks[i].length, lengths[i]);
            EXPECT_EQ(record.chunks[i].bytes[lengths[i] - 1u], 0xA5);
            const auto high = static_cast<std::uint8_t>(lengths[i] >> 8);
            EXPECT_TRUE(SameRequest(phone.Requests()[i], kResource, 4,
                                    {0x12, 0x34, 0, 0, 0, 0, 0, 0, static_cast<std::uint8_t>(4 * i), 0, 0, 0, high,
                                     static_cast<std::uint8_t>(lengths[i])},
                                    {5}));
        }
        FreeChunks(record);
    }
}

/// What the phone does with the request for a chunk: fails the send, or answers.
struct Answer
{
    std::uint32_t failure;
    std::uint8_t id;
    Bytes body;
};

template <typename Answers>
void Queue(FakeSender& phone, const Answers& answers)
{
    for (const Answer& answer : answers)
        answer.failure != 0 ? phone.Fail(answer.failure) : phone.Reply(answer.id, answer.body);
}

const Answer kGood = {0, 5, ChunkReply({1, 2, 3})};
const Answer kEmpty = {0, 5, ChunkReply({})};
const Answer kLong = {0, 5, ChunkReply(Bytes(3000, 3))};
const Answer kPadded = {0, 5, ChunkReply({1, 2}, 0xFFFF)};
const Answer kOther = {0, 0x7F, ChunkReply({1, 2, 3})};
const Answer kRefused = {0, 5, {0x42, 1, 0, 0, 0, 0, 0, 0, 0, 16, 0, 0, 0, 4, 1, 2, 3, 4}};
const Answer kUnsent = {0x80040155, 0, {}};
const Answer kTwoBlocks = {0, 5, {0, 2, 0, 0, 0, 0, 0, 0, 0, 16, 0, 0, 0, 4, 1, 2, 3, 4}};
const Answer kOtherBlock = {0, 5, {0, 1, 1, 0, 0, 0, 0, 0, 0, 16, 0, 0, 0, 4, 1, 2, 3, 4}};
const Answer kNoPayload = {0, 5, {0, 1, 0, 0, 0, 0, 0, 0, 0, 8}};
const Answer kNothing = {0, 5, {}};
const Answer kMoreThanABlock = {0, 5, ChunkReply({1, 2}, 0x10000)};
const Answer kFourGigabytes = {0, 5, ChunkReply({1, 2}, 0xFFFFFFFF)};

TEST_F(PermHandler, GoesOnAfterABadChunk)
{
    const struct
    {
        Answer answers[3];
        std::uint32_t result;
        std::vector<std::uint32_t> lengths;  ///< Of the chunks; none on failure.
    } cases[] = {
        {{kGood, kEmpty, kGood}, 0, {3, 0, 3}},
        {{kLong, kGood, kGood}, 0, {3000, 3, 3}},
        {{kPadded, kPadded, kGood}, 0, {0xFFFF, 0xFFFF, 3}},
        {{kGood, kOther, kGood}, 0, {3, 0, 3}},
        {{kGood, kGood, kOther}, 0, {3, 3, 0}},
        {{kRefused, kUnsent, kGood}, 0, {0, 0, 3}},
        {{kTwoBlocks, kNothing, kGood}, 0, {0, 0, 3}},
        {{kMoreThanABlock, kFourGigabytes, kGood}, 0, {0, 0, 3}},
        {{kGood, kGood, kRefused}, 0x2342, {}},
        {{kGood, kGood, kUnsent}, 0x80040155, {}},
        {{kUnsent, kRefused, kTwoBlocks}, ZEL_E_FAIL, {}},
        {{kGood, kGood, kOtherBlock}, ZEL_E_FAIL, {}},
        {{kGood, kGood, kNoPayload}, ZEL_E_FAIL, {}},
        {{kGood, kGood, kNothing}, ZEL_E_FAIL, {}},
        {{kGood, kGood, kFourGigabytes}, ZEL_E_FAIL, {}},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(&test - cases);
        const CLeakCheck leaks;
        FakeSender phone;
        Queue(phone, test.answers);
        PermissionRecord record = {1, 0x1234, 2049, 7, &m_earlier};
        EXPECT_EQ(m_handler.EncodeRequest(phone, ZEL_PERMISSIONS_READ, &record), test.result);
        ASSERT_EQ(record.count, test.lengths.size());
        EXPECT_EQ(record.chunks == nullptr, test.lengths.empty());
        std::uint32_t offset = 0;
        for (std::uint32_t i = 0; i < record.count; ++i)
        {
            const PermissionChunk& chunk = record.chunks[i];
            EXPECT_EQ(chunk.offset, offset);
            EXPECT_EQ(chunk.length, test.lengths[i]);
            EXPECT_EQ(chunk.bytes == nullptr, chunk.length == 0);
            EXPECT_TRUE(chunk.length == 0 || chunk.bytes[chunk.length - 1] == (chunk.length == 0xFFFF ? 0 : 3));
            // The phone is told where its next chunk begins.
            const Bytes& asked = phone.Requests()[i].body;
            EXPECT_EQ(static_cast<std::uint32_t>(asked[7] << 16 | asked[8] << 8 | asked[9]), offset);
            offset += chunk.length;
        }
        EXPECT_EQ(phone.Requests().size(), 3u);
        FreeChunks(record);
    }
}

TEST_F(PermHandler, ATruncatedChunkIsFilledWithZeros)
{
    for (const Bytes& part : Truncations(ChunkReply({1, 2, 3, 4})))
    {
        SCOPED_TRACE(part.size());
        PermissionRecord record = {0, 1, 4, 0, nullptr};
        m_phone.Reply(5, part);
        EXPECT_EQ(Send(ZEL_PERMISSIONS_READ, record), part.size() < 2 ? ZEL_E_FAIL : ZEL_OK);
        ASSERT_EQ(record.count, part.size() < 2 ? 0u : 1u);
        // The length ends with byte 13.
        for (std::uint32_t i = 0; part.size() >= 14 && i < 4; ++i)
            EXPECT_EQ(record.chunks[0].bytes[i], 14 + i < part.size() ? i + 1 : 0);
        EXPECT_TRUE(record.count == 0 || record.chunks[0].length == (part.size() < 14 ? 0 : 4));
        FreeChunks(record);
    }
}

TEST_F(PermHandler, WritesChunksUntilOneFails)
{
    std::uint8_t bytes[] = {1, 2, 3};
    PermissionChunk chunks[] = {{9, 9, 3, bytes}, {9, 9, 0, nullptr}, {9, 9, 1, bytes + 2}};
    const PermissionRecord record = {1, 0x1234, 8, 3, chunks};
    const Bytes bodies[] = {
        {0x12, 0x34, 0, 0, 0, 0, 0, 0, 0, 3, 1, 2, 3},
        {0x12, 0x34, 0, 0, 0, 0, 0, 0, 0, 0},
        {0x12, 0x34, 0, 0, 0, 0, 0, 0, 0, 1, 3},
    };
    const Answer done = {0, 3, {0}};
    const struct
    {
        std::vector<Answer> answers;
        std::uint32_t result;
    } cases[] = {
        {{done, done, done}, 0}, {{done, kOther, {0, 3, {}}}, 0},     {{done, {0, 3, {0xE1}}}, 0x23E1},
        {{kUnsent}, 0x80040155}, {{done, done, {0, 3, {1}}}, 0x2301},
    };
    for (const auto& test : cases)
    {
        FakeSender phone;
        Queue(phone, test.answers);
        ExpectRecordUntouched(m_handler, phone, ZEL_PERMISSIONS_WRITE, record, test.result);
        ASSERT_EQ(phone.Requests().size(), test.answers.size());
        for (std::size_t i = 0; i < test.answers.size(); ++i)
            EXPECT_TRUE(SameRequest(phone.Requests()[i], kResource, 2, bodies[i], {3}));
    }
}

TEST_F(PermHandler, RefusesBadRecords)
{
    PermissionChunk bytesless[] = {{0, 0, 1, nullptr}, {0, 0, 1, static_cast<std::uint8_t*>(kUnreadable)}};
    ExpectRecordUntouched(m_handler, m_phone, 0x2302, PermissionRecord{1, 2, 0, 3, &m_earlier}, ZEL_E_ARGUMENT);
    ExpectRecordUntouched(m_handler, m_phone, 0x2303, PermissionRecord{1, 2, 3, 0, &m_earlier}, ZEL_E_ARGUMENT);
    for (void* chunks : {static_cast<void*>(nullptr), kUnreadable})
        ExpectRecordUntouched(m_handler, m_phone, 0x2303,
                              PermissionRecord{1, 2, 3, 1, static_cast<PermissionChunk*>(chunks)}, ZEL_E_ARGUMENT);
    for (PermissionChunk& chunk : bytesless)
        ExpectRecordUntouched(m_handler, m_phone, 0x2303, PermissionRecord{1, 2, 3, 1, &chunk}, ZEL_E_FAIL);
    for (const std::uint32_t messageId : {0x2301u, 0x2302u, 0x2303u, 0x2304u})
        ExpectBadRecordsRefused(m_handler, messageId);
    EXPECT_TRUE(m_phone.Requests().empty());
}

/// A phone with one block, which is read in chunks, and keeps what is written.
class BlockPhone : public FakeSender
{
  public:
    explicit BlockPhone(const Bytes& block) : m_block(block) {}

    Bytes written;

    std::uint32_t Send(CMessage& message, std::uint32_t) override
    {
        const bool isRead = message.GetMessageId() == 4;
        message.SetPosition(6);
        const std::uint32_t offset = isRead ? message.ReadDword() : 0;
        const std::uint32_t length = message.ReadDword();
#ifndef _WIN32
        // The array, and the chunks before this one.
        if (isRead)
        {
            EXPECT_EQ(host::LiveAllocations(), m_before + 1 + offset / 1024);
        }
#endif
        if (!isRead)
            written.insert(written.end(), message.GetData() + 10, message.GetData() + 10 + length);
        const auto start = m_block.begin() + offset;
        const Bytes reply = isRead ? ChunkReply(Bytes(start, start + length)) : Bytes{0};
        message.Clear();
        message.SetMessageId(isRead ? 5 : 3);
        message.AppendBytes(reply.size(), reply.data());
        return ZEL_OK;
    }

  private:
    const Bytes& m_block;
#ifndef _WIN32
    const std::size_t m_before = host::LiveAllocations();
#endif
};

TEST_F(PermHandler, ReadsAndWritesEightMegabytes)
{
    Bytes block(8u << 20);
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = static_cast<std::uint8_t>(i * 2654435761u >> 24);
    BlockPhone phone(block);
    PermissionRecord record = {0, 1, 8u << 20, 0, nullptr};
    EXPECT_EQ(m_handler.EncodeRequest(phone, ZEL_PERMISSIONS_READ, &record), ZEL_OK);
    ASSERT_EQ(record.count, 8192u);
    EXPECT_EQ(m_handler.EncodeRequest(phone, ZEL_PERMISSIONS_WRITE, &record), ZEL_OK);
    EXPECT_TRUE(phone.written == block);
    FreeChunks(record);
}

TEST_F(PermHandler, NeedsMemory)
{
    FailEachAllocation([&] {
        FakeSender phone;
        for (int i = 0; i < 3; ++i)
            phone.Reply(5, kGood.body);
        PermissionRecord record = {0, 1, 2049, 0, nullptr};
        const std::uint32_t result = m_handler.EncodeRequest(phone, ZEL_PERMISSIONS_READ, &record);
        EXPECT_EQ(record.chunks == nullptr, result != ZEL_OK);
        FreeChunks(record);
        return result;
    });
}

TEST_F(PermHandler, KnowsNothingElse)
{
    for (const std::uint32_t messageId : {0x2300u, 0x2305u})
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, messageId, nullptr), ZEL_NOT_HANDLED);
    CMessage message;
    message.SetMessageId(0x01);
    std::uint32_t messageId = 0;
    void* decoded = nullptr;
    EXPECT_EQ(m_handler.DecodeMessage(message, messageId, decoded), ZEL_NOT_HANDLED);
    EXPECT_EQ(m_handler.FreeDecodedData(0x2301, nullptr), ZEL_E_FAIL);
}

}  // namespace

#include "handlers/PermHandler.h"

#include "support/HandlerFixture.h"

#include <iterator>
#include <optional>
#include <tuple>

namespace
{

/// The bytes of a number.
Bytes Dword(std::size_t value)
{
    return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
            static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

/// The reply to a chunk's request: the chunk's length, or what the phone claims it to be, and its bytes.
Bytes ChunkReply(const Bytes& bytes, std::optional<std::size_t> claim = {})
{
    return Join({{0, 1, 0, 9, 9, 9}, Dword(12 + bytes.size()), Dword(claim.value_or(bytes.size())), bytes});
}

/// What the phone does with a request: fails the send, or answers; and the chunk that the caller gets.
struct Answer
{
    std::uint32_t failure;
    std::uint8_t id;
    Bytes body;
    Bytes chunk = {};
};

class PermHandler : public HandlerFixture<CPermHandler, 0x23>
{
  protected:
    static FakeSender PhoneWith(const std::vector<Answer>& answers)
    {
        FakeSender phone;
        for (const Answer& answer : answers)
            answer.failure != 0 ? phone.Fail(answer.failure) : phone.Reply(answer.id, answer.body);
        return phone;
    }

    /// Reads a block, for which these lengths must be asked, and takes its chunks.
    std::uint32_t Read(std::uint32_t size, const std::vector<std::uint16_t>& asked, const std::vector<Answer>& answers)
    {
        m_phone = PhoneWith(answers);
        PermissionRecord record = {1, 0x1234, size, 7, &m_earlier};
        const std::uint32_t result = m_handler.EncodeRequest(m_phone, ZEL_PERMISSIONS_READ, &record);
        EXPECT_EQ(std::tuple(record.leading, record.key, record.size), std::tuple(1u, 0x1234, size));
        EXPECT_EQ(record.count, result == ZEL_OK ? asked.size() : 0);
        EXPECT_EQ(record.chunks == nullptr, record.count == 0);
        m_chunks.clear();
        std::uint32_t offset = 0;
        for (std::size_t i = 0; i < record.count; ++i)
        {
            const PermissionChunk& chunk = record.chunks[i];
            const Bytes request = Join({{0x12, 0x34, 0, 0, 0, 0}, Dword(offset), Dword(asked.at(i))});
            EXPECT_TRUE(SameRequest(m_phone.Requests()[i], kResource, 4, request, {5}));
            EXPECT_EQ(chunk.offset, offset);
            EXPECT_EQ(chunk.bytes == nullptr, chunk.length == 0);
            m_chunks.emplace_back(chunk.bytes, chunk.bytes + chunk.length);
            offset += chunk.length;
        }
        Free(record);
        return result;
    }

    static void Free(const PermissionRecord& record)
    {
        for (std::uint32_t i = 0; i < record.count; ++i)
            CoTaskMemFree(record.chunks[i].bytes);
        CoTaskMemFree(record.chunks);
    }

    /// The array that a record holds before a request; nobody frees it.
    PermissionChunk m_earlier = {};
    std::vector<Bytes> m_chunks;
};

TEST_F(PermHandler, ReadsTheSizes)
{
    // Status, one sub-block: the size's id and length, two bytes passed over, the size.
    const Bytes reply = {0, 1, 6, 8, 9, 9, 0x12, 0x34, 0x56, 0x78};
    // Zeros stand where something is missing behind the id; a sub-block without a length takes what there is.
    const std::uint32_t sizes[] = {0, 0, 0, 0, 0x12000000, 0x12340000, 0x12345600, 0x12345678};
    for (const auto& [messageId, requestId, body] :
         {std::tuple<std::uint32_t, std::uint8_t, Bytes>{0x2301, 12, {0x12, 0x34, 0, 0, 0, 0}},
          {0x2304, 16, {0x12, 0x34}}})
    {
        SCOPED_TRACE(messageId);
        const auto replyId = static_cast<std::uint8_t>(requestId + 1);
        const PermissionRecord before = {1, 0x1234, 2, 3, &m_earlier};
        ExpectUnanswered(messageId, before);
        ExpectOutcomes(messageId, before,
                       {{replyId, {}, ZEL_E_FAIL},
                        {replyId, {0, 1}, ZEL_E_FAIL},
                        {replyId, {0x21, 1, 6, 8, 0, 0, 0, 0, 0, 5}, 0x2321},
                        {replyId, {0xFF}, 0x23FF},
                        {replyId, {0, 0, 6, 8, 0, 0, 0, 0, 0, 5}, ZEL_E_FAIL},
                        {replyId, {0, 2, 6, 8, 0, 0, 0, 0, 0, 5}, ZEL_E_FAIL},
                        {replyId, {0, 1, 5, 8, 0, 0, 0, 0, 0, 5}, ZEL_E_FAIL},
                        {replyId, {0, 1, 6, 2, 0, 0, 0, 0, 0, 5}, ZEL_E_FAIL}});
        for (std::size_t length = 3; length <= reply.size(); ++length)
        {
            PermissionRecord record = before;
            const Bytes part(reply.begin(), reply.begin() + static_cast<std::ptrdiff_t>(length));
            EXPECT_EQ(Ask(messageId, &record, replyId, part), ZEL_OK);
            EXPECT_EQ(std::tuple(record.size, record.count, record.chunks),
                      std::tuple(sizes[length - 3], 3u, &m_earlier));
        }
        EXPECT_TRUE(Sent(requestId, body, {replyId}));
    }
}

TEST_F(PermHandler, AsksForEachChunkOnce)
{
    const std::pair<std::uint32_t, std::vector<std::uint16_t>> cases[] = {
        {1, {1}}, {1023, {1023}}, {1024, {1024}}, {1025, {1024, 1}}, {2049, {1024, 1024, 1}}};
    for (const auto& [size, lengths] : cases)
    {
        SCOPED_TRACE(size);
        std::vector<Answer> answers;
        std::vector<Bytes> chunks;
        for (const std::uint16_t length : lengths)
            answers.push_back({0, 5, ChunkReply(chunks.emplace_back(length, std::uint8_t{0xA5}))});
        EXPECT_EQ(Read(size, lengths, answers), ZEL_OK);
        EXPECT_EQ(m_chunks, chunks);
    }
}

Bytes Filled(Bytes bytes, std::size_t size)
{
    bytes.resize(size);
    return bytes;
}

const Answer kGood = {0, 5, ChunkReply({1, 2, 3}), {1, 2, 3}};
const Answer kEmpty = {0, 5, ChunkReply({})};
const Answer kLong = {0, 5, ChunkReply(Bytes(3000, 3)), Bytes(3000, 3)};
const Answer kPadded = {0, 5, ChunkReply({1, 2}, 0xFFFF), Filled({1, 2}, 0xFFFF)};
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
    const std::pair<std::vector<Answer>, std::uint32_t> cases[] = {
        {{kGood, kEmpty, kGood}, ZEL_OK},
        {{kLong, kGood, kGood}, ZEL_OK},
        {{kPadded, kPadded, kGood}, ZEL_OK},
        {{kGood, kOther, kGood}, ZEL_OK},
        {{kGood, kGood, kOther}, ZEL_OK},
        {{kRefused, kUnsent, kGood}, ZEL_OK},
        {{kTwoBlocks, kNothing, kGood}, ZEL_OK},
        {{kMoreThanABlock, kFourGigabytes, kGood}, ZEL_OK},
        {{kGood, kGood, kRefused}, 0x2342},
        {{kGood, kGood, kUnsent}, 0x80040155},
        {{kUnsent, kRefused, kTwoBlocks}, ZEL_E_FAIL},
        {{kGood, kGood, kOtherBlock}, ZEL_E_FAIL},
        {{kGood, kGood, kNoPayload}, ZEL_E_FAIL},
        {{kGood, kGood, kNothing}, ZEL_E_FAIL},
        {{kGood, kGood, kFourGigabytes}, ZEL_E_FAIL},
    };
    for (const auto& [answers, result] : cases)
    {
        SCOPED_TRACE(Hex(answers.back().body));
        EXPECT_EQ(Read(2049, {1024, 1024, 1}, answers), result);
        EXPECT_EQ(m_phone.Requests().size(), 3u);
        ASSERT_EQ(m_chunks.size(), result == ZEL_OK ? 3u : 0u);
        for (std::size_t i = 0; i < m_chunks.size(); ++i)
            EXPECT_TRUE(SameBytes(answers[i].chunk, m_chunks[i]));
    }
    // A truncated chunk is filled with zeros. Its length ends with byte 13.
    for (const Bytes& part : Truncations(ChunkReply({1, 2, 3, 4})))
    {
        EXPECT_EQ(Read(4, {4}, {{0, 5, part}}), part.size() < 2 ? ZEL_E_FAIL : ZEL_OK) << part.size();
        if (part.size() >= 2)
        {
            EXPECT_EQ(m_chunks[0], part.size() < 14 ? Bytes() : Filled({part.begin() + 14, part.end()}, 4));
        }
    }
    FailEachAllocation([&] { return Read(2049, {1024, 1024, 1}, {kGood, kGood, kGood}); });
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
    const std::pair<std::vector<Answer>, std::uint32_t> cases[] = {
        {{done, done, done}, 0}, {{done, kOther, {0, 3, {}}}, 0},     {{done, {0, 3, {0xE1}}}, 0x23E1},
        {{kUnsent}, 0x80040155}, {{done, done, {0, 3, {1}}}, 0x2301},
    };
    for (const auto& [answers, result] : cases)
    {
        FakeSender phone = PhoneWith(answers);
        ExpectRecordUntouched(m_handler, phone, ZEL_PERMISSIONS_WRITE, record, result);
        ASSERT_EQ(phone.Requests().size(), answers.size());
        for (std::size_t i = 0; i < answers.size(); ++i)
            EXPECT_TRUE(SameRequest(phone.Requests()[i], kResource, 2, bodies[i], {3}));
    }
}

TEST_F(PermHandler, RefusesBadRecords)
{
    ExpectRefused(0x2302, PermissionRecord{1, 2, 0, 3, &m_earlier}, ZEL_E_ARGUMENT);
    ExpectRefused(0x2303, PermissionRecord{1, 2, 3, 0, &m_earlier}, ZEL_E_ARGUMENT);
    for (void* bad : {static_cast<void*>(nullptr), kUnreadable})
    {
        PermissionChunk chunk = {0, 0, 1, static_cast<std::uint8_t*>(bad)};
        PermissionRecord record = {1, 2, 3, 1, static_cast<PermissionChunk*>(bad)};
        ExpectRefused(0x2303, record, ZEL_E_ARGUMENT);
        record.chunks = &chunk;
        ExpectRefused(0x2303, record, ZEL_E_FAIL);
    }
    for (const std::uint32_t messageId : {0x2301u, 0x2302u, 0x2303u, 0x2304u})
        ExpectBadRecordsRefused(m_handler, messageId);
    ExpectNotHandled({0x2300, 0x2305});
    ExpectNoIndications(ZEL_PERMISSIONS_SIZE);
}

/// Counts what is alive: the array, and the chunks that have been read, in the end 8192.
class CountingPhone : public FakeSender
{
  public:
    std::uint32_t Send(CMessage& message, std::uint32_t timeoutMs) override
    {
        const bool reads = message.GetMessageId() == 4;
        EXPECT_EQ(host::LiveAllocations(), m_before + (reads ? 1 + Requests().size() : 8193));
        return FakeSender::Send(message, timeoutMs);
    }

  private:
    const std::size_t m_before = host::LiveAllocations();
};

TEST_F(PermHandler, ReadsAndWritesEightMegabytes)
{
    CountingPhone phone;
    std::vector<Bytes> chunks;
    for (std::size_t i = 0; i < 8192; ++i)
        phone.Reply(5, ChunkReply(chunks.emplace_back(Join({Dword(i), Bytes(1020, static_cast<std::uint8_t>(i))}))));
    PermissionRecord record = {0, 1, 8u << 20, 0, nullptr};
    EXPECT_EQ(m_handler.EncodeRequest(phone, ZEL_PERMISSIONS_READ, &record), ZEL_OK);
    ASSERT_EQ(record.count, 8192u);
    for (std::size_t i = 0; i < chunks.size(); ++i)
        phone.Reply(3, {0});
    EXPECT_EQ(m_handler.EncodeRequest(phone, ZEL_PERMISSIONS_WRITE, &record), ZEL_OK);
    for (std::size_t i = 0; i < chunks.size(); ++i)
        ASSERT_TRUE(SameBytes(Join({{0, 1, 0, 0, 0, 0, 0, 0, 4, 0}, chunks[i]}), phone.Requests()[8192 + i].body));
    Free(record);
}

}  // namespace

#include "handlers/PermHandler.h"

#include "support/HandlerFixture.h"
#include "support/RecordShapes.h"
#include "zelapi/permissions.h"

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
        FreeReceived(ZEL_PERMISSIONS_READ, &record);
        return result;
    }

    /// The array that a record holds before a request; nobody frees it.
    PermissionChunk m_earlier = {};
    std::vector<Bytes> m_chunks;
};

TEST_F(PermHandler, ReadsTheSizes)
{
    // Status, one sub-block: the size's id and length, two bytes passed over, the size.
    const Bytes reply = {0, 1, 6, 8, 9, 9, 0x12, 0x34, 0x56, 0x78};
    for (const auto& [messageId, requestId, body] :
         {std::tuple<std::uint32_t, std::uint8_t, Bytes>{ZEL_PERMISSIONS_SIZE, 12, {0x12, 0x34, 0, 0, 0, 0}},
          {ZEL_PERMISSIONS_SECOND_SIZE, 16, {0x12, 0x34}}})
    {
        SCOPED_TRACE(messageId);
        const auto replyId = static_cast<std::uint8_t>(requestId + 1);
        const PermissionRecord before = {1, 0x1234, 2, 3, &m_earlier};
        ExpectUnanswered(messageId, before);
        ExpectOutcomes(messageId, before,
                       {{replyId, {}, ZEL_E_FAIL},
                        {replyId, {0x21, 1, 6, 8, 0, 0, 0, 0, 0, 5}, 0x2321},
                        {replyId, {0xFF}, 0x23FF},
                        {replyId, {0, 0, 6, 8, 0, 0, 0, 0, 0, 5}, ZEL_E_FAIL},
                        {replyId, {0, 2, 6, 8, 0, 0, 0, 0, 0, 5}, ZEL_E_FAIL},
                        {replyId, {0, 1, 5, 8, 0, 0, 0, 0, 0, 5}, ZEL_E_FAIL},
                        {replyId, {0, 1, 6, 2, 0, 0, 0, 0, 0, 5}, ZEL_E_FAIL}});
        PermissionRecord record = before;
        EXPECT_EQ(Ask(messageId, &record, replyId, reply), ZEL_OK);
        EXPECT_EQ(std::tuple(record.size, record.count, record.chunks), std::tuple(0x12345678u, 3u, &m_earlier));
        EXPECT_TRUE(Sent(requestId, body, {replyId}));
        Survives(messageId, &before, replyId, reply, {ZEL_E_FAIL});
    }
}

TEST_F(PermHandler, AsksForEachChunkOnce)
{
    const std::pair<std::uint32_t, std::vector<std::uint16_t>> cases[] = {
        {1, {1}},
        {1023, {1023}},
        {1024, {1024}},
        {1025, {1024, 1}},
        {70000, std::vector<std::uint16_t>(68, 1024) + std::vector<std::uint16_t>{368}}};
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

TEST_F(PermHandler, GoesOnAfterABadChunk)
{
    const std::vector<std::uint16_t> lengths = {1024, 1024, 1};
    std::vector<std::pair<std::vector<Answer>, std::uint32_t>> cases = {
        {{kGood, kEmpty, kGood}, ZEL_OK},   {{kLong, kGood, kGood}, ZEL_OK},       {{kPadded, kPadded, kGood}, ZEL_OK},
        {{kGood, kOther, kGood}, ZEL_OK},   {{kGood, kGood, kOther}, ZEL_OK},      {{kRefused, kUnsent, kGood}, ZEL_OK},
        {{kGood, kGood, kRefused}, 0x2342}, {{kGood, kGood, kUnsent}, 0x80040155},
    };
    for (const Bytes& malformed : {Bytes{},
                                   {0, 2, 0, 0, 0, 0, 0, 0, 0, 16, 0, 0, 0, 4, 1, 2, 3, 4},  // two sub-blocks
                                   {0, 1, 1, 0, 0, 0, 0, 0, 0, 16, 0, 0, 0, 4, 1, 2, 3, 4},  // another one
                                   {0, 1, 0, 0, 0, 0, 0, 0, 0, 8},                           // an empty one
                                   ChunkReply({1, 2}, 0x10000),
                                   ChunkReply({1, 2}, 0xFFFFFFFF)})
    {
        cases.push_back({{{0, 5, malformed}, kUnsent, kGood}, ZEL_OK});
        cases.push_back({{kRefused, kGood, {0, 5, malformed}}, ZEL_E_FAIL});
    }
    for (const auto& [answers, result] : cases)
    {
        SCOPED_TRACE(Hex(answers.back().body));
        EXPECT_EQ(Read(2049, lengths, answers), result);
        EXPECT_EQ(m_phone.Requests().size(), 3u);
        ASSERT_EQ(m_chunks.size(), result == ZEL_OK ? 3u : 0u);
        for (std::size_t i = 0; i < m_chunks.size(); ++i)
            EXPECT_TRUE(SameBytes(answers[i].chunk, m_chunks[i]));
    }
    const PermissionRecord record = {1, 0x1234, 2049, 7, &m_earlier};
    Survives(ZEL_PERMISSIONS_READ, &record, {{5, kGood.body}, {5, kGood.body}, {5, kPadded.body}}, {ZEL_E_FAIL});
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
    ExpectRefused(ZEL_PERMISSIONS_READ, PermissionRecord{1, 2, 0, 3, &m_earlier}, ZEL_E_ARGUMENT);
    ExpectRefused(ZEL_PERMISSIONS_WRITE, PermissionRecord{1, 2, 3, 0, &m_earlier}, ZEL_E_ARGUMENT);
    std::uint8_t byte = 0;
    for (void* bad : {static_cast<void*>(nullptr), kUnreadable})
    {
        PermissionChunk chunks[] = {{0, 0, 1, &byte}, {0, 0, 1, static_cast<std::uint8_t*>(bad)}};
        for (PermissionChunk* array : {static_cast<PermissionChunk*>(bad), chunks})
            ExpectRefused(ZEL_PERMISSIONS_WRITE, PermissionRecord{1, 2, 3, 2, array}, ZEL_E_ARGUMENT);
    }
    for (std::uint32_t id = ZEL_PERMISSIONS_SIZE; id <= ZEL_PERMISSIONS_SECOND_SIZE; ++id)
        ExpectBadRecordsRefused(m_handler, id);
    ExpectNotHandled({ZEL_PERMISSIONS_SIZE - 1, ZEL_PERMISSIONS_SECOND_SIZE + 1});
    ExpectNoIndications(ZEL_PERMISSIONS_SIZE);
}

}  // namespace

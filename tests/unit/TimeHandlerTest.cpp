#include "handlers/TimeHandler.h"

#include "support/HandlerFixture.h"
#include "zelapi/time.h"

#include <algorithm>
#include <tuple>

namespace
{

/// A record's bytes: 0xEE but for the ones given, from an offset on.
Bytes RecordWith(std::size_t offset, const Bytes& bytes)
{
    Bytes record(sizeof(TimeRecord), 0xEE);
    std::copy(bytes.begin(), bytes.end(), record.begin() + static_cast<std::ptrdiff_t>(offset));
    return record;
}

class TimeHandler : public HandlerFixture<CTimeHandler, 0x19>
{
  protected:
    TimeHandler()
    {
        m_phone.SetVersion(kResource, 16, 0);
        std::memset(&m_untouched, 0xEE, sizeof m_untouched);
    }

    /// The record after a request. No byte of it may pass for one that the phone sent.
    Bytes Run(std::uint32_t messageId, std::uint8_t replyId, const Bytes& reply)
    {
        TimeRecord record = m_untouched;
        EXPECT_EQ(Ask(messageId, &record, replyId, reply), ZEL_OK);
        return {record.bytes, record.bytes + sizeof record.bytes};
    }

    TimeRecord m_untouched;
};

const Bytes kClockReply = {
    0x01,                    // done
    0x03,                    // three sub-blocks
    0x01, 0x0C,              // sub-block 1, 12 bytes
    0x05, 0x03, 0x07, 0xD6,  // valid; 2006
    0x02, 0x1C, 0x17, 0x3A,  // 28 February, 23:58
    0x3B, 0x00,              // 59 seconds; filler
    0x09, 0x04, 0xAA, 0xBB,  // a sub-block that nobody knows
    0x04, 0x04, 0x42, 0x00,  // sub-block 4: 0x42
};
const Bytes kSetReply = {
    0x01, 0x02,                                                  // done; two sub-blocks
    0x01, 0x0C,                                                  // sub-block 1, 12 bytes
    0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x00,  // as it has been set; filler
};
const Bytes kSettingsReply = {
    0x01,                                            // done
    0x04,                                            // four sub-blocks
    0x05, 0x08, 0x0A, 0xFF, 0x01, 0x02, 0x03, 0x04,  // setting 10: 0x0102, 0x0304
    0x06, 0x08, 0x0B, 0xFF, 0xDD, 0xDD, 0xDD, 0xDD,  // no setting
    0x05, 0x08, 0x0C, 0xFF, 0xDD, 0xDD, 0xDD, 0xDD,  // setting 12
    0x05, 0x08, 0x0B, 0xFF, 0x05, 0x06, 0x07, 0x08,  // setting 11: 0x0506, 0x0708
};

TEST_F(TimeHandler, ReadsTheClock)
{
    Bytes expected = RecordWith(12, {0x05, 0x03, 0xD6, 0x07, 0x02, 0x1C, 0x17, 0x3A, 0x3B});
    expected[4] = 0x42;
    EXPECT_TRUE(SameBytes(expected, Run(ZEL_TIME_READ, 0x0B, kClockReply)));
    EXPECT_TRUE(Sent(0x0A, {0x00, 0x00}));
    // An invalid time is zeroed, an unreadable sub-block ends the clock.
    const Bytes invalid = {0x01, 0x01, 0x01, 0x0C, 0x05, 0x02, 0x07, 0xD6, 0x02, 0x1C, 0x17, 0x3A, 0x3B, 0x00};
    EXPECT_TRUE(SameBytes(RecordWith(12, {0x05, 0x02, 0, 0, 0, 0, 0, 0, 0}), Run(ZEL_TIME_READ, 0x0B, invalid)));
    const Bytes unreadable = {0x01, 0x02, 0x09, 0x02, 0x04, 0x04, 0x42, 0x00};
    EXPECT_TRUE(SameBytes(RecordWith(0, {}), Run(ZEL_TIME_READ, 0x0B, unreadable)));
}

TEST_F(TimeHandler, SetsTheClock)
{
    TimeRecord record = m_untouched;
    record.set = {0, 0, 0, 1, 3, 2006, 12, 31, 1, 2, 3, {}};
    // Without its sub-block in the answer the record stays as it was.
    ExpectOutcomes(ZEL_TIME_SET, record,
                   {{0x02, {0x01, 0x00}, ZEL_OK},
                    {0x02, {0x01, 0x01, 0x02, 0x04, 0xAA, 0xBB}, ZEL_OK},
                    {0x02, {0x01, 0x01, 0x01, 0x02}, ZEL_OK}});
    const Bytes expected = {
        0x00, 0x01,                          // one sub-block
        0x01, 0x0C,                          // sub-block 1, 12 bytes
        0x01, 0x03, 0x07, 0xD6,              // C0, C1, 2006
        0x0C, 0x1F, 0x01, 0x02, 0x03, 0x00,  // 31 December, 1:02:03; filler
    };
    EXPECT_TRUE(Sent(0x01, expected));
    EXPECT_TRUE(SameBytes(RecordWith(8, {0x11, 0x12, 0x14, 0x13, 0x15, 0x16, 0x17, 0x18, 0x19}),
                          Run(ZEL_TIME_SET, 0x02, kSetReply)));
}

TEST_F(TimeHandler, ReadsTheSettings)
{
    EXPECT_TRUE(SameBytes(RecordWith(4, {0x02, 0x01, 0x04, 0x03, 0x06, 0x05, 0x08, 0x07}),
                          Run(ZEL_TIME_READ_SETTINGS, 0x20, kSettingsReply)));
    EXPECT_TRUE(Sent(0x1F, {0x01, 0x00}));

    FakeSender phone;
    ExpectRecordUntouched(m_handler, phone, ZEL_TIME_READ_SETTINGS, m_untouched, ZEL_E_FAIL);
    phone.SetVersion(kResource, 15, 99);
    ExpectRecordUntouched(m_handler, phone, ZEL_TIME_READ_SETTINGS, m_untouched, ZEL_E_VERSION);
    EXPECT_TRUE(phone.Requests().empty());
}

TEST_F(TimeHandler, ReadsWhatATruncatedReplyHolds)
{
    const struct
    {
        std::uint32_t messageId;
        std::uint8_t replyId;
        Bytes reply;
        std::size_t begin;  ///< The bytes of the record that the request may fill.
        std::size_t end;
        /// A byte's place; the length of the reply from which on it is a 0, and from which on its own value.
        std::vector<std::tuple<std::size_t, std::size_t, std::size_t, std::uint8_t>> bytes;
    } cases[] = {
        {ZEL_TIME_READ, 0x0B, kClockReply, 4, 21, {{14, 3, 8, 0xD6}, {15, 3, 7, 0x07}, {20, 3, 13, 59}}},
        {ZEL_TIME_SET, 0x02, kSetReply, 8, 17, {{8, 3, 5, 0x11}, {16, 3, 13, 0x19}}},
        {ZEL_TIME_READ_SETTINGS, 0x20, kSettingsReply, 4, 12, {{6, 5, 10, 0x04}, {7, 5, 9, 0x03}}},
    };
    for (const auto& [messageId, replyId, reply, begin, end, bytes] : cases)
        for (const Bytes& part : Truncations(reply))
        {
            SCOPED_TRACE(Hex(part));
            Bytes record = Run(messageId, replyId, part);
            for (const auto& [at, zeroFrom, from, value] : bytes)
                EXPECT_EQ(record[at], part.size() < zeroFrom ? 0xEE : part.size() < from ? 0 : value) << at;
            std::fill_n(record.begin() + static_cast<std::ptrdiff_t>(begin), end - begin, std::uint8_t{0xEE});
            EXPECT_TRUE(SameBytes(RecordWith(0, {}), record));
        }
}

TEST_F(TimeHandler, WhatIsNotAnsweredKeepsTheRecord)
{
    const std::pair<std::uint32_t, std::uint8_t> replies[] = {
        {ZEL_TIME_READ, 0x0B}, {ZEL_TIME_SET, 0x02}, {ZEL_TIME_READ_SETTINGS, 0x20}};
    for (const auto& [messageId, replyId] : replies)
    {
        SCOPED_TRACE(messageId);
        ExpectBadRecordsRefused(m_handler, messageId);
        ExpectUnanswered(messageId, m_untouched);
        for (const std::uint8_t status : Bytes{0x00, 0x02, 0xFF})
        {
            Bytes refusal = kClockReply;
            refusal[0] = status;
            ExpectOutcomes(messageId, m_untouched, {{replyId, refusal, ZEL_OK}});
        }
    }
    ExpectNotHandled({0x1900, 0x1904});
    ExpectNoIndications(ZEL_TIME_READ);
}

}  // namespace

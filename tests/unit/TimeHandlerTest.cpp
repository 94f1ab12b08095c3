#include "handlers/TimeHandler.h"

#include "support/HandlerChecks.h"

namespace
{

constexpr std::uint8_t kResource = 0x19;

class TimeHandler : public testing::Test
{
  protected:
    TimeHandler()
    {
        m_handler.SetResource(kResource);
        m_phone.SetVersion(kResource, 16, 0);
        // No byte of the record may pass for one that the phone sent.
        std::memset(&m_record, 0xEE, sizeof m_record);
    }

    std::uint32_t Run(std::uint32_t messageId) { return m_handler.EncodeRequest(m_phone, messageId, &m_record); }
    Bytes Record() const { return Bytes(m_record.bytes, m_record.bytes + sizeof m_record.bytes); }

    CTimeHandler m_handler;
    FakeSender m_phone;
    TimeRecord m_record;
};

/// The record's bytes: 0xEE but for the ones given, from an offset on.
Bytes RecordWith(std::size_t offset, const Bytes& bytes)
{
    Bytes record(sizeof(TimeRecord), 0xEE);
    std::copy(bytes.begin(), bytes.end(), record.begin() + static_cast<std::ptrdiff_t>(offset));
    return record;
}

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

TEST_F(TimeHandler, ReadsTheClock)
{
    m_phone.Reply(0x0B, kClockReply);
    EXPECT_EQ(Run(ZEL_TIME_READ), ZEL_OK);
    EXPECT_TRUE(SameRequest(m_phone.Last(), kResource, 0x0A, {0x00, 0x00}));

    Bytes expected = RecordWith(12, {0x05, 0x03, 0xD6, 0x07, 0x02, 0x1C, 0x17, 0x3A, 0x3B});
    expected[4] = 0x42;
    EXPECT_TRUE(SameBytes(expected, Record()));
    EXPECT_EQ(m_record.now.year, 2006);
    EXPECT_EQ(m_record.now.month, 2);
    EXPECT_EQ(m_record.now.day, 28);
    EXPECT_EQ(m_record.now.hour, 23);
    EXPECT_EQ(m_record.now.minute, 58);
    EXPECT_EQ(m_record.now.second, 59);
}

TEST_F(TimeHandler, AnInvalidTimeIsZeroed)
{
    m_phone.Reply(0x0B, {0x01, 0x01, 0x01, 0x0C, 0x05, 0x02, 0x07, 0xD6, 0x02, 0x1C, 0x17, 0x3A, 0x3B, 0x00});
    EXPECT_EQ(Run(ZEL_TIME_READ), ZEL_OK);
    EXPECT_TRUE(SameBytes(RecordWith(12, {0x05, 0x02, 0, 0, 0, 0, 0, 0, 0}), Record()));
}

TEST_F(TimeHandler, AnUnreadableSubBlockEndsTheClock)
{
    m_phone.Reply(0x0B, {0x01, 0x02, 0x09, 0x02, 0x04, 0x04, 0x42, 0x00});
    EXPECT_EQ(Run(ZEL_TIME_READ), ZEL_OK);
    EXPECT_TRUE(SameBytes(RecordWith(0, {}), Record()));
}

TEST_F(TimeHandler, EveryTruncatedClockReadsAsZeros)
{
    for (const Bytes& part : Truncations(kClockReply))
    {
        SCOPED_TRACE(part.size());
        std::memset(&m_record, 0xEE, sizeof m_record);
        m_phone.Reply(0x0B, part);
        EXPECT_EQ(Run(ZEL_TIME_READ), ZEL_OK);
        // The sub-block's id is the third byte; the sixth one tells that its time is valid.
        EXPECT_EQ(m_record.now.year, part.size() < 3 ? 0xEEEE : part.size() < 7 ? 0 : part.size() < 8 ? 0x0700 : 2006);
        EXPECT_EQ(m_record.now.second, part.size() < 3 ? 0xEE : part.size() < 13 ? 0 : 59);
    }
}

const Bytes kSetRequest = {
    0x00, 0x01,                          // one sub-block
    0x01, 0x0C,                          // sub-block 1, 12 bytes
    0x01, 0x03, 0x07, 0xD6,              // C0, C1, 2006
    0x0C, 0x1F, 0x01, 0x02, 0x03, 0x00,  // 31 December, 1:02:03; filler
};

TEST_F(TimeHandler, SetsTheClock)
{
    m_record.set.lead_0 = 1;
    m_record.set.lead_1 = 3;
    m_record.set.year = 2006;
    m_record.set.month = 12;
    m_record.set.day = 31;
    m_record.set.hour = 1;
    m_record.set.minute = 2;
    m_record.set.second = 3;
    m_phone.Reply(0x02, {0x01, 0x00});
    EXPECT_EQ(Run(ZEL_TIME_SET), ZEL_OK);
    EXPECT_TRUE(SameRequest(m_phone.Last(), kResource, 0x01, kSetRequest));
    // Without a sub-block in the answer the record stays as it was.
    EXPECT_TRUE(SameBytes(RecordWith(8, {0x01, 0x03, 0xD6, 0x07, 0x0C, 0x1F, 0x01, 0x02, 0x03}), Record()));
}

TEST_F(TimeHandler, WritesTheAnswerOfASetBack)
{
    const Bytes answer = {0x01, 0x02, 0x01, 0x0C, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x00};
    m_phone.Reply(0x02, answer);
    EXPECT_EQ(Run(ZEL_TIME_SET), ZEL_OK);
    EXPECT_TRUE(SameBytes(RecordWith(8, {0x11, 0x12, 0x14, 0x13, 0x15, 0x16, 0x17, 0x18, 0x19}), Record()));

    for (const Bytes& part : Truncations(answer))
    {
        SCOPED_TRACE(part.size());
        std::memset(&m_record, 0xEE, sizeof m_record);
        m_phone.Reply(0x02, part);
        EXPECT_EQ(Run(ZEL_TIME_SET), ZEL_OK);
        // The sub-block's id is its third byte; until then there is nothing to write back.
        EXPECT_EQ(m_record.set.lead_0, part.size() < 3 ? 0xEE : part.size() < 5 ? 0 : 0x11);
        EXPECT_EQ(m_record.set.second, part.size() < 3 ? 0xEE : part.size() < 13 ? 0 : 0x19);
    }
}

TEST_F(TimeHandler, ASetAnsweredWithAnotherSubBlockKeepsTheRecord)
{
    for (const Bytes& answer : {Bytes{0x01, 0x01, 0x02, 0x04, 0xAA, 0xBB}, Bytes{0x01, 0x01, 0x01, 0x02}})
    {
        m_phone.Reply(0x02, answer);
        ExpectRecordUntouched(m_handler, m_phone, ZEL_TIME_SET, m_record, ZEL_OK);
    }
}

const Bytes kSettingsReply = {
    0x01,                                            // done
    0x04,                                            // four sub-blocks
    0x05, 0x08, 0x0A, 0xFF, 0x01, 0x02, 0x03, 0x04,  // setting 10: 0x0102, 0x0304
    0x06, 0x08, 0x0B, 0xFF, 0xDD, 0xDD, 0xDD, 0xDD,  // no setting
    0x05, 0x08, 0x0C, 0xFF, 0xDD, 0xDD, 0xDD, 0xDD,  // setting 12
    0x05, 0x08, 0x0B, 0xFF, 0x05, 0x06, 0x07, 0x08,  // setting 11: 0x0506, 0x0708
};

TEST_F(TimeHandler, ReadsTheSettings)
{
    m_phone.Reply(0x20, kSettingsReply);
    EXPECT_EQ(Run(ZEL_TIME_READ_SETTINGS), ZEL_OK);
    EXPECT_TRUE(SameRequest(m_phone.Last(), kResource, 0x1F, {0x01, 0x00}));
    EXPECT_TRUE(SameBytes(RecordWith(4, {0x02, 0x01, 0x04, 0x03, 0x06, 0x05, 0x08, 0x07}), Record()));
}

TEST_F(TimeHandler, TruncatedSettingsTouchNothingElse)
{
    for (const Bytes& part : Truncations(kSettingsReply))
    {
        SCOPED_TRACE(part.size());
        std::memset(&m_record, 0xEE, sizeof m_record);
        m_phone.Reply(0x20, part);
        EXPECT_EQ(Run(ZEL_TIME_READ_SETTINGS), ZEL_OK);
        // The setting's number is the fifth byte.
        EXPECT_EQ(m_record.settings.setting_10_second, part.size() < 5    ? 0xEEEE
                                                       : part.size() < 9  ? 0
                                                       : part.size() < 10 ? 0x0300
                                                                          : 0x0304);
        Bytes outside = Record();
        std::fill(outside.begin() + 4, outside.begin() + 12, std::uint8_t{0xEE});
        EXPECT_TRUE(SameBytes(RecordWith(0, {}), outside));
    }
}

TEST_F(TimeHandler, SettingsNeedVersion16)
{
    m_phone.SetVersion(kResource, 15, 99);
    EXPECT_EQ(Run(ZEL_TIME_READ_SETTINGS), ZEL_E_VERSION);
    FakeSender phoneWithoutClock;
    EXPECT_EQ(m_handler.EncodeRequest(phoneWithoutClock, ZEL_TIME_READ_SETTINGS, &m_record), ZEL_E_FAIL);
    EXPECT_TRUE(m_phone.Requests().empty());
    EXPECT_TRUE(phoneWithoutClock.Requests().empty());
}

TEST_F(TimeHandler, WhatIsNotAnsweredKeepsTheRecord)
{
    const std::pair<std::uint32_t, std::uint8_t> replies[] = {
        {ZEL_TIME_READ, 0x0B}, {ZEL_TIME_SET, 0x02}, {ZEL_TIME_READ_SETTINGS, 0x20}};
    for (const auto& [messageId, replyId] : replies)
    {
        SCOPED_TRACE(messageId);
        ExpectBadRecordsRefused(m_handler, messageId);
        ExpectUnansweredKept(m_handler, m_phone, messageId, m_record);
        for (const std::uint8_t status : Bytes{0x00, 0x02, 0xFF})
        {
            Bytes refusal = kClockReply;
            refusal[0] = status;
            m_phone.Reply(replyId, refusal);
            ExpectRecordUntouched(m_handler, m_phone, messageId, m_record, ZEL_OK);
        }
    }
}

TEST_F(TimeHandler, KnowsNothingElse)
{
    EXPECT_EQ(Run(0x1900), ZEL_NOT_HANDLED);
    EXPECT_EQ(Run(0x1904), ZEL_NOT_HANDLED);
    CMessage message;
    message.SetMessageId(0x01);
    std::uint32_t messageId = 77;
    void* record = &m_record;
    EXPECT_EQ(m_handler.DecodeMessage(message, messageId, record), ZEL_NOT_HANDLED);
    EXPECT_EQ(messageId, 77u);
    EXPECT_EQ(record, &m_record);
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_TIME_READ, &m_record), ZEL_E_FAIL);
}

}  // namespace

#include "handlers/WAPConnHandler.h"

#include "support/HandlerFixture.h"
#include "support/Text.h"
#include "zelapi/wap.h"

#include <tuple>

namespace
{

class WAPConnHandler : public HandlerFixture<CWAPConnHandler, 0x3F>
{
  protected:
    const CBStrOwner m_text = MakeText(u"A");
    WapConnection m_connection = {0x0102, 3, 4, m_text.get(), m_text.get()};
    const WapRequest m_record = {1, 0x1234, 5, &m_connection};
};

TEST_F(WAPConnHandler, SendsEachRequestAndReportsRefusalAndFailure)
{
    constexpr std::uint32_t kSendFailure = 0x80040155;
    // API id, request id, after which come those of its reply and its refusal, body, result of a failed send.
    const std::tuple<std::uint32_t, std::uint8_t, Bytes, std::uint32_t> cases[] = {
        {ZEL_WAP_READ_BYTE, 0, {0x34}, ZEL_E_FAIL},
        {ZEL_WAP_COMMAND, 3, {}, ZEL_E_FAIL},
        {ZEL_WAP_READ_CONNECTION, 6, {0x12, 0x34}, kSendFailure},
        {ZEL_WAP_WRITE_CONNECTION, 9, {1, 2, 1, 1, 0, 'A', 0, 1, 0, 'A', 0, 0, 0, 0}, ZEL_NOT_SUPPORTED},
        {ZEL_WAP_CONNECTION_COMMAND, 12, {0x12, 0x34}, ZEL_NOT_SUPPORTED},
    };
    for (const auto& [messageId, id, body, sendFailure] : cases)
    {
        SCOPED_TRACE(messageId);
        const auto reply = static_cast<std::uint8_t>(id + 1);
        const auto refusal = static_cast<std::uint8_t>(id + 2);
        // Reply 2 has a byte before its status.
        const Bytes lead(messageId == ZEL_WAP_READ_BYTE ? 1 : 0, m_record.result);
        ExpectOutcomes(messageId, m_record,
                       {{refusal, Join({lead, {0x00}}), ZEL_OK},
                        {refusal, Join({lead, {0x21}}), 0x3F21},
                        {refusal, Join({lead, {0xFF}}), 0x3FFF},
                        {refusal, lead, ZEL_OK},
                        {0x7F, Bytes(64, 1), ZEL_OK}});
        EXPECT_TRUE(Sent(id, body, {reply, refusal}));
        // Of the replies to the commands nothing is used.
        if (messageId == ZEL_WAP_COMMAND || messageId == ZEL_WAP_CONNECTION_COMMAND)
            ExpectOutcomes(messageId, m_record, {{reply, Bytes(64, 1), ZEL_OK}});
        m_phone.Fail(kSendFailure);
        ExpectRecordUntouched(m_handler, m_phone, messageId, m_record, sendFailure);
        EXPECT_EQ(m_connection.identifier, 0x0102);
        EXPECT_EQ(m_connection.first_text, m_text.get());
    }
}

TEST_F(WAPConnHandler, ReadsTheByteAlsoWhenRefused)
{
    // Reply, result of the request, byte.
    const std::tuple<std::uint8_t, Bytes, std::uint32_t, int> cases[] = {
        {1, {0x77, 0x21}, 0, 0x77}, {2, {0x78, 0x21}, 0x3F21, 0x78}, {2, {0x79}, 0, 0x79}, {1, {}, 0, 0}};
    for (const auto& [reply, body, result, value] : cases)
    {
        WapRequest record = m_record;
        EXPECT_EQ(Ask(ZEL_WAP_READ_BYTE, &record, reply, body), result);
        EXPECT_EQ(std::tuple(record.result, record.key), std::tuple(value, 0x1234));
    }
}

TEST_F(WAPConnHandler, RefusesBadPointers)
{
    ExpectNotHandled({0x3F00, 0x3F06});
    ExpectNoIndications(ZEL_WAP_READ_BYTE);
    for (const std::uint32_t messageId :
         {ZEL_WAP_READ_BYTE, ZEL_WAP_READ_CONNECTION, ZEL_WAP_WRITE_CONNECTION, ZEL_WAP_CONNECTION_COMMAND})
        ExpectBadRecordsRefused(m_handler, messageId);
    for (const std::uint32_t messageId : {ZEL_WAP_READ_CONNECTION, ZEL_WAP_WRITE_CONNECTION})
        for (void* connection : {static_cast<void*>(nullptr), kUnreadable})
            ExpectRefused(messageId, WapRequest{1, 2, 3, static_cast<WapConnection*>(connection)}, ZEL_E_ARGUMENT);
    EXPECT_EQ(Ask(ZEL_WAP_COMMAND, nullptr, 4, {}), ZEL_OK);
}

const Bytes kConnectionReply = {
    0x12, 0x34,                   // identifier
    0x80,                         // flag
    2,    0,    'A', 0x20, 0xAC,  // first text
    9,                            // passed over
    1,    0,    'B',              // second text
    0x56, 9,                      // value; dropped
};

TEST_F(WAPConnHandler, ReadsAConnectionAlsoATruncatedOne)
{
    std::vector<Bytes> replies = Truncations(kConnectionReply);
    replies.push_back(kConnectionReply);
    // The longest text there can be, without its characters.
    replies.push_back({0x12, 0x34, 0, 0xFF, 0, 'A'});
    for (const Bytes& reply : replies)
    {
        SCOPED_TRACE(Hex(reply));
        const auto byte = [&](std::size_t at) { return at < reply.size() ? reply[at] : 0; };
        const auto units = [&](std::size_t at, int count) {
            std::u16string text;
            for (std::size_t end = at + 2 * static_cast<std::size_t>(count); at < end; at += 2)
                text += static_cast<char16_t>(byte(at) << 8 | byte(at + 1));
            return text;
        };
        WapConnection connection = {};
        ExpectOutcomes(ZEL_WAP_READ_CONNECTION, WapRequest{1, 0x1234, 5, &connection}, {{7, reply, ZEL_OK}});
        EXPECT_EQ(connection.identifier, byte(0) << 8 | byte(1));
        EXPECT_EQ(connection.flag, byte(2) == 0 ? 0 : 1);
        ASSERT_NE(connection.second_text, nullptr);
        EXPECT_EQ(UnitsOf(CBStrOwner(connection.first_text).get()), units(4, byte(3)));
        EXPECT_EQ(UnitsOf(CBStrOwner(connection.second_text).get()), units(10, byte(9)));
        EXPECT_EQ(connection.value, byte(12));
    }
    FailEachAllocation([&] {
        WapConnection connection = {};
        WapRequest record = {1, 0x1234, 5, &connection};
        const std::uint32_t result = Ask(ZEL_WAP_READ_CONNECTION, &record, 7, kConnectionReply);
        SysFreeString(connection.first_text);
        SysFreeString(connection.second_text);
        return result;
    });
}

TEST_F(WAPConnHandler, WritesAConnection)
{
    const struct
    {
        std::uint16_t identifier;
        std::uint8_t flag;
        std::u16string first, second;
        Bytes head;  ///< Identifier, flag, length of the first text.
        std::size_t firstSent;
        Bytes middle;  ///< Length of the second text.
        std::size_t secondSent;
        std::size_t zeros;
    } cases[] = {
        {0x1234, 0, u"\u20ACb", u"c", {0x12, 0x34, 0, 2}, 2, {0, 1}, 1, 1},  // 13 bytes
        {0, 0x80, u"abc", u"d", {0xFF, 0xFF, 1, 3}, 3, {0, 1}, 1, 3},        // 15 bytes
        {1, 1, u"", u"", {0, 1, 1, 0}, 0, {0, 0}, 0, 3},
        {0xFFFF, 1, std::u16string(60, u'x'), u"", {0xFF, 0xFF, 1, 60}, 50, {0, 0}, 0, 3},
        {2, 1, std::u16string(50, u'x'), std::u16string(255, u'y'), {0, 2, 1, 50}, 50, {0, 255}, 255, 1},
        {2, 1, std::u16string(51, u'x'), std::u16string(256, u'y'), {0, 2, 1, 51}, 50, {0, 0}, 255, 1},
    };
    for (const auto& [identifier, flag, first, second, head, firstSent, middle, secondSent, zeros] : cases)
    {
        SCOPED_TRACE(first.size());
        const CBStrOwner texts[] = {MakeText(first), MakeText(second)};
        WapConnection connection = {identifier, 9, flag, texts[0].get(), texts[1].get()};
        WapRequest record = {1, 0x1234, 5, &connection};
        EXPECT_EQ(Ask(ZEL_WAP_WRITE_CONNECTION, &record, 10, {0x12, 0x35, 0x56, 0x78}), ZEL_OK);
        const Bytes body = Join({head, WireText(first.substr(0, firstSent)), middle,
                                 WireText(second.substr(0, secondSent)), Bytes(1 + zeros)});
        EXPECT_TRUE(Sent(9, body, {10, 11}));
        EXPECT_EQ(std::tuple(record.key, record.result, connection.identifier), std::tuple(0x1235, 5, 0x5678));
        EXPECT_EQ(connection.first_text, texts[0].get());
    }
    // A text that is not there is an empty one.
    m_connection = {1, 0, 0, nullptr, static_cast<BSTR>(kUnreadable)};
    ExpectOutcomes(ZEL_WAP_WRITE_CONNECTION, m_record, {{11, {0}, ZEL_OK}});
    EXPECT_TRUE(SameBytes({0, 1, 0, 0, 0, 0, 0, 0, 0, 0}, m_phone.Last().body));
}

}  // namespace

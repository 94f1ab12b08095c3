#include "handlers/WAPConnHandler.h"

#include "support/HandlerChecks.h"
#include "support/Text.h"

namespace
{

constexpr std::uint8_t kResource = 0x3F;

class WAPConnHandler : public testing::Test
{
  protected:
    WAPConnHandler() { m_handler.SetResource(kResource); }

    const CLeakCheck m_leaks;
    const CBStrOwner m_text = MakeText(u"A");
    WapConnection m_connection = {0x0102, 3, 4, m_text.get(), m_text.get()};
    const WapRequest m_record = {1, 0x1234, 5, &m_connection};
    CWAPConnHandler m_handler;
    FakeSender m_phone;
};

struct RequestCase
{
    std::uint32_t messageId;
    std::uint8_t requestId;  ///< Then come the ids of its reply and its refusal.
    Bytes body;
    std::uint32_t sendFailure;
};

constexpr std::uint32_t kSendFailure = 0x80040155;

const RequestCase kRequests[] = {
    {ZEL_WAP_READ_BYTE, 0, {0x34}, ZEL_E_FAIL},
    {ZEL_WAP_COMMAND, 3, {}, ZEL_E_FAIL},
    {ZEL_WAP_READ_CONNECTION, 6, {0x12, 0x34}, kSendFailure},
    {ZEL_WAP_WRITE_CONNECTION, 9, {1, 2, 1, 1, 0, 'A', 0, 1, 0, 'A', 0, 0, 0, 0}, 3},
    {ZEL_WAP_CONNECTION_COMMAND, 12, {0x12, 0x34}, 3},
};

TEST_F(WAPConnHandler, SendsEachRequestAndReportsRefusalAndFailure)
{
    for (const auto& [messageId, id, body, sendFailure] : kRequests)
    {
        SCOPED_TRACE(messageId);
        const auto refusal = static_cast<std::uint8_t>(id + 2);
        // Reply 2 has a byte before its status.
        const Bytes lead(messageId == ZEL_WAP_READ_BYTE ? 1 : 0, m_record.result);
        for (const std::uint8_t status : Bytes{0x00, 0x21, 0xFF})
        {
            Bytes answer = lead;
            answer.push_back(status);
            m_phone.Reply(refusal, answer);
            ExpectRecordUntouched(m_handler, m_phone, messageId, m_record, status == 0 ? 0u : 0x3F00u | status);
        }
        EXPECT_TRUE(SameRequest(m_phone.Last(), kResource, id, body, {static_cast<std::uint8_t>(id + 1), refusal}));
        m_phone.Reply(refusal, lead);
        ExpectRecordUntouched(m_handler, m_phone, messageId, m_record, ZEL_OK);
        // Of another message, and of the replies to the commands, nothing is used.
        const bool isCommand = messageId == ZEL_WAP_COMMAND || messageId == ZEL_WAP_CONNECTION_COMMAND;
        for (const std::uint8_t reply : {std::uint8_t{0x7F}, static_cast<std::uint8_t>(isCommand ? id + 1 : 0x7F)})
        {
            m_phone.Reply(reply, Bytes(64, 1));
            ExpectRecordUntouched(m_handler, m_phone, messageId, m_record, ZEL_OK);
        }
        m_phone.Fail(kSendFailure);
        ExpectRecordUntouched(m_handler, m_phone, messageId, m_record, sendFailure);
        EXPECT_EQ(m_connection.identifier, 0x0102);
        EXPECT_EQ(m_connection.first_text, m_text.get());
    }
}

TEST_F(WAPConnHandler, ReadsTheByteAlsoWhenRefused)
{
    const struct
    {
        std::uint8_t reply;
        Bytes body;
        std::uint32_t result;
        std::uint8_t value;
    } cases[] = {{1, {0x77, 0x21}, 0, 0x77}, {2, {0x78, 0x21}, 0x3F21, 0x78}, {2, {0x79}, 0, 0x79}, {1, {}, 0, 0}};
    for (const auto& test : cases)
    {
        WapRequest record = m_record;
        m_phone.Reply(test.reply, test.body);
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_WAP_READ_BYTE, &record), test.result);
        EXPECT_EQ(record.result, test.value);
        EXPECT_EQ(record.key, 0x1234);
    }
}

TEST_F(WAPConnHandler, RefusesBadPointers)
{
    for (const std::uint32_t messageId : {0x3F01u, 0x3F03u, 0x3F04u, 0x3F05u})
        ExpectBadRecordsRefused(m_handler, messageId);
    for (const std::uint32_t messageId : {ZEL_WAP_READ_CONNECTION, ZEL_WAP_WRITE_CONNECTION})
        for (void* connection : {static_cast<void*>(nullptr), kUnreadable})
            ExpectRecordUntouched(m_handler, m_phone, messageId,
                                  WapRequest{1, 2, 3, static_cast<WapConnection*>(connection)}, ZEL_E_ARGUMENT);
    EXPECT_TRUE(m_phone.Requests().empty());
    m_phone.Reply(4, {});
    EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_WAP_COMMAND, nullptr), ZEL_OK);
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
        m_phone.Reply(7, reply);
        ExpectRecordUntouched(m_handler, m_phone, ZEL_WAP_READ_CONNECTION, WapRequest{1, 0x1234, 5, &connection},
                              ZEL_OK);
        EXPECT_EQ(connection.identifier, byte(0) << 8 | byte(1));
        EXPECT_EQ(connection.flag, byte(2) == 0 ? 0 : 1);
        ASSERT_NE(connection.second_text, nullptr);
        EXPECT_EQ(UnitsOf(CBStrOwner(connection.first_text).get()), units(4, byte(3)));
        EXPECT_EQ(UnitsOf(CBStrOwner(connection.second_text).get()), units(10, byte(9)));
        EXPECT_EQ(connection.value, byte(12));
    }
}

TEST_F(WAPConnHandler, WritesAConnection)
{
    struct Case
    {
        std::uint16_t identifier;
        std::uint8_t flag;
        std::u16string first;
        std::u16string second;
        std::size_t units[2];  ///< How many characters are sent.
        std::uint8_t zeros;    ///< At the end.
    };
    const Case cases[] = {
        {0x1234, 0, u"\u20ACb", u"c", {2, 1}, 1},  // 13 bytes
        {0, 0x80, u"abc", u"d", {3, 1}, 3},        // 15 bytes
        {1, 1, u"", u"", {0, 0}, 3},
        {0xFFFF, 1, std::u16string(60, u'x'), u"", {50, 0}, 3},
        {2, 1, std::u16string(50, u'x'), std::u16string(255, u'y'), {50, 255}, 1},
        {2, 1, std::u16string(51, u'x'), std::u16string(256, u'y'), {50, 255}, 1},
    };
    for (const Case& test : cases)
    {
        SCOPED_TRACE(&test - cases);
        const CBStrOwner texts[] = {MakeText(test.first), MakeText(test.second)};
        WapConnection connection = {test.identifier, 9, test.flag, texts[0].get(), texts[1].get()};
        WapRequest record = {1, 0x1234, 5, &connection};
        m_phone.Reply(10, {0x12, 0x35, 0x56, 0x78});
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_WAP_WRITE_CONNECTION, &record), ZEL_OK);

        const unsigned sent = test.identifier == 0 ? 0xFFFF : test.identifier;
        Bytes body = {static_cast<std::uint8_t>(sent >> 8), static_cast<std::uint8_t>(sent),
                      static_cast<std::uint8_t>(test.flag == 0 ? 0 : 1)};
        for (const auto& [text, units] : {std::pair{&test.first, test.units[0]}, {&test.second, test.units[1]}})
        {
            body.push_back(static_cast<std::uint8_t>(text->size()));
            for (const char16_t unit : text->substr(0, units))
                body.insert(body.end(), {static_cast<std::uint8_t>(unit >> 8), static_cast<std::uint8_t>(unit)});
            body.push_back(0);
        }
        body.resize(body.size() + test.zeros, 0);
        EXPECT_TRUE(SameRequest(m_phone.Last(), kResource, 9, body, {10, 11}));
        EXPECT_EQ(record.key, 0x1235);
        EXPECT_EQ(record.result, 5);
        EXPECT_EQ(connection.identifier, 0x5678);
        EXPECT_EQ(connection.first_text, texts[0].get());
    }
}

TEST_F(WAPConnHandler, WritesATextThatIsNotThereAsAnEmptyOne)
{
    m_connection = {1, 0, 0, nullptr, static_cast<BSTR>(kUnreadable)};
    m_phone.Reply(11, {0});
    ExpectRecordUntouched(m_handler, m_phone, ZEL_WAP_WRITE_CONNECTION, m_record, ZEL_OK);
    EXPECT_TRUE(SameBytes({0, 1, 0, 0, 0, 0, 0, 0, 0, 0}, m_phone.Last().body));
}

TEST_F(WAPConnHandler, NeedsMemory)
{
    FailEachAllocation([&] {
        FakeSender phone;
        phone.Reply(7, kConnectionReply);
        WapConnection connection = {};
        WapRequest record = {1, 0x1234, 5, &connection};
        const std::uint32_t result = m_handler.EncodeRequest(phone, ZEL_WAP_READ_CONNECTION, &record);
        SysFreeString(connection.first_text);
        SysFreeString(connection.second_text);
        return result;
    });
}

TEST_F(WAPConnHandler, KnowsNothingElse)
{
    for (const std::uint32_t id : {0x3F00u, 0x3F06u})
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, id, nullptr), ZEL_NOT_HANDLED);
    CMessage message;
    std::uint32_t messageId = 0;
    void* decoded = nullptr;
    EXPECT_EQ(m_handler.DecodeMessage(message, messageId, decoded), ZEL_NOT_HANDLED);
    EXPECT_EQ(m_handler.FreeDecodedData(0x3F01, nullptr), ZEL_E_FAIL);
}

}  // namespace

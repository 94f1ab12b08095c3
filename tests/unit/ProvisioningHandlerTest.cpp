#include "handlers/ProvisioningHandler.h"

#include "support/HandlerFixture.h"
#include "support/RecordShapes.h"
#include "support/Text.h"
#include "zelapi/provisioning.h"

namespace
{

using Message = Reply;

const Bytes kListReply = {
    1,    9,    9,    9,   9,   3,              // done; passed over; three sets
    8,    0,    0,    12,                       // a set
    5,    0,    0,    9,   0,   0,              // its number; no names
    9,    0,                                    // padding; no details
    8,    0,    0,    44,                       // a set
    7,    2,    3,    9,   0,   1,              // its number; lengths of two names; they are there
    'a',  'b',  'c',  'd', 'e',                 // they end before the last byte of four
    2,                                          // details
    19,   0,    0,    16,                       // access
    1,    2,    3,    4,   2,   9, 1,           // two values; lengths A, B, C
    0xAA, 0xBB, 0xCC, 0,   0,                   // A, C; padding
    17,   0,    0,    12,  3,   9, 0x44, 9, 9,  // name: length, value
    'N',  0xC3, 0xA9,                           // N, e with acute
    9,    0,    0,    8,   7,   7, 7,    7,     // not a set
};
const Bytes kSummaryReply = {1, 9, 9, 9, 9, 2, 7, 0, 0, 8, 1, 2, 3, 0, 18, 0, 0, 8, 0x21, 0x22, 0x23, 0};
const Bytes kContentReply = {1, 9, 9, 9, 9, 0xDE, 0xAD};

/// What a full read exchanges: its requests, and the phone's replies.
const std::vector<Message> kReadRequests = {{80, {0, 0, 0, 1, 0, 0, 0x00, 0x80}},
                                            {80, {5, 0, 0, 1, 0, 0, 0x00, 0x7F}},
                                            {80, {7, 0, 0, 1, 0, 0, 0x00, 0x7F}},
                                            {80, {0, 0, 0, 1, 0, 0, 0x00, 0x7F}},
                                            {80, {0, 0, 0, 1, 0, 0, 0x01, 0x00}}};
const std::vector<Message> kReadReplies = {
    {81, kListReply}, {81, kContentReply}, {81, {1, 9, 9, 9, 9}}, {81, {1, 9}}, {81, kSummaryReply}};

const std::vector<Message> kWriteRequests = {
    {84, {0, 0, 0, 0, 0x00, 0x7F}},
    {86, {1, 0, 0, 2}},
    {82, {0, 0, 0, 0, 0, 1, 19, 0, 0, 12, 0, 0, 0, 0, 0, 0, 0, 0}},
    {86, {2, 0, 5, 0}},
    {86, {3, 0, 5, 0}},
    {82, {0,    0,    0,    0, 0, 2,  19, 0, 0,  16, 1, 2,    3, 4, 2,   9,    1,
          0xAA, 0xBB, 0xCC, 0, 0, 17, 0,  0, 12, 3,  0, 0x44, 0, 0, 'N', 0xC3, 0xA9}},
    {86, {2, 0, 7, 0}},
    {86, {3, 3, 7, 0, 0, 'N', 0, 0xE9, 0, 0}},
};
const std::vector<Message> kWriteReplies = {{85, {1}}, {87, {1}},    {83, {1}}, {87, {1}},
                                            {87, {1}}, {83, {1, 8}}, {87, {1}}, {87, {1}}};

class ProvisioningHandler : public HandlerFixture<CProvisioningHandler, 0x22>
{
  protected:
    /// A phone that has the service.
    static FakeSender PhoneWith(const std::vector<Message>& replies)
    {
        FakeSender phone;
        phone.SetVersion(kResource, 1, 0);
        for (const Message& reply : replies)
            phone.Reply(reply.id, reply.body);
        return phone;
    }

    std::uint32_t Run(std::uint32_t messageId, ProvisioningList& list, const std::vector<Message>& replies)
    {
        m_phone = PhoneWith(replies);
        return m_handler.EncodeRequest(m_phone, messageId, &list);
    }
    std::uint32_t Read(const std::vector<Message>& replies) { return Run(ZEL_PROVISIONING_READ_ALL, m_list, replies); }

    /// Result of a write, and how many requests it sent.
    std::pair<std::uint32_t, std::size_t> Write(const std::vector<Message>& replies)
    {
        const std::uint32_t result = Run(ZEL_PROVISIONING_WRITE_ALL, m_toWrite, replies);
        return {result, m_phone.Requests().size()};
    }

    void ExpectRequests(const std::vector<Message>& expected)
    {
        ASSERT_EQ(m_phone.Requests().size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_TRUE(SameRequest(m_phone.Requests()[i], kResource, expected[i].id, expected[i].body,
                                    {2, static_cast<std::uint8_t>(expected[i].id + 1)}))
                << i;
    }

    const CBStrOwner m_name = MakeText({u"N\u00E9\0x", 4});
    std::uint8_t m_blockA[2] = {0xAA, 0xBB};
    std::uint8_t m_blockC[1] = {0xCC};
    ProvisioningAccess m_access = {0, 0x0102, 0x0304, 2, 9, m_blockA, 1, m_blockC};
    ProvisioningName m_nameRecord = {0, 0x44, 99, m_name.get()};
    ProvisioningSet m_sets[2] = {{{}, 5, nullptr, nullptr, 0, 0, nullptr},
                                 {{}, 7, &m_access, &m_nameRecord, 0, 0, nullptr}};
    ProvisioningList m_toWrite = {0, 2, m_sets, 0, 0, 0};
    ProvisioningList m_list = {};
};

TEST_F(ProvisioningHandler, ReadsSetsWithTheirContents)
{
    m_list.leading = 0x12345678;
    EXPECT_EQ(Read(kReadReplies), ZEL_OK);
    ExpectRequests(kReadRequests);
    EXPECT_EQ(m_list.leading, 0x12345678u);
    ASSERT_EQ((Bytes{m_list.count, m_list.value_16, m_list.value_17, m_list.value_18}), (Bytes{3, 0x21, 0x22, 0x23}));

    const ProvisioningSet& plain = m_list.sets[0];
    EXPECT_EQ(std::tuple(plain.number, plain.access == nullptr, plain.name == nullptr), std::tuple(5, true, true));
    EXPECT_TRUE(SameBytes({0xDE, 0xAD}, Bytes(plain.content, plain.content + plain.content_size)));

    const ProvisioningSet& set = m_list.sets[1];
    const ProvisioningAccess& access = *set.access;
    EXPECT_EQ((std::vector<unsigned>{set.number, access.value_4, access.value_6, access.length_a, access.length_b,
                                     access.length_c, set.name->value_4, set.name->name_length}),
              (std::vector<unsigned>{7, 0x0102, 0x0304, 2, 9, 1, 0x44, 3}));
    EXPECT_TRUE(SameBytes({0xAA, 0xBB}, Bytes(access.block_a, access.block_a + 2)));
    EXPECT_EQ(*access.block_c, 0xCC);
    EXPECT_EQ(std::u16string(UnitsOf(set.name->name).c_str()), u"N\u00E9");
    EXPECT_EQ(set.content, nullptr);
    EXPECT_EQ(std::tuple(m_list.sets[2].number, m_list.sets[2].content_size), std::tuple(0, 0u));
    FreeReceived(ZEL_PROVISIONING_READ_ALL, &m_list);
    FailEachAllocation([&] {
        const std::uint32_t result = Read(kReadReplies);
        FreeReceived(ZEL_PROVISIONING_READ_ALL, &m_list);
        return result;
    });
}

TEST_F(ProvisioningHandler, OnlyAnEmptyFirstReplyEndsARead)
{
    m_list = {0, 7, m_sets, 0, 0, 0};
    EXPECT_EQ(Read({{81, {1, 9, 9, 9, 9, 0}}, {81, kSummaryReply}}), ZEL_OK);
    EXPECT_EQ(m_list.sets, nullptr);
    EXPECT_EQ(m_list.count, 0);
    EXPECT_EQ(m_list.value_18, 0x23);
    for (const Message& empty : {Message{81, {0}}, Message{81, {}}, Message{0x7F, Bytes(64, 1)}})
    {
        FakeSender first = PhoneWith({empty});
        ExpectRecordUntouched(m_handler, first, ZEL_PROVISIONING_READ_ALL, ProvisioningList{1, 2, m_sets, 3, 4, 5},
                              ZEL_OK);
        m_list.value_16 = 0x55;
        EXPECT_EQ(Read({{81, kListReply}, empty, {81, kContentReply}, empty, empty}), ZEL_OK);
        ASSERT_EQ(m_list.count, 3);
        EXPECT_EQ(m_list.sets[0].content, nullptr);
        EXPECT_EQ(m_list.sets[1].content_size, 2u);
        EXPECT_EQ(m_list.value_16, 0x55);
        FreeReceived(ZEL_PROVISIONING_READ_ALL, &m_list);
    }
}

TEST_F(ProvisioningHandler, AFailureAnywhereIsTheResult)
{
    for (const bool reads : {true, false})
    {
        const std::vector<Message>& replies = reads ? kReadReplies : kWriteReplies;
        for (std::size_t at = 0; at < replies.size(); ++at)
            for (const auto& [id, body, result] : {Outcome{replies[at].id, {5}, 0x2205},
                                                   {replies[at].id, {0xFF}, 0x22FF},
                                                   {2, {1}, 2},
                                                   {0, {}, 0x80040155}})
            {
                SCOPED_TRACE(at);
                FakeSender phone = PhoneWith({replies.begin(), replies.begin() + static_cast<std::ptrdiff_t>(at)});
                body.empty() ? phone.Fail(result) : phone.Reply(id, body);
                ExpectRecordUntouched(m_handler, phone, reads ? ZEL_PROVISIONING_READ_ALL : ZEL_PROVISIONING_WRITE_ALL,
                                      ProvisioningList{1, 2, m_sets, 3, 4, 5}, result);
                EXPECT_EQ(phone.Requests().size(), at + 1);
            }
    }
}

TEST_F(ProvisioningHandler, BelievesNoCountAndNoLength)
{
    const Message nothing = {81, {0}};
    m_phone = PhoneWith({});
    Survives(ZEL_PROVISIONING_READ_ALL, &m_list, {{81, kListReply}, nothing, nothing, nothing, {81, kSummaryReply}});
    std::vector<Bytes> replies;
    const Bytes hostile[] = {
        {1, 8, 0, 0, 12, 1, 0, 0, 0, 0, 0, 0, 255, 8, 0, 0, 4},                              // more details than blocks
        {1, 8, 0, 0, 12, 1, 255, 255, 0, 0, 1, 0, 9},                                        // names beyond the block
        {1, 8, 0, 0, 24, 1, 0, 0, 0, 0, 0, 0, 1, 19, 0, 0, 12, 0, 0, 0, 0, 255, 1, 255, 0},  // access, too
        {1, 8, 0, 0, 20, 1, 0, 0, 0, 0, 0, 0, 1, 17, 0, 0, 8, 255, 0, 0, 0},                 // a name, too
    };
    for (const Bytes& sets : hostile)
        replies.push_back(Join({{1, 0, 0, 0, 0}, sets}));
    for (const std::uint8_t id : Bytes{19, 17})  // the same details twice
        replies.push_back({1,  0, 0, 0, 0, 1, 8,   0, 0,   36, 1, 0, 0,  0, 0, 0, 0, 2, id,  0, 0,
                           12, 1, 0, 0, 0, 1, 'A', 1, 'B', id, 0, 0, 12, 1, 0, 0, 0, 1, 'C', 1, 'D'});
    for (const Bytes& reply : replies)
    {
        SCOPED_TRACE(Hex(reply));
        EXPECT_EQ(Read({{81, reply}, nothing, nothing, nothing, nothing}), ZEL_OK);
        EXPECT_EQ(m_list.count, reply[5]);
        FreeReceived(ZEL_PROVISIONING_READ_ALL, &m_list);
    }
}

TEST_F(ProvisioningHandler, WritesSets)
{
    EXPECT_EQ(Write(kWriteReplies).first, ZEL_OK);
    ExpectRequests(kWriteRequests);
    // Status 0 and other messages do not end a write.
    EXPECT_EQ(Write({{0x7F, {5}}, {87, {0}}, {83, {}}, {87, {1}}, {87, {1}}, {83, {0, 9}}, {87, {1}}, {1, {}}}),
              std::make_pair(0u, std::size_t{8}));
    for (unsigned part = 0; part < 256; ++part)
    {
        std::vector<Message> replies = kWriteReplies;
        replies[5].body[1] = static_cast<std::uint8_t>(part);
        const bool accepted = (part >= 1 && part <= 8) || part == 21;
        EXPECT_EQ(Write(replies), std::make_pair(accepted ? ZEL_OK : ZEL_E_FAIL, std::size_t{accepted ? 8u : 6u}));
    }
}

TEST_F(ProvisioningHandler, WritesNamesUpToALimit)
{
    // Units of a name, bytes of its UTF-8, and how many units are sent with the terminator.
    for (const auto& [units, bytes, sent] : {std::tuple{std::u16string(), 0u, 0u},
                                             {std::u16string(253, u'a'), 253, 254},
                                             {std::u16string(255, u'a'), 255, 255},
                                             {std::u16string(85, u'\u20AC'), 255, 86},
                                             {std::u16string(256, u'a'), 256, 0},
                                             {std::u16string(86, u'\u20AC'), 258, 0}})
    {
        const CBStrOwner name = MakeText(units);
        m_nameRecord.name = name.get();
        const bool fits = bytes <= 255;
        ASSERT_EQ(Write(kWriteReplies), std::make_pair(fits ? ZEL_OK : ZEL_E_ARGUMENT, std::size_t{fits ? 8u : 0u}));
        if (!fits)
            continue;
        EXPECT_EQ(m_phone.Requests()[5].body[26], bytes);
        EXPECT_EQ(m_phone.Last().body[1], sent);
        EXPECT_EQ(m_phone.Last().body.size(), 4 + 2 * sent);
    }
}

TEST_F(ProvisioningHandler, RefusesBadRecordsOfAPhoneThatHasTheService)
{
    for (void* bad : {static_cast<void*>(nullptr), kUnreadable})
    {
        FakeSender phone = PhoneWith({{85, {1}}});
        EXPECT_EQ(m_handler.EncodeRequest(phone, ZEL_PROVISIONING_READ_ALL, bad), ZEL_E_ARGUMENT);
        EXPECT_EQ(m_handler.EncodeRequest(phone, ZEL_PROVISIONING_WRITE_ALL, bad), ZEL_E_ARGUMENT);
        ProvisioningList list = {0, 1, static_cast<ProvisioningSet*>(bad), 0, 0, 0};
        EXPECT_EQ(m_handler.EncodeRequest(phone, ZEL_PROVISIONING_WRITE_ALL, &list), ZEL_E_ARGUMENT);
        m_access.block_c = static_cast<std::uint8_t*>(bad);
        EXPECT_EQ(Write({}), std::make_pair(ZEL_E_ARGUMENT, std::size_t{0}));
        EXPECT_TRUE(phone.Requests().empty());
        // A set number can do without a record, a set without its parts.
        EXPECT_EQ(m_handler.EncodeRequest(phone, ZEL_PROVISIONING_SET_NUMBER, bad), ZEL_OK);
        EXPECT_TRUE(SameRequest(phone.Last(), kResource, 84, {0, 0, 0, 0, 0, 0x7F}, {2, 85}));
        ProvisioningSet bare = {
            {}, 7, static_cast<ProvisioningAccess*>(bad), static_cast<ProvisioningName*>(bad), 0, 0, nullptr};
        list.sets = &bare;
        FakeSender other = PhoneWith({{85, {1}}, {87, {1}}, {83, {1}}, {87, {1}}, {87, {1}}});
        EXPECT_EQ(m_handler.EncodeRequest(other, ZEL_PROVISIONING_WRITE_ALL, &list), ZEL_OK);
        EXPECT_TRUE(SameBytes(kWriteRequests[2].body, other.Requests()[2].body));
    }
}

TEST_F(ProvisioningHandler, SendsASetNumber)
{
    m_phone = PhoneWith({});
    const ProvisioningNumber record = {1, 0x42};
    ExpectOutcomes(ZEL_PROVISIONING_SET_NUMBER, record,
                   {{85, {1}, 0}, {85, {0}, 0}, {85, {}, 0}, {2, {1}, 2}, {85, {3}, 0x2203}, {0x7F, {3}, 0}});
    EXPECT_TRUE(Sent(84, {0x42, 0, 0, 0, 0, 0x7F}, {2, 85}));
    ExpectUnanswered(ZEL_PROVISIONING_SET_NUMBER, record);
}

TEST_F(ProvisioningHandler, NeedsTheService)
{
    for (std::uint32_t id = ZEL_PROVISIONING_READ_ALL; id <= ZEL_PROVISIONING_SET_NUMBER; ++id)
        ExpectBadRecordsRefused(m_handler, id, ZEL_PROVISIONING_NO_SERVICE);
    ExpectNotHandled({0x2200, 0x2204});
    ExpectNoIndications(ZEL_PROVISIONING_READ_ALL);
}

}  // namespace

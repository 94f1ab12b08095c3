#include "handlers/SupplementaryServicesHandler.h"

#include "support/HandlerFixture.h"
#include "support/RecordShapes.h"
#include "support/Text.h"
#include "zelapi/supplementary.h"

#include <iterator>
#include <tuple>
#include <utility>

namespace
{

class SupplementaryServicesHandler : public HandlerFixture<CSupplementaryServicesHandler, 0x06>
{
  protected:
    SupplementaryServicesHandler()
    {
        for (std::size_t i = 0; i < std::size(m_details); ++i)
        {
            m_request.entries[i].detail = &m_details[i];
            m_details[i] = {0xE1, 0xE2, 0xE3, 0xE4, nullptr, nullptr};
        }
    }

    std::uint32_t Query(const Bytes& reply) { return Ask(ZEL_SUPPLEMENTARY_QUERY, &m_request, 1, reply); }
    std::uint32_t List(const Bytes& reply) { return Ask(ZEL_SUPPLEMENTARY_REQUEST, &m_list, 1, reply); }

    /// Frees what a query or a list has brought.
    void Free()
    {
        FreeReceived(ZEL_SUPPLEMENTARY_REQUEST, &m_list);
        for (SupplementaryDetail& detail : m_details)
        {
            SysFreeString(std::exchange(detail.text, nullptr));
            CoTaskMemFree(std::exchange(detail.data, nullptr));
        }
    }

    SupplementaryDetail m_details[4];
    SupplementaryRequest m_request = {0x11, 4, 0x21, 0xA1A2, {}};
    SupplementaryListRequest m_list = {0x11, 4, 0x21, 0xA1A2, 0, {nullptr}};
};

// Both requests read it; only the list keeps something of the start.
const Bytes kReply = {
    6,    0x55, 0xB1, 0xB2, 0x55, 4,                          // operation, value; entries
    1,    0x55, 0x71, 0x55,                                   // type 1: value 2
    4,    0x55, 0x55, 3,                                      // type 4, three parts
    9,    3,                                                  // part id 9: only these two bytes
    5,    2,                                                  // part id 5, two bytes of padding
    0x81, 0x82, 0x83, 0x55, 0x84, 2,    3,    0x55,           // values; two units, three bytes
    0,    'H',  0,    'i',  0xD1, 0xD2, 0xD3, 0x55, 0x55,     // text, data, padding
    5,    0xFC, 0x91, 0x92, 0x93, 0x55, 0x94, 0,    0,    9,  // part id 5 again, without text, data and padding
    7,    0x55,                                               // a type that nobody knows
    1,    0x55, 0x72, 0x55,                                   //
};

TEST_F(SupplementaryServicesHandler, SendsEveryRequest)
{
    const CBStrOwner word = MakeText(u"ab\u20AC");
    const SupplementaryText texts[] = {{0x11, 2, word.get()}, {0x11, 9, word.get()}, {0x11, 9, nullptr}};
    const std::tuple<std::uint32_t, std::uint8_t, const SupplementaryText*, Bytes> cases[] = {
        {ZEL_SUPPLEMENTARY_QUERY, 9, nullptr, {5, 0x21, 0xA1, 0xA2, 0, 0}},
        {ZEL_SUPPLEMENTARY_QUERY_43, 9, nullptr, {5, 0x21, 0, 43, 0, 0}},
        {ZEL_SUPPLEMENTARY_REQUEST_43, 9, nullptr, {9, 0x21, 0, 43, 0, 0}},
        {ZEL_SUPPLEMENTARY_REQUEST, 9, nullptr, {9, 0x21, 0xA1, 0xA2, 0}},
        {ZEL_SUPPLEMENTARY_REQUEST, 4, nullptr, {4, 0x21, 0xA1, 0xA2, 0, 0}},
        {ZEL_SUPPLEMENTARY_REQUEST, 3, &texts[0], {3, 0x21, 0xA1, 0xA2, 0, 1, 0, 12, 2, 0, 2, 0, 0, 'a', 0, 'b', 0, 0}},
        {ZEL_SUPPLEMENTARY_REQUEST,
         3,
         &texts[1],
         {3, 0x21, 0xA1, 0xA2, 0, 1, 0, 12, 9, 0, 9, 0, 0, 'a', 0, 'b', 0x20, 0xAC}},
        {ZEL_SUPPLEMENTARY_REQUEST, 3, &texts[2], {3, 0x21, 0xA1, 0xA2, 0, 1, 0, 8, 9, 0, 9, 0, 0, 0}}};
    const std::vector<Outcome> refusals = {{2, {9, 1, 14, 9, 0x21, 7}, 0x621},
                                           {2, {9, 2, 15, 9, 9, 0x80}, 0x680},
                                           {2, {9, 1, 14, 9, 0, 7}, 0},
                                           {2, {9, 1, 13, 9, 5, 5}, 0},
                                           {2, {9, 0, 14, 9, 0x21}, 0},
                                           {2, {9, 1, 14, 9}, 0},
                                           {2, {}, 0},
                                           {3, {0x99, 1}, 0x699},
                                           {3, {0, 1}, 0}};
    for (const auto& [api, operation, text, body] : cases)
    {
        const auto check = [&, id = api, &sent = body](auto record) {
            ExpectOutcomes(id, record, refusals);
            ExpectUnanswered(id, record);
            EXPECT_EQ(Ask(id, &record, 1, {}), ZEL_OK);
            EXPECT_TRUE(Sent(0, sent, {1}));
        };
        m_request.operation = operation;
        if (api == ZEL_SUPPLEMENTARY_REQUEST)
            check(SupplementaryListRequest{0x11, operation, 0x21, 0xA1A2, 0xEE, {text}});
        else
            check(m_request);
    }
}

TEST_F(SupplementaryServicesHandler, FillsAndAllocatesEntries)
{
    m_request.entries[3].detail = static_cast<SupplementaryDetail*>(kUnreadable);
    m_request.entries[4].type = 0xEE;
    EXPECT_EQ(Query(kReply), ZEL_OK);
    EXPECT_EQ(m_request.entries[4].type, 0xEE);
    EXPECT_EQ(List(kReply), ZEL_OK);
    EXPECT_EQ(m_list.operation, 6);
    EXPECT_EQ(m_list.value, 0xB1B2);
    ASSERT_EQ(m_list.count, 4);
    const std::tuple<std::uint8_t, Bytes, Bytes, std::u16string, Bytes> expected[] = {
        {1, {0xE1, 0x71, 0xE3, 0xE4}, {0, 0x71, 0, 0}, u"", {}},
        {4, {0x91, 0x92, 0x93, 0x94}, {0x91, 0x92, 0x93, 0x94}, u"Hi", {0xD1, 0xD2, 0xD3}},
        {7, {0xE1, 0xE2, 0xE3, 0xE4}, {0, 0, 0, 0}, u"", {}},
        {1, {0xE1, 0xE2, 0xE3, 0xE4}, {0, 0x72, 0, 0}, u"", {}}};
    for (std::size_t i = 0; i < std::size(expected); ++i)
    {
        const auto& [type, filled, allocated, text, data] = expected[i];
        EXPECT_EQ(std::tuple(m_request.entries[i].type, m_list.list.entries[i].type), std::tuple(type, type));
        for (const auto& [values, detail] :
             {std::pair(filled, m_details[i]), {allocated, m_list.list.entries[i].detail}})
        {
            EXPECT_TRUE(SameBytes(values, {detail.value_1, detail.value_2, detail.value_3, detail.value_4}));
            EXPECT_EQ(std::tuple(detail.text == nullptr, UnitsOf(detail.text)), std::tuple(text.empty(), text));
            EXPECT_EQ(detail.data == nullptr, data.empty());
            EXPECT_TRUE(SameBytes(data, Bytes(detail.data, detail.data + data.size())));
        }
    }
    Free();
}

TEST_F(SupplementaryServicesHandler, ReadsOnlyWhatTheReplyHolds)
{
    Survives(ZEL_SUPPLEMENTARY_QUERY, &m_request, 1, kReply);
    Survives(ZEL_SUPPLEMENTARY_REQUEST, &m_list, 1, kReply);
    EXPECT_EQ(List({6, 0, 0, 0, 0, 0, 1}), ZEL_OK);
    EXPECT_EQ(std::tuple(m_list.count, m_list.list.entries), std::tuple(0, nullptr));
    // Lengths beyond the reply.
    EXPECT_EQ(List({0, 0, 0, 0, 0, 1, 4, 0, 0, 0xFF, 5, 0, 1, 2, 3, 0, 4, 0xFF, 0xFF, 0, 0, 'x'}), ZEL_OK);
    EXPECT_EQ(UnitsOf(m_list.list.entries[0].detail.text), u"x" + std::u16string(254, 0));
    EXPECT_EQ(m_list.list.entries[0].detail.data[254], 0);
    // As many entries as a byte can name, all of them zeros; a text that nobody wants.
    m_request.entries[254].type = 0xEE;
    EXPECT_EQ(Query({0, 0, 0, 0, 0, 0xFF}), ZEL_OK);
    EXPECT_EQ(m_request.entries[254].type, 0);
    Free();
    m_request.entries[1].detail = nullptr;
    EXPECT_EQ(Query(kReply), ZEL_OK);
}

TEST_F(SupplementaryServicesHandler, RefusesBadRecords)
{
    for (std::uint32_t api = ZEL_SUPPLEMENTARY_QUERY; api <= ZEL_SUPPLEMENTARY_REQUEST_43; ++api)
        ExpectBadRecordsRefused(m_handler, api);
    ExpectNotHandled({ZEL_SUPPLEMENTARY_QUERY - 1, ZEL_SUPPLEMENTARY_INDICATION});

    m_list.operation = ZEL_SUPPLEMENTARY_OPERATION_TEXT;
    for (void* text : {static_cast<void*>(nullptr), kUnreadable})
    {
        m_list.list.text = static_cast<const SupplementaryText*>(text);
        ExpectRefused(ZEL_SUPPLEMENTARY_REQUEST, m_list, ZEL_E_ARGUMENT);
    }
    // 123 units fill the sub-block to the last byte that its length can name.
    const CBStrOwner longText = MakeText(std::u16string(200, u'x'));
    SupplementaryText text = {0, 124, longText.get()};
    m_list.list.text = &text;
    ExpectRefused(ZEL_SUPPLEMENTARY_REQUEST, m_list, ZEL_E_ARGUMENT);
    text.length = 123;
    EXPECT_EQ(List({}), ZEL_OK);
    EXPECT_EQ(m_phone.Last().body[7], 252);
    EXPECT_EQ(m_phone.Last().body.size(), 6u + 252u);
}

TEST_F(SupplementaryServicesHandler, DecodesIndications)
{
    using Fields = std::tuple<std::uint32_t, unsigned, unsigned, unsigned>;
    const std::tuple<Bytes, std::uint32_t, Fields> cases[] = {
        {{0x71, 9, 0x81, 0x82, 0, 4, 8, 9, 1, 5, 1, 2, 3}, ZEL_OK, {0, 0x71, 0x8182, 0}},
        {{0x71, 9, 0x81, 0x82, 1, 7, 8, 9, 1, 5, 1, 2, 3}, ZEL_OK, {0, 0x71, 0x8182, 7}},
        {{0x71, 9, 0x81, 0x82, 2, 4, 8, 9, 0, 5, 1, 2, 3}, ZEL_OK, {0, 0x71, 0x8182, 4}},
        {{0x71, 9, 0x81, 0x82, 1, 4, 8, 9, 1, 6, 1, 2, 3}, ZEL_OK, {0, 0x71, 0x8182, 4}},
        {{0x71, 9, 0x81, 0x82, 1, 4, 2}, ZEL_OK, {0, 0x71, 0x8182, 4}},
        {{0x71, 9, 0x81, 0x82, 1}, ZEL_OK, {0, 0x71, 0x8182, 0}},
        {{}, ZEL_OK, {0, 0, 0, 0}},
        {{0x71, 9, 0x81, 0x82, 1, 4, 8, 9, 1, 5, 1, 2, 3}, ZEL_E_FAIL, {}}};
    for (const auto& [body, result, fields] : cases)
    {
        SCOPED_TRACE(Hex(body));
        SupplementaryIndication* decoded = nullptr;
        EXPECT_EQ(Decode(16, body, ZEL_SUPPLEMENTARY_INDICATION, decoded), result);
        // The record outlives FreeDecodedData.
        for (const std::uint32_t id : {0u, ZEL_SUPPLEMENTARY_INDICATION})
            EXPECT_EQ(m_handler.FreeDecodedData(id, decoded), ZEL_E_FAIL);
        const CTaskMemOwner<SupplementaryIndication> record(decoded);
        if (record == nullptr)
            continue;
        EXPECT_EQ(Fields(record->leading, record->first, record->second, record->block_id), fields);
        EXPECT_EQ(record->detail, nullptr);
        SurvivesIndication(m_handler, ZEL_SUPPLEMENTARY_INDICATION, {16, body});
    }
    ExpectNotDecoded(9, ZEL_OK);
    ExpectNotDecoded(17);
}

}  // namespace

#include "handlers/CallHandler.h"

#include "support/HandlerFixture.h"
#include "support/RecordShapes.h"
#include "support/Text.h"
#include "zelapi/call.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <tuple>

namespace
{

/// An element's id, parameters, text and cause.
using Element = std::tuple<std::uint16_t, Bytes, std::u16string, std::uint32_t>;
using Elements = std::vector<Element>;

bool HoldsText(std::uint16_t id)
{
    return id == ZEL_CALL_FIRST_NUMBER || id == ZEL_CALL_NUMBER || id == ZEL_CALL_TEXT;
}

std::vector<CallElement> ToSend(const Elements& elements)
{
    std::vector<CallElement> sent;
    for (const auto& [id, p, text, cause] : elements)
        sent.push_back({0, id, 0, p[0], p[1], p[2], p[3], {HoldsText(id) ? MakeText(text).release() : nullptr}});
    return sent;
}

/// Describes elements and frees their texts.
Elements Take(std::span<const CallElement> elements)
{
    Elements taken;
    for (const auto& [leading, id, word, p0, p1, p2, p3, value] : elements)
    {
        EXPECT_EQ(leading | word, 0u);
        const CBStrOwner text(HoldsText(id) ? value.text : nullptr);
        EXPECT_EQ(text != nullptr, HoldsText(id));
        const std::uint32_t cause = id == ZEL_CALL_CAUSE ? value.cause : 0;
        taken.emplace_back(id, Bytes{p0, p1, p2, p3}, UnitsOf(text.get()), cause);
    }
    return taken;
}

const Element kParameters = {ZEL_CALL_PARAMETERS, {5, 6, 7, 8}, u"", 0};

Element Number(std::u16string text, std::uint8_t p0 = 0)
{
    return {ZEL_CALL_NUMBER, {p0, 2, 0, 0}, std::move(text), 0};
}

class CallHandler : public HandlerFixture<CCallHandler, 0x01>
{
  protected:
    /// Creates a call; gives its elements as they are then. Only one that is expected to be sent is answered.
    Elements Create(std::uint32_t messageId, const Elements& elements, std::uint32_t expected = ZEL_OK)
    {
        std::vector<CallElement> sent = ToSend(elements);
        CallRecord record = {0, 0, static_cast<std::uint8_t>(sent.size()), 0, sent.data()};
        if (expected == ZEL_OK)
            m_phone.Reply(0x02, {0x01, 0x00});
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, messageId, &record), expected);
        return Take(sent);
    }

    /// The elements that a status query brings.
    Elements Query(std::uint8_t mode, const Bytes& reply)
    {
        m_record = {0, 0x05, mode, 0, nullptr};
        EXPECT_EQ(Ask(ZEL_CALL_STATUS_QUERY, &m_record, 0x0E, reply), ZEL_OK);
        m_array.reset(m_record.elements);
        return Take({m_record.elements, m_record.returned});
    }

    /// The elements of an indication, which is freed. Their texts live on.
    Elements Decoded(const Bytes& body)
    {
        CallRecord* decoded = nullptr;
        EXPECT_EQ(Decode(0x0F, body, ZEL_CALL_STATUS, decoded), ZEL_OK);
        m_record = *decoded;
        const std::vector<CallElement> elements(decoded->elements, decoded->elements + decoded->count_or_mode);
        EXPECT_EQ(m_handler.FreeDecodedData(ZEL_CALL_STATUS, decoded), ZEL_OK);
        return Take(elements);
    }

    CallRecord m_record = {};
    CTaskMemOwner<CallElement> m_array;
};

constexpr std::uint8_t kCause = 0x11;
/// Four bytes that are not used stand before the sub-blocks; here they look like one.
const Bytes kControlAnswer = {0x21, 1, 8, 4, 9, 9, 0x08, 8, 9, kCause, 0, 0, 0, 0};

TEST_F(CallHandler, SendsEachRequestAndReadsCallIdAndCause)
{
    const struct
    {
        std::uint32_t api;
        std::uint8_t request;  ///< The next id is the reply's.
        Bytes sent;
        Bytes answer;  ///< Call id 0x21.
        std::uint8_t callId = 0x05;
    } cases[] = {
        {ZEL_CALL_CREATE, 0x01, {0x00, 0x00}, {0x21, 1, 0x08, 4, kCause, 0}},
        {ZEL_CALL_QUERY, 0x07, {0x05, 0x00}, {0x21, 1, 0x08, 4, 9, 9, 2, 0x07, 4, 8, 8, 0x08, 4, kCause, 0}},
        {ZEL_CALL_REQUEST_9, 0x09, {0x05, 0x01, 0xFF, 4, 3, 0}, {0x21, 2, 0x07, 4, 8, 8, 0x08, 4, kCause, 0}},
        {ZEL_CALL_CONTROL_4, 0x11, {0x80, 0x01, 0x09, 4, 4, 0}, kControlAnswer, 0x80},
        {ZEL_CALL_CONTROL_5, 0x11, {0x05, 0x01, 0x09, 4, 5, 0}, kControlAnswer, 0x05},
        {ZEL_CALL_CONTROL_1, 0x11, {0x80, 0x01, 0x09, 4, 1, 0}, kControlAnswer, 0x80},
        {ZEL_CALL_CONTROL_2, 0x11, {0x40, 0x01, 0x09, 4, 2, 0}, kControlAnswer, 0x40},
        {ZEL_CALL_CONTROL_3, 0x11, {0x80, 0x01, 0x09, 4, 3, 0}, kControlAnswer, 0x80},
        {ZEL_CALL_CONTROL_A1, 0x11, {0x80, 0x01, 0x09, 4, 0xA1, 0}, kControlAnswer, 0x80},
        {ZEL_CALL_CREATE_VARIANT, 0x01, {0x00, 0x01, 0x07, 4, 0, 1}, {0x21, 1, 0x08, 4, kCause, 0}},
    };
    for (const auto& [api, request, sent, answer, callId] : cases)
    {
        SCOPED_TRACE(api);
        const auto reply = static_cast<std::uint8_t>(request + 1);
        Bytes noCause = answer;
        std::replace(noCause.begin(), noCause.end(), kCause, std::uint8_t{0});
        for (const auto& [body, result] : {std::pair(answer, 0x100u | kCause), {noCause, ZEL_OK}})
        {
            m_record = {7, 0x05, 0, 9, nullptr};
            EXPECT_EQ(Ask(api, &m_record, reply, body), result);
            EXPECT_EQ(m_record.call_id, 0x21);
            EXPECT_TRUE(Sent(request, sent));
        }
        Survives(api, &m_record, reply, noCause);
        m_record = {7, 0x05, 0, 9, nullptr};
        EXPECT_EQ(Ask(api, &m_record, 0x7F, answer), ZEL_OK);
        EXPECT_EQ(m_record.call_id, callId);
        ExpectUnanswered(api, m_record);
        ExpectBadRecordsRefused(m_handler, api);
    }
    ExpectNotHandled({ZEL_CALL_CREATE - 1, ZEL_CALL_STATUS, ZEL_CALL_STATUS + 1});
}

TEST_F(CallHandler, TheLastCauseCountsAndAnUnreadableBlockEndsTheWalk)
{
    EXPECT_EQ(Ask(ZEL_CALL_CREATE, &m_record, 0x02, {1, 2, 0x08, 4, 0x11, 0, 0x08, 4, 0x22, 0}), 0x122u);
    EXPECT_EQ(Ask(ZEL_CALL_CREATE, &m_record, 0x02, {1, 3, 8, 4, 0x11, 0, 0x07, 2, 0x08, 4, 0x22, 0}), 0x111u);
    // In the query a zero byte means that nothing follows, and the block that is passed over must be readable.
    EXPECT_EQ(Ask(ZEL_CALL_QUERY, &m_record, 0x08, {1, 0, 1, 0x08, 4, 0x22, 0}), ZEL_OK);
    EXPECT_EQ(Ask(ZEL_CALL_QUERY, &m_record, 0x08, {1, 1, 0x05, 2, 1, 0x08, 4, 0x22, 0}), ZEL_OK);
}

TEST_F(CallHandler, EncodesEachElement)
{
    Elements elements = {
        Number(u"+123", 1),      {ZEL_CALL_PARAMETERS, {9, 8, 7, 6}, u"", 0},
        Number(u"+", 0x20),      {ZEL_CALL_TEXT, {1, 2, 3, 4}, u"\u20AC", 0},
        Number(u"\u20AC", 0x30), {ZEL_CALL_STATE, {5, 5, 0, 0}, u"", 0},
        Number(u"4+"),           {ZEL_CALL_TEXT, {0, 0, 0, 0}, u"+", 0},
    };
    const Elements after = Create(ZEL_CALL_CREATE, elements);
    const Bytes expected = {
        0,    8,                                                  // element count
        0x03, 12, 0x11, 2, 0, 3, 0,    '1',  0,    '2',  0, '3',  // "+" is a bit
        0x07, 4,  9,    8,                                        //
        0x03, 8,  0x30, 2, 0, 0, 0,    0,                         //
        0x0E, 12, 1,    2, 3, 4, 0,    1,    0x20, 0xAC, 0, 0,    // padded
        0x03, 8,  0x30, 2, 0, 1, 0x20, 0xAC,                      //
        0x0B, 4,  0,    0,                                        // without content
        0x03, 12, 0,    2, 0, 2, 0,    '4',  0,    '+',  0, 0,    //
        0x0E, 12, 0,    0, 0, 0, 0,    1,    0,    '+',  0, 0,    // only numbers have a "+"
    };
    EXPECT_TRUE(SameBytes(expected, m_phone.Last().body));
    elements[0] = Number(u"123", 1);
    elements[2] = Number(u"", 0x20);
    EXPECT_EQ(after, elements);

    for (void* text : {static_cast<void*>(nullptr), kUnreadable})
    {
        CallElement element = {0, ZEL_CALL_NUMBER, 0, 1, 2, 0, 0, {static_cast<BSTR>(text)}};
        m_record = {0, 0, 1, 0, &element};
        EXPECT_EQ(Ask(ZEL_CALL_CREATE, &m_record, 0x02, {1, 0}), ZEL_OK);
        EXPECT_TRUE(SameBytes({0, 1, 3, 8, 1, 2, 0, 0, 0, 0}, m_phone.Last().body));
    }
}

TEST_F(CallHandler, WhatCannotBeSentChangesNothing)
{
    for (const auto& [id, most] : {std::pair<std::uint16_t, std::size_t>{ZEL_CALL_NUMBER, 123}, {ZEL_CALL_TEXT, 122}})
    {
        Create(ZEL_CALL_CREATE, {{id, Bytes(4), std::u16string(most, u'1'), 0}});
        EXPECT_EQ(m_phone.Last().body.size(), 2u + 252u);
        EXPECT_EQ(m_phone.Last().body[3], 252);
        const Elements tooLong = {kParameters, Number(u"+1"), {id, Bytes(4), u"+" + std::u16string(most + 1, u'1'), 0}};
        for (const std::uint32_t api : {ZEL_CALL_CREATE, ZEL_CALL_CREATE_VARIANT})
            EXPECT_EQ(Create(api, tooLong, ZEL_E_ARGUMENT), tooLong);
    }
    EXPECT_EQ(m_phone.Requests().size(), 2u);
    for (const std::uint32_t api : {ZEL_CALL_CREATE, ZEL_CALL_CREATE_VARIANT})
        for (void* elements : {static_cast<void*>(nullptr), kUnreadable})
            ExpectRefused(api, CallRecord{0, 0, 1, 0, static_cast<CallElement*>(elements)}, ZEL_E_ARGUMENT);

    std::vector<CallElement> elements = ToSend({kParameters, Number(u"+1"), Number(u"+2")});
    const std::vector<CallElement> before = elements;
    m_record = {0, 0, 3, 0, elements.data()};
    Survives(ZEL_CALL_CREATE_VARIANT, &m_record, 0x02, {1, 0});
    FailEachAllocation([&] {
        FakeSender phone;
        phone.Reply(0x02, {1, 0});
        const std::uint32_t result = m_handler.EncodeRequest(phone, ZEL_CALL_CREATE_VARIANT, &m_record);
        const bool isSame = std::memcmp(elements.data(), before.data(), sizeof(CallElement[3])) == 0;
        EXPECT_EQ(std::pair(isSame, phone.Requests().empty()), std::pair(result != ZEL_OK, result != ZEL_OK));
        return result;
    });
    EXPECT_EQ(Take(elements), (Elements{{ZEL_CALL_PARAMETERS, {1, 6, 7, 8}, u"", 0}, Number(u"1"), Number(u"2")}));
}

TEST_F(CallHandler, VariantSetsTheFirstParametersOfACallWithANumber)
{
    const Elements expected = {{ZEL_CALL_PARAMETERS, {1, 6, 7, 8}, u"", 0}, Number(u"1"), kParameters};
    EXPECT_EQ(Create(ZEL_CALL_CREATE_VARIANT, {kParameters, Number(u"1"), kParameters}), expected);
    EXPECT_TRUE(SameBytes({0, 3, 7, 4, 1, 6, 3, 8, 0, 2, 0, 1, 0, '1', 7, 4, 5, 6}, m_phone.Last().body));
    EXPECT_EQ(Create(ZEL_CALL_CREATE_VARIANT, {Number(u"1")}), Elements{Number(u"1")});
    EXPECT_EQ(Create(ZEL_CALL_CREATE_VARIANT, {kParameters}), Elements{kParameters});
    EXPECT_TRUE(SameBytes({0, 1, 7, 4, 0, 1}, m_phone.Last().body));
}

const Bytes kStatusReply = {
    1,    5,                                                          // something follows; sub-blocks
    0x08, 4,  0x0A, 0x0B,                                             // cause
    0x0B, 8,  0x06, 1,    2, 3, 9, 9,                                 // call 6
    0x0E, 12, 1,    2,    3, 4, 9, 1, 0,    'A', 9, 0,                //
    0x63, 4,  1,    1,                                                // not known
    0x1D, 16, 0x07, 1,    2, 3, 9, 9, 0x14, 5,   9, 1, 0, '7', 9, 0,  // call 7
};

/// The reply of a status query that has this many numbers, each two elements.
Bytes NumbersReply(std::uint8_t count)
{
    Bytes reply = {1, count};
    for (int i = 0; i < count; ++i)
        reply = Join({reply, {0x1D, 16, 7, 1, 2, 3, 0, 0, 4, 5, 0, 1, 0, '7', 0, 0}});
    return reply;
}

TEST_F(CallHandler, StatusQueryFillsAnElementForEachBlockAndTwoForANumber)
{
    const Elements expected = {{ZEL_CALL_CAUSE, {0x0A, 0, 0, 0}, u"", 0x0B},
                               {ZEL_CALL_STATE, {1, 2, 3, 0}, u"", 0},
                               {ZEL_CALL_TEXT, {1, 2, 3, 4}, u"A", 0},
                               {ZEL_CALL_PARAMETERS, {1, 2, 3, 0}, u"", 0},
                               {ZEL_CALL_NUMBER, {0x14, 5, 0, 0}, u"7", 0}};
    EXPECT_EQ(Query(2, kStatusReply), expected);
    EXPECT_TRUE(Sent(0x0D, {0x05, 0x01, 0x1C, 4, 2, 0}));
    EXPECT_EQ(m_record.call_id, 7);
    EXPECT_EQ(m_record.count_or_mode, 2);
    // An unreadable block ends the walk.
    EXPECT_EQ(Query(0, {1, 3, 0x08, 4, 1, 2, 0x08, 2, 0x08, 4, 3, 4}),
              (Elements{{ZEL_CALL_CAUSE, {1, 0, 0, 0}, u"", 2}}));
    EXPECT_EQ(m_array.get()[1].id, 0);
}

TEST_F(CallHandler, StatusQueryNeverExceedsItsArray)
{
    // Mode, blocks, elements. 256 would not fit into the count byte.
    const std::tuple<std::uint8_t, std::uint8_t, std::size_t> cases[] = {
        {0, 2, 2}, {1, 2, 3}, {2, 2, 3}, {3, 2, 2}, {1, 255, 255}};
    for (const auto& [mode, blocks, returned] : cases)
        EXPECT_EQ(Query(mode, NumbersReply(blocks)).size(), returned);
}

TEST_F(CallHandler, StatusQueryWithoutElementsOrMemory)
{
    CallElement earlier = {};
    m_record = {0, 5, 1, 3, &earlier};
    ExpectOutcomes(ZEL_CALL_STATUS_QUERY, m_record,
                   {{0x0E, {}, ZEL_OK}, {0x0E, {0, 1, 0x08, 4, 1, 1}, ZEL_OK}, {0x0D, {1, 0}, ZEL_OK}});
    ExpectUnanswered(ZEL_CALL_STATUS_QUERY, m_record);
    ExpectBadRecordsRefused(m_handler, ZEL_CALL_STATUS_QUERY);
    EXPECT_EQ(Query(1, {1, 0}), Elements());
    EXPECT_EQ(m_record.elements, nullptr);
    EXPECT_EQ(m_record.call_id, 5);

    // With and without room for both elements of the last number.
    for (const Bytes& reply : {kStatusReply, NumbersReply(2)})
        for (m_record = {0, 5, 0, 3, &earlier}; m_record.count_or_mode < 3; ++m_record.count_or_mode)
            Survives(ZEL_CALL_STATUS_QUERY, &m_record, 0x0E, reply);
    FailEachAllocation([&] {
        m_record = {0, 5, 2, 3, &earlier};
        const std::uint32_t result = Ask(ZEL_CALL_STATUS_QUERY, &m_record, 0x0E, kStatusReply);
        EXPECT_EQ(m_record.elements == &earlier && m_record.returned == 3 && m_record.call_id == 5, result != ZEL_OK);
        if (result == ZEL_OK)
            FreeReceived(ZEL_CALL_STATUS_QUERY, &m_record);
        return result;
    });
}

TEST_F(CallHandler, DecodesEachItem)
{
    const Bytes items = {
        0xFE, 8,                                              // call 6; items
        0x0E, 12, 1,    2,    3, 4, 9, 1,   0,    'A', 9, 9,  //
        0x01, 12, 0x10, 5,    9, 1, 0, '7', 0x0A, 4,   3, 9,  // L = 1: no padding; p2 = 3
        0x03, 12, 0x10, 6,    9, 2, 0, '+', 0,    '1', 9, 9,  // has its "+"; padded
        0x07, 4,  1,    2,                                    //
        0x20, 6,  9,    9,    9, 9,                           // not known
        0x08, 4,  1,    0x11,                                 //
        0x08, 4,  2,    0,                                    //
    };
    const Elements expected = {
        {ZEL_CALL_TEXT, {1, 2, 3, 4}, u"A", 0},
        {ZEL_CALL_FIRST_NUMBER, {0x10, 5, 0, 0}, u"+7", 0},
        {ZEL_CALL_PARAMETERS, {0, 0, 3, 0}, u"", 0},
        {ZEL_CALL_NUMBER, {0x10, 6, 0, 0}, u"+1", 0},
        {0, {1, 2, 0, 0}, u"", 0},
        {ZEL_CALL_CAUSE, {1, 0, 0, 0}, u"", 0x111},
        {ZEL_CALL_CAUSE, {2, 0, 0, 0}, u"", ZEL_OK},
    };
    EXPECT_EQ(Decoded(items), expected);
    EXPECT_EQ(std::tuple(m_record.leading, m_record.call_id, m_record.returned), std::tuple(0u, 6, 0));
    SurvivesIndication(m_handler, ZEL_CALL_STATUS, {0x0F, items});
    EXPECT_EQ(Decoded({1, 0}), Elements());
    EXPECT_EQ(m_record.elements, nullptr);
}

TEST_F(CallHandler, FindsTheNextItem)
{
    const Elements next = {{ZEL_CALL_CAUSE, {0x33, 0, 0, 0}, u"", 0}};
    // How much padding follows 0, 1, 2 and 3 units, by type.
    for (const auto& [type, padding] :
         {std::pair<std::uint8_t, Bytes>{1, {2, 0, 2, 0}}, {3, {2, 0, 2, 0}}, {14, {0, 2, 0, 2}}})
        for (std::uint8_t units = 0; units < 4; ++units)
        {
            const std::u16string text(units, u'1');
            const Bytes item = Join({Bytes(type == 14 ? 5 : 3), {units}, WireText(text), Bytes(padding[units], 0xEE)});
            EXPECT_EQ(Decoded(Join({{0, 2, type, static_cast<std::uint8_t>(2 + item.size())}, item, {8, 4, 0x33, 0}})),
                      Elements({{type, Bytes(4), text, 0}}) + next);
        }
    // The length of an unknown item never moves back.
    for (std::uint8_t length = 0; length <= 2; ++length)
        EXPECT_EQ(Decoded({0, 2, 0x20, length, 8, 4, 0x33, 0}), next);
    EXPECT_EQ(Decoded({1, 255, 3, 8, 0x10, 0, 0, 1, 0, '7'}).size(), 1u) << "what has ended makes no elements";
}

TEST_F(CallHandler, FreesNothingElse)
{
    ExpectNotDecoded(0x0E);
    CallRecord unreadable = {0, 0, 1, 0, static_cast<CallElement*>(kUnreadable)};
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_CALL_CREATE_VARIANT, &unreadable), ZEL_NOT_HANDLED);
    for (void* record : {static_cast<void*>(nullptr), kUnreadable})
        EXPECT_EQ(m_handler.FreeDecodedData(ZEL_CALL_STATUS, record), ZEL_OK);
    const auto record = static_cast<CallRecord*>(CoTaskMemAlloc(sizeof unreadable));
    *record = unreadable;
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_CALL_STATUS, record), ZEL_OK);
}

}  // namespace

#include "handlers/CallHandler.h"

#include "support/FakeSender.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>

#ifndef _WIN32
#include <host_control.h>
#endif

namespace
{

constexpr std::uint32_t kSendFailure = 0x80070005;

BSTR NewText(std::u16string_view text)
{
    return SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()), static_cast<UINT>(text.size()));
}

std::u16string TextOf(BSTR text)
{
    return {text, text + SysStringLen(text)};
}

/// An element whose text, if any, the test frees.
CallElement NewElement(std::uint16_t id, const Bytes& parameters = {}, const char16_t* text = nullptr)
{
    CallElement element = {};
    element.id = id;
    std::copy(parameters.begin(), parameters.end(), &element.p0);
    element.value.text = text == nullptr ? nullptr : NewText(text);
    return element;
}

/// Checks one received element and frees its text.
void ExpectElement(CallElement& element, std::uint16_t id, const Bytes& parameters, const char16_t* text = nullptr)
{
    EXPECT_EQ(element.leading, 0u);
    EXPECT_EQ(element.id, id);
    EXPECT_EQ(element.word, 0u);
    EXPECT_EQ((Bytes{element.p0, element.p1, element.p2, element.p3}), parameters);
    if (text == nullptr)
        return;
    ASSERT_NE(element.value.text, nullptr);
    EXPECT_EQ(TextOf(element.value.text), text);
    SysFreeString(element.value.text);
}

void FreeElements(CallElement* elements, std::uint8_t count)
{
    for (std::uint8_t i = 0; i < count; ++i)
        if (elements[i].id == 1 || elements[i].id == 3 || elements[i].id == 14)
            SysFreeString(elements[i].value.text);
    CoTaskMemFree(elements);
}

class CallHandlerTest : public testing::Test
{
  protected:
    CallHandlerTest() { handler.SetResource(1); }

    std::uint32_t Encode(std::uint32_t id, void* record) { return handler.EncodeRequest(sender, id, record); }

    std::uint32_t Create(std::uint32_t id, std::vector<CallElement>& elements)
    {
        CallRecord record = {0, 0, static_cast<std::uint8_t>(elements.size()), 0, elements.data()};
        sender.Reply(0x02, {0x01, 0x00});
        return Encode(id, &record);
    }

    /// Runs a status query against this reply.
    CallRecord Query(std::uint8_t mode, const Bytes& reply)
    {
        CallRecord record = {0, 0x05, mode, 0, nullptr};
        sender.Reply(0x0E, reply);
        EXPECT_EQ(Encode(0x104, &record), 0u);
        return record;
    }

    /// Decodes a status indication; free it with Free.
    CallRecord* Decode(const Bytes& body)
    {
        CMessage message;
        message.SetMessageId(0x0F);
        message.AppendBytes(body.size(), body.data());
        std::uint32_t id = 0;
        void* record = nullptr;
        EXPECT_EQ(handler.DecodeMessage(message, id, record), 0u);
        EXPECT_EQ(id, 0x10Cu);
        return static_cast<CallRecord*>(record);
    }

    void Free(CallRecord* record) { EXPECT_EQ(handler.FreeDecodedData(0x10C, record), 0u); }

    FakeSender sender;
    CCallHandler handler;
};

struct RequestCase
{
    std::uint32_t api;
    std::uint8_t request;
    Bytes body;
    std::uint8_t reply;
    Bytes answer;  ///< Call id 0x21, cause 0x11 and a last byte.
    std::uint8_t callId = 0x05;
};

/// Four bytes that are not used stand before the sub-blocks; here they look like one.
const Bytes kControlAnswer = {0x21, 1, 8, 4, 9, 9, 0x08, 8, 9, 0x11, 0, 0, 0, 0};

const RequestCase kRequests[] = {
    {0x101, 0x01, {0x00, 0x00}, 0x02, {0x21, 1, 0x08, 4, 0x11, 0}},
    {0x102, 0x07, {0x05, 0x00}, 0x08, {0x21, 1, 0x08, 4, 9, 9, 2, 0x07, 4, 8, 8, 0x08, 4, 0x11, 0}},
    {0x103, 0x09, {0x05, 0x01, 0xFF, 4, 3, 0}, 0x0A, {0x21, 2, 0x07, 4, 8, 8, 0x08, 4, 0x11, 0}},
    {0x105, 0x11, {0x80, 0x01, 0x09, 4, 4, 0}, 0x12, kControlAnswer, 0x80},
    {0x106, 0x11, {0x05, 0x01, 0x09, 4, 5, 0}, 0x12, kControlAnswer, 0x05},
    {0x107, 0x11, {0x80, 0x01, 0x09, 4, 1, 0}, 0x12, kControlAnswer, 0x80},
    {0x108, 0x11, {0x40, 0x01, 0x09, 4, 2, 0}, 0x12, kControlAnswer, 0x40},
    {0x109, 0x11, {0x80, 0x01, 0x09, 4, 3, 0}, 0x12, kControlAnswer, 0x80},
    {0x10A, 0x11, {0x80, 0x01, 0x09, 4, 0xA1, 0}, 0x12, kControlAnswer, 0x80},
    {0x10B, 0x01, {0x00, 0x01, 0x07, 4, 0, 1}, 0x02, {0x21, 1, 0x08, 4, 0x11, 0}},
};

class CallRequestTest : public CallHandlerTest, public testing::WithParamInterface<RequestCase>
{
  protected:
    std::uint32_t Run(std::uint8_t reply, const Bytes& answer)
    {
        record = {7, 0x05, 0, 9, nullptr};
        sender.Reply(reply, answer);
        return Encode(GetParam().api, &record);
    }

    CallRecord record = {};
};
INSTANTIATE_TEST_SUITE_P(All, CallRequestTest, testing::ValuesIn(kRequests));

TEST_P(CallRequestTest, SendsItsBytesAndReadsCallIdAndCause)
{
    EXPECT_EQ(Run(GetParam().reply, GetParam().answer), 0x111u);
    EXPECT_EQ(record.call_id, 0x21);
    EXPECT_EQ(sender.Last().resource, 1);
    EXPECT_EQ(sender.Last().id, GetParam().request);
    EXPECT_TRUE(SameBytes(GetParam().body, sender.Last().body));
    EXPECT_EQ(sender.Last().expectedReplies, Bytes());
    EXPECT_EQ(sender.Last().timeoutMs, 60000u);

    Bytes success = GetParam().answer;
    std::replace(success.begin(), success.end(), std::uint8_t{0x11}, std::uint8_t{0});
    EXPECT_EQ(Run(GetParam().reply, success), 0u);
    EXPECT_EQ(record.call_id, 0x21);
}

TEST_P(CallRequestTest, ReadsWhatATruncatedReplyHolds)
{
    const Bytes& whole = GetParam().answer;
    const auto cause = std::find(whole.begin(), whole.end(), 0x11) - whole.begin();
    for (std::ptrdiff_t length = 0; length <= std::ssize(whole); ++length)
    {
        EXPECT_EQ(Run(GetParam().reply, Bytes(whole.begin(), whole.begin() + length)), length > cause ? 0x111u : 0u);
        EXPECT_EQ(record.call_id, length > 0 ? 0x21 : 0);
    }
}

TEST_P(CallRequestTest, LeavesTheRecordWhenNoReplyOfItsOwnComes)
{
    EXPECT_EQ(Run(0x7F, GetParam().answer), 0u);
    EXPECT_EQ(record.call_id, GetParam().callId);

    record.call_id = 0x05;
    sender.Fail(kSendFailure);
    EXPECT_EQ(Encode(GetParam().api, &record), kSendFailure);
    EXPECT_EQ(record.call_id, GetParam().callId);
    EXPECT_EQ(record.returned, 9);
    EXPECT_EQ(record.leading, 7u);
}

TEST_P(CallRequestTest, RefusesAMissingRecord)
{
    EXPECT_EQ(Encode(GetParam().api, nullptr), ZEL_E_ARGUMENT);
    EXPECT_EQ(Encode(GetParam().api, reinterpret_cast<void*>(std::uintptr_t{8})), ZEL_E_ARGUMENT);
    EXPECT_TRUE(sender.Requests().empty());
}

TEST_F(CallHandlerTest, KnowsNoOtherRequests)
{
    for (const std::uint32_t id : {0x100u, 0x10Cu, 0x10Du})
        EXPECT_EQ(Encode(id, nullptr), ZEL_NOT_HANDLED);
}

TEST_F(CallHandlerTest, TheLastCauseCountsAndAnUnreadableBlockEndsTheWalk)
{
    CallRecord record = {};
    sender.Reply(0x02, {1, 2, 0x08, 4, 0x11, 0, 0x08, 4, 0x22, 0});
    EXPECT_EQ(Encode(0x101, &record), 0x122u);
    sender.Reply(0x02, {1, 3, 0x08, 4, 0x11, 0, 0x07, 2, 0x08, 4, 0x22, 0});
    EXPECT_EQ(Encode(0x101, &record), 0x111u);
    // In the query a zero byte means that nothing follows, and the block that is passed over must be readable.
    for (const Bytes& answer : {Bytes{1, 0, 1, 0x08, 4, 0x22, 0}, Bytes{1, 1, 0x05, 2, 1, 0x08, 4, 0x22, 0}})
    {
        sender.Reply(0x08, answer);
        EXPECT_EQ(Encode(0x102, &record), 0u);
    }
}

TEST_F(CallHandlerTest, EncodesEachElement)
{
    std::vector<CallElement> elements = {
        NewElement(3, {1, 2}, u"+123"),
        NewElement(7, {9, 8, 7, 6}),
        NewElement(14, {1, 2, 3, 4}, u"\u20AC"),
        NewElement(11, {5, 5}),
        NewElement(3),
        NewElement(3, {0x20, 0}, u"+"),
        NewElement(3, {0, 0}, u"4+"),
    };
    EXPECT_EQ(Create(0x101, elements), 0u);
    const Bytes expected = {
        0,    7,                                              // element count
        0x03, 12, 0x11, 2, 0, 3, 0, '1', 0,    '2',  0, '3',  // "+" is a bit
        0x07, 4,  9,    8,                                    //
        0x0E, 12, 1,    2, 3, 4, 0, 1,   0x20, 0xAC, 0, 0,    // padded
        0x0B, 4,  0,    0,                                    // without content
        0x03, 8,  0,    0, 0, 0, 0, 0,                        // a null text is empty
        0x03, 8,  0x30, 0, 0, 0, 0, 0,                        //
        0x03, 12, 0,    0, 0, 2, 0, '4', 0,    '+',  0, 0,    //
    };
    EXPECT_TRUE(SameBytes(expected, sender.Last().body));
    EXPECT_EQ(elements[0].p0, 1);
    EXPECT_EQ(TextOf(elements[0].value.text), u"123");
    EXPECT_EQ(TextOf(elements[5].value.text), u"");
    EXPECT_EQ(TextOf(elements[6].value.text), u"4+");
    for (const CallElement& element : elements)
        SysFreeString(element.value.text);
}

TEST_F(CallHandlerTest, RefusesAnElementTooLongForASubBlock)
{
    const struct
    {
        std::uint16_t id;
        std::size_t most;
    } cases[] = {{3, 123}, {14, 122}};
    for (const auto& [id, most] : cases)
    {
        std::vector<CallElement> fits = {NewElement(id, {}, std::u16string(most, u'1').c_str())};
        EXPECT_EQ(Create(0x101, fits), 0u);
        EXPECT_EQ(sender.Last().body.size(), 2u + 252u);
        EXPECT_EQ(sender.Last().body[3], 252);

        const std::u16string tooLong = u"+" + std::u16string(most + 1, u'1');
        std::vector<CallElement> longer = {NewElement(3, {}, u"+1"), NewElement(id, {}, tooLong.c_str())};
        CallRecord record = {0, 0, 2, 0, longer.data()};
        const std::size_t sent = sender.Requests().size();
        EXPECT_EQ(Encode(0x101, &record), ZEL_E_ARGUMENT);
        EXPECT_EQ(sender.Requests().size(), sent);
        EXPECT_EQ(TextOf(longer[0].value.text), u"+1");
        EXPECT_EQ(TextOf(longer[1].value.text), tooLong);
        for (const CallElement& element : {fits[0], longer[0], longer[1]})
            SysFreeString(element.value.text);
    }
}

TEST_F(CallHandlerTest, VariantSetsTheFirstParametersOfACallWithANumber)
{
    std::vector<CallElement> elements = {NewElement(7, {5, 6}), NewElement(3, {1, 2}, u"1"), NewElement(7, {5, 6})};
    EXPECT_EQ(Create(0x10B, elements), 0u);
    EXPECT_TRUE(SameBytes({0, 3, 7, 4, 1, 6, 3, 8, 1, 2, 0, 1, 0, '1', 7, 4, 5, 6}, sender.Last().body));
    EXPECT_EQ(elements[0].p0, 1);
    EXPECT_EQ(elements[2].p0, 5);
    SysFreeString(elements[1].value.text);

    std::vector<CallElement> withoutNumber = {NewElement(7, {5, 6})};
    EXPECT_EQ(Create(0x10B, withoutNumber), 0u);
    EXPECT_TRUE(SameBytes({0, 1, 7, 4, 0, 1}, sender.Last().body));
    EXPECT_EQ(withoutNumber[0].p0, 5);
}

TEST_F(CallHandlerTest, RefusesAMissingElementArray)
{
    CallRecord record = {0, 0, 1, 0, nullptr};
    EXPECT_EQ(Encode(0x101, &record), ZEL_E_ARGUMENT);
    EXPECT_EQ(Encode(0x10B, &record), ZEL_E_ARGUMENT);
    EXPECT_TRUE(sender.Requests().empty());
}

const Bytes kStatusReply = {
    1,    5,                                                          // something follows; sub-blocks
    0x08, 4,  0x0A, 0x0B,                                             // cause
    0x0B, 8,  0x06, 1,    2, 3, 9, 9,                                 // call 6
    0x0E, 12, 1,    2,    3, 4, 9, 1, 0,    'A', 9, 0,                //
    0x63, 4,  1,    1,                                                // not known
    0x1D, 16, 0x07, 1,    2, 3, 9, 9, 0x14, 5,   9, 1, 0, '7', 9, 0,  // call 7
};

TEST_F(CallHandlerTest, StatusQueryFillsAnElementForEachBlockAndTwoForANumber)
{
    CallRecord record = Query(2, kStatusReply);
    EXPECT_EQ(sender.Last().id, 0x0D);
    EXPECT_TRUE(SameBytes({0x05, 0x01, 0x1C, 4, 2, 0}, sender.Last().body));
    EXPECT_EQ(record.call_id, 7);
    EXPECT_EQ(record.count_or_mode, 2);
    ASSERT_EQ(record.returned, 5);
    ExpectElement(record.elements[0], 8, {0x0A, 0, 0, 0});
    EXPECT_EQ(record.elements[0].value.cause, 0x0Bu);
    ExpectElement(record.elements[1], 11, {1, 2, 3, 0});
    ExpectElement(record.elements[2], 14, {1, 2, 3, 4}, u"A");
    ExpectElement(record.elements[3], 7, {1, 2, 3, 0});
    ExpectElement(record.elements[4], 3, {0x14, 5, 0, 0}, u"7");
    CoTaskMemFree(record.elements);
}

TEST_F(CallHandlerTest, StatusQueryNeverExceedsItsArray)
{
    const auto numbers = [](std::uint8_t count) {
        const Bytes number = {0x1D, 16, 7, 1, 2, 3, 0, 0, 4, 5, 0, 1, 0, '7', 0, 0};
        Bytes reply = {1, count};
        for (int i = 0; i < count; ++i)
            reply.insert(reply.end(), number.begin(), number.end());
        return reply;
    };
    const struct
    {
        std::uint8_t mode;
        std::uint8_t blocks;
        std::uint8_t returned;
    } cases[] = {{0, 2, 2}, {1, 2, 3}, {2, 2, 3}, {3, 2, 2}, {1, 255, 255}};  // 256 would not fit into the count byte
    for (const auto& [mode, blocks, returned] : cases)
    {
        const CallRecord record = Query(mode, numbers(blocks));
        EXPECT_EQ(record.returned, returned);
        FreeElements(record.elements, record.returned);
    }
}

TEST_F(CallHandlerTest, StatusQueryWithoutElements)
{
    CallElement earlier = {};
    CallRecord record = {0, 5, 1, 3, &earlier};
    sender.Reply(0x0E, {0, 1, 0x08, 4, 1, 1});
    sender.Reply(0x0D, {1, 0});
    sender.Fail(kSendFailure);
    for (const std::uint32_t result : {0u, 0u, kSendFailure})
    {
        EXPECT_EQ(Encode(0x104, &record), result);
        EXPECT_EQ(record.elements, &earlier);
        EXPECT_EQ(record.returned, 3);
    }
    sender.Reply(0x0E, {1, 0});
    EXPECT_EQ(Encode(0x104, &record), 0u);
    EXPECT_EQ(record.elements, nullptr);
    EXPECT_EQ(record.returned, 0);
    EXPECT_EQ(record.call_id, 5);
    EXPECT_EQ(Encode(0x104, nullptr), ZEL_E_ARGUMENT);
}

TEST_F(CallHandlerTest, StatusQueryStopsAtAnUnreadableBlock)
{
    const CallRecord record = Query(0, {1, 3, 0x08, 4, 1, 2, 0x08, 2, 0x08, 4, 3, 4});
    ASSERT_EQ(record.returned, 1);
    ExpectElement(record.elements[0], 8, {1, 0, 0, 0});
    EXPECT_EQ(record.elements[1].id, 0);
    CoTaskMemFree(record.elements);
}

TEST_F(CallHandlerTest, StatusQueryReadsWhatATruncatedReplyHolds)
{
    // Where the reply ends right after an id, the length reads as 0 and the same id is met for every block still due.
    const struct
    {
        std::ptrdiff_t from;
        std::uint8_t returned;
    } steps[] = {{1, 0}, {3, 5}, {4, 1}, {7, 5}, {8, 2}, {15, 5}, {16, 3}, {31, 5}};
    for (std::ptrdiff_t length = 1; length <= std::ssize(kStatusReply); ++length)
    {
        const auto step = std::find_if(std::rbegin(steps), std::rend(steps), [&](auto s) { return length >= s.from; });
        const CallRecord record = Query(2, Bytes(kStatusReply.begin(), kStatusReply.begin() + length));
        EXPECT_EQ(record.returned, step->returned) << length;
        FreeElements(record.elements, record.returned);
    }
}

TEST_F(CallHandlerTest, DecodesEachItem)
{
    CallRecord* record = Decode({
        0xFE, 8,                                              // call 6; items
        0x01, 12, 0x10, 5,    9, 1, 0, '7', 0x0A, 4,   3, 9,  // L = 1: no padding; p2 = 3
        0x03, 12, 0x10, 6,    9, 2, 0, '+', 0,    '1', 9, 9,  // has its "+"; padded
        0x07, 4,  1,    2,                                    //
        0x20, 6,  9,    9,    9, 9,                           // not known
        0x08, 4,  1,    0x11,                                 //
        0x08, 4,  2,    0,                                    //
        0x0E, 12, 1,    2,    3, 4, 9, 1,   0,    'A', 9, 9,  //
    });
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->leading, 0u);
    EXPECT_EQ(record->call_id, 6);
    EXPECT_EQ(record->returned, 0);
    ASSERT_EQ(record->count_or_mode, 7);
    CallElement* elements = record->elements;
    ExpectElement(elements[0], 1, {0x10, 5, 0, 0}, u"+7");
    ExpectElement(elements[1], 7, {0, 0, 3, 0});
    ExpectElement(elements[2], 3, {0x10, 6, 0, 0}, u"+1");
    ExpectElement(elements[3], 0, {1, 2, 0, 0});
    ExpectElement(elements[4], 8, {1, 0, 0, 0});
    EXPECT_EQ(elements[4].value.cause, 0x111u);
    ExpectElement(elements[5], 8, {2, 0, 0, 0});
    EXPECT_EQ(elements[5].value.cause, 0u);
    ExpectElement(elements[6], 14, {1, 2, 3, 4}, u"A");
    Free(record);
}

TEST_F(CallHandlerTest, SkipsThePaddingAfterTexts)
{
    const struct
    {
        std::uint8_t type;
        std::uint8_t units;
        bool padded;
    } cases[] = {{3, 0, true},  {3, 1, false},  {3, 2, true},  {3, 3, false},  {1, 2, true},
                 {1, 3, false}, {14, 0, false}, {14, 1, true}, {14, 2, false}, {14, 3, true}};
    for (const auto& [type, units, padded] : cases)
    {
        Bytes body = {0, 2, type, 0};
        body.insert(body.end(), type == 14 ? 5u : 3u, 0);
        body.push_back(units);
        for (int i = 0; i < units; ++i)
            body.insert(body.end(), {0, '1'});
        body.insert(body.end(), padded ? 2u : 0u, 0xEE);
        body.insert(body.end(), {8, 4, 0x33, 0});
        CallRecord* record = Decode(body);
        ASSERT_EQ(record->count_or_mode, 2) << unsigned{type} << ' ' << unsigned{units};
        ExpectElement(record->elements[0], type, {0, 0, 0, 0}, std::u16string(units, u'1').c_str());
        ExpectElement(record->elements[1], 8, {0x33, 0, 0, 0});
        Free(record);
    }
}

TEST_F(CallHandlerTest, AnItemLengthNeverMovesBack)
{
    for (std::uint8_t length = 0; length <= 2; ++length)
    {
        CallRecord* record = Decode({0, 2, 0x20, length, 8, 4, 0x33, 0});
        ASSERT_EQ(record->count_or_mode, 1);
        ExpectElement(record->elements[0], 8, {0x33, 0, 0, 0});
        Free(record);
    }
}

TEST_F(CallHandlerTest, DecodesWhatATruncatedIndicationHolds)
{
    const Bytes whole = {1, 255, 3, 8, 0x10, 0, 0, 1, 0, '7', 8, 4, 1, 2, 14, 12, 1, 2, 3, 4, 0, 1, 0, 'A', 0, 0};
    for (std::ptrdiff_t length = 0; length <= std::ssize(whole); ++length)
    {
        CallRecord* record = Decode(Bytes(whole.begin(), whole.begin() + length));
        EXPECT_EQ(record->count_or_mode, length > 14 ? 3 : length > 10 ? 2 : length > 2 ? 1 : 0) << length;
        EXPECT_EQ(record->elements == nullptr, length < 2);
        for (int i = 0; i < record->count_or_mode; ++i)
            if (record->elements[i].id != 8)
                SysFreeString(record->elements[i].value.text);
        Free(record);
    }
}

TEST_F(CallHandlerTest, LeavesOtherMessagesAlone)
{
    CMessage message;
    message.SetMessageId(0x0E);
    std::uint32_t id = 77;
    void* record = &id;
    EXPECT_EQ(handler.DecodeMessage(message, id, record), ZEL_NOT_HANDLED);
    EXPECT_EQ(id, 77u);
    EXPECT_EQ(record, &id);
}

TEST_F(CallHandlerTest, FreesAnIndicationButNotItsTexts)
{
    CallRecord* record = Decode({0, 2, 3, 8, 0, 0, 0, 1, 0, '7', 14, 12, 0, 0, 0, 0, 0, 1, 0, 'A', 0, 0});
    const BSTR number = record->elements[0].value.text;
    const BSTR text = record->elements[1].value.text;
    EXPECT_EQ(handler.FreeDecodedData(0x10B, record), ZEL_NOT_HANDLED);
    EXPECT_EQ(record->count_or_mode, 2);
    Free(record);
    EXPECT_EQ(TextOf(number), u"7");
    EXPECT_EQ(TextOf(text), u"A");
    SysFreeString(number);
    SysFreeString(text);
    Free(nullptr);
}

#ifndef _WIN32

TEST_F(CallHandlerTest, AFailedAllocationLosesNothing)
{
    std::vector<CallElement> elements = {NewElement(3, {}, u"+1")};
    CallRecord create = {0, 0, 1, 0, elements.data()};
    CallRecord query = {0, 5, 2, 3, elements.data()};
    CMessage indication;
    indication.SetMessageId(0x0F);
    const Bytes items = {0, 2, 14, 12, 0, 0, 0, 0, 0, 1, 0, 'A', 0, 0, 3, 8, 0x10, 0, 0, 1, 0, '7'};
    indication.AppendBytes(items.size(), items.data());
    std::uint32_t id = 0;
    void* record = nullptr;

    const auto expectFailures = [](unsigned allocations, const std::function<std::uint32_t()>& run) {
        for (unsigned n = 1; n <= allocations; ++n)
        {
            const std::size_t live = host::LiveAllocations();
            host::FailAllocation(n);
            EXPECT_EQ(run(), 0x8007000Eu);
            EXPECT_FALSE(host::IsFailurePending());
            EXPECT_EQ(host::LiveAllocations(), live);
        }
    };
    // The copy of the number; the array and two texts; record, array, two texts and the "+".
    expectFailures(1, [&] { return Encode(0x101, &create); });
    expectFailures(3, [&] {
        sender.Reply(0x0E, kStatusReply);
        return Encode(0x104, &query);
    });
    expectFailures(5, [&] {
        indication.SetPosition(0);
        return handler.DecodeMessage(indication, id, record);
    });
    EXPECT_EQ(TextOf(elements[0].value.text), u"+1");
    EXPECT_EQ(query.elements, elements.data());
    EXPECT_EQ(query.returned, 3);
    EXPECT_EQ(query.call_id, 5);
    EXPECT_EQ(record, nullptr);
    SysFreeString(elements[0].value.text);
}

TEST_F(CallHandlerTest, TreatsUnreadablePointersLikeNull)
{
    std::vector<CallElement> elements = {NewElement(3, {1, 2}, u"+1")};
    host::MarkUnreadable(elements[0].value.text);
    EXPECT_EQ(Create(0x101, elements), 0u);
    EXPECT_TRUE(SameBytes({0, 1, 3, 8, 1, 2, 0, 0, 0, 0}, sender.Last().body));

    CallRecord* record = Decode({0, 1, 8, 4, 1, 2});
    CallElement* array = record->elements;
    host::MarkUnreadable(array);
    Free(record);
    host::MarkUnreadable(&elements);
    Free(reinterpret_cast<CallRecord*>(&elements));
    host::ClearUnreadable();
    CoTaskMemFree(array);
    SysFreeString(elements[0].value.text);
}

#endif

}  // namespace

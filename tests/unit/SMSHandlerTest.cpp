#include "handlers/SMSHandler.h"

#include "support/HandlerChecks.h"
#include "support/Text.h"

#include <numeric>
#include <tuple>

namespace
{

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes BytesAt(const void* block, std::size_t count)
{
    const auto* first = static_cast<const std::uint8_t*>(block);
    return Bytes(first, first + count);
}

/// The largest record, as the bytes that an application hands over.
struct RawRecord
{
    alignas(8) std::uint8_t bytes[136] = {};

    void* PointerAt(std::size_t offset) const
    {
        void* pointer = nullptr;
        std::memcpy(&pointer, bytes + offset, sizeof pointer);
        return pointer;
    }
    Bytes Part(std::size_t offset, std::size_t count) const { return BytesAt(bytes + offset, count); }
};

/// Counts the questions that a request asks beside its exchange.
class CountingSender : public FakeSender
{
  public:
    std::uint32_t GetServiceVersion(std::uint8_t resource, std::uint8_t& major, std::uint8_t& minor) override
    {
        asked.push_back(resource);
        return FakeSender::GetServiceVersion(resource, major, minor);
    }
    std::uint32_t GetTimeServiceParameters(std::uint16_t& first, std::uint16_t& second) override
    {
        ++timeQueries;
        return FakeSender::GetTimeServiceParameters(first, second);
    }

    Bytes asked;
    int timeQueries = 0;
};

// Both addresses, user data and extra parameters of a parameter set.
const Bytes kItems = {
    0x82, 8, 0x91, 3,    0x01, 0x02, 0x03, 0,  // first address: type, length, bytes, padding
    0x82, 8, 0x81, 1,    0x09, 0,    0,    0,  // second address
    0x80, 8, 2,    0xFF, 0xAA, 0xBB, 0,    0,  // user data: length, coding, bytes
    0x08, 4, 1,    0x77,                       // extra parameters: length, bytes
};
const Bytes kTimeItem = {0x84, 12, 0x07, 0xE7, 6, 15, 12, 30, 45, 0, 0, 0};  // 15 June 2023, 12:30:45

struct Parameters
{
    std::uint8_t first[3] = {1, 2, 3};
    std::uint8_t second[1] = {9};
    std::uint8_t data[2] = {0xAA, 0xBB};
    std::uint8_t extra[1] = {0x77};
    SmsParameterGroup group = {0, 0x91, 3, first, 0x81, 1, second, 1, extra, 0x01FF, 2, data};
};

void Free(std::initializer_list<void*> blocks)
{
    for (void* block : blocks)
        CoTaskMemFree(block);
}

void FreeMessage(const SmsStoredMessage& record)
{
    const SmsParameterGroup& group = record.parameters;
    Free({group.first_address, group.second_address, group.user_data, group.extra, record.content.first_block,
          record.content.second_block, record.time});
}

void ExpectItems(const SmsParameterGroup& group)
{
    ASSERT_EQ((Bytes{group.first_address_type, group.second_address_type}), (Bytes{0x91, 0x81}));
    ASSERT_EQ(std::tie(group.first_address_length, group.second_address_length), std::make_tuple(3u, 1u));
    ASSERT_EQ(std::tie(group.user_data_coding, group.user_data_length, group.extra_length),
              std::make_tuple(0xFF, 2u, 1u));
    EXPECT_EQ(BytesAt(group.first_address, 3) + BytesAt(group.second_address, 1), (Bytes{1, 2, 3, 9}));
    EXPECT_EQ(BytesAt(group.user_data, 2) + BytesAt(group.extra, 1), (Bytes{0xAA, 0xBB, 0x77}));
}

class SMSHandlerTest : public testing::Test
{
  protected:
    SMSHandlerTest() { handler.SetResource(20); }

    std::uint32_t Encode(std::uint32_t id, void* record) { return handler.EncodeRequest(phone, id, record); }

    std::uint32_t Ask(std::uint32_t id, void* record, std::uint8_t replyId, const Bytes& reply)
    {
        phone.Reply(replyId, reply);
        return Encode(id, record);
    }

    /// Reads a stored message whose sub-block is `block`.
    std::uint32_t ReadStored(SmsStoredMessage& record, const Bytes& block)
    {
        return Ask(0x1403, &record, 3, Bytes{0, 0x5A, 0xE, 0xE, 0xE, 0xE, 0xE, 0xE, 0xE, 1} + block);
    }

    CLeakCheck leaks;
    CountingSender phone;
    CSMSHandler handler;
};

// ---------------------------------------------------------------------------------------------------------------------
// Every request

struct RequestCase
{
    std::uint32_t api;
    std::uint8_t resource;
    std::uint8_t id;
    Bytes body;
    std::uint32_t timeoutMs = 60000;
    Bytes questions = {};
};

const RequestCase kRequests[] = {
    {0x1401, 20, 12, {4, 5, 6, 0, 0, 0}},
    {0x1402, 2, 2, {4, 5, 6, 7, 0, 1, 2, 8, 9, 10, 11, 12, 0, 0}, 30000},
    {0x1403, 20, 2, {7, 6, 5, 4, 8, 0}},
    {0x1404, 20, 0, {7, 6, 5, 4, 8, 1}},
    {0x1405, 20, 4, {4, 5, 7, 6, 15, 0}},
    {0x1406, 20, 14, {4, 5, 7, 6, 0, 0}, 60000, {20}},
    {0x1407, 2, 20, {4, 5}},
    {0x1408, 20, 18, {0, 0}},
    {0x1409, 20, 16, {1, 0, 1, 8, 4, 0, 0, 0, 0, 0}, 60000, {20}},
    {0x140A, 20, 20, {4, 0}},
};

class SMSRequestTest : public SMSHandlerTest, public testing::WithParamInterface<RequestCase>
{
  protected:
    /// Bytes 4 to 15 hold their own offsets, where they are not a kind or a pointer. Kind 3 of a stored message has no
    /// sub-block.
    static RawRecord Record()
    {
        RawRecord record;
        const std::uint32_t api = GetParam().api;
        std::iota(record.bytes + 4, record.bytes + (api == 0x1409 ? 8 : 16), std::uint8_t{4});
        record.bytes[api == 0x1402 ? 8 : 20] = api == 0x1402 ? 2 : 3;
        return record;
    }
};

TEST_P(SMSRequestTest, SendsItsBytes)
{
    const RequestCase& request = GetParam();
    const auto replyId = static_cast<std::uint8_t>(request.id + 1);
    RawRecord record = Record();
    EXPECT_EQ(Ask(request.api, &record, replyId, {}), 0u);
    FakeSender::Sent sent = phone.Last();
    EXPECT_EQ(sent.timeoutMs, request.timeoutMs);
    sent.timeoutMs = 60000;
    EXPECT_TRUE(SameRequest(sent, request.resource, request.id, request.body, {replyId}));
    EXPECT_EQ(phone.asked, request.questions);
}

TEST_P(SMSRequestTest, FailuresLeaveTheRecordAlone)
{
    const RequestCase& request = GetParam();
    ExpectBadRecordsRefused(handler, request.api);
    ExpectUnansweredKept(handler, FakeSender(), request.api, Record(), 1);
    if (request.api == 0x1402)
        return;
    for (const std::uint8_t status : Bytes{0x01, 0x80, 0xFF})
    {
        phone.Reply(static_cast<std::uint8_t>(request.id + 1), Bytes(80, status));
        ExpectRecordUntouched(handler, phone, request.api, Record(), request.resource * 256u + status);
    }
}

INSTANTIATE_TEST_SUITE_P(All, SMSRequestTest, testing::ValuesIn(kRequests),
                         [](const auto& request) { return std::to_string(request.param.api); });

TEST_F(SMSHandlerTest, UnknownIdsAreNotHandled)
{
    RawRecord record;
    for (const std::uint32_t id : {0x1400u, 0x140Bu, 0x140Cu, 0x020Eu})
        EXPECT_EQ(Encode(id, &record), 1u);
    EXPECT_EQ(Encode(0x140B, nullptr), 1u);
}

// ---------------------------------------------------------------------------------------------------------------------
// Submit and the parameter set

TEST_F(SMSHandlerTest, SubmitSendsParametersInOrder)
{
    const Parameters parameters;
    SmsSubmit record = {0, {1, 2, 3, 4}, 2, {5, 6, 7, 8}, parameters.group};
    EXPECT_EQ(Ask(0x1402, &record, 3, {0, 0}), 0u);
    EXPECT_TRUE(SameBytes(Bytes{1, 2, 3, 4, 0, 1, 2, 36, 5, 6, 7, 8, 0, 4} + kItems, phone.Last().body));
}

TEST_F(SMSHandlerTest, OnlyPresentParametersAreSent)
{
    std::uint8_t bytes[300];
    std::fill_n(bytes, sizeof bytes, std::uint8_t{0x33});
    auto* const unreadable = static_cast<std::uint8_t*>(kUnreadable);
    SmsSubmit record = {0, {}, 2, {}, {0, 1, 4, nullptr, 2, 4, unreadable, 0, bytes, 3, 4, nullptr}};
    EXPECT_EQ(Ask(0x1402, &record, 3, {0, 0}), 0u);
    EXPECT_TRUE(SameBytes({0, 0, 0, 0, 0, 1, 2, 8, 0, 0, 0, 0, 0, 0}, phone.Last().body));

    // 300 bytes are cut to 255; the lengths of the sub-blocks, 260 and 268, keep their low bytes.
    record.parameters = {0, 0, 0, nullptr, 0x81, 300, bytes, 0, nullptr, 0, 0, nullptr};
    EXPECT_EQ(Ask(0x1402, &record, 3, {0, 0}), 0u);
    const Bytes head = {0, 0, 0, 0, 0, 1, 2, 268 % 256, 0, 0, 0, 0, 0, 1, 0x82, 260 % 256, 0x81, 255};
    EXPECT_TRUE(SameBytes(head + Bytes(255, 0x33) + Bytes{0}, phone.Last().body));
}

TEST_F(SMSHandlerTest, SubmitTakesKind2Only)
{
    for (const std::uint8_t kind : Bytes{0, 1, 3, 255})
    {
        SmsSubmit record = {0, {}, kind, {}, {}};
        EXPECT_EQ(Encode(0x1402, &record), 0x80100013u);
    }
    EXPECT_TRUE(phone.Requests().empty());
}

TEST_F(SMSHandlerTest, SubmitReportsTheCause)
{
    const struct
    {
        Bytes reply;
        std::uint32_t result;
    } cases[] = {
        {{5, 0, 12, 4, 0x12, 0x34}, 0},        // the first byte is no status; nothing follows
        {{0, 1, 12, 4, 0x12, 0x34}, 0x1234},   // a cause
        {{0, 9, 12, 4, 0x00, 0x34}, 0x34},     // any other byte than 0 says that something follows
        {{0, 1, 12, 4, 0x12, 0x00}, 0},        // the second byte decides
        {{0, 1, 13, 4, 0x12, 0x34}, 0},        // another sub-block
        {{0, 1, 12, 2}, 0},                    // an empty one
        {{0, 1, 9, 4, 1, 1, 12, 4, 1, 1}, 0},  // only the first one counts
        {{0, 1, 12, 4, 0x12}, 0},
        {{0}, 0},
        {{}, 0},
    };
    for (const auto& [reply, expected] : cases)
    {
        SmsSubmit record = {0, {}, 2, {}, {}};
        EXPECT_EQ(Ask(0x1402, &record, 3, reply), expected) << Hex(reply);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Stored messages

struct KindCase
{
    std::uint8_t kind;
    Bytes content;  ///< Up to the parameter set.
    Bytes header;   ///< Bytes 22 to 25 of the record; 0xCC is left as it was.
    std::size_t blocks;
    int timeQueries;
};

const Bytes kFirstBlock = {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6};
const Bytes kSecondBlock = {0xB0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6};
const KindCase kKinds[] = {
    {0, Bytes{0, 56, 1, 2, 3} + kFirstBlock + Bytes{0, 0, 0}, {1, 2, 3, 0xCC}, 1, 0},
    {1, Bytes{1, 60, 1, 2, 0} + kFirstBlock + kSecondBlock, {1, 0xCC, 0xCC, 2}, 2, 0},
    {2, {2, 48, 1, 2, 3, 4, 0}, {1, 3, 4, 2}, 0, 1},
};

TEST_F(SMSHandlerTest, StoredMessagesAreReadAndWrittenAlike)
{
    SYSTEMTIME local = {2023, 6, 0, 15, 12, 30, 45, 0};
    SYSTEMTIME utc = {};
    ZoneInformation zone = {};
    ASSERT_EQ(CTimeConverter().LocalToUtc(&local, &utc, &zone), 0u);
    for (const KindCase& kind : kKinds)
    {
        SCOPED_TRACE(unsigned{kind.kind});
        phone.timeQueries = 0;
        const Bytes block = kind.content + Bytes{5} + kItems + kTimeItem;
        RawRecord raw;
        std::fill_n(raw.bytes + 22, 4, std::uint8_t{0xCC});
        auto& record = *reinterpret_cast<SmsStoredMessage*>(raw.bytes);
        EXPECT_EQ(ReadStored(record, block), 0u);
        EXPECT_EQ(phone.timeQueries, kind.timeQueries);
        EXPECT_EQ(raw.Part(20, 2), (Bytes{kind.kind, 0x5A}));
        EXPECT_EQ(raw.Part(22, 4), kind.header);
        EXPECT_EQ(BytesAt(raw.PointerAt(32), raw.bytes[26]), kind.blocks > 0 ? kFirstBlock : Bytes());
        EXPECT_EQ(BytesAt(raw.PointerAt(48), raw.bytes[40]), kind.blocks > 1 ? kSecondBlock : Bytes());
        ExpectItems(*reinterpret_cast<SmsParameterGroup*>(raw.bytes + 64));
        const auto& time = *static_cast<SmsTime*>(raw.PointerAt(56));
        EXPECT_EQ(std::tie(time.year, time.month, time.day, time.hour, time.minute, time.second),
                  std::tie(utc.wYear, utc.wMonth, utc.wDay, utc.wHour, utc.wMinute, utc.wSecond));
        EXPECT_EQ(std::tie(time.base_offset, time.extra_offset), std::tie(zone.base_offset, zone.extra_offset));

        EXPECT_EQ(Ask(0x1404, &record, 1, {0, 0xE, 0x12, 0x34}), 0u);
        EXPECT_TRUE(SameBytes(Bytes{0, 0, 0, 0, 0, 1} + block, phone.Last().body));
        EXPECT_EQ(phone.timeQueries, 2 * kind.timeQueries);
        EXPECT_EQ(record.location, 0x1234);
        FreeMessage(record);
    }
}

TEST_F(SMSHandlerTest, MissingBlocksAreWrittenAsZeros)
{
    SmsStoredMessage record = {};
    record.content = {0, 1, 0, {1, 0, 0, 2}, 0, static_cast<std::uint8_t*>(kUnreadable), 0, nullptr};
    EXPECT_EQ(Ask(0x1404, &record, 1, {}), 0u);
    EXPECT_TRUE(SameBytes(Bytes{0, 0, 0, 0, 0, 1, 1, 20, 1, 2} + Bytes(16, 0), phone.Last().body));
}

TEST_F(SMSHandlerTest, ReadLeavesAloneWhatDoesNotCome)
{
    const struct
    {
        Bytes follows;
        std::uint32_t result;
        std::uint8_t kind;
    } cases[] = {
        {{0, 0, 8, 1, 2, 3, 4, 5, 6}, 0, 0xCC},  // no sub-block
        {{2, 0, 8, 1, 2, 3, 4, 5, 6}, 0, 0xCC},
        {{1, 0, 2}, 0, 0xCC},                 // an empty one
        {{1, 3, 8, 1, 2, 3, 4, 5, 6}, 3, 0},  // one of an unknown kind, which resets the kind
        {{}, 0, 0xCC},
    };
    for (const auto& [follows, result, kind] : cases)
    {
        RawRecord record;
        std::fill_n(record.bytes, sizeof record.bytes, std::uint8_t{0xCC});
        EXPECT_EQ(Ask(0x1403, &record, 3, Bytes{0, 0x5A, 1, 1, 1, 1, 1, 1, 1} + follows), result) << Hex(follows);
        const Bytes expected = Bytes(20, 0xCC) + Bytes{kind, 0x5A} + Bytes(114, 0xCC);
        EXPECT_TRUE(SameBytes(expected, record.Part(0, 136))) << Hex(follows);
    }
}

TEST_F(SMSHandlerTest, ParameterSetSkipsWhatItDoesNotKnow)
{
    const Bytes kind2 = {2, 0x58, 0, 0, 0, 0, 0};
    std::uint8_t old[1] = {};
    SmsStoredMessage record = {};
    record.parameters = {1, 2, 3, old, 4, 5, old, 6, old, 7, 8, old};
    // Without an address the lengths become 0. The rest stays.
    EXPECT_EQ(ReadStored(record, {2, 8, 0, 0, 0, 0, 0, 0}), 0u);
    const SmsParameterGroup& group = record.parameters;
    EXPECT_EQ(std::tie(group.first_address_type, group.first_address_length, group.first_address),
              std::make_tuple(2, 0u, old));
    EXPECT_EQ(std::tie(group.second_address_type, group.second_address_length, group.second_address),
              std::make_tuple(4, 0u, old));
    EXPECT_EQ(
        std::tie(group.extra_length, group.extra, group.user_data_coding, group.user_data_length, group.user_data),
        std::make_tuple(6u, old, 7, 8u, old));
    EXPECT_EQ(record.time, nullptr);

    // An unknown item, an empty first address, a second one, a third one, user data twice.
    record = {};
    EXPECT_EQ(ReadStored(record, kind2 + Bytes{6, 0x11, 4, 1,    1, 0x82, 4, 0x91, 0, 0x82, 8, 0x81, 1, 0x09,
                                               0, 0,    0, 0x82, 8, 1,    1, 7,    0, 0,    0, 0x80, 8, 1,
                                               5, 0xAA, 0, 0,    0, 0x80, 8, 1,    6, 0xBB, 0, 0,    0}),
              0u);
    EXPECT_EQ(std::tie(group.first_address_type, group.first_address_length), std::make_tuple(0x91, 0u));
    EXPECT_EQ(group.first_address, nullptr);
    ASSERT_EQ(std::tie(group.second_address_type, group.second_address_length), std::make_tuple(0x81, 1u));
    EXPECT_EQ(*group.second_address, 9);
    ASSERT_EQ(std::tie(group.user_data_coding, group.user_data_length), std::make_tuple(6, 1u));
    EXPECT_EQ(*group.user_data, 0xBB);
    FreeMessage(record);

    // A length beyond the end reads zeros.
    record = {};
    EXPECT_EQ(ReadStored(record, kind2 + Bytes{255, 0x82, 255, 0x91, 255, 7}), 0u);
    ASSERT_EQ(record.parameters.first_address_length, 255u);
    EXPECT_EQ(BytesAt(record.parameters.first_address, 255), Bytes{7} + Bytes(254, 0));
    FreeMessage(record);
}

#ifndef _WIN32
/// A zone one hour ahead of UTC, two from the last Sunday of March to the last one of October.
class SMSTimeTest : public SMSHandlerTest
{
  protected:
    SMSTimeTest()
    {
        TIME_ZONE_INFORMATION zone = {};
        zone.Bias = -60;
        zone.StandardDate = {0, 10, 0, 5, 3, 0, 0, 0};
        zone.DaylightDate = {0, 3, 0, 5, 2, 0, 0, 0};
        zone.DaylightBias = -60;
        host::SetTimeZone(zone);
    }
    ~SMSTimeTest() override { host::SetTimeZone({}); }
};

TEST_F(SMSTimeTest, TimeStampIsReadAsLocalAndWrittenAsLocal)
{
    SmsStoredMessage record = {};
    ASSERT_EQ(ReadStored(record, Bytes{2, 20, 0, 0, 0, 0, 0, 1} + kTimeItem), 0u);
    const SmsTime expected = {2023, 6, 15, 10, 30, 45, 60, 60};
    EXPECT_EQ(BytesAt(record.time, 7), BytesAt(&expected, 7));
    EXPECT_EQ(std::tie(record.time->base_offset, record.time->extra_offset), std::make_tuple(60, 60));
    EXPECT_EQ(Ask(0x1404, &record, 1, {}), 0u);
    EXPECT_TRUE(SameBytes(Bytes{0, 0, 0, 0, 0, 1, 2, 20, 0, 0, 0, 0, 0, 1} + kTimeItem, phone.Last().body));
    EXPECT_EQ(record.time->hour, 10);
    FreeMessage(record);
}

TEST_F(SMSTimeTest, FailedConversionEndsTheReading)
{
    const Bytes month0 = {0x84, 12, 0x07, 0xE7, 0, 15, 12, 30, 45, 0, 0, 0};
    SmsStoredMessage untouched = {};
    untouched.content.value = 0x5A;
    SmsStoredMessage record = untouched;
    EXPECT_EQ(ReadStored(record, kKinds[0].content + Bytes{5} + kItems + month0), 0x80100010u);
    EXPECT_EQ(BytesAt(&record, sizeof record), BytesAt(&untouched, sizeof untouched));
    host::FailTimeZone();
    EXPECT_EQ(ReadStored(record, kKinds[1].content + Bytes{5} + kItems + kTimeItem), 0x80100024u);
    EXPECT_EQ(BytesAt(&record, sizeof record), BytesAt(&untouched, sizeof untouched));
}

TEST_F(SMSTimeTest, FailedConversionIsWrittenAsZeros)
{
    SmsTime time = {2023, 0, 15, 10, 30, 45, 0, 0};
    SmsStoredMessage record = {};
    record.content.kind = 2;
    record.time = &time;
    EXPECT_EQ(Ask(0x1404, &record, 1, {}), 0u);
    EXPECT_TRUE(
        SameBytes(Bytes{0, 0, 0, 0, 0, 1, 2, 20, 0, 0, 0, 0, 0, 1, 0x84, 12} + Bytes(10, 0), phone.Last().body));
}
#endif

// ---------------------------------------------------------------------------------------------------------------------
// Lists, details, addresses, texts

TEST_F(SMSHandlerTest, ListFillsAnArray)
{
    RawRecord record;
    EXPECT_EQ(Ask(0x1401, &record, 13, {0, 0xE, 0, 2, 0x12, 0x34, 0x56}), 0u);
    const auto* values = static_cast<std::uint16_t*>(record.PointerAt(16));
    EXPECT_EQ(record.bytes[8], 2);
    EXPECT_EQ(values[0], 0x1234);
    EXPECT_EQ(values[1], 0x5600);
    CoTaskMemFree(record.PointerAt(16));
    EXPECT_EQ(Ask(0x1401, &record, 13, {0, 0xE, 0, 0, 0x12, 0x34}), 0u);
    EXPECT_EQ(record.bytes[8], 0);
    EXPECT_EQ(record.PointerAt(16), nullptr);
}

const Bytes kDetails = {
    0,    1,    0x55, 56,                                                    // status, more, any id, length
    0x11, 0x12, 0xE,  0xE,  0xE,  0x21, 0x22, 0x23,                          // two bytes, skip 3, three bytes
    0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xAB,  // first block
    0xB0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8, 0xB9, 0xBA, 0xBB,  // second block
    0xC0, 0xC1, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6,                                // third block
    0xE,  0xE,  0xE,  0xE,  2,    0x00, 0x48, 0x26, 0x3A,                    // skip 4, length, text
    0xFF, 0xFF, 0x31, 0x32, 0x33, 0x34,                                      // unknown; from the end
};

TEST_F(SMSHandlerTest, DetailsFillTheRecord)
{
    RawRecord record;
    phone.SetVersion(20, 1, 0);
    EXPECT_EQ(Ask(0x1406, &record, 15, kDetails), 0u);
    EXPECT_EQ(record.Part(8, 6), (Bytes{0x11, 0x12, 0x21, 0x22, 0x23, 2}));
    EXPECT_EQ(BytesAt(record.PointerAt(16), 12), Bytes(kDetails.begin() + 12, kDetails.begin() + 24));
    EXPECT_EQ(BytesAt(record.PointerAt(24), 12), Bytes(kDetails.begin() + 24, kDetails.begin() + 36));
    EXPECT_EQ(BytesAt(record.PointerAt(32), 7), Bytes(kDetails.begin() + 36, kDetails.begin() + 43));
    EXPECT_EQ(UnitsOf(static_cast<BSTR>(record.PointerAt(40))), u"H\u263A");
    EXPECT_EQ(record.Part(48, 4), (Bytes{0x31, 0x32, 0x34, 0x33}));
    Free({record.PointerAt(16), record.PointerAt(24), record.PointerAt(32)});
    SysFreeString(static_cast<BSTR>(record.PointerAt(40)));
}

TEST_F(SMSHandlerTest, ShortDetailsReadAsZeros)
{
    // Two bytes of payload: the last four start before the payload.
    const CBStrOwner text = MakeText(u"before");
    const SmsDetails before = {0, {1, 2}, 3, {9, 9}, {9, 9, 9}, 9, nullptr, nullptr, nullptr, text.get(), {9, 9}, 9};
    SmsDetails record = before;
    EXPECT_EQ(Ask(0x1406, &record, 15, {0, 1, 0x55, 4, 0x11, 0x12}), 0u);
    EXPECT_EQ(BytesAt(record.lead, 6), (Bytes{0x11, 0x12, 0, 0, 0, 0}));
    EXPECT_EQ(BytesAt(record.trail, 4), Bytes(4, 0));
    EXPECT_EQ(BytesAt(record.first_block, 12), Bytes(12, 0));
    EXPECT_EQ(record.text, text.get());
    Free({record.first_block, record.second_block, record.third_block});

    for (const Bytes& reply : {Bytes{0, 0, 0x55, 4, 1, 1}, Bytes{0, 1, 0x55, 2}, Bytes{}})
    {
        phone.Reply(15, reply);
        ExpectRecordUntouched(handler, phone, 0x1406, before, 0);
    }
}

const Bytes kFullGroup = {
    11,   40, 0xE,  0x10, 1,    2,    3, 4,  // id, length, skip, inverted, three bytes, count
    0x81, 8,  2,    7,    0xD1, 0xD2, 0, 0,  // block: length, value, bytes
    0x82, 8,  0x91, 3,    1,    2,    3, 0,  // first address
    0x82, 8,  0x81, 1,    9,    8,    7, 0,  // second address: says 1 byte, 3 are taken
    0x82, 8,  0x71, 1,    5,    5,    5, 5,  // passed over
};

TEST_F(SMSHandlerTest, AddressesFillTheRecord)
{
    RawRecord record;
    EXPECT_EQ(Ask(0x1407, &record, 21, Bytes{0, 2, 5, 4, 1, 1} + kFullGroup), 0u);
    EXPECT_EQ(record.Part(12, 5), (Bytes{0xEF, 1, 2, 3, 0x91}));
    EXPECT_EQ(record.Part(20, 4), (Bytes{3, 0, 0, 0}));
    EXPECT_EQ(BytesAt(record.PointerAt(24), 3), (Bytes{1, 2, 3}));
    EXPECT_EQ(record.bytes[32], 0x81);
    EXPECT_EQ(record.Part(36, 4), (Bytes{1, 0, 0, 0}));
    EXPECT_EQ(BytesAt(record.PointerAt(40), 3), (Bytes{9, 8, 7}));
    EXPECT_EQ(record.Part(48, 2), (Bytes{7, 2}));
    EXPECT_EQ(BytesAt(record.PointerAt(56), 2), (Bytes{0xD1, 0xD2}));
    Free({record.PointerAt(24), record.PointerAt(40), record.PointerAt(56)});
}

TEST_F(SMSHandlerTest, LaterAddressGroupsOverwriteWhatTheyBring)
{
    // The second group brings no items, the third one a new first address and a second one that claims more bytes.
    const Bytes bare = {11, 8, 0xE, 0, 4, 5, 6, 0};
    const Bytes longer = {11, 24, 0xE, 0xFF, 7, 8, 9, 2, 0x82, 8, 1, 1, 0x44, 0, 0, 0, 0x82, 8, 2, 5, 0x66, 0x67, 0, 0};
    SmsAddresses record = {};
    EXPECT_EQ(Ask(0x1407, &record, 21, Bytes{0, 2} + kFullGroup + bare), 0u);
    EXPECT_EQ(record.inverted, 255);
    EXPECT_EQ(std::tie(record.first_address_length, record.second_address_length), std::make_tuple(0u, 0u));
    EXPECT_EQ(BytesAt(record.first_address, 3), (Bytes{1, 2, 3}));
    EXPECT_EQ(record.block_length, 2);
    Free({record.first_address, record.second_address, record.block});

    EXPECT_EQ(Ask(0x1407, &record, 21, Bytes{0, 9} + kFullGroup + longer + Bytes{11, 2} + kFullGroup), 0u);
    EXPECT_EQ(BytesAt(&record.inverted, 4), (Bytes{0, 7, 8, 9}));
    EXPECT_EQ(BytesAt(record.first_address, record.first_address_length), (Bytes{0x44}));
    EXPECT_EQ(BytesAt(record.second_address, record.second_address_length), (Bytes{0x66, 0, 0, 0, 0}));
    Free({record.first_address, record.second_address, record.block});

    // Without a first address nothing of the second one is taken.
    record = {};
    EXPECT_EQ(Ask(0x1407, &record, 21, {0, 1, 11, 16, 0, 0, 0, 0, 0, 2, 0x82, 4, 1, 0, 0x82, 4, 2, 5}), 0u);
    EXPECT_EQ(record.second_address_length, 5u);
    EXPECT_EQ(record.second_address, nullptr);
}

const Bytes kTexts = {0, 3, 1, 8, 7, 2, 0x00, 0x41, 0x26, 0x3A, 9, 4, 1, 1, 1, 4, 8, 0};

void FreeTexts(const SmsTextList& list)
{
    for (std::uint8_t i = 0; i < list.count; ++i)
        SysFreeString(list.entries[i].text);
    CoTaskMemFree(list.entries);
}

TEST_F(SMSHandlerTest, TextsFillTheirOwnEntries)
{
    SmsTextList list = {};
    EXPECT_EQ(Ask(0x1408, &list, 19, kTexts), 0u);
    ASSERT_EQ(list.count, 3);
    EXPECT_EQ(list.entries[0].value, 7);
    EXPECT_EQ(list.entries[0].text_length, 2);
    EXPECT_EQ(UnitsOf(list.entries[0].text), u"A\u263A");
    EXPECT_EQ(BytesAt(&list.entries[1], 16), Bytes(16, 0));
    EXPECT_EQ(list.entries[2].value, 8);
    ASSERT_NE(list.entries[2].text, nullptr);
    EXPECT_EQ(SysStringLen(list.entries[2].text), 0u);
    FreeTexts(list);

    EXPECT_EQ(Ask(0x1408, &list, 19, {0, 255, 1, 2}), 0u);
    ASSERT_EQ(list.count, 255);
    EXPECT_EQ(BytesAt(list.entries, 255 * 16), Bytes(255 * 16, 0));
    FreeTexts(list);
    EXPECT_EQ(Ask(0x1408, &list, 19, {0, 0, 1, 4, 7, 0}), 0u);
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(list.entries, nullptr);
}

TEST_F(SMSHandlerTest, WrittenTextsAreCut)
{
    const struct
    {
        bool versionKnown;
        std::size_t length;
        std::uint8_t sent;
        std::uint8_t blockLength;  ///< Header 2, value and length 2, units, terminator 2, padding.
    } cases[] = {
        {false, 0, 0, 8},   {false, 13, 13, 32}, {false, 14, 14, 36}, {false, 15, 14, 36}, {true, 15, 15, 36},
        {true, 39, 39, 84}, {true, 40, 40, 88},  {true, 41, 40, 88},  {true, 300, 40, 88},
    };
    for (const auto& [versionKnown, length, sent, blockLength] : cases)
    {
        CountingSender sender;
        if (versionKnown)
            sender.SetVersion(20, 0, 0);
        sender.Reply(17, {0});
        const CBStrOwner text = MakeText(std::u16string(length, u'\u263A'));
        SmsTextToWrite record = {0, 0x21, text.get()};
        EXPECT_EQ(handler.EncodeRequest(sender, 0x1409, &record), 0u);
        Bytes expected = {1, 0, 1, blockLength, 0x21, sent};
        for (unsigned i = 0; i < sent; ++i)
            expected = expected + Bytes{0x26, 0x3A};
        expected.resize(2u + blockLength);
        EXPECT_TRUE(SameBytes(expected, sender.Last().body)) << length;
    }
    SmsTextToWrite record = {0, 0x21, static_cast<BSTR>(kUnreadable)};
    EXPECT_EQ(Ask(0x1409, &record, 17, {0}), 0u);
    EXPECT_TRUE(SameBytes({1, 0, 1, 8, 0x21, 0, 0, 0, 0, 0}, phone.Last().body));
}

// ---------------------------------------------------------------------------------------------------------------------
// What replies may look like, and memory that runs out

struct ReadCase
{
    std::uint32_t api;
    std::uint8_t replyId;
    Bytes reply;
    std::vector<std::size_t> blocks;  ///< Offsets of the pointers to blocks.
};

const Bytes kStoredHead = {0, 0x5A, 1, 1, 1, 1, 1, 1, 1, 1};
const ReadCase kReads[] = {
    {0x1401, 13, {0, 0xE, 0, 2, 0x12, 0x34, 0x56, 0x78}, {16}},
    {0x1403, 3, kStoredHead + kKinds[0].content + Bytes{4} + kItems, {32, 80, 96, 112, 128}},
    {0x1403, 3, kStoredHead + kKinds[1].content + Bytes{4} + kItems, {32, 48, 80, 96, 112, 128}},
    {0x1406, 15, kDetails, {16, 24, 32}},
    {0x1407, 21, Bytes{0, 2} + kFullGroup + kFullGroup, {24, 40, 56}},
    {0x1408, 19, kTexts, {}},
};

void FreeResults(const ReadCase& read, const RawRecord& record)
{
    for (const std::size_t offset : read.blocks)
        CoTaskMemFree(record.PointerAt(offset));
    if (read.api == 0x1406)
        SysFreeString(static_cast<BSTR>(record.PointerAt(40)));
    if (read.api == 0x1408)
        FreeTexts(*reinterpret_cast<const SmsTextList*>(record.bytes));
}

TEST_F(SMSHandlerTest, TruncatedRepliesReadAsZeros)
{
    for (const ReadCase& read : kReads)
        for (const Bytes& reply : Truncations(read.reply))
        {
            RawRecord record;
            EXPECT_EQ(Ask(read.api, &record, read.replyId, reply), 0u) << read.api << ": " << Hex(reply);
            FreeResults(read, record);
        }
}

TEST_F(SMSHandlerTest, WithoutMemoryNothingIsStored)
{
    for (const ReadCase& read : kReads)
        FailEachAllocation([&] {
            RawRecord record;
            const std::uint32_t result = Ask(read.api, &record, read.replyId, read.reply);
            if (result == 0)
                FreeResults(read, record);
            else  // byte 21 of a stored message is stored before there is anything to allocate
                EXPECT_TRUE(SameBytes(Bytes(21, 0) + record.Part(21, 1) + Bytes(114, 0), record.Part(0, 136)));
            return result;
        });
}

// ---------------------------------------------------------------------------------------------------------------------
// Indications

struct Indication
{
    std::uint32_t result;
    std::uint32_t id = 0;
    void* record = nullptr;
};

Indication Decode(CSMSHandler& handler, std::uint8_t messageId, const Bytes& body)
{
    CMessage message;
    message.SetMessageId(messageId);
    message.AppendBytes(body.size(), body.data());
    Indication indication = {};
    indication.result = handler.DecodeMessage(message, indication.id, indication.record);
    return indication;
}

const Bytes kReceivedHead = {0x31, 0xE, 0x12, 0x34, 0xE, 1};
const Bytes kReceived[] = {
    kReceivedHead + Bytes{0, 56, 1, 2, 3} + kFirstBlock + Bytes{0xE, 0xE, 0xE, 5} + kTimeItem + kItems,
    kReceivedHead + Bytes{1, 60, 1, 2, 0xE} + kFirstBlock + kSecondBlock + Bytes{5} + kTimeItem + kItems,
};

TEST_F(SMSHandlerTest, ReceivedMessagesAreDelivered)
{
    for (std::uint8_t kind = 0; kind < 2; ++kind)
    {
        const Indication indication = Decode(handler, 4, kReceived[kind]);
        EXPECT_EQ(indication.result, 0u);
        ASSERT_EQ(indication.id, 526u);
        RawRecord record;
        std::memcpy(record.bytes, indication.record, 128);
        EXPECT_EQ(record.Part(0, 8), (Bytes{0, 0, 0, 0, 0x31, 0, 0x34, 0x12}));
        ExpectItems(*reinterpret_cast<SmsParameterGroup*>(record.bytes + 8));
        EXPECT_EQ(record.Part(84, 7), kind == 0 ? (Bytes{0, 0, 1, 2, 3, 0, 7}) : (Bytes{1, 0, 1, 0, 0, 2, 7}));
        EXPECT_EQ(BytesAt(record.PointerAt(96), 7), kFirstBlock);
        EXPECT_EQ(BytesAt(record.PointerAt(112), record.bytes[104]), kind == 0 ? Bytes() : kSecondBlock);
        EXPECT_EQ(record.PointerAt(120), nullptr);
        static_cast<SmsReceivedMessage*>(indication.record)->further = static_cast<std::uint8_t*>(CoTaskMemAlloc(1));
        EXPECT_EQ(handler.FreeDecodedData(526, indication.record), 0u);
    }
}

TEST_F(SMSHandlerTest, ReceivedMessageMayHaveNoContent)
{
    for (const Bytes& body : {Bytes{0x31, 0xE, 0x12, 0x34, 0xE, 2, 0, 8, 1, 1, 1, 1, 1, 1},
                              Bytes{0x31, 0xE, 0x12, 0x34, 0xE, 0}, Bytes{0x31, 0xE, 0x12, 0x34, 0xE, 1, 0, 2}})
    {
        const Indication indication = Decode(handler, 4, body);
        ASSERT_EQ(indication.id, 526u);
        EXPECT_EQ(BytesAt(indication.record, 128), (Bytes{0, 0, 0, 0, 0x31, 0, 0x34, 0x12} + Bytes(120, 0)));
        EXPECT_EQ(handler.FreeDecodedData(526, indication.record), 0u);
    }
    for (const std::uint8_t kind : Bytes{2, 255})
    {
        const Indication indication = Decode(handler, 4, kReceivedHead + Bytes{kind, 8, 1, 1, 1, 1, 1, 1});
        EXPECT_EQ(std::tie(indication.result, indication.id), std::make_tuple(0u, 0u));
        EXPECT_EQ(indication.record, nullptr);
    }
}

TEST_F(SMSHandlerTest, EventsAreDelivered)
{
    const Indication event = Decode(handler, 11, {0x12, 0x34, 0x56, 0x78});
    ASSERT_EQ(event.id, 5132u);
    EXPECT_EQ(BytesAt(event.record, 8), (Bytes{0, 0, 0, 0, 0x34, 0x12, 0x56, 0}));
    EXPECT_EQ(handler.FreeDecodedData(5132, event.record), 0u);

    const Indication signal = Decode(handler, 27, {1, 2, 3});
    EXPECT_EQ(std::tie(signal.result, signal.id), std::make_tuple(0u, 5133u));
    EXPECT_EQ(signal.record, nullptr);

    const Indication other = Decode(handler, 5, {1, 2, 3});
    EXPECT_EQ(std::tie(other.result, other.id), std::make_tuple(1u, 0u));
}

TEST_F(SMSHandlerTest, IndicationsSurviveTruncationAndLackOfMemory)
{
    for (const Bytes& whole : kReceived)
        for (const Bytes& body : Truncations(whole))
        {
            const Indication indication = Decode(handler, 4, body);
            EXPECT_EQ(indication.result, 0u) << Hex(body);
            EXPECT_EQ(handler.FreeDecodedData(indication.id, indication.record), indication.id == 0 ? 1u : 0u);
        }
    const std::pair<std::uint8_t, Bytes> all[] = {{4, kReceived[0]}, {4, kReceived[1]}, {11, {1, 2, 3}}};
    for (const auto& message : all)
        FailEachAllocation([&] {
            const Indication indication = Decode(handler, message.first, message.second);
            EXPECT_EQ(indication.record == nullptr, indication.result != 0);
            EXPECT_EQ(handler.FreeDecodedData(indication.id, indication.record), indication.result == 0 ? 0u : 1u);
            return indication.result;
        });
}

TEST_F(SMSHandlerTest, FreeDecodedDataTakesIndicationsOnly)
{
    RawRecord record;
    EXPECT_EQ(handler.FreeDecodedData(5133, &record), 0u);
    for (const std::uint32_t id : {526u, 5132u})
    {
        EXPECT_EQ(handler.FreeDecodedData(id, nullptr), 0u);
        EXPECT_EQ(handler.FreeDecodedData(id, kUnreadable), 0u);
    }
    for (const std::uint32_t id : {0u, 5121u, 5131u, 5134u})
        EXPECT_EQ(handler.FreeDecodedData(id, &record), 1u);
}

}  // namespace

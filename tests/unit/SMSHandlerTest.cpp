#include "handlers/sms/SMSHandler.h"

#include "handlers/base/DateTime.h"
#include "support/HandlerFixture.h"
#include "support/HostZone.h"
#include "support/RawRecord.h"
#include "support/RecordShapes.h"
#include "support/Text.h"
#include "zelapi/sms.h"

#include <numeric>
#include <tuple>
#include <utility>

namespace
{

/// What fills a record before a read, also in the place of pointers.
constexpr std::uint8_t kFill = 0xCC;
const Bytes kNull(8);

// Both addresses, user data and extra parameters of a parameter set.
const Bytes kItems = {
    0x82, 8, 0x91, 3,    0x01, 0x02, 0x03, 0,  // first address: type, length, bytes, padding
    0x82, 8, 0x81, 1,    0x09, 0,    0,    0,  // second address
    0x80, 8, 2,    0xFF, 0xAA, 0xBB, 0,    0,  // user data: length, coding, bytes
    0x08, 4, 1,    0x77,                       // extra parameters: length, bytes
};
const Bytes kTimeItem = {0x84, 12, 0x07, 0xE7, 6, 15, 12, 30, 45, 0, 0, 0};  // 15 June 2023, 12:30:45

/// kItems in the parameter group at this offset of a record.
Parts GroupFields(std::size_t at)
{
    return {{at + 4, {0x91}},        {at + 8, {3, 0, 0, 0}}, {at + 24, {0x81}},      {at + 28, {1, 0, 0, 0}},
            {at + 40, {1, 0, 0, 0}}, {at + 56, {0xFF, 0}},   {at + 60, {2, 0, 0, 0}}};
}
Parts GroupBlocks(std::size_t at)
{
    return {{at + 16, {1, 2, 3}}, {at + 32, {9}}, {at + 48, {0x77}}, {at + 64, {0xAA, 0xBB}}};
}

class SMSHandlerTest : public HandlerFixture<CSMSHandler, 20>
{
  protected:
    /// What the last request was.
    const Bytes& Body() const { return m_phone.Last().body; }
};

// ---------------------------------------------------------------------------------------------------------------------
// Every request

TEST_F(SMSHandlerTest, RequestsAreTheseBytesAndFailuresLeaveTheRecordAlone)
{
    const struct
    {
        std::uint32_t api;
        std::uint8_t resource, id;
        Bytes body;
        std::uint32_t timeoutMs = 60000;
        Bytes versionQueries = {};
    } requests[] = {
        {ZEL_SMS_LIST, 20, 12, {4, 5, 6, 0, 0, 0}},
        {ZEL_SMS_SUBMIT, 2, 2, {4, 5, 6, 7, 0, 1, 2, 8, 9, 10, 11, 12, 0, 0}, 30000},
        {ZEL_SMS_READ, 20, 2, {7, 6, 5, 4, 8, 0}},
        {ZEL_SMS_WRITE, 20, 0, {7, 6, 5, 4, 8, 1}},
        {ZEL_SMS_LOCATION_COMMAND, 20, 4, {4, 5, 7, 6, 15, 0}},
        {ZEL_SMS_READ_DETAILS, 20, 14, {4, 5, 7, 6, 0, 0}, 60000, {20}},
        {ZEL_SMS_READ_ADDRESSES, 2, 20, {4, 5}},
        {ZEL_SMS_LIST_TEXTS, 20, 18, {0, 0}},
        {ZEL_SMS_WRITE_TEXT, 20, 16, {1, 0, 1, 8, 4, 0, 0, 0, 0, 0}, 60000, {20}},
        {ZEL_SMS_COMMAND, 20, 20, {4, 0}},
    };
    for (const auto& [api, resource, id, body, timeoutMs, versionQueries] : requests)
    {
        SCOPED_TRACE(api);
        // Bytes 4 to 15 hold their own offsets, where they are not a kind or a pointer. Kind 3 of a stored message has
        // no sub-block.
        RawRecord record(0);
        std::iota(record.bytes + 4, record.bytes + (api == ZEL_SMS_WRITE_TEXT ? 8 : 16), std::uint8_t{4});
        record.bytes[api == ZEL_SMS_SUBMIT ? 8 : 20] = api == ZEL_SMS_SUBMIT ? ZEL_SMS_SUBMIT_KIND : 3;
        const auto replyId = static_cast<std::uint8_t>(id + 1);
        ExpectBadRecordsRefused(m_handler, api);
        ExpectUnanswered(api, record, ZEL_NOT_HANDLED);
        for (const std::uint8_t status : Bytes{0x01, 0x80, 0xFF})
            if (api != ZEL_SMS_SUBMIT)
                ExpectOutcomes(api, record, {{replyId, Bytes(80, status), resource * 256u + status}});

        m_phone = FakeSender();
        EXPECT_EQ(Ask(api, &record, replyId, {}), ZEL_OK);
        EXPECT_TRUE(SameRequest(m_phone.Last(), resource, id, body, {replyId}, timeoutMs));
        EXPECT_EQ(m_phone.VersionQueries(), versionQueries);
    }
    ExpectNotHandled({ZEL_SMS_LIST - 1, ZEL_SMS_COMMAND + 1, ZEL_SMS_EVENT, ZEL_SMS_RECEIVED});
}

// ---------------------------------------------------------------------------------------------------------------------
// Submit

TEST_F(SMSHandlerTest, OnlyPresentParametersAreSent)
{
    std::uint8_t bytes[300];
    std::fill_n(bytes, sizeof bytes, std::uint8_t{0x33});
    auto* const unreadable = static_cast<std::uint8_t*>(kUnreadable);
    SmsSubmit record = {0, {}, ZEL_SMS_SUBMIT_KIND, {}, {0, 1, 4, nullptr, 2, 4, unreadable, 0, bytes, 3, 4, nullptr}};
    EXPECT_EQ(Ask(ZEL_SMS_SUBMIT, &record, 3, {0, 0}), ZEL_OK);
    EXPECT_TRUE(SameBytes({0, 0, 0, 0, 0, 1, 2, 8, 0, 0, 0, 0, 0, 0}, Body()));

    // 300 bytes are cut to 255; the lengths of the sub-blocks, 260 and 268, keep their low bytes.
    record.parameters = {0, 0, 0, nullptr, 0x81, 300, bytes, 0, nullptr, 0, 0, nullptr};
    EXPECT_EQ(Ask(ZEL_SMS_SUBMIT, &record, 3, {0, 0}), ZEL_OK);
    const Bytes head = {0, 0, 0, 0, 0, 1, 2, 268 % 256, 0, 0, 0, 0, 0, 1, 0x82, 260 % 256, 0x81, 255};
    EXPECT_TRUE(SameBytes(head + Bytes(255, 0x33) + Bytes{0}, Body()));
}

TEST_F(SMSHandlerTest, SubmitTakesKind2OnlyAndReportsTheCause)
{
    for (const std::uint8_t kind : Bytes{0, 1, 3, 255})
        ExpectRefused(ZEL_SMS_SUBMIT, SmsSubmit{0, {}, kind, {}, {}}, ZEL_E_ARGUMENT);
    const std::pair<Bytes, std::uint32_t> cases[] = {
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
        ExpectOutcomes(ZEL_SMS_SUBMIT, SmsSubmit{0, {}, ZEL_SMS_SUBMIT_KIND, {}, {}}, {{3, reply, expected}});
}

// ---------------------------------------------------------------------------------------------------------------------
// Replies that fill a record

const Bytes kFirstBlock = {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6};
const Bytes kSecondBlock = {0xB0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6};

// The sub-block of a stored message of each kind up to the parameter set: id, length, header bytes, blocks.
const Bytes kKinds[] = {
    Bytes{0, 56, 1, 2, 3} + kFirstBlock + Bytes{0, 0, 0},
    Bytes{1, 60, 1, 2, 0} + kFirstBlock + kSecondBlock,
    {2, 48, 1, 2, 3, 4, 0},
};
const Bytes kStoredHead = {0, 0x5A, 0xE, 0xE, 0xE, 0xE, 0xE, 0xE, 0xE};  // status, value, not used
const Bytes kStored = kStoredHead + Bytes{1};
const Bytes kAll = Bytes{5} + kItems + kTimeItem;

const Bytes kDetails1 = {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xAB};
const Bytes kDetails2 = {0xB0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8, 0xB9, 0xBA, 0xBB};
const Bytes kDetails3 = {0xC0, 0xC1, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6};
const Bytes kDetails = Bytes{0,    1,    0x55, 56,                            // status, more, any id, length
                             0x11, 0x12, 0xE,  0xE, 0xE, 0x21, 0x22, 0x23} +  // two bytes, skip 3, three bytes
                       kDetails1 +
                       kDetails2 + kDetails3 +
                       Bytes{0xE,  0xE,  0xE,  0xE,  2,    0x00, 0x48, 0x26, 0x3A,  // skip 4, length, text
                             0xFF, 0xFF, 0x31, 0x32, 0x33, 0x34};                   // unknown; from the end

const Bytes kGroup = {
    11,   40, 0xE,  0x10, 1,    2,    3, 4,  // id, length, skip, inverted, three bytes, count
    0x81, 8,  2,    7,    0xD1, 0xD2, 0, 0,  // block: length, value, bytes
    0x82, 8,  0x91, 3,    1,    2,    3, 0,  // first address
    0x82, 8,  0x81, 1,    9,    8,    7, 0,  // second address: says 1 byte, 3 are taken
    0x82, 8,  0x71, 1,    5,    5,    5, 5,  // passed over
};
// No items; a new first address, an unknown item and a second address that claims more bytes; an empty first address.
const Bytes kBareGroup = {11, 8, 0xE, 0, 4, 5, 6, 0};
const Bytes kNewGroup = {11, 28, 0xE, 0xFF, 7, 8, 9,    3, 0x82, 8, 1,    1,    0x44, 0,
                         0,  0,  7,   4,    1, 1, 0x82, 8, 2,    5, 0x66, 0x67, 0,    0};
const Bytes kEmptyGroup = {11, 16, 0, 0, 0, 0, 0, 2, 0x82, 4, 1, 0, 0x82, 4, 2, 5};

struct ReadCase
{
    std::uint32_t api;
    std::uint8_t replyId;
    Bytes reply;
    Parts fields;
    Parts blocks;
};

/// The time record of kTimeItem, which is local time.
Bytes TimeRecord()
{
    SYSTEMTIME utc = {};
    ZoneInformation zone = {};
    EXPECT_EQ(LocalToUtc({2023, 6, 0, 15, 12, 30, 45, 0}, &utc, &zone), ZEL_OK);
    SmsTime time = {};
    StoreTime(utc, time);
    StoreOffsets(zone, time);
    return BytesAt(&time, sizeof time);
}

std::vector<ReadCase> Reads()
{
    const Parts time = {{56, TimeRecord()}};
    const Parts group = {{24, {1, 2, 3}}, {40, {9, 8, 7}}, {56, {0xD1, 0xD2}}};
    const auto row = [](std::uint32_t api, std::uint8_t replyId, const Bytes& reply, const Parts& fields,
                        const Parts& blocks) {
        return ReadCase{api, replyId, reply, fields, blocks};
    };
    return {
        row(ZEL_SMS_LIST, 13, {0, 0xE, 0, 2, 0x12, 0x34, 0x56, 0x78}, {{8, {2, 0}}}, {{16, {0x34, 0x12, 0x78, 0x56}}}),
        row(ZEL_SMS_LIST, 13, {0, 0xE, 0, 2, 0x12, 0x34, 0x56}, {{8, {2, 0}}}, {{16, {0x34, 0x12, 0, 0x56}}}),
        row(ZEL_SMS_LIST, 13, {0, 0xE, 0, 0, 0x12, 0x34}, {{8, {0, 0}}, {16, kNull}}, {}),

        row(ZEL_SMS_READ, 3, kStored + kKinds[0] + kAll, Parts{{20, {0, 0x5A, 1, 2, 3}}, {26, {7}}} + GroupFields(64),
            Parts{{32, kFirstBlock}} + time + GroupBlocks(64)),
        row(ZEL_SMS_READ, 3, kStored + kKinds[1] + kAll,
            Parts{{20, {1, 0x5A, 1}}, {25, {2, 7}}, {40, {7}}} + GroupFields(64),
            Parts{{32, kFirstBlock}, {48, kSecondBlock}} + time + GroupBlocks(64)),
        row(ZEL_SMS_READ, 3, kStored + kKinds[2] + kAll, Parts{{20, {2, 0x5A, 1, 3, 4, 2}}} + GroupFields(64),
            time + GroupBlocks(64)),
        // No items: the lengths of the addresses become 0.
        row(ZEL_SMS_READ, 3, kStored + Bytes{2, 8, 0, 0, 0, 0, 0, 0},
            {{20, {2, 0x5A, 0, 0, 0, 0}}, {72, Bytes(4)}, {92, Bytes(4)}}, {}),
        // An unknown item, an empty first address, a second one, a third one, user data twice.
        row(ZEL_SMS_READ, 3,
            kStored +
                Bytes{2, 0x58, 0, 0, 0, 0, 0, 6, 0x11, 4, 1, 1, 0x82, 4, 0x91, 0, 0x82, 8, 0x81, 1, 0x09, 0, 0, 0} +
                Bytes{0x82, 8, 1, 1, 7, 0, 0, 0, 0x80, 8, 1, 5, 0xAA, 0, 0, 0, 0x80, 8, 1, 6, 0xBB, 0, 0, 0},
            {{20, {2, 0x5A, 0, 0, 0, 0}},
             {68, {0x91}},
             {72, Bytes(4)},
             {80, kNull},
             {88, {0x81}},
             {92, {1, 0, 0, 0}},
             {120, {6, 0}},
             {124, {1, 0, 0, 0}}},
            {{96, {9}}, {128, {0xBB}}}),
        // A length beyond the end reads zeros.
        row(ZEL_SMS_READ, 3, kStored + Bytes{2, 0x58, 0, 0, 0, 0, 0, 255, 0x82, 255, 0x91, 255, 7},
            {{20, {2, 0x5A, 0, 0, 0, 0}}, {68, {0x91}}, {72, {255, 0, 0, 0}}, {92, Bytes(4)}},
            {{80, Bytes{7} + Bytes(254)}}),
        // No sub-block, or an empty one.
        row(ZEL_SMS_READ, 3, kStoredHead + Bytes{0, 0, 8, 1, 2, 3, 4, 5, 6}, {{21, {0x5A}}}, {}),
        row(ZEL_SMS_READ, 3, kStoredHead + Bytes{2, 0, 8, 1, 2, 3, 4, 5, 6}, {{21, {0x5A}}}, {}),
        row(ZEL_SMS_READ, 3, kStoredHead + Bytes{1, 0, 2}, {{21, {0x5A}}}, {}),
        row(ZEL_SMS_READ, 3, kStoredHead, {{21, {0x5A}}}, {}),

        row(ZEL_SMS_READ_DETAILS, 15, kDetails,
            {{8, {0x11, 0x12, 0x21, 0x22, 0x23, 2}}, {48, {0x31, 0x32, 0x34, 0x33}}},
            {{16, kDetails1}, {24, kDetails2}, {32, kDetails3}, {40, {0x48, 0x00, 0x3A, 0x26}}}),
        // Two bytes of payload: the last four start before it.
        row(ZEL_SMS_READ_DETAILS, 15, {0, 1, 0x55, 4, 0x11, 0x12}, {{8, {0x11, 0x12, 0, 0, 0, 0}}, {48, Bytes(4)}},
            {{16, Bytes(12)}, {24, Bytes(12)}, {32, Bytes(7)}}),
        row(ZEL_SMS_READ_DETAILS, 15, {0, 0, 0x55, 4, 1, 1}, {}, {}),
        row(ZEL_SMS_READ_DETAILS, 15, {0, 1, 0x55, 2}, {}, {}),

        row(ZEL_SMS_READ_ADDRESSES, 21, Bytes{0, 2, 5, 4, 1, 1} + kGroup,
            {{12, {0xEF, 1, 2, 3, 0x91}}, {20, {3, 0, 0, 0}}, {32, {0x81}}, {36, {1, 0, 0, 0}}, {48, {7, 2}}}, group),
        row(ZEL_SMS_READ_ADDRESSES, 21, Bytes{0, 2} + kGroup + kBareGroup,
            {{12, {0xFF, 4, 5, 6, 0x91}}, {20, Bytes(4)}, {32, {0x81}}, {36, Bytes(4)}, {48, {7, 2}}}, group),
        row(ZEL_SMS_READ_ADDRESSES, 21, Bytes{0, 9} + kGroup + kNewGroup + Bytes{11, 2} + kGroup,
            {{12, {0, 7, 8, 9, 1}}, {20, {1, 0, 0, 0}}, {32, {2}}, {36, {5, 0, 0, 0}}, {48, {7, 2}}},
            {{24, {0x44}}, {40, {0x66, 0, 0, 0, 0}}, {56, {0xD1, 0xD2}}}),
        row(ZEL_SMS_READ_ADDRESSES, 21, Bytes{0, 1} + kEmptyGroup,
            {{12, {0xFF, 0, 0, 0, 1}}, {20, Bytes(4)}, {24, kNull}, {32, {2}}, {36, {5, 0, 0, 0}}, {40, kNull}}, {}),
    };
}

/// Frees what a read has stored.
void FreeStored(std::uint32_t api, RawRecord record)
{
    for (std::size_t offset = 0; offset < sizeof record.bytes; offset += sizeof(void*))
        if (record.PointerAt(offset) == RawRecord(kFill).PointerAt(offset))
            record.SetPointer(offset, nullptr);
    FreeReceived(api, record.bytes);
}

TEST_F(SMSHandlerTest, RepliesFillTheRecord)
{
    for (const ReadCase& read : Reads())
    {
        SCOPED_TRACE(Hex(read.reply));
        RawRecord record(kFill);
        EXPECT_EQ(Ask(read.api, &record, read.replyId, read.reply), ZEL_OK);
        EXPECT_TRUE(SameRecord(read.fields, read.blocks, record, kFill));
        const bool hasText = read.api == ZEL_SMS_READ_DETAILS && read.blocks.size() == 4;
        EXPECT_EQ(hasText ? SysStringLen(static_cast<BSTR>(record.PointerAt(40))) : 2, 2u);
        FreeStored(read.api, record);
        const RawRecord filled(kFill);
        Survives(read.api, &filled, read.replyId, read.reply);
        if (read.blocks.empty())
            continue;
        FailEachAllocation([&] {
            RawRecord failed(kFill);
            const std::uint32_t result = Ask(read.api, &failed, read.replyId, read.reply);
            if (result == ZEL_OK)
                FreeStored(read.api, failed);
            else  // byte 21 of a stored message is stored before there is anything to allocate
                EXPECT_TRUE(SameRecord({{21, {failed.bytes[21]}}}, {}, failed, kFill));
            return result;
        });
    }
    RawRecord unknown(kFill);
    EXPECT_EQ(Ask(ZEL_SMS_READ, &unknown, 3, kStored + Bytes{3, 8, 1, 2, 3, 4, 5, 6}), ZEL_NOT_SUPPORTED);
    EXPECT_TRUE(SameRecord({{20, {0, 0x5A}}}, {}, unknown, kFill)) << "an unknown kind resets the kind";
}

TEST_F(SMSHandlerTest, StoredMessagesAreWrittenAsTheyAreRead)
{
    for (const ReadCase& read : Reads())
        if (read.api == ZEL_SMS_READ && read.blocks.size() > 4)
        {
            const Bytes block(read.reply.begin() + 10, read.reply.end());
            SCOPED_TRACE(unsigned{block[0]});
            m_phone = FakeSender();
            RawRecord record(0);
            EXPECT_EQ(Ask(ZEL_SMS_READ, &record, 3, read.reply), ZEL_OK);
            EXPECT_EQ(m_phone.TimeQueries(), block[0] == 2 ? 1u : 0u);
            EXPECT_EQ(Ask(ZEL_SMS_WRITE, &record, 1, {0, 0xE, 0x12, 0x34}), ZEL_OK);
            EXPECT_EQ(m_phone.TimeQueries(), block[0] == 2 ? 2u : 0u);
            EXPECT_TRUE(SameBytes(Bytes{0, 0, 0, 0, 0, 1} + block, Body()));
            EXPECT_EQ(BytesAt(record.bytes + 4, 2), (Bytes{0x34, 0x12})) << "the new location";

            SmsSubmit submit = {0, {1, 2, 3, 4}, ZEL_SMS_SUBMIT_KIND, {5, 6, 7, 8}, {}};
            std::memcpy(&submit.parameters, record.bytes + 64, sizeof submit.parameters);
            EXPECT_EQ(Ask(ZEL_SMS_SUBMIT, &submit, 3, {0, 0}), ZEL_OK);
            EXPECT_TRUE(SameBytes(Bytes{1, 2, 3, 4, 0, 1, 2, 36, 5, 6, 7, 8, 0, 4} + kItems, Body()));
            FreeStored(read.api, record);
        }

    auto* const unreadable = static_cast<std::uint8_t*>(kUnreadable);
    SmsStoredMessage record = {};
    record.content = {0, ZEL_SMS_KIND_1, 0, {1, 0, 0, 2}, 0, unreadable, 0, nullptr};
    EXPECT_EQ(Ask(ZEL_SMS_WRITE, &record, 1, {}), ZEL_OK);
    EXPECT_TRUE(SameBytes(Bytes{0, 0, 0, 0, 0, 1, 1, 20, 1, 2} + Bytes(16), Body())) << "without blocks";
    record.content.second_block_length = 7;
    ExpectRefused(ZEL_SMS_WRITE, record, ZEL_E_ARGUMENT);
    record.content.kind = ZEL_SMS_KIND_0;
    EXPECT_EQ(Ask(ZEL_SMS_WRITE, &record, 1, {}), ZEL_OK) << "this kind has no second block";
    record.content.first_block_length = 1;
    ExpectRefused(ZEL_SMS_WRITE, record, ZEL_E_ARGUMENT);
}

#ifndef _WIN32
TEST_F(SMSHandlerTest, TimeStampsAreReadAndWrittenAsLocalAndAFailureEndsTheReading)
{
    const CCentralEuropeanZone zone;
    SmsStoredMessage record = {};
    ASSERT_EQ(Ask(ZEL_SMS_READ, &record, 3, kStored + Bytes{2, 20, 0, 0, 0, 0, 0, 1} + kTimeItem), ZEL_OK);
    const SmsTime expected = {2023, 6, 15, 10, 30, 45, 60, 60};
    EXPECT_EQ(BytesAt(record.time, 7), BytesAt(&expected, 7));
    EXPECT_EQ(std::tie(record.time->base_offset, record.time->extra_offset), std::make_tuple(60, 60));
    EXPECT_EQ(Ask(ZEL_SMS_WRITE, &record, 1, {}), ZEL_OK);
    EXPECT_TRUE(SameBytes(Bytes{0, 0, 0, 0, 0, 1, 2, 20, 0, 0, 0, 0, 0, 1} + kTimeItem, Body()));
    EXPECT_EQ(BytesAt(record.time, 7), BytesAt(&expected, 7)) << "a write does not touch it";

    // No time is no time, whatever the zone.
    *record.time = {};
    const Bytes noTime = Bytes{0, 0, 0, 0, 0, 1, 2, 20, 0, 0, 0, 0, 0, 1, 0x84, 12} + Bytes(10);
    EXPECT_EQ(Ask(ZEL_SMS_WRITE, &record, 1, {}), ZEL_OK);
    EXPECT_TRUE(SameBytes(noTime, Body()));
    CoTaskMemFree(record.time);
    ASSERT_EQ(Ask(ZEL_SMS_READ, &record, 3, kStored + Bytes(noTime.begin() + 6, noTime.end())), ZEL_OK);
    EXPECT_EQ(BytesAt(record.time, 7), Bytes(7));

    record.time->day = 1;
    EXPECT_EQ(Ask(ZEL_SMS_WRITE, &record, 1, {}), ZEL_OK);
    EXPECT_TRUE(SameBytes(noTime, Body())) << "what cannot be converted";
    CoTaskMemFree(record.time);

    const Bytes month0 = {0x84, 12, 0x07, 0xE7, 0, 15, 12, 30, 45, 0, 0, 0};
    RawRecord failed(kFill);
    EXPECT_EQ(Ask(ZEL_SMS_READ, &failed, 3, kStored + kKinds[0] + Bytes{5} + kItems + month0), ZEL_E_FAIL);
    EXPECT_TRUE(SameRecord({{21, {0x5A}}}, {}, failed, kFill));
    host::FailTimeZone();
    EXPECT_EQ(Ask(ZEL_SMS_READ, &failed, 3, kStored + kKinds[1] + kAll), ZEL_E_TIME_ZONE);
    EXPECT_TRUE(SameRecord({{21, {0x5A}}}, {}, failed, kFill));
}
#endif

// ---------------------------------------------------------------------------------------------------------------------
// Texts

TEST_F(SMSHandlerTest, TextsFillTheirOwnEntries)
{
    // By entry the value, the length and the units; the fields of an entry that is left out are 0.
    const auto read = [&](const Bytes& reply) {
        SmsTextList list = {0, 9, nullptr};
        EXPECT_EQ(Ask(ZEL_SMS_LIST_TEXTS, &list, 19, reply), ZEL_OK);
        std::vector<std::u16string> texts;
        for (const SmsText& entry : std::span(list.entries, list.entries == nullptr ? 0 : list.count))
        {
            texts.push_back({entry.value, entry.text_length, entry.text == nullptr ? u'-' : u':'});
            texts.back() += UnitsOf(entry.text);
        }
        EXPECT_EQ(list.count, texts.size());
        FreeReceived(ZEL_SMS_LIST_TEXTS, &list);
        return texts;
    };
    using Texts = std::vector<std::u16string>;
    const Bytes reply = {0, 3, 1, 8, 7, 2, 0x00, 0x41, 0x26, 0x3A, 9, 4, 1, 1, 1, 4, 8, 0};
    const std::u16string absent = {0, 0, u'-'};
    EXPECT_EQ(read(reply), (Texts{u"\x07\x02:A\u263A", absent, {8, 0, u':'}}));
    EXPECT_EQ(read({0, 255, 1, 2}), Texts(255, absent));
    EXPECT_EQ(read({0, 0, 1, 4, 7, 0}), Texts());
    const SmsTextList list = {0, 9, nullptr};
    Survives(ZEL_SMS_LIST_TEXTS, &list, 19, reply);
}

TEST_F(SMSHandlerTest, WrittenTextsAreCut)
{
    // Is the version known, units of the text, units sent, length of the sub-block: header 2, value and length 2,
    // units, terminator 2, padding.
    const std::tuple<bool, std::size_t, std::uint8_t, std::uint8_t> cases[] = {
        {false, 0, 0, 8},   {false, 13, 13, 32}, {false, 14, 14, 36}, {false, 15, 14, 36}, {true, 15, 15, 36},
        {true, 39, 39, 84}, {true, 40, 40, 88},  {true, 41, 40, 88},  {true, 300, 40, 88},
    };
    for (const auto& [isVersionKnown, length, sent, blockLength] : cases)
    {
        if (isVersionKnown)
            m_phone.SetVersion(20, 0, 0);
        const CBStrOwner text = MakeText(std::u16string(length, u'\u263A'));
        SmsTextToWrite record = {0, 0x21, text.get()};
        EXPECT_EQ(Ask(ZEL_SMS_WRITE_TEXT, &record, 17, {0}), ZEL_OK);
        Bytes expected = {1, 0, 1, blockLength, 0x21, sent};
        for (unsigned i = 0; i < sent; ++i)
            expected = expected + Bytes{0x26, 0x3A};
        expected.resize(2u + blockLength);
        EXPECT_TRUE(SameBytes(expected, Body())) << length;
    }
    SmsTextToWrite record = {0, 0x21, static_cast<BSTR>(kUnreadable)};
    EXPECT_EQ(Ask(ZEL_SMS_WRITE_TEXT, &record, 17, {0}), ZEL_OK);
    EXPECT_TRUE(SameBytes({1, 0, 1, 8, 0x21, 0, 0, 0, 0, 0}, Body()));
}

// ---------------------------------------------------------------------------------------------------------------------
// Indications

TEST_F(SMSHandlerTest, ReceivedMessagesAreDelivered)
{
    const Bytes head = {0x31, 0xE, 0x12, 0x34, 0xE};
    const Parts headFields = {{4, {0x31}}, {6, {0x34, 0x12}}};
    const Bytes kind0 = Bytes{1, 0, 56, 1, 2, 3} + kFirstBlock + Bytes{0xE, 0xE, 0xE, 5} + kTimeItem + kItems;
    const Bytes kind1 = Bytes{1, 1, 60, 1, 2, 0xE} + kFirstBlock + kSecondBlock + Bytes{5} + kTimeItem + kItems;
    const std::tuple<Bytes, Parts, Parts> cases[] = {
        {kind0, Parts{{84, {0, 0, 1, 2, 3, 0, 7}}} + GroupFields(8), Parts{{96, kFirstBlock}} + GroupBlocks(8)},
        {kind1, Parts{{84, {1, 0, 1, 0, 0, 2, 7}}, {104, {7}}} + GroupFields(8),
         Parts{{96, kFirstBlock}, {112, kSecondBlock}} + GroupBlocks(8)},
        {{2, 0, 8, 1, 1, 1, 1, 1, 1}, {}, {}},
        {{0}, {}, {}},
        {{1, 0, 2}, {}, {}},
    };
    for (const auto& [content, fields, blocks] : cases)
    {
        const Bytes whole = head + content;
        SCOPED_TRACE(Hex(whole));
        SmsReceivedMessage* received = nullptr;
        ASSERT_EQ(Decode(4, whole, ZEL_SMS_RECEIVED, received), ZEL_OK);
        RawRecord record(0);
        std::memcpy(record.bytes, received, sizeof *received);
        EXPECT_TRUE(SameRecord(headFields + fields, blocks, record, 0));
        received->further = static_cast<std::uint8_t*>(CoTaskMemAlloc(1));
        EXPECT_EQ(m_handler.FreeDecodedData(ZEL_SMS_RECEIVED, received), ZEL_OK);
        SurvivesIndication(m_handler, ZEL_SMS_RECEIVED, {4, whole});
    }
    // One of another kind is none, and no failure.
    for (const std::uint8_t kind : Bytes{ZEL_SMS_KIND_2, 255})
        ExpectNotDecoded(4, ZEL_OK, head + Bytes{1, kind, 8, 1, 1, 1, 1, 1, 1});
}

TEST_F(SMSHandlerTest, EventsAreDeliveredAndIndicationsFreed)
{
    SmsEvent* event = nullptr;
    ASSERT_EQ(Decode(11, {0x12, 0x34, 0x56, 0x78}, ZEL_SMS_EVENT, event), ZEL_OK);
    EXPECT_EQ(BytesAt(event, sizeof *event), (Bytes{0, 0, 0, 0, 0x34, 0x12, 0x56, 0}));
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_SMS_EVENT, event), ZEL_OK);
    SurvivesIndication(m_handler, ZEL_SMS_EVENT, {11, {0x12, 0x34, 0x56}});

    CMessage signal = MessageOf(27, {1, 2, 3});
    std::uint32_t id = 0;
    void* none = &signal;
    EXPECT_EQ(m_handler.DecodeMessage(signal, id, none), ZEL_OK);
    EXPECT_EQ(std::make_pair(id, none), std::make_pair(ZEL_SMS_SIGNAL, static_cast<void*>(nullptr)));
    ExpectNotDecoded(5);

    RawRecord record(0);
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_SMS_SIGNAL, &record), ZEL_OK);
    for (const std::uint32_t freed : {ZEL_SMS_RECEIVED, ZEL_SMS_EVENT})
        for (void* bad : {static_cast<void*>(nullptr), kUnreadable})
            EXPECT_EQ(m_handler.FreeDecodedData(freed, bad), ZEL_OK);
    for (const std::uint32_t other : {0u, ZEL_SMS_LIST, ZEL_SMS_EVENT - 1, ZEL_SMS_SIGNAL + 1})
        EXPECT_EQ(m_handler.FreeDecodedData(other, &record), ZEL_NOT_HANDLED);
}

}  // namespace

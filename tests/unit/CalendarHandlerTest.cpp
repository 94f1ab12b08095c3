#include "handlers/calendar/CalendarHandler.h"

#include "support/HandlerFixture.h"
#include "support/HostZone.h"
#include "support/RecordShapes.h"
#include "support/Text.h"
#include "zelapi/calendar.h"

#include <numeric>
#include <sstream>
#include <tuple>
#include <utility>

namespace
{

constexpr std::uint8_t kCalendar = 0x13;
/// A refusal's result is this and the phone's status.
constexpr std::uint32_t kRefused = 0x1300;
constexpr std::uint32_t kSendFailure = 0x80040155;
constexpr std::uint8_t kOtherReply = 0x7F;

/// A field of an application, with offsets that nobody reads.
struct Field : CalendarField
{
    Field(std::uint16_t type, std::uint32_t number) : CalendarField{0, type, {}, 77, 88} { value.number = number; }
    Field(std::uint16_t type, BSTR text) : Field(type, 0u) { value.text = text; }
    Field(std::uint16_t type, const CalendarDate& date) : Field(type, 0u) { value.date = date; }
};

/// The id, then a number or the units of a text in hex, or a date with its offsets.
std::string Describe(const CalendarField& field)
{
    std::ostringstream out;
    out << std::hex << field.id << ':';
    const CalendarDate& date = field.value.date;
    if (field.id >> 8 == 0x03)
        out << std::dec << ' ' << date.year << '-' << +date.month << '-' << +date.day << ' ' << +date.hour << ':'
            << +date.minute << ':' << +date.second << " +" << field.base_offset << " +" << field.extra_offset;
    else if (field.id >> 8 != 0x02)
        out << ' ' << field.value.number;
    else if (field.value.text == nullptr)
        out << " null";
    else
        for (const unsigned unit : UnitsOf(field.value.text))
            out << ' ' << unit;
    return out.str();
}

Bytes Word(std::size_t value)
{
    return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

/// A sub-block: u16 id, u16 length of it all, payload, zeros up to a multiple of 4.
Bytes Block(std::uint16_t id, Bytes payload)
{
    payload.resize((payload.size() + 3) / 4 * 4);
    return Word(id) + Word(payload.size() + 4) + payload;
}

Bytes NumberBlock(std::uint16_t id, std::uint8_t number)
{
    return Block(id, {0, 0, 0, number});
}

/// A body with an entry in the new format: a byte, one sub-block 0x0001 with `count` fields.
Bytes EntryBody(std::uint8_t count, const Bytes& fields, std::uint8_t unused = 0xEE)
{
    return Bytes{0, 1} + Block(0x0001, Bytes{unused, unused, unused, count} + fields);
}

/// The reply 0x7E up to the alarm, with everything that is translated.
Bytes OldReply(std::uint8_t kind, unsigned kindCode, unsigned interval, std::uint8_t alarm)
{
    return Bytes{0x00, kind, 0xE0, 0xE1, 0xE2, 0xE3} +                                      // status, kind, not used
           Bytes{0x01, 0x02, 0x03, 0x04, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA, 0xEB} +  // location, not used
           Bytes{0x0A, 0x0B, 0x0C, 0x0D} + Word(kindCode) +                                 // number 5
           Bytes{0x07, 0xE8, 0x05, 0x0F, 0x0A, 0x1E} +                                      // 2024-05-15 10:30
           Bytes{0x07, 0xE9, 0x0C, 0x1F, 0x17, 0x3B} +                                      // 2025-12-31 23:59
           Word(interval) + Bytes{0x00, 0x09, alarm};                                       // number 9
}

class CalendarHandlerTest : public HandlerFixture<CCalendarHandler, kCalendar>
{
  protected:
    /// Replies by their ids; with id 0 none comes, because the send fails.
    using Answers = std::vector<std::pair<std::uint8_t, Bytes>>;
    using Fields = std::vector<std::string>;

    CalendarHandlerTest() { m_phone.SetVersion(kCalendar, 3, 1); }

    /// Dates count on a PC that is set to UTC, as the native build and Wine are.
    void SetUp() override
    {
        TIME_ZONE_INFORMATION zone = {};
        GetTimeZoneInformation(&zone);
        if (zone.Bias != 0 || zone.DaylightDate.wMonth != 0)
            GTEST_SKIP() << "not in UTC";
    }

    std::uint32_t Run(std::uint32_t messageId, void* record, const Answers& answers)
    {
        for (const auto& [id, body] : answers)
            id == 0 ? m_phone.Fail(kSendFailure) : m_phone.Reply(id, body);
        return m_handler.EncodeRequest(m_phone, messageId, record);
    }

    /// Reads an entry: its fields as text.
    Fields Read(std::uint8_t replyId, const Bytes& reply)
    {
        CalendarEntryRecord record = {0, 0x01020304, 0, nullptr};
        EXPECT_EQ(Ask(ZEL_CALENDAR_READ, &record, replyId, reply), ZEL_OK);
        EXPECT_EQ(record.location, 0x01020304u);
        EXPECT_NE(record.fields, nullptr) << "also for no fields";
        Fields read;
        for (std::int32_t i = 0; i < record.count; ++i)
            read.push_back(Describe(record.fields[i]));
        FreeReceived(ZEL_CALENDAR_READ, &record);
        return read;
    }

    /// The same; every fault of the reply is survived.
    Fields ReadWithFaults(std::uint8_t replyId, const Bytes& reply)
    {
        const CalendarEntryRecord record = {};
        Survives(ZEL_CALENDAR_READ, &record, replyId, reply);
        return Read(replyId, reply);
    }

    BSTR BStr(std::u16string_view units) { return m_texts.emplace_back(MakeText(units)).get(); }

    std::uint32_t Write(std::vector<Field> list, const Answers& answers)
    {
        m_fields = std::move(list);
        m_written = {0, 0x55, static_cast<std::int32_t>(m_fields.size()), m_fields.data()};
        return Run(ZEL_CALENDAR_WRITE, &m_written, answers);
    }
    Bytes Sent(std::size_t first, std::size_t end) const { return BytesAt(&m_phone.Last().body[first], end - first); }
    using HandlerFixture::Sent;

    std::vector<CBStrOwner> m_texts;
    // Of the last write.
    std::vector<Field> m_fields;
    CalendarEntryRecord m_written = {};
};

TEST_F(CalendarHandlerTest, RefusesBadRequestsBeforeTheyAreSent)
{
    ExpectNotHandled({ZEL_CALENDAR_LIST - 1, ZEL_CALENDAR_SUMMARY + 1});
    ExpectNoIndications(ZEL_CALENDAR_LIST);
    for (std::uint32_t id = ZEL_CALENDAR_LIST; id <= ZEL_CALENDAR_SUMMARY; ++id)
        ExpectBadRecordsRefused(m_handler, id);
    Field field(ZEL_CALENDAR_LOCATION, 9);
    for (const std::int32_t count : {0, -1})
        ExpectRefused(ZEL_CALENDAR_WRITE, CalendarEntryRecord{0, 0, count, &field}, ZEL_E_ARGUMENT);
    for (void* fields : {static_cast<void*>(nullptr), kUnreadable})
        ExpectRefused(ZEL_CALENDAR_WRITE, CalendarEntryRecord{0, 0, 1, static_cast<CalendarField*>(fields)},
                      ZEL_E_ARGUMENT);
    for (const std::uint8_t mode : Bytes{2, 3})
        ExpectRefused(ZEL_CALENDAR_LIST, CalendarListRecord{0, 4, mode, 77, nullptr}, ZEL_E_VERSION);
}

TEST_F(CalendarHandlerTest, RepliesWithoutDataLeaveTheRecord)
{
    const CalendarEntryRecord entry = {1, 2, 77, nullptr};
    ExpectUnanswered(ZEL_CALENDAR_READ, entry);
    ExpectUnanswered(ZEL_CALENDAR_LIST, CalendarListRecord{1, 2, 0, 77, nullptr});
    ExpectUnanswered(ZEL_CALENDAR_QUERY, CalendarLocationRecord{1, 2});
    ExpectUnanswered(ZEL_CALENDAR_KIND_OPERATION, CalendarKindRecord{1, 2, {}});
    const Bytes otherEntry = Block(0x0002, {0, 0, 0, 1, 1, 1, 0, 8, 0, 0});
    ExpectOutcomes(ZEL_CALENDAR_READ, entry,
                   {{0xB6, {}, ZEL_OK},
                    {0xB6, {0x00, 0x00}, ZEL_OK},
                    {0xB6, {0x00, 0x01, 0x00, 0x01, 0x00, 0x04}, ZEL_OK},  // a sub-block without payload
                    {0xB6, Bytes{0, 1} + otherEntry, ZEL_OK},
                    {0xB6, Bytes{0x05} + EntryBody(0, {}), kRefused | 5}});
    m_phone.SetVersion(kCalendar, 3, 0);
    ExpectUnanswered(ZEL_CALENDAR_READ, entry);
    ExpectOutcomes(ZEL_CALENDAR_READ, entry, {{0x7E, {0x06, 0x01}, kRefused | 6}});
}

TEST_F(CalendarHandlerTest, ReadsAndNewWritesReturnWhatTheTimeParametersThrow)
{
    m_phone.ThrowForTimeParameters(ZEL_E_NO_SERVICE);
    for (const std::uint8_t minor : Bytes{0, 1})
    {
        m_phone.SetVersion(kCalendar, 3, minor);
        EXPECT_EQ(Run(ZEL_CALENDAR_READ, &m_written, {}), ZEL_E_NO_SERVICE);
    }
    EXPECT_TRUE(m_phone.Requests().empty());
    EXPECT_EQ(Write({{ZEL_CALENDAR_LOCATION, 9}}, {{0x99, {0}}}), ZEL_E_NO_SERVICE);
    m_phone.SetVersion(kCalendar, 3, 0);
    EXPECT_EQ(Write({{ZEL_CALENDAR_LOCATION, 9}}, {{0x99, {0}}, {0x66, {0}}}), ZEL_OK) << "old writes do not ask";
}

// ---- List

TEST_F(CalendarHandlerTest, ListSendsSelectorAndMode)
{
    const std::tuple<std::uint16_t, std::uint8_t, Bytes, std::uint8_t> cases[] = {
        {0x0102, 0, {0x01, 0x02}, 0}, {3, 1, {0x00, 0x04}, 0}, {4, 1, {0x00, 0x08}, 0}, {5, 1, {0x02, 0x00}, 0},
        {6, 1, {0x00, 0x06}, 0},      {4, 2, {0xFF, 0xFF}, 1}, {4, 3, {0xFF, 0xFF}, 2}, {4, 4, {0x00, 0x04}, 4},
    };
    m_phone.SetVersion(kCalendar, 1, 0);
    for (const auto& [selector, mode, sentSelector, sentMode] : cases)
    {
        CalendarListRecord record = {0, selector, mode, 77, static_cast<std::uint32_t*>(kUnreadable)};
        EXPECT_EQ(Ask(ZEL_CALENDAR_LIST, &record, 0x9F, {0x00, 0x07}), ZEL_CALENDAR_LAST_PART);
        EXPECT_TRUE(Sent(0x9E, sentSelector + Bytes{0, 0, 0, 0, sentMode}));
        EXPECT_EQ(std::tie(record.selector, record.mode, record.count), std::make_tuple(selector, sentMode, 0u));
        EXPECT_EQ(record.locations, nullptr);
    }
}

TEST_F(CalendarHandlerTest, ListAsksUntilTheLastPartOrUntilThePhoneRepeatsItself)
{
    using Locations = std::vector<std::uint32_t>;
    const auto part = [](std::uint8_t status, const Locations& locations) {
        Bytes body = {static_cast<std::uint8_t>(locations.size()), status, 0xDE, 0xAD, 0xBE, 0xEF};
        for (const std::uint32_t location : locations)
            for (const std::uint8_t value : Word(location >> 16) + Word(location & 0xFFFF))
                body.push_back(value);
        return Answers{{0x9F, body}};
    };
    const auto times = [](unsigned count, const auto& list) {
        auto all = list;
        for (unsigned i = 1; i < count; ++i)
            all = all + list;
        return all;
    };
    const Answers none = {{0x9F, {0, 0}}};
    const Answers last = {{0x9F, {0, 7}}};
    const Answers other = {{0x9E, {1, 0, 0, 0, 0, 0, 0, 0, 0, 5}}};
    const Answers cut = {{0x9F, {2, 7, 0, 0, 0, 0, 0, 0, 0, 5, 6}}};
    const Answers turn = part(0, {4}) + part(0, {5});
    const Answers newLast = part(0, {0, 4});
    const std::tuple<const char*, Answers, std::uint32_t, Locations> cases[] = {
        {"an empty last part", part(0, {4}) + last, ZEL_OK, {4}},
        {"nothing, then something", none + none + part(7, {4}), ZEL_OK, {4}},
        {"nothing, then another reply", none + other, ZEL_OK, {}},
        {"another reply", part(0, {4}) + other, ZEL_OK, {4}},
        {"refusal", part(5, {4}), kRefused | 5, {}},
        {"refusal later", part(0, {4}) + part(0x80, {5}), kRefused | 0x80, {}},
        {"failure later", part(0, {4}) + Answers{{0, {}}}, kSendFailure, {}},
        {"always nothing", times(32, none), ZEL_OK, {}},
        {"nothing, and the last part just in time", times(31, none) + last, ZEL_CALENDAR_LAST_PART, {}},
        {"nothing more", part(0, {4}) + times(32, none), ZEL_OK, {4}},
        {"the location it started from", times(32, part(0, {0})), ZEL_OK, Locations(32)},
        {"the same part again", times(33, part(0, {4})), ZEL_OK, Locations(33, 4)},
        {"two parts in turn", times(17, turn), ZEL_OK, times(17, Locations{4, 5})},
        {"new ones before the last", part(0, {4}) + times(32, part(0, {9, 4})), ZEL_OK,
         Locations{4} + times(32, Locations{9, 4})},
        {"a new last one between", times(31, none) + newLast + times(31, none) + part(7, {5}), ZEL_OK, {0, 4, 5}},
        {"two parts", part(0, {10, 11, 0x01020304}) + cut, ZEL_OK, {10, 11, 0x01020304, 5, 0x06000000}},
    };
    for (const auto& [name, answers, expected, locations] : cases)
    {
        SCOPED_TRACE(name);
        m_phone = FakeSender();
        CalendarListRecord record = {0, 0xFFFF, 0, 0, nullptr};
        EXPECT_EQ(Run(ZEL_CALENDAR_LIST, &record, answers), expected);
        EXPECT_EQ(Locations(record.locations, record.locations + record.count), locations);
        EXPECT_EQ(m_phone.Requests().size(), answers.size());
        FreeReceived(ZEL_CALENDAR_LIST, &record);
    }
    EXPECT_TRUE(SameRequest(m_phone.Requests()[0], kCalendar, 0x9E, {0xFF, 0xFF, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(Sent(0x9E, {0xFF, 0xFF, 1, 2, 3, 4, 0}));

    // 65,534 locations, each of its own, and one more.
    for (std::uint32_t i = 0; i < 257; ++i)
    {
        Locations locations(i == 0 ? 254 : 255);
        std::iota(locations.begin(), locations.end(), 255 * i + 1);
        m_phone.Reply(0x9F, part(0, locations)[0].second);
    }
    CalendarListRecord record = {0, 0xFFFF, 0, 0, nullptr};
    EXPECT_EQ(Run(ZEL_CALENDAR_LIST, &record, part(0, {0x01020304})), ZEL_OK);
    ASSERT_EQ(record.count, 65535u);
    EXPECT_EQ(std::tie(record.locations[65533], record.locations[65534]), std::make_tuple(255 * 257u, 0x01020304u));
    FreeReceived(ZEL_CALENDAR_LIST, &record);

    Survives(ZEL_CALENDAR_LIST, &record, {{0x9F, part(0, {10, 11, 0x01020304})[0].second}, {0x9F, cut[0].second}},
             {ZEL_CALENDAR_LAST_PART});
}

// ---- Read

TEST_F(CalendarHandlerTest, TheVersionChoosesTheFormat)
{
    const std::tuple<std::uint8_t, std::uint8_t, bool> versions[] = {{0, 0, false}, {2, 255, false}, {3, 0, false},
                                                                     {3, 1, true},  {3, 7, true},    {4, 0, true}};
    for (const auto& [major, minor, isNew] : versions)
    {
        m_phone = FakeSender();
        if (major != 0)
            m_phone.SetVersion(kCalendar, major, minor);
        m_written.location = 0x01020304;
        EXPECT_EQ(Ask(ZEL_CALENDAR_READ, &m_written, kOtherReply, {}), ZEL_OK);
        EXPECT_TRUE(isNew ? Sent(0xB5, {0, 1, 0x01, 0x01, 0, 8, 1, 2, 3, 4})
                          : Sent(0x7D, {0, 0, 1, 2, 3, 4, 0xFF, 0xFF, 0xFF, 0xFF}));
        EXPECT_EQ(Write({{ZEL_CALENDAR_LOCATION, 9}}, {{0x99, {0}}, {kOtherReply, {}}}), ZEL_OK);
        EXPECT_EQ(m_phone.Last().id, isNew ? 0xB7 : 0x65);
    }
}

TEST_F(CalendarHandlerTest, ReadsAnEntryInTheNewFormat)
{
    const Bytes reply = {0x07,                                            // status: a success too
                         0x01,                                            // one sub-block
                         0x00, 0x01, 0x00, 0x4C, 0xEE, 0xEE, 0xEE, 0x07,  // entry of 76 bytes with 7 fields
                         0x01, 0x01, 0x00, 0x08, 0x01, 0x02, 0x03, 0x04,  // location
                         0x01, 0x06, 0x00, 0x08, 0x00, 0x00, 0x00, 0x05,  // an id without a type
                         0x02, 0x01, 0x00, 0x0C, 0x00, 0x02, 0x00, 0x48,  // text of two units
                         0x20, 0xAC, 0x00, 0x00,                          //
                         0x02, 0x02, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00,  // empty text that may be missing
                         0x02, 0x03, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00,  // empty text
                         0x03, 0x05, 0x00, 0x0C, 0x07, 0xE8, 0x05, 0x0F,  // 2024-05-15
                         0x0A, 0x1E, 0x2D, 0x00,                          // 10:30:45
                         0x01, 0x0C, 0x00, 0x0C, 0xFF, 0x00, 0x00, 0x01,  // number, with more behind it
                         0x99, 0x99, 0x99, 0x99};
    EXPECT_EQ(ReadWithFaults(0xB6, reply), (Fields{"101: 1020304", "0: 0", "201: 48 20ac", "202: null",
                                                   "203:", "305: 2024-5-15 10:30:45 +0 +0", "10c: ff000001"}));
}

TEST_F(CalendarHandlerTest, EveryFieldHasItsTypeInBothDirections)
{
    std::vector<unsigned> ids = {0x0001, 0xFFFF};
    for (unsigned id = 0x0100; id <= 0x0310; id += id % 0x100 == 0x10 ? 0xF0 : 1)
        ids.push_back(id);
    // Read as a number, a text of four zero units, and a date that does not exist: each leaves another value.
    const Bytes payload = {0, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (const unsigned wideId : ids)
    {
        SCOPED_TRACE(wideId);
        const auto id = static_cast<std::uint16_t>(wideId);
        const bool isNumber = id >= ZEL_CALENDAR_LOCATION && id <= ZEL_CALENDAR_NUMBER_12 && id != 0x0106;
        const bool isText = id >= ZEL_CALENDAR_TEXT_1 && id <= ZEL_CALENDAR_TEXT_4;
        const bool isDate = id >= ZEL_CALENDAR_DATE_1 && id <= ZEL_CALENDAR_DATE_5;
        Field field(isNumber || isText || isDate ? id : std::uint16_t{0}, isNumber ? 0x00040000u : 0u);
        if (isText)
            field.value.text = BStr(std::u16string(4, u'\0'));
        else if (isDate)
            field.value.date = {};
        field.base_offset = field.extra_offset = 0;
        EXPECT_EQ(Read(0xB6, EntryBody(1, Block(id, payload))), Fields{Describe(field)});

        field.id = id;
        EXPECT_EQ(Write({field, {ZEL_CALENDAR_LOCATION, 0x00040000}}, {{0x99, {0}}, {0xB8, {0}}}), ZEL_OK);
        const std::size_t size = isNumber ? 4 : isText ? 12 : isDate ? 8 : 0;
        EXPECT_EQ(m_phone.Last().body.size(), 10 + 4 + size + 8);
        EXPECT_TRUE(isDate || SameBytes(Block(id, BytesAt(payload.data(), size)), Sent(10, 14 + size)));
    }
}

TEST_F(CalendarHandlerTest, TakesTheFieldsThatAnEntryHas)
{
    const auto kind = [](std::uint8_t value, std::uint8_t high = 0) {
        return Block(ZEL_CALENDAR_ENTRY_KIND, {0, 0, high, value});
    };
    const auto code = [](std::uint8_t value) { return NumberBlock(ZEL_CALENDAR_KIND_CODE, value); };
    const Bytes location = NumberBlock(ZEL_CALENDAR_LOCATION, 1);
    // Of the fields only the first ones; further ones are empty.
    const std::tuple<const char*, std::uint8_t, Bytes, Fields> cases[] = {
        {"kind 3 without a code", 1, kind(3), {"102: 3", "103: 1"}},
        {"kind 3 with code 0", 2, kind(3) + code(0), {"102: 3", "103: 0", "103: 1"}},
        {"kind 3 with a code", 2, kind(3) + code(5), {"102: 3", "103: 5"}},
        {"a code, then kind 3", 2, code(5) + kind(3), {"103: 5", "102: 3"}},
        {"kind 2", 1, kind(2), {"102: 2"}},
        {"kind 0x103", 1, kind(3, 1), {"102: 103"}},
        {"no fields", 0, {}, {}},
        {"fewer fields than counted", 255, location, {"101: 1"}},
        {"no payload ends the walk", 3, kind(4) + Block(ZEL_CALENDAR_LOCATION, {}) + code(1), {"102: 4"}},
        {"a text longer than its sub-block", 1, Block(ZEL_CALENDAR_TEXT_1, {0, 3, 0, 'a'}), {"201: 61 0 0"}},
        {"a length of 0 does not move on", 2, {1, 1, 0, 0, 0, 0, 0, 1}, {"101: 1", "101: 1"}},
    };
    for (const auto& [name, count, blocks, first] : cases)
    {
        SCOPED_TRACE(name);
        Fields expected = first;
        expected.resize(std::max<std::size_t>(count, expected.size()), "0: 0");
        EXPECT_EQ(ReadWithFaults(0xB6, EntryBody(count, blocks)), expected);
    }
}

TEST_F(CalendarHandlerTest, ReadsAnEntryInTheOldFormat)
{
    m_phone.SetVersion(kCalendar, 3, 0);
    const std::pair<Bytes, Fields> tails[] = {
        {{0x00, 0xEE, 0xEE, 0, 0, 0, 0, 0, 0xEE, 0xEE}, {}},
        {{0x05, 0xEE, 0xEE, 0, 4, 0, 0x0B, 0x0C, 0xEE}, {"104: 4", "10b: b", "10c: c"}},
        {{0x00, 0xEE, 0xEE, 0, 0, 0, 0x0B, 0, 0xEE}, {"10b: b"}},
    };
    for (const auto& [tail, more] : tails)
    {
        const Fields numbers = {"101: 1020304", "102: 2", "103: 4", "107: 4", "108: 3", "105: a0b0c0d", "109: 9"};
        const Fields dates = {"301: 2024-5-15 10:30:0 +0 +0", "302: 2025-12-31 23:59:0 +0 +0"};
        EXPECT_EQ(ReadWithFaults(0x7E, OldReply(0x01, 0x0008, 24, 0x20) + tail), numbers + dates + more);
    }
}

TEST_F(CalendarHandlerTest, TheOldFormatTranslatesNumbers)
{
    m_phone.SetVersion(kCalendar, 3, 0);
    using Code = std::pair<std::uint16_t, std::uint32_t>;
    // Kind, kind code, interval and alarm: on the wire, and in the record.
    const std::tuple<Code, Code, Code, Code> entries[] = {
        {{0, 1}, {0x0004, 3}, {24, 4}, {0x10, 5}},
        {{1, 2}, {0x0008, 4}, {168, 3}, {0x20, 3}},
        {{4, 4}, {0x0200, 5}, {0xFFFE, 2}, {0x30, 1}},
        {{0, 1}, {6, 6}, {0xFFFF, 1}, {0x11, 0x11}},
        {{255, 255}, {0xFFFF, 0xFFFF}, {25, 25}, {255, 255}},
        {{0, 1}, {0, 0}, {0, 0}, {0, 0}},
    };
    const auto numbers = [](const Fields& fields) { return Fields(fields.begin() + 1, fields.end() - 4); };
    const Answers written = {{0x99, {0}}, {0x66, {0}}};
    for (const auto& [kind, code, interval, alarm] : entries)
    {
        const Bytes reply = OldReply(static_cast<std::uint8_t>(kind.first), code.first, interval.first,
                                     static_cast<std::uint8_t>(alarm.first));
        std::vector<Field> list = {{ZEL_CALENDAR_ENTRY_KIND, kind.second},
                                   {ZEL_CALENDAR_KIND_CODE, code.second},
                                   {ZEL_CALENDAR_INTERVAL, interval.second},
                                   {ZEL_CALENDAR_ALARM, alarm.second}};
        Fields expected;
        std::ranges::transform(list, std::back_inserter(expected), &Describe);
        EXPECT_EQ(numbers(Read(0x7E, reply)), expected);
        list.emplace_back(ZEL_CALENDAR_LOCATION, 9);
        EXPECT_EQ(Write(list, written), ZEL_OK);
        EXPECT_TRUE(SameBytes(Bytes{reply[1]}, Sent(0, 1)));
        EXPECT_TRUE(SameBytes(Word(code.first) + Bytes(12) + Word(interval.first) + Bytes{0, 0, reply[40]} + Bytes(17),
                              Sent(26, m_phone.Last().body.size())));
    }
    // A fortnight reads like a week; a kind code of kind 3 is left out, also of one that is not translated.
    EXPECT_EQ(numbers(Read(0x7E, OldReply(2, 4, 336, 0))), (Fields{"102: 3", "107: 3", "108: 0"}));
    EXPECT_EQ(numbers(Read(0x7E, OldReply(3, 4, 0, 0))), (Fields{"102: 3", "107: 0", "108: 0"}));
    // Fields that are missing are 0.
    EXPECT_EQ(Write({{ZEL_CALENDAR_LOCATION, 9}}, written), ZEL_OK);
    const Bytes head = {0, 0, 0, 0, 0, 9, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_TRUE(SameBytes(head + Bytes(40), m_phone.Last().body));
}

// ---- Write

TEST_F(CalendarHandlerTest, WritesAnEntryInTheNewFormat)
{
    const auto unreadable = static_cast<BSTR>(kUnreadable);
    const std::vector<Field> list = {{ZEL_CALENDAR_ENTRY_KIND, 2},
                                     {ZEL_CALENDAR_LOCATION, 0x01020304},
                                     {ZEL_CALENDAR_TEXT_1, BStr(u"A\u0394")},
                                     {ZEL_CALENDAR_TEXT_2, BStr(u"")},
                                     {ZEL_CALENDAR_TEXT_3, nullptr},
                                     {0x0106, 7},
                                     {ZEL_CALENDAR_TEXT_4, unreadable},
                                     {ZEL_CALENDAR_DATE_1, {2024, 5, 15, 10, 30, 45}}};
    const Bytes located = {0x00, 0x01, 0x01, 0x01, 0x00, 0x08, 0x0A, 0x0B, 0x0C, 0x0D};
    EXPECT_EQ(Write(list, {{0x99, {0x00, 0x01, 0, 0, 0, 9}}, {0xB8, located}}), ZEL_OK);
    EXPECT_EQ(std::tie(m_written.location, m_written.count), std::make_tuple(0x0A0B0C0Du, 8));

    ASSERT_EQ(m_phone.Requests().size(), 2u);
    EXPECT_TRUE(SameRequest(m_phone.Requests()[0], kCalendar, 0x98, {0, 0, 1, 2, 3, 4}));
    EXPECT_TRUE(Sent(0xB7, {0x00, 0x01,                                      // one sub-block
                            0x00, 0x01, 0x00, 0x48, 0x00, 0x00, 0x00, 0x08,  // entry of 72 bytes with 8 fields
                            0x01, 0x02, 0x00, 0x08, 0x00, 0x00, 0x00, 0x02,  // entry kind, as it stands
                            0x01, 0x01, 0x00, 0x08, 0x01, 0x02, 0x03, 0x04,  //
                            0x02, 0x01, 0x00, 0x0C, 0x00, 0x02, 0x00, 0x41, 0x03, 0x94, 0x00, 0x00,
                            0x02, 0x02, 0x00, 0x04,                          // an empty text of this id has no value
                            0x02, 0x03, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00,  //
                            0x01, 0x06, 0x00, 0x04,                          //
                            0x02, 0x04, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00,  //
                            0x03, 0x01, 0x00, 0x0C, 0x07, 0xE8, 0x05, 0x0F, 0x0A, 0x1E, 0x2D, 0x00}));
    Survives(ZEL_CALENDAR_WRITE, &m_written, {{0x99, {0, 1, 0, 0, 0, 9}}, {0xB8, located}});
}

TEST_F(CalendarHandlerTest, EmptyElementsLowerTheCountAndStay)
{
    const std::vector<Field> list = {{ZEL_CALENDAR_LOCATION, 9}, {0, 1}, {ZEL_CALENDAR_NUMBER_4, 2}, {0, 3}};
    EXPECT_EQ(Write(list, {{0x99, {0}}, {0, {}}}), kSendFailure);
    EXPECT_EQ(std::tie(m_written.count, m_fields[1].id, m_fields[2].id), std::make_tuple(2, 0, ZEL_CALENDAR_NUMBER_4));
    const Bytes first = NumberBlock(ZEL_CALENDAR_LOCATION, 9);
    EXPECT_TRUE(SameBytes(EntryBody(2, first + Block(0, {}), 0), m_phone.Last().body));

    EXPECT_EQ(Write({{0, 1}}, {{0x96, {0}}, {0xB8, {0}}}), ZEL_OK);
    EXPECT_EQ(m_written.count, 0);
    EXPECT_TRUE(SameBytes(EntryBody(0, {}, 0), m_phone.Last().body));
}

TEST_F(CalendarHandlerTest, ANewEntryGetsItsLocationFromThePhone)
{
    // The last kind counts, and its low byte only.
    const std::pair<std::uint32_t, std::uint8_t> kinds[] = {{1, 0}, {2, 1}, {0x103, 2}, {4, 4}, {0, 0}};
    for (const auto& [kind, sent] : kinds)
    {
        const std::vector<Field> list = {{ZEL_CALENDAR_LOCATION, 5},
                                         {ZEL_CALENDAR_ENTRY_KIND, 9},
                                         {ZEL_CALENDAR_ENTRY_KIND, kind},
                                         {ZEL_CALENDAR_LOCATION, 0u}};
        const Bytes created = {0x00, 0xEE, 0x01, 0x02, 0x03, 0x04, 0, 0, 0, 1};
        const Bytes unlocated = Bytes{0, 1} + Block(ZEL_CALENDAR_ENTRY_KIND, {1, 1, 1, 1});
        EXPECT_EQ(Write(list, {{0x96, created}, {0xB8, unlocated}}), ZEL_OK);
        EXPECT_TRUE(SameRequest(m_phone.Requests()[m_phone.Requests().size() - 2], kCalendar, 0x95, {sent}));
        EXPECT_EQ(m_phone.Last().id, 0xB7);
        EXPECT_TRUE(SameBytes(Block(ZEL_CALENDAR_LOCATION, {1, 2, 3, 4}), Sent(10, 18)));
        EXPECT_EQ(std::tie(m_fields[0].value.number, m_fields[3].value.number),
                  std::make_tuple(0x01020304u, 0x01020304u));
        EXPECT_EQ(m_written.location, 0x55u) << "the reply names no location";
    }
}

TEST_F(CalendarHandlerTest, EachExchangeOfAWriteCanEndIt)
{
    for (const std::uint8_t minor : Bytes{0, 1})
        for (const std::uint8_t location : Bytes{0, 9})
        {
            const std::uint8_t first = location == 0 ? 0x96 : 0x99;
            const std::uint8_t second = minor == 0 ? 0x66 : 0xB8;
            const std::vector<Field> list = {{ZEL_CALENDAR_LOCATION, location}};
            m_phone = FakeSender();
            m_phone.SetVersion(kCalendar, 3, minor);
            EXPECT_EQ(Write(list, {{0, {}}}), kSendFailure);
            EXPECT_EQ(Write(list, {{first, {0x21}}}), kRefused | 0x21);
            EXPECT_EQ(Write(list, {{kOtherReply, {0x21, 0, 0, 0, 0, 1}}, {second, {0x22}}}), kRefused | 0x22);
            EXPECT_EQ(m_fields[0].value.number, location) << "another reply is not read";
            EXPECT_EQ(Write(list, {{first, {7, 0, 0, 0, 0, location}}, {second, {7, 0}}}), ZEL_OK) << "7 is a success";
            EXPECT_EQ(Write(list, {{first, {0, 0, 0, 0, 0, location}}, {0, {}}}), kSendFailure);
            EXPECT_EQ(m_phone.Requests().size(), 8u);
        }
}

TEST_F(CalendarHandlerTest, WhatAMessageCannotHoldIsRefusedBeforeThePhoneMakesRoomForIt)
{
    // With a location and without: neither is announced, nor is an entry made.
    for (const std::uint32_t location : {0u, 9u})
    {
        const Answers answers = {{location == 0 ? std::uint8_t{0x96} : std::uint8_t{0x99}, {0}}, {0xB8, {0}}};
        std::vector<Field> list(257, {ZEL_CALENDAR_NUMBER_4, 1});
        list[0] = {ZEL_CALENDAR_LOCATION, location};
        list.back().id = 0;
        EXPECT_EQ(Write(list, {}), ZEL_E_ARGUMENT);
        EXPECT_EQ(m_written.count, 257);
        list.pop_back();
        EXPECT_EQ(Write(list, {}), ZEL_E_ARGUMENT);
        list.back().id = 0;
        ASSERT_EQ(Write(list, answers), ZEL_OK);
        EXPECT_EQ(m_phone.Last().body[9], 255);

        // In all 65532 bytes: two headers of 4, the 4 before the fields, location 8, length of the text 2, text 65510.
        list = {list[0], {ZEL_CALENDAR_TEXT_1, BStr(std::u16string(32755, u'x'))}};
        EXPECT_EQ(Write(list, answers), ZEL_OK);
        EXPECT_TRUE(SameBytes({0x00, 0x01, 0xFF, 0xFC}, Sent(2, 6)));
        for (const std::size_t length : {32756u, 32764u, 65536u})
        {
            list[1].value.text = BStr(std::u16string(length, u'x'));
            EXPECT_EQ(Write(list, {}), ZEL_E_ARGUMENT);
        }
    }
    EXPECT_EQ(m_phone.Requests().size(), 8u);
}

TEST_F(CalendarHandlerTest, WritesAnEntryInTheOldFormat)
{
    m_phone.SetVersion(kCalendar, 3, 0);
    std::vector<Field> list = {{ZEL_CALENDAR_TEXT_3, BStr(u"D")},
                               {ZEL_CALENDAR_TEXT_2, BStr(u"C")},
                               {ZEL_CALENDAR_TEXT_4, BStr(u"EF")},
                               {ZEL_CALENDAR_TEXT_1, BStr(u"AB")}};
    const Field dates[] = {{ZEL_CALENDAR_DATE_1, {2024, 5, 15, 10, 30, 45}},
                           {ZEL_CALENDAR_DATE_2, {2025, 12, 31, 23, 59, 0}}};
    const std::pair<unsigned, unsigned> numbers[] = {
        {ZEL_CALENDAR_ENTRY_KIND, 3},        {ZEL_CALENDAR_KIND_CODE, 4},     {ZEL_CALENDAR_NUMBER_4, 0x10A},
        {ZEL_CALENDAR_NUMBER_5, 0x01020304}, {ZEL_CALENDAR_INTERVAL, 4},      {ZEL_CALENDAR_ALARM, 3},
        {ZEL_CALENDAR_NUMBER_9, 0x109},      {ZEL_CALENDAR_NUMBER_11, 0x10B}, {0, 0},
        {ZEL_CALENDAR_NUMBER_12, 0x1C}};
    list.insert(list.end(), std::begin(dates), std::end(dates));
    for (const auto& [id, number] : numbers)
        list.emplace_back(static_cast<std::uint16_t>(id), number);
    const Answers answers = {{0x96, {0, 0, 0x00, 0x00, 0x01, 0x23}}, {0x66, {0}}};
    EXPECT_EQ(Write(list, answers), ZEL_OK);
    EXPECT_EQ(m_written.count, 16) << "only the new format lowers it";
    EXPECT_EQ(m_written.location, 0x55u);
    const Bytes head = {0x02, 0x00, 0x00, 0x00, 0x01, 0x23,              // kind, the new location
                        0x00, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF,  //
                        0x00, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF,  //
                        0x01, 0x02, 0x03, 0x04, 0x00, 0x08,              // number 5, kind code
                        0x07, 0xE8, 0x05, 0x0F, 0x0A, 0x1E,              // first date
                        0x07, 0xE9, 0x0C, 0x1F, 0x17, 0x3B,              // second date
                        0x00, 0x18, 0x01, 0x09, 0x20,                    // interval, number 9, alarm
                        0x00, 0x00, 0x00, 0x01, 0x0A, 0x01, 0x0B,        // numbers 4 and 11
                        0x1C, 0x00};                                     // number 12
    const Bytes texts1to3 = {0, 2, 0, 1, 1, 0, 0, 0, 0, 'A', 0, 'B', 0, 'C', 0, 'D'};
    EXPECT_TRUE(Sent(0x65, head + texts1to3));
    Survives(ZEL_CALENDAR_WRITE, &m_written, {{0x96, {0, 0, 0, 0, 1, 0x23}}, {0x66, {0}}});

    list[0] = {ZEL_CALENDAR_TEXT_3, BStr(u"")};
    list[1].value.text = nullptr;
    EXPECT_EQ(Write(list, answers), ZEL_OK);
    const Bytes texts1and4 = {0, 2, 0, 0, 2, 0, 0, 0, 0, 'A', 0, 'B', 0, 'E', 0, 'F'};
    EXPECT_TRUE(SameBytes(head + texts1and4, m_phone.Last().body))
        << "the fourth text stands in for an empty third one";

    const std::u16string text(256, u'x');
    list = {{ZEL_CALENDAR_TEXT_3, BStr(text)}, {ZEL_CALENDAR_TEXT_1, BStr(text)}};
    EXPECT_EQ(Write(list, answers), ZEL_OK);
    ASSERT_EQ(m_phone.Last().body.size(), 54u + 8 + 2 * (256 + 255));
    EXPECT_TRUE(SameBytes({1, 0, 0, 0, 255, 0, 0, 0}, Sent(54, 62))) << "a text is cut where its length ends";
}

#ifndef _WIN32
TEST_F(CalendarHandlerTest, DatesAreLocalInTheRecordAndUtcOnTheWire)
{
    const CCentralEuropeanZone zone;
    const Bytes summer = Block(ZEL_CALENDAR_DATE_1, {0x07, 0xE9, 7, 1, 22, 30, 5, 0});
    const Bytes winter = Block(ZEL_CALENDAR_DATE_2, {0x07, 0xE9, 12, 31, 23, 30, 6, 0});
    const Bytes none = Block(ZEL_CALENDAR_DATE_3, Bytes(8));
    EXPECT_EQ(Read(0xB6, EntryBody(2, summer + winter)),
              (Fields{"301: 2025-7-2 0:30:5 +60 +60", "302: 2026-1-1 0:30:6 +60 +0"}));
    EXPECT_EQ(Read(0xB6, EntryBody(1, none)).at(0).substr(0, 16), "303: 0-0-0 0:0:0");

    const std::vector<Field> list = {{ZEL_CALENDAR_DATE_1, {2025, 7, 2, 0, 30, 5}},
                                     {ZEL_CALENDAR_DATE_2, {2026, 1, 1, 0, 30, 6}},
                                     {ZEL_CALENDAR_DATE_3, CalendarDate{}},
                                     {ZEL_CALENDAR_LOCATION, 9}};
    EXPECT_EQ(Write(list, {{0x99, {0}}, {0xB8, {0}}}), ZEL_OK);
    EXPECT_EQ(m_fields[0].base_offset, 77) << "a write does not touch it";
    EXPECT_TRUE(SameBytes(summer + winter + none, Sent(10, 46)));

    m_phone.SetVersion(kCalendar, 3, 0);
    EXPECT_EQ(Write(list, {{0x99, {0}}, {0x66, {0}}}), ZEL_OK);
    EXPECT_TRUE(SameBytes({0x07, 0xE9, 7, 1, 22, 30, 0x07, 0xE9, 12, 31, 23, 30}, Sent(28, 40)));
    EXPECT_EQ(Read(0x7E, OldReply(0, 4, 24, 0)).at(7), "301: 2024-5-15 12:30:0 +60 +60");
}
#endif

// ---- Query, operation on a kind, summary

TEST_F(CalendarHandlerTest, QueryAnswersWithALocation)
{
    CalendarLocationRecord record = {0, 0x01020304};
    Survives(ZEL_CALENDAR_QUERY, &record, 0x70, {0x07, 0xEE, 0x0A, 0x0B, 0x0C, 0x0D});
    ExpectOutcomes(ZEL_CALENDAR_QUERY, record, {{0x70, {0x08, 0xEE, 1, 1, 1, 1}, kRefused | 8}});
    EXPECT_EQ(Ask(ZEL_CALENDAR_QUERY, &record, 0x70, {0x07, 0xEE, 0x0A, 0x0B, 0x0C, 0x0D, 0, 0, 0, 1}), ZEL_OK);
    EXPECT_TRUE(Sent(0x6F, {0, 0, 1, 2, 3, 4, 0, 0, 0, 0}));
    EXPECT_EQ(record.location, 0x0A0B0C0Du);
}

TEST_F(CalendarHandlerTest, KindOperationLowersTheKindOnTheWireOnly)
{
    const std::tuple<std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t, std::uint32_t> cases[] = {
        {0, 0, 0x90, 0, ZEL_OK},       {1, 0, 0x90, 0, ZEL_OK},     {2, 1, 0x90, 7, ZEL_OK},
        {3, 2, 0x90, 5, kRefused | 5}, {255, 255, 0x90, 0, ZEL_OK}, {4, 4, 0xA7, 5, ZEL_OK},  // not the reply
    };
    for (const auto& [kind, sent, replyId, status, expected] : cases)
    {
        ExpectOutcomes(ZEL_CALENDAR_KIND_OPERATION, CalendarKindRecord{0, kind, {}},
                       {{replyId, {status, 0, 0, 0, 0, 1}, expected}});
        EXPECT_TRUE(Sent(0xA6, {0xFF, 0xFF, 0, 0, 0, 0, sent}));
    }
}

TEST_F(CalendarHandlerTest, SummaryFillsItsWords)
{
    constexpr CalendarSummaryRecord kBefore = {9, 9, 9, 9, 9, 9, 9};
    const auto group = [](std::uint8_t number) { return NumberBlock(0x0102, number); };
    const auto counter = [](std::uint16_t id, std::uint8_t value) { return Block(id, {0, 0, 1, value}); };
    const auto item = [](std::uint8_t count, const Bytes& blocks) {
        return Bytes{0x00, 0x02, 0x00, 0x20, 0xEE, 0xEE, 0xEE, count} + blocks;
    };
    const Bytes all = counter(0x0111, 1) + counter(0x0112, 2) + counter(0x0113, 3) + counter(0x0114, 4);
    const Bytes all2 = item(5, group(2) + all);
    using Words = std::vector<std::uint32_t>;
    const Words group1 = {0, 0x101, 0x103, 0x104, 0x102, 0, 0};
    const Words group2 = {0, 0, 0, 0, 0, 0x101, 0};
    const std::tuple<const char*, std::uint8_t, Bytes, Words> cases[] = {
        {"group 1", 1, item(6, group(1) + Block(0x0103, {9, 9, 9, 9}) + all), group1},
        {"group last", 1, item(5, all + group(1)), group1},
        {"group 3", 2, all2 + item(2, group(3) + counter(0x0111, 7)), {0, 0, 0, 0, 0, 0x101, 0x107}},
        {"group 4", 2, all2 + item(5, group(4) + all), group2},
        {"counters start anew", 2, all2 + item(1, group(3)), group2},
        {"a later counter replaces", 2, item(2, group(2) + counter(0x0111, 9)) + all2, group2},
        {"a counter of 0 is not stored", 2, all2 + item(1, group(2)), group2},
        {"an item of length 0", 2, Bytes{0, 2, 0, 0} + all2, group2},
        {"another item has only its type read", 2, Bytes{0, 1} + all2, group2},
        {"and its content is the next item", 2, Bytes{0, 1, 0, 4} + all2, Words(7)},
        {"an unreadable sub-block", 1, item(3, group(2) + counter(0x0111, 1) + Bytes{1, 0x11, 0, 4}), group2},
        {"more than there is", 255, item(255, group(2) + counter(0x0111, 1)), group2},
    };
    for (const std::pair<std::uint8_t, std::uint8_t> version : {std::pair(2, 9), std::pair(3, 6)})
    {
        FakeSender old;
        ExpectRecordUntouched(m_handler, old, ZEL_CALENDAR_SUMMARY, kBefore, ZEL_NOT_SUPPORTED);
        old.SetVersion(kCalendar, version.first, version.second);
        ExpectRecordUntouched(m_handler, old, ZEL_CALENDAR_SUMMARY, kBefore, ZEL_NOT_SUPPORTED);
        EXPECT_TRUE(old.Requests().empty());
    }
    m_phone.SetVersion(kCalendar, 4, 0);
    ExpectUnanswered(ZEL_CALENDAR_SUMMARY, kBefore);
    m_phone.SetVersion(kCalendar, 3, 7);
    ExpectOutcomes(ZEL_CALENDAR_SUMMARY, kBefore,
                   {{0xBB, {0, 0}, ZEL_OK}, {0xBB, {5, 1}, kRefused | 5}, {0xBB, {7, 1}, kRefused | 7}});
    Survives(ZEL_CALENDAR_SUMMARY, &kBefore, 0xBB, Bytes{0x00, 1} + all2);
    for (const auto& [name, count, items, words] : cases)
    {
        CalendarSummaryRecord record = kBefore;
        EXPECT_EQ(Ask(ZEL_CALENDAR_SUMMARY, &record, 0xBB, Bytes{0x00, count} + items), ZEL_OK);
        EXPECT_TRUE(Sent(0xBA, {0, 0}));
        Words read(7);
        std::memcpy(read.data(), &record, sizeof record);
        EXPECT_EQ(read, words) << name;
    }
}

}  // namespace

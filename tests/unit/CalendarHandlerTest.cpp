#include "handlers/calendar/CalendarHandler.h"

#include "support/HandlerChecks.h"
#include "support/HostZone.h"
#include "support/Text.h"
#include "zelapi/calendar.h"

#include <sstream>
#include <tuple>
#include <utility>

namespace
{

constexpr std::uint8_t kCalendar = 0x13;
constexpr std::uint32_t kSendFailure = 0x80040155;
constexpr CalendarSummaryRecord kSummary = {1, 2, 3, 4, 5, 6, 7};

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

class CalendarHandlerTest : public testing::Test
{
  protected:
    /// Replies by their ids; with id 0 none comes, because the send fails.
    using Answers = std::vector<std::pair<std::uint8_t, Bytes>>;
    using Fields = std::vector<std::string>;
    using Locations = std::vector<std::uint32_t>;

    static Bytes Word(std::size_t value)
    {
        return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
    }
    /// A sub-block: u16 id, u16 length of it all, payload, zeros up to a multiple of 4.
    static Bytes Block(std::uint16_t id, Bytes payload)
    {
        payload.resize((payload.size() + 3) / 4 * 4);
        return Word(id) + Word(payload.size() + 4) + payload;
    }
    static Bytes NumberBlock(std::uint16_t id, std::uint8_t number) { return Block(id, {0, 0, 0, number}); }
    /// A body with an entry in the new format: a byte, one sub-block 0x0001 with `count` fields.
    static Bytes EntryBody(std::uint8_t count, const Bytes& fields, std::uint8_t unused = 0xEE)
    {
        return Bytes{0, 1} + Block(0x0001, Bytes{unused, unused, unused, count} + fields);
    }
    /// The reply 0x7E up to the alarm, with everything that is translated.
    static Bytes OldReply(std::uint8_t kind, unsigned kindCode, unsigned interval, std::uint8_t alarm)
    {
        return Bytes{0x00, kind, 0xE0, 0xE1, 0xE2, 0xE3} +  // status, kind, not used
               Bytes{0x01, 0x02, 0x03, 0x04, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA, 0xEB} +  // location, not used
               Bytes{0x0A, 0x0B, 0x0C, 0x0D} + Word(kindCode) +                                 // 0x0105
               Bytes{0x07, 0xE8, 0x05, 0x0F, 0x0A, 0x1E} +                                      // 2024-05-15 10:30
               Bytes{0x07, 0xE9, 0x0C, 0x1F, 0x17, 0x3B} +                                      // 2025-12-31 23:59
               Word(interval) + Bytes{0x00, 0x09, alarm};                                       // 0x0109
    }

    CalendarHandlerTest()
    {
        handler.SetResource(kCalendar);
        phone.SetVersion(kCalendar, 3, 1);
    }

    std::uint32_t Run(std::uint32_t messageId, void* record, const Answers& answers = {})
    {
        for (const auto& [id, body] : answers)
            id == 0 ? phone.Fail(kSendFailure) : phone.Reply(id, body);
        return handler.EncodeRequest(phone, messageId, record);
    }

    /// Lists every kind: the locations. `result` is the request's.
    Locations List(const Answers& answers)
    {
        CalendarListRecord record = {0, 0xFFFF, 0, 0, nullptr};
        result = Run(0x1301, &record, answers);
        const Locations locations(record.locations, record.locations + record.count);
        CoTaskMemFree(record.locations);
        return locations;
    }

    /// Reads an entry: its fields as text, or the result when it is not 0.
    Fields Read(std::uint8_t replyId, const Bytes& reply)
    {
        CalendarEntryRecord record = {0, 0x01020304, 0, nullptr};
        result = Run(0x1302, &record, {{replyId, reply}});
        EXPECT_EQ(record.location, 0x01020304u);
        hasArray = record.fields != nullptr;
        EXPECT_TRUE(hasArray || record.count == 0);
        if (result != 0)
            return {hasArray ? "fields of a failed read" : std::to_string(result)};
        Fields read;
        for (std::int32_t i = 0; i < record.count; ++i)
        {
            read.push_back(Describe(record.fields[i]));
            if (record.fields[i].id >> 8 == 0x02)
                SysFreeString(record.fields[i].value.text);
        }
        CoTaskMemFree(record.fields);
        return read;
    }

    BSTR BStr(std::u16string_view units) { return texts.emplace_back(MakeText(units)).get(); }

    std::uint32_t Write(std::vector<Field> list, const Answers& answers)
    {
        fields = std::move(list);
        written = {0, 0x55, static_cast<std::int32_t>(fields.size()), fields.data()};
        return Run(0x1303, &written, answers);
    }
    Bytes Sent(std::size_t first, std::size_t end) const { return BytesAt(&phone.Last().body[first], end - first); }

    CLeakCheck leaks;
    std::vector<CBStrOwner> texts;
    CCalendarHandler handler;
    FakeSender phone;
    std::uint32_t result = 0;
    bool hasArray = false;      // of the last read
    std::vector<Field> fields;  // of the last write
    CalendarEntryRecord written = {};
};

/// Tests with dates: they count on a PC that is set to UTC, as the native build and Wine are.
class CalendarDateTest : public CalendarHandlerTest
{
  protected:
    void SetUp() override
    {
        TIME_ZONE_INFORMATION zone = {};
        GetTimeZoneInformation(&zone);
        if (zone.Bias != 0 || zone.DaylightDate.wMonth != 0)
            GTEST_SKIP() << "not in UTC";
    }
};

TEST_F(CalendarHandlerTest, RefusesBadRequestsBeforeTheyAreSent)
{
    for (const std::uint32_t id : {0x1300u, 0x1307u, 0x1401u})
        EXPECT_EQ(Run(id, nullptr), 1u);
    for (std::uint32_t id = 0x1301; id <= 0x1306; ++id)
        ExpectBadRecordsRefused(handler, id);
    Field field(0x0101, 9);
    for (const std::int32_t count : {0, -1})
        ExpectRecordUntouched(handler, phone, 0x1303, CalendarEntryRecord{0, 0, count, &field}, 0x80100013);
    ExpectRecordUntouched(handler, phone, 0x1303, CalendarEntryRecord{0, 0, 1, nullptr}, 0x80100013);
    for (const std::uint8_t mode : Bytes{2, 3})
    {
        FakeSender unknown;
        ExpectRecordUntouched(handler, unknown, 0x1301, CalendarListRecord{0, 4, mode, 77, nullptr}, 0x80100023);
        ExpectRecordUntouched(handler, unknown, 0x1306, kSummary, 3);
    }
    ExpectRecordUntouched(handler, phone, 0x1306, kSummary, 3);
    phone.SetVersion(kCalendar, 2, 9);
    ExpectRecordUntouched(handler, phone, 0x1306, kSummary, 3);
    phone.SetVersion(kCalendar, 3, 6);
    ExpectRecordUntouched(handler, phone, 0x1306, kSummary, 3);

    CMessage message;
    void* record = nullptr;
    std::uint32_t id = 0;
    EXPECT_EQ(handler.DecodeMessage(message, id, record), 1u);
    EXPECT_EQ(handler.FreeDecodedData(0x1301, &id), 0x80100010u);
}

TEST_F(CalendarHandlerTest, RepliesWithoutDataLeaveTheRecord)
{
    const CalendarEntryRecord entry = {1, 2, 77, nullptr};
    ExpectUnansweredKept(handler, FakeSender(), 0x1302, entry);
    ExpectUnansweredKept(handler, phone, 0x1302, entry);
    phone.SetVersion(kCalendar, 4, 0);
    ExpectUnansweredKept(handler, phone, 0x1301, CalendarListRecord{1, 2, 0, 77, nullptr});
    ExpectUnansweredKept(handler, phone, 0x1304, CalendarLocationRecord{1, 2});
    ExpectUnansweredKept(handler, phone, 0x1305, CalendarKindRecord{1, 2, {}});
    ExpectUnansweredKept(handler, phone, 0x1306, kSummary);
    for (const std::uint8_t status : Bytes{0, 5, 7})
    {
        phone.Reply(0xBB, {status, 0});
        ExpectRecordUntouched(handler, phone, 0x1306, kSummary, status == 0 ? 0 : 0x1300u | status);
    }
    const std::pair<Bytes, std::uint32_t> replies[] = {
        {{}, 0},
        {{0x00, 0x00}, 0},
        {{0x00, 0x01, 0x00, 0x01, 0x00, 0x04}, 0},                         // a sub-block without payload
        {Bytes{0, 1} + Block(0x0002, {0, 0, 0, 1, 1, 1, 0, 8, 0, 0}), 0},  // another sub-block
        {Bytes{0x05} + EntryBody(0, {}), 0x1305},
    };
    for (const auto& [body, expected] : replies)
    {
        phone.Reply(0xB6, body);
        ExpectRecordUntouched(handler, phone, 0x1302, entry, expected);
    }
    phone.SetVersion(kCalendar, 3, 0);
    phone.Reply(0x7E, {0x06, 0x01});
    ExpectRecordUntouched(handler, phone, 0x1302, entry, 0x1306);
}

TEST_F(CalendarHandlerTest, ReadsAndNewWritesReturnWhatTheTimeParametersThrow)
{
    phone.ThrowForTimeParameters(0x80200001);
    EXPECT_EQ(Run(0x1302, &written), 0x80200001u);
    EXPECT_TRUE(phone.Requests().empty());
    EXPECT_EQ(Write({{0x0101, 9}}, {{0x99, {0}}}), 0x80200001u);
    phone.SetVersion(kCalendar, 3, 0);
    EXPECT_EQ(Run(0x1302, &written), 0x80200001u);
    EXPECT_EQ(Write({{0x0101, 9}}, {{0x99, {0}}, {0x66, {0}}}), 0u) << "old writes do not ask";
}

TEST_F(CalendarHandlerTest, FailedAllocationsLeaveNothing)
{
    FailEachAllocation([&] {
        const bool isEmpty = List({{0x9F, {1, 7, 0, 0, 0, 0, 0, 0, 0, 1}}}).empty();
        EXPECT_EQ(isEmpty, result != 0);
        return result;
    });
    const Bytes text = {0, 1, 0, 'a'};
    const Bytes entry = NumberBlock(0x0101, 1) + Block(0x0201, text) + Block(0x0202, text) + Block(0x0204, text);
    FailEachAllocation([&] { return Read(0xB6, EntryBody(4, entry)), result; });
    phone.SetVersion(kCalendar, 3, 0);
    FailEachAllocation([&] { return Read(0x7E, {0}), result; });
}

// ---- 0x1301

TEST_F(CalendarHandlerTest, ListSendsSelectorAndMode)
{
    const std::tuple<std::uint16_t, std::uint8_t, Bytes, std::uint8_t> cases[] = {
        {0x0102, 0, {0x01, 0x02}, 0}, {3, 1, {0x00, 0x04}, 0}, {4, 1, {0x00, 0x08}, 0}, {5, 1, {0x02, 0x00}, 0},
        {6, 1, {0x00, 0x06}, 0},      {4, 2, {0xFF, 0xFF}, 1}, {4, 3, {0xFF, 0xFF}, 2}, {4, 4, {0x00, 0x04}, 4},
    };
    phone.SetVersion(kCalendar, 1, 0);
    for (const auto& [selector, mode, sentSelector, sentMode] : cases)
    {
        CalendarListRecord record = {0, selector, mode, 77, static_cast<std::uint32_t*>(kUnreadable)};
        EXPECT_EQ(Run(0x1301, &record, {{0x9F, {0x00, 0x07}}}), 0x1307u);
        EXPECT_TRUE(SameRequest(phone.Last(), 0x13, 0x9E, sentSelector + Bytes{0, 0, 0, 0, sentMode}));
        EXPECT_EQ(std::tie(record.selector, record.mode, record.count), std::make_tuple(selector, sentMode, 0u));
        EXPECT_EQ(record.locations, nullptr);
    }
}

TEST_F(CalendarHandlerTest, ListAsksUntilTheLastPart)
{
    const Bytes first = {0x03, 0x00,              // three locations, more follow
                         0xDE, 0xAD, 0xBE, 0xEF,  // not used
                         0x00, 0x00, 0x00, 0x0A,  //
                         0x00, 0x00, 0x00, 0x0B,  //
                         0x01, 0x02, 0x03, 0x04};
    const Bytes last = {0x02, 0x07, 0xDE, 0xAD, 0xBE, 0xEF, 0x00, 0x00, 0x00, 0x05, 0x06};  // the end is missing
    const auto part = [](std::uint8_t status, std::uint8_t location, std::uint8_t id = 0x9F) {
        return std::pair(id, Bytes{1, status, 9, 9, 9, 9, 0, 0, 0, location});
    };
    const std::pair<std::uint8_t, Bytes> none = {0x9F, {0, 0}};
    const std::tuple<const char*, Answers, std::uint32_t, Locations> cases[] = {
        {"more announced, nothing sent", {none}, 0, {}},
        {"more announced, nothing new", {part(0, 4), none}, 0, {4}},
        {"the location it started from", {part(0, 0)}, 0, {0}},
        {"the same part again", {part(0, 4), part(0, 4)}, 0, {4, 4}},
        {"two parts in turn", {part(0, 4), part(0, 5), part(0, 4)}, 0, {4, 5, 4}},
        {"another reply", {part(0, 4), part(0, 5, 0x9E)}, 0, {4}},
        {"an empty last part", {part(0, 4), {0x9F, {0, 7}}}, 0, {4}},
        {"refusal", {part(5, 4)}, 0x1305, {}},
        {"refusal later", {part(0, 4), part(0x80, 5)}, 0x1380, {}},
        {"failure later", {part(0, 4), {0, {}}}, kSendFailure, {}},
        {"two parts", {{0x9F, first}, {0x9F, last}}, 0, {0x0A, 0x0B, 0x01020304, 5, 0x06000000}},
    };
    for (const auto& [name, answers, expected, locations] : cases)
    {
        SCOPED_TRACE(name);
        phone = FakeSender();
        EXPECT_EQ(List(answers), locations);
        EXPECT_EQ(result, expected);
        EXPECT_EQ(phone.Requests().size(), answers.size());
    }
    EXPECT_TRUE(SameRequest(phone.Requests()[0], 0x13, 0x9E, {0xFF, 0xFF, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(SameRequest(phone.Requests()[1], 0x13, 0x9E, {0xFF, 0xFF, 1, 2, 3, 4, 0}));
}

// ---- 0x1302

TEST_F(CalendarHandlerTest, TheVersionChoosesTheFormat)
{
    const std::tuple<std::uint8_t, std::uint8_t, bool> versions[] = {{0, 0, false}, {2, 255, false}, {3, 0, false},
                                                                     {3, 1, true},  {3, 7, true},    {4, 0, true}};
    for (const auto& [major, minor, isNew] : versions)
    {
        phone = FakeSender();
        if (major != 0)
            phone.SetVersion(kCalendar, major, minor);
        EXPECT_EQ(Read(0x7F, {}), Fields());
        EXPECT_TRUE(isNew ? SameRequest(phone.Last(), 0x13, 0xB5, {0, 1, 0x01, 0x01, 0, 8, 1, 2, 3, 4})
                          : SameRequest(phone.Last(), 0x13, 0x7D, {0, 0, 1, 2, 3, 4, 0xFF, 0xFF, 0xFF, 0xFF}));
        EXPECT_EQ(Write({{0x0101, 9}}, {{0x99, {0}}, {0x7F, {}}}), 0u);
        EXPECT_EQ(phone.Last().id, isNew ? 0xB7 : 0x65);
    }
}

TEST_F(CalendarDateTest, ReadsAnEntryInTheNewFormat)
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
    EXPECT_EQ(Read(0xB6, reply), (Fields{"101: 1020304", "0: 0", "201: 48 20ac", "202: null",
                                         "203:", "305: 2024-5-15 10:30:45 +0 +0", "10c: ff000001"}));
}

TEST_F(CalendarDateTest, EveryFieldHasItsTypeInBothDirections)
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
        const bool isNumber = id >= 0x0101 && id <= 0x010C && id != 0x0106;
        const bool isText = id >= 0x0201 && id <= 0x0204;
        const bool isDate = id >= 0x0301 && id <= 0x0305;
        Field field(isNumber || isText || isDate ? id : std::uint16_t{0}, isNumber ? 0x00040000u : 0u);
        if (isText)
            field.value.text = BStr(std::u16string(4, u'\0'));
        else if (isDate)
            field.value.date = {};
        field.base_offset = field.extra_offset = 0;
        EXPECT_EQ(Read(0xB6, EntryBody(1, Block(id, payload))), Fields{Describe(field)});

        field.id = id;
        EXPECT_EQ(Write({field, {0x0101, 0x00040000}}, {{0x99, {0}}, {0xB8, {0}}}), 0u);
        const std::size_t size = isNumber ? 4 : isText ? 12 : isDate ? 8 : 0;
        EXPECT_EQ(phone.Last().body.size(), 10 + 4 + size + 8);
        EXPECT_TRUE(isDate || SameBytes(Block(id, BytesAt(payload.data(), size)), Sent(10, 14 + size)));
    }
}

TEST_F(CalendarHandlerTest, TakesTheFieldsThatAnEntryHas)
{
    const auto kind = [](std::uint8_t value, std::uint8_t high = 0) { return Block(0x0102, {0, 0, high, value}); };
    std::string longest = "201: 61";
    for (int i = 1; i < 0xFFFF; ++i)
        longest += " 0";
    // Of the fields only the first ones; further ones are empty.
    const std::tuple<const char*, std::uint8_t, Bytes, Fields> cases[] = {
        {"kind 3 without a code", 1, kind(3), {"102: 3", "103: 1"}},
        {"kind 3 with code 0", 2, kind(3) + NumberBlock(0x0103, 0), {"102: 3", "103: 0", "103: 1"}},
        {"kind 3 with a code", 2, kind(3) + NumberBlock(0x0103, 5), {"102: 3", "103: 5"}},
        {"a code, then kind 3", 2, NumberBlock(0x0103, 5) + kind(3), {"103: 5", "102: 3"}},
        {"kind 2", 1, kind(2), {"102: 2"}},
        {"kind 0x103", 1, kind(3, 1), {"102: 103"}},
        {"no fields", 0, {}, {}},
        {"fewer fields than counted", 255, NumberBlock(0x0101, 1), {"101: 1"}},
        {"no payload ends the walk", 3, kind(4) + Block(0x0101, {}) + NumberBlock(0x0103, 1), {"102: 4"}},
        {"a text longer than its sub-block", 1, Block(0x0201, {0xFF, 0xFF, 0, 'a'}), {longest}},
        {"a length of 0 does not move on", 2, {1, 1, 0, 0, 0, 0, 0, 1}, {"101: 1", "101: 1"}},
    };
    for (const auto& [name, count, blocks, first] : cases)
    {
        SCOPED_TRACE(name);
        Fields expected = first;
        expected.resize(std::max<std::size_t>(count, expected.size()), "0: 0");
        EXPECT_EQ(Read(0xB6, EntryBody(count, blocks)), expected);
        EXPECT_TRUE(hasArray);
    }

    const Bytes text = Block(0x0201, {0, 2, 0, 'a', 0, 'b'});
    const Bytes reply = EntryBody(3, NumberBlock(0x0101, 1) + text + NumberBlock(0x0104, 1));
    const std::pair<std::size_t, std::string> ends[] = {{18, "101: 1"}, {30, "201: 61 62"}, {38, "104: 1"}};
    for (const Bytes& part : Truncations(reply))
    {
        SCOPED_TRACE(part.size());
        const Fields read = Read(0xB6, part);
        ASSERT_EQ(read.size(), part.size() < 10 ? 0u : 3u);
        for (std::size_t i = 0; i < 3 && part.size() >= ends[i].first; ++i)
            EXPECT_EQ(read[i], ends[i].second);
    }
}

TEST_F(CalendarDateTest, ReadsAnEntryInTheOldFormat)
{
    phone.SetVersion(kCalendar, 3, 0);
    const std::pair<Bytes, Fields> tails[] = {
        {{0x00, 0xEE, 0xEE, 0, 0, 0, 0, 0, 0xEE, 0xEE}, {}},
        {{0x05, 0xEE, 0xEE, 0, 4, 0, 0x0B, 0x0C, 0xEE}, {"104: 4", "10b: b", "10c: c"}},
        {{0x00, 0xEE, 0xEE, 0, 0, 0, 0x0B, 0, 0xEE}, {"10b: b"}},
    };
    for (const auto& [tail, more] : tails)
    {
        Fields expected = {"101: 1020304", "102: 2", "103: 4", "107: 4", "108: 3", "105: a0b0c0d", "109: 9"};
        expected.insert(expected.end(), {"301: 2024-5-15 10:30:0 +0 +0", "302: 2025-12-31 23:59:0 +0 +0"});
        expected.insert(expected.end(), more.begin(), more.end());
        EXPECT_EQ(Read(0x7E, OldReply(0x01, 0x0008, 24, 0x20) + tail), expected);
    }
    for (const Bytes& part : Truncations(OldReply(0, 4, 24, 0x10) + Bytes{0, 0, 0, 0, 4, 0, 0x0B, 0x0C, 0}))
    {
        SCOPED_TRACE(part.size());
        const Fields read = Read(0x7E, part);
        // The low bytes of the three numbers that are left out when they are 0.
        const std::size_t more =
            (part.size() > 45 ? 1u : 0u) + (part.size() > 47 ? 1u : 0u) + (part.size() > 48 ? 1u : 0u);
        ASSERT_EQ(read.size(), 9 + more);
        EXPECT_EQ(read[5] == "105: a0b0c0d", part.size() >= 22);
    }
}

TEST_F(CalendarHandlerTest, TheOldFormatTranslatesNumbers)
{
    phone.SetVersion(kCalendar, 3, 0);
    // The record has the kind, the kind code if any, the interval and the alarm.
    const std::tuple<std::uint8_t, std::uint16_t, std::uint16_t, std::uint8_t, std::string> replies[] = {
        {0, 0x0004, 24, 0x10, " 1 3 4 5"},     {1, 0x0008, 168, 0x20, " 2 4 3 3"},
        {4, 0x0200, 336, 0x30, " 4 5 3 1"},    {0, 0x0003, 0xFFFE, 0x11, " 1 3 2 11"},
        {0, 0xFFFF, 0xFFFF, 0, " 1 ffff 1 0"}, {0, 0, 25, 0xFF, " 1 0 19 ff"},
        {2, 0x0004, 24, 0x10, " 3 4 5"},       {3, 0x0004, 24, 0x10, " 3 4 5"},
    };
    for (const auto& [kind, kindCode, interval, alarm, expected] : replies)
    {
        const Fields read = Read(0x7E, OldReply(kind, kindCode, interval, alarm));
        std::string numbers;
        for (std::size_t i = 1; i + 4 < read.size(); ++i)
            numbers += read[i].substr(4);
        EXPECT_EQ(numbers, expected);
    }

    // Kind code, interval and alarm, and the same as they are sent.
    const std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, Bytes, Bytes, std::uint8_t> writes[] = {
        {0, 0, 0, {0, 0}, {0, 0}, 0},          {3, 4, 5, {0, 4}, {0, 24}, 0x10},
        {4, 3, 3, {0, 8}, {0, 168}, 0x20},     {5, 2, 1, {2, 0}, {0xFF, 0xFE}, 0x30},
        {6, 1, 2, {0, 6}, {0xFF, 0xFF}, 0x02}, {0xFFFF, 336, 0x10, {0xFF, 0xFF}, {1, 80}, 0x10},
    };
    const Bytes head = {0, 0, 0, 0, 0, 9, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF};
    for (const auto& [kindCode, interval, alarm, sentCode, sentInterval, sentAlarm] : writes)
    {
        std::vector<Field> list = {{0x0103, kindCode}, {0x0107, interval}, {0x0108, alarm}};
        if (kindCode == 0)  // fields that are missing are 0
            list.clear();
        list.emplace_back(0x0101, 9);
        EXPECT_EQ(Write(list, {{0x99, {0}}, {0x66, {0}}}), 0u);
        const Bytes body = head + Bytes(4) + sentCode + Bytes(12) + sentInterval + Bytes(2) + Bytes{sentAlarm};
        EXPECT_TRUE(SameBytes(body + Bytes(17), phone.Last().body));
    }
}

// ---- 0x1303

TEST_F(CalendarDateTest, WritesAnEntryInTheNewFormat)
{
    const auto unreadable = static_cast<BSTR>(kUnreadable);
    const std::vector<Field> list = {
        {0x0102, 2},       {0x0101, 0x01020304}, {0x0201, BStr(u"A\u0394")}, {0x0202, BStr(u"")},
        {0x0203, nullptr}, {0x0106, 7},          {0x0204, unreadable},       {0x0301, {2024, 5, 15, 10, 30, 45}}};
    const Bytes located = {0x00, 0x01, 0x01, 0x01, 0x00, 0x08, 0x0A, 0x0B, 0x0C, 0x0D};
    EXPECT_EQ(Write(list, {{0x99, {0x00, 0x01, 0, 0, 0, 9}}, {0xB8, located}}), 0u);
    EXPECT_EQ(written.location, 0x0A0B0C0Du);
    EXPECT_EQ(written.count, 8);

    ASSERT_EQ(phone.Requests().size(), 2u);
    EXPECT_TRUE(SameRequest(phone.Requests()[0], 0x13, 0x98, {0, 0, 1, 2, 3, 4}));
    EXPECT_TRUE(SameRequest(phone.Requests()[1], 0x13, 0xB7,
                            {0x00, 0x01,                                      // one sub-block
                             0x00, 0x01, 0x00, 0x48, 0x00, 0x00, 0x00, 0x08,  // entry of 72 bytes with 8 fields
                             0x01, 0x02, 0x00, 0x08, 0x00, 0x00, 0x00, 0x02,  // entry kind, as it stands
                             0x01, 0x01, 0x00, 0x08, 0x01, 0x02, 0x03, 0x04,  //
                             0x02, 0x01, 0x00, 0x0C, 0x00, 0x02, 0x00, 0x41, 0x03, 0x94, 0x00, 0x00,
                             0x02, 0x02, 0x00, 0x04,                          // an empty text of this id has no value
                             0x02, 0x03, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00,  //
                             0x01, 0x06, 0x00, 0x04,                          //
                             0x02, 0x04, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00,  //
                             0x03, 0x01, 0x00, 0x0C, 0x07, 0xE8, 0x05, 0x0F, 0x0A, 0x1E, 0x2D, 0x00}));
}

TEST_F(CalendarHandlerTest, EmptyElementsLowerTheCountAndStay)
{
    const std::vector<Field> list = {{0x0101, 9}, {0, 1}, {0x0104, 2}, {0, 3}};
    EXPECT_EQ(Write(list, {{0x99, {0}}, {0, {}}}), kSendFailure);
    EXPECT_EQ(std::tie(written.count, fields[1].id, fields[2].id), std::make_tuple(2, 0, 0x0104));
    EXPECT_TRUE(SameBytes(EntryBody(2, NumberBlock(0x0101, 9) + Block(0, {}), 0), phone.Last().body));

    EXPECT_EQ(Write({{0, 1}}, {{0x96, {0}}, {0xB8, {0}}}), 0u);
    EXPECT_EQ(written.count, 0);
    EXPECT_TRUE(SameBytes(EntryBody(0, {}, 0), phone.Last().body));
}

TEST_F(CalendarHandlerTest, ANewEntryGetsItsLocationFromThePhone)
{
    // The last kind counts, and its low byte only.
    const std::pair<std::uint32_t, std::uint8_t> kinds[] = {{1, 0}, {2, 1}, {0x103, 2}, {4, 4}, {0, 0}};
    for (const auto& [kind, sent] : kinds)
    {
        const Bytes created = {0x00, 0xEE, 0x01, 0x02, 0x03, 0x04, 0, 0, 0, 1};
        EXPECT_EQ(Write({{0x0101, 5}, {0x0102, 9}, {0x0102, kind}, {0x0101, 0u}},
                        {{0x96, created}, {0xB8, Bytes{0, 1} + Block(0x0102, {1, 1, 1, 1})}}),
                  0u);
        EXPECT_TRUE(SameRequest(phone.Requests()[phone.Requests().size() - 2], 0x13, 0x95, {sent}));
        EXPECT_EQ(phone.Last().id, 0xB7);
        EXPECT_EQ(std::tie(fields[0].value.number, fields[3].value.number), std::make_tuple(0x01020304u, 0x01020304u));
        EXPECT_EQ(written.location, 0x55u) << "the reply names no location";
    }
}

TEST_F(CalendarHandlerTest, EachExchangeOfAWriteCanEndIt)
{
    for (const std::uint8_t minor : Bytes{0, 1})
        for (const std::uint8_t location : Bytes{0, 9})
        {
            const std::uint8_t first = location == 0 ? 0x96 : 0x99;
            const std::uint8_t second = minor == 0 ? 0x66 : 0xB8;
            const std::vector<Field> list = {{0x0101, location}};
            phone = FakeSender();
            phone.SetVersion(kCalendar, 3, minor);
            EXPECT_EQ(Write(list, {{0, {}}}), kSendFailure);
            EXPECT_EQ(Write(list, {{first, {0x21}}}), 0x1321u);
            EXPECT_EQ(Write(list, {{0x7F, {0x21, 0, 0, 0, 0, 1}}, {second, {0x22}}}), 0x1322u);
            EXPECT_EQ(fields[0].value.number, location) << "another reply is not read";
            EXPECT_EQ(Write(list, {{first, {7, 0, 0, 0, 0, location}}, {second, {7, 0}}}), 0u) << "7 is a success";
            EXPECT_EQ(Write(list, {{first, {0, 0, 0, 0, 0, location}}, {0, {}}}), kSendFailure);
            EXPECT_EQ(phone.Requests().size(), 8u);
        }
}

TEST_F(CalendarHandlerTest, RefusesWhatAMessageCannotHold)
{
    std::vector<Field> list(256, {0x0104, 1});
    list[0] = {0x0101, 9};
    EXPECT_EQ(Write(list, {{0x99, {0}}}), 0x80100013u);
    list.back().id = 0;
    EXPECT_EQ(Write(list, {{0x99, {0}}, {0xB8, {0}}}), 0u);
    EXPECT_EQ(phone.Last().body[9], 255);

    // In all 65532 bytes: two headers of 4, the 4 before the fields, location 8, length of the text 2, text 65510.
    EXPECT_EQ(Write({list[0], {0x0201, BStr(std::u16string(32755, u'x'))}}, {{0x99, {0}}, {0xB8, {0}}}), 0u);
    EXPECT_TRUE(SameBytes({0x00, 0x01, 0xFF, 0xFC}, Sent(2, 6)));
    EXPECT_EQ(Write({list[0], {0x0201, BStr(std::u16string(32756, u'x'))}}, {{0x99, {0}}}), 0x80100013u);
}

TEST_F(CalendarDateTest, WritesAnEntryInTheOldFormat)
{
    phone.SetVersion(kCalendar, 3, 0);
    std::vector<Field> list = {
        {0x0203, BStr(u"D")}, {0x0202, BStr(u"C")}, {0x0204, BStr(u"EF")}, {0x0201, BStr(u"AB")}};
    const Field dates[] = {{0x0301, {2024, 5, 15, 10, 30, 45}}, {0x0302, {2025, 12, 31, 23, 59, 0}}};
    list.insert(list.end(), std::begin(dates), std::end(dates));
    list.insert(list.end(), {{0x0102, 3}, {0x0103, 4}, {0x0104, 0x10A}, {0x0105, 0x01020304}, {0x0107, 4}});
    list.insert(list.end(), {{0x0108, 3}, {0x0109, 0x109}, {0x010B, 0x10B}, {0, 0u}, {0x010C, 0x1C}});
    const Answers answers = {{0x96, {0, 0, 0x00, 0x00, 0x01, 0x23}}, {0x66, {0}}};
    EXPECT_EQ(Write(list, answers), 0u);
    EXPECT_EQ(written.count, 16) << "only the new format lowers it";
    EXPECT_EQ(written.location, 0x55u);
    const Bytes head = {0x02, 0x00, 0x00, 0x00, 0x01, 0x23,              // kind, the new location
                        0x00, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF,  //
                        0x00, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF,  //
                        0x01, 0x02, 0x03, 0x04, 0x00, 0x08,              // 0x0105, kind code
                        0x07, 0xE8, 0x05, 0x0F, 0x0A, 0x1E,              // first date
                        0x07, 0xE9, 0x0C, 0x1F, 0x17, 0x3B,              // second date
                        0x00, 0x18, 0x01, 0x09, 0x20,                    // interval, 0x0109, alarm
                        0x00, 0x00, 0x00, 0x01, 0x0A, 0x01, 0x0B,        // 0x0104, 0x010B
                        0x1C, 0x00};                                     // 0x010C
    const Bytes texts1to3 = {0, 2, 0, 1, 1, 0, 0, 0, 0, 'A', 0, 'B', 0, 'C', 0, 'D'};
    EXPECT_TRUE(SameRequest(phone.Last(), 0x13, 0x65, head + texts1to3));

    list[0] = {0x0203, BStr(u"")};
    list[1].value.text = nullptr;
    EXPECT_EQ(Write(list, answers), 0u);
    const Bytes texts1and4 = {0, 2, 0, 0, 2, 0, 0, 0, 0, 'A', 0, 'B', 0, 'E', 0, 'F'};
    EXPECT_TRUE(SameBytes(head + texts1and4, phone.Last().body)) << "the fourth text stands in for an empty third one";

    const std::u16string text(256, u'x');
    EXPECT_EQ(Write({{0x0101, 9}, {0x0203, BStr(text)}, {0x0201, BStr(text)}}, {{0x99, {0}}, {0x66, {0}}}), 0u);
    ASSERT_EQ(phone.Last().body.size(), 54u + 8 + 2 * (256 + 255));
    EXPECT_TRUE(SameBytes({1, 0, 0, 0, 255, 0, 0, 0}, Sent(54, 62))) << "a text is cut where its length ends";
}

#ifndef _WIN32
TEST_F(CalendarHandlerTest, DatesAreLocalInTheRecordAndUtcOnTheWire)
{
    const CCentralEuropeanZone zone;
    const Bytes summer = Block(0x0301, {0x07, 0xE9, 7, 1, 22, 30, 5, 0});
    const Bytes winter = Block(0x0302, {0x07, 0xE9, 12, 31, 23, 30, 6, 0});
    EXPECT_EQ(Read(0xB6, EntryBody(2, summer + winter)),
              (Fields{"301: 2025-7-2 0:30:5 +60 +60", "302: 2026-1-1 0:30:6 +60 +0"}));

    const std::vector<Field> list = {{0x0301, {2025, 7, 2, 0, 30, 5}}, {0x0302, {2026, 1, 1, 0, 30, 6}}, {0x0101, 9}};
    EXPECT_EQ(Write(list, {{0x99, {0}}, {0xB8, {0}}}), 0u);
    EXPECT_EQ(fields[0].base_offset, 77) << "a write does not touch it";
    EXPECT_TRUE(SameBytes(summer + winter, Sent(10, 34)));

    phone.SetVersion(kCalendar, 3, 0);
    EXPECT_EQ(Write(list, {{0x99, {0}}, {0x66, {0}}}), 0u);
    EXPECT_TRUE(SameBytes({0x07, 0xE9, 7, 1, 22, 30, 0x07, 0xE9, 12, 31, 23, 30}, Sent(28, 40)));
    EXPECT_EQ(Read(0x7E, OldReply(0, 4, 24, 0)).at(7), "301: 2024-5-15 12:30:0 +60 +60");
}
#endif

// ---- 0x1304, 0x1305, 0x1306

TEST_F(CalendarHandlerTest, QueryAnswersWithALocation)
{
    CalendarLocationRecord record = {0, 0x01020304};
    EXPECT_EQ(Run(0x1304, &record, {{0x70, {0x00, 0xEE, 0x0A, 0x0B, 0x0C, 0x0D, 0, 0, 0, 1}}}), 0u);
    EXPECT_TRUE(SameRequest(phone.Last(), 0x13, 0x6F, {0, 0, 1, 2, 3, 4, 0, 0, 0, 0}));
    EXPECT_EQ(record.location, 0x0A0B0C0Du);
    EXPECT_EQ(Run(0x1304, &record, {{0x70, {0x07, 0xEE, 0x0A}}}), 0u);
    EXPECT_EQ(record.location, 0x0A000000u);
    phone.Reply(0x70, {0x08, 0xEE, 1, 1, 1, 1});
    ExpectRecordUntouched(handler, phone, 0x1304, record, 0x1308);
}

TEST_F(CalendarHandlerTest, KindOperationLowersTheKindOnTheWireOnly)
{
    const std::tuple<std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t, std::uint32_t> cases[] = {
        {0, 0, 0x90, 0, 0},      {1, 0, 0x90, 0, 0},     {2, 1, 0x90, 7, 0},
        {3, 2, 0x90, 5, 0x1305}, {255, 255, 0x90, 0, 0}, {4, 4, 0xA7, 5, 0},  // the obvious id is not the reply's
    };
    for (const auto& [kind, sent, replyId, status, expected] : cases)
    {
        phone.Reply(replyId, {status, 0, 0, 0, 0, 1});
        ExpectRecordUntouched(handler, phone, 0x1305, CalendarKindRecord{0, kind, {}}, expected);
        EXPECT_TRUE(SameRequest(phone.Last(), 0x13, 0xA6, {0xFF, 0xFF, 0, 0, 0, 0, sent}));
    }
}

TEST_F(CalendarHandlerTest, SummaryFillsItsWords)
{
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
    phone.SetVersion(kCalendar, 3, 7);
    const auto read = [&](const Bytes& reply) {
        CalendarSummaryRecord record = {9, 9, 9, 9, 9, 9, 9};
        EXPECT_EQ(Run(0x1306, &record, {{0xBB, reply}}), 0u);
        EXPECT_TRUE(SameRequest(phone.Last(), 0x13, 0xBA, {0, 0}));
        Words words(7);
        std::memcpy(words.data(), &record, sizeof record);
        return words;
    };
    for (const auto& [name, count, items, words] : cases)
        EXPECT_EQ(read(Bytes{0x00, count} + items), words) << name;
    for (const Bytes& part : Truncations(Bytes{0x00, 1} + all2))
    {
        const Words words = read(part);
        EXPECT_EQ(words[0], part.size() < 2 ? 9u : 0u);
        EXPECT_TRUE(part.size() < 26 || words == group2) << part.size();
    }
}

}  // namespace

#include "handlers/CalendarHandler.h"

#include "support/HandlerChecks.h"
#include "support/Text.h"

#include <utility>

namespace
{

constexpr std::uint8_t kCalendar = 0x13;
constexpr std::uint32_t kSendFailure = 0x80040155;

struct Version
{
    std::uint8_t major;
    std::uint8_t minor;
};
constexpr Version kOld = {3, 0};
constexpr Version kNew = {3, 1};

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// A sub-block: u16 id, u16 length of it all, payload, zeros up to a multiple of 4.
Bytes Block(std::uint16_t id, Bytes payload)
{
    payload.resize((payload.size() + 3) / 4 * 4);
    const std::size_t length = payload.size() + 4;
    return Bytes{static_cast<std::uint8_t>(id >> 8), static_cast<std::uint8_t>(id),
                 static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)} +
           payload;
}

/// The reply to a read in the new format: status 0, one sub-block 0x0001 with `count` fields.
Bytes EntryReply(std::uint8_t count, const Bytes& fields)
{
    return Bytes{0, 1} + Block(0x0001, Bytes{0xAA, 0xBB, 0xCC, count} + fields);
}

/// The request of a write in the new format.
Bytes EntryRequest(std::uint8_t count, const Bytes& fields)
{
    return Bytes{0, 1} + Block(0x0001, Bytes{0, 0, 0, count} + fields);
}

CalendarField Number(std::uint16_t id, std::uint32_t number)
{
    CalendarField field = {0, id, {}, 77, 88};
    field.value.number = number;
    return field;
}

CalendarField Text(std::uint16_t id, BSTR text)
{
    CalendarField field = Number(id, 0);
    field.value.text = text;
    return field;
}

CalendarField Date(std::uint16_t id, const CalendarDate& date)
{
    CalendarField field = Number(id, 0);
    field.value.date = date;
    return field;
}

Bytes DateBytes(const CalendarField& field)
{
    const CalendarDate& date = field.value.date;
    return Bytes{static_cast<std::uint8_t>(date.year >> 8), static_cast<std::uint8_t>(date.year)} +
           Bytes{date.month, date.day, date.hour, date.minute, date.second};
}

/// What a read has returned, freed at the end as an application does it.
struct Entry : CalendarEntryRecord
{
    Entry() : CalendarEntryRecord{0, 0x01020304, 0, nullptr} {}
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
    ~Entry()
    {
        for (std::int32_t i = 0; fields != nullptr && i < count; ++i)
            if (fields[i].id >> 8 == 0x02)
                SysFreeString(fields[i].value.text);
        CoTaskMemFree(fields);
    }

    std::vector<std::uint16_t> Ids() const
    {
        std::vector<std::uint16_t> ids;
        for (std::int32_t i = 0; i < count; ++i)
            ids.push_back(fields[i].id);
        return ids;
    }
    std::vector<std::uint32_t> Numbers(std::size_t first, std::size_t end) const
    {
        std::vector<std::uint32_t> numbers;
        for (std::size_t i = first; i < end; ++i)
            numbers.push_back(fields[i].value.number);
        return numbers;
    }
};

class CalendarHandlerTest : public testing::Test
{
  protected:
    struct Answer
    {
        std::uint8_t id;  // kSendFails: no reply comes
        Bytes body;
    };
    static constexpr std::uint8_t kSendFails = 0;

    CalendarHandlerTest() { handler.SetResource(kCalendar); }

    std::uint32_t Run(std::uint32_t id, void* record) { return handler.EncodeRequest(phone, id, record); }
    void SetVersion(Version version) { phone.SetVersion(kCalendar, version.major, version.minor); }
    void Expect(const std::vector<Answer>& answers)
    {
        for (const Answer& answer : answers)
        {
            if (answer.id == kSendFails)
                phone.Fail(kSendFailure);
            else
                phone.Reply(answer.id, answer.body);
        }
    }

    /// Runs one list request; what it has gathered.
    std::vector<std::uint32_t> List(std::uint32_t& result, const std::vector<Answer>& answers)
    {
        Expect(answers);
        CalendarListRecord record = {0, 0xFFFF, 0, 0, nullptr};
        result = Run(0x1301, &record);
        std::vector<std::uint32_t> locations;
        if (record.locations != nullptr)
            locations.assign(record.locations, record.locations + record.count);
        CoTaskMemFree(record.locations);
        return locations;
    }

    std::uint32_t Read(Entry& entry, std::uint8_t replyId, const Bytes& reply)
    {
        phone.Reply(replyId, reply);
        return Run(0x1302, &entry);
    }

    std::uint32_t Write(std::vector<CalendarField>& fields, const std::vector<Answer>& answers)
    {
        Expect(answers);
        written = {0, 0x55, static_cast<std::int32_t>(fields.size()), fields.data()};
        return Run(0x1303, &written);
    }
    Bytes Sent(std::size_t first, std::size_t end) const
    {
        const Bytes& body = phone.Last().body;
        return Bytes(body.data() + first, body.data() + end);
    }

    CCalendarHandler handler;
    FakeSender phone;
    CalendarEntryRecord written = {};  // the record of the last write
    CLeakCheck leaks;
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

TEST_F(CalendarHandlerTest, RefusesUnknownIdsAndBadRecords)
{
    for (const std::uint32_t id : {0x1300u, 0x1307u, 0x1401u})
        EXPECT_EQ(Run(id, nullptr), 1u);
    for (std::uint32_t id = 0x1301; id <= 0x1306; ++id)
        ExpectBadRecordsRefused(handler, id);
    CMessage message;
    void* record = nullptr;
    std::uint32_t id = 0;
    EXPECT_EQ(handler.DecodeMessage(message, id, record), 1u);
    EXPECT_EQ(handler.FreeDecodedData(0x1301, &id), 0x80100010u);
}

TEST_F(CalendarHandlerTest, AnUnansweredRequestLeavesTheRecord)
{
    const CalendarEntryRecord entry = {1, 2, 1, nullptr};
    ExpectUnansweredKept(handler, phone, 0x1302, entry);
    SetVersion({3, 7});
    ExpectUnansweredKept(handler, phone, 0x1302, entry);
    ExpectUnansweredKept(handler, phone, 0x1301, CalendarListRecord{1, 2, 0, 77, nullptr});
    ExpectUnansweredKept(handler, phone, 0x1304, CalendarLocationRecord{1, 2});
    ExpectUnansweredKept(handler, phone, 0x1305, CalendarKindRecord{1, 2, {}});
    ExpectUnansweredKept(handler, phone, 0x1306, CalendarSummaryRecord{1, 2, 3, 4, 5, 6, 7});
}

TEST_F(CalendarHandlerTest, ReadsAndNewWritesAskForTheTimeParametersAndReturnWhatThatThrows)
{
    struct Thrower : FakeSender
    {
        std::uint32_t GetTimeServiceParameters(std::uint16_t&, std::uint16_t&) override { throw 0x80200001u; }
    };
    Thrower thrower;
    CalendarField field = Number(0x0101, 9);
    CalendarEntryRecord record = {0, 0, 1, &field};
    EXPECT_EQ(handler.EncodeRequest(thrower, 0x1302, &record), 0x80200001u);
    EXPECT_TRUE(thrower.Requests().empty());
    thrower.Reply(0x99, {0});
    thrower.Reply(0x66, {0});
    EXPECT_EQ(handler.EncodeRequest(thrower, 0x1303, &record), 0u) << "old writes do not";
    thrower.SetVersion(kCalendar, 3, 1);
    thrower.Reply(0x99, {0});
    EXPECT_EQ(handler.EncodeRequest(thrower, 0x1303, &record), 0x80200001u);
}

// ---- 0x1301

TEST_F(CalendarHandlerTest, ListSendsSelectorAndMode)
{
    const struct
    {
        std::uint16_t selector;
        std::uint8_t mode;
        Bytes sentSelector;
        std::uint8_t sentMode;
    } cases[] = {
        {0x0102, 0, {0x01, 0x02}, 0}, {3, 1, {0x00, 0x04}, 0}, {4, 1, {0x00, 0x08}, 0}, {5, 1, {0x02, 0x00}, 0},
        {6, 1, {0x00, 0x06}, 0},      {4, 2, {0xFF, 0xFF}, 1}, {4, 3, {0xFF, 0xFF}, 2}, {4, 4, {0x00, 0x04}, 4},
    };
    for (const std::uint8_t mode : Bytes{2, 3})
        ExpectRecordUntouched(handler, phone, 0x1301, CalendarListRecord{0, 4, mode, 77, nullptr}, 0x80100023);
    EXPECT_TRUE(phone.Requests().empty()) << "every kind needs a known version";
    SetVersion({1, 0});
    for (const auto& c : cases)
    {
        phone.Reply(0x9F, {0x00, 0x07});
        CalendarListRecord record = {0, c.selector, c.mode, 77, static_cast<std::uint32_t*>(kUnreadable)};
        EXPECT_EQ(Run(0x1301, &record), 0x1307u);
        EXPECT_TRUE(SameRequest(phone.Last(), 0x13, 0x9E, c.sentSelector + Bytes{0, 0, 0, 0, c.sentMode}));
        EXPECT_EQ(record.selector, c.selector);
        EXPECT_EQ(record.mode, c.sentMode);
        EXPECT_EQ(record.count, 0u);
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
    std::uint32_t result = 1;
    EXPECT_EQ(List(result, {{0x9F, first}, {0x9F, last}}),
              (std::vector<std::uint32_t>{0x0A, 0x0B, 0x01020304, 5, 0x06000000}));
    EXPECT_EQ(result, 0u);
    ASSERT_EQ(phone.Requests().size(), 2u);
    EXPECT_TRUE(SameRequest(phone.Requests()[0], 0x13, 0x9E, {0xFF, 0xFF, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(SameRequest(phone.Requests()[1], 0x13, 0x9E, {0xFF, 0xFF, 1, 2, 3, 4, 0}));
}

TEST_F(CalendarHandlerTest, ListEnds)
{
    const auto part = [](std::uint8_t status, std::uint8_t location, std::uint8_t id = 0x9F) {
        return Answer{id, {1, status, 9, 9, 9, 9, 0, 0, 0, location}};
    };
    const Answer none = {0x9F, {0, 0}};
    const struct
    {
        const char* name;
        std::vector<Answer> answers;
        std::uint32_t result;
        std::vector<std::uint32_t> locations;
    } cases[] = {
        {"more announced, nothing sent", {none}, 0, {}},
        {"more announced, nothing new", {part(0, 4), none}, 0, {4}},
        {"the location it started from", {part(0, 0)}, 0, {0}},
        {"the same part again", {part(0, 4), part(0, 4)}, 0, {4, 4}},
        {"two parts in turn", {part(0, 4), part(0, 5), part(0, 4)}, 0, {4, 5, 4}},
        {"another reply", {part(0, 4), part(0, 5, 0x9E)}, 0, {4}},
        {"an empty last part", {part(0, 4), {0x9F, {0, 7}}}, 0, {4}},
        {"refusal", {part(5, 4)}, 0x1305, {}},
        {"refusal later", {part(0, 4), part(0x80, 5)}, 0x1380, {}},
        {"failure later", {part(0, 4), {kSendFails, {}}}, kSendFailure, {}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        phone = FakeSender();
        std::uint32_t result = 1;
        EXPECT_EQ(List(result, c.answers), c.locations);
        EXPECT_EQ(result, c.result);
        EXPECT_EQ(phone.Requests().size(), c.answers.size());
    }
}

TEST_F(CalendarHandlerTest, FailedAllocationsLeaveNothing)
{
    FailEachAllocation([&] {
        std::uint32_t result = 0;
        const bool empty = List(result, {{0x9F, {1, 7, 0, 0, 0, 0, 0, 0, 0, 1}}}).empty();
        EXPECT_EQ(empty, result != 0);
        return result;
    });
    FailEachAllocation([&] {
        Entry entry;
        return Read(entry, 0x7E, {0});
    });
    SetVersion(kNew);
    FailEachAllocation([&] {
        const Bytes text = {0, 1, 0, 'a'};
        Entry entry;
        const std::uint32_t result =
            Read(entry, 0xB6, EntryReply(3, Block(0x0201, text) + Block(0x0202, text) + Block(0x0204, text)));
        EXPECT_EQ(entry.fields == nullptr, result != 0);
        return result;
    });
}

// ---- 0x1302

TEST_F(CalendarHandlerTest, TheVersionChoosesTheFormat)
{
    const std::pair<Version, bool> versions[] = {{{0, 9}, false}, {{2, 255}, false}, {kOld, false},
                                                 {kNew, true},    {{3, 7}, true},    {{4, 0}, true}};
    for (const auto& [version, isNew] : versions)
    {
        SetVersion(version);
        Entry entry;
        EXPECT_EQ(Read(entry, 0x7F, {}), 0u);
        EXPECT_TRUE(isNew ? SameRequest(phone.Last(), 0x13, 0xB5, {0, 1, 0x01, 0x01, 0, 8, 1, 2, 3, 4})
                          : SameRequest(phone.Last(), 0x13, 0x7D, {0, 0, 1, 2, 3, 4, 0xFF, 0xFF, 0xFF, 0xFF}));
        std::vector<CalendarField> fields = {Number(0x0101, 9)};
        EXPECT_EQ(Write(fields, {{0x99, {0}}, {0x7F, {}}}), 0u);
        EXPECT_EQ(phone.Last().id, isNew ? 0xB7 : 0x65);
    }
    phone = FakeSender();
    Entry entry;
    EXPECT_EQ(Read(entry, 0x7F, {}), 0u);
    EXPECT_EQ(phone.Last().id, 0x7D) << "a phone without a version";
}

TEST_F(CalendarDateTest, ReadsAnEntryInTheNewFormat)
{
    SetVersion(kNew);
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
    Entry entry;
    ASSERT_EQ(Read(entry, 0xB6, reply), 0u);
    EXPECT_EQ(entry.location, 0x01020304u);
    ASSERT_EQ(entry.Ids(), (std::vector<std::uint16_t>{0x0101, 0, 0x0201, 0x0202, 0x0203, 0x0305, 0x010C}));
    EXPECT_EQ(entry.Numbers(0, 2), (std::vector<std::uint32_t>{0x01020304, 0}));
    EXPECT_EQ(UnitsOf(entry.fields[2].value.text), u"H\u20AC");
    EXPECT_EQ(entry.fields[3].value.text, nullptr);
    EXPECT_NE(entry.fields[4].value.text, nullptr);
    EXPECT_EQ(UnitsOf(entry.fields[4].value.text), u"");
    EXPECT_EQ(DateBytes(entry.fields[5]), (Bytes{0x07, 0xE8, 5, 15, 10, 30, 45}));
    EXPECT_EQ(entry.fields[5].base_offset, 0);
    EXPECT_EQ(entry.fields[6].value.number, 0xFF000001u);
}

TEST_F(CalendarHandlerTest, EveryFieldHasItsTypeInBothDirections)
{
    SetVersion(kNew);
    std::vector<std::uint16_t> ids = {0x0001, 0xFFFF};
    for (const unsigned first : {0x0100u, 0x0200u, 0x0300u})
        for (unsigned id = first; id <= first + 0x10; ++id)
            ids.push_back(static_cast<std::uint16_t>(id));
    // Read as a number, a text of four zero units, and a date that does not exist: each leaves another value.
    const Bytes payload = {0, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (const std::uint16_t id : ids)
    {
        SCOPED_TRACE(id);
        const bool isNumber = id >= 0x0101 && id <= 0x010C && id != 0x0106;
        const bool isText = id >= 0x0201 && id <= 0x0204;
        const bool isDate = id >= 0x0301 && id <= 0x0305;
        Entry entry;
        ASSERT_EQ(Read(entry, 0xB6, EntryReply(1, Block(id, payload))), 0u);
        const CalendarField& field = entry.fields[0];
        ASSERT_EQ(entry.Ids(), (std::vector<std::uint16_t>{isNumber || isText || isDate ? id : std::uint16_t{0}}));
        EXPECT_EQ(isText ? UnitsOf(field.value.text) : u"", isText ? std::u16string(4, u'\0') : u"");
        EXPECT_EQ(isText ? 0u : field.value.number, isNumber ? 0x00040000u : 0u);

        std::vector<CalendarField> fields = {field, Number(0x0101, 0x00040000)};
        fields[0].id = id;
        EXPECT_EQ(Write(fields, {{0x99, {0}}, {0xB8, {0}}}), 0u);
        const std::size_t size = isNumber ? 8 : isText ? 16 : isDate ? 12 : 4;
        EXPECT_EQ(phone.Last().body.size(), 10 + size + 8);
        const Bytes back = Block(id, Bytes(payload.data(), payload.data() + size - 4));
        EXPECT_TRUE(isDate || SameBytes(back, Sent(10, 10 + size)));
    }
}

TEST_F(CalendarHandlerTest, AKind3EntryHasAKindCode)
{
    SetVersion(kNew);
    const auto kind = [](std::uint8_t value, std::uint8_t high = 0) { return Block(0x0102, {0, 0, high, value}); };
    const auto code = [](std::uint8_t value) { return Block(0x0103, {0, 0, 0, value}); };
    const struct
    {
        Bytes fields;
        std::uint8_t count;
        std::vector<std::uint16_t> ids;
        std::uint32_t last;
    } cases[] = {
        {kind(3), 1, {0x0102, 0x0103}, 1},
        {kind(3) + code(0), 2, {0x0102, 0x0103, 0x0103}, 1},
        {kind(3) + code(5), 2, {0x0102, 0x0103}, 5},
        {code(5) + kind(3), 2, {0x0103, 0x0102}, 3},
        {kind(2), 1, {0x0102}, 2},
        {kind(3, 1), 1, {0x0102}, 0x103},
    };
    for (const auto& c : cases)
    {
        Entry entry;
        ASSERT_EQ(Read(entry, 0xB6, EntryReply(c.count, c.fields)), 0u);
        ASSERT_EQ(entry.Ids(), c.ids);
        EXPECT_EQ(entry.fields[entry.count - 1].value.number, c.last);
    }
}

TEST_F(CalendarHandlerTest, AReplyWithoutAnEntryLeavesTheRecord)
{
    const CalendarEntryRecord record = {1, 2, 77, nullptr};
    phone.Reply(0x7E, {0x06, 0x01});
    ExpectRecordUntouched(handler, phone, 0x1302, record, 0x1306);
    SetVersion(kNew);
    const std::pair<Bytes, std::uint32_t> cases[] = {
        {{}, 0},
        {{0x00, 0x00}, 0},
        {{0x00, 0x01, 0x00, 0x01, 0x00, 0x04}, 0},                         // a sub-block without payload
        {Bytes{0, 1} + Block(0x0002, {0, 0, 0, 1, 1, 1, 0, 8, 0, 0}), 0},  // another sub-block
        {Bytes{0x05} + EntryReply(0, {}), 0x1305},
    };
    for (const auto& [body, result] : cases)
    {
        phone.Reply(0xB6, body);
        ExpectRecordUntouched(handler, phone, 0x1302, record, result);
    }
}

TEST_F(CalendarHandlerTest, HostileEntriesStayInsideTheArray)
{
    SetVersion(kNew);
    const auto number = [](std::uint16_t id) { return Block(id, {0, 0, 0, 1}); };
    const struct
    {
        const char* name;
        std::uint8_t count;
        Bytes fields;
        std::vector<std::uint16_t> ids;  // of the first elements; the others are empty
    } cases[] = {
        {"no fields", 0, {}, {}},
        {"fewer fields than counted", 255, number(0x0101), {0x0101}},
        {"no payload ends the walk", 3, number(0x0101) + Block(0x0102, {}) + number(0x0103), {0x0101}},
        {"a text longer than its sub-block", 1, Block(0x0201, {0xFF, 0xFF, 0, 'a'}), {0x0201}},
        {"a length of 0 does not move on", 2, {1, 1, 0, 0, 0, 0, 0, 1}, {0x0101, 0x0101}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        Entry entry;
        ASSERT_EQ(Read(entry, 0xB6, EntryReply(c.count, c.fields)), 0u);
        EXPECT_NE(entry.fields, nullptr);
        std::vector<std::uint16_t> ids = c.ids;
        ids.resize(c.count);
        EXPECT_EQ(entry.Ids(), ids);
    }

    const Bytes reply = EntryReply(3, number(0x0101) + Block(0x0201, {0, 2, 0, 'a', 0, 'b'}) + number(0x0104));
    const std::size_t ends[] = {18, 30, 38};
    for (const Bytes& part : Truncations(reply))
    {
        SCOPED_TRACE(part.size());
        Entry entry;
        ASSERT_EQ(Read(entry, 0xB6, part), 0u);
        ASSERT_EQ(entry.count, part.size() < 10 ? 0 : 3);
        for (std::size_t i = 0; i < 3 && part.size() >= ends[i]; ++i)
            EXPECT_EQ(entry.fields[i].id, (std::vector<std::uint16_t>{0x0101, 0x0201, 0x0104}[i]));
        EXPECT_TRUE(part.size() < 30 || UnitsOf(entry.fields[1].value.text) == u"ab");
    }
}

/// The reply 0x7E up to the alarm, with everything that is translated.
Bytes OldReply(std::uint8_t kind, std::uint16_t kindCode, std::uint16_t interval, std::uint8_t alarm)
{
    const auto word = [](std::uint16_t value) {
        return Bytes{static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
    };
    return Bytes{0x00, kind, 0xE0, 0xE1, 0xE2, 0xE3} +                                      // status, kind, not used
           Bytes{0x01, 0x02, 0x03, 0x04, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA, 0xEB} +  // location, not used
           Bytes{0x0A, 0x0B, 0x0C, 0x0D} + word(kindCode) +                                 // 0x0105
           Bytes{0x07, 0xE8, 0x05, 0x0F, 0x0A, 0x1E} +                                      // 2024-05-15 10:30
           Bytes{0x07, 0xE9, 0x0C, 0x1F, 0x17, 0x3B} +                                      // 2025-12-31 23:59
           word(interval) + Bytes{0x00, 0x09, alarm};                                       // 0x0109
}

TEST_F(CalendarDateTest, ReadsAnEntryInTheOldFormat)
{
    const std::pair<Bytes, std::vector<std::uint16_t>> tails[] = {
        {{0x00, 0xEE, 0xEE, 0, 0, 0, 0, 0, 0xEE, 0xEE}, {}},
        {{0x05, 0xEE, 0xEE, 0, 4, 0, 0x0B, 0x0C, 0xEE}, {0x0104, 0x010B, 0x010C}},
        {{0x00, 0xEE, 0xEE, 0, 0, 0, 0x0B, 0, 0xEE}, {0x010B}},
    };
    for (const auto& [tail, more] : tails)
    {
        Entry entry;
        ASSERT_EQ(Read(entry, 0x7E, OldReply(0x01, 0x0008, 24, 0x20) + tail), 0u);
        std::vector<std::uint16_t> ids = {0x0101, 0x0102, 0x0103, 0x0107, 0x0108, 0x0105, 0x0109, 0x0301, 0x0302};
        ids.insert(ids.end(), more.begin(), more.end());
        ASSERT_EQ(entry.Ids(), ids);
        EXPECT_EQ(entry.Numbers(0, 7), (std::vector<std::uint32_t>{0x01020304, 2, 4, 4, 3, 0x0A0B0C0D, 9}));
        EXPECT_EQ(DateBytes(entry.fields[7]), (Bytes{0x07, 0xE8, 5, 15, 10, 30, 0}));
        EXPECT_EQ(DateBytes(entry.fields[8]), (Bytes{0x07, 0xE9, 12, 31, 23, 59, 0}));
        for (std::size_t i = 9; i < ids.size(); ++i)
            EXPECT_EQ(entry.fields[i].value.number, ids[i] & 0xFFu);
    }
}

TEST_F(CalendarHandlerTest, TheOldFormatTranslatesNumbers)
{
    const struct
    {
        std::uint8_t kind;
        std::uint16_t kindCode, interval;
        std::uint8_t alarm;
        std::vector<std::uint32_t> numbers;  // kind, kind code if any, interval, alarm
    } cases[] = {
        {0, 0x0004, 24, 0x10, {1, 3, 4, 5}},       {1, 0x0008, 168, 0x20, {2, 4, 3, 3}},
        {4, 0x0200, 336, 0x30, {4, 5, 3, 1}},      {0, 0x0003, 0xFFFE, 0x11, {1, 3, 2, 0x11}},
        {0, 0xFFFF, 0xFFFF, 0, {1, 0xFFFF, 1, 0}}, {0, 0, 25, 0xFF, {1, 0, 25, 0xFF}},
        {2, 0x0004, 24, 0x10, {3, 4, 5}},          {3, 0x0004, 24, 0x10, {3, 4, 5}},
    };
    for (const auto& c : cases)
    {
        Entry entry;
        ASSERT_EQ(Read(entry, 0x7E, OldReply(c.kind, c.kindCode, c.interval, c.alarm)), 0u);
        ASSERT_EQ(static_cast<std::size_t>(entry.count), c.numbers.size() + 5);
        EXPECT_EQ(entry.Numbers(1, 1 + c.numbers.size()), c.numbers);
    }
    const Bytes whole = OldReply(0, 4, 24, 0x10) + Bytes{0, 0, 0, 0, 4, 0, 0x0B, 0x0C, 0};
    for (const Bytes& part : Truncations(whole))
    {
        SCOPED_TRACE(part.size());
        Entry entry;
        ASSERT_EQ(Read(entry, 0x7E, part), 0u);
        // The low bytes of the three numbers that are left out when they are 0.
        EXPECT_EQ(entry.count,
                  9 + (part.size() > 45 ? 1 : 0) + (part.size() > 47 ? 1 : 0) + (part.size() > 48 ? 1 : 0));
        EXPECT_EQ(entry.fields[5].value.number == 0x0A0B0C0D, part.size() >= 22);
    }
}

// ---- 0x1303

TEST_F(CalendarHandlerTest, WriteNeedsFields)
{
    CalendarField field = Number(0x0101, 9);
    ExpectRecordUntouched(handler, phone, 0x1303, CalendarEntryRecord{0, 0, 0, &field}, 0x80100013);
    ExpectRecordUntouched(handler, phone, 0x1303, CalendarEntryRecord{0, 0, -1, &field}, 0x80100013);
    ExpectRecordUntouched(handler, phone, 0x1303, CalendarEntryRecord{0, 0, 1, nullptr}, 0x80100013);
    EXPECT_TRUE(phone.Requests().empty());
}

TEST_F(CalendarDateTest, WritesAnEntryInTheNewFormat)
{
    SetVersion(kNew);
    const CBStrOwner text = MakeText(u"A\u0394");
    const CBStrOwner empty = MakeText(u"");
    std::vector<CalendarField> fields = {Number(0x0102, 2), Number(0x0101, 0x01020304), Text(0x0201, text.get())};
    fields.insert(fields.end(), {Text(0x0202, empty.get()), Text(0x0203, nullptr), Number(0x0106, 7)});
    fields.push_back(Text(0x0204, static_cast<BSTR>(kUnreadable)));
    fields.push_back(Date(0x0301, {2024, 5, 15, 10, 30, 45}));
    const Bytes located = {0x00, 0x01, 0x01, 0x01, 0x00, 0x08, 0x0A, 0x0B, 0x0C, 0x0D};
    EXPECT_EQ(Write(fields, {{0x99, {0x00, 0x01, 0, 0, 0, 9}}, {0xB8, located}}), 0u);
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
    SetVersion(kNew);
    std::vector<CalendarField> fields = {Number(0x0101, 9), Number(0, 1), Number(0x0104, 2), Number(0, 3)};
    EXPECT_EQ(Write(fields, {{0x99, {0}}, {kSendFails, {}}}), kSendFailure);
    EXPECT_EQ(written.count, 2);
    EXPECT_EQ(fields[1].id, 0);
    EXPECT_EQ(fields[2].id, 0x0104);
    EXPECT_TRUE(SameBytes(EntryRequest(2, Block(0x0101, {0, 0, 0, 9}) + Block(0, {})), phone.Last().body));

    fields = {Number(0, 1)};
    EXPECT_EQ(Write(fields, {{0x96, {0}}, {0xB8, {0}}}), 0u);
    EXPECT_EQ(written.count, 0);
    EXPECT_TRUE(SameBytes(EntryRequest(0, {}), phone.Last().body));
}

TEST_F(CalendarHandlerTest, ANewEntryGetsItsLocationFromThePhone)
{
    SetVersion(kNew);
    // The last kind counts, and its low byte only.
    const std::pair<std::uint32_t, std::uint8_t> kinds[] = {{1, 0}, {2, 1}, {0x103, 2}, {4, 4}, {0, 0}};
    for (const auto& [kind, sent] : kinds)
    {
        std::vector<CalendarField> fields = {Number(0x0101, 5), Number(0x0102, 9)};
        fields.insert(fields.end(), {Number(0x0102, kind), Number(0x0101, 0)});
        const Bytes created = {0x00, 0xEE, 0x01, 0x02, 0x03, 0x04, 0, 0, 0, 1};
        EXPECT_EQ(Write(fields, {{0x96, created}, {0xB8, Bytes{0, 1} + Block(0x0102, {1, 1, 1, 1})}}), 0u);
        EXPECT_TRUE(SameRequest(phone.Requests()[phone.Requests().size() - 2], 0x13, 0x95, {sent}));
        EXPECT_EQ(fields[0].value.number, 0x01020304u);
        EXPECT_EQ(fields[3].value.number, 0x01020304u);
        EXPECT_EQ(phone.Last().id, 0xB7);
        EXPECT_EQ(written.location, 0x55u) << "the reply names no location";
    }
}

TEST_F(CalendarHandlerTest, EachExchangeOfAWriteCanEndIt)
{
    for (const Version version : {kOld, kNew})
        for (const std::uint8_t location : Bytes{0, 9})
        {
            const std::uint8_t first = location == 0 ? 0x96 : 0x99;
            const std::uint8_t second = version.minor == 0 ? 0x66 : 0xB8;
            std::vector<CalendarField> fields = {Number(0x0101, location)};
            phone = FakeSender();
            SetVersion(version);
            EXPECT_EQ(Write(fields, {{kSendFails, {}}}), kSendFailure);
            EXPECT_EQ(Write(fields, {{first, {0x21}}}), 0x1321u);
            EXPECT_EQ(Write(fields, {{0x7F, {0x21, 0, 0, 0, 0, 1}}, {second, {0x22}}}), 0x1322u);
            EXPECT_EQ(fields[0].value.number, location) << "another reply is not read";
            EXPECT_EQ(Write(fields, {{first, {7, 0, 0, 0, 0, location}}, {second, {7, 0}}}), 0u) << "7 is a success";
            EXPECT_EQ(Write(fields, {{first, {0, 0, 0, 0, 0, location}}, {kSendFails, {}}}), kSendFailure);
            EXPECT_EQ(phone.Requests().size(), 8u);
        }
}

TEST_F(CalendarHandlerTest, RefusesWhatAMessageCannotHold)
{
    SetVersion(kNew);
    std::vector<CalendarField> fields(256, Number(0x0104, 1));
    fields[0] = Number(0x0101, 9);
    EXPECT_EQ(Write(fields, {{0x99, {0}}}), 0x80100013u);
    fields.back().id = 0;
    EXPECT_EQ(Write(fields, {{0x99, {0}}, {0xB8, {0}}}), 0u);
    EXPECT_EQ(phone.Last().body[9], 255);

    // In all 65532 bytes: two headers of 4, the 4 before the fields, location 8, length of the text 2, text 65510.
    const CBStrOwner longest = MakeText(std::u16string(32755, u'x'));
    const CBStrOwner tooLong = MakeText(std::u16string(32756, u'x'));
    fields = {Number(0x0101, 9), Text(0x0201, longest.get())};
    EXPECT_EQ(Write(fields, {{0x99, {0}}, {0xB8, {0}}}), 0u);
    EXPECT_TRUE(SameBytes({0x00, 0x01, 0xFF, 0xFC}, Sent(2, 6)));
    fields[1].value.text = tooLong.get();
    EXPECT_EQ(Write(fields, {{0x99, {0}}}), 0x80100013u);
}

TEST_F(CalendarDateTest, WritesAnEntryInTheOldFormat)
{
    const CBStrOwner first = MakeText(u"AB");
    const CBStrOwner second = MakeText(u"C");
    const CBStrOwner third = MakeText(u"D");
    const CBStrOwner fourth = MakeText(u"EF");
    const CBStrOwner empty = MakeText(u"");
    std::vector<CalendarField> fields = {Text(0x0203, third.get()), Text(0x0202, second.get()), Number(0x0102, 3)};
    fields.insert(fields.end(), {Text(0x0204, fourth.get()), Text(0x0201, first.get()), Number(0x0103, 4)});
    fields.insert(fields.end(), {Number(0x0104, 0x10A), Number(0x0105, 0x01020304), Number(0x0107, 4)});
    fields.insert(fields.end(), {Number(0x0108, 3), Number(0x0109, 0x109), Number(0x010B, 0x10B), Number(0, 0)});
    fields.insert(fields.end(), {Number(0x010C, 0x1C), Date(0x0301, {2024, 5, 15, 10, 30, 45})});
    fields.push_back(Date(0x0302, {2025, 12, 31, 23, 59, 0}));
    const std::vector<Answer> answers = {{0x96, {0, 0, 0x00, 0x00, 0x01, 0x23}}, {0x66, {0}}};
    EXPECT_EQ(Write(fields, answers), 0u);
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
    const Bytes texts = {0, 2, 0, 1, 1, 0, 0, 0, 0, 'A', 0, 'B', 0, 'C', 0, 'D'};
    EXPECT_TRUE(SameRequest(phone.Last(), 0x13, 0x65, head + texts));

    fields[0].value.text = empty.get();
    fields[1].value.text = nullptr;
    EXPECT_EQ(Write(fields, answers), 0u);
    const Bytes fewer = {0, 2, 0, 0, 2, 0, 0, 0, 0, 'A', 0, 'B', 0, 'E', 0, 'F'};
    EXPECT_TRUE(SameBytes(head + fewer, phone.Last().body)) << "the fourth text stands in for an empty third one";
}

TEST_F(CalendarHandlerTest, TheOldFormatTranslatesBackAndSendsMissingFieldsAsZero)
{
    const struct
    {
        std::uint32_t kindCode, interval, alarm;
        Bytes sentCode, sentInterval;
        std::uint8_t sentAlarm;
    } cases[] = {
        {0, 0, 0, {0, 0}, {0, 0}, 0},          {3, 4, 5, {0, 4}, {0, 24}, 0x10},
        {4, 3, 3, {0, 8}, {0, 168}, 0x20},     {5, 2, 1, {2, 0}, {0xFF, 0xFE}, 0x30},
        {6, 1, 2, {0, 6}, {0xFF, 0xFF}, 0x02}, {0xFFFF, 336, 0x10, {0xFF, 0xFF}, {1, 80}, 0x10},
    };
    const Bytes head = {0, 0, 0, 0, 0, 9, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF};
    for (const auto& c : cases)
    {
        std::vector<CalendarField> fields = {Number(0x0101, 9)};
        if (c.kindCode != 0)
            fields.insert(fields.end(),
                          {Number(0x0103, c.kindCode), Number(0x0107, c.interval), Number(0x0108, c.alarm)});
        EXPECT_EQ(Write(fields, {{0x99, {0}}, {0x66, {0}}}), 0u);
        EXPECT_TRUE(SameBytes(head + Bytes(4) + c.sentCode + Bytes(12) + c.sentInterval + Bytes(2) +
                                  Bytes{c.sentAlarm} + Bytes(9) + Bytes(8),
                              phone.Last().body));
    }
    const CBStrOwner text = MakeText(std::u16string(256, u'x'));
    std::vector<CalendarField> fields = {Number(0x0101, 9), Text(0x0203, text.get()), Text(0x0201, text.get())};
    EXPECT_EQ(Write(fields, {{0x99, {0}}, {0x66, {0}}}), 0u);
    ASSERT_EQ(phone.Last().body.size(), 54u + 8 + 2 * (256 + 255));
    EXPECT_TRUE(SameBytes({1, 0, 0, 0, 255, 0, 0, 0}, Sent(54, 62))) << "a text is cut where its length ends";
}

#ifndef _WIN32
TEST_F(CalendarHandlerTest, DatesAreLocalInTheRecordAndUtcOnTheWire)
{
    TIME_ZONE_INFORMATION zone = {};
    zone.Bias = -60;
    zone.DaylightBias = -60;
    zone.StandardDate = {0, 10, 0, 5, 3, 0, 0, 0};  // last Sunday of October, 3:00
    zone.DaylightDate = {0, 3, 0, 5, 2, 0, 0, 0};   // last Sunday of March, 2:00
    host::SetTimeZone(zone);
    const Bytes summer = Block(0x0301, {0x07, 0xE9, 7, 1, 22, 30, 5, 0});
    const Bytes winter = Block(0x0302, {0x07, 0xE9, 12, 31, 23, 30, 6, 0});

    SetVersion(kNew);
    Entry entry;
    ASSERT_EQ(Read(entry, 0xB6, EntryReply(2, summer + winter)), 0u);
    EXPECT_EQ(DateBytes(entry.fields[0]), (Bytes{0x07, 0xE9, 7, 2, 0, 30, 5}));
    EXPECT_EQ(entry.fields[0].base_offset, 60);
    EXPECT_EQ(entry.fields[0].extra_offset, 60);
    EXPECT_EQ(DateBytes(entry.fields[1]), (Bytes{0x07, 0xEA, 1, 1, 0, 30, 6}));
    EXPECT_EQ(entry.fields[1].base_offset, 60);
    EXPECT_EQ(entry.fields[1].extra_offset, 0);

    std::vector<CalendarField> fields = {entry.fields[0], entry.fields[1], Number(0x0101, 9)};
    fields[0].base_offset = 77;
    EXPECT_EQ(Write(fields, {{0x99, {0}}, {0xB8, {0}}}), 0u);
    EXPECT_EQ(fields[0].base_offset, 77) << "a write does not touch it";
    EXPECT_TRUE(SameBytes(summer + winter, Sent(10, 34)));

    SetVersion(kOld);
    EXPECT_EQ(Write(fields, {{0x99, {0}}, {0x66, {0}}}), 0u);
    EXPECT_TRUE(SameBytes({0x07, 0xE9, 7, 1, 22, 30, 0x07, 0xE9, 12, 31, 23, 30}, Sent(28, 40)));
    Entry oldEntry;
    ASSERT_EQ(Read(oldEntry, 0x7E, OldReply(0, 4, 24, 0)), 0u);
    EXPECT_EQ(DateBytes(oldEntry.fields[7]), (Bytes{0x07, 0xE8, 5, 15, 12, 30, 0}));
    EXPECT_EQ(oldEntry.fields[7].extra_offset, 60);
    host::SetTimeZone({});
}
#endif

// ---- 0x1304, 0x1305, 0x1306

TEST_F(CalendarHandlerTest, QueryAnswersWithALocation)
{
    CalendarLocationRecord record = {0, 0x01020304};
    phone.Reply(0x70, {0x00, 0xEE, 0x0A, 0x0B, 0x0C, 0x0D, 0, 0, 0, 1});
    EXPECT_EQ(Run(0x1304, &record), 0u);
    EXPECT_TRUE(SameRequest(phone.Last(), 0x13, 0x6F, {0, 0, 1, 2, 3, 4, 0, 0, 0, 0}));
    EXPECT_EQ(record.location, 0x0A0B0C0Du);
    phone.Reply(0x70, {0x07, 0xEE, 0x0A});
    EXPECT_EQ(Run(0x1304, &record), 0u);
    EXPECT_EQ(record.location, 0x0A000000u);
    phone.Reply(0x70, {0x08, 0xEE, 1, 1, 1, 1});
    ExpectRecordUntouched(handler, phone, 0x1304, record, 0x1308);
}

TEST_F(CalendarHandlerTest, KindOperationLowersTheKindOnTheWireOnly)
{
    const struct
    {
        std::uint8_t kind, sent, replyId, status;
        std::uint32_t result;
    } cases[] = {
        {0, 0, 0x90, 0, 0},      {1, 0, 0x90, 0, 0},     {2, 1, 0x90, 7, 0},
        {3, 2, 0x90, 5, 0x1305}, {255, 255, 0x90, 0, 0}, {4, 4, 0xA7, 5, 0},  // the obvious id is not the reply's
    };
    for (const auto& c : cases)
    {
        phone.Reply(c.replyId, {c.status, 0, 0, 0, 0, 1});
        ExpectRecordUntouched(handler, phone, 0x1305, CalendarKindRecord{0, c.kind, {}}, c.result);
        EXPECT_TRUE(SameRequest(phone.Last(), 0x13, 0xA6, {0xFF, 0xFF, 0, 0, 0, 0, c.sent}));
    }
}

TEST_F(CalendarHandlerTest, SummaryNeedsVersion37AndStatus0)
{
    const CalendarSummaryRecord record = {1, 2, 3, 4, 5, 6, 7};
    ExpectRecordUntouched(handler, phone, 0x1306, record, 3);
    for (const Version version : {Version{2, 9}, Version{3, 6}})
    {
        SetVersion(version);
        ExpectRecordUntouched(handler, phone, 0x1306, record, 3);
    }
    EXPECT_TRUE(phone.Requests().empty());
    for (const Version version : {Version{3, 7}, Version{4, 0}})
        for (const std::uint8_t status : Bytes{0, 5, 7})
        {
            SetVersion(version);
            phone.Reply(0xBB, {status, 0});
            ExpectRecordUntouched(handler, phone, 0x1306, record, status == 0 ? 0 : 0x1300u | status);
            EXPECT_TRUE(SameRequest(phone.Last(), 0x13, 0xBA, {0, 0}));
        }
}

TEST_F(CalendarHandlerTest, SummaryFillsItsWords)
{
    const auto group = [](std::uint8_t number) { return Block(0x0102, {0, 0, 0, number}); };
    const auto counter = [](std::uint16_t id, std::uint8_t value) { return Block(id, {0, 0, 1, value}); };
    const auto item = [](std::uint8_t count, const Bytes& blocks) {
        return Bytes{0x00, 0x02, 0x00, 0x20, 0xEE, 0xEE, 0xEE, count} + blocks;
    };
    const Bytes all = counter(0x0111, 1) + counter(0x0112, 2) + counter(0x0113, 3) + counter(0x0114, 4);
    const Bytes all2 = item(5, group(2) + all);
    using Words = std::vector<std::uint32_t>;
    const Words group1 = {0, 0x101, 0x103, 0x104, 0x102, 0, 0};
    const Words group2 = {0, 0, 0, 0, 0, 0x101, 0};
    const struct
    {
        const char* name;
        std::uint8_t count;
        Bytes items;
        Words words;
    } cases[] = {
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
    SetVersion({3, 7});
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        phone.Reply(0xBB, Bytes{0x00, c.count} + c.items);
        CalendarSummaryRecord record = {9, 9, 9, 9, 9, 9, 9};
        EXPECT_EQ(Run(0x1306, &record), 0u);
        Words words(7);
        std::memcpy(words.data(), &record, sizeof record);
        EXPECT_EQ(words, c.words);
    }
    for (const Bytes& part : Truncations(Bytes{0x00, 1} + all2))
    {
        phone.Reply(0xBB, part);
        CalendarSummaryRecord record = {9, 9, 9, 9, 9, 9, 9};
        EXPECT_EQ(Run(0x1306, &record), 0u);
        EXPECT_EQ(record.leading, part.size() < 2 ? 9u : 0u);
        EXPECT_TRUE(part.size() < 26 || record.group_2_counter_111 == 0x101) << part.size();
    }
}

}  // namespace

#include "handlers/pnd/PNDHandler.h"

#include "support/HandlerChecks.h"
#include "support/RawRecord.h"
#include "support/Text.h"
#include "zelapi/pnd.h"

#include <numeric>
#include <sstream>
#include <tuple>

namespace
{

constexpr std::uint8_t kPnd = 3;
const Bytes kNumberTypes = {12, 25, 28, 30, 40, 51, 55, 64, 67, 69, 87};
const Bytes kTextTypes = {7, 8, 9, 10, 18, 44, 52, 53, 54, 56, 57, 62, 63, 70, 71, 72, 73, 82, 83, 84, 85, 86};
const Bytes kUnknownTypes = {1, 6, 13, 19, 26, 29, 31, 41, 45, 58, 61, 65, 66, 68, 75, 81, 88, 255};

bool HoldsText(const PndField& field)
{
    return std::find(kNumberTypes.begin(), kNumberTypes.end(), field.type) == kNumberTypes.end();
}

/// A reply with a status sub-block.
Bytes StatusReply(std::uint8_t status)
{
    return {0, 1, 15, 0, 0, 8, status, 0, 0, 0};
}

/// The body of reply 8 up to its fields: location 0x1234, value 0x56789ABC.
Bytes EntryHead(std::uint8_t count)
{
    return {0, 1, 1, 0, 0, 16, 9, 9, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 9, 9, 9, count};
}

/// The body of request 11 up to its fields, for location 0x0706.
Bytes EntryToWrite(std::uint8_t store, std::uint8_t count)
{
    return {0, 1, 1, 0, 0, 16, 0xFF, store, 7, 6, 0, 0, 0, 0, 0, 0, 0, count};
}

/// A type 7 field with the text "A" and its terminator.
const Bytes kTextField = {7, 0, 0, 12, 0x81, 4, 0, 'A', 0, 0, 0, 0};
/// A sub-block that cannot be read: it has no payload.
const Bytes kMalformed = {7, 0, 0, 4};

PndField TextField(std::uint8_t type, BSTR text, std::uint8_t attribute = 0x81)
{
    PndField field;
    std::memset(&field, 0, sizeof field);
    field.attribute = attribute;
    field.type = type;
    field.value.text = text;
    return field;
}

/// The units of a text, or that there is none.
std::string Describe(BSTR text)
{
    if (text == nullptr)
        return " -";
    std::string units = " '";
    for (const char16_t unit : UnitsOf(text))
        units += unit == 0 ? '0' : static_cast<char>(unit);
    return units + "'";
}

/// Attribute, sub-attribute and type of a field, its value's bytes or text, and the texts of a group.
std::string Describe(const PndField& field)
{
    std::string out = Hex({field.attribute, field.sub_attribute, field.type});
    out += HoldsText(field) ? Describe(field.value.text) : Hex(BytesAt(&field.value, sizeof field.value));
    for (std::size_t i = 0; i < 6 && field.type == 74; ++i)
        out += Describe(field.texts[i]);
    return out;
}

using Fields = std::vector<std::string>;

/// What an entry has received, freed.
Fields Take(PndEntry& entry)
{
    Fields fields;
    for (std::size_t i = 0; i < entry.field_count; ++i)
    {
        const PndField& field = entry.fields[i];
        fields.push_back(Describe(field));
        if (HoldsText(field))
            SysFreeString(field.value.text);
        for (BSTR text : field.texts)
            SysFreeString(text);
    }
    CoTaskMemFree(entry.fields);
    return fields;
}

/// One request of each kind: its bytes for the record that RecordOf makes, where that has an array, and a full reply,
/// whose id is the next one.
struct RequestCase
{
    std::uint32_t messageId;
    std::uint8_t requestId;
    std::size_t arrayAt;
    Bytes body;
    Bytes reply;

    std::uint8_t ReplyId() const { return static_cast<std::uint8_t>(requestId + 1); }
    bool IsStore14() const { return messageId == ZEL_PND_READ_STORE_14 || messageId == ZEL_PND_WRITE_STORE_14; }
    /// Frees the array that a reply has brought.
    void FreeArray(RawRecord& record) const
    {
        if (messageId == ZEL_PND_LIST)
        {
            const auto& list = *reinterpret_cast<PndListRecord*>(record.bytes);
            for (std::size_t i = 0; i < list.count; ++i)
                SysFreeString(list.items[i].text);
        }
        if (messageId == ZEL_PND_LIST || IsStore14())
            CoTaskMemFree(record.PointerAt(arrayAt));
        else
            Take(reinterpret_cast<PndReadRecord*>(record.bytes)->entry);
    }
};

const Bytes kReadReply = EntryHead(2) + kTextField + kTextField;
const Bytes kLocationReply = {0, 1, 4, 0, 0, 8, 9, 9, 0x12, 0x34};
const Bytes kStore14Reply = EntryHead(2) + Bytes{26, 0, 0, 16, 1, 9, 2, 3, 4, 5, 6, 7, 8, 9, 10, 9};
const Bytes kStore14Field = {26, 0, 0, 16, 0x80, 0xFF, 0x22, 0x23, 0, 0, 0, 0, 0x21, 11, 0x26, 0};
const Bytes kListReply = {0, 2, 29, 0, 0, 12, 1, 2, 0x12, 0x34, 3, 2, 0, 'A', 30, 0, 0, 8, 1, 1, 1, 1};
const Bytes kStateReply = {9, 1, 2, 3,  4, 5, 9,  9,    9,    2,    2,    0, 0, 8, 1,
                           1, 1, 1, 16, 0, 0, 12, 0x12, 0x34, 0x56, 0x78, 7, 8, 0, 0};

const Bytes kFieldsHead = {0xFF, 4, 0, 0, 0, 0, 7, 6, 0, 1};

const RequestCase kRequests[] = {
    {ZEL_PND_COMMAND_21, 21, 0, {0, 4, 0, 0, 0, 0}, StatusReply(0)},
    {ZEL_PND_COMMAND_23, 23, 0, {0, 4, 0, 0, 0, 0}, StatusReply(0)},
    {ZEL_PND_READ_ENTRY, 7, 24, {4, 5, 6, 1, 0xFF, 7, 0, 0, 0, 0, 9, 8, 0, 0}, kReadReply},
    {ZEL_PND_WRITE_ENTRY, 11, 16, EntryToWrite(4, 1) + kTextField, kLocationReply},
    {ZEL_PND_READ_FIELDS, 9, 24, {0xFF, 7, 0, 0, 0, 0, 9, 8, 7, 0x81, 0, 0}, Bytes{0, 2} + kTextField + kTextField},
    {ZEL_PND_WRITE_FIELDS, 13, 16, kFieldsHead + kTextField, {0, 1, 26, 0, 0, 8, 1, 2, 3, 4}},
    {ZEL_PND_COMMAND_28, 28, 0, {0xFF, 6, 0, 0, 0, 0, 5, 4, 8, 7, 0, 0, 0, 0}, StatusReply(0)},
    {ZEL_PND_COMMAND_15, 15, 0, {0, 1, 4, 0, 0, 16, 0x80, 0xFF, 5, 4, 0, 0, 0, 0, 6, 0, 0, 0}, StatusReply(0)},
    {ZEL_PND_LIST, 37, 8, {4, 0}, kListReply},
    {ZEL_PND_READ_STORE_14, 7, 16, {4, 1, 0, 1, 0xFF, 14, 0, 0, 0, 0, 7, 6, 0, 0}, kStore14Reply},
    {ZEL_PND_WRITE_STORE_14, 11, 16, EntryToWrite(14, 1) + kStore14Field, StatusReply(0)},
    {ZEL_PND_READ_STORE_16, 7, 24, {4, 1, 0, 1, 0xFF, 16, 0, 0, 0, 0, 7, 6, 0, 0}, kReadReply},
    {ZEL_PND_WRITE_STORE_16, 11, 16, EntryToWrite(16, 1) + kTextField, kLocationReply},
    {ZEL_PND_STORE_STATE, 3, 0, {0xFF, 4, 0, 0, 48, 0, 0, 8, 0, 0, 0, 0}, kStateReply},
};

}  // namespace

class PNDHandler : public testing::Test
{
  protected:
    PNDHandler() { m_handler.SetResource(kPnd); }

    /// Bytes 4 to 15 hold their own offsets, where they are not a count or an array of one element.
    RawRecord RecordOf(const RequestCase& request)
    {
        RawRecord record(0);
        std::iota(record.bytes + 4, record.bytes + 16, std::uint8_t{4});
        if (request.arrayAt == 16)
            record.bytes[8] = 1;
        if (request.arrayAt != 0)
            record.SetPointer(request.arrayAt, request.IsStore14() ? static_cast<void*>(&m_item) : &m_field);
        return record;
    }

    /// Result of a request that gets this reply.
    template <typename Record>
    std::uint32_t Run(std::uint32_t messageId, Record& record, std::uint8_t replyId, const Bytes& reply)
    {
        m_phone.Reply(replyId, reply);
        return m_handler.EncodeRequest(m_phone, messageId, &record);
    }
    template <typename Record>
    void ExpectRefused(std::uint32_t messageId, Record record)
    {
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, messageId, &record), ZEL_E_ARGUMENT);
        EXPECT_TRUE(m_phone.Requests().empty());
    }

    BSTR BStr(std::u16string_view units) { return m_texts.emplace_back(MakeText(units)).get(); }

    /// The sub-blocks that a write sends for these fields, which are in m_written then.
    Bytes Written(const std::vector<PndField>& fields, std::uint32_t messageId = ZEL_PND_WRITE_FIELDS)
    {
        const bool isFields = messageId == ZEL_PND_WRITE_FIELDS;
        m_written = fields;
        PndWriteRecord record = {0, 5, 1, static_cast<std::uint8_t>(fields.size()), m_written.data()};
        EXPECT_EQ(Run(messageId, record, isFields ? 14 : 12, {0, 0}), ZEL_OK);
        const Bytes& body = m_phone.Last().body;
        return Bytes(body.begin() + (isFields ? 10 : 18), body.end());
    }

    /// Reads an entry, or the fields of one alone, that holds this: what has come. The result is in m_result.
    Fields Read(std::uint8_t count, const Bytes& fields, bool fieldsAlone = false)
    {
        PndReadRecord record = {0, 7, 8, 9, 5, {0x0102, 3, 4, &m_field}};
        m_result = fieldsAlone ? Run(ZEL_PND_READ_FIELDS, record, 10, Bytes{9, count} + fields)
                               : Run(ZEL_PND_READ_ENTRY, record, 8, EntryHead(count) + fields);
        PndEntry& entry = record.entry;
        EXPECT_EQ(entry.location, fieldsAlone ? 0x0102 : 0x1234);
        EXPECT_EQ(entry.value, fieldsAlone ? 3u : 0x56789ABCu);
        EXPECT_EQ(entry.field_count, m_result == ZEL_OK ? count : 0);
        EXPECT_EQ(entry.fields == nullptr, entry.field_count == 0);
        return Take(entry);
    }

    std::uint32_t Decode(std::uint8_t id, const Bytes& body)
    {
        CMessage message;
        message.SetMessageId(id);
        message.AppendBytes(body.size(), body.data());
        return m_handler.DecodeMessage(message, m_decodedId, m_decoded);
    }

    const CLeakCheck m_leaks;
    CPNDHandler m_handler;
    FakeSender m_phone;
    std::vector<CBStrOwner> m_texts;
    PndField m_field = TextField(7, BStr(u"A"));
    PndStore14Item m_item = {0, 1, 0x21, 0x2223, 4, 5, 0x26};
    std::vector<PndField> m_written;
    std::uint32_t m_result = 0;
    std::uint32_t m_decodedId = 0;
    void* m_decoded = nullptr;
};

TEST_F(PNDHandler, EveryRequestSendsItsBytesAndReportsItsStatus)
{
    for (const RequestCase& request : kRequests)
    {
        SCOPED_TRACE(request.messageId);
        const RawRecord record = RecordOf(request);
        const auto expectUntouched = [&](const Bytes& reply, std::uint32_t result) {
            m_phone.Reply(request.ReplyId(), reply);
            ExpectRecordUntouched(m_handler, m_phone, request.messageId, record, result);
        };
        expectUntouched(Bytes(16), ZEL_OK);
        EXPECT_TRUE(SameRequest(m_phone.Last(), kPnd, request.requestId, request.body, {request.ReplyId()}));
        for (const std::uint8_t status : Bytes{0x12, 0})
        {
            Bytes reply = StatusReply(status);
            if (request.messageId == ZEL_PND_STORE_STATE)  // store and value are those of the record
                reply.insert(reply.begin() + 1, {4, 11, 10, 9, 8, 9, 9, 9});
            expectUntouched(reply, status == 0 ? ZEL_OK : 0x312);
        }
        if (request.messageId == ZEL_PND_COMMAND_28)
            expectUntouched({0, 1, 77, 0, 0, 8, 0x12, 0, 0, 0}, 0x312);  // a status under another id
        if (request.requestId == 7)
            expectUntouched({0, 1, 1, 0, 0, 4}, ZEL_OK);  // an unreadable entry
        ExpectBadRecordsRefused(m_handler, request.messageId);
        ExpectUnansweredKept(m_handler, m_phone, request.messageId, record);
        // A write takes any message as its reply.
        m_phone.Reply(0x7F, StatusReply(0x12));
        ExpectRecordUntouched(m_handler, m_phone, request.messageId, record, request.requestId == 11 ? 0x312 : ZEL_OK);
    }
    for (const std::uint32_t messageId : {0x300u, 0x30Fu, 0x31Eu})
        ExpectBadRecordsRefused(m_handler, messageId, ZEL_NOT_HANDLED);
}

TEST_F(PNDHandler, TruncatedRepliesAndMissingMemoryLeaveNothingHalfFilled)
{
    for (const RequestCase& request : kRequests)
    {
        SCOPED_TRACE(request.messageId);
        bool frees = false;
        for (const Bytes& part : Truncations(request.reply))
        {
            RawRecord record = RecordOf(request);
            const void* before = record.PointerAt(request.arrayAt);
            EXPECT_EQ(Run(request.messageId, record, request.ReplyId(), part), ZEL_OK);
            if (request.arrayAt == 0 || record.PointerAt(request.arrayAt) == before)
                continue;
            request.FreeArray(record);
            frees = true;
        }
        if (frees)
            FailEachAllocation([&] {
                RawRecord record = RecordOf(request);
                const std::uint32_t result = Run(request.messageId, record, request.ReplyId(), request.reply);
                if (result == ZEL_OK)
                    request.FreeArray(record);
                return result;
            });
    }
}

TEST_F(PNDHandler, AReadIsByLocationOrByText)
{
    const std::tuple<std::uint8_t, std::uint8_t, Bytes> cases[] = {
        {0, 0, {1, 2, 0, 0}},       {1, 1, {1, 2, 0, 0}},
        {2, 1, {0xFF, 0xFF, 0, 0}}, {3, 1, {0xFF, 0xFF, 0, 0}},
        {2, 0, {0xFF, 0xFF, 0, 0}}, {3, 2, {0xFF, 0xFF, 0, 0}},
        {4, 0, {1, 2, 0, 0}},       {1, 0, Bytes{0xFF, 0xFF, 0, 1} + kTextField},
    };
    for (const auto& [kind, mode, tail] : cases)
    {
        PndReadRecord record = {0, kind, mode, 6, 5, {0x0102, 0, 0, &m_field}};
        EXPECT_EQ(Run(ZEL_PND_READ_ENTRY, record, 8, {0, 0}), ZEL_OK);
        EXPECT_TRUE(SameBytes(Bytes{kind, mode, 6, 1, 0xFF, 5, 0, 0, 0, 0} + tail, m_phone.Last().body));
    }
    for (const std::uint8_t kind : Bytes{2, 3})
        for (const std::uint8_t store : Bytes{14, 16})
        {
            RawRecord record(0);
            record.bytes[4] = kind;
            EXPECT_EQ(Run(store == 14 ? ZEL_PND_READ_STORE_14 : ZEL_PND_READ_STORE_16, record, 8, {0, 0}), ZEL_OK);
            EXPECT_TRUE(SameBytes({kind, 1, 0, 1, 0xFF, store, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0}, m_phone.Last().body));
        }
}

TEST_F(PNDHandler, BadRequestsAreRefusedBeforeTheyAreSent)
{
    // An empty text, one whose length is 0 in 8 bits, none, and a number: nothing to look for.
    PndField fields[] = {TextField(7, BStr(u"")), TextField(7, BStr(std::u16string(256, u'x'))), TextField(7, nullptr),
                         TextField(12, static_cast<BSTR>(kUnreadable))};
    auto* const unreadable = static_cast<PndField*>(kUnreadable);
    for (PndField* field :
         {&fields[0], &fields[1], &fields[2], &fields[3], unreadable, static_cast<PndField*>(nullptr)})
        ExpectRefused(ZEL_PND_READ_ENTRY, PndReadRecord{0, ZEL_PND_BY_TEXT, 0, 6, 5, {1, 0, 1, field}});
    for (PndField* field : {unreadable, static_cast<PndField*>(nullptr)})
        ExpectRefused(ZEL_PND_READ_FIELDS, PndReadRecord{0, 7, 8, 9, 5, {1, 0, 1, field}});
    PndField untyped[2] = {TextField(0, nullptr), TextField(0, nullptr)};
    for (const std::uint32_t messageId : {ZEL_PND_WRITE_ENTRY, ZEL_PND_WRITE_FIELDS, ZEL_PND_WRITE_STORE_16})
    {
        PndWriteRecord record = {0, 5, 1, 2, untyped};
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, messageId, &record), ZEL_E_ARGUMENT);
        EXPECT_EQ(record.field_count, 0) << "lowered by each field without a type";
        ExpectRefused(messageId, record);
        record = {0, 5, 1, 2, unreadable};
        ExpectRecordUntouched(m_handler, m_phone, messageId, record, ZEL_E_ARGUMENT);
    }
    ExpectRefused(ZEL_PND_COMMAND_15, PndCommand15Record{0, 1, 16});
    ExpectRefused(ZEL_PND_WRITE_STORE_14, PndStore14Record{0, 7, 1, 0, 1, nullptr});
}

TEST_F(PNDHandler, FieldsHaveOneFormInBothDirections)
{
    // The phone's minor version, a whole sub-block, and the value's bytes in memory, none for the text "AB".
    std::vector<std::tuple<std::uint8_t, Bytes, Bytes>> cases = {
        {54, {62, 0, 0, 12, 0x81, 6, 0, 'A', 0, 'B', 0, 0}, {}},
        {54, {63, 0, 0, 16, 0x81, 0, 0, 6, 0, 'A', 0, 'B', 0, 0, 0, 0}, {}},
        {53, {11, 0, 0, 16, 0x81, 5, 0, 0, 0, 6, 0, 'A', 0, 'B', 0, 0}, {}},
        {53, {87, 0, 0, 12, 0x81, 1, 0x07, 0xE8, 2, 29, 13, 14}, {0xE8, 0x07, 2, 29, 13, 14}},
    };
    for (const std::uint8_t type : kTextTypes)
        cases.push_back({53, {type, 0, 0, 12, 0x81, 6, 0, 'A', 0, 'B', 0, 0}, {}});
    for (const std::uint8_t type : Bytes{12, 67})
        cases.push_back({53, {type, 0, 0, 8, 0x81, 0, 0x12, 0x34}, {0x34, 0x12}});
    for (const std::uint8_t type : Bytes{25, 28, 30, 40, 64})
        cases.push_back({53, {type, 0, 0, 8, 0x81, 0xFE, 0, 0}, {0xFE}});
    for (const std::uint8_t type : Bytes{51, 55, 69})
        cases.push_back({53, {type, 0, 0, 16, 0x81, 0, 0, 0, 1, 2, 3, 4, 0, 0, 0, 1}, {4, 3, 2, 1}});

    for (const auto& [minor, block, value] : cases)
    {
        SCOPED_TRACE(Hex(block));
        m_phone.SetVersion(kPnd, 5, minor);
        PndField field = TextField(block[0], value.empty() ? BStr(std::u16string_view(u"AB\0", 3)) : nullptr);
        std::copy(value.begin(), value.end(), reinterpret_cast<std::uint8_t*>(&field.value));
        field.sub_attribute = block[0] == 11 ? 5 : 0;
        EXPECT_EQ(Read(1, block), Fields{Describe(field)}) << "a text with its terminator";
        if (value.empty())
            field.value.text = BStr(u"AB");
        EXPECT_TRUE(SameBytes(block, Written({field})));
    }
    for (const std::uint8_t type : kUnknownTypes)
    {
        SCOPED_TRACE(unsigned{type});
        EXPECT_TRUE(SameBytes({type, 0, 0, 8, 0x81, 0, 0, 0}, Written({TextField(type, BStr(u"A"))})));
        EXPECT_EQ(Read(1, {type, 0, 0, 12, 0x82, 4, 0, 'A', 0, 0, 0, 0}), Fields{"82 00 00  -"});
    }
}

TEST_F(PNDHandler, TheVersionChoosesTheLengthOfType63AndTheStore)
{
    const std::tuple<std::uint8_t, std::uint8_t, std::uint8_t, bool> versions[] = {
        {4, 99, 16, false}, {5, 24, 16, false}, {5, 25, 35, false},
        {5, 53, 35, false}, {5, 54, 35, true},  {6, 0, 35, true}};
    const Bytes wide = {63, 0, 0, 12, 0x81, 0, 0, 4, 0, 'A', 0, 0};
    const Bytes narrow = {63, 0, 0, 12, 0x81, 4, 0, 'A', 0, 0, 0, 0};
    for (const auto& [major, minor, store, isWide] : versions)
    {
        SCOPED_TRACE(unsigned{minor});
        m_phone.SetVersion(kPnd, major, minor);
        PndReadStore16Record read = {};
        EXPECT_EQ(Run(ZEL_PND_READ_STORE_16, read, 8, {0, 0}), ZEL_OK);
        EXPECT_EQ(m_phone.Last().body[5], store);
        EXPECT_TRUE(SameBytes(isWide ? wide : narrow, Written({TextField(63, BStr(u"A"))}, ZEL_PND_WRITE_STORE_16)));
        EXPECT_EQ(m_phone.Last().body[7], store);
    }
    const Bytes block = Written({TextField(63, BStr(std::u16string(200, u'x')))});
    EXPECT_TRUE(SameBytes({63, 0, 1, 0x9C, 0x81, 0, 0x01, 0x92, 0, 'x'}, BytesAt(block.data(), 10)));
}

TEST_F(PNDHandler, WritesFieldsInOrderWithoutTheUntypedOnes)
{
    PndField fields[] = {TextField(0, nullptr), TextField(7, nullptr, 0), TextField(0, nullptr), TextField(58, nullptr),
                         TextField(8, static_cast<BSTR>(kUnreadable))};
    PndWriteRecord record = {0, 5, 0x0706, 5, fields};
    EXPECT_EQ(Run(ZEL_PND_WRITE_ENTRY, record, 12, {0, 1, 4, 0, 0, 8, 9, 9, 0x12, 0x34}), ZEL_OK);
    EXPECT_TRUE(SameBytes(EntryToWrite(5, 3) + Bytes{7,  0, 0, 8, 0x80, 2, 0, 0,  //
                                                     58, 0, 0, 8, 0x81, 0, 0, 0,  //
                                                     8,  0, 0, 8, 0x81, 2, 0, 0},
                          m_phone.Last().body));
    EXPECT_EQ(record.field_count, 3);
    EXPECT_EQ(record.location, 0x1234);
    EXPECT_EQ(fields[1].attribute, 0x80) << "the attribute that was sent";

    const std::vector<PndField> longs = {TextField(7, BStr(std::u16string(128, u'x'))),
                                         TextField(8, BStr(std::u16string_view(u"A\0", 2)))};
    const Bytes sent = Written(longs);
    ASSERT_EQ(sent.size(), 264u + 12u);
    EXPECT_TRUE(SameBytes({7, 0, 1, 8, 0x81, 2, 0, 'x'}, BytesAt(sent.data(), 8))) << "the low byte of a length";
    EXPECT_TRUE(SameBytes({8, 0, 0, 12, 0x81, 6, 0, 'A', 0, 0, 0, 0}, BytesAt(&sent[264], 12)));
}

TEST_F(PNDHandler, AGroupIsSentAsAHeaderAndItsTextsBehindIt)
{
    const auto units = [](std::size_t count, char unit) {
        Bytes bytes;
        for (std::size_t i = 0; i < count; ++i)
            bytes = bytes + Bytes{0, static_cast<std::uint8_t>(unit)};
        return bytes;
    };
    // Sent are texts of 1 to 126 units; 257 units count as 1, but are all written.
    PndField group = TextField(74, nullptr, 0);
    BSTR const texts[] = {BStr(u"A"),
                          BStr(std::u16string(127, u'y')),
                          BStr(u""),
                          static_cast<BSTR>(kUnreadable),
                          BStr(std::u16string(126, u'y')),
                          BStr(std::u16string(257, u'z'))};
    std::copy(std::begin(texts), std::end(texts), group.texts);
    const Bytes expected = Bytes{74, 0, 0, 8, 0x80, 0, 0, 3, 75, 0, 0, 12, 0x80, 4, 0, 'A', 0, 0, 0, 0} +
                           Bytes{79, 0, 1, 4, 0x80, 254} + units(126, 'y') + Bytes{0, 0, 80, 0, 2, 12, 0x80, 4} +
                           units(257, 'z') + Bytes(4);
    EXPECT_EQ(expected.size(), 8u + 12u + 260u + 524u);
    for (const std::uint32_t messageId : {ZEL_PND_WRITE_ENTRY, ZEL_PND_WRITE_FIELDS, ZEL_PND_WRITE_STORE_16})
    {
        EXPECT_TRUE(SameBytes(expected, Written({group}, messageId)));
        EXPECT_EQ(m_written[0].attribute, 0x80);
    }

    const Bytes bare = {74, 0, 0, 8, 0x81, 0, 0, 0};
    EXPECT_TRUE(SameBytes(bare, Written({TextField(74, nullptr)})));
    PndField search = TextField(74, BStr(u"A"));
    PndReadRecord record = {0, ZEL_PND_BY_TEXT, 0, 6, 5, {1, 0, 1, &search}};
    EXPECT_EQ(Run(ZEL_PND_READ_ENTRY, record, 8, {0, 0}), ZEL_OK);
    EXPECT_TRUE(SameBytes(Bytes{1, 0, 6, 1, 0xFF, 5, 0, 0, 0, 0, 0xFF, 0xFF, 0, 1} + bare, m_phone.Last().body));
}

TEST_F(PNDHandler, AnEntryHoldsWhatThePhoneSends)
{
    const Bytes group = {74, 0, 0, 56, 0x81, 9, 9, 6,                // attribute, two bytes, count
                         75, 0, 0, 8,  9,    2, 0, 'A',              //
                         80, 0, 0, 8,  9,    2, 0, 'F',              //
                         77, 0, 0, 8,  9,    0, 0, 'x',              // no text
                         81, 0, 0, 8,  9,    2, 0, 'x',              // not a text of a group
                         75, 0, 0, 12, 9,    4, 0, 'B', 0, 0, 0, 0,  // replaces the first
                         76, 0, 0, 4};                               // unreadable: ends the walk
    const std::string zeros(126, '0');
    const std::tuple<const char*, std::uint8_t, Bytes, Fields> cases[] = {
        {"nothing", 0, {}, {}},
        {"fewer fields than counted", 255, {}, Fields(255, "00 00 00  -")},
        {"a group", 2, group + kTextField, {"81 00 4a  - 'B0' - - - - 'F'", "81 00 07  'A0'"}},
        {"a group that claims more texts",
         1,
         {74, 0, 0, 16, 0x81, 0, 0, 255, 75, 0, 0, 8, 9, 255, 0, 'A'},
         {"81 00 4a  - 'A" + zeros + "' - - - - -"}},
        {"a length beyond the sub-block", 1, {7, 0, 0, 8, 0x81, 255, 0, 'A'}, {"81 00 07  'A" + zeros + "'"}},
        {"an odd length", 1, {8, 0, 0, 8, 0x81, 3, 0, 'B'}, {"81 00 08  'B'"}},
        {"no length", 1, {9, 0, 0, 8, 0, 0, 0, 0}, {"00 00 09  ''"}},
        {"1 stands for the sub-attribute 0", 1, {11, 0, 0, 8, 0x81, 0, 0, 0}, {"81 01 0b  ''"}},
        {"numbers",
         2,
         kTextField + Bytes{25, 0, 0, 8, 0x81, 6, 0, 0},
         {"81 00 07  'A0'", "81 00 19 06 00 00 00 00 00 00 00 "}},
    };
    for (const auto& [name, count, fields, expected] : cases)
    {
        SCOPED_TRACE(name);
        EXPECT_EQ(Read(count, fields), expected);
        EXPECT_EQ(count == 0 ? Fields() : Read(count, fields, true), expected) << "fields alone";
    }
    FailEachAllocation([&] { return Read(1, group), m_result; });

    const Bytes small = {74, 0, 0, 16, 0x81, 9, 9, 1, 75, 0, 0, 8, 9, 2, 0, 'A'};
    for (const Bytes& before : {Bytes(), kTextField, small})
        for (const bool fieldsAlone : {false, true})
        {
            Read(before.empty() ? 1 : 2, before + kMalformed, fieldsAlone);
            EXPECT_EQ(m_result, ZEL_E_FAIL) << "a malformed field delivers none";
        }
}

TEST_F(PNDHandler, ListsItems)
{
    PndListRecord record = {0, 5, 0, nullptr};
    const Bytes reply = {9,  3,                                                                //
                         30, 0, 0, 8,  1,    1,    1,    1,                                    // another id
                         29, 0, 0, 16, 0x11, 0x12, 0x13, 0x14, 0x15, 5, 0, 'A', 0, 'B', 9, 0,  //
                         29, 0, 0, 4};                                                         // unreadable
    ASSERT_EQ(Run(ZEL_PND_LIST, record, 38, reply), ZEL_OK);
    ASSERT_EQ(record.count, 3);
    EXPECT_TRUE(SameBytes({0, 0, 0, 0, 0x11, 0x12, 0x14, 0x13, 0x15, 5}, BytesAt(&record.items[1], 10)));
    EXPECT_EQ(Describe(record.items[1].text), " 'AB'");
    for (const int zeroed : {0, 2})
        EXPECT_TRUE(SameBytes(Bytes(24), BytesAt(&record.items[zeroed], 24)));
    SysFreeString(record.items[1].text);
    CoTaskMemFree(record.items);
}

TEST_F(PNDHandler, ReadsStores)
{
    const Bytes item = {0, 0, 0, 0, 1, 8, 3, 2, 7, 6, 5, 4, 9, 10, 0, 0};
    const std::tuple<Bytes, std::uint8_t, Bytes> cases[] = {
        {kStore14Reply, 2, item + Bytes(16)},
        {EntryHead(1) + Bytes{27, 0, 0, 16, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 1, Bytes(16)},  // another id
        {EntryHead(1) + Bytes{26, 0, 0, 4}, 1, Bytes(16)},                                          // unreadable
        {EntryHead(0), 0, {}},
    };
    for (const auto& [reply, count, items] : cases)
    {
        RawRecord record(9);
        EXPECT_EQ(Run(ZEL_PND_READ_STORE_14, record, 8, reply), ZEL_OK);
        const Parts fields = {{6, {0x34, 0x12, 0xBC, 0x9A, 0x78, 0x56, count}}, {16, Bytes(8)}};
        EXPECT_TRUE(SameRecord(fields, count == 0 ? Parts() : Parts{{16, items}}, record, 9));
        CoTaskMemFree(record.PointerAt(16));
    }

    RawRecord state(0);
    const Bytes reply = {9,  0x11, 0x12, 0x13, 0x14, 0x15, 9,    9,    9,    2,  //
                         2,  0,    0,    8,    1,    1,    1,    1,              //
                         16, 0,    0,    12,   0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0, 0};
    EXPECT_EQ(Run(ZEL_PND_STORE_STATE, state, 4, reply), ZEL_OK);
    const Bytes values = {0x15, 0x14, 0x13, 0x12, 0x22, 0x21, 0x24, 0x23, 0x25, 0x26};
    EXPECT_TRUE(SameRecord({{4, {0x11}}, {8, values}}, {}, state, 0));
}

TEST_F(PNDHandler, DecodesAndFreesAnEvent)
{
    const std::pair<std::uint8_t, std::uint8_t> kindOfCode[] = {{11, 1}, {13, 2}, {15, 3}, {28, 4}, {0, 2}, {255, 2}};
    for (const auto& [code, kind] : kindOfCode)
    {
        const Bytes body = {9, 1, 2, 3, 4, 5, 6, 7, code, 8};
        const Bytes expected = {0, 0, 0, 0, 1, 0, 0, 0, 5, 4, 3, 2, 7, 6, kind, 8};
        FailEachAllocation([&] {
            m_decoded = nullptr;
            if (const std::uint32_t result = Decode(30, body); result != ZEL_OK)
                return m_decoded == nullptr ? result : ZEL_OK;
            EXPECT_EQ(m_decodedId, ZEL_PND_EVENT);
            EXPECT_TRUE(SameBytes(expected, BytesAt(m_decoded, sizeof(PndEventRecord))));
            EXPECT_EQ(m_handler.FreeDecodedData(ZEL_PND_EVENT - 1, m_decoded), ZEL_NOT_HANDLED);
            return m_handler.FreeDecodedData(ZEL_PND_EVENT, m_decoded);
        });
    }
    EXPECT_EQ(Decode(29, {}), ZEL_NOT_HANDLED);
    for (void* bad : {static_cast<void*>(nullptr), kUnreadable})
        EXPECT_EQ(m_handler.FreeDecodedData(ZEL_PND_EVENT, bad), ZEL_OK);
}

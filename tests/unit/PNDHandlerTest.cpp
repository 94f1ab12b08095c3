#include "handlers/pnd/PNDHandler.h"

#include "support/HandlerFixture.h"
#include "support/RawRecord.h"
#include "support/RecordShapes.h"
#include "support/Text.h"
#include "zelapi/pnd.h"

#include <numeric>
#include <tuple>

namespace
{

using namespace std::string_view_literals;

constexpr std::uint8_t kGroup = 74;
constexpr std::uint8_t kWideType = 63;

/// How the fields of some types travel, behind the id of their sub-block, and their value's bytes in memory, none for
/// the text "AB".
struct Form
{
    Bytes types;
    Bytes block;
    Bytes value;
};

const Bytes kTextBlock = {0, 0, 12, 0x81, 6, 0, 'A', 0, 'B', 0, 0};
const Form kWideForm = {{kWideType}, {0, 0, 16, 0x81, 0, 0, 6, 0, 'A', 0, 'B', 0, 0, 0, 0}, {}};
const Form kForms[] = {
    {{7, 8, 9, 10, 18, 44, 52, 53, 54, 56, 57, 62, 63, 70, 71, 72, 73, 82, 83, 84, 85, 86}, kTextBlock, {}},
    {{11}, {0, 0, 16, 0x81, 5, 0, 0, 0, 6, 0, 'A', 0, 'B', 0, 0}, {}},
    {{12, 67}, {0, 0, 8, 0x81, 0, 0x12, 0x34}, {0x34, 0x12}},
    {{25, 28, 30, 40, 64}, {0, 0, 8, 0x81, 0xFE, 0, 0}, {0xFE}},
    {{51, 55, 69}, {0, 0, 16, 0x81, 0, 0, 0, 1, 2, 3, 4, 0, 0, 0, 1}, {4, 3, 2, 1}},
    {{87}, {0, 0, 12, 0x81, 1, 0x07, 0xE8, 2, 29, 13, 14}, {0xE8, 0x07, 2, 29, 13, 14}},
};

/// Null for a type that is not known, and for a group.
const Form* FormOf(std::uint8_t type)
{
    for (const Form& form : kForms)
        if (std::find(form.types.begin(), form.types.end(), type) != form.types.end())
            return &form;
    return nullptr;
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

/// The units of a text, zeros as '0', or that there is none.
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
    const Form* form = FormOf(field.type);
    std::string out = Hex({field.attribute, field.sub_attribute, field.type});
    out += form == nullptr || form->value.empty() ? Describe(field.value.text)
                                                  : Hex(BytesAt(&field.value, sizeof field.value));
    for (std::size_t i = 0; i < 6 && field.type == kGroup; ++i)
        out += Describe(field.texts[i]);
    return out;
}

using Fields = std::vector<std::string>;

/// One request of each kind: its bytes for the record that RecordOf makes, where that has an array and its count, and a
/// full reply, whose id is the next one.
struct RequestCase
{
    std::uint32_t messageId;
    std::uint8_t requestId;
    std::size_t arrayAt;
    std::size_t countAt;
    Bytes body;
    Bytes reply;

    std::uint8_t ReplyId() const { return static_cast<std::uint8_t>(requestId + 1); }
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
    {ZEL_PND_COMMAND_21, 21, 0, 0, {0, 4, 0, 0, 0, 0}, StatusReply(0)},
    {ZEL_PND_COMMAND_23, 23, 0, 0, {0, 4, 0, 0, 0, 0}, StatusReply(0)},
    {ZEL_PND_READ_ENTRY, 7, 24, 16, {4, 5, 6, 1, 0xFF, 7, 0, 0, 0, 0, 9, 8, 0, 0}, kReadReply},
    {ZEL_PND_WRITE_ENTRY, 11, 16, 8, EntryToWrite(4, 1) + kTextField, kLocationReply},
    {ZEL_PND_READ_FIELDS, 9, 24, 16, {0xFF, 7, 0, 0, 0, 0, 9, 8, 7, 0x81, 0, 0}, Bytes{0, 2} + kTextField + kTextField},
    {ZEL_PND_WRITE_FIELDS, 13, 16, 8, kFieldsHead + kTextField, {0, 1, 26, 0, 0, 8, 1, 2, 3, 4}},
    {ZEL_PND_COMMAND_28, 28, 0, 0, {0xFF, 6, 0, 0, 0, 0, 5, 4, 8, 7, 0, 0, 0, 0}, StatusReply(0)},
    {ZEL_PND_COMMAND_15, 15, 0, 0, {0, 1, 4, 0, 0, 16, 0x80, 0xFF, 5, 4, 0, 0, 0, 0, 6, 0, 0, 0}, StatusReply(0)},
    {ZEL_PND_LIST, 37, 0, 0, {4, 0}, kListReply},
    {ZEL_PND_READ_STORE_14, 7, 0, 12, {4, 1, 0, 1, 0xFF, 14, 0, 0, 0, 0, 7, 6, 0, 0}, kStore14Reply},
    {ZEL_PND_WRITE_STORE_14, 11, 16, 12, EntryToWrite(14, 1) + kStore14Field, StatusReply(0)},
    {ZEL_PND_READ_STORE_16, 7, 0, 0, {4, 1, 0, 1, 0xFF, 16, 0, 0, 0, 0, 7, 6, 0, 0}, kReadReply},
    {ZEL_PND_WRITE_STORE_16, 11, 16, 8, EntryToWrite(16, 1) + kTextField, kLocationReply},
    {ZEL_PND_STORE_STATE, 3, 0, 0, {0xFF, 4, 0, 0, 48, 0, 0, 8, 0, 0, 0, 0}, kStateReply},
};

class PNDHandler : public HandlerFixture<CPNDHandler, 3>
{
  protected:
    /// Bytes 4 to 15 hold their own offsets, where they are not the count of an array of one element or none.
    RawRecord RecordOf(const RequestCase& request)
    {
        RawRecord record(0);
        std::iota(record.bytes + 4, record.bytes + 16, std::uint8_t{4});
        if (request.countAt != 0)
            record.bytes[request.countAt] = request.arrayAt == 0 ? 0 : 1;
        const bool isStore14 = request.messageId == ZEL_PND_WRITE_STORE_14;
        if (request.arrayAt != 0)
            record.SetPointer(request.arrayAt, isStore14 ? static_cast<void*>(&m_item) : &m_field);
        return record;
    }

    BSTR BStr(std::u16string_view units) { return m_texts.emplace_back(MakeText(units)).get(); }

    /// The sub-blocks that a write sends for these fields, which are in m_written then.
    Bytes Written(const std::vector<PndField>& fields, std::uint32_t messageId = ZEL_PND_WRITE_FIELDS)
    {
        const bool isFields = messageId == ZEL_PND_WRITE_FIELDS;
        m_written = fields;
        PndWriteRecord record = {0, 5, 1, static_cast<std::uint8_t>(fields.size()), m_written.data()};
        EXPECT_EQ(Ask(messageId, &record, isFields ? 14 : 12, {0, 0}), ZEL_OK);
        const Bytes& body = m_phone.Last().body;
        return Bytes(body.begin() + (isFields ? 10 : 18), body.end());
    }

    /// Reads an entry, or the fields of one alone, that holds this: what has come.
    Fields Read(std::uint8_t count, const Bytes& fields, bool fieldsAlone = false, std::uint32_t expected = ZEL_OK)
    {
        PndReadRecord record = {0, 7, 8, 9, 5, {0x0102, 3, 4, &m_field}};
        EXPECT_EQ(fieldsAlone ? Ask(ZEL_PND_READ_FIELDS, &record, 10, Bytes{9, count} + fields)
                              : Ask(ZEL_PND_READ_ENTRY, &record, 8, EntryHead(count) + fields),
                  expected);
        const PndEntry& entry = record.entry;
        EXPECT_EQ(entry.location, fieldsAlone ? 0x0102 : 0x1234);
        EXPECT_EQ(entry.value, fieldsAlone ? 3u : 0x56789ABCu);
        EXPECT_EQ(entry.field_count, expected == ZEL_OK ? count : 0);
        EXPECT_EQ(entry.fields == nullptr, entry.field_count == 0);
        Fields taken;
        for (std::size_t i = 0; i < entry.field_count; ++i)
            taken.push_back(Describe(entry.fields[i]));
        FreeReceived(ZEL_PND_READ_STORE_16, &record);
        return taken;
    }

    void ExpectNothingToLookFor(PndField field)
    {
        ExpectRefused(ZEL_PND_READ_ENTRY, PndReadRecord{0, ZEL_PND_BY_TEXT, 0, 6, 5, {1, 0, 1, &field}},
                      ZEL_E_ARGUMENT);
    }

    std::vector<CBStrOwner> m_texts;
    PndField m_field = TextField(7, BStr(u"A"));
    PndStore14Item m_item = {0, 1, 0x21, 0x2223, 4, 5, 0x26};
    std::vector<PndField> m_written;
};

TEST_F(PNDHandler, EveryRequestSendsItsBytesAndReportsItsStatus)
{
    for (const RequestCase& request : kRequests)
    {
        SCOPED_TRACE(request.messageId);
        const RawRecord record = RecordOf(request);
        const std::uint8_t id = request.ReplyId();
        ExpectOutcomes(request.messageId, record, {{id, Bytes(16), ZEL_OK}});
        EXPECT_TRUE(Sent(request.requestId, request.body, {id}));
        for (const std::uint8_t status : Bytes{0x12, 0})
        {
            Bytes reply = StatusReply(status);
            if (request.messageId == ZEL_PND_STORE_STATE)  // store and value are those of the record
                reply.insert(reply.begin() + 1, {4, 11, 10, 9, 8, 9, 9, 9});
            ExpectOutcomes(request.messageId, record, {{id, reply, status == 0 ? ZEL_OK : 0x312}});
        }
        if (request.messageId == ZEL_PND_COMMAND_28)  // a status under another id
            ExpectOutcomes(request.messageId, record, {{id, {0, 1, 77, 0, 0, 8, 0x12, 0, 0, 0}, 0x312}});
        if (request.requestId == 7)  // an unreadable entry
            ExpectOutcomes(request.messageId, record, {{id, {0, 1, 1, 0, 0, 4}, ZEL_OK}});
        // A write takes any message as its reply.
        ExpectOutcomes(request.messageId, record,
                       {{0x7F, StatusReply(0x12), request.requestId == 11 ? 0x312 : ZEL_OK}});
        ExpectUnanswered(request.messageId, record);
        ExpectBadRecordsRefused(m_handler, request.messageId);
        Survives(request.messageId, &record, id, request.reply);
    }
    ExpectNotHandled({ZEL_PND_COMMAND_21 - 1, ZEL_PND_STORE_STATE + 1, ZEL_PND_EVENT});
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
        EXPECT_EQ(Ask(ZEL_PND_READ_ENTRY, &record, 8, {0, 0}), ZEL_OK);
        EXPECT_TRUE(SameBytes(Bytes{kind, mode, 6, 1, 0xFF, 5, 0, 0, 0, 0} + tail, m_phone.Last().body));
        PndStore14Record store14 = {0, kind, 0x0102, 0, 0, nullptr};
        PndReadStore16Record store16 = {0, kind, 0x0102, {}};
        if (mode != ZEL_PND_MODE_LOCATION)
            continue;
        EXPECT_EQ(Ask(ZEL_PND_READ_STORE_14, &store14, 8, {0, 0}), ZEL_OK);
        EXPECT_TRUE(SameBytes(Bytes{kind, 1, 0, 1, 0xFF, 14, 0, 0, 0, 0} + tail, m_phone.Last().body));
        EXPECT_EQ(Ask(ZEL_PND_READ_STORE_16, &store16, 8, {0, 0}), ZEL_OK);
        EXPECT_TRUE(SameBytes(Bytes{kind, 1, 0, 1, 0xFF, 16, 0, 0, 0, 0} + tail, m_phone.Last().body));
    }
}

TEST_F(PNDHandler, BadRequestsAreRefusedBeforeTheyAreSent)
{
    // An empty text, one whose length is 0 in 8 bits, and none: nothing to look for.
    for (const BSTR text : {BStr(u""), BStr(std::u16string(256, u'x')), static_cast<BSTR>(nullptr)})
        ExpectNothingToLookFor(TextField(7, text));
    PndField untyped[2] = {TextField(0, nullptr), TextField(0, nullptr)};
    for (void* bad : {kUnreadable, static_cast<void*>(nullptr), static_cast<void*>(untyped)})
    {
        auto* const fields = static_cast<PndField*>(bad);
        for (const std::uint32_t messageId : {ZEL_PND_WRITE_ENTRY, ZEL_PND_WRITE_FIELDS, ZEL_PND_WRITE_STORE_16})
        {
            PndWriteRecord record = {0, 5, 1, 2, fields};
            EXPECT_EQ(m_handler.EncodeRequest(m_phone, messageId, &record), ZEL_E_ARGUMENT);
            EXPECT_EQ(record.field_count, bad == untyped ? 0 : 2) << "lowered by each field without a type";
            ExpectRefused(messageId, record, ZEL_E_ARGUMENT);
        }
        if (bad == untyped)
            continue;
        ExpectRefused(ZEL_PND_READ_ENTRY, PndReadRecord{0, ZEL_PND_BY_TEXT, 0, 6, 5, {1, 0, 1, fields}},
                      ZEL_E_ARGUMENT);
        ExpectRefused(ZEL_PND_READ_FIELDS, PndReadRecord{0, 7, 8, 9, 5, {1, 0, 1, fields}}, ZEL_E_ARGUMENT);
        ExpectRefused(ZEL_PND_WRITE_STORE_14, PndStore14Record{0, 7, 1, 0, 1, static_cast<PndStore14Item*>(bad)},
                      ZEL_E_ARGUMENT);
    }
    EXPECT_TRUE(m_phone.Requests().empty());
    ExpectRefused(ZEL_PND_COMMAND_15, PndCommand15Record{0, 1, 16}, ZEL_E_ARGUMENT);
}

TEST_F(PNDHandler, FieldsHaveOneFormInBothDirections)
{
    for (unsigned i = 0; i < 2 * 256; ++i)
    {
        const auto type = static_cast<std::uint8_t>(i);
        const std::uint8_t minor = i < 256 ? 53 : 54;
        SCOPED_TRACE("type " + std::to_string(type) + ", version 5." + std::to_string(minor));
        m_phone.SetVersion(kResource, 5, minor);
        const Form* form = type == kWideType && minor == 54 ? &kWideForm : FormOf(type);
        if (form == nullptr)
            continue;
        const bool isText = form->value.empty();
        const Bytes block = Bytes{type} + form->block;
        PndField field = TextField(type, isText ? BStr(u"AB\0"sv) : nullptr);
        std::copy(form->value.begin(), form->value.end(), reinterpret_cast<std::uint8_t*>(&field.value));
        field.sub_attribute = type == 11 ? 5 : 0;
        EXPECT_EQ(Read(1, block), Fields{Describe(field)}) << "a text with its terminator";
        Read(2, block + kMalformed, minor == 53, ZEL_E_FAIL);
        field.value.text = isText ? BStr(u"AB") : field.value.text;
        EXPECT_TRUE(SameBytes(block, Written({field})));
        // A number may look like an address.
        field.value.text = BStr(u"A");
        if (!isText)
            ExpectNothingToLookFor(field);
    }
}

TEST_F(PNDHandler, OtherTypesAreAnAttributeAlone)
{
    for (unsigned i = 0; i < 256; ++i)
    {
        SCOPED_TRACE(i);
        const auto type = static_cast<std::uint8_t>(i);
        if (FormOf(type) != nullptr)
            continue;
        const Bytes bare = {type, 0, 0, 8, 0x81, 0, 0, 0};
        PndField field = TextField(type, BStr(u"A"));
        PndReadRecord search = {0, ZEL_PND_BY_TEXT, 0, 6, 5, {1, 0, 1, &field}};
        EXPECT_EQ(Ask(ZEL_PND_READ_ENTRY, &search, 8, {0, 0}), ZEL_OK);
        EXPECT_TRUE(SameBytes(bare, Bytes(m_phone.Last().body.begin() + 14, m_phone.Last().body.end())));
        EXPECT_TRUE(type == 0 || SameBytes(bare, Written({field})));
        EXPECT_TRUE(type == kGroup || Read(1, {type, 0, 0, 12, 0x82, 4, 0, 'A', 0, 0, 0, 0}) == Fields{"82 00 00  -"});
    }
}

TEST_F(PNDHandler, TheVersionChoosesTheLengthOfType63AndTheStore)
{
    const std::tuple<std::uint8_t, std::uint8_t, std::uint8_t, bool> versions[] = {
        {4, 99, 16, false}, {5, 24, 16, false}, {5, 25, 35, false},
        {5, 53, 35, false}, {5, 54, 35, true},  {6, 0, 35, true}};
    const PndField field = TextField(kWideType, BStr(u"A"));
    for (const auto& [major, minor, store, isWide] : versions)
    {
        SCOPED_TRACE(unsigned{minor});
        m_phone.SetVersion(kResource, major, minor);
        PndReadStore16Record read = {};
        EXPECT_EQ(Ask(ZEL_PND_READ_STORE_16, &read, 8, {0, 0}), ZEL_OK);
        EXPECT_EQ(m_phone.Last().body[5], store);
        EXPECT_EQ(Written({field}, ZEL_PND_WRITE_STORE_16)[5], isWide ? 0 : 4);
        EXPECT_EQ(m_phone.Last().body[7], store);
    }
    const Bytes block = Written({TextField(kWideType, BStr(std::u16string(200, u'x')))});
    EXPECT_TRUE(SameBytes({kWideType, 0, 1, 0x9C, 0x81, 0, 0x01, 0x92, 0, 'x'}, BytesAt(block.data(), 10)));
}

TEST_F(PNDHandler, WritesFieldsInOrderWithoutTheUntypedOnes)
{
    PndField fields[] = {TextField(0, nullptr), TextField(7, nullptr, 0), TextField(0, nullptr), TextField(58, nullptr),
                         TextField(8, static_cast<BSTR>(kUnreadable))};
    PndWriteRecord record = {0, 5, 0x0706, 5, fields};
    EXPECT_EQ(Ask(ZEL_PND_WRITE_ENTRY, &record, 12, kLocationReply), ZEL_OK);
    EXPECT_TRUE(SameBytes(EntryToWrite(5, 3) + Bytes{7,  0, 0, 8, 0x80, 2, 0, 0,  //
                                                     58, 0, 0, 8, 0x81, 0, 0, 0,  //
                                                     8,  0, 0, 8, 0x81, 2, 0, 0},
                          m_phone.Last().body));
    EXPECT_EQ(record.field_count, 3);
    EXPECT_EQ(record.location, 0x1234);
    EXPECT_EQ(fields[1].attribute, 0x80) << "the attribute that was sent";

    const Bytes sent = Written({TextField(7, BStr(std::u16string(128, u'x'))), TextField(8, BStr(u"A\0"sv))});
    ASSERT_EQ(sent.size(), 264u + 12u);
    EXPECT_TRUE(SameBytes({7, 0, 1, 8, 0x81, 2, 0, 'x'}, BytesAt(sent.data(), 8))) << "the low byte of a length";
    EXPECT_TRUE(SameBytes({8, 0, 0, 12, 0x81, 6, 0, 'A', 0, 0, 0, 0}, BytesAt(&sent[264], 12)));
}

TEST_F(PNDHandler, AGroupIsSentAsAHeaderAndItsTextsBehindIt)
{
    // Sent are texts of 1 to 126 units; 257 units count as 1, but are all written.
    PndField group = TextField(kGroup, nullptr, 0);
    const std::u16string texts[] = {u"A", std::u16string(127, u'y'), u"",
                                    u"",  std::u16string(126, u'y'), std::u16string(257, u'z')};
    std::transform(std::begin(texts), std::end(texts), group.texts, [&](const auto& text) { return BStr(text); });
    group.texts[3] = static_cast<BSTR>(kUnreadable);
    const Bytes expected = Bytes{74, 0, 0, 8, 0x80, 0, 0, 3, 75, 0, 0, 12, 0x80, 4, 0, 'A', 0, 0, 0, 0} +
                           Bytes{79, 0, 1, 4, 0x80, 254} + WireText(texts[4]) + Bytes{0, 0, 80, 0, 2, 12, 0x80, 4} +
                           WireText(texts[5]) + Bytes(4);
    EXPECT_EQ(expected.size(), 8u + 12u + 260u + 524u);
    for (const std::uint32_t messageId : {ZEL_PND_WRITE_ENTRY, ZEL_PND_WRITE_FIELDS, ZEL_PND_WRITE_STORE_16})
    {
        EXPECT_TRUE(SameBytes(expected, Written({group}, messageId)));
        EXPECT_EQ(m_written[0].attribute, 0x80);
    }
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
    const std::tuple<std::uint8_t, Bytes, Fields> cases[] = {
        {0, {}, {}},
        {255, {}, Fields(255, "00 00 00  -")},  // fewer fields than counted
        {2, group + kTextField, {"81 00 4a  - 'B0' - - - - 'F'", "81 00 07  'A0'"}},
        // Groups whose count and length are too large, or too small.
        {1, {74, 0, 0, 16, 0x81, 0, 0, 255, 75, 0, 0, 8, 9, 255, 0, 'A'}, {"81 00 4a  - 'A" + zeros + "' - - - - -"}},
        {1,
         {74, 0, 0, 24, 0x81, 0, 0, 1, 75, 0, 0, 8, 9, 2, 0, 'A', 76, 0, 0, 8, 9, 2, 0, 'B'},
         {"81 00 4a  - 'A' - - - - -"}},
        // A length beyond the sub-block, an odd one, and none; 1 stands for the sub-attribute 0.
        {1, {7, 0, 0, 8, 0x81, 255, 0, 'A'}, {"81 00 07  'A" + zeros + "'"}},
        {1, {8, 0, 0, 8, 0x81, 3, 0, 'B'}, {"81 00 08  'B'"}},
        {1, {9, 0, 0, 8, 0, 0, 0, 0}, {"00 00 09  ''"}},
        {1, {11, 0, 0, 8, 0x81, 0, 0, 0}, {"81 01 0b  ''"}},
        {2, kTextField + Bytes{25, 0, 0, 8, 0x81, 6, 0, 0}, {"81 00 07  'A0'", "81 00 19 06 00 00 00 00 00 00 00 "}},
    };
    for (const auto& [count, fields, expected] : cases)
    {
        SCOPED_TRACE(Hex(fields));
        EXPECT_EQ(Read(count, fields), expected);
        EXPECT_EQ(count == 0 ? Fields() : Read(count, fields, true), expected) << "fields alone";
    }
    for (const bool fieldsAlone : {false, true})
    {
        Read(1, kMalformed, fieldsAlone, ZEL_E_FAIL);
        Read(2, group + kMalformed, fieldsAlone, ZEL_E_FAIL);
    }
    const PndReadRecord record = {0, 7, 8, 9, 5, {1, 0, 1, &m_field}};
    Survives(ZEL_PND_READ_ENTRY, &record, 8, EntryHead(1) + group);
}

TEST_F(PNDHandler, ListsItems)
{
    PndListRecord record = {0, 5, 0, nullptr};
    const Bytes reply = {9,  3,                                                                //
                         30, 0, 0, 8,  1,    1,    1,    1,                                    // another id
                         29, 0, 0, 16, 0x11, 0x12, 0x13, 0x14, 0x15, 5, 0, 'A', 0, 'B', 9, 0,  //
                         29, 0, 0, 4};                                                         // unreadable
    ASSERT_EQ(Ask(ZEL_PND_LIST, &record, 38, reply), ZEL_OK);
    ASSERT_EQ(record.count, 3);
    EXPECT_TRUE(SameBytes({0, 0, 0, 0, 0x11, 0x12, 0x14, 0x13, 0x15, 5}, BytesAt(&record.items[1], 10)));
    EXPECT_EQ(Describe(record.items[1].text), " 'AB'");
    for (const int zeroed : {0, 2})
        EXPECT_TRUE(SameBytes(Bytes(24), BytesAt(&record.items[zeroed], 24)));
    FreeReceived(ZEL_PND_LIST, &record);
}

TEST_F(PNDHandler, ReadsStores)
{
    const Bytes item = {0, 0, 0, 0, 1, 8, 3, 2, 7, 6, 5, 4, 9, 10, 0, 0};
    const std::tuple<Bytes, std::uint8_t, Bytes> cases[] = {
        {kStore14Reply, 2, item + Bytes(16)},
        {EntryHead(1) + Bytes{27, 0, 0, 16, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 1, Bytes(16)},  // another id
        {EntryHead(1) + Bytes{26, 0, 0, 4}, 1, Bytes(16)},                                          // unreadable
        {EntryHead(0) + Bytes{26, 0, 0, 16, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 0, {}},
    };
    for (const auto& [reply, count, items] : cases)
    {
        RawRecord record(9);
        EXPECT_EQ(Ask(ZEL_PND_READ_STORE_14, &record, 8, reply), ZEL_OK);
        const Parts fields = {{6, {0x34, 0x12, 0xBC, 0x9A, 0x78, 0x56, count}}, {16, Bytes(8)}};
        EXPECT_TRUE(SameRecord(fields, count == 0 ? Parts() : Parts{{16, items}}, record, 9));
        CoTaskMemFree(record.PointerAt(16));
    }

    RawRecord state(0);
    const Bytes reply = {9,  0x11, 0x12, 0x13, 0x14, 0x15, 9,    9,    9,    2,  //
                         2,  0,    0,    8,    1,    1,    1,    1,              //
                         16, 0,    0,    12,   0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0, 0};
    EXPECT_EQ(Ask(ZEL_PND_STORE_STATE, &state, 4, reply), ZEL_OK);
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
        PndEventRecord* event = nullptr;
        ASSERT_EQ(Decode(30, body, ZEL_PND_EVENT, event), ZEL_OK);
        EXPECT_TRUE(SameBytes(expected, BytesAt(event, sizeof *event)));
        EXPECT_EQ(m_handler.FreeDecodedData(ZEL_PND_EVENT - 1, event), ZEL_NOT_HANDLED);
        EXPECT_EQ(m_handler.FreeDecodedData(ZEL_PND_EVENT, event), ZEL_OK);
        SurvivesIndication(m_handler, ZEL_PND_EVENT, {30, body});
    }
    ExpectNotDecoded(29);
    for (void* bad : {static_cast<void*>(nullptr), kUnreadable})
        EXPECT_EQ(m_handler.FreeDecodedData(ZEL_PND_EVENT, bad), ZEL_OK);
}

}  // namespace

#include "handlers/PNDHandler.h"

#include "support/HandlerChecks.h"
#include "support/Text.h"

#include <algorithm>
#include <string>
#include <vector>

namespace
{

constexpr std::uint8_t kPnd = 3;
constexpr std::uint8_t kNumberTypes[] = {12, 25, 28, 30, 40, 51, 55, 64, 67, 69, 87};
constexpr std::uint8_t kTextTypes[] = {7,  8,  9,  10, 18, 44, 52, 53, 54, 56, 57,
                                       62, 63, 70, 71, 72, 73, 82, 83, 84, 85, 86};
constexpr std::uint8_t kUnknownTypes[] = {1, 6, 13, 58, 61, 65, 66, 68, 75, 81, 88, 255};

/// Every record of the service. As wide as the widest.
union AnyRecord {
    PndReadRecord read;
    PndReadStore16Record readStore16;
    PndWriteRecord write;
    PndCommandRecord command;
    PndCommand28Record command28;
    PndCommand15Record command15;
    PndListRecord list;
    PndStore14Record store14;
    PndStoreStateRecord state;
};

Bytes operator+(Bytes first, const Bytes& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

void FreeFields(PndEntry& entry)
{
    for (std::size_t i = 0; i < entry.field_count; ++i)
    {
        PndField& field = entry.fields[i];
        if (std::find(std::begin(kNumberTypes), std::end(kNumberTypes), field.type) == std::end(kNumberTypes))
            SysFreeString(field.value.text);
        for (BSTR text : field.texts)
            SysFreeString(text);
    }
    CoTaskMemFree(entry.fields);
    entry = {};
}

void FreeItems(PndListRecord& record)
{
    for (std::size_t i = 0; i < record.count; ++i)
        SysFreeString(record.items[i].text);
    CoTaskMemFree(record.items);
}

/// A record as it lies in memory.
template <typename Record>
Bytes MemoryOf(const Record& record, std::size_t size = sizeof(Record))
{
    Bytes bytes(size);
    std::memcpy(bytes.data(), &record, size);
    return bytes;
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

/// The body of request 11 up to its fields, for location 0x0102.
Bytes EntryToWrite(std::uint8_t store, std::uint8_t count)
{
    return {0, 1, 1, 0, 0, 16, 0xFF, store, 1, 2, 0, 0, 0, 0, 0, 0, 0, count};
}

/// A type 7 field with the text "A" and its terminator.
const Bytes kTextField = {7, 0, 0, 12, 0x81, 4, 0, 'A', 0, 0, 0, 0};
/// A sub-block that cannot be read: it has no payload.
const Bytes kMalformed = {7, 0, 0, 4};

class PNDHandler : public testing::Test
{
  protected:
    PNDHandler() { m_handler.SetResource(kPnd); }

    static PndField TextField(std::uint8_t type, BSTR text)
    {
        PndField field = {};
        field.attribute = 0x81;
        field.type = type;
        field.value.text = text;
        return field;
    }

    /// Result of a request that gets this reply.
    template <typename Record>
    std::uint32_t Run(std::uint32_t messageId, Record& record, std::uint8_t replyId, const Bytes& reply)
    {
        m_phone.Reply(replyId, reply);
        return m_handler.EncodeRequest(m_phone, messageId, &record);
    }

    /// The sub-blocks that a write sends for these fields.
    Bytes Written(std::vector<PndField>& fields, std::uint32_t messageId = ZEL_PND_WRITE_FIELDS)
    {
        const bool isFields = messageId == ZEL_PND_WRITE_FIELDS;
        PndWriteRecord record = {0, 5, 1, static_cast<std::uint8_t>(fields.size()), fields.data()};
        EXPECT_EQ(Run(messageId, record, isFields ? 14 : 12, {0, 0}), ZEL_OK);
        const Bytes& body = m_phone.Last().body;
        return Bytes(body.begin() + (isFields ? 10 : 18), body.end());
    }

    /// Reads an entry with these fields; the caller frees it.
    std::uint32_t Read(const Bytes& fields, std::uint8_t count, PndEntry& entry)
    {
        PndReadRecord record = {};
        const std::uint32_t result = Run(ZEL_PND_READ_ENTRY, record, 8, EntryHead(count) + fields);
        entry = record.entry;
        return result;
    }

    CPNDHandler m_handler;
    FakeSender m_phone;
    CBStrOwner m_text = MakeText(u"A");
    PndField m_field = TextField(7, m_text.get());
    PndStore14Item m_item = {0, 1, 0x21, 0x2223, 4, 5, 0x26};
};

/// One request of each kind: its bytes for the record that RecordOf makes, and a full reply, whose id is the next one.
struct RequestCase
{
    std::uint32_t messageId;
    std::uint8_t requestId;
    Bytes body;
    Bytes reply;

    std::uint8_t ReplyId() const { return static_cast<std::uint8_t>(requestId + 1); }
};

const Bytes kReadReply = EntryHead(2) + kTextField + kTextField;
const Bytes kLocationReply = {0, 1, 4, 0, 0, 8, 9, 9, 0x12, 0x34};
const Bytes kStore14Reply = EntryHead(2) + Bytes{26, 0, 0, 16, 1, 9, 2, 3, 4, 5, 6, 7, 8, 9, 10, 9};

const RequestCase kRequests[] = {
    {ZEL_PND_COMMAND_21, 21, {0, 5, 0, 0, 0, 0}, StatusReply(0)},
    {ZEL_PND_COMMAND_23, 23, {0, 5, 0, 0, 0, 0}, StatusReply(0)},
    {ZEL_PND_READ_ENTRY, 7, {7, 8, 9, 1, 0xFF, 5, 0, 0, 0, 0, 1, 2, 0, 0}, kReadReply},
    {ZEL_PND_WRITE_ENTRY, 11, EntryToWrite(5, 1) + kTextField, kLocationReply},
    {ZEL_PND_READ_FIELDS, 9, {0xFF, 5, 0, 0, 0, 0, 1, 2, 7, 0x81, 0, 0}, Bytes{0, 2} + kTextField + kTextField},
    {ZEL_PND_WRITE_FIELDS, 13, Bytes{0xFF, 5, 0, 0, 0, 0, 1, 2, 0, 1} + kTextField, {0, 1, 26, 0, 0, 8, 1, 2, 3, 4}},
    {ZEL_PND_COMMAND_28, 28, {0xFF, 5, 0, 0, 0, 0, 1, 2, 7, 6, 0, 0, 0, 0}, StatusReply(0)},
    {ZEL_PND_COMMAND_15, 15, {0, 1, 4, 0, 0, 16, 0x80, 0xFF, 1, 2, 0, 0, 0, 0, 5, 0, 0, 0}, StatusReply(0)},
    {ZEL_PND_LIST, 37, {5, 0}, {0, 2, 29, 0, 0, 12, 1, 2, 0x12, 0x34, 3, 2, 0, 'A', 30, 0, 0, 8, 1, 1, 1, 1}},
    {ZEL_PND_READ_STORE_14, 7, {7, 1, 0, 1, 0xFF, 14, 0, 0, 0, 0, 1, 2, 0, 0}, kStore14Reply},
    {ZEL_PND_WRITE_STORE_14, 11,
     EntryToWrite(14, 1) + Bytes{26, 0, 0, 16, 0x80, 0xFF, 0x22, 0x23, 0, 0, 0, 0, 0x21, 11, 0x26, 0}, StatusReply(0)},
    {ZEL_PND_READ_STORE_16, 7, {7, 1, 0, 1, 0xFF, 16, 0, 0, 0, 0, 1, 2, 0, 0}, kReadReply},
    {ZEL_PND_WRITE_STORE_16, 11, EntryToWrite(16, 1) + kTextField, kLocationReply},
    {ZEL_PND_STORE_STATE, 3, {0xFF, 5, 0, 0, 48, 0, 0, 8, 0, 0, 0, 0}, {9, 1,  2,    3,    4,    5,    9, 9, 9,  2,
                                                                        2, 0,  0,    8,    1,    1,    1, 1, 16, 0,
                                                                        0, 12, 0x12, 0x34, 0x56, 0x78, 7, 8, 0,  0}},
};

AnyRecord RecordOf(const RequestCase& request, PndField& field, PndStore14Item& item)
{
    AnyRecord record;
    std::memset(&record, 0, sizeof record);
    switch (request.messageId)
    {
    case ZEL_PND_READ_ENTRY:
    case ZEL_PND_READ_FIELDS:
        record.read = {0, 7, 8, 9, 5, {0x0102, 3, 4, &field}};
        break;
    case ZEL_PND_WRITE_ENTRY:
    case ZEL_PND_WRITE_FIELDS:
    case ZEL_PND_WRITE_STORE_16:
        record.write = {0, 5, 0x0102, 1, &field};
        break;
    case ZEL_PND_READ_STORE_14:
    case ZEL_PND_WRITE_STORE_14:
        record.store14 = {0, 7, 0x0102, 3, 4, &item};
        break;
    case ZEL_PND_READ_STORE_16:
        record.readStore16 = {0, 7, 0x0102, {8, 3, 4, &field}};
        break;
    case ZEL_PND_COMMAND_28:
        record.command28 = {0, 0x0102, 5, 6, 7};
        break;
    case ZEL_PND_COMMAND_15:
        record.command15 = {0, 0x0102, 5};
        break;
    case ZEL_PND_LIST:
        record.list = {0, 5, 6, nullptr};
        break;
    case ZEL_PND_STORE_STATE:
        record.state = {0, 5, 1, 2, 3, 4, 6};
        break;
    default:
        record.command = {0, 5};
    }
    return record;
}

/// Frees what a reply has put into the record; false if such a reply brings nothing to free.
bool FreeRecord(const RequestCase& request, AnyRecord& record)
{
    switch (request.messageId)
    {
    case ZEL_PND_READ_ENTRY:
    case ZEL_PND_READ_FIELDS:
    case ZEL_PND_READ_STORE_16:
        FreeFields(record.read.entry);
        return true;
    case ZEL_PND_LIST:
        FreeItems(record.list);
        return true;
    case ZEL_PND_READ_STORE_14:
        CoTaskMemFree(record.store14.items);
        return true;
    default:
        return false;
    }
}

}  // namespace

TEST_F(PNDHandler, RequestsAreTheseBytesAndAReplyWithoutSubBlocksLeavesTheRecord)
{
    for (const RequestCase& request : kRequests)
    {
        SCOPED_TRACE(request.messageId);
        m_phone.Reply(request.ReplyId(), Bytes(16, 0));
        ExpectRecordUntouched(m_handler, m_phone, request.messageId, RecordOf(request, m_field, m_item), ZEL_OK);
        EXPECT_TRUE(SameRequest(m_phone.Last(), kPnd, request.requestId, request.body, {request.ReplyId()}));
    }
}

TEST_F(PNDHandler, ThePhonesStatusBecomesTheResult)
{
    for (const RequestCase& request : kRequests)
    {
        SCOPED_TRACE(request.messageId);
        const bool isState = request.messageId == ZEL_PND_STORE_STATE;
        for (const std::uint8_t status : Bytes{0x12, 0})
        {
            Bytes reply = StatusReply(status);
            if (isState)
                reply.insert(reply.begin() + 1, {5, 0, 0, 0, 1, 9, 9, 9});
            m_phone.Reply(request.ReplyId(), reply);
            ExpectRecordUntouched(m_handler, m_phone, request.messageId, RecordOf(request, m_field, m_item),
                                  status == 0 ? ZEL_OK : 0x312);
        }
    }
    for (const std::uint32_t messageId : {ZEL_PND_READ_ENTRY, ZEL_PND_READ_STORE_14})
    {
        AnyRecord record = RecordOf({messageId, 7, {}, {}}, m_field, m_item);
        m_phone.Reply(8, {0, 1, 1, 0, 0, 4});
        ExpectRecordUntouched(m_handler, m_phone, messageId, record, ZEL_OK);
    }
    m_phone.Reply(29, {0, 1, 77, 0, 0, 8, 0x12, 0, 0, 0});
    PndCommand28Record record = {};
    EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_PND_COMMAND_28, &record), 0x312u) << "status under another id";
}

TEST_F(PNDHandler, FailedSendsAndForeignRepliesLeaveTheRecord)
{
    for (const RequestCase& request : kRequests)
    {
        SCOPED_TRACE(request.messageId);
        ExpectBadRecordsRefused(m_handler, request.messageId);
        ExpectUnansweredKept(m_handler, m_phone, request.messageId, RecordOf(request, m_field, m_item));
    }
    for (const std::uint32_t messageId : {0x300u, 0x30Fu, 0x31Eu})
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, messageId, nullptr), ZEL_NOT_HANDLED);
}

TEST_F(PNDHandler, AWriteTakesAnyMessageAsItsReply)
{
    for (const RequestCase& request : kRequests)
    {
        SCOPED_TRACE(request.messageId);
        AnyRecord record = RecordOf(request, m_field, m_item);
        Bytes reply = StatusReply(0x12);
        EXPECT_EQ(Run(request.messageId, record, 0x7F, reply), request.requestId == 11 ? 0x312u : 0u);
    }
}

TEST_F(PNDHandler, TruncatedRepliesAndMissingMemoryLeaveNothingHalfFilled)
{
    for (const RequestCase& request : kRequests)
    {
        SCOPED_TRACE(request.messageId);
        bool frees = false;
        for (const Bytes& part : Truncations(request.reply))
        {
            const CLeakCheck leaks;
            AnyRecord record = RecordOf(request, m_field, m_item);
            const AnyRecord before = record;
            EXPECT_EQ(Run(request.messageId, record, request.ReplyId(), part), ZEL_OK);
            if (std::memcmp(&record, &before, sizeof record) != 0)
                frees = FreeRecord(request, record);
        }
        if (!frees)
            continue;
        FailEachAllocation([&] {
            AnyRecord record = RecordOf(request, m_field, m_item);
            const std::uint32_t result = Run(request.messageId, record, request.ReplyId(), request.reply);
            if (result == ZEL_OK)
                FreeRecord(request, record);
            return result;
        });
    }
}

TEST_F(PNDHandler, AReadIsByLocationOrByText)
{
    struct Case
    {
        std::uint8_t kind;
        std::uint8_t mode;
        Bytes tail;
    };
    const Case cases[] = {
        {0, 0, {1, 2, 0, 0}},       {1, 1, {1, 2, 0, 0}},
        {2, 1, {0xFF, 0xFF, 0, 0}}, {3, 1, {0xFF, 0xFF, 0, 0}},
        {2, 0, {0xFF, 0xFF, 0, 0}}, {3, 2, {0xFF, 0xFF, 0, 0}},
        {4, 0, {1, 2, 0, 0}},       {1, 0, Bytes{0xFF, 0xFF, 0, 1} + kTextField},
    };
    for (const Case& read : cases)
    {
        PndReadRecord record = {0, read.kind, read.mode, 6, 5, {0x0102, 0, 0, &m_field}};
        EXPECT_EQ(Run(ZEL_PND_READ_ENTRY, record, 8, {0, 0}), ZEL_OK);
        EXPECT_TRUE(SameBytes(Bytes{read.kind, read.mode, 6, 1, 0xFF, 5, 0, 0, 0, 0} + read.tail, m_phone.Last().body));
    }
    for (const std::uint8_t kind : Bytes{2, 3})
    {
        PndStore14Record store14 = {0, kind, 0x0102, 0, 0, nullptr};
        EXPECT_EQ(Run(ZEL_PND_READ_STORE_14, store14, 8, {0, 0}), ZEL_OK);
        EXPECT_TRUE(SameBytes({kind, 1, 0, 1, 0xFF, 14, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0}, m_phone.Last().body));
        PndReadStore16Record store16 = {0, kind, 0x0102, {}};
        EXPECT_EQ(Run(ZEL_PND_READ_STORE_16, store16, 8, {0, 0}), ZEL_OK);
        EXPECT_TRUE(SameBytes({kind, 1, 0, 1, 0xFF, 16, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0}, m_phone.Last().body));
    }
}

TEST_F(PNDHandler, BadRequestsAreRefusedBeforeTheyAreSent)
{
    const CBStrOwner empty = MakeText(u"");
    const CBStrOwner wraps = MakeText(std::u16string(256, u'x'));
    PndField emptyText = TextField(7, empty.get());
    PndField wrappedText = TextField(7, wraps.get());
    PndField noText = TextField(7, nullptr);
    PndField number = TextField(12, m_text.get());
    auto* unreadable = static_cast<PndField*>(kUnreadable);
    for (PndField* field : {&emptyText, &wrappedText, &noText, &number, unreadable, static_cast<PndField*>(nullptr)})
    {
        PndReadRecord record = {0, ZEL_PND_BY_TEXT, 0, 6, 5, {1, 0, 1, field}};
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_PND_READ_ENTRY, &record), ZEL_E_ARGUMENT);
    }
    for (PndField* field : {unreadable, static_cast<PndField*>(nullptr)})
    {
        PndReadRecord record = {0, 7, 8, 9, 5, {1, 0, 1, field}};
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_PND_READ_FIELDS, &record), ZEL_E_ARGUMENT);
    }
    PndField untyped[2] = {TextField(0, nullptr), TextField(0, nullptr)};
    for (const std::uint32_t messageId : {ZEL_PND_WRITE_ENTRY, ZEL_PND_WRITE_FIELDS, ZEL_PND_WRITE_STORE_16})
    {
        PndWriteRecord record = {0, 5, 1, 2, untyped};
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, messageId, &record), ZEL_E_ARGUMENT);
        EXPECT_EQ(record.field_count, 0) << "lowered by each field without a type";
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, messageId, &record), ZEL_E_ARGUMENT);
        record = {0, 5, 1, 2, unreadable};
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, messageId, &record), ZEL_E_ARGUMENT);
        EXPECT_EQ(record.field_count, 2);
    }
    PndCommand15Record store16 = {0, 1, 16};
    EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_PND_COMMAND_15, &store16), ZEL_E_ARGUMENT);
    PndStore14Record noItem = {0, 7, 1, 0, 1, nullptr};
    EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_PND_WRITE_STORE_14, &noItem), ZEL_E_ARGUMENT);
    EXPECT_TRUE(m_phone.Requests().empty());
}

TEST_F(PNDHandler, FieldsHaveOneFormInBothDirections)
{
    /// A whole sub-block; the value's bytes in memory, none for the text "AB".
    struct Case
    {
        std::uint8_t minor;
        Bytes block;
        Bytes value;
    };
    std::vector<Case> cases = {
        {54, {62, 0, 0, 12, 0x81, 6, 0, 'A', 0, 'B', 0, 0}, {}},
        {54, {63, 0, 0, 16, 0x81, 0, 0, 6, 0, 'A', 0, 'B', 0, 0, 0, 0}, {}},
        {53, {11, 0, 0, 16, 0x81, 5, 0, 0, 0, 6, 0, 'A', 0, 'B', 0, 0}, {}},
        {53, {87, 0, 0, 12, 0x81, 1, 0x07, 0xE8, 2, 29, 13, 14}, {0xE8, 0x07, 2, 29, 13, 14, 0, 0}},
    };
    for (const std::uint8_t type : kTextTypes)
        cases.push_back({53, {type, 0, 0, 12, 0x81, 6, 0, 'A', 0, 'B', 0, 0}, {}});
    for (const std::uint8_t type : Bytes{12, 67})
        cases.push_back({53, {type, 0, 0, 8, 0x81, 0, 0x12, 0x34}, {0x34, 0x12, 0, 0, 0, 0, 0, 0}});
    for (const std::uint8_t type : Bytes{25, 28, 30, 40, 64})
        cases.push_back({53, {type, 0, 0, 8, 0x81, 0xFE, 0, 0}, {0xFE, 0, 0, 0, 0, 0, 0, 0}});
    for (const std::uint8_t type : Bytes{51, 55, 69})
        cases.push_back({53, {type, 0, 0, 16, 0x81, 0, 0, 0, 1, 2, 3, 4, 0, 0, 0, 1}, {4, 3, 2, 1, 0, 0, 0, 0}});

    const CBStrOwner text = MakeText(u"AB");
    for (const Case& field : cases)
    {
        SCOPED_TRACE(Hex(field.block));
        const CLeakCheck leaks;
        m_phone.SetVersion(kPnd, 5, field.minor);
        PndEntry entry = {};
        ASSERT_EQ(Read(field.block, 1, entry), ZEL_OK);
        EXPECT_EQ(entry.location, 0x1234);
        EXPECT_EQ(entry.value, 0x56789ABCu);
        ASSERT_EQ(entry.field_count, 1);
        const std::uint8_t type = field.block[0];
        const std::uint8_t subAttribute = type == 11 ? 5 : 0;
        EXPECT_TRUE(SameBytes({0, 0, 0, 0, 0x81, 0, 0, 0, subAttribute, type}, MemoryOf(entry.fields[0], 10)));
        std::vector<PndField> sent(1, entry.fields[0]);
        if (field.value.empty())
        {
            EXPECT_EQ(UnitsOf(entry.fields[0].value.text), std::u16string_view(u"AB\0", 3)) << "with its terminator";
            sent[0].value.text = text.get();
        }
        else
        {
            EXPECT_TRUE(SameBytes(field.value, MemoryOf(entry.fields[0].value)));
        }
        EXPECT_TRUE(SameBytes(field.block, Written(sent)));
        FreeFields(entry);
    }
}

TEST_F(PNDHandler, TheVersionChoosesTheLengthOfType63AndTheStore)
{
    struct Case
    {
        std::uint8_t major;
        std::uint8_t minor;
        std::uint8_t store;
        bool isWide;
    };
    const Case cases[] = {{4, 99, 16, false}, {5, 24, 16, false}, {5, 25, 35, false},
                          {5, 53, 35, false}, {5, 54, 35, true},  {6, 0, 35, true}};
    const Bytes wide = {63, 0, 0, 12, 0x81, 0, 0, 4, 0, 'A', 0, 0};
    const Bytes narrow = {63, 0, 0, 12, 0x81, 4, 0, 'A', 0, 0, 0, 0};
    std::vector<PndField> fields = {TextField(63, m_text.get())};
    for (const Case& version : cases)
    {
        SCOPED_TRACE(unsigned{version.minor});
        m_phone.SetVersion(kPnd, version.major, version.minor);
        PndReadStore16Record read = {};
        EXPECT_EQ(Run(ZEL_PND_READ_STORE_16, read, 8, {0, 0}), ZEL_OK);
        EXPECT_EQ(m_phone.Last().body[5], version.store);
        EXPECT_TRUE(SameBytes(version.isWide ? wide : narrow, Written(fields, ZEL_PND_WRITE_STORE_16)));
        EXPECT_EQ(m_phone.Last().body[7], version.store);
    }
    const CBStrOwner longText = MakeText(std::u16string(200, u'x'));
    fields[0].value.text = longText.get();
    const Bytes block = Written(fields);
    EXPECT_TRUE(SameBytes({63, 0, 1, 0x9C, 0x81, 0, 0x01, 0x92, 0, 'x'}, Bytes(block.begin(), block.begin() + 10)));
}

TEST_F(PNDHandler, WritesFieldsInOrderWithoutTheUntypedOnes)
{
    std::vector<PndField> fields = {TextField(0, nullptr), TextField(7, nullptr), TextField(0, nullptr),
                                    TextField(58, nullptr), TextField(8, static_cast<BSTR>(kUnreadable))};
    fields[1].attribute = 0;
    PndWriteRecord record = {0, 5, 1, 5, fields.data()};
    EXPECT_EQ(Run(ZEL_PND_WRITE_ENTRY, record, 12, {0, 1, 4, 0, 0, 8, 9, 9, 0x12, 0x34}), ZEL_OK);
    EXPECT_TRUE(SameBytes({0,  1, 1, 0, 0,    16, 0xFF, 5, 0, 1, 0, 0, 0, 0, 0, 0, 0, 3,  //
                           7,  0, 0, 8, 0x80, 2,  0,    0,                                //
                           58, 0, 0, 8, 0x81, 0,  0,    0,                                //
                           8,  0, 0, 8, 0x81, 2,  0,    0},
                          m_phone.Last().body));
    EXPECT_EQ(record.field_count, 3);
    EXPECT_EQ(record.location, 0x1234);
    EXPECT_EQ(fields[1].attribute, 0x80) << "the attribute that was sent";
}

TEST_F(PNDHandler, UnknownTypesAreTheirAttributeAlone)
{
    for (const std::uint8_t type : kUnknownTypes)
    {
        SCOPED_TRACE(unsigned{type});
        std::vector<PndField> fields = {TextField(type, m_text.get())};
        EXPECT_TRUE(SameBytes({type, 0, 0, 8, 0x81, 0, 0, 0}, Written(fields)));
        PndEntry entry = {};
        ASSERT_EQ(Read({type, 0, 0, 12, 0x82, 4, 0, 'A', 0, 0, 0, 0}, 1, entry), ZEL_OK);
        EXPECT_EQ(entry.fields[0].type, 0);
        EXPECT_EQ(entry.fields[0].attribute, 0x82);
        EXPECT_EQ(entry.fields[0].value.text, nullptr);
        FreeFields(entry);
    }
}

TEST_F(PNDHandler, TextLengthsAreTheirLowByteOnTheWire)
{
    const CBStrOwner text = MakeText(std::u16string(128, u'x'));
    const CBStrOwner zeros = MakeText(std::u16string_view(u"A\0", 2));
    std::vector<PndField> fields = {TextField(7, text.get()), TextField(8, zeros.get())};
    const Bytes sent = Written(fields);
    ASSERT_EQ(sent.size(), 264u + 12u);
    EXPECT_TRUE(SameBytes({7, 0, 1, 8, 0x81, 2, 0, 'x'}, Bytes(sent.begin(), sent.begin() + 8)));
    EXPECT_TRUE(SameBytes({8, 0, 0, 12, 0x81, 6, 0, 'A', 0, 0, 0, 0}, Bytes(sent.begin() + 264, sent.end())));
}

TEST_F(PNDHandler, AGroupIsSentAsAHeaderAndItsTextsBehindIt)
{
    const CBStrOwner longest = MakeText(std::u16string(126, u'y'));
    const CBStrOwner tooLong = MakeText(std::u16string(127, u'y'));
    const CBStrOwner empty = MakeText(u"");
    const CBStrOwner wraps = MakeText(std::u16string(257, u'z'));
    PndField group = TextField(74, nullptr);
    group.attribute = 0;
    group.texts[0] = m_text.get();
    group.texts[1] = tooLong.get();
    group.texts[2] = empty.get();
    group.texts[3] = static_cast<BSTR>(kUnreadable);
    group.texts[4] = longest.get();
    group.texts[5] = wraps.get();
    std::vector<PndField> fields = {group};

    Bytes expected = {74, 0, 0, 8, 0x80, 0, 0, 3, 75, 0, 0, 12, 0x80, 4, 0, 'A', 0, 0, 0, 0, 79, 0, 1, 4, 0x80, 254};
    for (int i = 0; i < 126; ++i)
        expected = expected + Bytes{0, 'y'};
    // 257 units count as 1, but are all written.
    expected = expected + Bytes{0, 0, 80, 0, 2, 12, 0x80, 4};
    for (int i = 0; i < 257; ++i)
        expected = expected + Bytes{0, 'z'};
    expected = expected + Bytes{0, 0, 0, 0};
    EXPECT_EQ(expected.size(), 8u + 12u + 260u + 524u);
    for (const std::uint32_t messageId : {ZEL_PND_WRITE_ENTRY, ZEL_PND_WRITE_FIELDS, ZEL_PND_WRITE_STORE_16})
    {
        EXPECT_TRUE(SameBytes(expected, Written(fields, messageId)));
        EXPECT_EQ(fields[0].attribute, 0x80);
    }

    std::vector<PndField> bare = {TextField(74, nullptr)};
    EXPECT_TRUE(SameBytes({74, 0, 0, 8, 0x81, 0, 0, 0}, Written(bare)));
    PndField search = TextField(74, m_text.get());
    PndReadRecord record = {0, ZEL_PND_BY_TEXT, 0, 6, 5, {1, 0, 1, &search}};
    EXPECT_EQ(Run(ZEL_PND_READ_ENTRY, record, 8, {0, 0}), ZEL_OK);
    EXPECT_TRUE(SameBytes({1, 0, 6, 1, 0xFF, 5, 0, 0, 0, 0, 0xFF, 0xFF, 0, 1, 74, 0, 0, 8, 0x81, 0, 0, 0},
                          m_phone.Last().body));
}

TEST_F(PNDHandler, AGroupIsReadFromItsNestedTexts)
{
    const CLeakCheck leaks;
    const Bytes group = {74, 0, 0, 56, 0x81, 9, 9, 6,                // attribute, two bytes, count
                         75, 0, 0, 8,  9,    2, 0, 'A',              //
                         80, 0, 0, 8,  9,    2, 0, 'F',              //
                         77, 0, 0, 8,  9,    0, 0, 'x',              // no text
                         81, 0, 0, 8,  9,    2, 0, 'x',              // not a text of a group
                         75, 0, 0, 12, 9,    4, 0, 'B', 0, 0, 0, 0,  // replaces the first
                         76, 0, 0, 4};                               // unreadable: ends the walk
    PndEntry entry = {};
    ASSERT_EQ(Read(group + kTextField, 2, entry), ZEL_OK);
    EXPECT_EQ(entry.fields[0].type, 74);
    EXPECT_EQ(entry.fields[0].value.text, nullptr);
    EXPECT_EQ(UnitsOf(entry.fields[0].texts[0]), std::u16string_view(u"B\0", 2));
    EXPECT_EQ(UnitsOf(entry.fields[0].texts[5]), u"F");
    for (const int absent : {1, 2, 3, 4})
        EXPECT_EQ(entry.fields[0].texts[absent], nullptr);
    EXPECT_EQ(entry.fields[1].type, 7);
    FreeFields(entry);

    FailEachAllocation([&] {
        PndEntry read = {};
        const std::uint32_t result = Read(group, 1, read);
        FreeFields(read);
        return result;
    });
}

TEST_F(PNDHandler, AMalformedFieldDeliversNone)
{
    const Bytes group = {74, 0, 0, 16, 0x81, 9, 9, 1, 75, 0, 0, 8, 9, 2, 0, 'A'};
    for (const Bytes& before : {Bytes(), kTextField, group})
    {
        const CLeakCheck leaks;
        PndEntry entry = {0, 0, 9, nullptr};
        EXPECT_EQ(Read(before + kMalformed, before.empty() ? 1 : 2, entry), ZEL_E_FAIL);
        EXPECT_EQ(entry.field_count, 0);
        EXPECT_EQ(entry.fields, nullptr);

        PndReadRecord record = {0, 7, 8, 9, 5, {1, 0, 1, &m_field}};
        EXPECT_EQ(Run(ZEL_PND_READ_FIELDS, record, 10,
                      Bytes{0, static_cast<std::uint8_t>(before.empty() ? 1 : 2)} + before + kMalformed),
                  ZEL_E_FAIL);
        EXPECT_EQ(record.entry.field_count, 0);
        EXPECT_EQ(record.entry.fields, nullptr);
    }
}

TEST_F(PNDHandler, HostileCountsAndLengthsStayInTheirBlocks)
{
    const CLeakCheck leaks;
    PndEntry entry = {};
    ASSERT_EQ(Read({}, 0, entry), ZEL_OK);
    EXPECT_EQ(entry.location, 0x1234);
    EXPECT_EQ(entry.fields, nullptr) << "no array for no field";

    ASSERT_EQ(Read({}, 255, entry), ZEL_OK);
    EXPECT_EQ(entry.field_count, 255);
    EXPECT_EQ(entry.fields[254].type, 0);
    FreeFields(entry);

    // A length beyond the sub-block reads zeros, an odd one drops its last byte, none at all is an empty text.
    ASSERT_EQ(Read({7, 0, 0, 8, 0x81, 255, 0, 'A', 8, 0, 0, 8, 0x81, 3, 0, 'B', 9, 0, 0, 8, 0, 0, 0, 0, 11, 0, 0, 8}, 4,
                   entry),
              ZEL_OK);
    EXPECT_EQ(UnitsOf(entry.fields[0].value.text), std::u16string(1, u'A') + std::u16string(126, u'\0'));
    EXPECT_EQ(UnitsOf(entry.fields[1].value.text), u"B");
    EXPECT_NE(entry.fields[2].value.text, nullptr);
    EXPECT_EQ(UnitsOf(entry.fields[2].value.text), u"");
    EXPECT_EQ(entry.fields[2].attribute, 0) << "what the phone sent";
    EXPECT_EQ(entry.fields[3].sub_attribute, 1) << "1 stands for 0";
    FreeFields(entry);

    // A group that claims 255 texts and has one.
    ASSERT_EQ(Read({74, 0, 0, 16, 0x81, 0, 0, 255, 75, 0, 0, 8, 9, 255, 0, 'A'}, 1, entry), ZEL_OK);
    EXPECT_EQ(SysStringLen(entry.fields[0].texts[0]), 127u);
    FreeFields(entry);
}

TEST_F(PNDHandler, ReadFieldsReplacesTheFieldsOnly)
{
    const CLeakCheck leaks;
    PndReadRecord record = {0, 7, 8, 9, 5, {0x0102, 3, 4, &m_field}};
    ASSERT_EQ(Run(ZEL_PND_READ_FIELDS, record, 10, Bytes{9, 2} + kTextField + Bytes{25, 0, 0, 8, 0x81, 6, 0, 0}),
              ZEL_OK);
    EXPECT_EQ(record.entry.location, 0x0102);
    EXPECT_EQ(record.entry.value, 3u);
    ASSERT_EQ(record.entry.field_count, 2);
    EXPECT_EQ(UnitsOf(record.entry.fields[0].value.text), std::u16string_view(u"A\0", 2));
    EXPECT_EQ(record.entry.fields[1].value.number, 6u);
    FreeFields(record.entry);
}

TEST_F(PNDHandler, ListsItems)
{
    const CLeakCheck leaks;
    PndListRecord record = {0, 5, 0, nullptr};
    m_phone.Reply(38, {9,  3,                                                                //
                       30, 0, 0, 8,  1,    1,    1,    1,                                    // another id
                       29, 0, 0, 16, 0x11, 0x12, 0x13, 0x14, 0x15, 5, 0, 'A', 0, 'B', 9, 0,  //
                       29, 0, 0, 4});                                                        // unreadable
    ASSERT_EQ(m_handler.EncodeRequest(m_phone, ZEL_PND_LIST, &record), ZEL_OK);
    ASSERT_EQ(record.count, 3);
    EXPECT_TRUE(SameBytes({0, 0, 0, 0, 0x11, 0x12, 0x14, 0x13, 0x15, 5}, MemoryOf(record.items[1], 10)));
    EXPECT_EQ(UnitsOf(record.items[1].text), u"AB");
    for (const int zeroed : {0, 2})
    {
        EXPECT_EQ(record.items[zeroed].value_4, 0);
        EXPECT_EQ(record.items[zeroed].text, nullptr);
    }
    FreeItems(record);
}

TEST_F(PNDHandler, ReadsStore14)
{
    const CLeakCheck leaks;
    PndStore14Record record = {0, 7, 0x0102, 3, 4, &m_item};
    ASSERT_EQ(Run(ZEL_PND_READ_STORE_14, record, 8, kStore14Reply), ZEL_OK);
    EXPECT_EQ(record.location, 0x1234);
    EXPECT_EQ(record.value, 0x56789ABCu);
    ASSERT_EQ(record.count, 2);
    EXPECT_TRUE(SameBytes({0, 0, 0, 0, 1, 8, 3, 2, 7, 6, 5, 4, 9, 10, 0, 0}, MemoryOf(record.items[0])));
    EXPECT_EQ(record.items[1].value_6, 0);
    CoTaskMemFree(record.items);

    for (const Bytes& next : {Bytes{27, 0, 0, 16, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, Bytes{26, 0, 0, 4}})
    {
        ASSERT_EQ(Run(ZEL_PND_READ_STORE_14, record, 8, EntryHead(1) + next), ZEL_OK);
        ASSERT_EQ(record.count, 1);
        EXPECT_EQ(record.items[0].value_4, 0);
        CoTaskMemFree(record.items);
    }
    ASSERT_EQ(Run(ZEL_PND_READ_STORE_14, record, 8, EntryHead(0)), ZEL_OK);
    EXPECT_EQ(record.items, nullptr);
}

TEST_F(PNDHandler, ReadsTheStateOfAStore)
{
    PndStoreStateRecord record;
    std::memset(&record, 0, sizeof record);
    ASSERT_EQ(Run(ZEL_PND_STORE_STATE, record, 4, {9,  0x11, 0x12, 0x13, 0x14, 0x15, 9,    9,    9,    2,  //
                                                   2,  0,    0,    8,    1,    1,    1,    1,              //
                                                   16, 0,    0,    12,   0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0, 0}),
              ZEL_OK);
    EXPECT_TRUE(SameBytes({0, 0, 0, 0, 0x11, 0, 0, 0, 0x15, 0x14, 0x13, 0x12, 0x22, 0x21, 0x24, 0x23, 0x25, 0x26, 0, 0},
                          MemoryOf(record)));
}

TEST_F(PNDHandler, DecodesAndFreesAnEvent)
{
    const std::pair<std::uint8_t, std::uint8_t> kindOfCode[] = {{11, 1}, {13, 2}, {15, 3}, {28, 4}, {0, 2}, {255, 2}};
    for (const auto& [code, kind] : kindOfCode)
    {
        const Bytes body = {9, 1, 2, 3, 4, 5, 6, 7, code, 8};
        const Bytes expected = {0, 0, 0, 0, 1, 0, 0, 0, 5, 4, 3, 2, 7, 6, kind, 8};
        FailEachAllocation([&] {
            CMessage message;
            message.SetMessageId(30);
            message.AppendBytes(body.size(), body.data());
            std::uint32_t messageId = 0;
            void* record = nullptr;
            const std::uint32_t result = m_handler.DecodeMessage(message, messageId, record);
            if (result != ZEL_OK)
            {
                EXPECT_EQ(record, nullptr);
                return result;
            }
            EXPECT_EQ(messageId, ZEL_PND_EVENT);
            EXPECT_TRUE(SameBytes(expected, MemoryOf(*static_cast<const PndEventRecord*>(record))));
            EXPECT_EQ(m_handler.FreeDecodedData(ZEL_PND_EVENT - 1, record), ZEL_NOT_HANDLED);
            EXPECT_EQ(m_handler.FreeDecodedData(ZEL_PND_EVENT, record), ZEL_OK);
            return result;
        });
    }
    CMessage other;
    other.SetMessageId(29);
    std::uint32_t messageId = 0;
    void* record = nullptr;
    EXPECT_EQ(m_handler.DecodeMessage(other, messageId, record), ZEL_NOT_HANDLED);
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_PND_EVENT, nullptr), ZEL_OK);
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_PND_EVENT, kUnreadable), ZEL_OK);
}

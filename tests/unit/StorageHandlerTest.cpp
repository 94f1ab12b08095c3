#include "handlers/StorageHandler.h"

#include "support/HandlerFixture.h"
#include "support/Text.h"
#include "zelapi/storage.h"

#include <algorithm>
#include <iterator>
#include <tuple>

namespace
{

/// All layouts of the caller's record.
union AnyRecord {
    std::uint8_t bytes[24];
    StorageAreaList areas;
    StorageIdentifierList identifiers;
};

/// W1 0x11223344, B2 0xA2, B4 0xB4, B6 0xC6 and what an untouched array pointer looks like.
constexpr AnyRecord kRecord = {
    {0x18, 0, 0, 0, 0x44, 0x33, 0x22, 0x11, 0xA2, 1, 0xB4, 2, 0xC6, 3, 9, 9, 8, 7, 6, 5, 4, 3, 2, 1}};

using Areas = std::vector<std::pair<unsigned, std::u16string>>;
using Identifiers = std::vector<std::uint32_t>;

class StorageHandler : public HandlerFixture<CStorageHandler, 0xAA>
{
  protected:
    std::uint32_t Run(std::uint32_t messageId, std::uint8_t replyId, const Bytes& reply)
    {
        m_record = kRecord;
        return Ask(messageId, &m_record, replyId, reply);
    }

    bool IsUntouched() const { return std::equal(m_record.bytes, std::end(m_record.bytes), kRecord.bytes); }

    /// Takes the areas from the record: their numbers and names. None where the record is as it was before.
    Areas TakeAreas()
    {
        EXPECT_EQ(m_record.areas.leading, 0x18u);
        if (IsUntouched())
            return {};
        EXPECT_NE(m_record.areas.count, 0);
        Areas taken;
        const CTaskMemOwner<StorageArea> areas(m_record.areas.areas);
        for (std::uint8_t i = 0; i < m_record.areas.count; ++i)
        {
            const auto& [size, number, length, text] = areas.get()[i];
            const CBStrOwner name(text);
            EXPECT_EQ(std::tuple(size, length, name != nullptr), std::tuple(16u, SysStringLen(text), length != 0));
            taken.emplace_back(number, UnitsOf(text));
        }
        return taken;
    }
    Areas ListAreas(const Bytes& reply)
    {
        EXPECT_EQ(Run(ZEL_STORAGE_LIST_AREAS, 0x24, reply), ZEL_OK);
        return TakeAreas();
    }

    Identifiers TakeIdentifiers()
    {
        const CTaskMemOwner<std::uint32_t> array(m_record.identifiers.identifiers);
        EXPECT_EQ(array == nullptr, m_record.identifiers.count == 0);
        EXPECT_TRUE(std::equal(m_record.bytes, m_record.bytes + 12, kRecord.bytes));
        return {array.get(), array.get() + m_record.identifiers.count};
    }
    Identifiers ListIdentifiers(const Bytes& reply)
    {
        EXPECT_EQ(Run(ZEL_STORAGE_LIST_IDENTIFIERS, 0x07, reply), ZEL_OK);
        return TakeIdentifiers();
    }

    AnyRecord m_record = kRecord;
};

TEST_F(StorageHandler, SendsEachRequestAndReportsItsStatus)
{
    const std::tuple<std::uint32_t, std::uint8_t, Bytes> requests[] = {
        {ZEL_STORAGE_AREA_COMMAND, 0x18, {0x18, 0}},
        {ZEL_STORAGE_LIST_AREAS, 0x23, {0, 1}},
        {ZEL_STORAGE_LIST_IDENTIFIERS, 0x06, {0, 1, 0, 5, 0, 8, 0, 0x33, 0, 0}},
        {ZEL_STORAGE_IDENTIFIER_COMMAND, 0x0A, {0, 1, 0, 0x0E, 0, 12, 0, 1, 0, 0, 0x11, 0x22, 0x33, 0x44}},
        {ZEL_STORAGE_COMMAND, 0x00, {}},
        {ZEL_STORAGE_THREE_BYTE_COMMAND, 0x0E, {0xA2, 0xB4, 0xC6, 0, 0, 0, 0, 0,    0,    1,    0,
                                                0x0E, 0,    12,   0, 1, 0, 0, 0x11, 0x22, 0x33, 0x44}},
    };
    for (const auto& [api, request, body] : requests)
    {
        SCOPED_TRACE(api);
        const auto reply = static_cast<std::uint8_t>(request + 1);
        ExpectUnanswered(api, kRecord, ZEL_NOT_HANDLED);
        ExpectOutcomes(api, kRecord, {{reply, {0x42, 1, 0, 3, 0, 8, 1, 0, 0, 0}, 0xAA42}});
        ExpectOutcomes(api, kRecord, {{reply, {0}, ZEL_OK}, {reply, {0, 0}, ZEL_OK}});
        EXPECT_TRUE(Sent(request, body, {reply}));
        if (api != ZEL_STORAGE_COMMAND)
            ExpectBadRecordsRefused(m_handler, api);
    }
    for (void* unused : {static_cast<void*>(nullptr), kUnreadable})
        EXPECT_EQ(Ask(ZEL_STORAGE_COMMAND, unused, 0x01, {0}), ZEL_OK);
    ExpectNotHandled({0xAA00, ZEL_STORAGE_EVENT, 0xAA08});
}

TEST_F(StorageHandler, ListsTheAreasOfEachServiceVersion)
{
    const struct
    {
        std::uint8_t major;
        std::uint8_t minor;
        std::uint8_t id;
        std::uint8_t length;  ///< Where the name's length stands behind the area number.
        std::uint8_t gap;     ///< Bytes between it and the name.
    } cases[] = {{2, 9, 3, 0, 0},      {2, 99, 3, 0, 0},    {3, 0, 3, 2, 0},    {2, 9, 0x10, 18, 3},
                 {2, 10, 0x10, 23, 3}, {3, 0, 0x10, 23, 3}, {0, 0, 0x10, 18, 3}};
    for (const auto& test : cases)
    {
        m_phone.SetVersion(kResource, test.major, test.minor);
        Bytes body = {0, 1, 0, test.id, 0, 64, 7};
        body.resize(66);
        body[7u + test.length] = 1;
        body[9u + test.length + test.gap] = 0x11;
        EXPECT_EQ(ListAreas(body), (Areas{{7, u"\x11"}}));
        // No name, whatever the version.
        body[7u + test.length] = 0;
        EXPECT_EQ(ListAreas(body), (Areas{{7, u""}}));
        EXPECT_TRUE(SameBytes(test.major >= 3 ? Bytes{0, 1, 0, 0} : Bytes{0, 1}, m_phone.Last().body));
    }
}

const Bytes kAreaReply = {
    0, 6,                               // status; sub-blocks
    0, 3, 0, 10, 5, 2, 0, 'A', 0, 'B',  // area 5
    0, 9, 0, 8,  6, 1, 0, 'X',          // not known
    0, 3, 0, 8,  4, 1, 0, 'C',          // area 4
    0, 3, 0, 8,  5, 1, 0, 'D',          // area 5 again
    0, 3, 0, 8,  9, 0, 0, 0,            // area 9, no name
    0, 3, 0, 8,  9, 1, 0, 'E',          // area 9 again
};

TEST_F(StorageHandler, TheFirstAreaOfANumberWinsAndOrderStays)
{
    EXPECT_EQ(ListAreas(kAreaReply), (Areas{{5, u"AB"}, {4, u"C"}, {9, u""}}));
    for (const Bytes& body : {Bytes{0}, Bytes{0, 0}, Bytes{0, 1, 0, 9, 0, 8, 1, 0, 0, 0}, Bytes{0, 1, 0, 3, 0, 4}})
        EXPECT_EQ(ListAreas(body), Areas());
    for (const Bytes& part : Truncations(kAreaReply))
    {
        const std::size_t areas = ListAreas(part).size();
        EXPECT_LE(areas, 4u) << part.size();
        EXPECT_EQ(areas >= 1, part.size() >= 4);
    }
}

const Bytes kIdentifierReply = {
    0,    1,                             // status; sub-blocks
    0,    1,    0,    16,                // of any id
    0,    2,    9,    9,                 // two identifiers
    0x11, 0x22, 0x33, 0x44, 0, 0, 0, 5,  //
};

TEST_F(StorageHandler, ReadsTheIdentifiersOfAnArea)
{
    EXPECT_EQ(ListIdentifiers(kIdentifierReply), (Identifiers{0x11223344, 5}));
    for (const Bytes& part : Truncations(kIdentifierReply))
    {
        // The list's id ends with byte 3, its count with byte 7; what has been cut off behind it reads as 0.
        if (part.size() < 2)
            continue;
        const Identifiers identifiers = ListIdentifiers(part);
        ASSERT_EQ(identifiers.size(), part.size() > 7 ? 2u : 0u) << part.size();
        EXPECT_TRUE(identifiers.empty() || identifiers[1] == 0);
    }
    const Identifiers claimed = ListIdentifiers({0, 1, 0, 1, 0, 12, 0xFF, 0xFF, 0, 0, 0, 0, 0, 7});
    ASSERT_EQ(claimed.size(), 0xFFFFu);
    EXPECT_EQ(std::pair(claimed.front(), claimed.back()), std::pair(7u, 0u));
    ExpectOutcomes(
        ZEL_STORAGE_LIST_IDENTIFIERS, kRecord,
        {{0x07, {0, 2, 0, 1, 0, 12, 0, 1, 0, 0, 0, 0, 0, 7}, ZEL_OK}, {0x07, {0, 1, 0, 1, 0, 4, 0, 1, 0, 0}, ZEL_OK}});
}

TEST_F(StorageHandler, DecodesEvents)
{
    const std::pair<Bytes, std::vector<std::uint16_t>> cases[] = {
        {{0, 3, 9, 9, 9, 1, 0, 2, 0, 8, 1, 2, 3, 0}, {12, 0, 3, 1, 2, 3}},
        {{0, 3, 9, 9, 9, 1, 0, 1, 0, 8, 1, 2, 3, 0}, {12, 0, 3, 0xFFFF, 0xFFFF, 0xFFFF}},
        {{0, 3, 9, 9, 9, 1, 0, 2, 0, 4}, {12, 0, 3, 0xFFFF, 0xFFFF, 0xFFFF}},
        {{0, 0xFF, 9, 9, 9, 0, 0, 2, 0, 8, 1, 2, 3, 0}, {12, 0, 0xFF, 0xFFFF, 0xFFFF, 0xFFFF}},
        {{0, 3}, {12, 0, 3, 0xFFFF, 0xFFFF, 0xFFFF}},
        {{}, {12, 0, 0, 0xFFFF, 0xFFFF, 0xFFFF}},
    };
    for (const auto& test : cases)
        FailEachAllocation([&] {
            std::uint16_t* decoded = nullptr;
            const std::uint32_t result = Decode(0x60, test.first, ZEL_STORAGE_EVENT, decoded);
            // The record outlives FreeDecodedData.
            EXPECT_EQ(m_handler.FreeDecodedData(ZEL_STORAGE_EVENT, decoded), ZEL_OK);
            const CTaskMemOwner<std::uint16_t> values(decoded);
            EXPECT_TRUE(values == nullptr || std::equal(test.second.begin(), test.second.end(), values.get()))
                << Hex(test.first);
            return result;
        });
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_STORAGE_COMMAND, &m_record), ZEL_NOT_HANDLED);
    ExpectNotDecoded(0x60, ZEL_OK);
    ExpectNotDecoded(0x61);
}

TEST_F(StorageHandler, AFailedAllocationLosesNothing)
{
    for (const bool areas : {true, false})
        FailEachAllocation([&] {
            const std::uint32_t result = areas ? Run(ZEL_STORAGE_LIST_AREAS, 0x24, kAreaReply)
                                               : Run(ZEL_STORAGE_LIST_IDENTIFIERS, 0x07, kIdentifierReply);
            EXPECT_EQ(IsUntouched(), result != ZEL_OK);
            EXPECT_TRUE(result != ZEL_OK || (areas ? TakeAreas().size() == 3 : TakeIdentifiers().size() == 2));
            return result;
        });
}

}  // namespace

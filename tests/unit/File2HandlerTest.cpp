#include "handlers/File2Handler.h"

#include "support/HandlerFixture.h"
#include "support/Text.h"
#include "zelapi/file.h"

namespace
{

constexpr std::uint8_t kIdReply = 0x83;
constexpr std::uint8_t kNameReply = 0x85;

class File2Handler : public HandlerFixture<CFile2Handler, 0x6D>
{
  protected:
    const CBStrOwner m_name = MakeText(u"A");
};

const Bytes kNameBody = {
    0x00,                    // done
    0xFF,                    // passed over
    0x00, 0x03,              // three units
    0x00, 0x41, 0x20, 0xAC,  // A, the euro sign
    0x00, 0x42,              // B
};
const Bytes kIdBody = {0x00, 0xFF, 0x12, 0x34, 0x56, 0x78};

TEST_F(File2Handler, FindsTheNameOfAFile)
{
    FileLookupRecord record = {0xEEEEEEEE, 0x12345678, nullptr, 0xDDDDDDDD};
    EXPECT_EQ(Ask(ZEL_FILE_NAME_OF_ID, &record, kNameReply, kNameBody), ZEL_OK);
    EXPECT_TRUE(Sent(0x84, {0x00, 0x00, 0x12, 0x34, 0x56, 0x78}));
    EXPECT_EQ(UnitsOf(CBStrOwner(record.name).get()), u"A\u20ACB");
    EXPECT_EQ(record.leading, 0xEEEEEEEE);
    EXPECT_EQ(record.file_id, 0x12345678u);
    EXPECT_EQ(record.found_id, 0xDDDDDDDD);
    record.name = m_name.get();
    Survives(ZEL_FILE_NAME_OF_ID, &record, kNameReply, kNameBody);
}

TEST_F(File2Handler, AnEmptyNameKeepsThePointer)
{
    ExpectOutcomes(ZEL_FILE_NAME_OF_ID, FileLookupRecord{1, 2, m_name.get(), 3},
                   {{kNameReply, {0x00, 0xFF, 0x00, 0x00}, ZEL_OK}});
}

TEST_F(File2Handler, ANameThatClaimsMoreThanThereIsReadsZeros)
{
    FileLookupRecord record = {};
    EXPECT_EQ(Ask(ZEL_FILE_NAME_OF_ID, &record, kNameReply, {0x00, 0xFF, 0xFF, 0xFF, 0x00, 0x41}), ZEL_OK);
    EXPECT_EQ(UnitsOf(CBStrOwner(record.name).get()), u"A" + std::u16string(0xFFFE, u'\0'));
}

TEST_F(File2Handler, FindsTheFileOfAName)
{
    struct Case
    {
        std::u16string name;
        Bytes request;
    };
    const Case cases[] = {
        {u"", {0x00, 0x00, 0x00, 0x00}},
        {u"A", {0x00, 0x01, 0x00, 0x41, 0x00, 0x00}},
        {u"\u20AC/b", {0x00, 0x03, 0x20, 0xAC, 0x00, 0x2F, 0x00, 0x62, 0x00, 0x00}},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(Hex(c.request));
        const CBStrOwner name = MakeText(c.name);
        FileLookupRecord record = {1, 2, name.get(), 3};
        EXPECT_EQ(Ask(ZEL_FILE_ID_OF_NAME, &record, kIdReply, kIdBody), ZEL_OK);
        EXPECT_TRUE(Sent(0x82, c.request));
        EXPECT_EQ(record.found_id, 0x12345678u);
        EXPECT_EQ(record.file_id, 2u);
        EXPECT_EQ(record.name, name.get());
    }
    const FileLookupRecord record = {1, 2, m_name.get(), 3};
    Survives(ZEL_FILE_ID_OF_NAME, &record, kIdReply, kIdBody);
}

TEST_F(File2Handler, RefusesABadName)
{
    for (void* name : {static_cast<void*>(nullptr), kUnreadable})
        ExpectRefused(ZEL_FILE_ID_OF_NAME, FileLookupRecord{1, 2, static_cast<BSTR>(name), 3}, ZEL_E_ARGUMENT);
}

TEST_F(File2Handler, WhatIsNotAnsweredKeepsTheRecord)
{
    const FileLookupRecord record = {1, 2, m_name.get(), 3};
    const std::pair<std::uint32_t, std::uint8_t> replies[] = {{ZEL_FILE_NAME_OF_ID, kNameReply},
                                                              {ZEL_FILE_ID_OF_NAME, kIdReply}};
    for (const auto& [messageId, replyId] : replies)
    {
        SCOPED_TRACE(messageId);
        ExpectBadRecordsRefused(m_handler, messageId);
        ExpectUnanswered(messageId, record);
        ExpectOutcomes(messageId, record,
                       {{replyId, {0x02, 0xFF, 0x00, 0x01, 0x00, 0x41}, 0x6D02},
                        {replyId, {0xFF, 0xFF, 0x00, 0x01, 0x00, 0x41}, 0x6DFF}});
    }
}

TEST_F(File2Handler, KnowsNothingElse)
{
    ExpectNotHandled({ZEL_FILE_NAME_OF_ID - 1, ZEL_FILE_ID_OF_NAME + 1});
    ExpectNoIndications(ZEL_FILE_NAME_OF_ID);
}

}  // namespace

#include "handlers/File2Handler.h"

#include "support/HandlerChecks.h"
#include "support/Text.h"
#include "zelapi/file.h"

namespace
{

constexpr std::uint8_t kResource = 0x6D;

class File2Handler : public testing::Test
{
  protected:
    File2Handler() { m_handler.SetResource(kResource); }

    const CLeakCheck m_leaks;
    const CBStrOwner m_name = MakeText(u"A");
    CFile2Handler m_handler;
    FakeSender m_phone;
};

const Bytes kNameReply = {
    0x00,                    // done
    0xFF,                    // passed over
    0x00, 0x03,              // three units
    0x00, 0x41, 0x20, 0xAC,  // A, the euro sign
    0x00, 0x42,              // B
};

TEST_F(File2Handler, FindsTheNameOfAFile)
{
    FileLookupRecord record = {0xEEEEEEEE, 0x12345678, nullptr, 0xDDDDDDDD};
    m_phone.Reply(0x85, kNameReply);
    EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_FILE_NAME_OF_ID, &record), ZEL_OK);
    EXPECT_TRUE(SameRequest(m_phone.Last(), kResource, 0x84, {0x00, 0x00, 0x12, 0x34, 0x56, 0x78}));
    EXPECT_EQ(UnitsOf(CBStrOwner(record.name).get()), u"A\u20ACB");
    EXPECT_EQ(record.leading, 0xEEEEEEEE);
    EXPECT_EQ(record.file_id, 0x12345678u);
    EXPECT_EQ(record.found_id, 0xDDDDDDDD);
}

TEST_F(File2Handler, AnEmptyNameKeepsThePointer)
{
    m_phone.Reply(0x85, {0x00, 0xFF, 0x00, 0x00});
    ExpectRecordUntouched(m_handler, m_phone, ZEL_FILE_NAME_OF_ID, FileLookupRecord{1, 2, m_name.get(), 3}, ZEL_OK);
}

TEST_F(File2Handler, ATruncatedNameIsFilledWithZeros)
{
    for (const Bytes& part : Truncations(kNameReply))
    {
        SCOPED_TRACE(part.size());
        FileLookupRecord record = {};
        m_phone.Reply(0x85, part);
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_FILE_NAME_OF_ID, &record), ZEL_OK);
        std::u16string expected(part.size() < 4 ? 0 : 3, u'\0');
        for (std::size_t i = 4; i < part.size(); ++i)
            expected[(i - 4) / 2] = static_cast<char16_t>(expected[(i - 4) / 2] | part[i] << (i % 2 == 0 ? 8 : 0));
        EXPECT_EQ(UnitsOf(CBStrOwner(record.name).get()), expected);
    }
}

TEST_F(File2Handler, ANameThatClaimsMoreThanThereIsReadsZeros)
{
    FileLookupRecord record = {};
    m_phone.Reply(0x85, {0x00, 0xFF, 0xFF, 0xFF, 0x00, 0x41});
    EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_FILE_NAME_OF_ID, &record), ZEL_OK);
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
        m_phone.Reply(0x83, {0x00, 0xFF, 0x12, 0x34, 0x56, 0x78});
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_FILE_ID_OF_NAME, &record), ZEL_OK);
        EXPECT_TRUE(SameRequest(m_phone.Last(), kResource, 0x82, c.request));
        EXPECT_EQ(record.found_id, 0x12345678u);
        EXPECT_EQ(record.file_id, 2u);
        EXPECT_EQ(record.name, name.get());
    }
}

TEST_F(File2Handler, ATruncatedIdentifierIsFilledWithZeros)
{
    const Bytes reply = {0x00, 0xFF, 0x12, 0x34, 0x56, 0x78};
    const std::uint32_t expected[] = {0, 0, 0, 0x12000000, 0x12340000, 0x12345600};
    for (const Bytes& part : Truncations(reply))
    {
        FileLookupRecord record = {1, 2, m_name.get(), 3};
        m_phone.Reply(0x83, part);
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_FILE_ID_OF_NAME, &record), ZEL_OK);
        EXPECT_EQ(record.found_id, expected[part.size()]) << part.size();
    }
}

TEST_F(File2Handler, RefusesABadName)
{
    for (void* name : {static_cast<void*>(nullptr), kUnreadable})
        ExpectRecordUntouched(m_handler, m_phone, ZEL_FILE_ID_OF_NAME,
                              FileLookupRecord{1, 2, static_cast<BSTR>(name), 3}, ZEL_E_ARGUMENT);
    EXPECT_TRUE(m_phone.Requests().empty());
}

TEST_F(File2Handler, WhatIsNotAnsweredKeepsTheRecord)
{
    const FileLookupRecord record = {1, 2, m_name.get(), 3};
    const std::pair<std::uint32_t, std::uint8_t> replies[] = {{ZEL_FILE_NAME_OF_ID, 0x85}, {ZEL_FILE_ID_OF_NAME, 0x83}};
    for (const auto& [messageId, replyId] : replies)
    {
        SCOPED_TRACE(messageId);
        ExpectBadRecordsRefused(m_handler, messageId);
        ExpectUnansweredKept(m_handler, m_phone, messageId, record);
        for (const std::uint8_t status : Bytes{0x02, 0xFF})
        {
            m_phone.Reply(replyId, {status, 0xFF, 0x00, 0x01, 0x00, 0x41});
            ExpectRecordUntouched(m_handler, m_phone, messageId, record, 0x6D00u | status);
        }
    }
}

TEST_F(File2Handler, NeedsMemory)
{
    FailEachAllocation([&] {
        FakeSender phone;
        phone.Reply(0x85, kNameReply);
        FileLookupRecord record = {};
        const std::uint32_t result = m_handler.EncodeRequest(phone, ZEL_FILE_NAME_OF_ID, &record);
        SysFreeString(record.name);
        return result;
    });
    FailEachAllocation([&] {
        FakeSender phone;
        phone.Reply(0x83, {0x00, 0xFF, 0x12, 0x34, 0x56, 0x78});
        FileLookupRecord record = {1, 2, m_name.get(), 3};
        return m_handler.EncodeRequest(phone, ZEL_FILE_ID_OF_NAME, &record);
    });
}

TEST_F(File2Handler, KnowsNothingElse)
{
    FileLookupRecord record = {};
    EXPECT_EQ(m_handler.EncodeRequest(m_phone, 0x6D00, &record), ZEL_NOT_HANDLED);
    EXPECT_EQ(m_handler.EncodeRequest(m_phone, 0x6D03, &record), ZEL_NOT_HANDLED);
    CMessage message;
    message.SetMessageId(0x85);
    std::uint32_t messageId = 77;
    void* decoded = nullptr;
    EXPECT_EQ(m_handler.DecodeMessage(message, messageId, decoded), ZEL_NOT_HANDLED);
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_FILE_NAME_OF_ID, &record), ZEL_E_FAIL);
}

}  // namespace

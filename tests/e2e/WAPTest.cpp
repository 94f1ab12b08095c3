#include "zelapi/wap.h"

#include "e2e/LinkService.h"

namespace
{

using WAPTest = EndToEnd;

/// Both texts of a connection, and what stands between them.
std::u16string ReadConnection(const Connection& phone, std::uint16_t key)
{
    WapConnection connection = {};
    WapRequest request = {0, key, 0, &connection};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_WAP_READ_CONNECTION, &request), ZEL_OK);
    std::u16string text;
    for (const BSTR part : {connection.first_text, connection.second_text})
    {
        text.append(part, part + SysStringLen(part)).push_back(connection.flag != 0 ? u'+' : u'-');
        SysFreeString(part);
    }
    return text;
}

std::uint8_t IsActive(const Connection& phone, std::uint16_t key)
{
    WapRequest request = {0, key, 0xEE, nullptr};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_WAP_READ_BYTE, &request), ZEL_OK);
    return request.result;
}

TEST_F(WAPTest, AConnectionIsWrittenReadAndChosen)
{
    const LinkService service(Shipped("wap"));
    const NothingLeft nothing(service);
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    EXPECT_EQ(ReadConnection(phone, 2), u"B\u00FCcher-http://books.example-");

    const BSTR text = SysAllocString(L"News");
    WapConnection connection = {0, 0, 1, text, text};
    WapRequest request = {0, 0, 0, &connection};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_WAP_WRITE_CONNECTION, &request), ZEL_OK);
    SysFreeString(text);
    EXPECT_EQ(request.key, 3);
    EXPECT_EQ(connection.identifier, 0x0103);
    EXPECT_EQ(ReadConnection(phone, 3), u"News+News+");

    EXPECT_EQ(IsActive(phone, 3), 0);
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_WAP_CONNECTION_COMMAND, &request), ZEL_OK);
    EXPECT_EQ(IsActive(phone, 3), 1);
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_WAP_COMMAND, nullptr), ZEL_OK);
    EXPECT_EQ(IsActive(phone, 3), 0);
    request.key = 9;
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_WAP_CONNECTION_COMMAND, &request), 0x3F21u);
}

}  // namespace

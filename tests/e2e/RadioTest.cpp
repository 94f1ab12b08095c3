#include "e2e/LinkService.h"
#include "support/ReceivedRecords.h"

namespace
{

using RadioTest = EndToEnd;

/// The value of the list, then value and name of each item.
std::wstring ItemsOf(const Connection& phone)
{
    RadioList list = {};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_RADIO_LIST, &list), ZEL_OK);
    std::wstring items = std::to_wstring(list.value);
    for (std::size_t i = 0; i < list.count; ++i)
        items +=
            L' ' + std::to_wstring(list.items[i].value) + (list.items[i].name == nullptr ? L"" : list.items[i].name);
    FreeReceived(list);
    return items;
}

TEST_F(RadioTest, ItemsAndSettingsAreWrittenAndReadAgain)
{
    const LinkService service(Shipped("radio"));
    const NothingLeft nothing(service);
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    EXPECT_EQ(ItemsOf(phone), L"1 1Hill Radio 2K\u00FCste 5");

    const BSTR text = SysAllocString(L"Lake");
    std::uint8_t data[] = {0x01, 0x02, 0x03};
    const RadioItem item = {0, 2, text, sizeof data, data};
    RadioItemRecord record = {0, &item};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_RADIO_WRITE_ITEM, &record), ZEL_OK);
    RadioSetting keys = {};
    keys.key = 2;
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_RADIO_REQUEST_3, &keys), ZEL_OK);
    keys.key = 3;
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_RADIO_REQUEST_3, &keys), 0x3E03u);
    EXPECT_EQ(ItemsOf(phone), L"2 1Hill Radio 2Lake 5");

    RadioSetting written = {0, 7, 0, {}, 1, 2, 3, 4, 0x12345678, text};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_RADIO_WRITE_SETTING, &written), ZEL_OK);
    RadioSetting read = {};
    read.key = 7;
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_RADIO_READ_SETTING, &read), ZEL_OK);
    EXPECT_EQ(read.value_14, 3);
    EXPECT_EQ(read.value_15, 4);
    EXPECT_EQ(read.value_16, 0x12345678u);
    EXPECT_STREQ(read.text, L"Lake");
    SysFreeString(read.text);
    read.key = 8;
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_RADIO_READ_SETTING, &read), 0x3E05u);
    SysFreeString(text);
}

}  // namespace

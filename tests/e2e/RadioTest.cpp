#include "zelapi/radio.h"

#include "e2e/LinkService.h"

namespace
{

using RadioTest = EndToEnd;

/// "value name data" of each item, the data as one number; the list is freed.
std::vector<std::string> ItemsOf(const Connection& phone)
{
    RadioList list = {};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_RADIO_LIST, &list), ZEL_OK);
    std::vector<std::string> items = {std::to_string(list.value)};
    for (std::size_t i = 0; i < list.count; ++i)
    {
        const RadioItem& item = list.items[i];
        std::string text = std::to_string(item.value) + ' ';
        for (UINT unit = 0; unit < SysStringLen(item.name); ++unit)
            text += static_cast<char>(item.name[unit]);
        std::uint32_t number = 0;
        for (std::size_t byte = 0; byte < item.data_length; ++byte)
            number = number << 8 | item.data[byte];
        items.push_back(text + ' ' + std::to_string(number));
        SysFreeString(item.name);
        CoTaskMemFree(item.data);
    }
    CoTaskMemFree(list.items);
    return items;
}

TEST_F(RadioTest, ItemsAndSettingsAreWrittenAndReadAgain)
{
    const LinkService service(Shipped("radio"));
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    EXPECT_EQ(ItemsOf(phone), (std::vector<std::string>{"1", "1 Hill Radio 101500", "2 K\xFCste 94700", "5  88900"}));

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
    EXPECT_EQ(ItemsOf(phone), (std::vector<std::string>{"2", "1 Hill Radio 101500", "2 Lake 66051", "5  88900"}));

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

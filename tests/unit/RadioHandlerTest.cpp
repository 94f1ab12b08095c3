#include "handlers/RadioHandler.h"

#include "support/HandlerFixture.h"
#include "support/RecordShapes.h"
#include "support/Text.h"

#include <tuple>

namespace
{

const Bytes kListReply = {
    0x77, 3,                                                 // value, count
    1,    0,   0,    20,   3,    2,    0x51, 9,              // item: three units, two bytes, value
    0,    'A', 0x20, 0xAC, 0,    'B',  9,    9, 0xD1, 0xD2,  // name, skipped, data
    0,    0,                                                 // padding
    2,    0,   0,    8,    1,    1,    1,    1,              // not known
    1,    0,   0,    16,   2,    3,    0x52, 9,              // item: two units, three bytes, value
    0,    'C', 0,    'D',  0xE1, 0xE2, 0xE3, 0,              // name, data, padding
};
const Bytes kSettingReply = {
    9,    2,                          // passed over, count
    0,    20,                         // setting
    3,    0x12, 0x13, 0x14, 9, 0x15,  // three units, values
    0x12, 0x34, 0x56, 0x78,           // value
    0,    'A',  0x20, 0xAC, 0, 'B',   // text
    0,    0,                          // padding
    0,    4,    9,    9,              // another one, not read
};

/// The text that is sent.
const Bytes kText = {0, 'A', 0x20, 0xAC, 0, 'B'};

class RadioHandler : public HandlerFixture<CRadioHandler, 0x3E>
{
  protected:
    std::uint32_t List(const Bytes& reply) { return Ask(ZEL_RADIO_LIST, &m_list, 14, reply); }

    /// The body that an item is sent as.
    Bytes Written(const RadioItem& item)
    {
        const RadioItemRecord record = {0, &item};
        ExpectOutcomes(ZEL_RADIO_WRITE_ITEM, record, {{21, {}, ZEL_OK}});
        return m_phone.Last().body;
    }

    const CBStrOwner m_text = MakeText(u"A\u20ACB");
    std::uint8_t m_data[2] = {0xD1, 0xD2};
    const RadioItem m_item = {0, 0x51, m_text.get(), 2, m_data};
    const RadioSetting m_setting = {1, 0x42, 0x43, {}, 0x12, 0x13, 0x14, 0x15, 0x12345678, m_text.get()};
    RadioList m_list = {};
};

TEST_F(RadioHandler, SendsEachRequestAndReportsItsStatus)
{
    const std::tuple<std::uint32_t, std::uint8_t, Bytes, std::uint8_t> cases[] = {
        {ZEL_RADIO_LIST, 13, {0, 0}, 14},
        {ZEL_RADIO_WRITE_ITEM, 17, Join({{0, 1, 1, 0, 0, 20, 3, 2, 0x51, 0}, kText, {0, 0, 0xD1, 0xD2, 0, 0}}), 21},
        {ZEL_RADIO_READ_SETTING, 5, {0x42, 0}, 6},
        {ZEL_RADIO_WRITE_SETTING, 18,
         Join({{0, 1, 0, 20, 3, 0x12, 0x13, 0x14, 0x42, 0x15, 0x12, 0x34, 0x56, 0x78}, kText, {0, 0}}), 21},
        {ZEL_RADIO_REQUEST_3, 3, {0x42, 0x43}, 21},
    };
    for (const auto& [messageId, request, body, reply] : cases)
    {
        SCOPED_TRACE(messageId);
        const auto check = [&, id = messageId](const auto& record) {
            ExpectOutcomes(id, record,
                           {{22, {9, 3}, 0x3E03}, {22, {9, 0xFF}, 0x3EFF}, {22, {9, 0}, 0}, {22, {9}, 0}, {22, {}, 0}});
            ExpectUnanswered(id, record);
        };
        if (messageId == ZEL_RADIO_LIST)
            check(RadioList{1, 2, 3, nullptr});
        else if (messageId == ZEL_RADIO_WRITE_ITEM)
            check(RadioItemRecord{1, &m_item});
        else
            check(m_setting);
        EXPECT_TRUE(Sent(request, body, {reply, 22}, messageId == ZEL_RADIO_LIST ? 10000 : 60000));
        ExpectBadRecordsRefused(m_handler, messageId,
                                messageId == ZEL_RADIO_READ_SETTING ? ZEL_E_FAIL : ZEL_E_ARGUMENT);
    }
    // What a done reply holds does not matter.
    ExpectOutcomes(ZEL_RADIO_REQUEST_3, m_setting, {{21, {1, 5}, ZEL_OK}});
    ExpectNotHandled({0x3E00, 0x3E06});
    ExpectNoIndications(ZEL_RADIO_LIST);
}

TEST_F(RadioHandler, ListsItems)
{
    m_list.leading = 0x12345678;
    EXPECT_EQ(List(kListReply), ZEL_OK);
    ASSERT_EQ(std::tuple(m_list.leading, m_list.value, m_list.count), std::tuple(0x12345678u, 0x77, 3));
    std::vector<std::tuple<std::uint8_t, bool, std::u16string, Bytes>> items;
    for (const RadioItem* item = m_list.items; item != m_list.items + 3; ++item)
        items.emplace_back(item->value, item->name != nullptr, UnitsOf(item->name),
                           Bytes(item->data, item->data + item->data_length));
    const decltype(items) expected = {
        {0x51, true, u"A\u20ACB", {0xD1, 0xD2}}, {0, false, u"", {}}, {0x52, true, u"CD", {0xE1, 0xE2, 0xE3}}};
    EXPECT_EQ(items, expected);
    FreeReceived(ZEL_RADIO_LIST, &m_list);
    Survives(ZEL_RADIO_LIST, &m_list, 14, kListReply);
}

TEST_F(RadioHandler, BelievesNoCountAndNoLength)
{
    for (const Bytes& reply :
         {Bytes{7, 255, 1, 0, 0, 8, 255, 255, 1, 0, 1, 0, 0, 0}, Bytes{7, 2, 1, 0, 0, 4, 1, 0, 0, 8, 0, 0, 0, 0}})
    {
        EXPECT_EQ(List(reply), ZEL_OK);
        EXPECT_EQ(m_list.count, reply[1]);
        FreeReceived(ZEL_RADIO_LIST, &m_list);
        Survives(ZEL_RADIO_LIST, &m_list, 14, reply);
    }
    m_list.items = reinterpret_cast<RadioItem*>(m_data);
    EXPECT_EQ(List({7}), ZEL_OK);
    EXPECT_EQ(std::tuple(m_list.count, m_list.items), std::tuple(0, nullptr));
}

TEST_F(RadioHandler, TellsTheLowByteOfANamesLength)
{
    // Units of a name, its length byte, the size of the sub-block.
    for (const auto& [units, lengthByte, size] :
         {std::tuple{0u, 0, 12u}, {2, 2, 16}, {300, 44, 612}, {256, 0, 12}, {32632, 0x78, 65276}, {65536, 0, 12}})
    {
        const CBStrOwner name = MakeText(std::u16string(units, u'n'));
        const Bytes body = Written({0, 1, name.get(), 2, m_data});
        EXPECT_EQ(std::tuple(body[6], body.size(), body[4] << 8 | body[5]),
                  std::tuple(lengthByte, size + 2, static_cast<int>(size)))
            << units;
        EXPECT_EQ(Bytes(body.end() - 4, body.end()), (Bytes{0xD1, 0xD2, 0, 0}));
    }
    EXPECT_TRUE(SameBytes({0, 1, 1, 0, 0, 8, 0, 0, 5, 0}, Written({0, 5, static_cast<BSTR>(kUnreadable), 0, nullptr})));
}

TEST_F(RadioHandler, RefusesWhatCannotBeSent)
{
    const CBStrOwner longName = MakeText(std::u16string(32633, u'n'));
    const RadioItem tooLong = {0, 1, longName.get(), 0, nullptr};
    for (void* bad : {static_cast<void*>(nullptr), kUnreadable})
    {
        const RadioItem noData = {0, 1, nullptr, 1, static_cast<std::uint8_t*>(bad)};
        for (const RadioItem* item : {static_cast<const RadioItem*>(bad), &noData, &tooLong})
            ExpectRefused(ZEL_RADIO_WRITE_ITEM, RadioItemRecord{0, item}, ZEL_E_ARGUMENT);
    }
    RadioSetting setting = m_setting;
    const CBStrOwner longText = MakeText(std::u16string(121, u't'));
    setting.text = longText.get();
    ExpectRefused(ZEL_RADIO_WRITE_SETTING, setting, ZEL_E_ARGUMENT);

    const CBStrOwner longest = MakeText(std::u16string(120, u't'));
    for (const BSTR text : {longest.get(), static_cast<BSTR>(nullptr), static_cast<BSTR>(kUnreadable)})
    {
        setting.text = text;
        ExpectOutcomes(ZEL_RADIO_WRITE_SETTING, setting, {{21, {}, ZEL_OK}});
        EXPECT_EQ(m_phone.Last().body.size(), text == longest.get() ? 254u : 14u);
        EXPECT_EQ(m_phone.Last().body[4], text == longest.get() ? 120 : 0);
    }
}

TEST_F(RadioHandler, ReadsASetting)
{
    RadioSetting record = {1, 0x42, 0x43, {}, 0, 0, 0, 0, 0, nullptr};
    EXPECT_EQ(Ask(ZEL_RADIO_READ_SETTING, &record, 6, kSettingReply), ZEL_OK);
    EXPECT_EQ(UnitsOf(CBStrOwner(record.text).get()), u"A\u20ACB");
    EXPECT_EQ(std::memcmp(&record, &m_setting, offsetof(RadioSetting, text) - 4), 0);
    record.text = m_text.get();

    // An empty text leaves the pointer; no setting, the record.
    EXPECT_EQ(Ask(ZEL_RADIO_READ_SETTING, &record, 6, {9, 1, 0, 12, 0, 1, 2, 3, 9, 4, 0, 0, 0, 5}), ZEL_OK);
    EXPECT_EQ(std::tuple(record.text, record.value_16), std::tuple(m_text.get(), 5u));
    ExpectOutcomes(ZEL_RADIO_READ_SETTING, m_setting,
                   {{6, {}, ZEL_OK},
                    {6, {9}, ZEL_OK},
                    {6, {9, 0, 0, 12}, ZEL_OK},
                    {6, {9, 1, 0, 2, 0, 1}, ZEL_OK},
                    {6, {9, 1, 1, 12, 1, 1, 2, 3, 9, 4, 0, 0, 0, 5}, ZEL_OK}});
    Survives(ZEL_RADIO_READ_SETTING, &record, 6, kSettingReply);
}

}  // namespace

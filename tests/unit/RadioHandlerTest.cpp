#include "handlers/RadioHandler.h"

#include "support/HandlerChecks.h"
#include "support/ReceivedRecords.h"
#include "support/Text.h"

namespace
{

constexpr std::uint8_t kResource = 0x3E;

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

class RadioHandler : public testing::Test
{
  protected:
    RadioHandler() { m_handler.SetResource(kResource); }

    std::uint32_t List(const Bytes& reply)
    {
        FakeSender phone;
        phone.Reply(14, reply);
        return m_handler.EncodeRequest(phone, ZEL_RADIO_LIST, &m_list);
    }

    /// The body that an item is sent as.
    Bytes Written(const RadioItem& item)
    {
        const RadioItemRecord record = {0, &item};
        m_phone.Reply(21, {});
        ExpectRecordUntouched(m_handler, m_phone, ZEL_RADIO_WRITE_ITEM, record, ZEL_OK);
        return m_phone.Last().body;
    }

    const CLeakCheck m_leaks;
    const CBStrOwner m_text = MakeText(u"A\u20ACB");
    std::uint8_t m_data[2] = {0xD1, 0xD2};
    const RadioItem m_item = {0, 0x51, m_text.get(), 2, m_data};
    const RadioSetting m_setting = {1, 0x42, 0x43, {}, 0x12, 0x13, 0x14, 0x15, 0x12345678, m_text.get()};
    RadioList m_list = {};
    CRadioHandler m_handler;
    FakeSender m_phone;
};

TEST_F(RadioHandler, SendsEachRequestAndReportsItsStatus)
{
    const struct
    {
        std::uint32_t api;
        std::uint8_t request;
        Bytes body;
        std::uint8_t reply;
    } cases[] = {
        {ZEL_RADIO_LIST, 13, {0, 0}, 14},
        {ZEL_RADIO_WRITE_ITEM,
         17,
         {0, 1, 1, 0, 0, 20, 3, 2, 0x51, 0, 0, 'A', 0x20, 0xAC, 0, 'B', 0, 0, 0xD1, 0xD2, 0, 0},
         21},
        {ZEL_RADIO_READ_SETTING, 5, {0x42, 0}, 6},
        {ZEL_RADIO_WRITE_SETTING,
         18,
         {0, 1, 0, 20, 3, 0x12, 0x13, 0x14, 0x42, 0x15, 0x12, 0x34, 0x56, 0x78, 0, 'A', 0x20, 0xAC, 0, 'B', 0, 0},
         21},
        {ZEL_RADIO_REQUEST_3, 3, {0x42, 0x43}, 21},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.api);
        const auto check = [&](const auto& record) {
            for (const auto& [body, result] :
                 {std::pair<Bytes, std::uint32_t>{{9, 3}, 0x3E03}, {{9, 0xFF}, 0x3EFF}, {{9, 0}, 0}, {{9}, 0}, {{}, 0}})
            {
                m_phone.Reply(22, body);
                ExpectRecordUntouched(m_handler, m_phone, test.api, record, result);
            }
            ExpectUnansweredKept(m_handler, m_phone, test.api, record);
        };
        if (test.api == ZEL_RADIO_LIST)
            check(RadioList{1, 2, 3, nullptr});
        else if (test.api == ZEL_RADIO_WRITE_ITEM)
            check(RadioItemRecord{1, &m_item});
        else
            check(m_setting);
        const FakeSender::Sent& sent = m_phone.Last();
        EXPECT_EQ(sent.resource, kResource);
        EXPECT_EQ(sent.id, test.request);
        EXPECT_TRUE(SameBytes(test.body, sent.body));
        EXPECT_TRUE(SameBytes({test.reply, 22}, sent.expectedReplies));
        EXPECT_EQ(sent.timeoutMs, test.api == ZEL_RADIO_LIST ? 10000u : 60000u);
        ExpectBadRecordsRefused(m_handler, test.api, test.api == ZEL_RADIO_READ_SETTING ? ZEL_E_FAIL : ZEL_E_ARGUMENT);
    }
    // What a done reply holds does not matter.
    m_phone.Reply(21, {1, 5});
    ExpectRecordUntouched(m_handler, m_phone, ZEL_RADIO_REQUEST_3, m_setting, ZEL_OK);
    for (const std::uint32_t id : {0x3E00u, 0x3E06u})
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, id, &m_list), ZEL_NOT_HANDLED);
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_RADIO_LIST, &m_list), ZEL_E_FAIL);
}

TEST_F(RadioHandler, ListsItems)
{
    m_list.leading = 0x12345678;
    EXPECT_EQ(List(kListReply), ZEL_OK);
    EXPECT_EQ(m_list.leading, 0x12345678u);
    EXPECT_EQ(m_list.value, 0x77);
    ASSERT_EQ(m_list.count, 3);
    std::vector<std::tuple<std::uint8_t, bool, std::u16string, Bytes>> items;
    for (const RadioItem* item = m_list.items; item != m_list.items + 3; ++item)
        items.emplace_back(item->value, item->name != nullptr, UnitsOf(item->name),
                           Bytes(item->data, item->data + item->data_length));
    const decltype(items) expected = {
        {0x51, true, u"A\u20ACB", {0xD1, 0xD2}}, {0, false, u"", {}}, {0x52, true, u"CD", {0xE1, 0xE2, 0xE3}}};
    EXPECT_EQ(items, expected);
    FreeReceived(m_list);
}

TEST_F(RadioHandler, BelievesNoCountAndNoLength)
{
    std::vector<Bytes> replies = Truncations(kListReply);
    replies.push_back({7, 255, 1, 0, 0, 8, 255, 255, 1, 0, 1, 0, 0, 0});
    replies.push_back({7, 2, 1, 0, 0, 4, 1, 0, 0, 8, 0, 0, 0, 0});
    for (const Bytes& reply : replies)
    {
        SCOPED_TRACE(Hex(reply));
        m_list.items = reinterpret_cast<RadioItem*>(m_data);
        EXPECT_EQ(List(reply), ZEL_OK);
        EXPECT_EQ(m_list.count, reply.size() < 2 ? 0 : reply[1]);
        EXPECT_EQ(m_list.items == nullptr, m_list.count == 0);
        FreeReceived(m_list);
    }
}

TEST_F(RadioHandler, TellsTheLowByteOfANamesLength)
{
    // Units of a name, its length byte, the size of the sub-block.
    for (const auto& [units, lengthByte, size] :
         {std::tuple{0u, 0, 12u}, {2, 2, 16}, {300, 44, 612}, {256, 0, 12}, {32632, 0x78, 65276}, {65536, 0, 12}})
    {
        const CBStrOwner name = MakeText(std::u16string(units, u'n'));
        const Bytes body = Written({0, 1, name.get(), 2, m_data});
        EXPECT_EQ(body[6], lengthByte) << units;
        EXPECT_EQ(body.size(), size + 2);
        EXPECT_EQ(body[4] << 8 | body[5], static_cast<int>(size));
        EXPECT_EQ(Bytes(body.end() - 4, body.end()), (Bytes{0xD1, 0xD2, 0, 0}));
    }
    EXPECT_TRUE(SameBytes({0, 1, 1, 0, 0, 8, 0, 0, 5, 0}, Written({0, 5, static_cast<BSTR>(kUnreadable), 0, nullptr})));
}

TEST_F(RadioHandler, RefusesWhatCannotBeSent)
{
    const CBStrOwner longName = MakeText(std::u16string(32633, u'n'));
    const RadioItem noData = {0, 1, nullptr, 1, nullptr};
    const RadioItem unreadableData = {0, 1, nullptr, 1, static_cast<std::uint8_t*>(kUnreadable)};
    const RadioItem tooLong = {0, 1, longName.get(), 0, nullptr};
    for (const RadioItem* item : {static_cast<const RadioItem*>(nullptr), static_cast<const RadioItem*>(kUnreadable),
                                  &noData, &unreadableData, &tooLong})
        ExpectRecordUntouched(m_handler, m_phone, ZEL_RADIO_WRITE_ITEM, RadioItemRecord{0, item}, ZEL_E_ARGUMENT);
    RadioSetting setting = m_setting;
    const CBStrOwner longText = MakeText(std::u16string(121, u't'));
    setting.text = longText.get();
    ExpectRecordUntouched(m_handler, m_phone, ZEL_RADIO_WRITE_SETTING, setting, ZEL_E_ARGUMENT);
    EXPECT_TRUE(m_phone.Requests().empty());

    const CBStrOwner longest = MakeText(std::u16string(120, u't'));
    for (const BSTR text : {longest.get(), static_cast<BSTR>(nullptr), static_cast<BSTR>(kUnreadable)})
    {
        setting.text = text;
        m_phone.Reply(21, {});
        ExpectRecordUntouched(m_handler, m_phone, ZEL_RADIO_WRITE_SETTING, setting, ZEL_OK);
        EXPECT_EQ(m_phone.Last().body.size(), text == longest.get() ? 254u : 14u);
        EXPECT_EQ(m_phone.Last().body[4], text == longest.get() ? 120 : 0);
    }
}

TEST_F(RadioHandler, ReadsASetting)
{
    RadioSetting record = {1, 0x42, 0x43, {}, 0, 0, 0, 0, 0, nullptr};
    m_phone.Reply(6, kSettingReply);
    EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_RADIO_READ_SETTING, &record), ZEL_OK);
    EXPECT_EQ(UnitsOf(CBStrOwner(record.text).get()), u"A\u20ACB");
    EXPECT_EQ(std::memcmp(&record, &m_setting, offsetof(RadioSetting, text) - 4), 0);
    record.text = m_text.get();

    // An empty text leaves the pointer; no setting, the record.
    m_phone.Reply(6, {9, 1, 0, 12, 0, 1, 2, 3, 9, 4, 0, 0, 0, 5});
    EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_RADIO_READ_SETTING, &record), ZEL_OK);
    EXPECT_EQ(record.text, m_text.get());
    EXPECT_EQ(record.value_16, 5u);
    for (const Bytes& reply : {Bytes{}, Bytes{9}, Bytes{9, 0, 0, 12}, Bytes{9, 1, 0, 2, 0, 1},
                               Bytes{9, 1, 1, 12, 1, 1, 2, 3, 9, 4, 0, 0, 0, 5}})
    {
        m_phone.Reply(6, reply);
        ExpectRecordUntouched(m_handler, m_phone, ZEL_RADIO_READ_SETTING, m_setting, ZEL_OK);
    }
    for (const Bytes& part : Truncations(kSettingReply))
    {
        m_phone.Reply(6, part);
        record = {};
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, ZEL_RADIO_READ_SETTING, &record), ZEL_OK);
        EXPECT_EQ(SysStringLen(CBStrOwner(record.text).get()), part.size() > 4 ? 3u : 0u) << part.size();
    }
}

TEST_F(RadioHandler, NeedsMemory)
{
    FailEachAllocation([&] {
        const std::uint32_t result = List(kListReply);
        FreeReceived(m_list);
        return result;
    });
    FailEachAllocation([&] {
        FakeSender phone;
        phone.Reply(6, kSettingReply);
        RadioSetting record = {};
        const std::uint32_t result = m_handler.EncodeRequest(phone, ZEL_RADIO_READ_SETTING, &record);
        SysFreeString(record.text);
        return result;
    });
}

}  // namespace

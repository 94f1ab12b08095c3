#include "zelapi/pnd.h"

#include "e2e/LinkService.h"

namespace
{

using PNDTest = EndToEnd;

/// The texts of an entry's text fields and groups, each with its terminator; all that was given is freed.
std::vector<std::u16string> TakeTexts(PndEntry& entry)
{
    std::vector<std::u16string> texts;
    const auto take = [&](BSTR text) {
        if (text != nullptr)
            texts.emplace_back(text, text + SysStringLen(text));
        SysFreeString(text);
    };
    for (std::size_t i = 0; i < entry.field_count; ++i)
    {
        if (entry.fields[i].type == 7 || entry.fields[i].type == 11)
            take(entry.fields[i].value.text);
        for (BSTR text : entry.fields[i].texts)
            take(text);
    }
    CoTaskMemFree(entry.fields);
    entry = {};
    return texts;
}

std::vector<std::u16string> TextsAt(ZelConnection phone, std::uint16_t location, std::uint32_t expected = ZEL_OK)
{
    PndReadRecord record = {0, 0, ZEL_PND_MODE_LOCATION, 0, 5, {location, 0, 0, nullptr}};
    EXPECT_EQ(ZelSendMessage(phone, ZEL_PND_READ_ENTRY, &record), expected);
    return TakeTexts(record.entry);
}

Counter* g_events = nullptr;
PndEventRecord g_event = {};

/// Takes the events of a new entry only; others come by the clock.
void __stdcall Receive(std::uint32_t, std::uint32_t messageId, void* record)
{
    ASSERT_EQ(messageId, ZEL_PND_EVENT);
    const auto& event = *static_cast<const PndEventRecord*>(record);
    if (event.kind != ZEL_PND_EVENT_1)
        return;
    g_event = event;
    g_events->Add();
}

TEST_F(PNDTest, AnEntryIsWrittenFoundAndRemoved)
{
    const LinkService service(Shipped("default"));
    const NothingLeft nothing(service);
    Counter events;
    g_events = &events;
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &Receive), ZEL_OK);
    ASSERT_EQ(ZelRegisterNotification(phone.Handle(), ZEL_REGISTER, ZEL_PND_EVENT), ZEL_OK);
    using Texts = std::vector<std::u16string>;
    EXPECT_EQ(TextsAt(phone.Handle(), 35), (Texts{{u"Taxi\0", 5}, {u"+493020202135\0", 14}}));
    EXPECT_EQ(TextsAt(phone.Handle(), 27).size(), 8u) << "a group of six texts";

    BSTR texts[] = {SysAllocString(L"Wren"), SysAllocString(L"Delft")};
    PndField fields[2] = {};
    fields[0].type = 7;
    fields[0].value.text = texts[0];
    fields[1].type = 74;
    fields[1].texts[2] = texts[1];
    PndWriteRecord write = {0, 5, 0, 2, fields};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PND_WRITE_ENTRY, &write), ZEL_OK);
    EXPECT_EQ(write.location, 41);
    ASSERT_TRUE(events.WaitFor(1));
    EXPECT_EQ(g_event.value_12, 41);

    PndReadRecord find = {0, ZEL_PND_BY_TEXT, 0, 0, 5, {0, 0, 1, fields}};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PND_READ_ENTRY, &find), ZEL_OK);
    EXPECT_EQ(find.entry.location, 41);
    EXPECT_EQ(TakeTexts(find.entry), (Texts{{u"Wren\0", 5}, {u"Delft\0", 6}}));
    for (BSTR text : texts)
        SysFreeString(text);

    PndCommand15Record remove = {0, 41, 5};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PND_COMMAND_15, &remove), ZEL_OK);
    TextsAt(phone.Handle(), 41, 0x306);
}

}  // namespace

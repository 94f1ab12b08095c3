#include "zelapi/call.h"

#include "e2e/LinkService.h"

namespace
{

using CallTest = EndToEnd;

std::u16string UnitsOf(BSTR text)
{
    return {text, text + SysStringLen(text)};
}

/// The state and the number that the phone tells of a call; all that it gives is freed.
std::pair<int, std::u16string> StatusOf(ZelConnection phone, std::uint8_t call)
{
    CallRecord record = {0, call, 1, 0, nullptr};
    EXPECT_EQ(ZelSendMessage(phone, ZEL_CALL_STATUS_QUERY, &record), ZEL_OK);
    std::pair<int, std::u16string> status = {0, u""};
    if (record.returned == 2)
    {
        status = {record.elements[0].p0, UnitsOf(record.elements[1].value.text)};
        SysFreeString(record.elements[1].value.text);
    }
    CoTaskMemFree(record.elements);
    return status;
}

Counter* g_indications = nullptr;
Counter* g_rings = nullptr;
std::u16string g_caller;

/// Counts indications of our own call and of the one that comes in, and frees their texts.
void __stdcall Receive(std::uint32_t, std::uint32_t messageId, void* record)
{
    ASSERT_EQ(messageId, ZEL_CALL_STATUS);
    const auto& call = *static_cast<const CallRecord*>(record);
    for (int i = 0; i < call.count_or_mode; ++i)
    {
        const CallElement& element = call.elements[i];
        if (element.id == ZEL_CALL_FIRST_NUMBER)
            g_caller = UnitsOf(element.value.text);
        if (element.id == ZEL_CALL_FIRST_NUMBER || element.id == ZEL_CALL_NUMBER || element.id == ZEL_CALL_TEXT)
            SysFreeString(element.value.text);
    }
    (call.call_id == 7 ? g_rings : g_indications)->Add();
}

TEST_F(CallTest, CallsAreMadeHeldEndedAndComeIn)
{
    const LinkService service(Shipped("call"));
    const NothingLeft nothing(service);
    Counter indications;
    Counter rings;
    g_indications = &indications;
    g_rings = &rings;
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &Receive), ZEL_OK);

    CallElement number = {};
    number.id = ZEL_CALL_NUMBER;
    number.value.text = SysAllocString(L"+358401234567");
    CallRecord record = {0, 0, 1, 0, &number};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_CALL_CREATE, &record), ZEL_OK);
    SysFreeString(number.value.text);
    EXPECT_EQ(record.call_id, 1);
    // Dialling, ringing, connected.
    ASSERT_TRUE(indications.WaitFor(3));
    EXPECT_EQ(StatusOf(phone.Handle(), 1), std::make_pair(4, std::u16string(u"358401234567")));

    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_CALL_CONTROL_1, &record), ZEL_OK);
    EXPECT_EQ(record.call_id, 1);
    EXPECT_EQ(StatusOf(phone.Handle(), 1).first, 6);
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_CALL_REQUEST_9, &record), ZEL_OK);
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_CALL_QUERY, &record), 0x11Eu);

    ASSERT_TRUE(rings.WaitFor(1));
    EXPECT_EQ(g_caller, u"+358401234567");
}

}  // namespace

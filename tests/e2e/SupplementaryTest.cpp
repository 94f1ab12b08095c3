#include "zelapi/supplementary.h"

#include "e2e/LinkService.h"

#include <memory>

namespace
{

using SupplementaryTest = EndToEnd;

/// A value that only the request below brings into an indication.
constexpr std::uint16_t kValue = 0x1234;

Counter* g_switchedOff = nullptr;

void __stdcall Receive(std::uint32_t kind, std::uint32_t messageId, void* record)
{
    if (kind == ZEL_CONNECTION_EVENT || messageId != ZEL_SUPPLEMENTARY_INDICATION)
        return;
    const auto& indication = *static_cast<const SupplementaryIndication*>(record);
    if (indication.second == kValue && indication.first == 2 && indication.block_id == 0x21)
        g_switchedOff->Add();
    CoTaskMemFree(record);
}

struct State
{
    bool isOn;
    std::wstring number;
};

State Ask(ZelConnection phone)
{
    const auto request = std::make_unique<SupplementaryRequest>();
    SupplementaryDetail details[2] = {};
    request->service_code = 0x21;
    request->entries[0].detail = &details[0];
    request->entries[1].detail = &details[1];
    EXPECT_EQ(ZelSendMessage(phone, ZEL_SUPPLEMENTARY_QUERY, request.get()), ZEL_OK);
    EXPECT_EQ(request->entries[0].type, ZEL_SUPPLEMENTARY_ENTRY_VALUE);
    EXPECT_EQ(request->entries[1].type, ZEL_SUPPLEMENTARY_ENTRY_PARTS);
    State state = {details[0].value_2 == 1, {}};
    if (details[1].text != nullptr)
        state.number.assign(details[1].text, SysStringLen(details[1].text));
    SysFreeString(details[1].text);
    CoTaskMemFree(details[1].data);
    return state;
}

TEST_F(SupplementaryTest, ANumberIsGivenAndAServiceSwitchedOff)
{
    Counter switchedOff;
    g_switchedOff = &switchedOff;
    const LinkService service(Shipped("supplementary"));
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &Receive), ZEL_OK);
    EXPECT_TRUE(Ask(phone.Handle()).isOn);

    BSTR number = SysAllocString(L"+12025550199");
    const SupplementaryText text = {0, 12, number};
    SupplementaryListRequest request = {0, 3, 0x21, 0, 0, {&text}};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_SUPPLEMENTARY_REQUEST, &request), ZEL_OK);
    ASSERT_EQ(request.count, 1);
    EXPECT_STREQ(request.list.entries[0].detail.text, number);
    SysFreeString(number);
    SysFreeString(request.list.entries[0].detail.text);
    CoTaskMemFree(request.list.entries);

    request = {0, 2, 0x21, kValue, 0, {nullptr}};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_SUPPLEMENTARY_REQUEST, &request), ZEL_OK);
    ASSERT_EQ(request.count, 1);
    CoTaskMemFree(request.list.entries);
    EXPECT_TRUE(switchedOff.WaitFor(1));
    const State state = Ask(phone.Handle());
    EXPECT_FALSE(state.isOn);
    EXPECT_EQ(state.number, L"+12025550199");

    SupplementaryRequest unknown = {0, 5, 0x44, 0, {}};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_SUPPLEMENTARY_QUERY_43, &unknown), 0x621u);
}

}  // namespace

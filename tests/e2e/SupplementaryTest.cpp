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

/// The number of service 0x21.
std::wstring Number(ZelConnection phone)
{
    const auto request = std::make_unique<SupplementaryRequest>();
    SupplementaryDetail detail = {};
    request->service_code = 0x21;
    request->entries[1].detail = &detail;
    EXPECT_EQ(ZelSendMessage(phone, ZEL_SUPPLEMENTARY_QUERY, request.get()), ZEL_OK);
    EXPECT_EQ(request->entries[1].type, ZEL_SUPPLEMENTARY_ENTRY_PARTS);
    const std::wstring number = detail.text == nullptr ? L"" : detail.text;
    SysFreeString(detail.text);
    CoTaskMemFree(detail.data);
    return number;
}

TEST_F(SupplementaryTest, ANumberIsGivenAndAServiceSwitchedOff)
{
    Counter switchedOff;
    g_switchedOff = &switchedOff;
    const LinkService service(Shipped("supplementary"));
    const NothingLeft nothing(service);
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &Receive), ZEL_OK);
    EXPECT_EQ(Number(phone.Handle()), L"+12025550143");

    BSTR number = SysAllocString(L"+12025550199");
    const SupplementaryText text = {0, 12, number};
    SupplementaryListRequest request = {0, 3, 0x21, 0, 0, {&text}};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_SUPPLEMENTARY_REQUEST, &request), ZEL_OK);
    ASSERT_EQ(request.count, 1);
    EXPECT_STREQ(request.list.entries[0].detail.text, number);
    SysFreeString(number);
    SysFreeString(request.list.entries[0].detail.text);
    CoTaskMemFree(request.list.entries);
    EXPECT_EQ(Number(phone.Handle()), L"+12025550199");

    request = {0, 2, 0x21, kValue, 0, {nullptr}};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_SUPPLEMENTARY_REQUEST, &request), ZEL_OK);
    ASSERT_EQ(request.count, 1);
    CoTaskMemFree(request.list.entries);
    EXPECT_TRUE(switchedOff.WaitFor(1));
}

}  // namespace

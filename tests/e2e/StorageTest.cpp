#include "zelapi/storage.h"

#include "e2e/LinkService.h"

namespace
{

using StorageTest = EndToEnd;

std::vector<std::uint32_t> Identifiers(const Connection& phone, std::uint8_t area)
{
    StorageIdentifierList list = {};
    list.area = area;
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_STORAGE_LIST_IDENTIFIERS, &list), ZEL_OK);
    const std::vector<std::uint32_t> identifiers(list.identifiers, list.identifiers + list.count);
    CoTaskMemFree(list.identifiers);
    return identifiers;
}

std::u16string AreaNames(const Connection& phone)
{
    StorageAreaList list = {};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_STORAGE_LIST_AREAS, &list), ZEL_OK);
    std::u16string names;
    for (std::uint8_t i = 0; i < list.count; ++i)
    {
        const BSTR name = list.areas[i].name;
        names.append(name, name + SysStringLen(name)).push_back(u';');
        SysFreeString(name);
    }
    CoTaskMemFree(list.areas);
    return names;
}

Counter* g_removals = nullptr;

/// Counts the events that tell that something was removed from area 1 and two identifiers are left.
void __stdcall Receive(std::uint32_t kind, std::uint32_t messageId, void* record)
{
    if (kind != ZEL_INDICATION || messageId != ZEL_STORAGE_EVENT)
        return;
    const auto& event = *static_cast<const StorageEventRecord*>(record);
    if (event.event == 2 && event.first == 1 && event.second == 0 && event.third == 2)
        g_removals->Add();
    CoTaskMemFree(record);
}

TEST_F(StorageTest, AreasAreListedAndWhatIsInThemChanges)
{
    const LinkService service(Shipped("storage"));
    const NothingLeft nothing(service);
    Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    EXPECT_EQ(AreaNames(phone), u"Phone memory;Memory card;");
    EXPECT_EQ(Identifiers(phone, 1), (std::vector<std::uint32_t>{0x1001, 0x1002, 0x1003}));

    Counter removals;
    g_removals = &removals;
    EXPECT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, Receive), ZEL_OK);
    StorageIdentifierCommand removal = {0, 0x1002};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_STORAGE_IDENTIFIER_COMMAND, &removal), ZEL_OK);
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_STORAGE_IDENTIFIER_COMMAND, &removal), 0xAA04u);
    EXPECT_TRUE(removals.WaitFor(1));

    StorageThreeByteCommand move = {0, 0x1003, 2, 0, 0};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_STORAGE_THREE_BYTE_COMMAND, &move), ZEL_OK);
    EXPECT_EQ(Identifiers(phone, 1), std::vector<std::uint32_t>{0x1001});
    EXPECT_EQ(Identifiers(phone, 2), (std::vector<std::uint32_t>{0x1003, 0x2001}));
    StorageAreaCommand empty = {2};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_STORAGE_AREA_COMMAND, &empty), ZEL_OK);
    EXPECT_TRUE(Identifiers(phone, 2).empty());
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_STORAGE_COMMAND, nullptr), ZEL_OK);
    EXPECT_EQ(phone.Close(), ZEL_OK);
}

}  // namespace

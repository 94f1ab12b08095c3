#include "zelapi/provisioning.h"

#include "e2e/LinkService.h"

namespace
{

using ProvisioningTest = EndToEnd;

/// The sets of a phone, freed at the end.
struct Sets
{
    explicit Sets(const Connection& phone)
    {
        EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROVISIONING_READ_ALL, &list), ZEL_OK);
    }
    Sets(const Sets&) = delete;
    Sets& operator=(const Sets&) = delete;
    ~Sets()
    {
        for (std::size_t i = 0; i < list.count; ++i)
        {
            const ProvisioningSet& set = list.sets[i];
            if (set.access != nullptr)
            {
                CoTaskMemFree(set.access->block_a);
                CoTaskMemFree(set.access->block_c);
                SysFreeString(set.name->name);
            }
            CoTaskMemFree(set.access);
            CoTaskMemFree(set.name);
            CoTaskMemFree(set.content);
        }
        CoTaskMemFree(list.sets);
    }

    ProvisioningList list = {};
};

TEST_F(ProvisioningTest, SetsAreReadWrittenAndReadAgain)
{
    const LinkService service(Shipped("provisioning"));
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    Sets before(phone);
    ASSERT_EQ(before.list.count, 3);
    EXPECT_EQ(before.list.value_18, 1);
    ProvisioningSet& menu = before.list.sets[0];
    EXPECT_STREQ(menu.name->name, L"Men\u00FC");
    EXPECT_EQ(menu.access->value_6, 9201);
    EXPECT_EQ(menu.content_size, 83u);
    EXPECT_EQ(before.list.sets[2].name, nullptr);

    menu.number = 9;
    menu.access->value_6 = 0xABCD;
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROVISIONING_WRITE_ALL, &before.list), ZEL_OK);
    ProvisioningNumber number = {0, 9};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROVISIONING_SET_NUMBER, &number), ZEL_OK);
    number.number = 1;
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROVISIONING_SET_NUMBER, &number), 0x2205u);

    const Sets after(phone);
    ASSERT_EQ(after.list.count, 3);
    EXPECT_EQ(after.list.value_18, 9);
    const ProvisioningSet& written = after.list.sets[2];
    EXPECT_EQ(written.number, 9);
    EXPECT_STREQ(written.name->name, L"Men\u00FC");
    EXPECT_EQ(written.access->value_6, 0xABCD);
    EXPECT_EQ(std::string(written.access->block_c, written.access->block_c + written.access->length_c), "portal");
    EXPECT_EQ(written.content, nullptr);
}

}  // namespace

#include "e2e/LinkService.h"
#include "support/ReceivedRecords.h"

namespace
{

using ProvisioningTest = EndToEnd;

TEST_F(ProvisioningTest, SetsAreReadWrittenAndReadAgain)
{
    const LinkService service(Shipped("provisioning"));
    const NothingLeft nothing(service);
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    ProvisioningList before = {};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROVISIONING_READ_ALL, &before), ZEL_OK);
    ASSERT_EQ(before.count, 3);
    EXPECT_EQ(before.value_18, 1);
    ProvisioningSet& menu = before.sets[0];
    EXPECT_STREQ(menu.name->name, L"Men\u00FC");
    EXPECT_EQ(menu.access->value_6, 9201);
    EXPECT_EQ(menu.content_size, 83u);
    EXPECT_EQ(before.sets[2].name, nullptr);

    menu.number = 9;
    menu.access->value_6 = 0xABCD;
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROVISIONING_WRITE_ALL, &before), ZEL_OK);
    ProvisioningNumber number = {0, 9};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROVISIONING_SET_NUMBER, &number), ZEL_OK);
    number.number = 1;
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROVISIONING_SET_NUMBER, &number), 0x2205u);

    ProvisioningList after = {};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PROVISIONING_READ_ALL, &after), ZEL_OK);
    ASSERT_EQ(after.count, 3);
    EXPECT_EQ(after.value_18, 9);
    const ProvisioningSet& written = after.sets[2];
    EXPECT_EQ(written.number, 9);
    EXPECT_STREQ(written.name->name, L"Men\u00FC");
    EXPECT_EQ(written.access->value_6, 0xABCD);
    EXPECT_EQ(std::string(written.access->block_c, written.access->block_c + written.access->length_c), "portal");
    EXPECT_EQ(written.content, nullptr);
    FreeReceived(before);
    FreeReceived(after);
}

}  // namespace

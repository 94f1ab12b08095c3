#include "e2e/LinkService.h"

namespace
{

using FaultTest = EndToEnd;

TEST_F(FaultTest, ServiceThatDiesInMidCall)
{
    const LinkService service(std::string("on 0x6D 0x84 00 00 00 00 00 09\n    exit 3\n") + kPhone);
    Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    std::uint32_t result = 0;
    FileName(phone.Handle(), 9, &result);
    EXPECT_GE(result, 0x80000000u);
    FileName(phone.Handle(), 1, &result);
    EXPECT_GE(result, 0x80000000u);
    EXPECT_EQ(phone.Close(), ZEL_OK);
}

TEST_F(FaultTest, ServiceThatIsKilledBetweenCalls)
{
    LinkService service(kPhone);
    Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    service.Kill();
    TimeRecord record = {};
    EXPECT_GE(ZelSendMessage(phone.Handle(), ZEL_TIME_READ, &record), 0x80000000u);
    EXPECT_GE(ZelRegisterNotification(phone.Handle(), ZEL_REGISTER, ZEL_MESSAGING_EVENT), 0x80000000u);
    EXPECT_EQ(phone.Close(), ZEL_OK);
}

TEST_F(FaultTest, ServiceThatComStarts)
{
    const Registration registered(kPhone);
    Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    EXPECT_EQ(ReadClock(phone.Handle()).year, 2006);
    EXPECT_EQ(phone.Close(), ZEL_OK);
}

}  // namespace

#include "e2e/LinkService.h"
#include "support/Resources.h"

namespace
{

using LifetimeTest = EndToEnd;

TEST_F(LifetimeTest, ThousandConnectionsLeaveNothing)
{
    const LinkService service(kPhone);
    const auto openAndClose = [](int rounds) {
        for (int i = 0; i < rounds; ++i)
        {
            Connection phone;
            ASSERT_EQ(phone.Result(), ZEL_OK);
            ASSERT_EQ(phone.Close(), ZEL_OK);
        }
    };
    openAndClose(20);
    const int handles = HandleCount();
    const int threads = ThreadCount();
    openAndClose(1000);
    // COM keeps a few threads and handles of its own, more or fewer as calls come in.
    EXPECT_LE(HandleCount(), handles + 20);
    EXPECT_LE(ThreadCount(), threads + 4);
}

TEST(UnregisteredServiceTest, CannotBeOpened)
{
    {
        const Registration registered;
    }
    const std::uint32_t medium = ZEL_MEDIUM_1;
    ZelConnection connection = nullptr;
    EXPECT_EQ(ZelOpenConnectionUsingSN(L"1", &medium, &connection), static_cast<std::uint32_t>(REGDB_E_CLASSNOTREG));
    EXPECT_EQ(Connection().Result(), ZEL_E_FAIL);
    ZelAPI_Terminate();
}

}  // namespace

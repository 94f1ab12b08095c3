#include "e2e/LinkService.h"

#include <tlhelp32.h>

namespace
{

using LifetimeTest = EndToEnd;

TEST(TerminateTest, LastOneClosesWhatIsOpen)
{
    const Registration registered;
    const LinkService service(kPhone);
    ASSERT_EQ(ZelAPI_Initialize(), 1u);
    ASSERT_EQ(ZelAPI_Initialize(), 2u);
    ZelConnection phone = nullptr;
    ASSERT_EQ(ZelOpenConnection(1, &phone), ZEL_OK);

    EXPECT_EQ(ZelAPI_Terminate(), 1u);
    EXPECT_EQ(FileName(phone, 1), u"A");
    EXPECT_EQ(ZelAPI_Terminate(), 0u);
    TimeRecord record = {};
    EXPECT_EQ(ZelSendMessage(phone, ZEL_TIME_READ, &record), ZEL_E_HANDLE);
    EXPECT_EQ(ZelAPI_Terminate(), 0u);
}

TEST(TerminateTest, VersionNeedsNoInitialisation)
{
    EXPECT_EQ(ZelGetAPIVersion(), 10u);
}

/// Grows with the number of open handles: the system gives out the lowest free one.
std::uintptr_t NextHandle()
{
    HANDLE probe = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(probe);
    return reinterpret_cast<std::uintptr_t>(probe) / 4;
}

DWORD ThreadCount()
{
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    DWORD count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1u : 0u;
    CloseHandle(snapshot);
    return count;
}

TEST_F(LifetimeTest, ThousandConnectionsLeaveNothing)
{
    const LinkService service(kPhone);
    const auto openAndClose = [] {
        Connection phone;
        ASSERT_EQ(phone.Result(), ZEL_OK);
        ASSERT_EQ(phone.Close(), ZEL_OK);
    };
    for (int i = 0; i < 20; ++i)
        openAndClose();
    const std::uintptr_t handles = NextHandle();
    const DWORD threads = ThreadCount();
    for (int i = 0; i < 1000; ++i)
        openAndClose();
    // COM keeps a few threads and handles of its own, more or fewer as calls come in.
    EXPECT_LE(NextHandle(), handles + 20);
    EXPECT_LE(ThreadCount(), threads + 4);
}

}  // namespace

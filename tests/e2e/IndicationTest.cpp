#include "e2e/LinkService.h"
#include "zelapi/full_access.h"

#include <algorithm>
#include <atomic>
#include <set>

namespace
{

/// What arrived, in order: for an event its number, for raw bytes 0x100 and the first one, for a connection event -1.
struct Log
{
    void Add(int what)
    {
        {
            const std::scoped_lock guard(lock);
            entries.push_back(what);
            threads.insert(GetCurrentThreadId());
        }
        arrived.Add();
    }

    std::mutex lock;
    std::vector<int> entries;
    std::set<DWORD> threads;
    Counter arrived;
};

Log* g_log = nullptr;

int Meaning(std::uint32_t messageId, void* record)
{
    if (messageId == ZEL_MESSAGING_EVENT)
        return static_cast<MessagingEventRecord*>(record)->event;
    auto* raw = static_cast<RawMessage*>(record);
    const int first = raw->count == 0 ? 0 : raw->bytes[0];
    CoTaskMemFree(raw->bytes);
    CoTaskMemFree(raw);
    return 0x100 + first;
}

void __stdcall Receive(std::uint32_t kind, std::uint32_t messageId, void* record)
{
    g_log->Add(kind == ZEL_CONNECTION_EVENT ? -1 : Meaning(messageId, record));
}

/// Adds 1000 to what it logs.
struct Receiver : IZelNotification
{
    void __stdcall OnNotification() override { g_log->Add(999); }
    void __stdcall OnMessage(std::uint32_t messageId, void* record) override
    {
        g_log->Add(1000 + Meaning(messageId, record));
    }
};

class IndicationPhone : public EndToEnd
{
  protected:
    void SetUp() override
    {
        EndToEnd::SetUp();
        g_log = &m_log;
    }

    Log m_log;
};

/// File 9 makes the phone speak.
std::string Speaking(const std::string& actions)
{
    return "on 0x6D 0x84 00 00 00 00 00 09\n" + actions + "    reply 0x85 00 00 00 00\n" + kPhone;
}

TEST_F(IndicationPhone, ArriveInOrderOnOneThread)
{
    std::string actions;
    std::vector<int> expected;
    for (int i = 0; i < 100; ++i)
    {
        actions += "    indicate 0x66 0x84 u8(" + std::to_string(i) + ")\n";
        expected.push_back(i);
    }
    const LinkService service(Speaking(actions));
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &Receive), ZEL_OK);
    FileName(phone.Handle(), 9);
    ASSERT_TRUE(m_log.arrived.WaitFor(100));
    EXPECT_EQ(m_log.entries, expected);
    EXPECT_EQ(m_log.threads.size(), 1u);
}

TEST_F(IndicationPhone, OfBothInterfacesAndConnectionEvents)
{
    // Without a handler for it, the first raw message is lost, and so is an event of a service that has no indications.
    const LinkService service(Speaking("    raw 11\n    indicate 0x66 0x85 01\n    indicate 0x6D 0x84 01\n"
                                       "    indicate 0x04 0x01 01\n    event\n    indicate 0x66 0x84 05\n"));
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &Receive), ZEL_OK);
    FileName(phone.Handle(), 9);
    ASSERT_TRUE(m_log.arrived.WaitFor(2));

    AccessRecord access = {};
    ASSERT_EQ(ZelSendMessage(phone.Handle(), ZEL_FULL_ACCESS_QUERY, &access), ZEL_OK);
    FileName(phone.Handle(), 9);
    ASSERT_TRUE(m_log.arrived.WaitFor(5));
    EXPECT_EQ(std::multiset<int>(m_log.entries.begin(), m_log.entries.end()),
              std::multiset<int>({-1, -1, 5, 5, 0x111}));
}

TEST_F(IndicationPhone, ReachInterfacesBeforeCallbacksAndEachOnce)
{
    const LinkService service(Speaking("    indicate 0x66 0x84 05\n    event\n"));
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    Receiver receiver;
    for (int i = 0; i < 2; ++i)
    {
        ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &Receive), ZEL_OK);
        ASSERT_EQ(ZelRegisterNotificationIF(phone.Handle(), ZEL_REGISTER, &receiver), ZEL_OK);
    }
    FileName(phone.Handle(), 9);
    ASSERT_TRUE(m_log.arrived.WaitFor(4));
    ASSERT_EQ(ZelRegisterNotificationIF(phone.Handle(), ZEL_UNREGISTER, &receiver), ZEL_OK);
    const std::scoped_lock guard(m_log.lock);
    const auto at = [&](int what) { return std::find(m_log.entries.begin(), m_log.entries.end(), what); };
    EXPECT_EQ(m_log.entries.size(), 4u);
    EXPECT_LT(at(1005), at(5));
    EXPECT_LT(at(999), at(-1));
    EXPECT_NE(at(-1), m_log.entries.end());
}

TEST_F(IndicationPhone, SubscriptionIsSentAsAWholeEachTime)
{
    const LinkService service(kPhone);
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    EXPECT_EQ(ZelRegisterNotification(phone.Handle(), ZEL_REGISTER, ZEL_MESSAGING_EVENT), ZEL_OK);
    EXPECT_EQ(ZelRegisterNotification(phone.Handle(), ZEL_REGISTER, ZEL_TIME_READ), ZEL_OK);
    EXPECT_EQ(ZelRegisterNotification(phone.Handle(), ZEL_REGISTER, ZEL_TIME_SET), ZEL_OK);
    EXPECT_EQ(ZelRegisterNotification(phone.Handle(), ZEL_UNREGISTER, ZEL_TIME_READ), ZEL_OK);
    EXPECT_EQ(ZelRegisterNotification(phone.Handle(), 7, ZEL_TIME_READ), ZEL_E_ARGUMENT);
    EXPECT_EQ(service.TraceCount("10 10 [01 66]"), 2);
    EXPECT_EQ(service.TraceCount("10 10 [02 19 66]"), 2);
    EXPECT_EQ(service.TraceCount("10 10 ["), 4);
}

TEST_F(IndicationPhone, ReachAnApplicationOfASingleThreadedApartmentThatDoesNotPump)
{
    const LinkService service(Speaking("    indicate 0x66 0x84 05\n"));
    RunOnThread(Apartment::Single, [&] {
        const Connection phone;
        ASSERT_EQ(phone.Result(), ZEL_OK);
        ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &Receive), ZEL_OK);
        FileName(phone.Handle(), 9);
        EXPECT_TRUE(m_log.arrived.WaitFor(1));
    });
}

ZelConnection g_phone = nullptr;
std::uint32_t g_closeResult = 0;
std::u16string g_name;

void __stdcall UseTheConnection(std::uint32_t, std::uint32_t, void*)
{
    g_closeResult = ZelCloseConnection(g_phone);
    g_name = FileName(g_phone, 1);
    ZelRegisterCallback(g_phone, ZEL_UNREGISTER, &UseTheConnection);
    g_log->Add(0);
}

TEST_F(IndicationPhone, MaySendAndUnregisterButNotClose)
{
    const LinkService service(Speaking("    indicate 0x66 0x84 05\n    indicate 0x66 0x84 06\n"));
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    g_phone = phone.Handle();
    ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &UseTheConnection), ZEL_OK);
    FileName(phone.Handle(), 9);
    ASSERT_TRUE(m_log.arrived.WaitFor(1));
    EXPECT_EQ(g_closeResult, ZEL_E_FAIL);
    EXPECT_EQ(g_name, u"A");

    ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &Receive), ZEL_OK);
    FileName(phone.Handle(), 9);
    ASSERT_TRUE(m_log.arrived.WaitFor(3));
    EXPECT_EQ(FileName(phone.Handle(), 2), u"B");
}

HANDLE g_inside = nullptr;
std::atomic<bool> g_left = false;

void __stdcall Linger(std::uint32_t, std::uint32_t, void*)
{
    SetEvent(g_inside);
    Sleep(500);
    g_left = true;
}

TEST_F(IndicationPhone, AreOverWhenTheConnectionIsClosed)
{
    const LinkService service(Speaking("    indicate 0x66 0x84 05\n"));
    g_inside = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    for (const bool unregister : {false, true})
    {
        Connection phone;
        ASSERT_EQ(phone.Result(), ZEL_OK);
        ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &Linger), ZEL_OK);
        ResetEvent(g_inside);
        g_left = false;
        FileName(phone.Handle(), 9);
        ASSERT_EQ(WaitForSingleObject(g_inside, 20000), WAIT_OBJECT_0);
        EXPECT_EQ(unregister ? ZelRegisterCallback(phone.Handle(), ZEL_UNREGISTER, &Linger) : phone.Close(), ZEL_OK);
        EXPECT_TRUE(g_left);
    }
    CloseHandle(g_inside);
}

}  // namespace

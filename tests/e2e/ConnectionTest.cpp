#include "connection/VorlanControl.h"
#include "e2e/LinkService.h"
#include "support/NewSpy.h"
#include "support/Signal.h"
#include "zelapi/full_access.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>

namespace
{

/// What the application does with a delivery; callbacks know of no object.
std::function<void(std::uint32_t kind, std::uint32_t id)> g_onDelivery;

void __stdcall Receive(std::uint32_t kind, std::uint32_t id, void*)
{
    g_onDelivery(kind, id);
}

/// An event every few milliseconds.
const std::string kEventful = std::string(kPhone) + "every 5ms\n    event\n";

/// File 9 and 8 make the phone do something first.
std::string Speaking(const std::string& of9, const std::string& of8 = {})
{
    return "on 0x6D 0x84 00 00 00 00 00 09\n" + of9 + "    reply 0x85 00 00 00 00\n" +
           "on 0x6D 0x84 00 00 00 00 00 08\n" + of8 + "    reply 0x85 00 00 00 00\n" + kPhone;
}

/// Milliseconds that `operation` takes.
template <typename Operation>
std::uint32_t Timed(Operation operation)
{
    const ULONGLONG start = GetTickCount64();
    operation();
    return static_cast<std::uint32_t>(GetTickCount64() - start);
}

/// The application opens, sends and closes on a thread of each apartment. It never waits for messages.
class ConnectionTest : public EndToEnd, public testing::WithParamInterface<Apartment>
{
  protected:
    /// How long the end of a connection waits for a target here, and what a busy system may add.
    static constexpr std::uint32_t kEndWaitMs = 300;
    static constexpr std::uint32_t kSlackMs = 10000;

    static void Deliver(const Connection& phone, std::function<void(std::uint32_t, std::uint32_t)> target)
    {
        g_onDelivery = std::move(target);
        ASSERT_EQ(phone.Result(), ZEL_OK);
        static_cast<CVorlanControl*>(static_cast<CHandleBase*>(phone.Handle()))->SetEndWait(kEndWaitMs);
        ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &Receive), ZEL_OK);
    }

    Signal m_inside;
    Signal m_release;
};

INSTANTIATE_TEST_SUITE_P(Apartments, ConnectionTest,
                         testing::Values(Apartment::None, Apartment::Single, Apartment::Multiple),
                         [](const auto& apartment) {
                             return std::string(apartment.param == Apartment::None     ? "None"
                                                : apartment.param == Apartment::Single ? "Single"
                                                                                       : "Multiple");
                         });

TEST_P(ConnectionTest, ClosesWhileEventsComeInAndATargetSleeps)
{
    constexpr std::uint32_t kTargetMs = 20;
    const char* rounds = std::getenv("ZELAPI_ROUNDS");
    const LinkService service(kEventful);
    std::uint32_t longest = 0;
    RunOnThread(GetParam(), [&] {
        for (int left = rounds != nullptr ? std::atoi(rounds) : 60; left > 0; --left)
        {
            Connection phone;
            Deliver(phone, [](std::uint32_t, std::uint32_t) { Sleep(kTargetMs); });
            Sleep(12);
            longest = std::max(longest, Timed([&] { ASSERT_EQ(phone.Close(), ZEL_OK); }));
        }
    });
    std::printf("longest close: %u ms\n", longest);
    EXPECT_LT(longest, kTargetMs + 900) << "nothing is given up on";
}

TEST_P(ConnectionTest, AnEventThatStaysInsideKeepsWhatItStandsOn)
{
    const LinkService service(kEventful);
    RunOnThread(GetParam(), [&] {
        host::CountBlocks(sizeof(CVorlanControl));
        Connection phone;
        std::atomic<bool> first = true;
        Deliver(phone, [&](std::uint32_t, std::uint32_t) {
            if (!first.exchange(false))
                return;
            m_inside.Set();
            m_release.Wait();
        });
        ASSERT_TRUE(m_inside.Wait());
        const ZelConnection handle = phone.Handle();
        EXPECT_LT(Timed([&] { EXPECT_EQ(phone.Close(), ZEL_OK); }), kEndWaitMs + kSlackMs);
        EXPECT_EQ(ZelCloseConnection(handle), ZEL_E_HANDLE);
        EXPECT_EQ(host::LiveBlocks(), 1);
        m_release.Set();
        EXPECT_TRUE(Eventually([] { return host::LiveBlocks() == 0; })) << "the last event to leave frees it";
        EXPECT_EQ(Connection().Result(), ZEL_OK);
    });
}

TEST_P(ConnectionTest, AKilledDeliveryHoldsUpNobody)
{
    const LinkService service(Speaking("    indicate 0x66 0x84 05\n", "    after 1ms event\n"));
    RunOnThread(GetParam(), [&] {
        Connection phone;
        Signal delivered;
        Deliver(phone, [&](std::uint32_t kind, std::uint32_t) {
            if (kind == ZEL_CONNECTION_EVENT)
                return delivered.Set();
            m_inside.Set();
            m_release.Wait();
        });
        FileName(phone.Handle(), 9);
        ASSERT_TRUE(m_inside.Wait());
        FileName(phone.Handle(), 8);
        Sleep(50);
        EXPECT_FALSE(delivered.IsSet()) << "an event waits for its turn";
        EXPECT_LT(Timed([&] { EXPECT_EQ(phone.Close(), ZEL_OK); }), kEndWaitMs + kSlackMs);
        EXPECT_TRUE(delivered.IsSet()) << "the killed thread's turn is over";
    });
}

TEST_P(ConnectionTest, ATargetThatSendsHoldsUpNoService)
{
    // The service raises an event before it answers the target, or before the target asks.
    const std::string indicate = "    indicate 0x66 0x84 05\n";
    for (const auto& [of9, of8] : {std::pair(indicate, std::string("    event\n")),
                                   std::pair(indicate + "    delay 20ms\n    event\n", std::string())})
    {
        const LinkService service(Speaking(of9, of8));
        RunOnThread(GetParam(), [&] {
            Connection phone;
            std::uint32_t sent = ZEL_E_FAIL;
            DWORD sender = 0;
            DWORD receiver = 0;
            Deliver(phone, [&](std::uint32_t kind, std::uint32_t) {
                if (kind == ZEL_CONNECTION_EVENT)
                {
                    receiver = GetCurrentThreadId();
                    return m_inside.Set();
                }
                Sleep(100);
                sender = GetCurrentThreadId();
                FileName(phone.Handle(), 8, &sent);
            });
            FileName(phone.Handle(), 9);
            EXPECT_TRUE(m_inside.Wait());
            EXPECT_EQ(sent, ZEL_OK);
            EXPECT_EQ(receiver, sender) << "on the delivery thread, right after";
            EXPECT_LT(Timed([&] { EXPECT_EQ(phone.Close(), ZEL_OK); }), kSlackMs);
            m_inside.Reset();
        });
    }
}

TEST_F(ConnectionTest, TheNewestSubscriptionReachesThePhoneLast)
{
    const LinkService service(
        "on 0x10 0x10 <all:*>\n    set last = $all\n" +
        ("on 0x6D 0x84 00 00 00 00 00 08\n    reply 0x85 00 00 units16($last 00)\n" + std::string(kPhone)));
    const Connection phone;
    for (int round = 0; round < 100; ++round)
    {
        const auto change = [&](std::uint32_t action, std::uint32_t id) {
            EXPECT_EQ(ZelRegisterNotification(phone.Handle(), action, id), ZEL_OK);
        };
        std::thread other(change, ZEL_REGISTER, 0x6601);
        change(ZEL_REGISTER, 0x1901);
        other.join();
        ASSERT_EQ(FileName(phone.Handle(), 8), u"\x0219\x6600") << "round " << round;
        change(ZEL_UNREGISTER, 0x6601);
        change(ZEL_UNREGISTER, 0x1901);
    }
}

TEST_F(ConnectionTest, EventsOfBothInterfacesArriveOverTheService)
{
    const LinkService service(Speaking("    raw 11\n    event\n    indicate 0x66 0x84 05\n"));
    const Connection phone;
    Counter arrived;
    std::atomic<int> raw = 0;
    Deliver(phone, [&](std::uint32_t, std::uint32_t id) {
        raw += id == ZEL_RAW_MESSAGE ? 1 : 0;
        arrived.Add();
    });
    AccessRecord access = {};
    ASSERT_EQ(ZelSendMessage(phone.Handle(), ZEL_FULL_ACCESS_QUERY, &access), ZEL_OK);
    FileName(phone.Handle(), 9);
    EXPECT_TRUE(arrived.WaitFor(3));
    EXPECT_EQ(raw, 1);
}

}  // namespace

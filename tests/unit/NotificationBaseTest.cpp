#include "connection/NotificationBase.h"

#include "support/Recorder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>

using testing::ElementsAre;

namespace
{

/// Not an address of this process.
template <typename Pointer>
Pointer Unreadable()
{
    return reinterpret_cast<Pointer>(std::uintptr_t{1});
}

class NotificationBase : public testing::Test
{
  protected:
    NotificationBase()
    {
        std::sort(std::begin(m_callbacks), std::end(m_callbacks));
        // Registered from the highest address to the lowest.
        for (int i = 1; i >= 0; --i)
        {
            EXPECT_EQ(ZEL_OK, m_base.RegisterCallback(ZEL_REGISTER, m_callbacks[i]));
            EXPECT_EQ(ZEL_OK, m_base.RegisterInterface(ZEL_REGISTER, &m_targets[i]));
        }
    }

    std::string NameOf(int callback) const
    {
        return m_callbacks[callback] == &Recorder::Callback<1> ? "callback1" : "callback2";
    }

    std::vector<std::string> Deliver(std::uint32_t kind = ZEL_INDICATION, std::uint32_t id = ZEL_MESSAGING_EVENT)
    {
        m_base.Dispatch(kind, id, kind == ZEL_CONNECTION_EVENT ? nullptr : &m_event);
        return m_recorder.TakeEntries();
    }

    Recorder m_recorder;
    RecordingTarget m_targets[2] = {{m_recorder, "target0"}, {m_recorder, "target1"}};
    ZelCallback m_callbacks[2] = {&Recorder::Callback<1>, &Recorder::Callback<2>};
    MessagingEventRecord m_event = {8, 5, 0};
    CNotificationBase m_base;
};

TEST_F(NotificationBase, ServesInterfacesThenCallbacksByAddress)
{
    EXPECT_THAT(Deliver(), ElementsAre("target0 2 26113 5", "target1 2 26113 5", NameOf(0) + " 2 26113 5",
                                       NameOf(1) + " 2 26113 5"));
    EXPECT_THAT(Deliver(ZEL_CONNECTION_EVENT, 0),
                ElementsAre("target0 1 0 null", "target1 1 0 null", NameOf(0) + " 1 0 null", NameOf(1) + " 1 0 null"));
}

TEST_F(NotificationBase, ReadsTheKindBitByBit)
{
    m_base.RegisterCallback(ZEL_UNREGISTER, m_callbacks[0]);
    m_base.RegisterInterface(ZEL_UNREGISTER, &m_targets[1]);
    const struct
    {
        std::uint32_t kind;
        std::vector<std::string> entries;
    } cases[] = {
        {3, {"target0 1 0 null", NameOf(1) + " 3 26113 5"}},
        {6, {"target0 2 26113 5", NameOf(1) + " 6 26113 5"}},
        {4, {NameOf(1) + " 4 26113 5"}},
    };
    for (const auto& one : cases)
        EXPECT_EQ(one.entries, Deliver(one.kind)) << one.kind;
}

TEST_F(NotificationBase, CallsATargetOnceHoweverOftenItIsRegistered)
{
    m_base.RegisterCallback(ZEL_REGISTER, m_callbacks[0]);
    m_base.RegisterInterface(ZEL_REGISTER, &m_targets[0]);
    EXPECT_EQ(4u, Deliver().size());
    for (const std::uint32_t action : {ZEL_UNREGISTER, 7u})
    {
        EXPECT_EQ(ZEL_OK, m_base.RegisterCallback(action, m_callbacks[action == 7]));
        EXPECT_EQ(ZEL_OK, m_base.RegisterInterface(ZEL_UNREGISTER, &m_targets[action == 7]));
        EXPECT_EQ(action == ZEL_UNREGISTER ? 2u : 0u, Deliver().size());
    }
}

TEST_F(NotificationBase, ChecksItsArguments)
{
    for (const std::uint32_t action : {ZEL_REGISTER, ZEL_UNREGISTER, 7u})
    {
        EXPECT_EQ(ZEL_E_ARGUMENT, m_base.RegisterCallback(action, nullptr));
        EXPECT_EQ(ZEL_E_ARGUMENT, m_base.RegisterCallback(action, Unreadable<ZelCallback>()));
        EXPECT_EQ(ZEL_E_ARGUMENT, m_base.RegisterInterface(action, nullptr));
        EXPECT_EQ(ZEL_E_ARGUMENT, m_base.RegisterInterface(action, Unreadable<IZelNotification*>()));
    }
    for (const std::uint32_t action : {0u, 7u, 17u, 48u})
        EXPECT_EQ(ZEL_E_ARGUMENT, m_base.RegisterInterface(action, &m_targets[0]));
    EXPECT_EQ(4u, Deliver().size());
}

TEST_F(NotificationBase, TargetsMayChangeRegistrationsDuringADelivery)
{
    const struct
    {
        const char* name;
        std::function<void()> change;
        std::vector<std::string> now;
        std::vector<std::string> next;
    } cases[] = {
        {"remove itself",
         [&] { m_base.RegisterInterface(ZEL_UNREGISTER, &m_targets[0]); },
         {"target0 1 0 null", "target1 1 0 null", NameOf(1) + " 1 0 null"},
         {"target1 1 0 null", NameOf(1) + " 1 0 null"}},
        {"remove a later one",
         [&] { m_base.RegisterInterface(ZEL_UNREGISTER, &m_targets[1]); },
         {"target0 1 0 null", NameOf(1) + " 1 0 null"},
         {"target0 1 0 null", NameOf(1) + " 1 0 null"}},
        {"add a callback",
         [&] { m_base.RegisterCallback(ZEL_REGISTER, m_callbacks[0]); },
         {"target0 1 0 null", "target1 1 0 null", NameOf(0) + " 1 0 null", NameOf(1) + " 1 0 null"},
         {"target0 1 0 null", "target1 1 0 null", NameOf(0) + " 1 0 null", NameOf(1) + " 1 0 null"}},
    };
    for (const auto& one : cases)
    {
        SCOPED_TRACE(one.name);
        m_base.RegisterInterface(ZEL_REGISTER, &m_targets[0]);
        m_base.RegisterInterface(ZEL_REGISTER, &m_targets[1]);
        m_base.RegisterCallback(ZEL_UNREGISTER, m_callbacks[0]);
        m_recorder.onDelivery = [&](const std::string& target, void*) {
            if (target == "target0")
                one.change();
        };
        EXPECT_EQ(one.now, Deliver(ZEL_CONNECTION_EVENT, 0));
        m_recorder.onDelivery = nullptr;
        EXPECT_EQ(one.next, Deliver(ZEL_CONNECTION_EVENT, 0));
    }
}

TEST_F(NotificationBase, OthersWaitForTheDeliveryAndEventsUntilItIsInsideACall)
{
    Signal entered;
    Signal calls;
    Signal inCall;
    Signal release;
    m_recorder.onDelivery = [&](const std::string& target, void*) {
        if (target != "target0")
            return;
        EXPECT_TRUE(m_base.IsDelivering() && CNotificationBase::IsAnyDelivering());
        EXPECT_FALSE(CNotificationBase().IsDelivering());
        entered.Set();
        calls.Wait();
        const CNotificationBase::CCall outer;
        {
            const CNotificationBase::CCall inner;
        }
        inCall.Set();
        release.Wait();
    };
    std::thread delivery([&] { Deliver(ZEL_CONNECTION_EVENT, 0); });
    ASSERT_TRUE(entered.Wait());
    EXPECT_FALSE(m_base.IsDelivering() || CNotificationBase::IsAnyDelivering()) << "another thread is";
    std::atomic<bool> removed = false;
    std::thread remover([&] {
        m_base.RegisterInterface(ZEL_UNREGISTER, &m_targets[1]);
        removed = true;
    });
    std::atomic<int> tried = 0;
    std::thread event([&] { tried = m_base.TryDispatch(ZEL_CONNECTION_EVENT, 0, nullptr) ? 1 : -1; });
    Sleep(20);
    EXPECT_EQ(0, tried);
    calls.Set();
    event.join();
    EXPECT_EQ(-1, tried);
    ASSERT_TRUE(inCall.Wait());
    EXPECT_FALSE(m_base.TryDispatch(ZEL_CONNECTION_EVENT, 0, nullptr));
    EXPECT_FALSE(removed);
    release.Set();
    remover.join();
    delivery.join();
    m_recorder.TakeEntries();
    m_recorder.onDelivery = nullptr;
    EXPECT_TRUE(m_base.TryDispatch(ZEL_CONNECTION_EVENT, 0, nullptr));
    EXPECT_EQ(3u, m_recorder.TakeEntries().size());
}

TEST_F(NotificationBase, AKilledDeliveryIsOver)
{
    Signal entered;
    Signal never;
    m_recorder.onDelivery = [&](const std::string&, void*) {
        const CNotificationBase::CCall call;
        entered.Set();
        never.Wait();
    };
    const auto body = [](void* base) -> DWORD {
        static_cast<CNotificationBase*>(base)->Dispatch(ZEL_CONNECTION_EVENT, 0, nullptr);
        return 0;
    };
    const CHandleOwner thread(CreateThread(nullptr, 0, body, &m_base, 0, nullptr));
    ASSERT_TRUE(entered.Wait());
    TerminateThread(thread.get(), 0);
    WaitForSingleObject(thread.get(), INFINITE);
    m_recorder.onDelivery = nullptr;
    m_recorder.TakeEntries();
    EXPECT_TRUE(m_base.TryDispatch(ZEL_CONNECTION_EVENT, 0, nullptr));
    EXPECT_EQ(4u, m_recorder.TakeEntries().size());
}

TEST_F(NotificationBase, IsDeliveringUntilTheOutermostDeliveryEnds)
{
    bool nested = false;
    m_recorder.onDelivery = [&](const std::string&, void*) {
        if (std::exchange(nested, true))
            return;
        m_base.Dispatch(ZEL_CONNECTION_EVENT, 0, nullptr);
        EXPECT_TRUE(m_base.IsDelivering());
    };
    Deliver(ZEL_CONNECTION_EVENT, 0);
    EXPECT_TRUE(nested);
    EXPECT_FALSE(m_base.IsDelivering());
}

}  // namespace

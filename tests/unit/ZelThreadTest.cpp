#include "runtime/ZelThread.h"

#include "message/ExceptionFrame.h"
#include "support/ComApartment.h"
#include "support/Memory.h"
#include "support/Signal.h"

#include <gmock/gmock.h>

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;

namespace
{

/// Notes which operations ran, and that they ran with the id of the thread they ran on.
class Log
{
  public:
    std::uint32_t Note(const std::string& operation, std::uint32_t threadId)
    {
        const std::scoped_lock guard(m_lock);
        m_entries.push_back(threadId == GetCurrentThreadId() ? operation : operation + " on another thread");
        return 0;
    }
    std::vector<std::string> Entries() const
    {
        const std::scoped_lock guard(m_lock);
        return m_entries;
    }

  private:
    mutable std::mutex m_lock;
    std::vector<std::string> m_entries;
};

class Probe : public CZelThread
{
  public:
    using CZelThread::kDestructorStopMs;
    using CZelThread::RunWithCom;
    using CZelThread::SetTask;
    using CZelThread::SetWaitTimeout;
    using CZelThread::SignalSecond;
    using CZelThread::SignalWork;

    explicit Probe(Log& log) : m_log(log) {}
    ~Probe() override { Stop(kDestructorStopMs); }

    std::uint32_t OnThreadStart(std::uint32_t id) override
    {
        DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &thread, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
        m_log.Note("start", id);
        return onStart();
    }
    std::uint32_t OnThreadExit(std::uint32_t id) override { return m_log.Note("exit", id); }
    std::uint32_t OnWorkSignal(std::uint32_t id) override
    {
        m_log.Note("work", id);
        onWork();
        return CZelThread::OnWorkSignal(id);
    }
    std::uint32_t OnSecondSignal(std::uint32_t id) override
    {
        m_log.Note("second", id);
        return CZelThread::OnSecondSignal(id);
    }
    std::uint32_t OnWaitTimeout(std::uint32_t id) override
    {
        m_log.Note("timeout", id);
        return static_cast<std::uint32_t>(onTimeout());
    }
    void OnThreadKilled() override { m_log.Note("killed", GetCurrentThreadId()); }

    std::function<std::uint32_t()> onStart = [] { return 0u; };
    std::function<void()> onWork = [] {};
    std::function<int()> onTimeout = [] { return 0; };
    HANDLE thread = nullptr;

  private:
    Log& m_log;
};

class ZelThread : public testing::Test
{
  protected:
    bool IsRunning() const { return WaitForSingleObject(m_probe.thread, 0) == WAIT_TIMEOUT; }

    Log m_log;
    Probe m_probe{m_log};
    Signal m_entered;
    Signal m_release;
};

TEST_F(ZelThread, DispatchesEachSignalOnItsOwnThread)
{
    EXPECT_EQ(0u, m_probe.Start());
    EXPECT_TRUE(m_probe.Handshake());
    m_probe.SignalSecond();
    EXPECT_TRUE(Eventually([&] { return m_log.Entries().size() == 2; }));
    m_probe.SignalWork();
    EXPECT_TRUE(Eventually([&] { return m_log.Entries().size() == 3; }));
    EXPECT_EQ(0u, m_probe.Stop(60000));
    EXPECT_THAT(m_log.Entries(), ElementsAre("start", "second", "work", "exit"));
}

TEST_F(ZelThread, StopsTwiceStartsAgainAndIgnoresSignalsMeanwhile)
{
    m_probe.SignalWork();
    m_probe.Start();
    m_probe.Stop(60000);
    m_probe.SignalWork();
    EXPECT_EQ(0u, m_probe.Stop(60000));
    m_probe.Start();
    EXPECT_TRUE(m_probe.Handshake());
    m_probe.Stop(60000);
    EXPECT_THAT(m_log.Entries(), ElementsAre("start", "exit", "start", "exit"));
}

TEST_F(ZelThread, KeepsTheStartStatusAndRunsOn)
{
    const struct
    {
        std::function<std::uint32_t()> start;
        std::uint32_t status;
    } cases[] = {
        {[] { return 7u; }, 7},
        {[]() -> std::uint32_t { throw std::uint32_t{ZEL_E_CREATE}; }, ZEL_E_CREATE},
        {[]() -> std::uint32_t { throw CAtlException(E_OUTOFMEMORY); }, kNoMemory},
        {[]() -> std::uint32_t { throw std::bad_alloc(); }, ZEL_E_FAIL},
        {[]() -> std::uint32_t { throw 1.5; }, ZEL_E_FAIL},
    };
    for (const auto& one : cases)
    {
        m_probe.onStart = one.start;
        m_probe.Start();
        EXPECT_TRUE(m_probe.Handshake());
        EXPECT_EQ(one.status, m_probe.GetStartStatus());
        m_probe.Stop(60000);
    }
}

TEST_F(ZelThread, ForwardsSignalsToItsTaskAndSurvivesWhatItThrows)
{
    class Task : public Probe
    {
      public:
        using Probe::Probe;
        std::uint32_t OnSecondSignal(std::uint32_t id) override
        {
            Probe::OnSecondSignal(id);
            throw std::uint32_t{5};
        }
    };
    Log taskLog;
    Task task(taskLog);
    m_probe.Start();
    m_probe.SetTask(&task);
    m_probe.SignalSecond();
    EXPECT_TRUE(Eventually([&] { return taskLog.Entries().size() == 1; }));
    m_probe.SignalWork();
    EXPECT_TRUE(Eventually([&] { return taskLog.Entries().size() == 2; }));
    m_probe.SetTask(nullptr);
    m_probe.SignalWork();
    EXPECT_TRUE(Eventually([&] { return m_log.Entries().size() == 4; }));
    m_probe.Stop(60000);
    EXPECT_THAT(taskLog.Entries(), ElementsAre("second", "work"));
}

TEST_F(ZelThread, EndsWhenTheTimeoutOperationFails)
{
    int timeouts = 0;
    m_probe.SetWaitTimeout(1);
    m_probe.onTimeout = [&] { return ++timeouts == 3 ? -1 : 1; };
    m_probe.Start();
    EXPECT_TRUE(Eventually([&] { return m_log.Entries().size() == 5; }));
    EXPECT_THAT(m_log.Entries(), ElementsAre("start", "timeout", "timeout", "timeout", "exit"));
}

TEST_F(ZelThread, StopWithoutTimeoutNeitherWaitsNorKills)
{
    m_probe.onWork = [&] {
        m_entered.Set();
        m_release.Wait();
    };
    m_probe.Start();
    m_probe.SignalWork();
    ASSERT_TRUE(m_entered.Wait());
    EXPECT_EQ(0u, m_probe.Stop(0));
    EXPECT_TRUE(IsRunning());
    m_release.Set();
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_probe.thread, 60000));
    EXPECT_THAT(m_log.Entries(), ElementsAre("start", "work", "exit"));
}

TEST_F(ZelThread, KillsAThreadThatHangsAndSaysSo)
{
    m_probe.onWork = [&] {
        m_entered.Set();
        m_release.Wait();
    };
    m_probe.Start();
    m_probe.SignalWork();
    ASSERT_TRUE(m_entered.Wait());
    EXPECT_EQ(0u, m_probe.Stop(50));
    m_release.Set();
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_probe.thread, 60000));
    EXPECT_THAT(m_log.Entries(), ElementsAre("start", "work", "killed"));
}

TEST_F(ZelThread, HandshakeFailsWhileTheLoopIsBusyAndTheDestructorKills)
{
    HANDLE thread = nullptr;
    {
        Probe hanging(m_log);
        hanging.onWork = [&] {
            m_entered.Set();
            m_release.Wait();
        };
        hanging.Start();
        hanging.SignalWork();
        ASSERT_TRUE(m_entered.Wait());
        thread = hanging.thread;
        EXPECT_FALSE(hanging.Handshake());
    }
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread, 60000));
    EXPECT_THAT(m_log.Entries(), ElementsAre("start", "work", "killed"));
}

/// The apartment type of the calling thread; APTTYPE_CURRENT for one that never entered an apartment itself.
APTTYPE CurrentApartment()
{
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    if (FAILED(CoGetApartmentType(&type, &qualifier)) || qualifier == APTTYPEQUALIFIER_IMPLICIT_MTA)
        return APTTYPE_CURRENT;
    return type == APTTYPE_MAINSTA ? APTTYPE_STA : type;
}

TEST(ZelThreadApartment, UndoesItsOwnInitialisationOnly)
{
    const ComApartment keepsTheMultithreadedApartment;
    const struct
    {
        const char* name;
        bool initialised;
        DWORD before;
        APTTYPE during;
        APTTYPE after;  // After one CoUninitialize for the initialisation before.
    } cases[] = {
        {"none", false, 0, APTTYPE_MTA, APTTYPE_CURRENT},
        {"multithreaded", true, COINIT_MULTITHREADED, APTTYPE_MTA, APTTYPE_MTA},
        {"single-threaded", true, COINIT_APARTMENTTHREADED, APTTYPE_STA, APTTYPE_STA},
    };
    for (const auto& one : cases)
    {
        SCOPED_TRACE(one.name);
        std::thread([&] {
            class OneTurn : public Probe
            {
              public:
                using Probe::Probe;
                std::uint32_t Run(std::uint32_t) override
                {
                    during = CurrentApartment();
                    return 0;
                }
                APTTYPE during = APTTYPE_NA;
            };
            if (one.initialised)
                CoInitializeEx(nullptr, one.before);
            Log log;
            OneTurn thread(log);
            thread.RunWithCom();
            EXPECT_EQ(one.during, thread.during);
            EXPECT_THAT(log.Entries(), ElementsAre("start", "exit"));
            if (one.initialised)
                CoUninitialize();
            EXPECT_EQ(one.after, CurrentApartment());
        }).join();
    }
}

}  // namespace

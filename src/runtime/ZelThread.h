#pragma once

#include "runtime/AutoLock.h"
#include "runtime/SystemHandles.h"

#include <cstdint>

/// What a worker thread runs. Each operation takes the thread's id and returns a status, 0 for success.
class CZelThreadTask
{
  public:
    /// First on the new thread.
    virtual std::uint32_t OnThreadStart(std::uint32_t threadId) = 0;
    /// Last on the thread.
    virtual std::uint32_t OnThreadExit(std::uint32_t threadId) = 0;
    /// The wait loop.
    virtual std::uint32_t Run(std::uint32_t threadId) = 0;
    /// The work event was signalled.
    virtual std::uint32_t OnWorkSignal(std::uint32_t threadId) = 0;
    /// The second work event was signalled.
    virtual std::uint32_t OnSecondSignal(std::uint32_t threadId) = 0;
    /// The loop's wait ran out; a negative status ends the loop.
    virtual std::uint32_t OnWaitTimeout(std::uint32_t threadId) = 0;
    virtual ~CZelThreadTask() = default;

  protected:
    CZelThreadTask() = default;
    CZelThreadTask(const CZelThreadTask&) = default;
    CZelThreadTask& operator=(const CZelThreadTask&) = default;
};

/// A worker thread with COM that sleeps in one wait on a few events and dispatches each to an operation of its task.
/// The wait lets COM calls in.
///
/// The most derived class must stop the thread before its own parts go: the thread calls its virtual operations.
class CZelThread : public CZelThreadTask
{
  public:
    CZelThread() = default;
    CZelThread(const CZelThread&) = delete;
    CZelThread& operator=(const CZelThread&) = delete;
    ~CZelThread() override;

    /// Makes the events and the thread, which runs at once. Throws ZEL_E_FAIL.
    std::uint32_t Start();

    /// Ends the thread; harmless when there is none. After `timeoutMs` the thread is killed, without OnThreadExit; with
    /// 0 it is neither waited for nor killed.
    std::uint32_t Stop(std::uint32_t timeoutMs);

    /// Waits up to 10 seconds for the loop to answer; true if it did.
    bool Handshake();

    /// What OnThreadStart returned or threw. Known once Handshake was true.
    std::uint32_t GetStartStatus() const { return m_startStatus; }

    std::uint32_t OnThreadStart(std::uint32_t threadId) override;
    std::uint32_t OnThreadExit(std::uint32_t threadId) override;
    std::uint32_t Run(std::uint32_t threadId) override;
    std::uint32_t OnWorkSignal(std::uint32_t threadId) override;
    std::uint32_t OnSecondSignal(std::uint32_t threadId) override;
    std::uint32_t OnWaitTimeout(std::uint32_t threadId) override;

  protected:
    static constexpr std::uint32_t kHandshakeMs = 10000;
    /// How long a destructor waits for the thread.
    static constexpr std::uint32_t kDestructorStopMs = 5000;

    /// Harmless on a thread that was not started, or is stopped: nobody is woken then.
    void SignalWork() { Signal(m_workEvent); }
    void SignalSecond() { Signal(m_secondWorkEvent); }
    /// Sends the signals to another task than the thread itself. Takes effect after Start.
    void SetTask(CZelThreadTask* task) { m_task = task; }
    void SetWaitTimeout(std::uint32_t timeoutMs) { m_waitTimeout = timeoutMs; }

    /// The whole life of the worker thread, on the calling thread.
    void RunWithCom();
    /// The thread was killed: what it held is in an unknown state, and must not be touched again.
    virtual void OnThreadKilled() {}

  private:
    using Slot = std::uint32_t (CZelThreadTask::*)(std::uint32_t);

    static DWORD WINAPI ThreadProcedure(void* argument);
    void CreateEvents();
    void CloseHandles();
    void Signal(const CHandleOwner& event);
    bool DispatchSignal(std::uint32_t index, std::uint32_t threadId);
    std::uint32_t Forward(Slot slot, std::uint32_t threadId);

    CHandleOwner m_workEvent;
    CHandleOwner m_secondWorkEvent;
    CHandleOwner m_stopEvent;
    std::uint32_t m_waitTimeout = INFINITE;
    CHandleOwner m_thread;
    DWORD m_threadId = 0;
    CZelThreadTask* m_task = nullptr;
    CHandleOwner m_handshakeRequest;
    CHandleOwner m_handshakeReply;
    std::uint32_t m_startStatus = 0;
    /// Other threads may signal while the thread is started or stopped; an event must not be closed under them.
    CCriticalSection m_handlesLock;
};

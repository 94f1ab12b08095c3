#pragma once

#include "phone/Listener.h"
#include "phone/Scheduler.h"
#include "phone/Script.h"

#include <atomic>

namespace vorlansim
{

struct SendCall
{
    std::uint8_t resource = 0;
    Bytes message;  ///< id and body
    bool wait = true;
    Bytes expected;
    std::uint32_t timeoutMs = 0;
};

struct SendAnswer
{
    Result result = kOk;
    std::optional<Bytes> reply;  ///< nothing: the caller's message stays as it is
};

/// The phone of a scenario. Its variables and the counters of its rules are shared by all clients. It must outlive
/// them.
class CPhone
{
  public:
    /// Ends the process; called in the middle of a call.
    using ExitProcess = std::function<void(std::uint32_t code)>;

    /// Throws CScenarioError.
    CPhone(Scenario scenario, CTrace& trace, ExitProcess exitProcess);
    ~CPhone();
    CPhone(const CPhone&) = delete;
    CPhone& operator=(const CPhone&) = delete;

    /// Ends all waiting calls and all timers. False if a client did not return from an event within `patience`.
    bool Stop(Milliseconds patience);

    CTrace& Trace() { return m_trace; }
    CScript& Script() { return m_script; }

    std::shared_ptr<CListener> NewListener();
    SendAnswer Send(const std::shared_ptr<CListener>& client, const SendCall& call);
    Result SendRaw(const std::shared_ptr<CListener>& client, BytesView bytes);
    /// Their events are for this client only.
    void StartTimers(const std::weak_ptr<CListener>& client, CListener::Generation generation);

  private:
    /// The actions of one answer or timer on their way. It is never used by two threads at once.
    struct Run
    {
        std::weak_ptr<CListener> client;
        unsigned number = 0;  // of the client
        const std::vector<Action>* actions = nullptr;
        std::size_t next = 0;
        Locals locals;
        std::optional<CListener::Generation> generation;  // of a timer: its events are for its client only
        bool isAwaited = false;

        /// Null behind the last one.
        const Action* TakeNext() { return next < actions->size() ? &(*actions)[next++] : nullptr; }
    };
    using RunPointer = std::shared_ptr<Run>;

    static RunPointer NewRun(const std::shared_ptr<CListener>& client, CScript::Answer answer);

    void TraceCall(const CListener& client, const SendCall& call);
    void TraceAnswer(const CListener& client, const SendCall& call, const SendAnswer& answer);
    SendAnswer Answer(const std::shared_ptr<CListener>& client, const SendCall& call, Clock::time_point deadline);
    SendAnswer Converse(const RunPointer& run, const SendCall& call, Clock::time_point deadline);
    std::optional<SendAnswer> Delay(const Action& action, const RunPointer& run, const SendCall& call,
                                    Clock::time_point deadline);
    SendAnswer TimeOut(const SendCall& call, Clock::time_point deadline);
    SendAnswer MakeAnswer(const Action& action, Run& run);
    bool SleepUntil(Clock::time_point time);

    template <typename Work>
    bool Reporting(unsigned client, Work work);
    void Continue(const RunPointer& run, Milliseconds delay);
    void RunOn(const RunPointer& run);
    void DropAnswer(const Action& action, Run& run);
    void Perform(const Action& action, const RunPointer& run);
    void PerformNow(const Action& action, Run& run, bool isCallersThread);
    Event Indication(const Action& action, Run& run);
    void Raise(const Event& event, const Run& run, bool isCallersThread);
    std::vector<std::shared_ptr<CListener>> Clients();
    void Fire(const Timer& timer, const std::weak_ptr<CListener>& client, CListener::Generation generation,
              Clock::time_point due, std::uint64_t times);

    CScript m_script;
    CTrace& m_trace;
    const ExitProcess m_exitProcess;

    std::mutex m_clientsMutex;
    unsigned m_lastNumber = 0;
    std::vector<std::weak_ptr<CListener>> m_clients;

    std::mutex m_stopMutex;
    std::condition_variable m_stopChanged;
    bool m_isStopped = false;

    CThreads m_threads;
    CScheduler m_scheduler;
};

}  // namespace vorlansim

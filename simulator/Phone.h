#pragma once

#include "Scheduler.h"
#include "Session.h"
#include "Trace.h"

namespace vorlansim
{

/// The phone of a scenario. Its variables and the counters of its rules are shared by all sessions. It must outlive
/// them.
class CPhone
{
  public:
    /// Ends the process; called in the middle of a call.
    using ExitProcess = std::function<void(std::uint32_t code)>;

    CPhone(Scenario scenario, CTrace& trace, ExitProcess exitProcess);
    ~CPhone();
    CPhone(const CPhone&) = delete;
    CPhone& operator=(const CPhone&) = delete;

    std::shared_ptr<CSession> NewSession();

    /// Ends all waiting calls and all timers. False if a client did not return from an event within `patience`.
    bool Stop(Milliseconds patience);

    CTrace& Trace() { return m_trace; }
    std::uint8_t Access() const { return m_scenario.access; }
    Broker BrokerMode() const { return m_scenario.broker; }

    // What sessions need.
    Result TakeFault(ClientStep step);
    Result CheckDevice(std::uint32_t id) const;
    Result CheckDevice(std::u16string_view serial, Medium medium) const;
    SendAnswer Send(const std::shared_ptr<CSession>& session, const SendCall& call);
    Result SendRaw(const std::shared_ptr<CSession>& session, BytesView bytes);
    void StartTimers(const std::weak_ptr<CSession>& session, std::uint64_t generation);
    void RunOnThread(std::function<void()> work);

  private:
    /// The actions of one answer or timer on their way. It is never used by two threads at once.
    struct Run
    {
        std::weak_ptr<CSession> session;
        unsigned number = 0;
        const std::vector<Action>* actions = nullptr;
        std::size_t next = 0;
        Locals locals;
        std::optional<std::uint64_t> generation;  // of a timer: its events are for its session only
        bool isAwaited = false;
    };
    using RunPointer = std::shared_ptr<Run>;

    RunPointer FindRule(const std::shared_ptr<CSession>& session, bool raw, BytesView body, std::uint8_t resource,
                        std::uint8_t id);
    const Step* TakeStep(std::size_t rule);

    void TraceCall(const CSession& session, const SendCall& call);
    void TraceAnswer(const CSession& session, const SendCall& call, const SendAnswer& answer);
    SendAnswer Converse(const RunPointer& run, const SendCall& call, Clock::time_point deadline);
    SendAnswer TimeOut(const SendCall& call, Clock::time_point deadline);
    SendAnswer MakeAnswer(const Action& action, Run& run);
    bool SleepUntil(Clock::time_point time);

    template <typename Work>
    bool Reporting(unsigned session, Work work);
    void Continue(const RunPointer& run, Milliseconds delay);
    void RunOn(const RunPointer& run);
    void DropAnswer(const Action& action, Run& run);
    void Perform(const Action& action, const RunPointer& run);
    void PerformNow(const Action& action, Run& run, bool isCallersThread);
    /// What a variable holds; null if it is unset.
    Bytes* FindKnown(const std::string& name, std::optional<std::uint32_t> key);
    void Assign(const Action& action, Run& run);
    void Raise(const Event& event, const Run& run, bool isCallersThread);
    Bytes EvaluateBytes(const Expression& body, Run& run);
    std::uint8_t EvaluateByte(const Expression& number, Run& run);
    void Fire(const Timer& timer, const std::weak_ptr<CSession>& session, std::uint64_t generation,
              Clock::time_point due, std::uint64_t times);

    const Scenario m_scenario;
    CTrace& m_trace;
    const ExitProcess m_exitProcess;

    std::mutex m_stateMutex;  // never held while waiting or calling a client
    Variables m_variables;
    std::vector<std::uint64_t> m_ruleUses;
    std::map<ClientStep, std::uint64_t> m_faultUses;

    std::mutex m_sessionsMutex;
    unsigned m_lastNumber = 0;
    std::vector<std::weak_ptr<CSession>> m_sessions;

    std::mutex m_stopMutex;
    std::condition_variable m_stopChanged;
    bool m_isStopped = false;
    int m_threads = 0;

    CScheduler m_scheduler;
};

}  // namespace vorlansim

#include "phone/Phone.h"

#include <algorithm>

namespace vorlansim
{
namespace
{

/// What follows a reply waits this long, so that the reply is with the client first.
constexpr Milliseconds kAfterAnswer{10};

/// The bytes of an indication in front of its message id; nobody uses them.
constexpr std::size_t kLeadingBytes = 3;

}  // namespace

CPhone::CPhone(Scenario scenario, CTrace& trace, ExitProcess exitProcess)
    : m_script(std::move(scenario)), m_trace(trace), m_exitProcess(std::move(exitProcess))
{
}

CPhone::~CPhone()
{
    Stop(Milliseconds{0});
}

bool CPhone::Stop(Milliseconds patience)
{
    {
        const std::lock_guard lock(m_stopMutex);
        m_isStopped = true;
    }
    m_stopChanged.notify_all();
    m_scheduler.Stop();
    return m_threads.WaitFor(patience);
}

std::shared_ptr<CListener> CPhone::NewListener()
{
    const std::lock_guard lock(m_clientsMutex);
    std::erase_if(m_clients, [](const auto& client) { return client.expired(); });
    auto client = std::make_shared<CListener>(++m_lastNumber, m_trace, m_threads);
    m_clients.push_back(client);
    return client;
}

std::vector<std::shared_ptr<CListener>> CPhone::Clients()
{
    std::vector<std::shared_ptr<CListener>> clients;
    const std::lock_guard lock(m_clientsMutex);
    for (const auto& known : m_clients)
    {
        if (auto client = known.lock())
            clients.push_back(std::move(client));
    }
    return clients;
}

// --- Requests ---

SendAnswer CPhone::Send(const std::shared_ptr<CListener>& client, const SendCall& call)
{
    const auto deadline = Clock::now() + Milliseconds(call.wait ? call.timeoutMs : 0);
    if (m_trace.IsOn())
        TraceCall(*client, call);
    SendAnswer answer = Answer(client, call, deadline);
    if (m_trace.IsOn())
        TraceAnswer(*client, call, answer);
    return answer;
}

SendAnswer CPhone::Answer(const std::shared_ptr<CListener>& client, const SendCall& call, Clock::time_point deadline)
{
    if (call.message.empty())
        return {kBadArgument, {}};
    if (!client->IsOpen())
        return {kNotOpen, {}};
    auto due = m_script.TakeAnswer(false, call.resource, call.message[0], BytesView(call.message).subspan(1));
    if (!due)
        return {kNoRule, {}};
    SendAnswer answer{kBrokenScenario, {}};
    Reporting(client->Number(), [&] { answer = Converse(NewRun(client, std::move(*due)), call, deadline); });
    return answer;
}

Result CPhone::SendRaw(const std::shared_ptr<CListener>& client, BytesView bytes)
{
    auto due = m_script.TakeAnswer(true, 0, 0, bytes);
    if (!due)
        return kOk;
    SendCall call;
    call.wait = false;
    Result result = kBrokenScenario;
    Reporting(client->Number(), [&] { result = Converse(NewRun(client, std::move(*due)), call, Clock::now()).result; });
    if (IsFailure(result))
        m_trace.WriteResult(client->Number(), CTrace::Kind::Answer, "raw", result);
    return result;
}

CPhone::RunPointer CPhone::NewRun(const std::shared_ptr<CListener>& client, CScript::Answer answer)
{
    auto run = std::make_shared<Run>();
    run->client = client;
    run->number = client->Number();
    run->actions = answer.actions;
    run->locals = std::move(answer.locals);
    return run;
}

SendAnswer CPhone::Converse(const RunPointer& run, const SendCall& call, Clock::time_point deadline)
{
    run->isAwaited = call.wait;
    while (const Action* action = run->TakeNext())
    {
        if (action->kind == Action::Kind::Delay)
        {
            if (auto answer = Delay(*action, run, call, deadline))
                return *answer;
        }
        else if (!action->IsAnswer())
        {
            Perform(*action, run);
        }
        else if (!call.wait && action->kind != Action::Kind::Fail)
        {
            DropAnswer(*action, *run);
        }
        else
        {
            SendAnswer answer =
                action->kind == Action::Kind::NoReply ? TimeOut(call, deadline) : MakeAnswer(*action, *run);
            Continue(run, kAfterAnswer);
            return answer;
        }
    }
    return TimeOut(call, deadline);
}

/// The caller waits with the phone. If that is longer than its time-out, the rest of the run happens without it.
std::optional<SendAnswer> CPhone::Delay(const Action& action, const RunPointer& run, const SendCall& call,
                                        Clock::time_point deadline)
{
    const auto end = Clock::now() + action.time;
    if (end < deadline)
        return SleepUntil(end) ? std::nullopt : std::optional(SendAnswer{kStopped, {}});
    Continue(run, action.time);
    return TimeOut(call, deadline);
}

SendAnswer CPhone::TimeOut(const SendCall& call, Clock::time_point deadline)
{
    if (!call.wait)
        return {};
    return {SleepUntil(deadline) ? kTimedOut : kStopped, {}};
}

SendAnswer CPhone::MakeAnswer(const Action& action, Run& run)
{
    if (action.kind == Action::Kind::Fail)
        return {action.code, {}};
    Bytes reply = m_script.EvaluateBytes(action.body, run.locals);
    if (action.kind == Action::Kind::Reply)
        reply.insert(reply.begin(), m_script.EvaluateByte(action.id, run.locals));
    return {kOk, std::move(reply)};
}

bool CPhone::SleepUntil(Clock::time_point time)
{
    std::unique_lock lock(m_stopMutex);
    return !m_stopChanged.wait_until(lock, time, [this] { return m_isStopped; });
}

void CPhone::TraceCall(const CListener& client, const SendCall& call)
{
    std::string text = "send " + ToHex(BytesView(&call.resource, 1)) + " " + CTrace::Message(call.message);
    if (!call.wait)
        text += "  does not wait";
    else
        text += "  waits " + std::to_string(call.timeoutMs) + " ms for " +
                (call.expected.empty() ? "any" : ToHex(call.expected));
    m_trace.Write(client.Number(), CTrace::Kind::Call, text);
}

void CPhone::TraceAnswer(const CListener& client, const SendCall& call, const SendAnswer& answer)
{
    std::string text;
    if (answer.reply)
    {
        text = "reply " + ToHex(BytesView(&call.resource, 1)) + " " + CTrace::Message(*answer.reply);
        const auto& expected = call.expected;
        if (!expected.empty() && !answer.reply->empty() &&
            std::find(expected.begin(), expected.end(), answer.reply->front()) == expected.end())
            text += "  not among the expected";
    }
    else if (answer.result == kTimedOut)
    {
        text = "time-out";
    }
    else if (answer.result == kNoRule)
    {
        text = "no rule";
    }
    else
    {
        text = IsFailure(answer.result) ? "failure" : "accepted";
    }
    m_trace.WriteResult(client.Number(), CTrace::Kind::Answer, text, answer.result);
}

// --- Actions ---

/// Does something of the scenario; false, and a line in the trace, if that cannot be done.
template <typename Work>
bool CPhone::Reporting(unsigned client, Work work)
{
    try
    {
        work();
        return true;
    }
    catch (const CScenarioError& error)
    {
        m_trace.Write(client, CTrace::Kind::Note, error.what());
        return false;
    }
}

/// The rest of the run happens without the caller.
void CPhone::Continue(const RunPointer& run, Milliseconds delay)
{
    run->isAwaited = false;
    if (run->next < run->actions->size())
        m_scheduler.Add(Clock::now() + delay, [this, run] { RunOn(run); });
}

void CPhone::RunOn(const RunPointer& run)
{
    Reporting(run->number, [&] {
        while (const Action* action = run->TakeNext())
        {
            if (action->kind == Action::Kind::Delay)
                return Continue(run, action->time);
            if (action->IsAnswer())
                DropAnswer(*action, *run);
            else
                Perform(*action, run);
        }
    });
}

/// An answer that nobody waits for (any more): it must not reach the next request.
void CPhone::DropAnswer(const Action& action, Run& run)
{
    if (action.kind == Action::Kind::NoReply || !m_trace.IsOn())
        return;
    const SendAnswer answer = MakeAnswer(action, run);
    const std::string text = answer.reply ? "reply " + CTrace::Message(*answer.reply) : ToHex(answer.result, 8);
    m_trace.Write(run.number, CTrace::Kind::Note, "dropped, nobody waits for it: " + text);
}

void CPhone::Perform(const Action& action, const RunPointer& run)
{
    const bool isCallersThread = run->isAwaited;
    if (action.time.count() == 0)
        return PerformNow(action, *run, isCallersThread);
    auto later = std::make_shared<Run>(*run);
    m_scheduler.Add(Clock::now() + action.time,
                    [this, later, &action] { Reporting(later->number, [&] { PerformNow(action, *later, false); }); });
}

void CPhone::PerformNow(const Action& action, Run& run, bool isCallersThread)
{
    switch (action.kind)
    {
    case Action::Kind::Set:
    case Action::Kind::Unset:
        m_script.Assign(action, run.locals);
        break;
    case Action::Kind::Indicate:
        Raise(Indication(action, run), run, isCallersThread);
        break;
    case Action::Kind::Raw:
        Raise({Event::Kind::Raw, 0, m_script.EvaluateBytes(action.body, run.locals)}, run, isCallersThread);
        break;
    case Action::Kind::Event:
        Raise({Event::Kind::Connection, 0, {}}, run, isCallersThread);
        break;
    case Action::Kind::Exit:
        m_trace.Write(run.number, CTrace::Kind::Note, "the process ends here");
        m_exitProcess(action.code);
        break;
    default:
        break;  // delays and answers are the caller's matter
    }
}

Event CPhone::Indication(const Action& action, Run& run)
{
    Event event{Event::Kind::Message, m_script.EvaluateByte(action.resource, run.locals), Bytes(kLeadingBytes)};
    event.bytes.push_back(m_script.EvaluateByte(action.id, run.locals));
    const Bytes body = m_script.EvaluateBytes(action.body, run.locals);
    event.bytes.insert(event.bytes.end(), body.begin(), body.end());
    return event;
}

void CPhone::Raise(const Event& event, const Run& run, bool isCallersThread)
{
    const auto own = run.client.lock();
    if (run.generation)
    {
        if (own && own->IsCurrent(*run.generation))
            own->Post(event, false);
        return;
    }
    for (const auto& client : Clients())
        client->Post(event, isCallersThread && client == own);
}

// --- Timers ---

void CPhone::StartTimers(const std::weak_ptr<CListener>& client, CListener::Generation generation)
{
    const auto start = Clock::now();
    for (const Timer& timer : m_script.Source().timers)
    {
        const auto due = start + timer.first;
        m_scheduler.Add(due, [=, this, &timer] { Fire(timer, client, generation, due, timer.times); });
    }
}

void CPhone::Fire(const Timer& timer, const std::weak_ptr<CListener>& client, CListener::Generation generation,
                  Clock::time_point due, std::uint64_t times)
{
    const auto target = client.lock();
    if (!target || !target->IsCurrent(generation) || times == 0)
        return;
    const RunPointer run = NewRun(target, {&timer.actions, {}});
    run->generation = generation;
    RunOn(run);
    const auto next = due + timer.period;
    if (timer.period.count() != 0)
        m_scheduler.Add(next, [=, this, &timer] { Fire(timer, client, generation, next, times - 1); });
}

}  // namespace vorlansim

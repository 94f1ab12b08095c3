#include "Phone.h"

#include <algorithm>
#include <system_error>

namespace vorlansim
{
namespace
{

/// What follows a reply waits this long, so that the reply is with the client first.
constexpr Milliseconds kAfterAnswer{10};

/// The bytes of an indication in front of its message id; nobody uses them.
constexpr std::size_t kLeadingBytes = 3;

bool Applies(const std::optional<std::uint8_t>& wanted, std::uint8_t byte)
{
    return !wanted || *wanted == byte;
}

bool Holds(const Guard& guard, Scope& scope)
{
    if (guard.compare == nullptr)
        return (FindValue(guard.left, scope) != nullptr) == guard.wantsSet;
    return guard.compare(EvaluateNumber(guard.left, scope), EvaluateNumber(guard.right, scope));
}

/// A condition that cannot be computed does not hold.
bool GuardsHold(const Rule& rule, Scope& scope)
{
    try
    {
        return std::all_of(rule.guards.begin(), rule.guards.end(),
                           [&scope](const Guard& guard) { return Holds(guard, scope); });
    }
    catch (const CScenarioError&)
    {
        return false;
    }
}

}  // namespace

CPhone::CPhone(Scenario scenario, CTrace& trace, ExitProcess exitProcess)
    : m_scenario(std::move(scenario)),
      m_trace(trace),
      m_exitProcess(std::move(exitProcess)),
      m_variables(m_scenario.variables),
      m_ruleUses(m_scenario.rules.size())
{
}

CPhone::~CPhone()
{
    Stop(Milliseconds::max());
}

std::shared_ptr<CSession> CPhone::NewSession()
{
    const std::lock_guard lock(m_sessionsMutex);
    std::erase_if(m_sessions, [](const auto& session) { return session.expired(); });
    auto session = std::make_shared<CSession>(*this, ++m_lastNumber);
    m_sessions.push_back(session);
    return session;
}

bool CPhone::Stop(Milliseconds patience)
{
    std::unique_lock lock(m_stopMutex);
    m_isStopped = true;
    m_stopChanged.notify_all();
    lock.unlock();
    m_scheduler.Stop();
    lock.lock();
    const auto isQuiet = [this] { return m_threads == 0; };
    if (patience != Milliseconds::max())
        return m_stopChanged.wait_for(lock, patience, isQuiet);
    m_stopChanged.wait(lock, isQuiet);
    return true;
}

void CPhone::RunOnThread(std::function<void()> work)
{
    const auto finish = [this] {
        const std::lock_guard lock(m_stopMutex);
        --m_threads;
        m_stopChanged.notify_all();
    };
    {
        const std::lock_guard lock(m_stopMutex);
        ++m_threads;
    }
    try
    {
        std::thread([work, finish]() mutable {
            std::exchange(work, nullptr)();
            finish();
        }).detach();
    }
    catch (const std::system_error&)
    {
        work();
        finish();
    }
}

Result CPhone::TakeFault(ClientStep step)
{
    const auto fault = m_scenario.faults.find(step);
    if (fault == m_scenario.faults.end())
        return kOk;
    const std::lock_guard lock(m_stateMutex);
    return m_faultUses[step]++ < fault->second.times ? fault->second.code : kOk;
}

Result CPhone::CheckDevice(std::uint32_t id) const
{
    const auto& devices = m_scenario.devices;
    const bool isKnown =
        std::any_of(devices.begin(), devices.end(), [id](const Device& device) { return device.id == id; });
    return devices.empty() || isKnown ? kOk : kNotOpen;
}

Result CPhone::CheckDevice(std::u16string_view serial, Medium medium) const
{
    const auto& devices = m_scenario.devices;
    if (devices.empty())
        return kOk;
    const auto device =
        std::find_if(devices.begin(), devices.end(), [serial](const Device& known) { return known.serial == serial; });
    if (device == devices.end())
        return kNotOpen;
    const auto accepts = [medium](const Medium& known) {
        return known.index == medium.index && known.flags == medium.flags;
    };
    const auto& media = device->media;
    return media.empty() || std::any_of(media.begin(), media.end(), accepts) ? kOk : kNotSupported;
}

// --- Requests ---

SendAnswer CPhone::Send(const std::shared_ptr<CSession>& session, const SendCall& call)
{
    const auto deadline = Clock::now() + Milliseconds(call.wait ? call.timeoutMs : 0);
    if (m_trace.IsOn())
        TraceCall(*session, call);
    SendAnswer answer;
    RunPointer run;
    if (call.message.empty())
        answer.result = kBadArgument;
    else if (!session->IsOpen())
        answer.result = kNotOpen;
    else if (run = FindRule(session, false, BytesView(call.message).subspan(1), call.resource, call.message[0]); !run)
        answer.result = kNoRule;
    else if (!Reporting(session->Number(), [&] { answer = Converse(run, call, deadline); }))
        answer.result = kBrokenScenario;
    if (m_trace.IsOn())
        TraceAnswer(*session, call, answer);
    return answer;
}

Result CPhone::SendRaw(const std::shared_ptr<CSession>& session, BytesView bytes)
{
    Result result = session->Take(ClientStep::Raw, " " + CTrace::Body(bytes), session->IsOpen() ? kOk : kNotOpen);
    if (IsFailure(result))
        return result;
    const RunPointer run = FindRule(session, true, bytes, 0, 0);
    if (!run)
        return kOk;
    SendCall call;
    call.wait = false;
    if (!Reporting(run->number, [&] { result = Converse(run, call, Clock::now()).result; }))
        result = kBrokenScenario;
    if (IsFailure(result))
        m_trace.Write(session->Number(), CTrace::Kind::Answer, "raw  " + ToHex(result, 8));
    return result;
}

CPhone::RunPointer CPhone::FindRule(const std::shared_ptr<CSession>& session, bool raw, BytesView body,
                                    std::uint8_t resource, std::uint8_t id)
{
    const std::lock_guard lock(m_stateMutex);
    for (std::size_t i = 0; i < m_scenario.rules.size(); ++i)
    {
        const Rule& rule = m_scenario.rules[i];
        if (rule.raw != raw || !Applies(rule.resource, resource) || !Applies(rule.id, id))
            continue;
        Locals locals{{"resource", {resource}}, {"id", {id}}};
        Scope scope{m_variables, locals};
        if (!Matches(rule.pattern, body, scope) || !GuardsHold(rule, scope))
            continue;
        const Step* step = TakeStep(i);
        if (step == nullptr)
            continue;
        auto run = std::make_shared<Run>();
        run->session = session;
        run->number = session->Number();
        run->actions = &step->actions;
        run->locals = std::move(locals);
        return run;
    }
    return nullptr;
}

/// The rule's answer that is due; null if all are used up.
const Step* CPhone::TakeStep(std::size_t rule)
{
    std::uint64_t uses = m_ruleUses[rule];
    for (const Step& step : m_scenario.rules[rule].steps)
    {
        if (uses < step.times)
        {
            ++m_ruleUses[rule];
            return &step;
        }
        uses -= step.times;
    }
    return nullptr;
}

SendAnswer CPhone::Converse(const RunPointer& run, const SendCall& call, Clock::time_point deadline)
{
    run->isAwaited = call.wait;
    while (run->next < run->actions->size())
    {
        const Action& action = (*run->actions)[run->next++];
        if (action.kind == Action::Kind::Delay)
        {
            if (Clock::now() + action.time < deadline)
            {
                if (!SleepUntil(Clock::now() + action.time))
                    return {kStopped, {}};
                continue;
            }
            run->isAwaited = false;
            Continue(run, action.time);
            return TimeOut(call, deadline);
        }
        if (!action.IsAnswer())
        {
            Perform(action, run);
            continue;
        }
        if (!call.wait && action.kind != Action::Kind::Fail)
        {
            DropAnswer(action, *run);
            continue;
        }
        SendAnswer answer = action.kind == Action::Kind::NoReply ? TimeOut(call, deadline) : MakeAnswer(action, *run);
        Continue(run, kAfterAnswer);
        return answer;
    }
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
    Bytes reply = EvaluateBytes(action.body, run);
    if (action.kind == Action::Kind::Reply)
        reply.insert(reply.begin(), EvaluateByte(action.id, run));
    return {kOk, std::move(reply)};
}

bool CPhone::SleepUntil(Clock::time_point time)
{
    std::unique_lock lock(m_stopMutex);
    return !m_stopChanged.wait_until(lock, time, [this] { return m_isStopped; });
}

void CPhone::TraceCall(const CSession& session, const SendCall& call)
{
    std::string text = "send " + ToHex(BytesView(&call.resource, 1)) + " " + CTrace::Message(call.message);
    if (!call.wait)
        text += "  does not wait";
    else
        text += "  waits " + std::to_string(call.timeoutMs) + " ms for " +
                (call.expected.empty() ? "any" : ToHex(call.expected));
    m_trace.Write(session.Number(), CTrace::Kind::Call, text);
}

void CPhone::TraceAnswer(const CSession& session, const SendCall& call, const SendAnswer& answer)
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
    m_trace.Write(session.Number(), CTrace::Kind::Answer, text + "  " + ToHex(answer.result, 8));
}

// --- Actions ---

/// Does something of the scenario; false, and a line in the trace, if that cannot be done.
template <typename Work>
bool CPhone::Reporting(unsigned session, Work work)
{
    try
    {
        work();
        return true;
    }
    catch (const CScenarioError& error)
    {
        m_trace.Write(session, CTrace::Kind::Note, error.what());
        return false;
    }
}

/// The rest of the run happens without the caller.
void CPhone::Continue(const RunPointer& run, Milliseconds delay)
{
    if (run->next < run->actions->size())
        m_scheduler.Add(Clock::now() + delay, [this, run] { RunOn(run); });
}

void CPhone::RunOn(const RunPointer& run)
{
    Reporting(run->number, [&] {
        while (run->next < run->actions->size())
        {
            const Action& action = (*run->actions)[run->next++];
            if (action.kind == Action::Kind::Delay)
                return Continue(run, action.time);
            if (action.IsAnswer())
                DropAnswer(action, *run);
            else
                Perform(action, run);
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
        Assign(action, run);
        break;
    case Action::Kind::Indicate: {
        Event event{Event::Kind::Message, EvaluateByte(action.resource, run), Bytes(kLeadingBytes)};
        event.bytes.push_back(EvaluateByte(action.id, run));
        const Bytes body = EvaluateBytes(action.body, run);
        event.bytes.insert(event.bytes.end(), body.begin(), body.end());
        Raise(event, run, isCallersThread);
        break;
    }
    case Action::Kind::Raw:
        Raise({Event::Kind::Raw, 0, EvaluateBytes(action.body, run)}, run, isCallersThread);
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

Bytes* CPhone::FindKnown(const std::string& name, std::optional<std::uint32_t> key)
{
    const auto variable = m_variables.find(name);
    if (variable == m_variables.end())
        return nullptr;
    if (!key)
        return variable->second.plain ? &*variable->second.plain : nullptr;
    const auto item = variable->second.items.find(*key);
    return item == variable->second.items.end() ? nullptr : &item->second;
}

void CPhone::Assign(const Action& action, Run& run)
{
    const std::lock_guard lock(m_stateMutex);
    Scope scope{m_variables, run.locals};
    std::optional<std::uint32_t> key;
    if (!action.target.arguments.empty())
        key = EvaluateKey(action.target.arguments[0], scope);
    if (action.kind == Action::Kind::Set)
    {
        if (Bytes* known = FindKnown(action.target.name, key); known != nullptr && Extend(*known, action.body, scope))
            return;
        Bytes value = Evaluate(action.body, scope);
        Variable& variable = m_variables[action.target.name];
        if (key)
            variable.items[*key] = std::move(value);
        else
            variable.plain = std::move(value);
    }
    else if (key)
    {
        m_variables[action.target.name].items.erase(*key);
    }
    else
    {
        m_variables.erase(action.target.name);
    }
}

void CPhone::Raise(const Event& event, const Run& run, bool isCallersThread)
{
    const auto own = run.session.lock();
    if (run.generation)
    {
        if (own && own->IsCurrent(*run.generation))
            own->Post(event, false);
        return;
    }
    std::vector<std::shared_ptr<CSession>> sessions;
    {
        const std::lock_guard lock(m_sessionsMutex);
        for (const auto& known : m_sessions)
        {
            if (auto session = known.lock())
                sessions.push_back(std::move(session));
        }
    }
    for (const auto& session : sessions)
        session->Post(event, isCallersThread && session == own);
}

Bytes CPhone::EvaluateBytes(const Expression& body, Run& run)
{
    const std::lock_guard lock(m_stateMutex);
    Scope scope{m_variables, run.locals};
    return Evaluate(body, scope);
}

std::uint8_t CPhone::EvaluateByte(const Expression& number, Run& run)
{
    const std::lock_guard lock(m_stateMutex);
    Scope scope{m_variables, run.locals};
    const std::uint64_t value = EvaluateNumber(number, scope);
    if (value > 0xFF)
        throw CScenarioError(number.place, std::to_string(value) + " does not fit in a byte");
    return static_cast<std::uint8_t>(value);
}

// --- Timers ---

void CPhone::StartTimers(const std::weak_ptr<CSession>& session, std::uint64_t generation)
{
    const auto start = Clock::now();
    for (const Timer& timer : m_scenario.timers)
    {
        const auto due = start + timer.first;
        m_scheduler.Add(due, [=, this, &timer] { Fire(timer, session, generation, due, timer.times); });
    }
}

void CPhone::Fire(const Timer& timer, const std::weak_ptr<CSession>& session, std::uint64_t generation,
                  Clock::time_point due, std::uint64_t times)
{
    const auto target = session.lock();
    if (!target || !target->IsCurrent(generation) || times == 0)
        return;
    auto run = std::make_shared<Run>();
    run->session = session;
    run->number = target->Number();
    run->actions = &timer.actions;
    run->generation = generation;
    RunOn(run);
    const auto next = due + timer.period;
    if (timer.period.count() != 0)
        m_scheduler.Add(next, [=, this, &timer] { Fire(timer, session, generation, next, times - 1); });
}

}  // namespace vorlansim

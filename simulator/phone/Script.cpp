#include "phone/Script.h"

#include "phone/Matcher.h"

#include <algorithm>

namespace vorlansim
{
namespace
{

bool IsConstant(const Expression& expression)
{
    return expression.kind != Expression::Kind::Variable &&
           std::all_of(expression.arguments.begin(), expression.arguments.end(), IsConstant);
}

void ComputeConstants(std::vector<Action>& actions)
{
    const Variables none;
    Locals locals;
    Scope scope{none, locals};
    for (Action& action : actions)
    {
        if (!IsConstant(action.body))
            continue;
        action.body.bytes = Evaluate(action.body, scope);
        action.body.kind = Expression::Kind::Literal;
        action.body.arguments.clear();
    }
}

Scenario WithConstants(Scenario scenario)
{
    ComputeConstants(scenario.startValues);
    for (Rule& rule : scenario.rules)
        std::for_each(rule.steps.begin(), rule.steps.end(), [](Step& step) { ComputeConstants(step.actions); });
    for (Timer& timer : scenario.timers)
        ComputeConstants(timer.actions);
    return scenario;
}

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

CScript::CScript(Scenario scenario)
    : m_scenario(WithConstants(std::move(scenario))), m_ruleUses(m_scenario.rules.size())
{
    Locals locals;
    for (const Action& value : m_scenario.startValues)
        Assign(value, locals);
}

Result CScript::CheckDevice(std::uint32_t id) const
{
    const auto& devices = m_scenario.devices;
    const bool isKnown =
        std::any_of(devices.begin(), devices.end(), [id](const Device& device) { return device.id == id; });
    return devices.empty() || isKnown ? kOk : kNotOpen;
}

Result CScript::CheckDevice(std::u16string_view serial, Medium medium) const
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

Result CScript::TakeFault(ClientStep step)
{
    const auto fault = m_scenario.faults.find(step);
    if (fault == m_scenario.faults.end())
        return kOk;
    const std::lock_guard lock(m_mutex);
    return m_faultUses[step]++ < fault->second.times ? fault->second.code : kOk;
}

std::optional<CScript::Answer> CScript::TakeAnswer(bool raw, std::uint8_t resource, std::uint8_t id, BytesView body)
{
    const std::lock_guard lock(m_mutex);
    for (std::size_t i = 0; i < m_scenario.rules.size(); ++i)
    {
        const Rule& rule = m_scenario.rules[i];
        if (rule.raw != raw || !Applies(rule.resource, resource) || !Applies(rule.id, id))
            continue;
        Locals locals{{"resource", {resource}}, {"id", {id}}};
        Scope scope{m_variables, locals};
        if (!Matches(rule.pattern, body, scope) || !GuardsHold(rule, scope))
            continue;
        if (const Step* step = TakeStep(i))
            return Answer{&step->actions, std::move(locals)};
    }
    return std::nullopt;
}

/// The rule's answer that is due; null if all are used up.
const Step* CScript::TakeStep(std::size_t rule)
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

Bytes CScript::EvaluateBytes(const Expression& body, Locals& locals)
{
    const std::lock_guard lock(m_mutex);
    Scope scope{m_variables, locals};
    return Evaluate(body, scope);
}

std::uint8_t CScript::EvaluateByte(const Expression& number, Locals& locals)
{
    const std::lock_guard lock(m_mutex);
    Scope scope{m_variables, locals};
    const std::uint64_t value = EvaluateNumber(number, scope);
    if (value > 0xFF)
        throw CScenarioError(number.place, std::to_string(value) + " does not fit in a byte");
    return static_cast<std::uint8_t>(value);
}

void CScript::Assign(const Action& action, Locals& locals)
{
    const std::lock_guard lock(m_mutex);
    Scope scope{m_variables, locals};
    std::optional<std::uint32_t> key;
    if (!action.target.arguments.empty())
        key = EvaluateKey(action.target.arguments[0], scope);
    if (action.kind == Action::Kind::Set)
        Set(action, key, scope);
    else if (key)
        m_variables[action.target.name].items.erase(*key);
    else
        m_variables.erase(action.target.name);
}

void CScript::Set(const Action& action, std::optional<std::uint32_t> key, Scope& scope)
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

/// What a variable holds; null if it is unset.
Bytes* CScript::FindKnown(const std::string& name, std::optional<std::uint32_t> key)
{
    const auto variable = m_variables.find(name);
    if (variable == m_variables.end())
        return nullptr;
    if (!key)
        return variable->second.plain ? &*variable->second.plain : nullptr;
    const auto item = variable->second.items.find(*key);
    return item == variable->second.items.end() ? nullptr : &item->second;
}

}  // namespace vorlansim

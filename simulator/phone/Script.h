#pragma once

#include "phone/Evaluator.h"
#include "phone/Result.h"
#include "scenario/Scenario.h"

#include <mutex>

namespace vorlansim
{

/// A scenario that is being played: its rules, what its phone remembers, and which of its answers are used up. May be
/// used from any thread; never waits.
class CScript
{
  public:
    /// An answer, and what its rule captured from the message.
    struct Answer
    {
        const std::vector<Action>* actions;
        Locals locals;
    };

    /// Throws CScenarioError: what can be computed at once is, so that its errors show here.
    explicit CScript(Scenario scenario);

    /// The scenario with its constants computed.
    const Scenario& Source() const { return m_scenario; }

    Result CheckDevice(std::uint32_t id) const;
    Result CheckDevice(std::u16string_view serial, Medium medium) const;

    /// Counts one more try of the step; kOk unless the scenario lets it fail.
    Result TakeFault(ClientStep step);
    /// The answer that is due to a message; nothing if no rule takes it.
    std::optional<Answer> TakeAnswer(bool raw, std::uint8_t resource, std::uint8_t id, BytesView body);

    // All three throw CScenarioError.
    Bytes EvaluateBytes(const Expression& body, Locals& locals);
    std::uint8_t EvaluateByte(const Expression& number, Locals& locals);
    /// Set or Unset.
    void Assign(const Action& action, Locals& locals);

  private:
    const Step* TakeStep(std::size_t rule);
    void Set(const Action& action, std::optional<std::uint32_t> key, Scope& scope);
    Bytes* FindKnown(const std::string& name, std::optional<std::uint32_t> key);

    const Scenario m_scenario;
    std::mutex m_mutex;  // of all that follows
    Variables m_variables;
    std::vector<std::uint64_t> m_ruleUses;
    std::map<ClientStep, std::uint64_t> m_faultUses;
};

}  // namespace vorlansim

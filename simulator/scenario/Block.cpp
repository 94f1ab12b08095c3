#include "scenario/Block.h"

#include "scenario/ActionReader.h"

#include <algorithm>
#include <iterator>

namespace vorlansim
{

CBlock::CBlock(Kind blockKind, const CStatementReader& reader) : kind(blockKind)
{
    rule.place = reader.Here();
    rule.steps.emplace_back();
}

void CBlock::ReadLine(CExpressionReader& reader)
{
    if (kind == Kind::None)
        reader.Fail("an indented line needs a rule or a timer above it");
    if (reader.AcceptWord("times"))
        ReadTimes(reader);
    else if (kind != Kind::Timer && reader.AcceptWord("if"))
        AddGuard(reader);
    else if (kind != Kind::Timer && reader.AcceptWord("then"))
        rule.steps.emplace_back();
    else
        AddAction(ReadAction(reader));
    reader.ExpectEnd();
    NoteUses(reader);
}

void CBlock::ReadTimes(CStatementReader& reader)
{
    Step& step = rule.steps.back();
    if (!step.actions.empty() || step.times != kForever)
        reader.Fail("times stands once, before the actions");
    if (kind == Kind::Timer && timer.period.count() == 0)
        reader.Fail("times is for every only");
    step.times = reader.TakeNumber("a number of times");
}

void CBlock::AddGuard(CExpressionReader& reader)
{
    if (rule.steps.size() > 1 || !rule.steps[0].actions.empty())
        reader.Fail("if stands before the actions");
    rule.guards.push_back(ReadGuard(reader));
}

void CBlock::AddAction(Action action)
{
    auto& actions = rule.steps.back().actions;
    const auto isAnswer = [](const Action& known) { return known.IsAnswer(); };
    if (action.IsAnswer() && kind == Kind::Timer)
        throw CScenarioError(action.place, "a timer answers nothing");
    if (action.IsAnswer() && rule.raw && action.kind != Action::Kind::Fail)
        throw CScenarioError(action.place, "a raw message has no reply; it can only fail");
    if (action.IsAnswer() && std::any_of(actions.begin(), actions.end(), isAnswer))
        throw CScenarioError(action.place, "the message is answered already; then starts the next answer");
    if (action.kind == Action::Kind::Set)
        assigned.push_back(action.target.name);
    actions.push_back(std::move(action));
}

void CBlock::NoteUses(const CExpressionReader& reader)
{
    m_uses.insert(m_uses.end(), reader.Uses().begin(), reader.Uses().end());
}

std::vector<CExpressionReader::Use> CBlock::Unknown() const
{
    std::vector<CExpressionReader::Use> unknown;
    std::copy_if(m_uses.begin(), m_uses.end(), std::back_inserter(unknown),
                 [this](const auto& use) { return std::find(locals.begin(), locals.end(), use.name) == locals.end(); });
    return unknown;
}

/// Every answer but the last is given once unless the file says how often.
Rule CBlock::FinishRule()
{
    std::for_each(rule.steps.begin(), rule.steps.end() - 1, [](Step& step) {
        if (step.times == kForever)
            step.times = 1;
    });
    return std::move(rule);
}

Timer CBlock::FinishTimer()
{
    timer.actions = std::move(rule.steps[0].actions);
    timer.times = rule.steps[0].times;
    return std::move(timer);
}

}  // namespace vorlansim

#pragma once

#include "scenario/ExpressionReader.h"
#include "scenario/Scenario.h"

namespace vorlansim
{

/// A rule or a timer, to which indented lines add.
class CBlock
{
  public:
    enum class Kind
    {
        None,
        Rule,
        Otherwise,
        Timer
    };

    CBlock() = default;
    CBlock(Kind kind, const CStatementReader& reader);

    /// Throws CScenarioError.
    void ReadLine(CExpressionReader& reader);
    void NoteUses(const CExpressionReader& reader);
    /// The variables that are used and not known here.
    std::vector<CExpressionReader::Use> Unknown() const;

    Rule FinishRule();
    Timer FinishTimer();

    Kind kind = Kind::None;
    Rule rule;
    Timer timer;
    std::vector<std::string> locals;
    std::vector<std::string> assigned;

  private:
    void ReadTimes(CStatementReader& reader);
    void AddGuard(CExpressionReader& reader);
    void AddAction(Action action);

    std::vector<CExpressionReader::Use> m_uses;
};

}  // namespace vorlansim

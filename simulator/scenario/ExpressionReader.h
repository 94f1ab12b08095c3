#pragma once

#include "scenario/Expression.h"
#include "scenario/StatementReader.h"

namespace vorlansim
{

/// Reads the bodies, numbers and patterns of a statement, too.
class CExpressionReader : public CStatementReader
{
  public:
    /// A variable that is used but not known from the statement itself.
    struct Use
    {
        std::string name;
        Place place;
    };

    using CStatementReader::CStatementReader;

    /// A number that may be computed.
    Expression ReadNumber();
    /// The rest of the statement as bytes.
    Expression ReadBody();
    /// The rest of the statement as a pattern.
    Expression ReadPattern();
    /// name or name[key].
    Expression ReadTarget();

    const std::vector<Use>& Uses() const { return m_uses; }
    const std::vector<std::string>& Captures() const { return m_captures; }

  private:
    Expression Node(Expression::Kind kind) const;
    Expression ReadSequence(bool isPattern);
    Expression ReadItem(bool isPattern);
    Expression ReadHex();
    Expression ReadTextBytes();
    Expression ReadCapture();
    Expression ReadWildcard(Expression::Kind kind);
    Expression ReadVariable();
    Expression ReadKeyed(Expression variable);
    Expression ReadCall(bool isNumber, bool isPattern);
    void ReadArgument(Expression& call, char kind, bool isPattern);
    void ReadLoop(Expression& call);
    Expression ReadVariableName();
    Expression ReadProduct();
    Expression ReadFactor();
    Expression Combine(Expression::Kind kind, Expression left, Expression right) const;
    void CheckLast() const;
    void Enter();
    void NoteUse(const std::string& name);

    int m_nodes = 0;
    std::vector<std::string> m_loopVariables;
    std::vector<std::string> m_captures;
    std::vector<Use> m_uses;
};

}  // namespace vorlansim

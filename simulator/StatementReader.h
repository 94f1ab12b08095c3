#pragma once

#include "Lexer.h"

#include <chrono>

namespace vorlansim
{

/// Reads one statement from left to right: words, numbers, bodies and patterns. All of it throws CScenarioError.
class CStatementReader
{
  public:
    /// A variable that is used but not known from the statement itself.
    struct Use
    {
        std::string name;
        Place place;
    };

    CStatementReader(const Statement& statement, std::shared_ptr<const std::string> file)
        : m_tokens(statement.tokens), m_file(std::move(file))
    {
    }

    bool AtEnd() const { return Peek().kind == Token::Kind::End; }
    void ExpectEnd() const;
    bool AcceptWord(std::string_view word);
    bool AcceptSymbol(std::string_view symbol);
    std::string TakeWord(const std::string& what);
    std::string TakeText(const std::string& what);
    std::uint32_t TakeNumber(const std::string& what, std::uint32_t maximum);
    /// 0x80000000 to 0xFFFFFFFF.
    std::uint32_t TakeFailure();
    std::chrono::milliseconds TakeDuration();
    std::pair<std::uint8_t, std::uint8_t> TakeVersion();

    /// A number that may be computed.
    Expression ReadNumber();
    /// The rest of the statement as bytes. What can be computed at once is, so that its errors show when loading.
    Expression ReadBody();
    /// The rest of the statement as a pattern.
    Expression ReadPattern();
    /// name or name[key].
    Expression ReadTarget();

    const std::vector<Use>& Uses() const { return m_uses; }
    const std::vector<std::string>& Captures() const { return m_captures; }

    Place Here() const { return {m_file, Peek().line}; }
    [[noreturn]] void Fail(const std::string& reason) const;

  private:
    const Token& Peek() const { return m_tokens[m_next]; }
    Token Take();
    bool IsSymbol(std::string_view symbol) const;
    void ExpectSymbol(std::string_view symbol);
    Expression Node(Expression::Kind kind) const;
    std::string TakeName(const std::string& what);

    Expression ReadSequence(bool isPattern);
    Expression ReadItem(bool isPattern);
    Expression ReadHex();
    Expression ReadTextBytes();
    Expression ReadCapture();
    Expression ReadWildcard(Expression::Kind kind);
    Expression ReadVariable();
    Expression ReadCall(bool isNumber, bool isPattern);
    void ReadArgument(Expression& call, char kind, bool isPattern);
    void ReadLoop(Expression& call);
    Expression ReadVariableName();
    Expression ReadProduct();
    Expression ReadFactor();
    Expression Combine(Expression::Kind kind, Expression left, Expression right) const;
    void CheckLast();
    void Enter();
    void NoteUse(const std::string& name);

    const std::vector<Token>& m_tokens;
    std::shared_ptr<const std::string> m_file;
    std::size_t m_next = 0;
    int m_nodes = 0;
    std::vector<std::string> m_loopVariables;
    std::vector<std::string> m_captures;
    std::vector<Use> m_uses;
};

}  // namespace vorlansim

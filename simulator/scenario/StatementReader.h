#pragma once

#include "scenario/Lexer.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>

namespace vorlansim
{

constexpr std::uint32_t kMaxNumber = 0xFFFFFFFFU;

/// Reads one statement from left to right, word by word. All of it throws CScenarioError.
class CStatementReader
{
  public:
    CStatementReader(const Statement& statement, std::shared_ptr<const std::string> file)
        : m_tokens(statement.tokens), m_file(std::move(file))
    {
    }

    bool AtEnd() const { return Peek().kind == Token::Kind::End; }
    void ExpectEnd() const;
    bool AcceptWord(std::string_view word);
    bool AcceptSymbol(std::string_view symbol);
    void ExpectSymbol(std::string_view symbol);
    std::string TakeWord(const std::string& what);
    std::string TakeText(const std::string& what);
    std::string TakeName(const std::string& what);
    std::uint32_t TakeNumber(const std::string& what, std::uint32_t maximum = kMaxNumber);
    std::uint8_t TakeByte(const std::string& what);
    /// 0x80000000 to 0xFFFFFFFF.
    std::uint32_t TakeFailure();
    std::chrono::milliseconds TakeDuration();
    std::pair<std::uint8_t, std::uint8_t> TakeVersion();

    Place Here() const { return {m_file, Peek().line}; }
    [[noreturn]] void Fail(const std::string& reason) const;

  protected:
    const Token& Peek() const { return m_tokens[m_next]; }
    Token Take();
    bool IsSymbol(std::string_view symbol) const;
    /// What comes next, as messages name it.
    std::string Seen() const;

  private:
    std::optional<std::uint32_t> PeekNumber() const;

    const std::vector<Token>& m_tokens;
    std::shared_ptr<const std::string> m_file;
    std::size_t m_next = 0;
};

}  // namespace vorlansim

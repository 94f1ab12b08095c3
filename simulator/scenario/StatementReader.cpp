#include "scenario/StatementReader.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace vorlansim
{
namespace
{

/// A whole decimal or 0x number.
std::optional<std::uint32_t> ToInteger(std::string_view word)
{
    const bool isHex = word.substr(0, 2) == "0x";
    if (isHex)
        word.remove_prefix(2);
    std::uint32_t value = 0;
    const auto result = std::from_chars(word.data(), word.data() + word.size(), value, isHex ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != word.data() + word.size())
        return std::nullopt;
    return value;
}

bool IsNameWord(std::string_view word)
{
    return !word.empty() && (word.front() < '0' || word.front() > '9') &&
           word.find_first_of(".-") == std::string_view::npos;
}

}  // namespace

void CStatementReader::Fail(const std::string& reason) const
{
    throw CScenarioError(Here(), reason);
}

std::string CStatementReader::Seen() const
{
    return AtEnd() ? "the end of the line" : "'" + Peek().text + "'";
}

Token CStatementReader::Take()
{
    Token token = Peek();
    if (!AtEnd())
        ++m_next;
    return token;
}

bool CStatementReader::IsSymbol(std::string_view symbol) const
{
    return Peek().kind == Token::Kind::Symbol && Peek().text == symbol;
}

bool CStatementReader::AcceptSymbol(std::string_view symbol)
{
    const bool isNext = IsSymbol(symbol);
    if (isNext)
        ++m_next;
    return isNext;
}

void CStatementReader::ExpectSymbol(std::string_view symbol)
{
    if (!AcceptSymbol(symbol))
        Fail("'" + std::string(symbol) + "' expected, not " + Seen());
}

void CStatementReader::ExpectEnd() const
{
    if (!AtEnd())
        Fail(Seen() + " is one too many");
}

bool CStatementReader::AcceptWord(std::string_view word)
{
    const bool isNext = Peek().kind == Token::Kind::Word && Peek().text == word;
    if (isNext)
        ++m_next;
    return isNext;
}

std::string CStatementReader::TakeWord(const std::string& what)
{
    if (Peek().kind != Token::Kind::Word)
        Fail(what + " expected, not " + Seen());
    return Take().text;
}

std::string CStatementReader::TakeText(const std::string& what)
{
    if (Peek().kind != Token::Kind::Text || !Peek().prefix.empty())
        Fail(what + " in quotes expected, not " + Seen());
    return Take().text;
}

std::optional<std::uint32_t> CStatementReader::PeekNumber() const
{
    return Peek().kind == Token::Kind::Word ? ToInteger(Peek().text) : std::nullopt;
}

std::uint32_t CStatementReader::TakeNumber(const std::string& what, std::uint32_t maximum)
{
    const auto number = PeekNumber();
    if (!number || *number > maximum)
        Fail(what + " expected, decimal or 0x, at most " + std::to_string(maximum) + ", not " + Seen());
    ++m_next;
    return *number;
}

std::uint8_t CStatementReader::TakeByte(const std::string& what)
{
    return static_cast<std::uint8_t>(TakeNumber(what, 0xFF));
}

std::uint32_t CStatementReader::TakeFailure()
{
    const auto number = PeekNumber();
    if (!number || *number < 0x80000000U)
        Fail("a failing HRESULT expected, 0x80000000 or above, not " + Seen());
    ++m_next;
    return *number;
}

std::chrono::milliseconds CStatementReader::TakeDuration()
{
    const std::string word = Peek().text;
    const std::size_t digits = std::min(word.find_first_not_of("0123456789"), word.size());
    const auto number = ToInteger(word.substr(0, digits));
    const std::string unit = word.substr(digits);
    constexpr std::uint32_t kDay = 24U * 60 * 60 * 1000;
    if (!number || *number > kDay || (unit != "ms" && unit != "s" && unit != "min"))
        Fail("a time like 500ms, 2s or 1min expected, not " + Seen());
    ++m_next;
    return std::chrono::milliseconds(std::int64_t{*number} * (unit == "ms" ? 1 : unit == "s" ? 1000 : 60000));
}

std::pair<std::uint8_t, std::uint8_t> CStatementReader::TakeVersion()
{
    const std::string word = Peek().text;
    const std::size_t dot = word.find('.');
    const auto major = dot == std::string::npos ? std::nullopt : ToInteger(word.substr(0, dot));
    const auto minor = dot == std::string::npos ? std::nullopt : ToInteger(word.substr(dot + 1));
    if (!major || !minor || *major > 255 || *minor > 255)
        Fail("a version like 16.0 expected, not " + Seen());
    ++m_next;
    return {static_cast<std::uint8_t>(*major), static_cast<std::uint8_t>(*minor)};
}

std::string CStatementReader::TakeName(const std::string& what)
{
    if (Peek().kind != Token::Kind::Word || !IsNameWord(Peek().text))
        Fail("the name of " + what + " expected, not " + Seen());
    return Take().text;
}

}  // namespace vorlansim

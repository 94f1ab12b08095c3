#include "StatementReader.h"

#include <algorithm>
#include <charconv>

namespace vorlansim
{
namespace
{

/// Enough for any message, and few enough for the call stack.
constexpr int kMaxNesting = 100;

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

bool IsHex(std::string_view word)
{
    return word.size() % 2 == 0 && word.find_first_not_of("0123456789ABCDEFabcdef") == std::string_view::npos;
}

bool IsNameWord(std::string_view word)
{
    return !word.empty() && (word.front() < '0' || word.front() > '9') &&
           word.find_first_of(".-") == std::string_view::npos;
}

std::string Quote(const Token& token)
{
    return token.kind == Token::Kind::End ? "the end of the line" : "'" + token.text + "'";
}

}  // namespace

void CStatementReader::Fail(const std::string& reason) const
{
    throw CScenarioError(Here(), reason);
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
        Fail("'" + std::string(symbol) + "' expected, not " + Quote(Peek()));
}

void CStatementReader::ExpectEnd() const
{
    if (!AtEnd())
        Fail(Quote(Peek()) + " is one too many");
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
        Fail(what + " expected, not " + Quote(Peek()));
    return Take().text;
}

std::string CStatementReader::TakeText(const std::string& what)
{
    if (Peek().kind != Token::Kind::Text || !Peek().prefix.empty())
        Fail(what + " in quotes expected, not " + Quote(Peek()));
    return Take().text;
}

std::uint32_t CStatementReader::TakeNumber(const std::string& what, std::uint32_t maximum)
{
    const auto number = Peek().kind == Token::Kind::Word ? ToInteger(Peek().text) : std::nullopt;
    if (!number || *number > maximum)
        Fail(what + " expected, decimal or 0x, at most " + std::to_string(maximum) + ", not " + Quote(Peek()));
    ++m_next;
    return *number;
}

std::uint32_t CStatementReader::TakeFailure()
{
    const auto number = Peek().kind == Token::Kind::Word ? ToInteger(Peek().text) : std::nullopt;
    if (!number || *number < 0x80000000U)
        Fail("a failing HRESULT expected, 0x80000000 or above, not " + Quote(Peek()));
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
        Fail("a time like 500ms, 2s or 1min expected, not " + Quote(Peek()));
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
        Fail("a version like 16.0 expected, not " + Quote(Peek()));
    ++m_next;
    return {static_cast<std::uint8_t>(*major), static_cast<std::uint8_t>(*minor)};
}

std::string CStatementReader::TakeName(const std::string& what)
{
    if (Peek().kind != Token::Kind::Word || !IsNameWord(Peek().text))
        Fail("the name of " + what + " expected, not " + Quote(Peek()));
    return Take().text;
}

Expression CStatementReader::Node(Expression::Kind kind) const
{
    Expression node;
    node.kind = kind;
    node.place = Here();
    return node;
}

Expression CStatementReader::ReadBody()
{
    const std::size_t usesBefore = m_uses.size();
    Expression body = ReadSequence(false);
    ExpectEnd();
    if (m_uses.size() > usesBefore)
        return body;
    Expression constant = Node(Expression::Kind::Literal);
    const Variables variables;
    Locals locals;
    Scope scope{variables, locals};
    constant.bytes = Evaluate(body, scope);
    return constant;
}

Expression CStatementReader::ReadPattern()
{
    Expression pattern = ReadSequence(true);
    ExpectEnd();
    return pattern;
}

Expression CStatementReader::ReadSequence(bool isPattern)
{
    Enter();
    Expression sequence = Node(Expression::Kind::Sequence);
    while (!AtEnd() && !IsSymbol(",") && !IsSymbol(")"))
        sequence.arguments.push_back(ReadItem(isPattern));
    --m_nodes;
    return sequence;
}

Expression CStatementReader::ReadItem(bool isPattern)
{
    if (isPattern && IsSymbol("??"))
        return ReadWildcard(Expression::Kind::AnyByte);
    if (isPattern && IsSymbol("*"))
        return ReadWildcard(Expression::Kind::Rest);
    if (isPattern && IsSymbol("<"))
        return ReadCapture();
    switch (Peek().kind)
    {
    case Token::Kind::Text:
        return ReadTextBytes();
    case Token::Kind::Variable:
        return ReadVariable();
    case Token::Kind::Word:
        return FindFunction(Peek().text) != nullptr ? ReadCall(false, isPattern) : ReadHex();
    default:
        Fail(Quote(Peek()) + " cannot stand among bytes" + (isPattern ? "" : " (wildcards are for patterns only)"));
    }
}

Expression CStatementReader::ReadHex()
{
    if (!IsHex(Peek().text))
        Fail(Quote(Peek()) + " is neither bytes (pairs of hex digits, without 0x) nor a function");
    Expression literal = Node(Expression::Kind::Literal);
    const std::string digits = Take().text;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        literal.bytes.push_back(static_cast<std::uint8_t>(*ToInteger("0x" + digits.substr(i, 2))));
    return literal;
}

Expression CStatementReader::ReadTextBytes()
{
    Expression literal = Node(Expression::Kind::Literal);
    std::string form = Peek().prefix;
    const bool terminated = !form.empty() && form.back() == 'z';
    if (terminated)
        form.pop_back();
    if (form != "utf16" && form != "utf8")
        Fail("a text among bytes is utf16\"…\", utf16z\"…\", utf8\"…\" or utf8z\"…\"");
    std::string text = Take().text;
    if (terminated)
        text.push_back('\0');
    if (form == "utf8")
    {
        literal.bytes.assign(text.begin(), text.end());
        return literal;
    }
    const std::u16string units = ToUtf16(text).value_or(u"");
    for (const char16_t unit : units)
    {
        literal.bytes.push_back(static_cast<std::uint8_t>(unit >> 8U));
        literal.bytes.push_back(static_cast<std::uint8_t>(unit));
    }
    return literal;
}

Expression CStatementReader::ReadWildcard(Expression::Kind kind)
{
    Expression wildcard = Node(kind);
    Take();
    if (kind == Expression::Kind::Rest)
        CheckLast();
    return wildcard;
}

Expression CStatementReader::ReadCapture()
{
    Expression capture = Node(Expression::Kind::Capture);
    ExpectSymbol("<");
    capture.name = TakeName("a capture");
    ExpectSymbol(":");
    if (AcceptSymbol("*"))
        capture.kind = Expression::Kind::CaptureRest;
    else
        capture.arguments.push_back(ReadNumber());
    ExpectSymbol(">");
    if (capture.kind == Expression::Kind::CaptureRest)
        CheckLast();
    m_captures.push_back(capture.name);
    return capture;
}

void CStatementReader::CheckLast()
{
    if (!AtEnd() && !IsSymbol(")"))
        Fail("nothing can follow the rest of a pattern");
}

Expression CStatementReader::ReadVariable()
{
    Expression variable = Node(Expression::Kind::Variable);
    variable.name = Take().text;
    NoteUse(variable.name);
    if (AcceptSymbol("["))
    {
        variable.arguments.push_back(ReadNumber());
        ExpectSymbol("]");
    }
    return variable;
}

Expression CStatementReader::ReadTarget()
{
    Expression target = Node(Expression::Kind::Variable);
    target.name = TakeName("a variable");
    NoteUse(target.name);
    if (AcceptSymbol("["))
    {
        target.arguments.push_back(ReadNumber());
        ExpectSymbol("]");
    }
    return target;
}

Expression CStatementReader::ReadCall(bool isNumber, bool isPattern)
{
    Enter();
    Expression call = Node(Expression::Kind::Call);
    call.name = Take().text;
    call.function = FindFunction(call.name);
    if ((call.function->number != nullptr) != isNumber)
        Fail(call.name + (isNumber ? " makes bytes, not a number" : " makes a number: put it in u8, u16 or u32"));
    ExpectSymbol("(");
    const std::size_t loopsBefore = m_loopVariables.size();
    for (std::size_t i = 0; i < call.function->arguments.size(); ++i)
    {
        if (i > 0)
            ExpectSymbol(",");
        ReadArgument(call, call.function->arguments[i], isPattern && call.function->IsBlock());
    }
    ExpectSymbol(")");
    m_loopVariables.resize(loopsBefore);
    --m_nodes;
    return call;
}

void CStatementReader::ReadArgument(Expression& call, char kind, bool isPattern)
{
    switch (kind)
    {
    case 'n':
        call.arguments.push_back(ReadNumber());
        break;
    case 'b':
        call.arguments.push_back(ReadSequence(isPattern));
        break;
    case 'v':
        call.arguments.push_back(ReadVariableName());
        break;
    default:
        ReadLoop(call);
        break;
    }
}

void CStatementReader::ReadLoop(Expression& call)
{
    Expression loop = Node(Expression::Kind::Variable);
    loop.name = TakeName("a loop variable");
    call.arguments.push_back(loop);
    if (!AcceptWord("in"))
        Fail("a loop is each(key in variable, …)");
    call.arguments.push_back(ReadVariableName());
    m_loopVariables.push_back(loop.name);
}

Expression CStatementReader::ReadVariableName()
{
    Expression variable = Node(Expression::Kind::Variable);
    variable.name = TakeName("a variable");
    NoteUse(variable.name);
    return variable;
}

Expression CStatementReader::ReadNumber()
{
    Enter();
    const int nesting = m_nodes;
    Expression sum = ReadProduct();
    while (IsSymbol("+") || IsSymbol("-"))
    {
        Enter();
        const auto kind = Take().text == "+" ? Expression::Kind::Add : Expression::Kind::Subtract;
        sum = Combine(kind, std::move(sum), ReadProduct());
    }
    m_nodes = nesting - 1;
    return sum;
}

Expression CStatementReader::ReadProduct()
{
    const int nesting = m_nodes;
    Expression product = ReadFactor();
    while (AcceptSymbol("*"))
    {
        Enter();
        product = Combine(Expression::Kind::Multiply, std::move(product), ReadFactor());
    }
    m_nodes = nesting;
    return product;
}

Expression CStatementReader::ReadFactor()
{
    if (Peek().kind == Token::Kind::Variable)
        return ReadVariable();
    if (Peek().kind == Token::Kind::Word && FindFunction(Peek().text) != nullptr)
        return ReadCall(true, false);
    Expression number = Node(Expression::Kind::Number);
    number.number = TakeNumber("a number", 0xFFFFFFFFU);
    return number;
}

Expression CStatementReader::Combine(Expression::Kind kind, Expression left, Expression right) const
{
    Expression sum = Node(kind);
    sum.place = left.place;
    sum.arguments.push_back(std::move(left));
    sum.arguments.push_back(std::move(right));
    return sum;
}

void CStatementReader::Enter()
{
    if (++m_nodes > kMaxNesting)
        Fail("too deeply nested");
}

void CStatementReader::NoteUse(const std::string& name)
{
    if (std::find(m_loopVariables.begin(), m_loopVariables.end(), name) == m_loopVariables.end())
        m_uses.push_back({name, Here()});
}

}  // namespace vorlansim

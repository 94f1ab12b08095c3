#include "scenario/ExpressionReader.h"

#include <algorithm>

namespace vorlansim
{
namespace
{

/// Enough for any message, and few enough for the call stack.
constexpr int kMaxNesting = 100;

bool IsHex(std::string_view word)
{
    return word.size() % 2 == 0 && word.find_first_not_of("0123456789ABCDEFabcdef") == std::string_view::npos;
}

}  // namespace

Expression CExpressionReader::Node(Expression::Kind kind) const
{
    Expression node;
    node.kind = kind;
    node.place = Here();
    return node;
}

Expression CExpressionReader::ReadBody()
{
    Expression body = ReadSequence(false);
    ExpectEnd();
    return body;
}

Expression CExpressionReader::ReadPattern()
{
    Expression pattern = ReadSequence(true);
    ExpectEnd();
    return pattern;
}

Expression CExpressionReader::ReadSequence(bool isPattern)
{
    Enter();
    Expression sequence = Node(Expression::Kind::Sequence);
    while (!AtEnd() && !IsSymbol(",") && !IsSymbol(")"))
        sequence.arguments.push_back(ReadItem(isPattern));
    --m_nodes;
    return sequence;
}

Expression CExpressionReader::ReadItem(bool isPattern)
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
        Fail(Seen() + " cannot stand among bytes" + (isPattern ? "" : " (wildcards are for patterns only)"));
    }
}

Expression CExpressionReader::ReadHex()
{
    if (!IsHex(Peek().text))
        Fail(Seen() + " is neither bytes (pairs of hex digits, without 0x) nor a function");
    Expression literal = Node(Expression::Kind::Literal);
    const std::string digits = Take().text;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        literal.bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return literal;
}

Expression CExpressionReader::ReadTextBytes()
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

Expression CExpressionReader::ReadWildcard(Expression::Kind kind)
{
    Expression wildcard = Node(kind);
    Take();
    if (kind == Expression::Kind::Rest)
        CheckLast();
    return wildcard;
}

Expression CExpressionReader::ReadCapture()
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

void CExpressionReader::CheckLast() const
{
    if (!AtEnd() && !IsSymbol(")"))
        Fail("nothing can follow the rest of a pattern");
}

Expression CExpressionReader::ReadVariable()
{
    Expression variable = Node(Expression::Kind::Variable);
    variable.name = Take().text;
    return ReadKeyed(std::move(variable));
}

Expression CExpressionReader::ReadTarget()
{
    Expression target = Node(Expression::Kind::Variable);
    target.name = TakeName("a variable");
    return ReadKeyed(std::move(target));
}

Expression CExpressionReader::ReadKeyed(Expression variable)
{
    NoteUse(variable.name);
    if (AcceptSymbol("["))
    {
        variable.arguments.push_back(ReadNumber());
        ExpectSymbol("]");
    }
    return variable;
}

Expression CExpressionReader::ReadCall(bool isNumber, bool isPattern)
{
    Enter();
    Expression call = Node(Expression::Kind::Call);
    call.name = Take().text;
    call.function = FindFunction(call.name);
    if (call.function->MakesNumber() != isNumber)
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

void CExpressionReader::ReadArgument(Expression& call, char kind, bool isPattern)
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

void CExpressionReader::ReadLoop(Expression& call)
{
    Expression loop = Node(Expression::Kind::Variable);
    loop.name = TakeName("a loop variable");
    call.arguments.push_back(loop);
    if (!AcceptWord("in"))
        Fail("a loop is each(key in variable, …)");
    call.arguments.push_back(ReadVariableName());
    m_loopVariables.push_back(loop.name);
}

Expression CExpressionReader::ReadVariableName()
{
    Expression variable = Node(Expression::Kind::Variable);
    variable.name = TakeName("a variable");
    NoteUse(variable.name);
    return variable;
}

Expression CExpressionReader::ReadNumber()
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

Expression CExpressionReader::ReadProduct()
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

Expression CExpressionReader::ReadFactor()
{
    if (Peek().kind == Token::Kind::Variable)
        return ReadVariable();
    if (Peek().kind == Token::Kind::Word && FindFunction(Peek().text) != nullptr)
        return ReadCall(true, false);
    Expression number = Node(Expression::Kind::Number);
    number.number = TakeNumber("a number");
    return number;
}

Expression CExpressionReader::Combine(Expression::Kind kind, Expression left, Expression right) const
{
    Expression sum = Node(kind);
    sum.place = left.place;
    sum.arguments.push_back(std::move(left));
    sum.arguments.push_back(std::move(right));
    return sum;
}

void CExpressionReader::Enter()
{
    if (++m_nodes > kMaxNesting)
        Fail("too deeply nested");
}

void CExpressionReader::NoteUse(const std::string& name)
{
    if (std::find(m_loopVariables.begin(), m_loopVariables.end(), name) == m_loopVariables.end())
        m_uses.push_back({name, Here()});
}

}  // namespace vorlansim

#include "Expression.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace vorlansim
{
namespace
{

constexpr char kTooLong[] = "more than 16 MiB in one message";

void Append(const Expression& expression, Scope& scope, Output& output);
const Bytes& Value(const Expression& variable, Scope& scope);

std::uint64_t Argument(const Expression& call, std::size_t index, Scope& scope)
{
    return EvaluateNumber(call.arguments[index], scope);
}

Output ArgumentBytes(const Expression& call, std::size_t index, Scope& scope)
{
    Output output;
    Append(call.arguments[index], scope, output);
    return output;
}

/// The bytes of an argument: a variable's value as it lies there, which may be large, anything else through `computed`.
BytesView ArgumentView(const Expression& call, std::size_t index, Scope& scope, Bytes& computed)
{
    const Expression* argument = &call.arguments[index];
    if (argument->kind == Expression::Kind::Sequence && argument->arguments.size() == 1)
        argument = &argument->arguments[0];
    if (argument->kind == Expression::Kind::Variable)
        return Value(*argument, scope);
    computed = ArgumentBytes(call, index, scope).bytes;
    return computed;
}

void Add(const Expression& at, Output& output, BytesView bytes)
{
    if (bytes.size() > kMaxBytes - output.bytes.size())
        throw CScenarioError(at.place, kTooLong);
    output.bytes.insert(output.bytes.end(), bytes.begin(), bytes.end());
}

void AddNumber(const Expression& at, Output& output, std::uint64_t value, unsigned width)
{
    if (width < 8 && value >> (8 * width) != 0)
        throw CScenarioError(at.place, std::to_string(value) + " does not fit in " + std::to_string(width) +
                                           (width == 1 ? " byte" : " bytes"));
    for (unsigned i = width; i-- > 0;)
        output.bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

std::uint64_t BytesToNumber(const Expression& at, BytesView bytes)
{
    const auto first = std::find_if(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte != 0; });
    if (std::distance(first, bytes.end()) > 8)
        throw CScenarioError(at.place, "a value of more than 8 bytes is used as a number");
    std::uint64_t value = 0;
    for (auto byte = first; byte != bytes.end(); ++byte)
        value = (value << 8U) | *byte;
    return value;
}

Bytes NumberToBytes(std::uint32_t number)
{
    return {static_cast<std::uint8_t>(number >> 24U), static_cast<std::uint8_t>(number >> 16U),
            static_cast<std::uint8_t>(number >> 8U), static_cast<std::uint8_t>(number)};
}

const std::map<std::uint32_t, Bytes>& Items(const std::string& name, const Scope& scope)
{
    static const std::map<std::uint32_t, Bytes> none;
    const auto found = scope.variables.find(name);
    return found == scope.variables.end() ? none : found->second.items;
}

template <unsigned width>
void AppendNumber(const Expression& call, Scope& scope, Output& output)
{
    AddNumber(call, output, Argument(call, 0, scope), width);
}

template <unsigned width, unsigned unit>
void AppendCounted(const Expression& call, Scope& scope, Output& output)
{
    const Output content = ArgumentBytes(call, 0, scope);
    AddNumber(call, output, content.bytes.size() / unit, width);
    Add(call, output, content.bytes);
}

template <unsigned idWidth, unsigned fillers, unsigned lengthWidth>
void AppendBlock(const Expression& call, Scope& scope, Output& output)
{
    constexpr BlockFormat format{idWidth, fillers, lengthWidth};
    Bytes payload = ArgumentBytes(call, 1, scope).bytes;
    while ((payload.size() + format.HeaderSize()) % 4 != 0)
        payload.push_back(0);
    AddNumber(call, output, Argument(call, 0, scope), idWidth);
    output.bytes.insert(output.bytes.end(), fillers, 0);
    AddNumber(call, output, payload.size() + format.HeaderSize(), lengthWidth);
    Add(call, output, payload);
    ++output.blocks;
}

void AppendBlocks(const Expression& call, Scope& scope, Output& output)
{
    const Output content = ArgumentBytes(call, 0, scope);
    AddNumber(call, output, content.blocks, 1);
    Add(call, output, content.bytes);
}

void AppendEach(const Expression& call, Scope& scope, Output& output)
{
    scope.locals.emplace_back(call.arguments[0].name, Bytes());
    for (const auto& item : Items(call.arguments[1].name, scope))
    {
        scope.locals.back().second = NumberToBytes(item.first);
        Append(call.arguments[2], scope, output);
    }
    scope.locals.pop_back();
}

void AppendPadded(const Expression& call, Scope& scope, Output& output)
{
    const std::uint64_t multiple = Argument(call, 0, scope);
    if (multiple == 0 || multiple > kMaxBytes)
        throw CScenarioError(call.place, "cannot pad to a multiple of " + std::to_string(multiple));
    Output content = ArgumentBytes(call, 1, scope);
    const std::uint64_t excess = content.bytes.size() % multiple;
    if (excess != 0)
        content.bytes.resize(content.bytes.size() + static_cast<std::size_t>(multiple - excess));
    Add(call, output, content.bytes);
    output.blocks += content.blocks;
}

void AppendRepeated(const Expression& call, Scope& scope, Output& output)
{
    const std::uint64_t times = Argument(call, 0, scope);
    const Output content = ArgumentBytes(call, 1, scope);
    if (times > kMaxBytes)
        throw CScenarioError(call.place, "cannot repeat " + std::to_string(times) + " times");
    for (std::uint64_t i = 0; i < times && !content.bytes.empty(); ++i)
    {
        Add(call, output, content.bytes);
        output.blocks += content.blocks;
    }
}

void AppendSlice(const Expression& call, Scope& scope, Output& output)
{
    Bytes computed;
    const BytesView content = ArgumentView(call, 0, scope, computed);
    const auto start = std::min<std::uint64_t>(Argument(call, 1, scope), content.size());
    const auto length = std::min<std::uint64_t>(Argument(call, 2, scope), content.size() - start);
    Add(call, output, content.subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(length)));
}

std::uint64_t Count(const Expression& call, Scope& scope)
{
    return Items(call.arguments[0].name, scope).size();
}

std::uint64_t NextFree(const Expression& call, Scope& scope)
{
    std::uint64_t free = 1;
    for (const auto& item : Items(call.arguments[0].name, scope))
    {
        if (item.first > free)
            break;
        free = std::uint64_t{item.first} + 1;
    }
    return free;
}

std::uint64_t FindKey(const Expression& call, Scope& scope)
{
    const Bytes wanted = ArgumentBytes(call, 1, scope).bytes;
    const auto& items = Items(call.arguments[0].name, scope);
    const auto found =
        std::find_if(items.begin(), items.end(), [&](const auto& item) { return item.second == wanted; });
    return found == items.end() ? 0 : found->first;
}

std::uint64_t Length(const Expression& call, Scope& scope)
{
    Bytes computed;
    return ArgumentView(call, 0, scope, computed).size();
}

std::uint64_t Units(const Expression& call, Scope& scope)
{
    return Length(call, scope) / 2;
}

std::uint64_t ToNumber(const Expression& call, Scope& scope)
{
    return BytesToNumber(call, ArgumentBytes(call, 0, scope).bytes);
}

// In a block's name the first digit is the width of the id, the second the width of the length.
constexpr Function kFunctions[] = {
    {"u8", "n", AppendNumber<1>, nullptr, {}},
    {"u16", "n", AppendNumber<2>, nullptr, {}},
    {"u32", "n", AppendNumber<4>, nullptr, {}},
    {"bytes8", "b", AppendCounted<1, 1>, nullptr, {}},
    {"bytes16", "b", AppendCounted<2, 1>, nullptr, {}},
    {"units8", "b", AppendCounted<1, 2>, nullptr, {}},
    {"units16", "b", AppendCounted<2, 2>, nullptr, {}},
    {"block11", "nb", AppendBlock<1, 0, 1>, nullptr, {1, 0, 1}},
    {"block12", "nb", AppendBlock<1, 1, 2>, nullptr, {1, 1, 2}},
    {"block22", "nb", AppendBlock<2, 0, 2>, nullptr, {2, 0, 2}},
    {"block14", "nb", AppendBlock<1, 3, 4>, nullptr, {1, 3, 4}},
    {"blocks", "b", AppendBlocks, nullptr, {}},
    {"each", "lb", AppendEach, nullptr, {}},
    {"pad", "nb", AppendPadded, nullptr, {}},
    {"repeat", "nb", AppendRepeated, nullptr, {}},
    {"slice", "bnn", AppendSlice, nullptr, {}},
    {"count", "v", nullptr, Count, {}},
    {"next", "v", nullptr, NextFree, {}},
    {"find", "vb", nullptr, FindKey, {}},
    {"length", "b", nullptr, Length, {}},
    {"units", "b", nullptr, Units, {}},
    {"number", "b", nullptr, ToNumber, {}},
};

const Bytes& Value(const Expression& variable, Scope& scope)
{
    if (const Bytes* value = FindValue(variable, scope))
        return *value;
    const std::string key = variable.arguments.empty() ? "" : "[" + std::to_string(Argument(variable, 0, scope)) + "]";
    throw CScenarioError(variable.place, "$" + variable.name + key + " is not set");
}

void Append(const Expression& expression, Scope& scope, Output& output)
{
    switch (expression.kind)
    {
    case Expression::Kind::Literal:
        Add(expression, output, expression.bytes);
        break;
    case Expression::Kind::Variable:
        Add(expression, output, Value(expression, scope));
        break;
    case Expression::Kind::Sequence:
        for (const Expression& item : expression.arguments)
            Append(item, scope, output);
        break;
    case Expression::Kind::Call:
        if (expression.function != nullptr)
            expression.function->append(expression, scope, output);
        break;
    default:
        break;  // numbers and wildcards never stand in a body
    }
}

/// Matches a list of pattern nodes against the bytes from the front on.
class CMatcher
{
  public:
    CMatcher(BytesView bytes, Scope& scope) : m_left(bytes), m_scope(scope) {}

    bool Match(const Expression& sequence)
    {
        return std::all_of(sequence.arguments.begin(), sequence.arguments.end(),
                           [this](const Expression& item) { return MatchItem(item); });
    }

    BytesView Left() const { return m_left; }

  private:
    bool MatchItem(const Expression& item)
    {
        switch (item.kind)
        {
        case Expression::Kind::AnyByte:
            return Take(1).has_value();
        case Expression::Kind::Rest:
            return Take(m_left.size()).has_value();
        case Expression::Kind::Capture:
            return Capture(item, Take(EvaluateNumber(item.arguments[0], m_scope)));
        case Expression::Kind::CaptureRest:
            return Capture(item, Take(m_left.size()));
        default:
            return item.function != nullptr && item.function->IsBlock() ? MatchBlock(item) : MatchBytes(item);
        }
    }

    std::optional<BytesView> Take(std::uint64_t count)
    {
        if (count > m_left.size())
            return std::nullopt;
        const BytesView taken = m_left.first(static_cast<std::size_t>(count));
        m_left = m_left.subspan(taken.size());
        return taken;
    }

    bool Capture(const Expression& item, std::optional<BytesView> bytes)
    {
        if (bytes)
            m_scope.locals.emplace_back(item.name, Bytes(bytes->begin(), bytes->end()));
        return bytes.has_value();
    }

    bool MatchBytes(const Expression& item)
    {
        Output expected;
        Append(item, m_scope, expected);
        const auto taken = Take(expected.bytes.size());
        return taken && std::equal(taken->begin(), taken->end(), expected.bytes.begin());
    }

    bool MatchBlock(const Expression& item)
    {
        const BlockFormat& format = item.function->block;
        const auto header = Take(format.HeaderSize());
        if (!header)
            return false;
        const std::uint64_t id = BytesToNumber(item, header->first(format.idWidth));
        const std::uint64_t length = BytesToNumber(item, header->last(format.lengthWidth));
        if (id != EvaluateNumber(item.arguments[0], m_scope) || length < format.HeaderSize())
            return false;
        const auto payload = Take(length - format.HeaderSize());
        if (!payload)
            return false;
        CMatcher inner(*payload, m_scope);
        return inner.Match(item.arguments[1]) && IsPadding(inner.Left());
    }

    static bool IsPadding(BytesView bytes)
    {
        return bytes.size() < 4 && std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
    }

    BytesView m_left;
    Scope& m_scope;
};

std::string Describe(const Place& place, const std::string& reason)
{
    return *place.file + ":" + std::to_string(place.line) + ": " + reason;
}

}  // namespace

CScenarioError::CScenarioError(const Place& place, const std::string& reason)
    : std::runtime_error(Describe(place, reason))
{
}

const Function* FindFunction(std::string_view name)
{
    const auto* found = std::find_if(std::begin(kFunctions), std::end(kFunctions),
                                     [name](const Function& function) { return function.name == name; });
    return found == std::end(kFunctions) ? nullptr : found;
}

Bytes Evaluate(const Expression& body, Scope& scope)
{
    Output output;
    Append(body, scope, output);
    return std::move(output.bytes);
}

bool Extend(Bytes& value, const Expression& body, Scope& scope)
{
    if (body.kind != Expression::Kind::Sequence || body.arguments.empty() ||
        body.arguments[0].kind != Expression::Kind::Variable || FindValue(body.arguments[0], scope) != &value)
        return false;
    Output tail;
    std::for_each(body.arguments.begin() + 1, body.arguments.end(),
                  [&](const Expression& item) { Append(item, scope, tail); });
    if (tail.bytes.size() > kMaxBytes - value.size())
        throw CScenarioError(body.place, kTooLong);
    value.insert(value.end(), tail.bytes.begin(), tail.bytes.end());
    return true;
}

std::uint64_t EvaluateNumber(const Expression& number, Scope& scope)
{
    switch (number.kind)
    {
    case Expression::Kind::Number:
        return number.number;
    case Expression::Kind::Add:
        return Argument(number, 0, scope) + Argument(number, 1, scope);
    case Expression::Kind::Multiply:
        return Argument(number, 0, scope) * Argument(number, 1, scope);
    case Expression::Kind::Subtract: {
        const std::uint64_t left = Argument(number, 0, scope);
        const std::uint64_t right = Argument(number, 1, scope);
        if (right > left)
            throw CScenarioError(number.place, std::to_string(left) + " - " + std::to_string(right) + " is below 0");
        return left - right;
    }
    case Expression::Kind::Call:
        return number.function->number(number, scope);
    default:
        return BytesToNumber(number, Value(number, scope));
    }
}

std::uint32_t EvaluateKey(const Expression& number, Scope& scope)
{
    const std::uint64_t key = EvaluateNumber(number, scope);
    if (key > std::numeric_limits<std::uint32_t>::max())
        throw CScenarioError(number.place, "a key has at most 32 bits");
    return static_cast<std::uint32_t>(key);
}

const Bytes* FindValue(const Expression& variable, Scope& scope)
{
    if (!variable.arguments.empty())
    {
        const auto& items = Items(variable.name, scope);
        const auto found = items.find(EvaluateKey(variable.arguments[0], scope));
        return found == items.end() ? nullptr : &found->second;
    }
    const auto local = std::find_if(scope.locals.rbegin(), scope.locals.rend(),
                                    [&](const auto& entry) { return entry.first == variable.name; });
    if (local != scope.locals.rend())
        return &local->second;
    const auto found = scope.variables.find(variable.name);
    return found == scope.variables.end() || !found->second.plain ? nullptr : &*found->second.plain;
}

bool Matches(const Expression& pattern, BytesView bytes, Scope& scope)
{
    try
    {
        CMatcher matcher(bytes, scope);
        return matcher.Match(pattern) && matcher.Left().empty();
    }
    catch (const CScenarioError&)
    {
        return false;
    }
}

}  // namespace vorlansim

#include "phone/Evaluator.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace vorlansim
{
namespace
{

constexpr char kTooLong[] = "more than 16 MiB in one message";

/// Bytes under construction, and how many sub-blocks were written at this level.
struct Output
{
    Bytes bytes;
    std::size_t blocks = 0;
};

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

void AppendInteger(const Expression& call, Scope& scope, Output& output)
{
    AddNumber(call, output, Argument(call, 0, scope), call.function->width);
}

void AppendCounted(const Expression& call, Scope& scope, Output& output)
{
    const Output content = ArgumentBytes(call, 0, scope);
    AddNumber(call, output, content.bytes.size() / call.function->unit, call.function->width);
    Add(call, output, content.bytes);
}

/// The length counts header, payload and padding; the whole is a multiple of 4 bytes.
void AppendBlock(const Expression& call, Scope& scope, Output& output)
{
    const Function& format = *call.function;
    Bytes payload = ArgumentBytes(call, 1, scope).bytes;
    while ((payload.size() + format.HeaderSize()) % 4 != 0)
        payload.push_back(0);
    AddNumber(call, output, Argument(call, 0, scope), format.idWidth);
    output.bytes.insert(output.bytes.end(), format.fillers, 0);
    AddNumber(call, output, payload.size() + format.HeaderSize(), format.width);
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

void AppendCall(const Expression& call, Scope& scope, Output& output)
{
    switch (call.function->kind)
    {
    case Function::Kind::Integer:
        return AppendInteger(call, scope, output);
    case Function::Kind::Counted:
        return AppendCounted(call, scope, output);
    case Function::Kind::Block:
        return AppendBlock(call, scope, output);
    case Function::Kind::Blocks:
        return AppendBlocks(call, scope, output);
    case Function::Kind::Each:
        return AppendEach(call, scope, output);
    case Function::Kind::Pad:
        return AppendPadded(call, scope, output);
    case Function::Kind::Repeat:
        return AppendRepeated(call, scope, output);
    case Function::Kind::Slice:
        return AppendSlice(call, scope, output);
    default:
        return;  // numbers never stand in a body
    }
}

std::uint64_t CallNumber(const Expression& call, Scope& scope)
{
    switch (call.function->kind)
    {
    case Function::Kind::Count:
        return Items(call.arguments[0].name, scope).size();
    case Function::Kind::Next:
        return NextFree(call, scope);
    case Function::Kind::Find:
        return FindKey(call, scope);
    case Function::Kind::Length:
        return Length(call, scope);
    case Function::Kind::Units:
        return Length(call, scope) / 2;
    default:
        return BytesToNumber(call, ArgumentBytes(call, 0, scope).bytes);
    }
}

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
        AppendCall(expression, scope, output);
        break;
    default:
        break;  // numbers and wildcards never stand in a body
    }
}

}  // namespace

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
        return CallNumber(number, scope);
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

}  // namespace vorlansim

#pragma once

#include "scenario/Expression.h"

#include <map>
#include <optional>
#include <utility>

namespace vorlansim
{

struct Variable
{
    std::optional<Bytes> plain;
    std::map<std::uint32_t, Bytes> items;
};

/// What the phone remembers.
using Variables = std::map<std::string, Variable, std::less<>>;

/// Captures of one message and running loop variables; a later one hides an earlier one of the same name.
using Locals = std::vector<std::pair<std::string, Bytes>>;

struct Scope
{
    const Variables& variables;
    Locals& locals;
};

/// No message, and no text, becomes longer than this.
constexpr std::size_t kMaxBytes = std::size_t{16} * 1024 * 1024;

/// All throw CScenarioError: an unset variable, a number too large for its field.
Bytes Evaluate(const Expression& body, Scope& scope);
/// Puts what follows behind a value, where a body begins with this very value; otherwise false. So a phone's memory
/// grows without being copied each time.
bool Extend(Bytes& value, const Expression& body, Scope& scope);
std::uint64_t EvaluateNumber(const Expression& number, Scope& scope);
std::uint32_t EvaluateKey(const Expression& number, Scope& scope);
/// The bytes as a number; `at` is where they are needed.
std::uint64_t BytesToNumber(const Expression& at, BytesView bytes);

/// The value of a Variable node; null if it is unset.
const Bytes* FindValue(const Expression& variable, Scope& scope);

}  // namespace vorlansim

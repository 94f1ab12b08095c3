#pragma once

#include "Text.h"

#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

namespace vorlansim
{

/// A line of a scenario file.
struct Place
{
    std::shared_ptr<const std::string> file;
    int line = 0;
};

/// Something wrong in a scenario; what() is "FILE:LINE: reason".
class CScenarioError : public std::runtime_error
{
  public:
    CScenarioError(const Place& place, const std::string& reason);
};

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

struct Function;

/// A node of a body, a number or a pattern.
struct Expression
{
    enum class Kind
    {
        Literal,   ///< bytes as they are
        Number,    ///< as it is
        Variable,  ///< name, and a key if there is an argument
        Sequence,  ///< its arguments one after the other
        Add,
        Subtract,
        Multiply,
        Call,
        AnyByte,  ///< patterns only, as all that follow
        Rest,
        Capture,  ///< name and length
        CaptureRest
    };

    Kind kind = Kind::Sequence;
    Place place;
    Bytes bytes;
    std::uint64_t number = 0;
    std::string name;
    const Function* function = nullptr;
    std::vector<Expression> arguments;
};

/// Bytes under construction, and how many sub-blocks were written at this level.
struct Output
{
    Bytes bytes;
    std::size_t blocks = 0;
};

/// The header of a sub-block. The length counts header, payload and padding; the whole is a multiple of 4 bytes.
struct BlockFormat
{
    unsigned idWidth;
    unsigned fillers;
    unsigned lengthWidth;

    unsigned HeaderSize() const { return idWidth + fillers + lengthWidth; }
};

/// A function of the scenario language. `arguments` has a letter for each: n number, b bytes, v variable, and for loops
/// l, "name in variable". Exactly one of `append` and `number` is set.
struct Function
{
    std::string_view name;
    std::string_view arguments;
    void (*append)(const Expression& call, Scope& scope, Output& output);
    std::uint64_t (*number)(const Expression& call, Scope& scope);
    BlockFormat block;

    bool IsBlock() const { return block.idWidth != 0; }
};

const Function* FindFunction(std::string_view name);

/// No message, and no text, becomes longer than this.
constexpr std::size_t kMaxBytes = std::size_t{16} * 1024 * 1024;

/// All four throw CScenarioError: an unset variable, a number too large for its field.
Bytes Evaluate(const Expression& body, Scope& scope);
/// Puts what follows behind a value, where a body begins with this very value; otherwise false. So a phone's memory
/// grows without being copied each time.
bool Extend(Bytes& value, const Expression& body, Scope& scope);
std::uint64_t EvaluateNumber(const Expression& number, Scope& scope);
std::uint32_t EvaluateKey(const Expression& number, Scope& scope);

/// The value of a Variable node; null if it is unset.
const Bytes* FindValue(const Expression& variable, Scope& scope);

/// True if the whole of `bytes` matches; its captures are then in the scope. A pattern that needs an unset variable
/// does not match.
bool Matches(const Expression& pattern, BytesView bytes, Scope& scope);

}  // namespace vorlansim

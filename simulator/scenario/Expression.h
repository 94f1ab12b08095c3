#pragma once

#include "scenario/ScenarioError.h"
#include "scenario/Text.h"

namespace vorlansim
{

/// A function of the scenario language.
struct Function
{
    enum class Kind
    {
        Integer,  ///< in `width` bytes
        Counted,  ///< the count in `width` bytes, of units of `unit` bytes
        Block,    ///< id and length of these widths, with `fillers` between
        Blocks,
        Each,
        Pad,
        Repeat,
        Slice,
        Count,  ///< a number, as all that follow
        Next,
        Find,
        Length,
        Units,
        Number
    };

    std::string_view name;
    /// A letter for each: n number, b bytes, v variable, and for loops l, "name in variable".
    std::string_view arguments;
    Kind kind;
    unsigned width = 0;
    unsigned unit = 0;
    unsigned idWidth = 0;
    unsigned fillers = 0;

    bool MakesNumber() const { return kind >= Kind::Count; }
    bool IsBlock() const { return kind == Kind::Block; }
    unsigned HeaderSize() const { return idWidth + fillers + width; }
};

/// Null if there is none of this name.
const Function* FindFunction(std::string_view name);

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

}  // namespace vorlansim

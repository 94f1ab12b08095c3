#include "scenario/Expression.h"

#include <algorithm>
#include <iterator>

namespace vorlansim
{
namespace
{

using Kind = Function::Kind;

// In a block's name the first digit is the width of the id, the second the width of the length.
constexpr Function kFunctions[] = {
    {"u8", "n", Kind::Integer, 1},
    {"u16", "n", Kind::Integer, 2},
    {"u32", "n", Kind::Integer, 4},
    {"bytes8", "b", Kind::Counted, 1, 1},
    {"bytes16", "b", Kind::Counted, 2, 1},
    {"units8", "b", Kind::Counted, 1, 2},
    {"units16", "b", Kind::Counted, 2, 2},
    {.name = "block11", .arguments = "nb", .kind = Kind::Block, .width = 1, .idWidth = 1},
    {.name = "block12", .arguments = "nb", .kind = Kind::Block, .width = 2, .idWidth = 1, .fillers = 1},
    {.name = "block22", .arguments = "nb", .kind = Kind::Block, .width = 2, .idWidth = 2},
    {.name = "block14", .arguments = "nb", .kind = Kind::Block, .width = 4, .idWidth = 1, .fillers = 3},
    {"blocks", "b", Kind::Blocks},
    {"each", "lb", Kind::Each},
    {"pad", "nb", Kind::Pad},
    {"repeat", "nb", Kind::Repeat},
    {"slice", "bnn", Kind::Slice},
    {"count", "v", Kind::Count},
    {"next", "v", Kind::Next},
    {"find", "vb", Kind::Find},
    {"length", "b", Kind::Length},
    {"units", "b", Kind::Units},
    {"number", "b", Kind::Number},
};

}  // namespace

const Function* FindFunction(std::string_view name)
{
    const auto* found = std::find_if(std::begin(kFunctions), std::end(kFunctions),
                                     [name](const Function& function) { return function.name == name; });
    return found == std::end(kFunctions) ? nullptr : found;
}

}  // namespace vorlansim

#pragma once

#include "phone/Evaluator.h"

namespace vorlansim
{

/// True if the whole of `bytes` matches; its captures are then in the scope. A pattern that needs an unset variable
/// does not match.
bool Matches(const Expression& pattern, BytesView bytes, Scope& scope);

}  // namespace vorlansim

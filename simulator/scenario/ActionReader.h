#pragma once

#include "scenario/ExpressionReader.h"
#include "scenario/Scenario.h"

namespace vorlansim
{

/// All throw CScenarioError.
Action ReadAction(CExpressionReader& reader);
/// NAME = BYTES.
Action ReadSet(CExpressionReader& reader);
/// A condition behind its "if".
Guard ReadGuard(CExpressionReader& reader);

}  // namespace vorlansim

#pragma once

namespace host
{

/// Lets the n-th `operator new` of this thread from now throw, once; 1 is the next one, 0 lets none fail.
void FailNew(unsigned n);

/// True while a failure asked for with FailNew has not happened yet.
bool IsNewFailurePending();

}  // namespace host

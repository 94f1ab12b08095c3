#pragma once

#include <cstddef>

/// What tests control of the CoTaskMem blocks and BSTRs of this process, on every thread; as on the native build.
namespace host
{

/// BSTRs and CoTaskMem blocks that are alive, of those that were made since the first use of this header.
std::size_t LiveAllocations();

/// Lets the n-th BSTR or CoTaskMem allocation from now fail, once; 1 is the next one, 0 lets none fail.
void FailAllocation(unsigned n);

/// True while a failure asked for with FailAllocation has not happened yet.
bool IsFailurePending();

}  // namespace host

#pragma once

#include <cstddef>

/// What tests control of `operator new` in a program that links it. Freed memory is overwritten, so that a use of it
/// does not go unseen.
namespace host
{

/// Lets the n-th `new` of this thread from now on fail, once; 1 is the next one, 0 lets none fail.
void FailNew(unsigned n);

/// True while a failure asked for with FailNew has not happened yet.
bool IsNewFailurePending();

/// Counts the blocks of this size, from now on.
void CountBlocks(std::size_t size);
long LiveBlocks();

}  // namespace host

#pragma once

#include <windows.h>

/// What tests and fuzzers control of the stand-in. Native builds only.
namespace host
{

/// BSTRs and CoTaskMem blocks that are alive.
std::size_t LiveAllocations();

/// Lets the n-th BSTR or CoTaskMem allocation from now fail, once; 1 is the next one, 0 lets none fail.
void FailAllocation(unsigned n);

/// True while a failure asked for with FailAllocation has not happened yet.
bool IsFailurePending();

/// What GetTimeZoneInformation answers. At first it is UTC without daylight rules.
void SetTimeZone(const TIME_ZONE_INFORMATION& zone);
/// GetTimeZoneInformation fails until the next SetTimeZone.
void FailTimeZone();

}  // namespace host

#pragma once

#include "message/Platform.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#ifdef _WIN32
#include "support/MallocSpy.h"
#else
#include <host_control.h>
#endif

/// Neither null nor readable.
inline void* const kUnreadable = reinterpret_cast<void*>(8);

/// The result of an operation that had no memory.
constexpr std::uint32_t kNoMemory = 0x8007000E;

/// Fails the test when BSTRs or CoTaskMem blocks that were made during its life outlive it.
class CLeakCheck
{
  public:
    CLeakCheck() = default;
    CLeakCheck(const CLeakCheck&) = delete;
    CLeakCheck& operator=(const CLeakCheck&) = delete;
    ~CLeakCheck() { EXPECT_EQ(host::LiveAllocations(), m_before) << "allocations were not freed, or freed twice"; }

  private:
    const std::size_t m_before = host::LiveAllocations();
};

/// Runs `operation` again and again, each time with the next one of its allocations failing, until none failed. It must
/// then return `expected` and leave nothing allocated; so it also frees what it got when it succeeded.
template <typename Operation>
void FailEachAllocation(Operation operation, std::uint32_t expected = kNoMemory)
{
    for (unsigned n = 1;; ++n)
    {
        SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
        const CLeakCheck leaks;
        host::FailAllocation(n);
        const std::uint32_t result = operation();
        const bool failed = !host::IsFailurePending();
        host::FailAllocation(0);
        if (!failed)
        {
            EXPECT_GT(n, 1u) << "the operation allocates nothing";
            return;
        }
        EXPECT_EQ(result, expected);
    }
}

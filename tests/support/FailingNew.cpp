#include "support/FailingNew.h"

#include <cstdlib>
#include <new>

namespace
{

thread_local unsigned g_countdown = 0;

}  // namespace

void host::FailNew(unsigned n)
{
    g_countdown = n;
}

bool host::IsNewFailurePending()
{
    return g_countdown != 0;
}

// The other forms of new and delete come down to these.

void* operator new(std::size_t size)
{
    const bool mustFail = g_countdown != 0 && --g_countdown == 0;
    void* const block = mustFail ? nullptr : std::malloc(size != 0 ? size : 1);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

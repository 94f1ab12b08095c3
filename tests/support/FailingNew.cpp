#include "support/FailingNew.h"

#include <cstdlib>
#include <new>

namespace
{

thread_local unsigned g_countdown = 0;

void* Allocate(std::size_t size)
{
    const bool mustFail = g_countdown != 0 && --g_countdown == 0;
    return mustFail ? nullptr : std::malloc(size != 0 ? size : 1);
}

}  // namespace

void host::FailNew(unsigned n)
{
    g_countdown = n;
}

bool host::IsNewFailurePending()
{
    return g_countdown != 0;
}

// The forms for arrays are left as they are: what is tested allocates with containers.

void* operator new(std::size_t size)
{
    void* const block = Allocate(size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
    std::free(block);
}

#include "support/NewSpy.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>

namespace
{

thread_local unsigned t_countdown = 0;
std::atomic<std::size_t> g_countedSize = 0;
std::atomic<long> g_live = 0;

}  // namespace

void host::FailNew(unsigned n)
{
    t_countdown = n;
}

bool host::IsNewFailurePending()
{
    return t_countdown != 0;
}

void host::CountBlocks(std::size_t size)
{
    g_countedSize = size;
    g_live = 0;
}

long host::LiveBlocks()
{
    return g_live;
}

void* operator new(std::size_t size)
{
    void* block = t_countdown != 0 && --t_countdown == 0 ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (block == nullptr)
        throw std::bad_alloc();
    if (size == g_countedSize)
        ++g_live;
    return block;
}

void operator delete(void* block) noexcept
{
    if (block == nullptr)
        return;
    const std::size_t size = _msize(block);
    if (size == g_countedSize)
        --g_live;
    std::memset(block, 0xDD, size);
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}

#pragma once

#include <windows.h>

#include <memory>
#include <objbase.h>

namespace zelctl
{

struct TaskMemDeleter
{
    void operator()(void* block) const { CoTaskMemFree(block); }
};

/// Frees an indication that is one block. (The address of CoTaskMemFree itself is imported, so it is no constant.)
inline void ReleaseBlock(void* record)
{
    CoTaskMemFree(record);
}

/// Owns a CoTaskMem block, but not what pointers in it name.
template <typename Element>
using TaskMem = std::unique_ptr<Element, TaskMemDeleter>;

}  // namespace zelctl

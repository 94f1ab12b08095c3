#pragma once

#include <windows.h>

#include <cstdint>
#include <oleauto.h>

/// True if a pointer from outside may be followed: it is neither null nor unreadable.
inline bool IsReadable(const void* pointer)
{
    return pointer != nullptr && !IsBadCodePtr(reinterpret_cast<FARPROC>(reinterpret_cast<std::uintptr_t>(pointer)));
}

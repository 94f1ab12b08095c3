#pragma once

#include <windows.h>

#include <memory>
#include <new>

struct HandleClose
{
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
/// Owns an event, a mutex or a thread.
using CHandleOwner = std::unique_ptr<void, HandleClose>;

struct RegistryKeyClose
{
    using pointer = HKEY;
    void operator()(HKEY key) const { RegCloseKey(key); }
};
/// Owns an open registry key.
using CRegistryKeyOwner = std::unique_ptr<HKEY, RegistryKeyClose>;

/// A manual-reset event, not signalled; null if the system has none left.
inline CHandleOwner NewManualResetEvent()
{
    return CHandleOwner(CreateEventW(nullptr, TRUE, FALSE, nullptr));
}

/// The handle, for an owner that cannot live without it. Throws std::bad_alloc if there is none.
inline CHandleOwner Required(CHandleOwner handle)
{
    if (!handle)
        throw std::bad_alloc();
    return handle;
}

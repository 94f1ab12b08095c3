#pragma once

#include <windows.h>

#include <cstdint>
#include <tlhelp32.h>

/// The threads of this process.
inline int ThreadCount()
{
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    int count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    CloseHandle(snapshot);
    return count;
}

/// The open handles of this process, one by one: not every system answers GetProcessHandleCount.
inline int HandleCount()
{
    constexpr std::uintptr_t kHighest = 0x8000;
    int count = 0;
    DWORD flags = 0;
    for (std::uintptr_t value = 4; value < kHighest; value += 4)
        count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1 : 0;
    return count;
}

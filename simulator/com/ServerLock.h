#pragma once

#include <windows.h>

#include <objbase.h>

namespace vorlansim
{

/// While one exists the process must not end.
class CServerLock
{
  public:
    CServerLock() { Add(); }
    ~CServerLock() { Remove(); }
    CServerLock(const CServerLock&) = delete;
    CServerLock& operator=(const CServerLock&) = delete;

    static void Add() { CoAddRefServerProcess(); }
    static void Remove()
    {
        // From now on COM sends new clients to a new process.
        if (CoReleaseServerProcess() == 0 && s_idleEvent != nullptr)
            SetEvent(s_idleEvent);
    }

    /// The event that is set when the last lock is gone.
    static void SetIdleEvent(HANDLE event) { s_idleEvent = event; }

  private:
    static inline HANDLE s_idleEvent = nullptr;
};

}  // namespace vorlansim

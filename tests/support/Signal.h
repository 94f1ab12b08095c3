#pragma once

#include <windows.h>

/// An event that a test waits for; it gives up after a time that only a hang takes.
class Signal
{
  public:
    Signal() : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;
    ~Signal() { CloseHandle(m_event); }

    void Set() { SetEvent(m_event); }
    void Reset() { ResetEvent(m_event); }
    bool Wait() const { return WaitForSingleObject(m_event, 60000) == WAIT_OBJECT_0; }
    bool IsSet() const { return WaitForSingleObject(m_event, 0) == WAIT_OBJECT_0; }

  private:
    HANDLE m_event;
};

/// Waits until `condition()` holds; false if it never does.
template <typename Condition>
bool Eventually(Condition&& condition)
{
    for (int i = 0; i < 60000; ++i)
    {
        if (condition())
            return true;
        Sleep(1);
    }
    return false;
}

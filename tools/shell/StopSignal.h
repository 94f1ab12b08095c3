#pragma once

#include <windows.h>

namespace zelctl
{

/**
 * Ctrl-C and the closing of the console, as an event. The first one lets the command end by itself, so that no session
 * stays open in the link service; a second Ctrl-C ends the program at once. One object at a time.
 */
class CStopSignal
{
  public:
    CStopSignal();
    ~CStopSignal();
    CStopSignal(const CStopSignal&) = delete;
    CStopSignal& operator=(const CStopSignal&) = delete;

    /// Set when the command is to end.
    HANDLE Event() const { return m_stop; }
    bool IsSet() const { return WaitForSingleObject(m_stop, 0) == WAIT_OBJECT_0; }

  private:
    HANDLE m_stop;
};

}  // namespace zelctl

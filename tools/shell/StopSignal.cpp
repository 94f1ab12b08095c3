#include "shell/StopSignal.h"

#include <system_error>

namespace zelctl
{
namespace
{

/// The system ends the program this long after the console was closed, or earlier.
constexpr DWORD kFarewellMs = 5000;

HANDLE g_stop = nullptr;

BOOL WINAPI OnConsole(DWORD event)
{
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT)
    {
        if (WaitForSingleObject(g_stop, 0) == WAIT_OBJECT_0)
            return FALSE;
        SetEvent(g_stop);
        return TRUE;
    }
    // The program is ended when this function returns: leave the command the time to close.
    SetEvent(g_stop);
    Sleep(kFarewellMs);
    return TRUE;
}

}  // namespace

CStopSignal::CStopSignal() : m_stop(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    if (m_stop == nullptr)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
    g_stop = m_stop;
    SetConsoleCtrlHandler(&OnConsole, TRUE);
}

CStopSignal::~CStopSignal()
{
    SetConsoleCtrlHandler(&OnConsole, FALSE);
    CloseHandle(m_stop);
}

}  // namespace zelctl

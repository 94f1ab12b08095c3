#include "runtime/ZelThread.h"

#include "message/ExceptionFrame.h"
#include "message/Platform.h"

namespace
{

constexpr DWORD kMultithreaded = COINIT_MULTITHREADED | COINIT_SPEED_OVER_MEMORY;
constexpr DWORD kApartment = COINIT_APARTMENTTHREADED | COINIT_SPEED_OVER_MEMORY;

HANDLE NewManualResetEvent()
{
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

void Close(HANDLE& handle)
{
    if (handle != nullptr)
        CloseHandle(handle);
    handle = nullptr;
}

}  // namespace

CZelThread::~CZelThread()
{
    Stop(kDestructorStopMs);
}

std::uint32_t CZelThread::Start()
{
    CreateEvents();
    m_task = this;
    m_thread = CreateThread(nullptr, 0, &ThreadProcedure, this, 0, &m_threadId);
    if (m_thread == nullptr || m_stopEvent == nullptr || m_workEvent == nullptr || m_secondWorkEvent == nullptr)
        ThrowCode(ZEL_E_FAIL);
    return 0;
}

std::uint32_t CZelThread::Stop(std::uint32_t timeoutMs)
{
    return ResultOf([&] {
        if (m_stopEvent != nullptr)
            SetEvent(m_stopEvent);
        if (m_thread != nullptr && timeoutMs != 0 && WaitForSingleObject(m_thread, timeoutMs) == WAIT_TIMEOUT)
        {
            TerminateThread(m_thread, 0);
            OnThreadKilled();
        }
        CloseHandles();
        return 0u;
    });
}

void CZelThread::CreateEvents()
{
    const CAutoLock lock(m_handlesLock);
    m_stopEvent = NewManualResetEvent();
    m_workEvent = NewManualResetEvent();
    m_secondWorkEvent = NewManualResetEvent();
    m_handshakeRequest = NewManualResetEvent();
    m_handshakeReply = NewManualResetEvent();
}

void CZelThread::CloseHandles()
{
    const CAutoLock lock(m_handlesLock);
    Close(m_thread);
    Close(m_stopEvent);
    Close(m_workEvent);
    Close(m_secondWorkEvent);
    Close(m_handshakeRequest);
    Close(m_handshakeReply);
}

void CZelThread::Signal(HANDLE& event)
{
    const CAutoLock lock(m_handlesLock);
    if (event != nullptr)
        SetEvent(event);
}

bool CZelThread::Handshake()
{
    ResetEvent(m_handshakeReply);
    SetEvent(m_handshakeRequest);
    return WaitForSingleObject(m_handshakeReply, kHandshakeMs) == WAIT_OBJECT_0;
}

DWORD WINAPI CZelThread::ThreadProcedure(void* argument)
{
    if (IsReadable(argument))
        static_cast<CZelThread*>(argument)->RunWithCom();
    ExitThread(0);
}

void CZelThread::RunWithCom()
{
    const std::uint32_t threadId = GetCurrentThreadId();
    HRESULT initialised = CoInitializeEx(nullptr, kMultithreaded);
    if (initialised == RPC_E_CHANGED_MODE)
        initialised = CoInitializeEx(nullptr, kApartment);

    m_startStatus = ResultOf([&] { return OnThreadStart(threadId); });
    ResultOf([&] { return Run(threadId); });
    ResultOf([&] { return OnThreadExit(threadId); });

    // S_FALSE means that somebody else's hook had initialised COM here first; it stays theirs to undo.
    if (initialised == S_OK)
        CoUninitialize();
}

std::uint32_t CZelThread::Run(std::uint32_t threadId)
{
    HANDLE events[] = {m_stopEvent, m_workEvent, m_secondWorkEvent, m_handshakeRequest};
    HRESULT status = 0;
    while (status >= 0)
    {
        DWORD index = 0;
        status = CoWaitForMultipleHandles(0, m_waitTimeout, ARRAYSIZE(events), events, &index);
        if (status == RPC_S_CALLPENDING)
            status = static_cast<HRESULT>(OnWaitTimeout(threadId));
        else if (status >= 0 && !DispatchSignal(index, threadId))
            break;
    }
    return 0;
}

bool CZelThread::DispatchSignal(std::uint32_t index, std::uint32_t threadId)
{
    switch (index)
    {
    case 1:
        if (!ResetEvent(m_workEvent))
            return false;
        OnWorkSignal(threadId);
        return true;
    case 2:
        if (!ResetEvent(m_secondWorkEvent))
            return false;
        OnSecondSignal(threadId);
        return true;
    case 3:
        if (!ResetEvent(m_handshakeRequest))
            return false;
        SetEvent(m_handshakeReply);
        return true;
    default:
        return false;
    }
}

std::uint32_t CZelThread::OnThreadStart(std::uint32_t)
{
    return 0;
}

std::uint32_t CZelThread::OnThreadExit(std::uint32_t)
{
    return 0;
}

std::uint32_t CZelThread::OnWorkSignal(std::uint32_t threadId)
{
    return Forward(&CZelThreadTask::OnWorkSignal, threadId);
}

std::uint32_t CZelThread::OnSecondSignal(std::uint32_t threadId)
{
    return Forward(&CZelThreadTask::OnSecondSignal, threadId);
}

std::uint32_t CZelThread::OnWaitTimeout(std::uint32_t threadId)
{
    return Forward(&CZelThreadTask::OnWaitTimeout, threadId);
}

std::uint32_t CZelThread::Forward(Slot slot, std::uint32_t threadId)
{
    // A thread that is its own task, with nothing of its own to do, would call itself forever.
    if (m_task == this || !IsReadable(m_task))
        return 0;
    return ResultOf([&] {
        (m_task->*slot)(threadId);
        return 0u;
    });
}

#include "runtime/ZelThread.h"

#include "message/ExceptionFrame.h"
#include "message/Platform.h"

namespace
{

constexpr DWORD kMultithreaded = COINIT_MULTITHREADED | COINIT_SPEED_OVER_MEMORY;
constexpr DWORD kApartment = COINIT_APARTMENTTHREADED | COINIT_SPEED_OVER_MEMORY;

}  // namespace

CZelThread::~CZelThread()
{
    Stop(kDestructorStopMs);
}

std::uint32_t CZelThread::Start()
{
    CreateEvents();
    m_task = this;
    m_thread.reset(CreateThread(nullptr, 0, &ThreadProcedure, this, 0, &m_threadId));
    if (!m_thread || !m_stopEvent || !m_workEvent || !m_secondWorkEvent)
        ThrowCode(ZEL_E_FAIL);
    return 0;
}

std::uint32_t CZelThread::Stop(std::uint32_t timeoutMs)
{
    return ResultOf([&] {
        if (m_stopEvent)
            SetEvent(m_stopEvent.get());
        if (m_thread && timeoutMs != 0 && WaitForSingleObject(m_thread.get(), timeoutMs) == WAIT_TIMEOUT)
        {
            TerminateThread(m_thread.get(), 0);
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
    m_thread.reset();
    m_stopEvent.reset();
    m_workEvent.reset();
    m_secondWorkEvent.reset();
    m_handshakeRequest.reset();
    m_handshakeReply.reset();
}

void CZelThread::Signal(const CHandleOwner& event)
{
    const CAutoLock lock(m_handlesLock);
    if (event)
        SetEvent(event.get());
}

bool CZelThread::Handshake()
{
    ResetEvent(m_handshakeReply.get());
    SetEvent(m_handshakeRequest.get());
    return WaitForSingleObject(m_handshakeReply.get(), kHandshakeMs) == WAIT_OBJECT_0;
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
    HANDLE events[] = {m_stopEvent.get(), m_workEvent.get(), m_secondWorkEvent.get(), m_handshakeRequest.get()};
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
        if (!ResetEvent(m_workEvent.get()))
            return false;
        OnWorkSignal(threadId);
        return true;
    case 2:
        if (!ResetEvent(m_secondWorkEvent.get()))
            return false;
        OnSecondSignal(threadId);
        return true;
    case 3:
        if (!ResetEvent(m_handshakeRequest.get()))
            return false;
        SetEvent(m_handshakeReply.get());
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

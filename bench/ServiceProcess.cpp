#include "ServiceProcess.h"

#include "support/ComApartment.h"

#include <atomic>
#include <string>

namespace
{

constexpr wchar_t kStamp[] = L"exchange_bench_stamp";

/// The shared time stamp. The mapping lives as long as the process.
std::atomic<long long>& Stamp()
{
    static auto* stamp = [] {
        HANDLE mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, kStamp);
        return static_cast<std::atomic<long long>*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 4096));
    }();
    return *stamp;
}

/// An event that a measuring process and its service share.
HANDLE SharedEvent(const wchar_t* name, DWORD parent)
{
    return CreateEventW(nullptr, TRUE, FALSE, (std::wstring(name) + std::to_wstring(parent)).c_str());
}

std::wstring ProgramPath()
{
    wchar_t path[MAX_PATH] = {};
    return {path, GetModuleFileNameW(nullptr, path, MAX_PATH)};
}

}  // namespace

long long LastEventRaised()
{
    return Stamp();
}

MeasuredService::MeasuredService(DWORD context)
    : m_service(context),
      m_wanted(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      m_stop(CreateEventW(nullptr, FALSE, FALSE, nullptr))
{
    m_service.OffersBroker();
    m_service.RecordNothing();
    m_service.Answer(0x19, 0x0A, FakeLinkService::Bytes{0x0B, 1, 1, 1, 12, 0, 3, 0x07, 0xD6, 5, 4, 13, 2, 1, 0});
    m_service.Before("SendRaw", [this] { SetEvent(m_wanted); });
    m_thread = std::thread([this] { RaiseEvents(); });
}

MeasuredService::~MeasuredService()
{
    SetEvent(m_stop);
    m_thread.join();
    CloseHandle(m_stop);
    CloseHandle(m_wanted);
}

void MeasuredService::RaiseEvents()
{
    const ComApartment apartment;
    const HANDLE events[] = {m_stop, m_wanted};
    while (WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0 + 1)
    {
        Sleep(2);  // The send that asked for the event is over by then.
        Stamp() = Ticks();
        m_service.RaiseMessage(0x66, FakeLinkService::Bytes{0, 0, 0, 0x84, 1});
    }
}

int ServeUntilTold(DWORD parent)
{
    const ComApartment apartment;
    const MeasuredService service(CLSCTX_LOCAL_SERVER);
    HANDLE ready = SharedEvent(L"exchange_bench_ready", parent);
    HANDLE ends[] = {SharedEvent(L"exchange_bench_quit", parent), OpenProcess(SYNCHRONIZE, FALSE, parent)};
    SetEvent(ready);
    WaitForMultipleObjects(2, ends, FALSE, INFINITE);
    for (HANDLE handle : {ready, ends[0], ends[1]})
        CloseHandle(handle);
    return 0;
}

ServiceProcess::ServiceProcess() : m_quit(SharedEvent(L"exchange_bench_quit", GetCurrentProcessId()))
{
    HANDLE ready = SharedEvent(L"exchange_bench_ready", GetCurrentProcessId());
    std::wstring command = L"\"" + ProgramPath() + L"\" /serve " + std::to_wstring(GetCurrentProcessId());
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
    {
        CloseHandle(process.hThread);
        m_process = process.hProcess;
        m_ready = WaitForSingleObject(ready, 30000) == WAIT_OBJECT_0;
    }
    CloseHandle(ready);
}

ServiceProcess::~ServiceProcess()
{
    SetEvent(m_quit);
    if (m_process != nullptr)
    {
        WaitForSingleObject(m_process, 30000);
        CloseHandle(m_process);
    }
    CloseHandle(m_quit);
}

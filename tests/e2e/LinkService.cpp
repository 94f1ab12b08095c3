#include "e2e/LinkService.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace
{

constexpr DWORD kStartMs = 60000;
constexpr auto kPatience = std::chrono::seconds(20);

std::filesystem::path ProgramFolder()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).parent_path();
}

std::filesystem::path NewFile(const wchar_t* kind)
{
    static int number = 0;
    return std::filesystem::temp_directory_path() /
           (std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++number) + kind);
}

HANDLE StartVorlansim(const std::wstring& options)
{
    std::wstring command = L"\"" + (ProgramFolder() / L"vorlansim.exe").wstring() + L"\" " + options;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    // Wine now and then refuses to start a program right after another one has ended.
    for (int tries = 0; tries < 5 && process.hProcess == nullptr; ++tries)
        if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
            Sleep(200);
    if (process.hProcess == nullptr)
        return nullptr;
    CloseHandle(process.hThread);
    return process.hProcess;
}

void RunVorlansim(const std::wstring& options)
{
    HANDLE process = StartVorlansim(options);
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(WaitForSingleObject(process, kStartMs), WAIT_OBJECT_0);
    DWORD code = 1;
    GetExitCodeProcess(process, &code);
    EXPECT_EQ(code, 0u);
    CloseHandle(process);
}

std::wstring WriteScenario(const std::string& scenario)
{
    const auto path = NewFile(L".scenario");
    std::ofstream(path, std::ios::binary) << scenario;
    return path.wstring();
}

}  // namespace

const char* const kPhone = R"(
device 1 serial "350123451234567"
service 0x19 version 16.0
service 0x14 version 9.1
set clock = 01 03 u16(2006) u8(5) u8(17) u8(12) u8(30) u8(0)
on 0x19 0x0A 00 00
    reply 0x0B 01 blocks(block11(0x01, $clock))
on 0x19 0x01 00 01 block11(0x01, <new:9> 00)
    set clock = $new
    reply 0x02 01 blocks(block11(0x01, $clock))
on 0x19 0x1F 01 00
    reply 0x20 01 00
set file[1] = utf16"A"
set file[2] = utf16"B"
on 0x6D 0x84 00 00 <file_id:4>
    if set file[$file_id]
    reply 0x85 00 00 units16($file[$file_id])
on 0x6D 0x84 *
    reply 0x85 02
on 0x10 0x10 *
    set subscribed = 01
)";

std::string Shipped(const std::string& name)
{
    return "include \"" + (ProgramFolder() / "scenarios" / (name + ".scenario")).generic_string() + "\"\n";
}

Registration::Registration(const std::string& scenario)
{
    RunVorlansim(scenario.empty() ? L"/regserver" : L"/regserver --scenario \"" + WriteScenario(scenario) + L"\"");
}

Registration::~Registration()
{
    RunVorlansim(L"/unregserver");
}

LinkService::LinkService(const std::string& scenario) : m_trace(NewFile(L".trace").wstring())
{
    const std::wstring name = NewFile(L"").filename().wstring();
    HANDLE ready = CreateEventW(nullptr, TRUE, FALSE, (L"ready-" + name).c_str());
    m_stop = CreateEventW(nullptr, TRUE, FALSE, (L"stop-" + name).c_str());
    m_process = StartVorlansim(L"--quiet --scenario \"" + WriteScenario(scenario) + L"\" --trace \"" + m_trace +
                               L"\" --ready-event ready-" + name + L" --stop-event stop-" + name);
    HANDLE either[] = {ready, m_process};
    EXPECT_EQ(WaitForMultipleObjects(2, either, FALSE, kStartMs), WAIT_OBJECT_0) << "vorlansim has not started";
    CloseHandle(ready);
}

LinkService::~LinkService()
{
    SetEvent(m_stop);
    if (WaitForSingleObject(m_process, kStartMs) != WAIT_OBJECT_0)
        Kill();
    CloseHandle(m_process);
    CloseHandle(m_stop);
}

void LinkService::Kill()
{
    TerminateProcess(m_process, 1);
    WaitForSingleObject(m_process, kStartMs);
}

std::string LinkService::Trace() const
{
    std::ostringstream text;
    text << std::ifstream(std::filesystem::path(m_trace), std::ios::binary).rdbuf();
    return text.str();
}

int LinkService::TraceCount(const std::string& text) const
{
    const std::string trace = Trace();
    int count = 0;
    for (auto at = trace.find(text); at != std::string::npos; at = trace.find(text, at + 1))
        ++count;
    return count;
}

NothingLeft::~NothingLeft()
{
    // Wine's marshalling leaves the descriptor of the array that comes with a message.
    const auto messages = static_cast<std::size_t>(m_service.TraceCount("<= indicate"));
    EXPECT_LE(host::LiveAllocations(), m_before + messages) << "allocations were not freed";
}

TimeNow ReadClock(ZelConnection connection)
{
    TimeRecord record = {};
    EXPECT_EQ(ZelSendMessage(connection, ZEL_TIME_READ, &record), ZEL_OK);
    return record.now;
}

std::u16string FileName(ZelConnection connection, std::uint32_t id, std::uint32_t* result)
{
    FileLookupRecord record = {};
    record.file_id = id;
    const std::uint32_t sent = ZelSendMessage(connection, ZEL_FILE_NAME_OF_ID, &record);
    if (result != nullptr)
        *result = sent;
    const std::u16string name(record.name, record.name + SysStringLen(record.name));
    SysFreeString(record.name);
    return name;
}

void RunOnThread(Apartment apartment, const std::function<void()>& body)
{
    std::thread([&] {
        if (apartment != Apartment::None)
            CoInitializeEx(nullptr, apartment == Apartment::Single ? COINIT_APARTMENTTHREADED : COINIT_MULTITHREADED);
        body();
        if (apartment != Apartment::None)
            CoUninitialize();
    }).join();
}

void Counter::Add()
{
    const std::scoped_lock lock(m_lock);
    ++m_value;
    m_changed.notify_all();
}

int Counter::Value() const
{
    const std::scoped_lock lock(m_lock);
    return m_value;
}

bool Counter::WaitFor(int value) const
{
    std::unique_lock lock(m_lock);
    return m_changed.wait_for(lock, kPatience, [&] { return m_value >= value; });
}

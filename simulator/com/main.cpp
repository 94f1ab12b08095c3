#include "com/ComServer.h"
#include "com/EventHandle.h"
#include "com/Options.h"
#include "com/Registration.h"
#include "com/ServerLock.h"
#include "scenario/ScenarioParser.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <system_error>

using namespace vorlansim;

namespace
{

constexpr int kSuccess = 0;
constexpr int kFailure = 1;
constexpr int kWrongScenario = 2;

/// How long a client may keep the program from ending.
constexpr Milliseconds kPatience{2000};

/// Set when the program is to end.
const CEventHandle* g_stop = nullptr;

std::string ToUtf8(const std::wstring& text)
{
    const std::u16string units(text.begin(), text.end());
    return vorlansim::ToUtf8(units);
}

std::filesystem::path ProgramPath()
{
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

int Report(const std::string& reason, int code)
{
    std::fprintf(stderr, "%s\n", reason.c_str());
    return code;
}

int ReportFailure(const std::string& what, HRESULT result)
{
    return Report(what + ": " + ToHex(static_cast<std::uint32_t>(result), 8) + " " +
                      std::system_category().message(static_cast<int>(result)),
                  kFailure);
}

BOOL WINAPI OnConsole(DWORD)
{
    g_stop->Set();
    return TRUE;
}

void WriteLine(std::FILE* file, const std::string& line)
{
    std::fputs((line + "\n").c_str(), file);
    std::fflush(file);
}

/// False if the file cannot be written. Processes that COM starts one after the other share the file.
bool OpenTrace(const Options& options, CTrace& trace)
{
    if (!options.quiet && !options.startedByCom)
        trace.AddOutput([](const std::string& line) { WriteLine(stdout, line); });
    if (options.trace.empty())
        return true;
    std::FILE* file = _wfopen(options.trace.c_str(), options.startedByCom ? L"ab" : L"wb");
    if (file != nullptr)
        trace.AddOutput([file](const std::string& line) { WriteLine(file, line); });
    return file != nullptr;
}

void WatchForStop(const Options& options)
{
    g_stop = new CEventHandle(options.stopEvent);
    SetConsoleCtrlHandler(OnConsole, TRUE);
    CServerLock::SetIdleEvent(g_stop->Get());
    if (!options.startedByCom)
        CServerLock::Add();
}

int Serve(const Options& options, Scenario scenario)
{
    // These live as long as the process: a client may be inside a call until the very end.
    auto& trace = *new CTrace();
    if (!OpenTrace(options, trace))
        return Report("cannot write " + ToUtf8(options.trace.wstring()), kFailure);
    auto& phone = *new CPhone(std::move(scenario), trace, [](std::uint32_t code) {
        std::fflush(nullptr);
        TerminateProcess(GetCurrentProcess(), code);
    });
    WatchForStop(options);
    CComServer server(phone);
    const HRESULT result = server.Register(CLSCTX_LOCAL_SERVER);
    if (FAILED(result))
        return ReportFailure("cannot register the class object", result);
    if (!options.startedByCom)
        WriteLine(stdout, "ready");
    const CEventHandle ready(options.readyEvent);
    ready.Set();
    g_stop->Wait();
    server.Revoke();
    phone.Stop(kPatience);
    return kSuccess;
}

int Check(const std::filesystem::path& path)
{
    const CScript script(LoadScenario(path));
    WriteLine(stdout, ToUtf8(path.wstring()) + ": valid, " + std::to_string(script.Source().rules.size()) + " rules");
    return kSuccess;
}

/// What COM puts behind the program's name when it starts it.
std::wstring ServerArguments(const Options& options)
{
    const auto quote = [](const wchar_t* name, const std::filesystem::path& path) {
        return path.empty() ? std::wstring()
                            : std::wstring(L" --") + name + L" \"" + std::filesystem::absolute(path).wstring() + L"\"";
    };
    return quote(L"scenario", options.scenario) + quote(L"trace", options.trace);
}

int Register(const Options& options)
{
    const HRESULT result = RegisterServer(ProgramPath(), ServerArguments(options));
    return SUCCEEDED(result) ? kSuccess : ReportFailure("cannot register (administrator rights?)", result);
}

int Unregister()
{
    const HRESULT result = UnregisterServer();
    return SUCCEEDED(result) ? kSuccess : ReportFailure("cannot unregister", result);
}

int Run(const Options& options)
{
    if (!options.error.empty())
        return Report(ToUtf8(options.error) + "\n\n" + kUsage, kFailure);
    const std::filesystem::path scenario =
        options.scenario.empty() ? ProgramPath().parent_path() / L"scenarios" / L"default.scenario" : options.scenario;
    switch (options.mode)
    {
    case Options::Mode::Help:
        std::fputs(kUsage, stdout);
        return kSuccess;
    case Options::Mode::Register:
        return Register(options);
    case Options::Mode::Unregister:
        return Unregister();
    case Options::Mode::Check:
        return Check(scenario);
    default:
        return Serve(options, LoadScenario(scenario));
    }
}

int RunGuarded(std::span<wchar_t* const> arguments)
{
    try
    {
        return Run(ReadOptions(arguments));
    }
    catch (const CScenarioError& error)
    {
        return Report(error.what(), kWrongScenario);
    }
    catch (const std::exception& error)
    {
        return Report(error.what(), kFailure);
    }
}

}  // namespace

int main()
{
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    const HRESULT apartment = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (FAILED(apartment) || arguments == nullptr)
        return ReportFailure("cannot start", apartment);
    const int code = RunGuarded({arguments + 1, static_cast<std::size_t>(count - 1)});
    CoUninitialize();
    std::fflush(nullptr);
    // Not by returning: a client that never comes back from an event must not keep the process.
    ExitProcess(static_cast<UINT>(code));
}

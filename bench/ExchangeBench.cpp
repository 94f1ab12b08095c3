// What a request and an indication cost through the library, beside the same exchange by hand on the service's COM
// interfaces. Both variants take turns, with a service in this process and with one in another.
#include "BareClient.h"
#include "ServiceProcess.h"
#include "support/ComApartment.h"
#include "support/TypeLibrary.h"
#include "zelapi/full_access.h"
#include "zelapi/time.h"
#include "zelapi/zelapi.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <tlhelp32.h>
#include <vector>

namespace
{

constexpr int kConnections = 64;

struct Variant
{
    const char* name;
    std::vector<double> rounds;  // Microseconds for one exchange.
};

double Microseconds(long long ticks)
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(ticks) * 1e6 / static_cast<double>(frequency.QuadPart);
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void Require(bool condition, const char* what)
{
    if (!condition)
        throw std::runtime_error(what);
}

/// The first variant is the library. It is compared with another round by round, because the machine may be slower in
/// some rounds than in others.
void Report(const char* title, const std::vector<Variant>& variants)
{
    const std::vector<double>& library = variants[0].rounds;
    std::printf("%s, median of %zu rounds\n", title, library.size());
    for (const Variant& variant : variants)
    {
        std::printf("  %-38s %9.2f us", variant.name, Median(variant.rounds));
        std::vector<double> ratios;
        for (std::size_t i = 0; i < library.size(); ++i)
            ratios.push_back(library[i] / variant.rounds[i]);
        if (&variant != &variants[0])
            std::printf("   library / this = %.3f", Median(ratios));
        std::printf("\n");
    }
}

class OpenConnection
{
  public:
    OpenConnection() { Require(ZelOpenConnection(1, &m_handle) == ZEL_OK, "the connection opens"); }
    OpenConnection(const OpenConnection&) = delete;
    OpenConnection& operator=(const OpenConnection&) = delete;
    ~OpenConnection() { ZelCloseConnection(m_handle); }

    operator ZelConnection() const { return m_handle; }

  private:
    ZelConnection m_handle = nullptr;
};

template <typename Exchange>
double MicrosecondsForOne(int count, Exchange&& exchange)
{
    const long long start = Ticks();
    for (int i = 0; i < count; ++i)
        exchange();
    return Microseconds(Ticks() - start) / count;
}

void MeasureRequests(const char* title, int rounds, int count)
{
    const OpenConnection library;
    const BareClient bare;
    Require(bare.IsOpen(), "the bare client opens");
    std::vector<Variant> variants = {{"library", {}}, {"by hand", {}}, {"by hand, through the interface table", {}}};
    for (int round = 0; round <= rounds; ++round)
    {
        TimeRecord record = {};
        const double times[] = {
            MicrosecondsForOne(count,
                               [&] {
                                   Require(ZelSendMessage(library, ZEL_TIME_READ, &record) == ZEL_OK &&
                                               record.now.year == 2006,
                                           "the library reads the time");
                               }),
            MicrosecondsForOne(count, [&] { Require(bare.ReadTime(record.now), "the bare client reads the time"); }),
            MicrosecondsForOne(
                count, [&] { Require(bare.ReadTimeThroughTable(record.now), "the bare client reads the time"); }),
        };
        for (std::size_t i = 0; round != 0 && i < variants.size(); ++i)
            variants[i].rounds.push_back(times[i]);
    }
    Report(title, variants);
}

/// Takes the time of the arrival of events.
class Arrivals
{
  public:
    Arrivals() : m_arrived(CreateEventW(nullptr, FALSE, FALSE, nullptr)) { s_current = this; }
    Arrivals(const Arrivals&) = delete;
    Arrivals& operator=(const Arrivals&) = delete;
    ~Arrivals() { CloseHandle(m_arrived); }

    void Arrive()
    {
        m_time = Ticks();
        SetEvent(m_arrived);
    }
    static void __stdcall Callback(uint32_t, uint32_t, void*) { s_current->Arrive(); }

    /// The median time from the service to the application.
    template <typename Ask>
    double MedianOf(int count, Ask&& ask)
    {
        std::vector<double> times;
        for (int i = 0; i < count; ++i)
        {
            ask();
            Require(WaitForSingleObject(m_arrived, 10000) == WAIT_OBJECT_0, "the event arrives");
            times.push_back(Microseconds(m_time - LastEventRaised()));
        }
        return Median(times);
    }

  private:
    static inline Arrivals* s_current = nullptr;
    HANDLE m_arrived;
    std::atomic<long long> m_time = 0;
};

void MeasureIndications(const char* title, int rounds, int count)
{
    Arrivals arrivals;
    std::vector<Variant> variants = {
        {"library", {}}, {"by hand, delivered on a thread", {}}, {"by hand, on the service's thread", {}}};
    BareClient bare;
    Require(bare.IsOpen(), "the bare client opens");
    for (int round = 0; round <= rounds; ++round)
    {
        std::vector<double> times;
        {
            const OpenConnection library;
            ZelRegisterCallback(library, ZEL_REGISTER, &Arrivals::Callback);
            times.push_back(arrivals.MedianOf(count, [&] { bare.AskForEvent(); }));
        }
        for (const auto delivery :
             {BareClient::Events::Delivery::OnOwnThread, BareClient::Events::Delivery::OnServiceThread})
        {
            const BareClient::Events events(bare, delivery, [&] { arrivals.Arrive(); });
            times.push_back(arrivals.MedianOf(count, [&] { bare.AskForEvent(); }));
        }
        for (std::size_t i = 0; round != 0 && i < variants.size(); ++i)
            variants[i].rounds.push_back(times[i]);
    }
    Report(title, variants);
}

struct Usage
{
    double threads = 0;
    double heap = 0;  // Bytes in busy blocks.
};

double ThreadsOfThisProcess()
{
    double threads = 0;
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        if (entry.th32OwnerProcessID == GetCurrentProcessId())
            ++threads;
    CloseHandle(snapshot);
    return threads;
}

double BusyBytesOf(HANDLE heap)
{
    double bytes = 0;
    PROCESS_HEAP_ENTRY entry = {};
    HeapLock(heap);
    while (HeapWalk(heap, &entry))
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0)
            bytes += entry.cbData;
    HeapUnlock(heap);
    return bytes;
}

Usage CurrentUsage()
{
    Usage usage;
    usage.threads = ThreadsOfThisProcess();
    HANDLE heaps[64];
    const DWORD count = std::min<DWORD>(GetProcessHeaps(64, heaps), 64);
    for (DWORD i = 0; i < count; ++i)
        usage.heap += BusyBytesOf(heaps[i]);
    return usage;
}

void MeasureMemory(const char* title)
{
    {
        const OpenConnection warmUp;
    }
    const Usage before = CurrentUsage();
    const std::vector<OpenConnection> open(kConnections);
    const Usage after = CurrentUsage();
    std::printf("%s, mean of %d\n", title, kConnections);
    std::printf("  threads                     %9.2f\n", (after.threads - before.threads) / kConnections);
    std::printf("  heap blocks                 %9.2f KiB\n", (after.heap - before.heap) / kConnections / 1024);
}

void MeasureAll()
{
    const ComApartment apartment;
    Require(SUCCEEDED(RegisterTypeLibrary()), "the type library is registered");
    {
        const MeasuredService service(CLSCTX_INPROC_SERVER);
        MeasureRequests("Request, service in this process", 201, 200);
        MeasureIndications("Indication, service in this process", 51, 9);
        MeasureMemory("Open connection, service in this process");
    }
    const ServiceProcess service;
    Require(service.IsReady(), "the service process starts");
    // Wine's service may hang when the last object of an interface goes right after a call. It keeps these.
    const BareClient keeper;
    Require(keeper.IsOpen(), "the bare client opens");
    MeasureRequests("Request, service in another process", 201, 10);
    MeasureIndications("Indication, service in another process", 51, 9);
    MeasureMemory("Open connection, service in another process");
}

}  // namespace

int main(int count, char** arguments)
{
    if (count > 2 && std::string_view(arguments[1]) == "/serve")
        return ServeUntilTold(std::strtoul(arguments[2], nullptr, 10));
    try
    {
        MeasureAll();
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "failed: %s\n", failure.what());
        return 1;
    }
    return 0;
}

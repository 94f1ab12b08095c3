#include "commands/WatchCommand.h"

#include "commands/Watcher.h"
#include "shell/Failure.h"
#include "shell/ServiceNames.h"

#include <algorithm>

namespace zelctl
{
namespace
{

constexpr char kConnection[] = "connection";
constexpr std::uint32_t kMostSeconds = 1'000'000;

/// What is to be watched.
struct Selection
{
    std::vector<const Module*> modules;
    bool connectionEvents = false;
};

Selection Everything(Modules modules)
{
    Selection everything;
    std::copy_if(modules.begin(), modules.end(), std::back_inserter(everything.modules),
                 [](const Module* module) { return !module->indications.empty(); });
    everything.connectionEvents = true;
    return everything;
}

[[noreturn]] void ThrowUnknown(const std::string& name, const Selection& everything)
{
    std::string known = kConnection;
    for (const Module* module : everything.modules)
        known += ", " + ServiceNameOf(module->resource);
    throw CUsageError("nothing to watch is called \"" + name + "\"; there are " + known);
}

Selection SelectionOf(std::span<const std::string> names, Modules modules)
{
    Selection everything = Everything(modules);
    if (names.empty())
        return everything;
    Selection selection;
    for (const std::string& name : names)
    {
        const auto module = std::find_if(everything.modules.begin(), everything.modules.end(),
                                         [&](const Module* known) { return ServiceNameOf(known->resource) == name; });
        if (name == kConnection)
            selection.connectionEvents = true;
        else if (module == everything.modules.end())
            ThrowUnknown(name, everything);
        else if (std::find(selection.modules.begin(), selection.modules.end(), *module) == selection.modules.end())
            selection.modules.push_back(*module);
    }
    return selection;
}

void Subscribe(CConnection& phone, const Selection& selection)
{
    for (const Module* module : selection.modules)
        if (module->listen != nullptr)
            module->listen(phone);
        else
            phone.Subscribe(module->resource, ZEL_REGISTER);
}

void Unsubscribe(CConnection& phone, const Selection& selection)
{
    for (const Module* module : selection.modules)
        if (module->listen == nullptr)
            phone.Subscribe(module->resource, ZEL_UNREGISTER);
}

void ShowArrival(const COutput& output, const Arrival& arrival)
{
    if (arrival.indication == nullptr)
        return output.ShowNext({{"time", arrival.time}, {"kind", "connection event"}},
                               arrival.time + "  connection event", Value::object());
    const std::string service = ServiceNameOf(arrival.module->resource);
    output.ShowNext({{"time", arrival.time},
                     {"kind", "indication"},
                     {"service", service},
                     {"id", Hex(arrival.indication->id, 4)},
                     {"name", arrival.indication->name},
                     {"fields", arrival.fields}},
                    arrival.time + "  " + service + ": " + arrival.indication->name, arrival.fields);
}

/// How long a watch goes on.
class CLimits
{
  public:
    explicit CLimits(const CArguments& arguments)
        : m_left(arguments.OptionNumber("--count", {1})), m_seconds(arguments.OptionNumber("--for", {1, kMostSeconds}))
    {
    }

    void Start() { m_end = GetTickCount64() + std::uint64_t{m_seconds.value_or(0)} * 1000; }
    void CountOne()
    {
        if (m_left)
            --*m_left;
    }

    bool HasEnough() const { return m_left == 0U; }
    bool IsTimeOver() const { return WaitMs() == 0; }

    DWORD WaitMs() const
    {
        if (!m_seconds)
            return INFINITE;
        const std::uint64_t now = GetTickCount64();
        return static_cast<DWORD>(m_end - std::min(now, m_end));
    }

    /// Throws CIncomplete when fewer arrived than were asked for.
    void Check() const
    {
        if (m_left && *m_left != 0)
            throw CIncomplete("watching", std::nullopt,
                              {"The time was over; " + std::to_string(*m_left) + " more should have arrived.", ""});
    }

  private:
    std::optional<std::uint32_t> m_left;
    std::optional<std::uint32_t> m_seconds;
    std::uint64_t m_end = 0;
};

void ShowArrivals(const COutput& output, CWatcher& watcher, CLimits& limits)
{
    while (!limits.HasEnough())
    {
        const auto arrival = watcher.Take();
        if (!arrival)
            return;
        ShowArrival(output, *arrival);
        limits.CountOne();
    }
}

void ShowUntilEnd(const CContext& context, CWatcher& watcher, CLimits& limits)
{
    const HANDLE events[] = {context.stop.Event(), watcher.Arrived()};
    limits.Start();
    while (!context.stop.IsSet() && !limits.HasEnough() && !limits.IsTimeOver())
    {
        WaitForMultipleObjects(2, events, FALSE, limits.WaitMs());
        ShowArrivals(context.output, watcher, limits);
    }
}

void Watch(CContext& context)
{
    CLimits limits(context.arguments);
    const Selection selection = SelectionOf(context.arguments.Words(), context.modules);
    CConnection& phone = context.Phone();
    CWatcher watcher(phone, selection.modules, selection.connectionEvents);
    Subscribe(phone, selection);
    ShowUntilEnd(context, watcher, limits);
    Unsubscribe(phone, selection);
    if (!context.stop.IsSet())
        limits.Check();
}

constexpr Option kOptions[] = {
    {"--for", "SECONDS", "ends after this time"},
    {"--count", "N", "ends when so many have arrived"},
};

}  // namespace

const Command kWatchCommand = {
    "watch",
    "[SERVICE...]",
    "shows what the phone says on its own, until Ctrl-C",
    "Without a service it shows everything: the indications of every service that has some, and the events of the\n"
    "connection, which are called \"connection\" here. With both options the exit code is 3 when the time is over "
    "before\n"
    "N have arrived.",
    kOptions,
    Watch};

}  // namespace zelctl

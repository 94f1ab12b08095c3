#include "commands/Watcher.h"

#include "shell/DateTime.h"

#include <system_error>

namespace zelctl
{
namespace
{

HANDLE NewEvent()
{
    const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    if (event == nullptr)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
    return event;
}

}  // namespace

CWatcher::CWatcher(CConnection& phone, Modules modules, bool connectionEvents)
    : m_phone(phone), m_modules(modules), m_connectionEvents(connectionEvents), m_arrived(NewEvent())
{
    phone.Register(*this);
}

CWatcher::~CWatcher()
{
    m_phone.Unregister(*this);
    CloseHandle(m_arrived);
}

std::optional<Arrival> CWatcher::Take()
{
    const std::scoped_lock guard(m_lock);
    if (m_arrivals.empty())
        return std::nullopt;
    Arrival first = std::move(m_arrivals.front());
    m_arrivals.pop_front();
    return first;
}

void CWatcher::OnNotification()
{
    if (m_connectionEvents)
        Keep(nullptr, nullptr, nullptr);
}

void CWatcher::OnMessage(std::uint32_t messageId, void* record)
{
    for (const Module* module : m_modules)
        for (const Indication& indication : module->indications)
            if (indication.id == messageId)
            {
                Keep(module, &indication, record);
                if (indication.release != nullptr)
                    indication.release(record);
            }
}

void CWatcher::Keep(const Module* module, const Indication* indication, const void* record)
try
{
    Value fields = indication == nullptr ? Value::object() : indication->describe(record);
    const std::scoped_lock guard(m_lock);
    m_arrivals.push_back({FormatDateTime(LocalNow()), module, indication, std::move(fields)});
    SetEvent(m_arrived);
}
catch (const std::exception&)
{
    // Out of memory: the library must not see an exception, and there is nobody to tell.
}

}  // namespace zelctl

#pragma once

#include "shell/Command.h"

#include <windows.h>

#include <deque>
#include <mutex>
#include <optional>
#include <span>
#include <string>

namespace zelctl
{

/// Something that arrived.
struct Arrival
{
    std::string time;
    const Module* module;          ///< Null for a connection event.
    const Indication* indication;  ///< Null for a connection event.
    Value fields;
};

/**
 * Takes what arrives from a phone, as long as it lives, and keeps it for the thread that shows it. The library delivers
 * on its own threads and waits meanwhile, so showing, which may block, is not done there.
 */
class CWatcher final : public IZelNotification
{
  public:
    CWatcher(CConnection& phone, Modules modules, bool connectionEvents);
    ~CWatcher();
    CWatcher(const CWatcher&) = delete;
    CWatcher& operator=(const CWatcher&) = delete;

    /// Set when there is something to take.
    HANDLE Arrived() const { return m_arrived; }
    std::optional<Arrival> Take();

    void __stdcall OnNotification() override;
    void __stdcall OnMessage(std::uint32_t messageId, void* record) override;

  private:
    void Keep(const Module* module, const Indication* indication, const void* record);

    CConnection& m_phone;
    const Modules m_modules;
    const bool m_connectionEvents;
    const HANDLE m_arrived;
    std::mutex m_lock;
    std::deque<Arrival> m_arrivals;
};

}  // namespace zelctl

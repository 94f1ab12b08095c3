#pragma once

#include "support/Signal.h"
#include "zelapi/full_access.h"
#include "zelapi/messaging.h"

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// Writes down what an application's targets receive: "name kind id record". One at a time, because a callback knows of
/// no object.
class Recorder
{
  public:
    Recorder() { s_current = this; }
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;
    ~Recorder() { s_current = nullptr; }

    /// One of several callbacks, named "callback<Number>".
    template <int Number>
    static void __stdcall Callback(uint32_t kind, uint32_t id, void* record)
    {
        s_current->Note("callback" + std::to_string(Number), kind, id, record);
    }

    void Note(const std::string& name, uint32_t kind, uint32_t id, void* record)
    {
        Append(name + ' ' + std::to_string(kind) + ' ' + std::to_string(id) + ' ' + Describe(id, record));
        if (onDelivery)
            onDelivery(name, record);
    }
    void Append(const std::string& entry)
    {
        const std::scoped_lock guard(m_lock);
        m_entries.push_back(entry);
    }

    std::vector<std::string> Entries() const
    {
        const std::scoped_lock guard(m_lock);
        return m_entries;
    }
    std::vector<std::string> TakeEntries()
    {
        const std::scoped_lock guard(m_lock);
        return std::exchange(m_entries, {});
    }
    bool WaitFor(std::size_t count) const
    {
        return Eventually([&] { return Entries().size() >= count; });
    }

    /// Runs inside each delivery, with the target's name and the record.
    std::function<void(const std::string&, void*)> onDelivery;

  private:
    static std::string Describe(uint32_t id, void* record)
    {
        if (record == nullptr)
            return "null";
        if (id == ZEL_MESSAGING_EVENT)
            return std::to_string(static_cast<const MessagingEventRecord*>(record)->event);
        const auto& raw = *static_cast<const RawMessage*>(record);
        std::string out = "raw";
        for (uint32_t i = 0; i < raw.count; ++i)
            out += ' ' + std::to_string(raw.bytes[i]);
        return out;
    }

    static inline Recorder* s_current = nullptr;
    mutable std::mutex m_lock;
    std::vector<std::string> m_entries;
};

/// A notification interface that writes to the recorder.
class RecordingTarget : public IZelNotification
{
  public:
    RecordingTarget(Recorder& recorder, std::string name) : m_recorder(recorder), m_name(std::move(name)) {}

    void __stdcall OnNotification() override { m_recorder.Note(m_name, ZEL_CONNECTION_EVENT, 0, nullptr); }
    void __stdcall OnMessage(uint32_t id, void* record) override
    {
        m_recorder.Note(m_name, ZEL_INDICATION, id, record);
    }

  private:
    Recorder& m_recorder;
    std::string m_name;
};

#pragma once

#include "phone/Event.h"
#include "phone/Threads.h"
#include "phone/Trace.h"

#include <array>
#include <deque>
#include <map>
#include <memory>
#include <optional>

namespace vorlansim
{

/// A client as the phone reaches it: its sinks, and the events on their way to them. May be used from any thread.
class CListener : public std::enable_shared_from_this<CListener>
{
  public:
    /// The number of a time in which the client is open and has a sink at both interfaces.
    using Generation = std::uint64_t;

    CListener(unsigned number, CTrace& trace, CThreads& threads) : m_number(number), m_trace(trace), m_threads(threads)
    {
    }

    unsigned Number() const { return m_number; }

    // All that change the client return a generation if one begins.
    std::optional<Generation> Open();
    std::optional<Generation> Advise(Events which, std::shared_ptr<IEventSink> sink, std::uint32_t& cookie);
    /// False for an unknown cookie.
    bool Unadvise(Events which, std::uint32_t cookie);
    /// Forgets the sinks and what is on its way to them.
    void Close();

    bool IsOpen() const;
    bool IsCurrent(Generation generation) const;

    /// Queues an event. The events are delivered one at a time, in order: this one on this thread if `here` and no
    /// other delivery is going on, so that it is over when this returns.
    void Post(const Event& event, bool here);

  private:
    using Sinks = std::map<std::uint32_t, std::shared_ptr<IEventSink>>;

    template <typename Change>
    std::optional<Generation> Apply(Change change);
    bool IsReady() const { return m_isOpen && !m_sinks[0].empty() && !m_sinks[1].empty(); }
    Sinks& SinksOf(Events which) { return m_sinks[which == Events::First ? 0 : 1]; }
    void DeliverNext();
    bool HasMore();
    void Deliver(const Event& event, Events which, std::uint32_t cookie, IEventSink& sink);

    const unsigned m_number;
    CTrace& m_trace;
    CThreads& m_threads;

    mutable std::mutex m_mutex;  // of all that follows; never held while a client is called
    bool m_isOpen = false;
    Generation m_generation = 0;
    std::uint32_t m_nextCookie = 1;
    std::array<Sinks, 2> m_sinks;
    std::deque<Event> m_queue;
    bool m_isDelivering = false;
};

}  // namespace vorlansim

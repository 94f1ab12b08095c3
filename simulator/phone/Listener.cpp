#include "phone/Listener.h"

#include <utility>

namespace vorlansim
{
namespace
{

std::string Describe(const Event& event)
{
    switch (event.kind)
    {
    case Event::Kind::Message:
        return "indicate " + ToHex(BytesView(&event.resource, 1)) + " " +
               CTrace::Message(BytesView(event.bytes).subspan(3));
    case Event::Kind::Raw:
        return "raw " + CTrace::Body(event.bytes);
    default:
        return "event";
    }
}

}  // namespace

template <typename Change>
std::optional<CListener::Generation> CListener::Apply(Change change)
{
    const std::lock_guard lock(m_mutex);
    const bool wasReady = IsReady();
    change();
    if (IsReady() == wasReady)
        return std::nullopt;
    ++m_generation;
    return wasReady ? std::nullopt : std::optional(m_generation);
}

std::optional<CListener::Generation> CListener::Open()
{
    return Apply([this] { m_isOpen = true; });
}

std::optional<CListener::Generation> CListener::Advise(Events which, std::shared_ptr<IEventSink> sink,
                                                       std::uint32_t& cookie)
{
    return Apply([&] {
        cookie = m_nextCookie++;
        SinksOf(which)[cookie] = std::move(sink);
    });
}

bool CListener::Unadvise(Events which, std::uint32_t cookie)
{
    // Destroyed outside the lock: that is a call to the client.
    Sinks::node_type sink;
    Apply([&] { sink = SinksOf(which).extract(cookie); });
    return !sink.empty();
}

void CListener::Close()
{
    std::array<Sinks, 2> sinks;
    Apply([&] {
        m_isOpen = false;
        sinks.swap(m_sinks);
        m_queue.clear();
    });
}

bool CListener::IsOpen() const
{
    const std::lock_guard lock(m_mutex);
    return m_isOpen;
}

bool CListener::IsCurrent(Generation generation) const
{
    const std::lock_guard lock(m_mutex);
    return m_generation == generation;
}

void CListener::Post(const Event& event, bool here)
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_isOpen || SinksOf(event.Interface()).empty())
            return;
        m_queue.push_back(event);
        if (std::exchange(m_isDelivering, true))
            return;
    }
    if (here)
    {
        // Only this one: others may keep posting, and the caller waits for its reply.
        DeliverNext();
        if (!HasMore())
            return;
    }
    m_threads.Run([self = shared_from_this()] {
        do
            self->DeliverNext();
        while (self->HasMore());
    });
}

/// True if another event waits; otherwise the next Post begins afresh.
bool CListener::HasMore()
{
    const std::lock_guard lock(m_mutex);
    m_isDelivering = !m_queue.empty();
    return m_isDelivering;
}

void CListener::DeliverNext()
{
    Event event;
    Sinks sinks;
    {
        const std::lock_guard lock(m_mutex);
        if (m_queue.empty())
            return;
        event = std::move(m_queue.front());
        m_queue.pop_front();
        sinks = SinksOf(event.Interface());
    }
    for (const auto& [cookie, sink] : sinks)
        Deliver(event, event.Interface(), cookie, *sink);
}

void CListener::Deliver(const Event& event, Events which, std::uint32_t cookie, IEventSink& sink)
{
    if (m_trace.IsOn())
        m_trace.Write(m_number, CTrace::Kind::Event, Describe(event));
    bool gone = false;
    const Result result = sink.Deliver(event, gone);
    if (gone)
        Unadvise(which, cookie);
    if (IsFailure(result))
        m_trace.WriteResult(m_number, CTrace::Kind::Note,
                            gone ? "the client is gone, its sink is dropped" : "the client's sink failed", result);
}

}  // namespace vorlansim

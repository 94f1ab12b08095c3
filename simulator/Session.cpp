#include "Session.h"

#include "Phone.h"

#include <algorithm>

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

std::string NameOf(ClientStep step)
{
    return std::string(kStepNames[static_cast<std::size_t>(step)]);
}

std::string WithResult(const std::string& what, Result result)
{
    return what + "  " + ToHex(result, 8);
}

}  // namespace

CSession::~CSession()
{
    m_phone.Trace().Write(m_number, CTrace::Kind::Call, "gone");
}

Result CSession::Take(ClientStep step, const std::string& arguments, Result result)
{
    const Result fault = m_phone.TakeFault(step);
    if (IsFailure(fault))
        result = fault;
    m_phone.Trace().Write(m_number, CTrace::Kind::Call, WithResult(NameOf(step) + arguments, result));
    return result;
}

Result CSession::TakeQuietly(ClientStep step)
{
    const Result fault = m_phone.TakeFault(step);
    if (IsFailure(fault))
        m_phone.Trace().Write(m_number, CTrace::Kind::Call, WithResult(NameOf(step), fault));
    return fault;
}

Result CSession::OpenById(std::uint32_t id, std::uint32_t reserved)
{
    const std::string arguments = " " + std::to_string(id) + ", " + std::to_string(reserved);
    return FinishOpen(Take(ClientStep::OpenById, arguments, m_phone.CheckDevice(id)));
}

Result CSession::OpenBySerialNumber(std::u16string_view serial, Medium medium, std::uint32_t reserved1,
                                    std::uint32_t reserved2)
{
    const std::string arguments = " \"" + ToUtf8(serial) + "\", medium " + std::to_string(medium.index) + " " +
                                  ToHex(medium.flags, 1) + ", " + std::to_string(reserved1) + ", " +
                                  std::to_string(reserved2);
    return FinishOpen(Take(ClientStep::OpenBySerial, arguments, m_phone.CheckDevice(serial, medium)));
}

Result CSession::FinishOpen(Result result)
{
    if (IsFailure(result))
        return result;
    bool wasReady = false;
    {
        const std::lock_guard lock(m_mutex);
        wasReady = IsReady();
        m_isOpen = true;
    }
    Update(wasReady);
    return result;
}

Result CSession::GetAccess(std::uint8_t& access)
{
    access = m_phone.Access();
    return Take(ClientStep::Access, " " + ToHex(access, 2));
}

Broker CSession::BrokerMode() const
{
    return m_phone.BrokerMode();
}

SendAnswer CSession::Send(const SendCall& call)
{
    return m_phone.Send(shared_from_this(), call);
}

Result CSession::SendRaw(BytesView bytes)
{
    return m_phone.SendRaw(shared_from_this(), bytes);
}

std::uint32_t CSession::Advise(Events which, std::shared_ptr<IEventSink> sink)
{
    std::uint32_t cookie = 0;
    bool wasReady = false;
    {
        const std::lock_guard lock(m_mutex);
        wasReady = IsReady();
        cookie = m_nextCookie++;
        SinksOf(which)[cookie] = std::move(sink);
    }
    Update(wasReady);
    return cookie;
}

bool CSession::Unadvise(Events which, std::uint32_t cookie)
{
    m_phone.Trace().Write(m_number, CTrace::Kind::Call,
                          which == Events::First ? "unadvise-events" : "unadvise-events2");
    return RemoveSink(which, cookie);
}

bool CSession::RemoveSink(Events which, std::uint32_t cookie)
{
    // Destroyed outside the lock: that is a call to the client.
    std::shared_ptr<IEventSink> sink;
    bool wasReady = false;
    {
        const std::lock_guard lock(m_mutex);
        wasReady = IsReady();
        const auto found = SinksOf(which).find(cookie);
        if (found == SinksOf(which).end())
            return false;
        sink = std::move(found->second);
        SinksOf(which).erase(found);
    }
    Update(wasReady);
    return true;
}

void CSession::Close()
{
    std::array<Sinks, 2> sinks;
    bool wasReady = false;
    {
        const std::lock_guard lock(m_mutex);
        wasReady = IsReady();
        m_isOpen = false;
        sinks.swap(m_sinks);
        m_queue.clear();
    }
    Update(wasReady);
}

bool CSession::IsOpen() const
{
    const std::lock_guard lock(m_mutex);
    return m_isOpen;
}

bool CSession::IsCurrent(std::uint64_t generation) const
{
    const std::lock_guard lock(m_mutex);
    return m_generation == generation;
}

void CSession::Update(bool wasReady)
{
    std::uint64_t generation = 0;
    bool isReady = false;
    {
        const std::lock_guard lock(m_mutex);
        isReady = IsReady();
        if (isReady != wasReady)
            ++m_generation;
        generation = m_generation;
    }
    if (isReady && !wasReady)
        m_phone.StartTimers(weak_from_this(), generation);
}

void CSession::Post(const Event& event, bool here)
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_isOpen || SinksOf(event.Interface()).empty())
            return;
        m_queue.push_back(event);
        if (m_isDraining)
            return;
        m_isDraining = true;
    }
    if (here)
        Drain();
    else
        m_phone.RunOnThread([self = shared_from_this()] { self->Drain(); });
}

void CSession::Drain()
{
    std::unique_lock lock(m_mutex);
    while (!m_queue.empty())
    {
        const Event event = std::move(m_queue.front());
        m_queue.pop_front();
        lock.unlock();
        Deliver(event);
        lock.lock();
    }
    m_isDraining = false;
}

void CSession::Deliver(const Event& event)
{
    Sinks sinks;
    {
        const std::lock_guard lock(m_mutex);
        sinks = SinksOf(event.Interface());
    }
    CTrace& trace = m_phone.Trace();
    for (const auto& [cookie, sink] : sinks)
    {
        if (trace.IsOn())
            trace.Write(m_number, CTrace::Kind::Event, Describe(event));
        bool gone = false;
        const Result result = sink->Deliver(event, gone);
        if (gone)
            RemoveSink(event.Interface(), cookie);
        if (IsFailure(result))
            trace.Write(
                m_number, CTrace::Kind::Note,
                WithResult(gone ? "the client is gone, its sink is dropped" : "the client's sink failed", result));
    }
}

}  // namespace vorlansim

#pragma once

#include "Scenario.h"

#include <deque>
#include <mutex>

namespace vorlansim
{

/// An HRESULT.
using Result = std::uint32_t;

constexpr Result kOk = 0;
constexpr Result kBadArgument = 0x80070057;
constexpr Result kNoRule = 0x80070490;          ///< "element not found": the scenario has no rule for the message
constexpr Result kNotOpen = 0x8007048F;         ///< "device not connected": not opened, or no such device
constexpr Result kNotSupported = 0x80070032;    ///< the device does not accept the medium
constexpr Result kTimedOut = 0x800705B4;        ///< no reply within the call's time-out
constexpr Result kStopped = 0x800704C7;         ///< "cancelled": the service is being stopped
constexpr Result kBrokenScenario = 0x8000FFFF;  ///< an action of the scenario could not be carried out

inline bool IsFailure(Result result)
{
    return result >= 0x80000000U;
}

/// The two event interfaces.
enum class Events
{
    First,
    Second
};

struct Event
{
    enum class Kind
    {
        Message,     ///< first interface
        Connection,  ///< first interface, no bytes
        Raw          ///< second interface
    };

    Kind kind = Kind::Message;
    std::uint8_t resource = 0;
    Bytes bytes;  ///< as they travel: a Message's id is the fourth byte

    Events Interface() const { return kind == Kind::Raw ? Events::Second : Events::First; }
};

/// Where a client takes events.
class IEventSink
{
  public:
    virtual ~IEventSink() = default;
    /// Sets `gone` if the client cannot be reached any more. May block.
    virtual Result Deliver(const Event& event, bool& gone) = 0;
};

struct SendCall
{
    std::uint8_t resource = 0;
    Bytes message;  ///< id and body
    bool wait = true;
    Bytes expected;
    std::uint32_t timeoutMs = 0;
};

struct SendAnswer
{
    Result result = kOk;
    std::optional<Bytes> reply;  ///< nothing: the caller's message stays as it is
};

class CPhone;

/// One client of the phone. All operations may be called from any thread.
class CSession : public std::enable_shared_from_this<CSession>
{
  public:
    CSession(CPhone& phone, unsigned number) : m_phone(phone), m_number(number) {}
    ~CSession();
    CSession(const CSession&) = delete;
    CSession& operator=(const CSession&) = delete;

    unsigned Number() const { return m_number; }

    /// The client takes a step, whose result is `result` unless the scenario lets it fail.
    Result Take(ClientStep step, const std::string& arguments = "", Result result = kOk);
    /// The same for mere plumbing: it is traced only if it fails.
    Result TakeQuietly(ClientStep step);

    Result OpenById(std::uint32_t id, std::uint32_t reserved);
    Result OpenBySerialNumber(std::u16string_view serial, Medium medium, std::uint32_t reserved1,
                              std::uint32_t reserved2);
    Result GetAccess(std::uint8_t& access);
    Broker BrokerMode() const;
    SendAnswer Send(const SendCall& call);
    Result SendRaw(BytesView bytes);

    /// The cookie of the sink. The phone's timers start when both interfaces of an open session have a sink.
    std::uint32_t Advise(Events which, std::shared_ptr<IEventSink> sink);
    /// False for an unknown cookie.
    bool Unadvise(Events which, std::uint32_t cookie);
    /// The client let go of the service.
    void Close();

    bool IsOpen() const;
    /// True while the timers that were started with this number may go on.
    bool IsCurrent(std::uint64_t generation) const;

    /// Queues an event. The events of a session are delivered one at a time, in order: on this thread if `here` and no
    /// other delivery is going on, so that it is over when this returns.
    void Post(const Event& event, bool here);

  private:
    using Sinks = std::map<std::uint32_t, std::shared_ptr<IEventSink>>;

    bool RemoveSink(Events which, std::uint32_t cookie);
    Result FinishOpen(Result result);
    void Update(bool wasReady);
    bool IsReady() const { return m_isOpen && !m_sinks[0].empty() && !m_sinks[1].empty(); }
    Sinks& SinksOf(Events which) { return m_sinks[which == Events::First ? 0 : 1]; }
    void Drain();
    void Deliver(const Event& event);

    CPhone& m_phone;
    const unsigned m_number;
    mutable std::mutex m_mutex;
    bool m_isOpen = false;
    std::uint64_t m_generation = 0;
    std::uint32_t m_nextCookie = 1;
    std::array<Sinks, 2> m_sinks;
    std::deque<Event> m_queue;
    bool m_isDraining = false;
};

}  // namespace vorlansim

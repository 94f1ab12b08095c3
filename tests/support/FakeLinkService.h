#pragma once

#include "vorlan_service.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <oleauto.h>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// A link service whose every step is in the hands of a test. It serves the process that makes it, or other processes
/// with CLSCTX_LOCAL_SERVER. One at a time. REQUIRES: the thread that makes it is in the multithreaded apartment, and
/// the type library is registered (TypeLibrary.h).
///
/// The steps by name: CreateLocator, Find, FindDevice, QueryDevice, QueryBroker, Connect, QueryService, SelectRange,
/// OpenById, OpenBySerialNumber, GetDevice, QueryBrokered, QueryContainer, FindPoint1, FindPoint2, Advise1, Advise2,
/// Unadvise1, Unadvise2, GetAccess, Send, SendRaw. 1 is the point of IVorlanServiceEvents, 2 of IVorlanServiceEvents2.
class FakeLinkService
{
  public:
    using Bytes = std::vector<std::uint8_t>;

    struct Sent
    {
        std::uint8_t resource;
        Bytes bytes;
        VARIANT_BOOL wait;
        VARTYPE expectedType;
        Bytes expected;
        std::uint32_t timeoutMs;

        bool operator==(const Sent&) const = default;
    };

    /// Answers a request by changing its VARIANT.
    using Answerer = std::function<HRESULT(VARIANT&)>;

    /// What a request that waits gets when nothing was prepared for it.
    static constexpr auto kNoAnswer = static_cast<HRESULT>(0x80040F01);

    explicit FakeLinkService(DWORD context = CLSCTX_INPROC_SERVER);
    FakeLinkService(const FakeLinkService&) = delete;
    FakeLinkService& operator=(const FakeLinkService&) = delete;
    ~FakeLinkService();

    /// Forgets everything that was prepared and noted.
    void Reset();
    /// The step's result from now on. A step that succeeds with null hands out no object.
    void Returns(const std::string& step, HRESULT result);
    void GivesNull(const std::string& step);
    /// Runs each time before the step is done.
    void Before(const std::string& step, std::function<void()> hook);
    /// Without a broker, the query for it succeeds with null.
    void OffersBroker() { m_offersBroker = true; }
    /// For measurements: keeps no list of what was called and sent.
    void RecordNothing() { m_records = false; }
    void SetAccess(std::uint8_t access) { m_access = access; }

    /// The reply to a message of a resource: [id][body].
    void Answer(std::uint8_t resource, std::uint8_t id, const Bytes& reply);
    void Answer(std::uint8_t resource, std::uint8_t id, Answerer answerer);
    /// The phone's version of a service, as its reply to the version query.
    void AnswerVersion(std::uint8_t resource, std::uint8_t major, std::uint8_t minor);

    /// The calls so far with their arguments, without queries for interfaces and sends; and forgets them.
    std::vector<std::string> TakeCalls();
    std::vector<Sent> TakeSent();
    std::vector<Bytes> TakeRaw();

    /// Raises an event to every sink, on the calling thread.
    void RaiseMessage(std::uint8_t resource, const Bytes& message);
    void RaiseRawMessage(const Bytes& message);
    void RaiseConnectionEvent();

    /// Lets go of all sinks, as a service does that ends.
    void DropSinks();

    /// Objects that clients still hold.
    long LiveObjects() const { return m_liveObjects; }
    std::size_t AdvisedSinks() const;

  private:
    friend class FakeParts;

    HRESULT Take(const std::string& step, const std::string& call = {});
    bool IsNull(const std::string& step) const;
    template <typename Entry>
    void Record(std::vector<Entry>& list, Entry entry);
    template <typename Interface, typename Event>
    void Raise(int point, Event&& event);
    HRESULT AnswerTo(std::uint8_t resource, VARIANT& message, bool wait);
    std::vector<IUnknown*> ReferencedSinks(int point) const;

    mutable std::mutex m_lock;
    std::map<std::string, HRESULT> m_results;
    std::set<std::string> m_nulls;
    std::map<std::string, std::function<void()>> m_hooks;
    std::map<std::pair<std::uint8_t, std::uint8_t>, Answerer> m_answers;
    std::vector<std::string> m_calls;
    std::vector<Sent> m_sent;
    std::vector<Bytes> m_raw;
    std::map<DWORD, IUnknown*> m_sinks[2];
    DWORD m_nextCookie = 100;
    std::atomic<bool> m_offersBroker = false;
    std::atomic<bool> m_records = true;
    std::atomic<std::uint8_t> m_access = 0;
    std::atomic<long> m_liveObjects = 0;
    DWORD m_classCookie = 0;
};

/// Makes `variant` an array of these bytes.
void StoreBytes(VARIANT& variant, const FakeLinkService::Bytes& bytes);

#pragma once

#include "phone/Phone.h"

namespace vorlansim
{

/// One client of the phone. All operations may be called from any thread.
class CSession
{
  public:
    explicit CSession(CPhone& phone) : m_phone(phone), m_listener(phone.NewListener()) {}
    ~CSession();
    CSession(const CSession&) = delete;
    CSession& operator=(const CSession&) = delete;

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
    void Close() { m_listener->Close(); }

    bool IsOpen() const { return m_listener->IsOpen(); }

  private:
    Result FinishOpen(Result result);
    void StartTimers(std::optional<CListener::Generation> generation);
    void Trace(const std::string& text) { m_phone.Trace().Write(m_listener->Number(), CTrace::Kind::Call, text); }
    void Trace(ClientStep step, const std::string& arguments, Result result);

    CPhone& m_phone;
    const std::shared_ptr<CListener> m_listener;
};

}  // namespace vorlansim

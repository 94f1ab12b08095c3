#include "phone/Session.h"

namespace vorlansim
{

CSession::~CSession()
{
    Trace("gone");
}

void CSession::Trace(ClientStep step, const std::string& arguments, Result result)
{
    const std::string name(kStepNames[static_cast<std::size_t>(step)]);
    m_phone.Trace().WriteResult(m_listener->Number(), CTrace::Kind::Call, name + arguments, result);
}

Result CSession::Take(ClientStep step, const std::string& arguments, Result result)
{
    const Result fault = m_phone.Script().TakeFault(step);
    if (IsFailure(fault))
        result = fault;
    Trace(step, arguments, result);
    return result;
}

Result CSession::TakeQuietly(ClientStep step)
{
    const Result fault = m_phone.Script().TakeFault(step);
    if (IsFailure(fault))
        Trace(step, "", fault);
    return fault;
}

Result CSession::OpenById(std::uint32_t id, std::uint32_t reserved)
{
    const std::string arguments = " " + std::to_string(id) + ", " + std::to_string(reserved);
    return FinishOpen(Take(ClientStep::OpenById, arguments, m_phone.Script().CheckDevice(id)));
}

Result CSession::OpenBySerialNumber(std::u16string_view serial, Medium medium, std::uint32_t reserved1,
                                    std::uint32_t reserved2)
{
    const std::string arguments = " \"" + ToUtf8(serial) + "\", medium " + std::to_string(medium.index) + " " +
                                  ToHex(medium.flags, 1) + ", " + std::to_string(reserved1) + ", " +
                                  std::to_string(reserved2);
    return FinishOpen(Take(ClientStep::OpenBySerial, arguments, m_phone.Script().CheckDevice(serial, medium)));
}

Result CSession::FinishOpen(Result result)
{
    if (!IsFailure(result))
        StartTimers(m_listener->Open());
    return result;
}

Result CSession::GetAccess(std::uint8_t& access)
{
    access = m_phone.Script().Source().access;
    return Take(ClientStep::Access, " " + ToHex(access, 2));
}

Broker CSession::BrokerMode() const
{
    return m_phone.Script().Source().broker;
}

SendAnswer CSession::Send(const SendCall& call)
{
    return m_phone.Send(m_listener, call);
}

Result CSession::SendRaw(BytesView bytes)
{
    const Result result = Take(ClientStep::Raw, " " + CTrace::Body(bytes), IsOpen() ? kOk : kNotOpen);
    return IsFailure(result) ? result : m_phone.SendRaw(m_listener, bytes);
}

std::uint32_t CSession::Advise(Events which, std::shared_ptr<IEventSink> sink)
{
    std::uint32_t cookie = 0;
    StartTimers(m_listener->Advise(which, std::move(sink), cookie));
    return cookie;
}

bool CSession::Unadvise(Events which, std::uint32_t cookie)
{
    Trace(which == Events::First ? "unadvise-events" : "unadvise-events2");
    return m_listener->Unadvise(which, cookie);
}

void CSession::StartTimers(std::optional<CListener::Generation> generation)
{
    if (generation)
        m_phone.StartTimers(m_listener, *generation);
}

}  // namespace vorlansim

#pragma once

#include "message/Message.h"

/// How a handler reaches the phone.
class CDataSender
{
  public:
    virtual ~CDataSender() = default;

    /// Sends a request. With a time-out above 0 (milliseconds) waits for the reply, which then replaces the message's
    /// id and body. Returns the link service's HRESULT, 0 for success. Throws ZEL_E_NO_SERVICE, ZEL_E_FAIL (no memory
    /// for the bytes).
    virtual std::uint32_t Send(CMessage& message, std::uint32_t timeoutMs) = 0;

    /// Sends bytes as they are; no reply. Results as for Send.
    virtual std::uint32_t SendRaw(std::uint32_t length, const std::uint8_t* bytes) = 0;

    /// The phone's version of a service, as read when the connection was opened. ZEL_E_FAIL if it has none.
    virtual std::uint32_t GetServiceVersion(std::uint8_t resource, std::uint8_t& major, std::uint8_t& minor) = 0;

    /// The second values of the clock settings 10 and 11, as read when the connection was opened. Always 0.
    virtual std::uint32_t GetTimeServiceParameters(std::uint16_t& first, std::uint16_t& second) = 0;

  protected:
    CDataSender() = default;
    CDataSender(const CDataSender&) = default;
    CDataSender& operator=(const CDataSender&) = default;
};

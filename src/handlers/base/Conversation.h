#pragma once

#include "handlers/base/DataSender.h"
#include "message/ExceptionFrame.h"

#include <cstdint>
#include <initializer_list>
#include <optional>

/// One exchange with the phone: a request, the reply that it wants, and what it means when it goes another way.
struct Exchange
{
    /// Message ids of the request and of its reply.
    std::uint8_t request;
    std::uint8_t reply;

    /// The message ids of which the link service is told that they answer the request.
    std::initializer_list<std::uint8_t> answers = {};

    /// The result where another message than the reply has come.
    std::uint32_t (*other)(CMessage& message) = [](CMessage&) { return ZEL_OK; };

    /// The result of a failed send; 0: that of the link service as it is.
    std::uint32_t sendFailure = 0;

    /// How long the reply is waited for, in milliseconds.
    std::uint32_t timeoutMs = 60000;

    /// The resource that serves it; 0: that of the handler.
    std::uint8_t resource = 0;
};

/// Result where another message than the reply means that the request was not handled.
inline std::uint32_t NotHandled(CMessage&)
{
    return ZEL_NOT_HANDLED;
}

/// The result for a status byte in a reply: 0, or (resource byte << 8) | status.
inline std::uint32_t StatusResult(const CMessage& reply, std::uint8_t status)
{
    return status == 0 ? ZEL_OK : static_cast<std::uint32_t>(reply.GetResource() << 8 | status);
}

/// What a service talks to the phone through. "Leaves" means: ends the operation, with this result, by throwing it.
class CConversation
{
  public:
    CConversation(CDataSender& sender, std::uint8_t resource) : m_sender(sender), m_resource(resource) {}

    CMessage Request(const Exchange& exchange) const;

    /// Sends a request; `message` is then what has come, whatever it is. Leaves with the failure of the send.
    void Send(CMessage& message, const Exchange& exchange) const;

    /// Sends a request; `message` is then its reply. Leaves like Send, and where another message has come.
    void Ask(CMessage& message, const Exchange& exchange) const;

    /// Reads the status byte of a reply. Leaves with the status's result unless it is one of `successes`.
    static void RequireStatus(CMessage& reply, std::initializer_list<std::uint8_t> successes = {0});

    struct Version
    {
        std::uint8_t major;
        std::uint8_t minor;
    };
    /// The phone's version of this service, or of another one; nothing if it has told none.
    std::optional<Version> GetVersion() const { return GetVersion(m_resource); }
    std::optional<Version> GetVersion(std::uint8_t resource) const;

    /// Whether the phone has this version of the service, or a later one. False if it has told none.
    bool IsAtLeast(std::uint8_t major, std::uint8_t minor) const;

    /// Asks the connection for the settings of the phone's clock. No message carries them, but what the asking throws
    /// ends the operation.
    void AskClockSettings() const;

    CDataSender& GetSender() const { return m_sender; }

  private:
    CDataSender& m_sender;
    std::uint8_t m_resource;
};

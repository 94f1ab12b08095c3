#include "handlers/base/Conversation.h"

#include <algorithm>

CMessage CConversation::Request(const Exchange& exchange) const
{
    CMessage message;
    message.SetResource(exchange.resource != 0 ? exchange.resource : m_resource);
    message.SetMessageId(exchange.request);
    for (const std::uint8_t id : exchange.answers)
        message.AddExpectedReply(id);
    return message;
}

void CConversation::Send(CMessage& message, const Exchange& exchange) const
{
    if (const std::uint32_t result = m_sender.Send(message, exchange.timeoutMs); result != ZEL_OK)
        ThrowCode(exchange.sendFailure != 0 ? exchange.sendFailure : result);
}

void CConversation::Ask(CMessage& message, const Exchange& exchange) const
{
    Send(message, exchange);
    if (message.GetMessageId() != exchange.reply)
        ThrowCode(exchange.other(message));
}

void CConversation::RequireStatus(CMessage& reply, std::initializer_list<std::uint8_t> successes)
{
    const std::uint8_t status = reply.ReadByte();
    if (std::find(successes.begin(), successes.end(), status) == successes.end())
        ThrowCode(StatusResult(reply, status));
}

std::optional<CConversation::Version> CConversation::GetVersion(std::uint8_t resource) const
{
    Version version = {};
    if (m_sender.GetServiceVersion(resource, version.major, version.minor) != ZEL_OK)
        return std::nullopt;
    return version;
}

bool CConversation::IsAtLeast(std::uint8_t major, std::uint8_t minor) const
{
    const auto version = GetVersion();
    return version && (version->major > major || (version->major == major && version->minor >= minor));
}

void CConversation::AskClockSettings() const
{
    std::uint16_t first = 0;
    std::uint16_t second = 0;
    m_sender.GetTimeServiceParameters(first, second);
}

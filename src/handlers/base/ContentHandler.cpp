#include "handlers/base/ContentHandler.h"

#include <algorithm>

std::uint32_t CContentHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    const auto operation = std::ranges::find(m_operations, messageId, &Operation::id);
    if (operation == m_operations.end())
        return ZEL_NOT_HANDLED;
    return ResultOf([&] {
        CConversation phone(sender, m_resource);
        operation->run(phone, record);
        return ZEL_OK;
    });
}

std::uint32_t CContentHandler::DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record)
{
    const auto indication = std::ranges::find(m_indications, message.GetMessageId(), &Indication::message);
    if (indication == m_indications.end())
        return ZEL_NOT_HANDLED;
    return ResultOf([&] {
        record = indication->decode(message);
        messageId = indication->id;
        return ZEL_OK;
    });
}

std::uint32_t CContentHandler::FreeDecodedData(std::uint32_t messageId, void* record)
{
    if (m_indications.empty())
        return ZEL_E_FAIL;
    const auto indication = std::ranges::find(m_indications, messageId, &Indication::id);
    if (indication == m_indications.end())
        return ZEL_NOT_HANDLED;
    if (IsReadable(record))
        indication->free(record);
    return ZEL_OK;
}

CMessage CContentHandler::Request(std::uint8_t id, std::initializer_list<std::uint8_t> replies) const
{
    CMessage message;
    message.SetResource(m_resource);
    message.SetMessageId(id);
    for (const std::uint8_t reply : replies)
        message.AddExpectedReply(reply);
    return message;
}

bool CContentHandler::Exchange(CDataSender& sender, CMessage& message, std::uint8_t replyId, std::uint32_t& result)
{
    result = sender.Send(message, kReplyMs);
    return result == 0 && message.GetMessageId() == replyId;
}

std::uint32_t CContentHandler::StatusResult(std::uint8_t status) const
{
    return status == 0 ? ZEL_OK : static_cast<std::uint32_t>(m_resource << 8 | status);
}

std::uint32_t CContentHandler::LocalToUtc(const SYSTEMTIME& local, SYSTEMTIME* utc, ZoneInformation* zone)
{
    SYSTEMTIME time = {};
    ZoneInformation information = {};
    const std::uint32_t result = CTimeConverter().LocalToUtc(&local, &time, &information);
    if (IsReadable(utc))
        *utc = time;
    if (IsReadable(zone))
        *zone = information;
    return result;
}

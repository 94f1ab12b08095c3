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

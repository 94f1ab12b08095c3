#include "handlers/MessagingHandler.h"

#include "handlers/base/Owners.h"
#include "zelapi/messaging.h"

namespace
{

constexpr std::uint8_t kEventIndication = 0x84;

}  // namespace

std::uint32_t CMessagingHandler::EncodeRequest(CDataSender&, std::uint32_t, void*)
{
    return ZEL_NOT_HANDLED;
}

std::uint32_t CMessagingHandler::DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record)
{
    return ResultOf([&]() -> std::uint32_t {
        if (message.GetMessageId() != kEventIndication)
            return ZEL_NOT_HANDLED;
        auto event = AllocateRecords<MessagingEventRecord>();
        event->size = sizeof(MessagingEventRecord);
        event->event = message.ReadByte();
        messageId = ZEL_MESSAGING_EVENT;
        record = event.release();
        return ZEL_OK;
    });
}

std::uint32_t CMessagingHandler::FreeDecodedData(std::uint32_t messageId, void* record)
{
    if (messageId != ZEL_MESSAGING_EVENT)
        return ZEL_NOT_HANDLED;
    if (IsReadable(record))
        CoTaskMemFree(record);
    return ZEL_OK;
}

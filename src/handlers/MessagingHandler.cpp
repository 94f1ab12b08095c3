#include "handlers/MessagingHandler.h"

#include "zelapi/messaging.h"

namespace
{

CTaskMemOwner<MessagingEventRecord> ReadEvent(CMessage& message);

constexpr Indication kIndications[] = {
    {0x84, ZEL_MESSAGING_EVENT, Decode<ReadEvent>, FreeBlock},
};

CTaskMemOwner<MessagingEventRecord> ReadEvent(CMessage& message)
{
    auto event = AllocateRecords<MessagingEventRecord>();
    event->size = sizeof(MessagingEventRecord);
    event->event = message.ReadByte();
    return event;
}

}  // namespace

CMessagingHandler::CMessagingHandler() : CContentHandler({}, kIndications) {}

#include "zelapi/messaging.h"

#include "fuzz/FuzzService.h"
#include "handlers/MessagingHandler.h"

namespace
{

void Request(CFuzzCase& fuzz)
{
    Require(fuzz.Request(nullptr) == ZEL_NOT_HANDLED, "there are no requests");
}

void Deliver(std::uint32_t, void* record)
{
    const auto& event = *static_cast<const MessagingEventRecord*>(record);
    Require(event.size == sizeof event && event.event <= 0xFF && event.reserved == 0, "an event's fields");
}

const CFuzzService g_messaging(0x66, NewHandler<CMessagingHandler>, {Request}, Deliver);

}  // namespace

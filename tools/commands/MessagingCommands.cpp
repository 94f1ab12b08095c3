#include "commands/MessagingCommands.h"

#include <zelapi/messaging.h>

namespace zelctl
{
namespace
{

Value DescribeEvent(const void* record)
{
    return {{"event", static_cast<const MessagingEventRecord*>(record)->event}};
}

constexpr Indication kIndications[] = {{ZEL_MESSAGING_EVENT, "messaging event", DescribeEvent, nullptr}};

}  // namespace

const Module kMessagingModule = {0x66, {}, kIndications, nullptr};

}  // namespace zelctl

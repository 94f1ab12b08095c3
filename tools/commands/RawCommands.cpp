#include "commands/RawCommands.h"

#include "shell/Failure.h"
#include "shell/Received.h"

#include <limits>
#include <zelapi/full_access.h>

namespace zelctl
{
namespace
{

AccessRecord QueryAccess(CConnection& phone)
{
    AccessRecord record = {};
    phone.Send("asking for the access", ZEL_FULL_ACCESS_QUERY, record);
    return record;
}

void ShowAccess(CContext& context)
{
    context.output.Show({{"access", Hex(QueryAccess(context.Phone()).access, 2)}});
}

void SendRaw(CContext& context)
{
    std::vector<std::uint8_t> bytes = ParseHex(context.arguments.Words());
    if (bytes.size() > std::numeric_limits<std::uint16_t>::max())
        throw CUsageError("more than 65535 bytes cannot be sent at once");
    RawRequest request = {0, static_cast<std::uint16_t>(bytes.size()), bytes.data()};
    context.Phone().Send("sending raw bytes", ZEL_RAW_SEND, request);
    context.output.Show({{"sent", HexBytes(bytes)}, {"count", bytes.size()}});
}

Value DescribeMessage(const void* record)
{
    const auto* message = static_cast<const RawMessage*>(record);
    return {{"count", message->count}, {"bytes", HexBytes({message->bytes, message->count})}};
}

/// Raw messages need no subscription, only a first request.
void Listen(CConnection& phone)
{
    QueryAccess(phone);
}

constexpr Command kCommands[] = {
    {"raw access", "", "shows the access that the link service grants", "", kNoOptions, ShowAccess},
    {"raw send", "HEX...", "sends bytes over the link as they are",
     "Two hex digits make a byte: \"01 0A FF\" or 010AFF. \"zelctl watch raw\" shows what comes back.", kNoOptions,
     SendRaw},
};

constexpr Indication kIndications[] = {{ZEL_RAW_MESSAGE, "raw message", DescribeMessage, FreeRawMessage}};

}  // namespace

const Module kRawModule = {0xFF, kCommands, kIndications, Listen};

}  // namespace zelctl

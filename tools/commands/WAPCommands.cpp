#include "commands/WAPCommands.h"

#include "shell/Failure.h"
#include "shell/Received.h"

#include <zelapi/wap.h>

namespace zelctl
{
namespace
{

std::uint16_t KeyOf(const CArguments& arguments)
{
    return arguments.Word(0, "KEY");
}

/// For these requests, "not supported" is how the library says that the exchange itself has failed.
void Send(CContext& context, const char* what, std::uint32_t messageId, WapRequest& request)
try
{
    context.Phone().Send(what, messageId, request);
}
catch (const CFailure& failure)
{
    if (failure.Code() != ZEL_NOT_SUPPORTED)
        throw;
    throw CFailure(what, failure.Code(),
                   {"The request did not get through to the phone, or its answer did not come back.",
                    "Check that the phone is switched on and in reach; try again."});
}

void ShowByte(CContext& context)
{
    WapRequest request = {0, static_cast<std::uint16_t>(context.arguments.Number(0, "KEY", {0, 0xFF})), 0, nullptr};
    context.Phone().Send("reading the byte", ZEL_WAP_READ_BYTE, request);
    context.output.Show({{"key", request.key}, {"byte", request.result}});
}

void ShowConnection(CContext& context)
{
    CReceived<WapConnection> received;
    const WapConnection& connection = received.record;
    WapRequest request = {0, KeyOf(context.arguments), 0, &received.record};
    context.Phone().Send("reading the connection", ZEL_WAP_READ_CONNECTION, request);
    if (connection.first_text == nullptr)
        throw CFailure("reading the connection", std::nullopt, {"The phone answered with another message.", ""});
    context.output.Show({{"key", request.key},
                         {"identifier", Hex(connection.identifier, 4)},
                         {"value", connection.value},
                         {"flag", connection.flag != 0},
                         {"first_text", FromBStr(connection.first_text)},
                         {"second_text", FromBStr(connection.second_text)}});
}

void WriteConnection(CContext& context)
{
    const CArguments& arguments = context.arguments;
    const BStr first = ToBStrWithin(arguments.Text(0), "FIRST", ZEL_WAP_FIRST_TEXT_LENGTH);
    const BStr second = ToBStrWithin(arguments.Text(1), "SECOND", ZEL_WAP_SECOND_TEXT_LENGTH);
    const auto identifier = arguments.OptionNumber("--identifier", {1, 0xFFFE});
    WapConnection connection = {static_cast<std::uint16_t>(identifier.value_or(0)), 0,
                                static_cast<std::uint8_t>(arguments.Has("--flag") ? 1 : 0), first.get(), second.get()};
    WapRequest request = {0, 0, 0, &connection};
    Send(context, "writing the connection", ZEL_WAP_WRITE_CONNECTION, request);
    if (connection.identifier == 0)
        throw CFailure("writing the connection", std::nullopt, {"The phone gave it no identifier.", ""});
    context.output.Show({{"key", request.key}, {"identifier", Hex(connection.identifier, 4)}});
}

void SendCommand(CContext& context)
{
    WapRequest request = {};
    context.Phone().Send("sending the command", ZEL_WAP_COMMAND, request);
    context.output.Show({{"done", true}});
}

void SendConnectionCommand(CContext& context)
{
    WapRequest request = {0, KeyOf(context.arguments), 0, nullptr};
    Send(context, "sending the command", ZEL_WAP_CONNECTION_COMMAND, request);
    context.output.Show({{"key", request.key}, {"done", true}});
}

constexpr Option kWriteOptions[] = {
    {"--identifier", "N", "changes the connection with this identifier; without it, a new one is made"},
    {"--flag", "", "sets the flag of the connection"},
};

constexpr Command kCommands[] = {
    {"wap byte", "KEY", "reads the byte of a key from 0 to 255", "", kNoOptions, ShowByte},
    {"wap show", "KEY", "shows a connection", "", kNoOptions, ShowConnection},
    {"wap write", "FIRST SECOND", "writes a connection with two texts",
     "The first text has up to 50 characters, the second up to 255. The phone answers with key and identifier.",
     kWriteOptions, WriteConnection},
    {"wap command", "", "sends the command without data", "", kNoOptions, SendCommand},
    {"wap connection-command", "KEY", "sends the command on a connection", "", kNoOptions, SendConnectionCommand},
};

}  // namespace

const Module kWAPModule = {0x3F, kCommands, {}, nullptr};

}  // namespace zelctl

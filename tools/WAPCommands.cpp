#include "Modules.h"
#include "Text.h"

#include <zelapi/wap.h>

namespace zelctl
{
namespace
{

std::uint16_t KeyOf(const CArguments& arguments)
{
    return arguments.Word(0, "KEY");
}

void ShowByte(CContext& context)
{
    WapRequest request = {0, static_cast<std::uint16_t>(context.arguments.Number(0, "KEY", {0, 0xFF})), 0, nullptr};
    context.Phone().Send("reading the byte", ZEL_WAP_READ_BYTE, request);
    context.output.Show({{"key", request.key}, {"byte", request.result}});
}

void ShowConnection(CContext& context)
{
    WapConnection connection = {};
    WapRequest request = {0, KeyOf(context.arguments), 0, &connection};
    context.Phone().Send("reading the connection", ZEL_WAP_READ_CONNECTION, request);
    if (connection.first_text == nullptr)
        throw CFailure("reading the connection", std::nullopt, {"The phone answered something else.", ""});
    const BStr first(connection.first_text);
    const BStr second(connection.second_text);
    context.output.Show({{"key", request.key},
                         {"identifier", Hex(connection.identifier, 4)},
                         {"value", connection.value},
                         {"flag", connection.flag != 0},
                         {"first_text", FromBStr(first.get())},
                         {"second_text", FromBStr(second.get())}});
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
    context.Phone().Send("writing the connection", ZEL_WAP_WRITE_CONNECTION, request);
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
    context.Phone().Send("sending the command", ZEL_WAP_CONNECTION_COMMAND, request);
    context.output.Show({{"key", request.key}, {"done", true}});
}

constexpr Option kWriteOptions[] = {
    {"--identifier", "N", "changes the connection with this identifier; without it, a new one is made"},
    {"--flag", "", "sets the flag of the connection"},
};

constexpr Command kCommands[] = {
    {"wap byte", "KEY", 1, 1, "reads the byte of a key from 0 to 255", "", {}, ShowByte},
    {"wap show", "KEY", 1, 1, "shows a connection", "", {}, ShowConnection},
    {"wap write", "FIRST SECOND", 2, 2, "writes a connection with two texts",
     "The first text has up to 50 characters, the second up to 255. The phone answers with key and identifier.",
     kWriteOptions, WriteConnection},
    {"wap command", "", 0, 0, "sends the command without data", "", {}, SendCommand},
    {"wap connection-command", "KEY", 1, 1, "sends the command on a connection", "", {}, SendConnectionCommand},
};

}  // namespace

const Module kWAPModule = {0x3F, kCommands, {}, nullptr};

}  // namespace zelctl

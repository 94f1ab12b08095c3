#include "commands/StorageCommands.h"

#include "shell/Received.h"

#include <zelapi/storage.h>

namespace zelctl
{
namespace
{

constexpr std::uint16_t kNoValue = 0xFFFF;

void ShowAreas(CContext& context)
{
    CReceived<StorageAreaList> list;
    context.Phone().Send("listing the areas", ZEL_STORAGE_LIST_AREAS, list.record);
    Value rows = Value::array();
    for (const StorageArea& area : std::span(list.record.areas, list.record.count))
        rows.push_back({{"area", area.number}, {"name", FromBStr(area.name)}});
    context.output.Show(rows);
}

void ShowIdentifiers(CContext& context)
{
    CReceived<StorageIdentifierList> list;
    list.record.area = context.arguments.Byte(0, "AREA");
    context.Phone().Send("reading the identifiers of the area", ZEL_STORAGE_LIST_IDENTIFIERS, list.record);
    Value identifiers = Value::array();
    for (const std::uint32_t identifier : std::span(list.record.identifiers, list.record.count))
        identifiers.push_back(Hex(identifier, 8));
    context.output.Show({{"area", list.record.area}, {"identifiers", std::move(identifiers)}});
}

void SendCommand(CContext& context)
{
    StorageAreaCommand unused = {};
    context.Phone().Send("sending the command", ZEL_STORAGE_COMMAND, unused);
    context.output.Show({{"done", true}});
}

void SendAreaCommand(CContext& context)
{
    StorageAreaCommand command = {context.arguments.Byte(0, "VALUE")};
    context.Phone().Send("sending the command", ZEL_STORAGE_AREA_COMMAND, command);
    context.output.Show({{"value", command.value}, {"done", true}});
}

void SendIdentifierCommand(CContext& context)
{
    StorageIdentifierCommand command = {0, context.arguments.Number(0, "ID")};
    context.Phone().Send("sending the command", ZEL_STORAGE_IDENTIFIER_COMMAND, command);
    context.output.Show({{"identifier", Hex(command.identifier, 8)}, {"done", true}});
}

void SendThreeByteCommand(CContext& context)
{
    const CArguments& arguments = context.arguments;
    StorageThreeByteCommand command = {0, arguments.Number(0, "ID"), arguments.Byte(1, "FIRST"),
                                       arguments.Byte(2, "SECOND"), arguments.Byte(3, "THIRD")};
    context.Phone().Send("sending the command", ZEL_STORAGE_THREE_BYTE_COMMAND, command);
    context.output.Show({{"identifier", Hex(command.identifier, 8)}, {"done", true}});
}

Value ValueOf(std::uint16_t value)
{
    return value == kNoValue ? Value(nullptr) : Value(value);
}

Value DescribeEvent(const void* record)
{
    const auto& event = *static_cast<const StorageEventRecord*>(record);
    return {{"event", event.event},
            {"first", ValueOf(event.first)},
            {"second", ValueOf(event.second)},
            {"third", ValueOf(event.third)}};
}

constexpr Command kCommands[] = {
    {"storage areas", "", "lists the storage areas", "", kNoOptions, ShowAreas},
    {"storage list", "AREA", "lists the identifiers that an area holds", "", kNoOptions, ShowIdentifiers},
    {"storage command", "", "sends the command without data", "", kNoOptions, SendCommand},
    {"storage area-command", "VALUE", "sends the command on an area", "", kNoOptions, SendAreaCommand},
    {"storage id-command", "ID", "sends the command on an identifier", "", kNoOptions, SendIdentifierCommand},
    {"storage three-byte-command", "ID FIRST SECOND THIRD", "sends the command on an identifier that has three bytes",
     "", kNoOptions, SendThreeByteCommand},
};

constexpr Indication kIndications[] = {{ZEL_STORAGE_EVENT, "storage event", DescribeEvent, FreeStorageEvent}};

}  // namespace

const Module kStorageModule = {0xAA, kCommands, kIndications, nullptr};

}  // namespace zelctl

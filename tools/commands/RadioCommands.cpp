#include "commands/RadioCommands.h"

#include "shell/Failure.h"
#include "shell/Received.h"

#include <zelapi/radio.h>

namespace zelctl
{
namespace
{

Value DescribeItem(const RadioItem& item)
{
    return {{"value", item.value}, {"name", FromBStr(item.name)}, {"data", HexBytes({item.data, item.data_length})}};
}

Value DescribeSetting(const RadioSetting& setting)
{
    return {{"key", setting.key},
            {"value_12", setting.value_12},
            {"value_13", setting.value_13},
            {"value_14", setting.value_14},
            {"value_15", setting.value_15},
            {"value_16", setting.value_16},
            {"text", FromBStr(setting.text)}};
}

void List(CContext& context)
{
    CReceived<RadioList> list;
    {
        CConnection& phone = context.Phone();
        const CProgress progress("Reading the items...");
        phone.Send("listing the radio items", ZEL_RADIO_LIST, list.record);
    }
    Value items = Value::array();
    for (const RadioItem& item : std::span(list.record.items, list.record.count))
        items.push_back(DescribeItem(item));
    context.output.Show({{"value", list.record.value}, {"items", std::move(items)}});
}

void WriteItem(CContext& context)
{
    const CArguments& arguments = context.arguments;
    const std::uint8_t value = context.arguments.Byte(0, "VALUE");
    // A longer one could not be read back.
    const BStr name = ToBStrWithin(arguments.Text(1), "NAME", 255);
    std::vector<std::uint8_t> data = ParseHex(arguments.Words().subspan(2));
    if (data.size() > 255)
        throw CUsageError("HEX: more than 255 bytes cannot be sent");
    const RadioItem item = {0, value, name.get(), static_cast<std::uint8_t>(data.size()), data.data()};
    RadioItemRecord record = {0, &item};
    context.Phone().Send("writing the radio item", ZEL_RADIO_WRITE_ITEM, record);
    context.output.Show(DescribeItem(item));
}

void ShowSetting(CContext& context)
{
    CReceived<RadioSetting> setting;
    setting.record.key = context.arguments.Byte(0, "KEY");
    context.Phone().Send("reading the radio setting", ZEL_RADIO_READ_SETTING, setting.record);
    context.output.Show(DescribeSetting(setting.record));
}

void WriteSetting(CContext& context)
{
    const BStr text = ToBStrWithin(context.arguments.Count() > 6 ? context.arguments.Text(6) : "", "TEXT", 120);
    RadioSetting record = {};
    record.key = context.arguments.Byte(0, "KEY");
    record.value_12 = context.arguments.Byte(1, "VALUE12");
    record.value_13 = context.arguments.Byte(2, "VALUE13");
    record.value_14 = context.arguments.Byte(3, "VALUE14");
    record.value_15 = context.arguments.Byte(4, "VALUE15");
    record.value_16 = context.arguments.Number(5, "VALUE16");
    record.text = text.get();
    context.Phone().Send("writing the radio setting", ZEL_RADIO_WRITE_SETTING, record);
    context.output.Show(DescribeSetting(record));
}

void SendRequest3(CContext& context)
{
    RadioSetting record = {};
    record.key = context.arguments.Byte(0, "KEY");
    record.second_key = context.arguments.Byte(1, "SECOND-KEY");
    context.Phone().Send("sending radio request 3", ZEL_RADIO_REQUEST_3, record);
    context.output.Show({{"key", record.key}, {"second_key", record.second_key}});
}

constexpr Command kCommands[] = {
    {"radio list", "", "lists the radio's items with their data", "", kNoOptions, List},
    {"radio write", "VALUE NAME [HEX...]", "writes an item of the radio",
     "HEX is the item's data. Two hex digits make a byte: \"01 0A FF\" or 010AFF.", kNoOptions, WriteItem},
    {"radio setting", "KEY", "shows a setting of the radio", "", kNoOptions, ShowSetting},
    {"radio set", "KEY VALUE12 VALUE13 VALUE14 VALUE15 VALUE16 [TEXT]", "writes a setting of the radio",
     "The values are those that \"zelctl radio setting\" shows; all but the last are one byte.", kNoOptions,
     WriteSetting},
    {"radio request", "KEY SECOND-KEY", "sends the radio's request 3 with two keys", "What it does is the phone's.",
     kNoOptions, SendRequest3},
};

}  // namespace

const Module kRadioModule = {0x3E, kCommands, {}, nullptr};

}  // namespace zelctl

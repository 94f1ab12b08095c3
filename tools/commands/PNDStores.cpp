#include "commands/PNDStores.h"

#include "commands/PNDEntry.h"
#include "shell/Received.h"

namespace zelctl
{

void ShowPndStore14(CContext& context)
{
    CReceived<PndStore14Record> entry;
    PndStore14Record& record = entry.record;
    record.kind = context.arguments.OptionByte("--kind", kPndByLocation);
    record.location = context.arguments.Word(0, "LOCATION");
    context.Phone().Send("reading the entry", ZEL_PND_READ_STORE_14, record);
    Value shown = {{"location", record.location}, {"value", record.value}, {"count", record.count}};
    if (const PndStore14Item* item = record.items)
        shown["item"] = {{"value_4", item->value_4}, {"value_5", item->value_5},   {"value_6", item->value_6},
                         {"value_8", item->value_8}, {"value_12", item->value_12}, {"value_13", item->value_13}};
    context.output.Show(shown);
}

void WritePndStore14(CContext& context)
{
    PndStore14Item item = {};
    item.value_5 = context.arguments.Byte(1, "VALUE-5");
    item.value_6 = context.arguments.Word(2, "VALUE-6");
    item.value_13 = context.arguments.Byte(3, "VALUE-13");
    PndStore14Record record = {};
    record.location = context.arguments.Word(0, "LOCATION");
    record.count = 1;
    record.items = &item;
    context.Phone().Send("writing the entry", ZEL_PND_WRITE_STORE_14, record);
    context.output.Show({{"location", record.location}});
}

void ShowPndStore16(CContext& context)
{
    PndReadStore16Record record = {};
    record.kind = context.arguments.OptionByte("--kind", kPndByLocation);
    record.location = context.arguments.Word(0, "LOCATION");
    context.Phone().Send("reading the entry", ZEL_PND_READ_STORE_16, record);
    ShowPndEntry(context.output, CReceived<PndEntry>(record.entry));
}

void WritePndStore16(CContext& context)
{
    PndWriteRecord record = {};
    record.location = context.arguments.Word(0, "LOCATION");
    WritePndFields(context, ZEL_PND_WRITE_STORE_16, "writing the entry", record, 1);
}

void ShowPndState(CContext& context)
{
    PndStoreStateRecord record = {};
    record.store = context.arguments.Byte(0, "STORE");
    context.Phone().Send("asking for the state of the store", ZEL_PND_STORE_STATE, record);
    context.output.Show({{"store", record.store},
                         {"value_8", record.value_8},
                         {"value_12", record.value_12},
                         {"value_14", record.value_14},
                         {"value_16", record.value_16},
                         {"value_17", record.value_17}});
}

void ShowPndItems(CContext& context)
{
    CReceived<PndListRecord> list;
    list.record.value_4 = context.arguments.Byte(0, "VALUE");
    context.Phone().Send("listing the items", ZEL_PND_LIST, list.record);
    Value rows = Value::array();
    for (const PndItem& item : std::span(list.record.items, list.record.count))
        rows.push_back({{"text", FromBStr(item.text)},
                        {"value_4", item.value_4},
                        {"value_5", item.value_5},
                        {"value_6", item.value_6},
                        {"value_8", item.value_8}});
    context.output.Show({{"items", std::move(rows)}});
}

}  // namespace zelctl

#include "PNDShared.h"

#include "PNDEntry.h"
#include "TaskMem.h"

namespace zelctl
{
namespace
{

/// The items of a list, with their texts.
struct Items
{
    Items() = default;
    Items(const Items&) = delete;
    Items& operator=(const Items&) = delete;
    ~Items()
    {
        for (std::size_t i = 0; i < record.count; ++i)
            SysFreeString(record.items[i].text);
        CoTaskMemFree(record.items);
    }

    PndListRecord record = {};
};

}  // namespace

void ShowPndEntry(const COutput& output, const PndEntry& entry)
{
    const CPndReceivedFields fields(entry);
    output.Show({{"location", entry.location}, {"value", entry.value}, {"fields", fields.Describe()}});
}

void WritePndFields(CContext& context, std::uint32_t messageId, const char* what, PndWriteRecord& record,
                    std::size_t firstField)
{
    CPndFieldsToSend fields(context.arguments.Words().subspan(firstField));
    record.field_count = fields.Count();
    record.fields = fields.Data();
    context.Phone().Send(what, messageId, record);
    context.output.Show({{"location", record.location}, {"fields", record.field_count}});
}

void ShowPndStore14(CContext& context)
{
    PndStore14Record record = {};
    record.kind = context.arguments.OptionByte("--kind", kByLocation);
    record.location = context.arguments.Word(0, "LOCATION");
    context.Phone().Send("reading the entry", ZEL_PND_READ_STORE_14, record);
    const TaskMem<PndStore14Item> items(record.items);
    Value shown = {{"location", record.location}, {"value", record.value}, {"count", record.count}};
    if (items)
        shown["item"] = {{"value_4", items->value_4}, {"value_5", items->value_5},   {"value_6", items->value_6},
                         {"value_8", items->value_8}, {"value_12", items->value_12}, {"value_13", items->value_13}};
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
    record.kind = context.arguments.OptionByte("--kind", kByLocation);
    record.location = context.arguments.Word(0, "LOCATION");
    context.Phone().Send("reading the entry", ZEL_PND_READ_STORE_16, record);
    ShowPndEntry(context.output, record.entry);
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
    Items items;
    items.record.value_4 = context.arguments.Byte(0, "VALUE");
    context.Phone().Send("listing the items", ZEL_PND_LIST, items.record);
    Value rows = Value::array();
    for (std::size_t i = 0; i < items.record.count; ++i)
    {
        const PndItem& item = items.record.items[i];
        rows.push_back({{"text", FromBStr(item.text)},
                        {"value_4", item.value_4},
                        {"value_5", item.value_5},
                        {"value_6", item.value_6},
                        {"value_8", item.value_8}});
    }
    context.output.Show({{"items", std::move(rows)}});
}

}  // namespace zelctl

#include "commands/PNDCommands.h"

#include "commands/PNDEntry.h"
#include "commands/PNDStores.h"
#include "shell/Failure.h"

#include <zelapi/pnd.h>

namespace zelctl
{
namespace
{

// ---- Reading

PndReadRecord ReadByLocation(const CArguments& arguments)
{
    PndReadRecord record = {};
    record.kind = arguments.OptionByte("--kind", kPndByLocation);
    record.mode = arguments.OptionByte("--mode", ZEL_PND_MODE_LOCATION);
    record.value_6 = arguments.OptionByte("--value", 0);
    record.store = arguments.Byte(0, "STORE");
    if (record.kind == ZEL_PND_BY_TEXT && record.mode != ZEL_PND_MODE_LOCATION)
        throw CUsageError("kind 1 looks for a text in this mode: use \"zelctl pnd find\"");
    return record;
}

PndReadRecord ReadByText(const CArguments& arguments)
{
    PndReadRecord record = {};
    record.kind = ZEL_PND_BY_TEXT;
    record.mode = arguments.OptionByte("--mode", 0);
    record.value_6 = arguments.OptionByte("--value", 0);
    record.store = arguments.Byte(0, "STORE");
    if (record.mode == ZEL_PND_MODE_LOCATION)
        throw CUsageError("--mode: mode 1 looks for no text");
    return record;
}

void Show(CContext& context)
{
    PndReadRecord record = ReadByLocation(context.arguments);
    record.entry.location = context.arguments.Word(1, "LOCATION");
    context.Phone().Send("reading the entry", ZEL_PND_READ_ENTRY, record);
    ShowPndEntry(context.output, CReceived<PndEntry>(record.entry));
}

void Find(CContext& context)
{
    constexpr std::uint8_t kUsualType = 7;
    PndReadRecord record = ReadByText(context.arguments);
    CPndFieldsToSend wanted(context.arguments.OptionByte("--type", kUsualType), context.arguments.Text(1));
    record.entry.fields = wanted.Data();
    record.entry.field_count = wanted.Count();
    context.Phone().Send("looking for the entry", ZEL_PND_READ_ENTRY, record);
    if (record.entry.fields == wanted.Data())
        throw CFailure("looking for the entry", std::nullopt, {"The phone's answer brings no entry.", ""});
    ShowPndEntry(context.output, CReceived<PndEntry>(record.entry));
}

/// Adds an entry to the list; false if the phone refuses to read it.
bool AddEntry(CConnection& phone, PndReadRecord record, Value& list)
try
{
    phone.Send("reading the entry", ZEL_PND_READ_ENTRY, record);
    const CReceived<PndEntry> entry(record.entry);
    const auto fields = FieldsOf(entry.record);
    list.push_back(
        {{"location", entry.record.location}, {"fields", fields.size()}, {"first_text", FirstPndText(fields)}});
    return true;
}
catch (const CFailure& failure)
{
    if (!ZEL_IS_PHONE_STATUS(failure.Code().value_or(0)))
        throw;
    return false;
}

/// Reads the entries at these locations, as long as nobody stops it.
void ReadEntries(CContext& context, PndReadRecord record, std::uint16_t first, std::uint16_t last, Value& list,
                 std::size_t& refused)
{
    CConnection& phone = context.Phone();
    CProgress progress("Reading entries...");
    for (std::uint32_t location = first; location <= last && !context.stop.IsSet(); ++location)
    {
        progress.Show("Reading entry " + std::to_string(location) + " of " + std::to_string(last) + "...");
        record.entry.location = static_cast<std::uint16_t>(location);
        if (!AddEntry(phone, record, list))
            ++refused;
    }
}

void List(CContext& context)
{
    const PndReadRecord record = ReadByLocation(context.arguments);
    const std::uint16_t first = context.arguments.Word(1, "FIRST");
    const auto last = static_cast<std::uint16_t>(context.arguments.Number(2, "LAST", {first, 0xFFFF}));
    Value list = Value::array();
    std::size_t refused = 0;
    ReadEntries(context, record, first, last, list, refused);
    context.output.Show({{"entries", std::move(list)}, {"refused_locations", refused}});
}

void ShowFields(CContext& context)
{
    PndField wanted = {};
    wanted.type = context.arguments.Byte(2, "TYPE");
    wanted.attribute = context.arguments.OptionByte("--attribute", 0x80);
    PndReadRecord record = {};
    record.store = context.arguments.Byte(0, "STORE");
    record.entry.location = context.arguments.Word(1, "LOCATION");
    record.entry.fields = &wanted;
    context.Phone().Send("reading the fields", ZEL_PND_READ_FIELDS, record);
    if (record.entry.fields == &wanted)
        record.entry.fields = nullptr;
    const CReceived<PndEntry> entry(record.entry);
    context.output.Show({{"fields", DescribePndFields(FieldsOf(entry.record))}});
}

// ---- Writing

void Add(CContext& context)
{
    PndWriteRecord record = {};
    record.store = context.arguments.Byte(0, "STORE");
    record.location = context.arguments.OptionWord("--location", 0);
    WritePndFields(context, ZEL_PND_WRITE_ENTRY, "writing the entry", record, 1);
}

void WriteFields(CContext& context)
{
    PndWriteRecord record = {};
    record.store = context.arguments.Byte(0, "STORE");
    record.location = context.arguments.Word(1, "LOCATION");
    WritePndFields(context, ZEL_PND_WRITE_FIELDS, "writing the fields", record, 2);
}

// ---- Commands that only a status answers

void RunCommand(CContext& context, std::uint32_t messageId)
{
    PndCommandRecord record = {0, context.arguments.Byte(0, "VALUE")};
    context.Phone().Send("the command", messageId, record);
    context.output.Show({{"done", true}});
}

void RunCommand21(CContext& context)
{
    RunCommand(context, ZEL_PND_COMMAND_21);
}

void RunCommand23(CContext& context)
{
    RunCommand(context, ZEL_PND_COMMAND_23);
}

void RunCommand15(CContext& context)
{
    constexpr std::uint8_t kRefusedStore = 16;
    PndCommand15Record record = {};
    record.store = context.arguments.Byte(0, "STORE");
    record.location = context.arguments.Word(1, "LOCATION");
    if (record.store == kRefusedStore)
        throw CUsageError("STORE: the command is not for store 16");
    context.Phone().Send("the command", ZEL_PND_COMMAND_15, record);
    context.output.Show({{"done", true}});
}

void RunCommand28(CContext& context)
{
    PndCommand28Record record = {};
    record.store = context.arguments.Byte(0, "STORE");
    record.location = context.arguments.Word(1, "LOCATION");
    record.value_8 = context.arguments.Byte(2, "VALUE-8");
    record.value_7 = context.arguments.Byte(3, "VALUE-7");
    context.Phone().Send("the command", ZEL_PND_COMMAND_28, record);
    context.output.Show({{"done", true}});
}

// ---- Indications

Value DescribeEvent(const void* record)
{
    const auto& event = *static_cast<const PndEventRecord*>(record);
    return {{"kind", event.kind},
            {"value_4", event.value_4},
            {"value_8", event.value_8},
            {"value_12", event.value_12},
            {"value_15", event.value_15}};
}

constexpr Option kReadOptions[] = {
    {"--kind", "N", "kind of the read (0: by location; 2 and 3 name no location)"},
    {"--mode", "N", "mode of the read (1)"},
    {"--value", "N", "a value of the request whose meaning is not known (0)"},
};
constexpr Option kFindOptions[] = {
    {"--type", "TYPE", "type of the text (7)"},
    {"--mode", "N", "mode of the read, not 1 (0)"},
    {"--value", "N", "a value of the request whose meaning is not known (0)"},
};
constexpr Option kKindOption[] = {{"--kind", "N", "kind of the read (0: by location; 2 and 3 name no location)"}};
constexpr Option kAttributeOption[] = {{"--attribute", "N", "attribute of the fields (0x80)"}};
constexpr Option kLocationOption[] = {{"--location", "N", "location to write to (0)"}};

constexpr Command kCommands[] = {
    {"pnd list", "STORE FIRST LAST", "lists the entries at these locations",
     "Locations that the phone refuses to read are left out and counted.", kReadOptions, List},
    {"pnd show", "STORE LOCATION", "shows an entry", "", kReadOptions, Show},
    {"pnd find", "STORE TEXT", "shows the entry with this text", "", kFindOptions, Find},
    {"pnd fields", "STORE LOCATION TYPE", "shows the fields of one type and attribute", "", kAttributeOption,
     ShowFields},
    {"pnd add", "STORE FIELD...", "writes an entry, and shows the location that the phone chose", kPndFieldHelp,
     kLocationOption, Add},
    {"pnd update", "STORE LOCATION FIELD...", "writes fields into an entry", kPndFieldHelp, kNoOptions, WriteFields},
    {"pnd show14", "LOCATION", "shows an entry of store 14", "", kKindOption, ShowPndStore14},
    {"pnd write14", "LOCATION VALUE-5 VALUE-6 VALUE-13", "writes an entry of store 14",
     "The meaning of the values is the phone's; VALUE-6 has 16 bits, the others 8.", kNoOptions, WritePndStore14},
    {"pnd show16", "LOCATION", "shows an entry of store 16, or 35 in newer phones", "", kKindOption, ShowPndStore16},
    {"pnd write16", "LOCATION FIELD...", "writes an entry of store 16, or 35 in newer phones", kPndFieldHelp,
     kNoOptions, WritePndStore16},
    {"pnd state", "STORE", "shows the state of a store", "The meaning of its values is the phone's.", kNoOptions,
     ShowPndState},
    {"pnd items", "VALUE", "lists named items", "The meaning of the values is the phone's.", kNoOptions, ShowPndItems},
    {"pnd command15", "STORE LOCATION", "sends command 15 for an entry", "Its meaning is not known.", kNoOptions,
     RunCommand15},
    {"pnd command21", "VALUE", "sends command 21", "Its meaning is not known.", kNoOptions, RunCommand21},
    {"pnd command23", "VALUE", "sends command 23", "Its meaning is not known.", kNoOptions, RunCommand23},
    {"pnd command28", "STORE LOCATION VALUE-8 VALUE-7", "sends command 28 for an entry", "Its meaning is not known.",
     kNoOptions, RunCommand28},
};

constexpr Indication kIndications[] = {{ZEL_PND_EVENT, "entry event", DescribeEvent, nullptr}};

}  // namespace

const Module kPNDModule = {0x03, kCommands, kIndications, nullptr};

}  // namespace zelctl

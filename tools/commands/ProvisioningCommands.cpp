#include "commands/ProvisioningCommands.h"

#include "commands/ProvisioningSets.h"
#include "shell/Failure.h"
#include "shell/Received.h"

namespace zelctl
{
namespace
{

std::filesystem::path FolderOf(const CContext& context)
{
    const std::string& folder = context.arguments.Text(0);
    if (folder.empty())
        throw CUsageError("FOLDER is empty");
    return ToUtf16(folder);
}

CReceived<ProvisioningList> ReadSets(CConnection& phone)
{
    const CProgress progress("Reading the sets and their contents...");
    CReceived<ProvisioningList> sets;
    phone.Send("reading the sets", ZEL_PROVISIONING_READ_ALL, sets.record);
    return sets;
}

Value Result(Value sets, const ProvisioningList& list)
{
    return {{"sets", std::move(sets)},
            {"value_16", list.value_16},
            {"value_17", list.value_17},
            {"value_18", list.value_18}};
}

void ListSets(CContext& context)
{
    const auto sets = ReadSets(context.Phone());
    context.output.Show(Result(DescribeSets(sets.record), sets.record));
}

void Save(CContext& context)
{
    const std::filesystem::path folder = FolderOf(context);
    RequireNoSets(folder);
    const auto sets = ReadSets(context.Phone());
    context.output.Show(Result(SaveSets(sets.record, folder), sets.record));
}

void Write(CContext& context)
{
    CSetsToSend sets(LoadSets(FolderOf(context)));
    {
        const CProgress progress("Writing the sets...");
        context.Phone().Send("writing the sets", ZEL_PROVISIONING_WRITE_ALL, sets.List());
    }
    context.output.Show({{"written", sets.List().count}});
}

void Select(CContext& context)
{
    const auto number = context.arguments.Byte(0, "NUMBER");
    ProvisioningNumber record = {0, number};
    context.Phone().Send("sending the number of the set", ZEL_PROVISIONING_SET_NUMBER, record);
    context.output.Show({{"number", number}});
}

constexpr Command kCommands[] = {
    {"provisioning list", "", "lists the setting sets",
     "Values 16 to 18 are the phone's summary. \"zelctl provisioning save\" saves the contents.", kNoOptions, ListSets},
    {"provisioning save", "FOLDER", "saves the setting sets and their contents in a folder",
     "The folder gets sets.json, which describes the sets, and a file for each content.", kNoOptions, Save},
    {"provisioning write", "FOLDER", "sends saved setting sets to the phone",
     "Reads sets.json, as \"zelctl provisioning save\" has written it. Contents cannot be sent.", kNoOptions, Write},
    {"provisioning select", "NUMBER", "sends the number of a set to the phone", "What it means is the phone's.",
     kNoOptions, Select},
};

}  // namespace

const Module kProvisioningModule = {0x22, kCommands, {}, nullptr};

}  // namespace zelctl

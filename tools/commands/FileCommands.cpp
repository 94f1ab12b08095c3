#include "commands/FileCommands.h"

#include "shell/Received.h"

#include <zelapi/file.h>

namespace zelctl
{
namespace
{

void ShowName(CContext& context)
{
    CReceived<FileLookupRecord> file;
    file.record.file_id = context.arguments.Number(0, "ID");
    context.Phone().Send("looking up the name of the file", ZEL_FILE_NAME_OF_ID, file.record);
    context.output.Show({{"file_id", file.record.file_id}, {"name", FromBStr(file.record.name)}});
}

void ShowId(CContext& context)
{
    const std::string& text = context.arguments.Text(0);
    const BStr name = ToBStr(text);
    FileLookupRecord record = {};
    record.name = name.get();
    context.Phone().Send("looking up the identifier of the file", ZEL_FILE_ID_OF_NAME, record);
    context.output.Show({{"name", text}, {"file_id", record.found_id}});
}

constexpr Command kCommands[] = {
    {"file name", "ID", "looks up the name of a file", "", kNoOptions, ShowName},
    {"file id", "NAME", "looks up the identifier of a file", "", kNoOptions, ShowId},
};

}  // namespace

const Module kFileModule = {0x6D, kCommands, {}, nullptr};

}  // namespace zelctl

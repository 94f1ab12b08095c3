#include "handlers/File2Handler.h"

#include "handlers/base/CallersData.h"
#include "zelapi/file.h"

namespace
{

void FindName(CConversation& phone, FileLookupRecord& record);
void FindId(CConversation& phone, FileLookupRecord& record);

constexpr Operation kOperations[] = {
    {ZEL_FILE_NAME_OF_ID, Serve<FindName>},
    {ZEL_FILE_ID_OF_NAME, Serve<FindId>},
};

constexpr Exchange kFindName = {.request = 0x84, .reply = 0x85};

void FindName(CConversation& phone, FileLookupRecord& record)
{
    CMessage message = phone.Request(kFindName);
    message.AppendWord(0);
    message.AppendDword(record.file_id);

    phone.Ask(message, kFindName);
    phone.RequireStatus(message);
    message.Skip(1);
    if (const std::uint16_t length = message.ReadWord(); length != 0)
        record.name = message.ReadString(length);
}

constexpr Exchange kFindId = {.request = 0x82, .reply = 0x83};

void FindId(CConversation& phone, FileLookupRecord& record)
{
    const BSTR name = &Required(record.name);
    CMessage message = phone.Request(kFindId);
    message.AppendWord(static_cast<std::uint16_t>(SysStringLen(name)));
    message.AppendString(name, true);

    phone.Ask(message, kFindId);
    phone.RequireStatus(message);
    message.Skip(1);
    record.found_id = message.ReadDword();
}

}  // namespace

CFile2Handler::CFile2Handler() : CContentHandler(kOperations) {}

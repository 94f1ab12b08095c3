#include "fuzz/FuzzService.h"
#include "handlers/File2Handler.h"

namespace
{

void Request(CFuzzCase& fuzz)
{
    const CBStrOwner name = fuzz.Text();
    FileLookupRecord record = {0, fuzz.Dword(), name.get(), 0};
    fuzz.Request(&record);
    if (record.name != name.get())
        TakeText(record.name);
}

const CFuzzService g_file(0x6D, NewHandler<CFile2Handler>, {Request});

}  // namespace

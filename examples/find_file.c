/* Looks up the name of a file of the phone with a given serial number, in C. */
#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#include <stdlib.h>
#include <zelapi/file.h>
#include <zelapi/full_access.h>
#include <zelapi/messaging.h>
#include <zelapi/time.h>
#include <zelapi/zelapi.h>

static int Report(const char* what, uint32_t result)
{
    fprintf(stderr, "%s: 0x%08X\n", what, (unsigned)result);
    return 1;
}

static int ShowName(ZelConnection phone, uint32_t file_id)
{
    FileLookupRecord record = {0};
    record.file_id = file_id;
    const uint32_t result = ZelSendMessage(phone, ZEL_FILE_NAME_OF_ID, &record);
    if (result != ZEL_OK)
        return Report("Cannot look up the file", result);
    wprintf(L"%ls\n", record.name != NULL ? record.name : L"");
    SysFreeString(record.name);
    return 0;
}

int wmain(int count, wchar_t** arguments)
{
    if (count != 3)
    {
        fputs("find_file SERIAL FILE_ID\n", stderr);
        return 2;
    }
    _setmode(_fileno(stdout), _O_U8TEXT);
    const uint32_t medium = ZEL_MEDIUM_2;
    ZelConnection phone = NULL;
    int code = 0;
    ZelAPI_Initialize();
    const uint32_t result = ZelOpenConnectionUsingSN(arguments[1], &medium, &phone);
    if (result == ZEL_OK)
    {
        code = ShowName(phone, (uint32_t)wcstoul(arguments[2], NULL, 0));
        ZelCloseConnection(phone);
    }
    else
        code = Report("Cannot open the phone", result);
    ZelAPI_Terminate();
    return code;
}

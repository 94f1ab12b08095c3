/** The phone's file service: from a file's identifier to its name and back. Resource byte 0x6D. */
#ifndef ZELAPI_FILE_H
#define ZELAPI_FILE_H

#include "zelapi.h"

/**
 * Looks up the name of a file. Record: FileLookupRecord; file_id in, name out.
 * @return ZEL_OK; 0x6D00 | status when the phone refuses; ZEL_E_ARGUMENT; the failure of the send.
 */
#define ZEL_FILE_NAME_OF_ID 0x6D01u

/**
 * Looks up the identifier of a file. Record: FileLookupRecord; name in, found_id out.
 * @return ZEL_OK; 0x6D00 | status when the phone refuses; ZEL_E_ARGUMENT, also for a null name; the failure of the
 * send.
 */
#define ZEL_FILE_ID_OF_NAME 0x6D02u

/** The record of both lookups. */
typedef struct FileLookupRecord
{
    uint32_t leading; /**< Not touched. */
    uint32_t file_id; /**< ZEL_FILE_NAME_OF_ID: the identifier to look up. */
    BSTR name;        /**< ZEL_FILE_NAME_OF_ID: receives the name, which the caller frees with SysFreeString; left as it
                           was when the phone's name is empty. What stands in it before is not freed.
                           ZEL_FILE_ID_OF_NAME: the name to look up, the caller's. */
    uint32_t found_id; /**< ZEL_FILE_ID_OF_NAME: receives the identifier. */
} FileLookupRecord;

#endif

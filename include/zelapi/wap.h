/** The phone's WAP connection settings. Resource byte 0x3F. */
#ifndef ZELAPI_WAP_H
#define ZELAPI_WAP_H

#include "zelapi.h"

/*
 * Every request takes a WapRequest and returns
 *   - ZEL_OK, also when the phone answers with another message: then the records are left as they are;
 *   - 0x3F00 | status when the phone refuses;
 *   - ZEL_E_ARGUMENT for a null or unreadable record: nothing is sent;
 *   - a code of its own when the send fails, see there.
 */

/**
 * Reads a byte; its meaning is the phone's. In: the low byte of key. Out: result, also when the phone refuses.
 * A send that fails gives ZEL_E_FAIL.
 */
#define ZEL_WAP_READ_BYTE 0x3F01u

/**
 * Command without data; its meaning is the phone's. The record is not looked at and may be null. A send that fails
 * gives ZEL_E_FAIL.
 */
#define ZEL_WAP_COMMAND 0x3F02u

/**
 * Reads a connection. In: key, connection. Out: the connection record. A send that fails gives its own code; a null or
 * unreadable connection ZEL_E_ARGUMENT.
 */
#define ZEL_WAP_READ_CONNECTION 0x3F03u

/**
 * Writes a connection; an identifier of 0 is for a new one. In: connection. Out: key and the identifier, as the phone
 * gave them. A send that fails gives ZEL_NOT_SUPPORTED; a null or unreadable connection ZEL_E_ARGUMENT.
 */
#define ZEL_WAP_WRITE_CONNECTION 0x3F04u

/** Command on one connection; its meaning is the phone's. In: key. A send that fails gives ZEL_NOT_SUPPORTED. */
#define ZEL_WAP_CONNECTION_COMMAND 0x3F05u

/** How many characters of the texts are sent. */
#define ZEL_WAP_FIRST_TEXT_LENGTH 50
#define ZEL_WAP_SECOND_TEXT_LENGTH 255

/** The settings of a connection; the meaning of value, flag and texts is the phone's. */
typedef struct WapConnection
{
    uint16_t identifier; /**< Names the connection for the phone; not 0 once it is stored. */
    uint8_t value;       /**< Received only. */
    uint8_t flag;        /**< 0 or 1; when written, anything but 0 counts as 1. */
    BSTR first_text;     /**< Received: the caller's to free with SysFreeString, what stands here before is not freed.
                              Written: stays the caller's; null is an empty text. */
    BSTR second_text;    /**< Likewise. */
} WapConnection;

/** The record of all requests. */
typedef struct WapRequest
{
    uint32_t leading; /**< Not touched. */
    uint16_t key;     /**< Names a connection. */
    uint8_t result;   /**< Receives the byte of ZEL_WAP_READ_BYTE. */
    WapConnection*
        connection; /**< ZEL_WAP_READ_CONNECTION fills it, ZEL_WAP_WRITE_CONNECTION sends it. The caller's. */
} WapRequest;

#endif

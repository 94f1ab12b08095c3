/** Raw access to the link. Resource byte 0xFF. */
#ifndef ZELAPI_FULL_ACCESS_H
#define ZELAPI_FULL_ACCESS_H

#include "zelapi.h"

/**
 * Tells the access that the link service grants to this connection. Record: AccessRecord. Nothing is sent to the phone.
 * The service is asked once for each connection, with the first request of this resource.
 * @return ZEL_OK; ZEL_E_FAIL for a null or unreadable record.
 */
#define ZEL_FULL_ACCESS_QUERY 0xFF01u

/**
 * Sends bytes over the link as they are. Record: RawRequest. There is no reply; what the phone says arrives as
 * ZEL_RAW_MESSAGE.
 * @return ZEL_OK; ZEL_E_FAIL for a null or unreadable record, or null or unreadable bytes with a length above 0; the
 *         failure of the send.
 */
#define ZEL_RAW_SEND 0xFF02u

/**
 * Indication: a raw message. Record: RawMessage. Raw messages are delivered once the connection has made a request of
 * this resource (ZEL_FULL_ACCESS_QUERY will do). Unlike other indications' records, RawMessage and its bytes are not
 * freed by the library: free bytes and record with CoTaskMemFree when the last target has seen them.
 */
#define ZEL_RAW_MESSAGE 0xFF10u

/** The record of ZEL_FULL_ACCESS_QUERY. */
typedef struct AccessRecord
{
    uint8_t access; /**< The access byte; its meaning is the link service's. */
} AccessRecord;

/** The record of ZEL_RAW_SEND. The bytes stay the caller's. */
typedef struct RawRequest
{
    uint32_t leading; /**< Not read. */
    uint16_t length;  /**< Number of bytes. */
    uint8_t* bytes;   /**< What to send. */
} RawRequest;

/** The record of ZEL_RAW_MESSAGE. */
typedef struct RawMessage
{
    uint32_t size;  /**< Size of this record in bytes, 16. */
    uint32_t count; /**< Number of bytes. */
    uint8_t* bytes; /**< What arrived. */
} RawMessage;

#endif

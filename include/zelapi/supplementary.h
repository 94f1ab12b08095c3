/** The phone's supplementary services. Resource byte 0x06. */
#ifndef ZELAPI_SUPPLEMENTARY_H
#define ZELAPI_SUPPLEMENTARY_H

#include "zelapi.h"

/*
 * A request names an operation and a service by numbers whose meaning is the phone's. Every request returns
 *   - ZEL_OK, also when the phone answers with another message: then the record is left as it is;
 *   - 0x600 | status when the phone answers with an error or rejects the request: the record is left as it is;
 *   - ZEL_E_ARGUMENT for a null or unreadable record: nothing is sent;
 *   - the failure of the send.
 */

/**
 * Operation 5 on a service, with a value. Record: SupplementaryRequest. In: service_code, value, and the detail records
 * of the entries. Out: entries.
 */
#define ZEL_SUPPLEMENTARY_QUERY 0x601u

/** Operation 5 with the fixed value 43. Record: SupplementaryRequest. In: service_code. Nothing is read back. */
#define ZEL_SUPPLEMENTARY_QUERY_43 0x602u

/**
 * Any operation on a service, with a value. Record: SupplementaryListRequest.
 * @return as above. For operation 3, ZEL_E_ARGUMENT also when its text record is null or unreadable, or when more than
 * 123 units of text would have to be sent: nothing is sent.
 */
#define ZEL_SUPPLEMENTARY_REQUEST 0x603u

/**
 * Any operation with the fixed value 43. Record: SupplementaryRequest. In: operation, service_code. Nothing is read
 * back.
 */
#define ZEL_SUPPLEMENTARY_REQUEST_43 0x604u

/**
 * Indication of the service. Record: SupplementaryIndication. Unlike other indications' records it is not freed by the
 * library: free it with CoTaskMemFree when the last target has seen it.
 */
#define ZEL_SUPPLEMENTARY_INDICATION 0x605u

/** The operation of ZEL_SUPPLEMENTARY_REQUEST that sends a text. */
#define ZEL_SUPPLEMENTARY_OPERATION_TEXT 3u

/** Entry types that fill the detail record. */
#define ZEL_SUPPLEMENTARY_ENTRY_VALUE 1u /**< value_2 only. */
#define ZEL_SUPPLEMENTARY_ENTRY_PARTS 4u /**< All of it, when the phone sends a part of id 5. */

/** Number of entries in a SupplementaryRequest: the phone names their number in one byte. */
#define ZEL_SUPPLEMENTARY_ENTRIES 255

/** What an entry tells. Only what the phone sends is stored; the rest stays as it is. */
typedef struct SupplementaryDetail
{
    uint8_t value_1; /**< Meaning is the phone's. */
    uint8_t value_2; /**< Likewise. */
    uint8_t value_3; /**< Likewise. */
    uint8_t value_4; /**< Likewise. */
    BSTR text;       /**< Received when it is not empty: the caller's to free with SysFreeString. An earlier text is not
                          freed. */
    uint8_t* data;   /**< Received when it is not empty: the caller's to free with CoTaskMemFree. Its length is the size
                          of the block, see IMalloc::GetSize. An earlier block is not freed. */
} SupplementaryDetail;

/** One entry of ZEL_SUPPLEMENTARY_QUERY. */
typedef struct SupplementaryEntry
{
    uint8_t type;                /**< Receives the entry type; that of entries the phone does not send stays. */
    SupplementaryDetail* detail; /**< The caller's, a record of its own for each entry; null or unreadable when the
                                      detail does not matter. */
    uint64_t unused;             /**< Not touched. */
} SupplementaryEntry;

/**
 * The record of ZEL_SUPPLEMENTARY_QUERY, ZEL_SUPPLEMENTARY_QUERY_43 and ZEL_SUPPLEMENTARY_REQUEST_43. The number of
 * entries is not told: clear their types before.
 */
typedef struct SupplementaryRequest
{
    uint32_t leading;     /**< Not touched. */
    uint8_t operation;    /**< ZEL_SUPPLEMENTARY_REQUEST_43: what to do. */
    uint8_t service_code; /**< With which service. */
    uint16_t value;       /**< ZEL_SUPPLEMENTARY_QUERY: a value that goes with it. */
    SupplementaryEntry entries[ZEL_SUPPLEMENTARY_ENTRIES];
} SupplementaryRequest;

/** The text of operation 3. */
typedef struct SupplementaryText
{
    uint32_t leading; /**< Not touched. */
    uint8_t length;   /**< Length that is sent, in UTF-16 units; a shorter text is sent with it as it is. */
    BSTR text;        /**< The caller's; null or unreadable counts as empty. */
} SupplementaryText;

/** One entry of ZEL_SUPPLEMENTARY_REQUEST. */
typedef struct SupplementaryListEntry
{
    uint8_t type;               /**< Entry type. */
    SupplementaryDetail detail; /**< All zeros where the phone sends nothing. */
} SupplementaryListEntry;

/** The record of ZEL_SUPPLEMENTARY_REQUEST. */
typedef struct SupplementaryListRequest
{
    uint32_t leading;     /**< Not touched. */
    uint8_t operation;    /**< What to do; receives the operation of the answer. */
    uint8_t service_code; /**< With which service. */
    uint16_t value;       /**< A value that goes with it; receives the value of the answer. */
    uint8_t count;        /**< Receives the number of entries. */
    union {
        const SupplementaryText* text;   /**< In, for operation 3: the caller's. */
        SupplementaryListEntry* entries; /**< Out: the entries, which the caller frees with CoTaskMemFree after the
                                              texts and data in them; null if there are none. */
    } list;                              /**< An answer replaces what stands here. */
} SupplementaryListRequest;

/** The record of ZEL_SUPPLEMENTARY_INDICATION. */
typedef struct SupplementaryIndication
{
    uint32_t leading;            /**< Always 0. */
    uint8_t first;               /**< Meaning is the phone's. */
    uint16_t second;             /**< Likewise. */
    uint8_t block_id;            /**< Id of the phone's first sub-block; 0 if there is none. */
    SupplementaryDetail* detail; /**< Always null: an indication that would have a detail is not delivered. */
} SupplementaryIndication;

#endif

/** The phone's storage areas. Resource byte 0xAA. */
#ifndef ZELAPI_STORAGE_H
#define ZELAPI_STORAGE_H

#include "zelapi.h"

/*
 * Every request returns
 *   - ZEL_OK;
 *   - 0xAA00 | status when the phone refuses: the record is left as it is;
 *   - ZEL_NOT_HANDLED when the phone answers with another message;
 *   - ZEL_E_ARGUMENT for a null or unreadable record: nothing is sent;
 *   - the failure of the send.
 */

/** Command on an area, with one byte; its meaning is the phone's. Record: StorageAreaCommand. */
#define ZEL_STORAGE_AREA_COMMAND 0xAA01u

/** Lists the storage areas, each number once. Record: StorageAreaList, which stays as it was where the phone names no
 * area: set count to 0 before. */
#define ZEL_STORAGE_LIST_AREAS 0xAA02u

/** Reads the identifiers that one area holds. Record: StorageIdentifierList. */
#define ZEL_STORAGE_LIST_IDENTIFIERS 0xAA03u

/** Command on one identifier; its meaning is the phone's. Record: StorageIdentifierCommand. */
#define ZEL_STORAGE_IDENTIFIER_COMMAND 0xAA04u

/** Command without data; its meaning is the phone's. The record is not looked at and may be null. */
#define ZEL_STORAGE_COMMAND 0xAA05u

/**
 * Indication: a storage event. Record: StorageEventRecord. Unlike other indications' records it is not freed by the
 * library: free it with CoTaskMemFree when the last target has seen it.
 */
#define ZEL_STORAGE_EVENT 0xAA06u

/** Command on one identifier, with three bytes; its meaning is the phone's. Record: StorageThreeByteCommand. */
#define ZEL_STORAGE_THREE_BYTE_COMMAND 0xAA07u

/** The record of ZEL_STORAGE_AREA_COMMAND. */
typedef struct StorageAreaCommand
{
    uint8_t value; /**< Sent to the phone. */
} StorageAreaCommand;

/** One storage area. */
typedef struct StorageArea
{
    uint32_t size;       /**< Size of this element in bytes, 16. */
    uint8_t number;      /**< Number of the area. */
    uint8_t name_length; /**< Length of the name in UTF-16 units. */
    BSTR name;           /**< The caller's to free with SysFreeString; null when the length is 0. */
} StorageArea;

/** The record of ZEL_STORAGE_LIST_AREAS. Count and array are left as they are when the phone names no area. */
typedef struct StorageAreaList
{
    uint32_t leading;   /**< Not touched. */
    uint8_t count;      /**< Receives the number of areas. */
    StorageArea* areas; /**< Receives the areas in the phone's order, which the caller frees with CoTaskMemFree after
                             their names. An earlier array is not freed. */
} StorageAreaList;

/** The record of ZEL_STORAGE_LIST_IDENTIFIERS. Count and array are left as they are when the answer holds no list. */
typedef struct StorageIdentifierList
{
    uint32_t leading;      /**< Not touched. */
    uint8_t unused_4;      /**< Not touched. */
    uint8_t area;          /**< Number of the area. */
    uint16_t unused_6;     /**< Not touched. */
    uint32_t unused_8;     /**< Not touched. */
    uint16_t count;        /**< Receives the number of identifiers. */
    uint32_t* identifiers; /**< Receives the identifiers, which the caller frees with CoTaskMemFree; null if the list is
                                empty. An earlier array is not freed. */
} StorageIdentifierList;

/** The record of ZEL_STORAGE_IDENTIFIER_COMMAND. */
typedef struct StorageIdentifierCommand
{
    uint32_t leading;    /**< Not touched. */
    uint32_t identifier; /**< Sent to the phone. */
} StorageIdentifierCommand;

/** The record of ZEL_STORAGE_THREE_BYTE_COMMAND. Only the low bytes of the three values are sent. */
typedef struct StorageThreeByteCommand
{
    uint32_t leading;    /**< Not touched. */
    uint32_t identifier; /**< Sent to the phone. */
    uint16_t first;      /**< First byte of the request. */
    uint16_t second;     /**< Second byte. */
    uint16_t third;      /**< Third byte. */
} StorageThreeByteCommand;

/** The record of ZEL_STORAGE_EVENT. The meaning of its values is the phone's. */
typedef struct StorageEventRecord
{
    uint16_t size;     /**< Size of this record in bytes, 12. */
    uint16_t reserved; /**< Always 0. */
    uint16_t event;    /**< 0 to 255. */
    uint16_t first;    /**< 0 to 255, or 0xFFFF when the phone sends no values. */
    uint16_t second;   /**< Likewise. */
    uint16_t third;    /**< Likewise. */
} StorageEventRecord;

#endif

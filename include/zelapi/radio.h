/**
 * The phone's radio service: a list of named items with data, and settings that are found by a key. Resource byte 0x3E.
 *
 * What keys, values and texts stand for is the phone's. Where the meaning of a value is not known, its name is its
 * place in the record.
 */
#ifndef ZELAPI_RADIO_H
#define ZELAPI_RADIO_H

#include "zelapi.h"

/*
 * Every request returns
 *   - ZEL_OK, also when the phone answers with another message: then the record is left as it is;
 *   - 0x3E00 | status when the phone refuses: the record is left as it is;
 *   - ZEL_E_ARGUMENT for a null or unreadable record (ZEL_RADIO_READ_SETTING: ZEL_E_FAIL): nothing is sent;
 *   - the failure of the send.
 */

/** Lists the items; waits 10 seconds for the answer. Record: RadioList. */
#define ZEL_RADIO_LIST 0x3E01u

/**
 * Writes an item. Record: RadioItemRecord.
 * @return as above; ZEL_E_ARGUMENT also for a null or unreadable item, null or unreadable data with a length above 0,
 * or a name and data of more than 65524 bytes together, two less for a name with an odd number of units: nothing is
 * sent.
 */
#define ZEL_RADIO_WRITE_ITEM 0x3E02u

/** Reads the setting of a key. In: key. Out: value_12 to value_16, text. Record: RadioSetting. */
#define ZEL_RADIO_READ_SETTING 0x3E03u

/**
 * Writes the setting of a key. In: all but second_key. Record: RadioSetting.
 * @return as above; ZEL_E_ARGUMENT also for a text of more than 120 units: nothing is sent.
 */
#define ZEL_RADIO_WRITE_SETTING 0x3E04u

/** Sends request 3 with two keys; its meaning is the phone's. In: key, second_key. Record: RadioSetting. */
#define ZEL_RADIO_REQUEST_3 0x3E05u

/** One item. */
typedef struct RadioItem
{
    uint32_t leading;    /**< Not read; 0 when received. */
    uint8_t value;       /**< Meaning not known. */
    BSTR name;           /**< Received: the caller's to free with SysFreeString; null for an empty name. Sent: null or
                              unreadable counts as empty. The phone is told the low 8 bits of its length; a name whose
                              low 8 bits are 0 is not sent, any other whole. */
    uint8_t data_length; /**< Number of bytes in the data. */
    uint8_t* data;       /**< Received: the caller's to free with CoTaskMemFree; null when the length is 0. */
} RadioItem;

/** The record of ZEL_RADIO_LIST. */
typedef struct RadioList
{
    uint32_t leading; /**< Not touched. */
    uint8_t value;    /**< Receives a value whose meaning is not known. */
    uint8_t count;    /**< Receives the number of items. */
    RadioItem* items; /**< Receives the items in the phone's order, which the caller frees with CoTaskMemFree after
                         their names and data; null if there are none. An item that the phone does not describe is all
                           zeros. An earlier array is not freed. */
} RadioList;

/** The record of ZEL_RADIO_WRITE_ITEM. */
typedef struct RadioItemRecord
{
    uint32_t leading;      /**< Not touched. */
    const RadioItem* item; /**< The item to write. */
} RadioItemRecord;

/** The record of the requests for settings. */
typedef struct RadioSetting
{
    uint32_t leading;    /**< Not touched. */
    uint8_t key;         /**< Which setting. */
    uint8_t second_key;  /**< ZEL_RADIO_REQUEST_3 only. */
    uint8_t unused_6[6]; /**< Not touched. */
    uint8_t value_12;    /**< Values of the setting; their meaning is not known. */
    uint8_t value_13;
    uint8_t value_14;
    uint8_t value_15;
    uint32_t value_16;
    BSTR text; /**< Read: receives a text that the caller frees with SysFreeString; left as it is when the phone's text
                    is empty. An earlier text is not freed. Written: null or unreadable counts as empty. */
} RadioSetting;

#endif

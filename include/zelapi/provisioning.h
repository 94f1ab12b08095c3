/**
 * The phone's provisioning service: sets of settings that were sent to the phone, each with a content of bytes.
 * Resource byte 0x22.
 *
 * Where the meaning of a value is not known, its name is its place in the record.
 */
#ifndef ZELAPI_PROVISIONING_H
#define ZELAPI_PROVISIONING_H

#include "zelapi.h"

/*
 * Every request returns
 *   - ZEL_OK, also when the phone has nothing to say (status 0) or answers with another message;
 *   - ZEL_PROVISIONING_NO_SERVICE when the phone does not have this service: nothing is sent, and the record is not
 *     looked at;
 *   - ZEL_PROVISIONING_REFUSED;
 *   - 0x2200 | status when the phone answers with a status other than 0 and 1;
 *   - the failure of the send.
 */

/** Result: the phone answers with message 2, which gives no reason. */
#define ZEL_PROVISIONING_REFUSED 2u
/** Result: the phone does not have this service. */
#define ZEL_PROVISIONING_NO_SERVICE 4u

/**
 * Reads all sets with their contents. Record: ProvisioningList. This takes one exchange for the list, one for each set
 * and one for the summary; a failure of any of them is the result, and the record is left as it is then. ZEL_OK with an
 * untouched record means that the phone gave no list.
 * @return as above; ZEL_E_ARGUMENT for a null or unreadable record: nothing is sent.
 */
#define ZEL_PROVISIONING_READ_ALL 0x2201u

/**
 * Sends sets to the phone: their access records, numbers and names; contents are not sent. Record: ProvisioningList,
 * which is not changed. A failure ends the write; the sets before it are in the phone then.
 * @return as above; ZEL_E_FAIL when the phone does not accept a name. ZEL_E_ARGUMENT when nothing is sent: for a null
 * or unreadable record, array of sets or block with a length above 0, or a name of more than 255 bytes of UTF-8.
 */
#define ZEL_PROVISIONING_WRITE_ALL 0x2202u

/** Sends the number of a set. Record: ProvisioningNumber; a null or unreadable one sends 0. */
#define ZEL_PROVISIONING_SET_NUMBER 0x2203u

/** Access data of a set. The phone names its values by number only. */
typedef struct ProvisioningAccess
{
    uint32_t leading; /**< Not read; 0 when received. */
    uint16_t value_4; /**< Meaning not known. */
    uint16_t value_6; /**< Meaning not known. */
    uint8_t length_a; /**< Number of bytes in block_a. */
    uint8_t length_b; /**< A length without bytes: only the number travels. */
    uint8_t* block_a; /**< Received: the caller's to free with CoTaskMemFree; null when length_a is 0. */
    uint8_t length_c; /**< Number of bytes in block_c. */
    uint8_t* block_c; /**< As block_a. */
} ProvisioningAccess;

/** Name of a set. */
typedef struct ProvisioningName
{
    uint32_t leading;    /**< Not read; 0 when received. */
    uint8_t value_4;     /**< Meaning not known. */
    uint8_t name_length; /**< Received: length of the name's UTF-8 in bytes. Not read when sent: the name tells. */
    BSTR name;           /**< The name ends at its first zero unit, the BSTR may be longer. Received: the caller's to
                              free with SysFreeString; null for an empty name. Sent: null or unreadable counts as
                              empty. */
} ProvisioningName;

/** One set of settings. */
typedef struct ProvisioningSet
{
    uint8_t unused_0[12];       /**< Not read; 0 when received. */
    uint8_t number;             /**< Number of the set. */
    ProvisioningAccess* access; /**< Received: the caller's to free with CoTaskMemFree after its blocks; null when the
                                     set has no details, filled with zeros when they do not name an access. Sent: null
                                     or unreadable counts as all zeros. */
    ProvisioningName* name;     /**< Received: the caller's to free with CoTaskMemFree after its text; null when the set
                                     has no details. Sent: null or unreadable is left out. */
    uint32_t unused_32;         /**< Not read; 0 when received. */
    uint32_t content_size;      /**< Received: number of bytes in the content. Not sent. */
    uint8_t* content;           /**< Received: the caller's to free with CoTaskMemFree; null when the size is 0. Not
                                     sent. */
} ProvisioningSet;

/** The record of ZEL_PROVISIONING_READ_ALL, which fills it, and ZEL_PROVISIONING_WRITE_ALL. */
typedef struct ProvisioningList
{
    uint32_t leading;      /**< Not touched. */
    uint8_t count;         /**< Number of sets. */
    ProvisioningSet* sets; /**< Reading: receives the sets in the phone's order, which the caller frees with
                                CoTaskMemFree after what they hold; null if there are none. A set that the phone does
                                not describe has number 0. An earlier array is not freed. */
    uint8_t value_16;      /**< Reading: receives the first byte of the summary, if the phone gives one. Not sent. */
    uint8_t value_17;      /**< Likewise the second. */
    uint8_t value_18;      /**< Likewise the third. */
} ProvisioningList;

/** The record of ZEL_PROVISIONING_SET_NUMBER. */
typedef struct ProvisioningNumber
{
    uint32_t leading; /**< Not touched. */
    uint8_t number;   /**< Number of the set. */
} ProvisioningNumber;

#endif

/** The phone's user profiles. Resource byte 0x39. */
#ifndef ZELAPI_PROFILES_H
#define ZELAPI_PROFILES_H

#include "zelapi.h"

/*
 * All requests take a ProfileRecord. Each returns
 *   - ZEL_OK, also when the phone answers with another message: then the record is left as it is;
 *   - ZEL_E_ARGUMENT for a null or unreadable record: nothing is sent. ZEL_PROFILES_OPERATION does not look at the
 *     record, ZEL_PROFILES_READ_BYTES only when it has something to store;
 *   - ZEL_E_ARGUMENT for a null or unreadable array with a count above 0: nothing is sent;
 *   - the failure of the send.
 * The phone's status is a byte: 1 means success.
 */

/**
 * Reads settings of a profile. In: p0 (sent as it is), p1 (sent with each setting id), p2 (number of setting ids),
 * in.setting_ids. Out: count, settings. Each setting has a status of its own; the request succeeds whatever they are.
 */
#define ZEL_PROFILES_READ_SETTINGS 0x3901u

/**
 * Writes settings. In: p0 (number of settings), in.settings. The phone's answers are stored in the same array, one
 * after the other from its start, whichever setting they are for: setting_id, profile and status. So the phone decides
 * what stands in setting_id afterwards: keep your own account of which element holds a text, and never take
 * value.text for one, to read or to free it, because setting_id says so.
 * @return as above; ZEL_PROFILES_TEXT_TOO_LONG for a text of more than 33 bytes: nothing is sent.
 */
#define ZEL_PROFILES_WRITE_SETTINGS 0x3902u

/**
 * Operation without data; its meaning is the phone's. The record may be null.
 * @return as above; 0x3900 | status for a status other than 0 and 1.
 */
#define ZEL_PROFILES_OPERATION 0x3903u

/**
 * Reads four bytes of the profiles. Out: p0 to p3, which stay as they are unless the status is 1.
 * @return as above; 0x3900 | status for a status other than 0 and 1; ZEL_E_FAIL when there is no record to store into.
 */
#define ZEL_PROFILES_READ_BYTES 0x3904u

/**
 * Writes four bytes of the profiles. In: p0 to p3.
 * @return as above; 0x3900 | status for a status other than 0 and 1.
 */
#define ZEL_PROFILES_WRITE_BYTES 0x3905u

/** A text that is to be written has more than 33 bytes, that is, more than 16 characters. */
#define ZEL_PROFILES_TEXT_TOO_LONG (0x3900u | 7u)

/** The setting id whose value is a text. */
#define ZEL_PROFILES_SETTING_TEXT 12u

/** Value types of the other settings. */
#define ZEL_PROFILES_TYPE_U8 1u
#define ZEL_PROFILES_TYPE_U16 2u
#define ZEL_PROFILES_TYPE_U32 8u

/** One setting of a profile. */
typedef struct ProfileSetting
{
    uint32_t leading;   /**< Not touched; 0 when received. */
    uint8_t profile;    /**< Number of the profile. */
    uint8_t second;     /**< Second profile byte; its meaning is the phone's. */
    uint32_t status;    /**< Received: the phone's status for this setting, 1 for success. */
    uint8_t type;       /**< ZEL_PROFILES_TYPE_...; a setting of another type is written without a value. Of a text,
                             received: its length in UTF-16 units. Written: set by the library to its length in bytes. */
    uint8_t setting_id; /**< What is set; ZEL_PROFILES_SETTING_TEXT, or one whose meaning is the phone's. */
    union {
        uint8_t u8;   /**< ZEL_PROFILES_TYPE_U8. */
        uint16_t u16; /**< ZEL_PROFILES_TYPE_U16. */
        uint32_t u32; /**< ZEL_PROFILES_TYPE_U32. */
        BSTR text;    /**< ZEL_PROFILES_SETTING_TEXT, whatever the type is. Written: the caller's; null or unreadable
                           counts as empty. Read: the caller's to free with SysFreeString; null unless the status is
                           1. */
    } value;
} ProfileSetting;

/** The record of all requests. */
typedef struct ProfileRecord
{
    uint32_t leading; /**< Not touched. */
    uint8_t p0;       /**< Four bytes; what they are depends on the request. */
    uint8_t p1;
    uint8_t p2;
    uint8_t p3;
    union {
        const uint8_t* setting_ids; /**< ZEL_PROFILES_READ_SETTINGS: what is to be read. */
        ProfileSetting* settings;   /**< ZEL_PROFILES_WRITE_SETTINGS: what is to be written. */
    } in;                           /**< Arrays of the caller. */
    uint32_t count;                 /**< ZEL_PROFILES_READ_SETTINGS: receives the number of settings. */
    ProfileSetting* settings;       /**< ZEL_PROFILES_READ_SETTINGS: receives the settings in the phone's order, which
                                         the caller frees with CoTaskMemFree after the texts in them; null if there are
                                         none. An element that the phone did not fill is all zeros. An earlier array is
                                         not freed. */
} ProfileRecord;

#endif

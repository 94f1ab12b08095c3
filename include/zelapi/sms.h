/**
 * Short messages. Resource byte 0x14; two requests go to the phone's resource 0x02, whose indications come here, too.
 *
 * Blocks of bytes are CoTaskMem blocks, texts are BSTRs. What a request stores in the caller's record belongs to the
 * caller, who frees it with CoTaskMemFree and SysFreeString. What stood in the record before is not freed, and a field
 * that the phone does not send is left as it was: zero a record before a request that reads. A request that fails
 * stores no block and no text.
 *
 * Results of every request, beside those it names itself:
 * ZEL_OK; 0x1400 | status when the phone refuses; ZEL_NOT_HANDLED when it answers with another message;
 * ZEL_E_ARGUMENT for a null or unreadable record; the failure of the send.
 */
#ifndef ZELAPI_SMS_H
#define ZELAPI_SMS_H

#include "zelapi.h"

/* ---------------------------------------------------------------------------------------------------------------------
 * Parts of the records
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Longest address, user data or extra parameters that is sent, in bytes. What is longer is cut.
 *
 * It is not what a phone can read. All lengths on the way are bytes, and one that does not fit wraps unseen. Count each
 * parameter with its bytes and 4 more (3 for the extra parameters), rounded up to a multiple of 4: one parameter may
 * take 252 bytes, which are 248 of user data. All of one message together may take
 *   - 244 when it is submitted, or stored with kind 2 and no time stamp;
 *   - 236 with kind 0, 232 with kind 1; a time stamp takes 12 of them.
 * So 212 together go into every message.
 */
#define ZEL_SMS_PARAMETER_MAX 255u

/**
 * Addresses, user data and extra parameters of a message. When it is sent, a parameter goes along if its length is not
 * 0 and its bytes can be read. When it is read, both address lengths are set to 0 first.
 */
typedef struct SmsParameterGroup
{
    uint32_t leading;               /**< Not touched. */
    uint8_t first_address_type;     /**< Type of the first address; its meaning is the phone's. */
    uint32_t first_address_length;  /**< Length of the first address in bytes. */
    uint8_t* first_address;         /**< Its bytes. */
    uint8_t second_address_type;    /**< Type of the second address. */
    uint32_t second_address_length; /**< Length of the second address in bytes. */
    uint8_t* second_address;        /**< Its bytes. */
    uint32_t extra_length;          /**< Length of the extra parameters in bytes. */
    uint8_t* extra;                 /**< The extra parameters. */
    uint16_t user_data_coding;      /**< Coding of the user data, 0 to 255. */
    uint32_t user_data_length;      /**< Length of the user data in bytes. */
    uint8_t* user_data;             /**< The user data. */
} SmsParameterGroup;

/** The time stamp of a stored message, converted to UTC when it is read and from UTC when it is written. */
typedef struct SmsTime
{
    uint16_t year;       /**< Year, in full. */
    uint8_t month;       /**< 1 to 12. */
    uint8_t day;         /**< 1 to 31. */
    uint8_t hour;        /**< 0 to 23. */
    uint8_t minute;      /**< 0 to 59. */
    uint8_t second;      /**< 0 to 59. */
    int32_t base_offset; /**< Read: the PC's local time minus UTC, in minutes, without the extra offset. Not written. */
    int32_t extra_offset; /**< Read: minutes that standard or daylight time add. Not written. */
} SmsTime;

#define ZEL_SMS_KIND_0 0u /**< Header bytes 0, 1, 2; the first block. */
#define ZEL_SMS_KIND_1 1u /**< Header bytes 0, 3; both blocks. */
#define ZEL_SMS_KIND_2 2u /**< Header bytes 0, 3, 1, 2; no block. Not in SmsReceivedMessage. */

/** Length of both blocks of SmsContent in bytes. */
#define ZEL_SMS_BLOCK_LENGTH 7u

/** Header and blocks of a message, by its kind. */
typedef struct SmsContent
{
    uint32_t unused;             /**< Not touched. */
    uint8_t kind;                /**< ZEL_SMS_KIND_…; set to 0 when the phone sends another kind. */
    uint8_t value;               /**< ZEL_SMS_READ: receives the first byte of the reply after the status. */
    uint8_t header[4];           /**< Header bytes; their meaning is the phone's. The kind says which are used. */
    uint8_t first_block_length;  /**< Receives ZEL_SMS_BLOCK_LENGTH. Written: 0 if the block may be null. */
    uint8_t* first_block;        /**< ZEL_SMS_BLOCK_LENGTH bytes. Null with length 0 is written as zeros. */
    uint8_t second_block_length; /**< As for the first block. */
    uint8_t* second_block;       /**< As the first block. */
} SmsContent;

/* ---------------------------------------------------------------------------------------------------------------------
 * Requests
 * ------------------------------------------------------------------------------------------------------------------ */

/** Lists numbers of 16 bits, as selected by three bytes. Record: SmsList. */
#define ZEL_SMS_LIST 0x1401u

typedef struct SmsList
{
    uint32_t leading;    /**< Not touched. */
    uint8_t selector[3]; /**< Sent in this order; their meaning is the phone's. */
    uint16_t count;      /**< Receives the number of values. */
    uint16_t* values;    /**< Receives the values; null if there are none. */
} SmsList;

/**
 * Submits a message. Record: SmsSubmit. Waits up to 30 seconds.
 * @return (first cause byte << 8) | second cause byte when the phone names a cause whose second byte is not 0;
 *         ZEL_E_ARGUMENT, with nothing sent, for another kind than ZEL_SMS_SUBMIT_KIND. There is no status.
 */
#define ZEL_SMS_SUBMIT 0x1402u

/** The only kind of message that can be submitted. */
#define ZEL_SMS_SUBMIT_KIND 2u

typedef struct SmsSubmit
{
    uint32_t leading;             /**< Not touched. */
    uint8_t request[4];           /**< First bytes of the request; their meaning is the phone's. */
    uint8_t kind;                 /**< ZEL_SMS_SUBMIT_KIND. */
    uint8_t header[4];            /**< First bytes of the message; their meaning is the phone's. */
    SmsParameterGroup parameters; /**< Sent with the message. */
} SmsSubmit;

/**
 * Reads a stored message. Record: SmsStoredMessage; location and selectors in, the rest out.
 * @return ZEL_NOT_SUPPORTED when the phone sends a message of another kind than ZEL_SMS_KIND_0 to 2; the failure of the
 *         conversion of its time stamp. In both cases at most value and kind of the content are stored.
 */
#define ZEL_SMS_READ 0x1403u

/**
 * Writes a message into the phone's store. Record: SmsStoredMessage; its location receives the new one. With an unknown
 * kind no content and no parameters are sent.
 * @return ZEL_E_ARGUMENT, with nothing sent, also for a block that has a length but cannot be read.
 */
#define ZEL_SMS_WRITE 0x1404u

typedef struct SmsStoredMessage
{
    uint32_t leading;             /**< Not touched. */
    uint16_t location;            /**< Location in the store. */
    uint8_t first_selector;       /**< Sent second; its meaning is the phone's. */
    uint8_t second_selector;      /**< Sent first. */
    uint8_t third_selector;       /**< Sent after the location. */
    SmsContent content;           /**< Header and blocks. */
    SmsTime* time;                /**< Time stamp, a CoTaskMem block. Null for none. */
    SmsParameterGroup parameters; /**< Addresses, user data and extra parameters. */
} SmsStoredMessage;

/** A command on one location of the store. Record: SmsLocationCommand. */
#define ZEL_SMS_LOCATION_COMMAND 0x1405u

typedef struct SmsLocationCommand
{
    uint32_t leading;    /**< Not touched. */
    uint8_t selector[2]; /**< Sent in this order; their meaning is the phone's. */
    uint16_t location;   /**< Location in the store. */
} SmsLocationCommand;

/** Reads what the phone keeps beside a location: three blocks and a text. Record: SmsDetails. */
#define ZEL_SMS_READ_DETAILS 0x1406u

/** Length of the first two blocks of SmsDetails in bytes; the third has ZEL_SMS_BLOCK_LENGTH. */
#define ZEL_SMS_DETAIL_LENGTH 12u

/** Everything behind the location is left as it was when the phone sends no details. Meanings are the phone's. */
typedef struct SmsDetails
{
    uint32_t leading;      /**< Not touched. */
    uint8_t selector[2];   /**< Sent in this order. */
    uint16_t location;     /**< Location to read. */
    uint8_t lead[2];       /**< First two bytes of the details. */
    uint8_t values[3];     /**< Next three bytes. */
    uint8_t text_length;   /**< Length of the text in units of 16 bits. */
    uint8_t* first_block;  /**< ZEL_SMS_DETAIL_LENGTH bytes. */
    uint8_t* second_block; /**< ZEL_SMS_DETAIL_LENGTH bytes. */
    uint8_t* third_block;  /**< ZEL_SMS_BLOCK_LENGTH bytes. */
    BSTR text;             /**< The text; left as it was when its length is 0. */
    uint8_t trail[2];      /**< The two bytes before the last value. */
    uint16_t last_value;   /**< Last 16 bits of the details. */
} SmsDetails;

/**
 * Reads two addresses and one more block of bytes. Record: SmsAddresses. When the phone sends several groups of them,
 * each overwrites the fields that it brings.
 * @return 0x0200 | status when the phone refuses.
 */
#define ZEL_SMS_READ_ADDRESSES 0x1407u

typedef struct SmsAddresses
{
    uint32_t leading;               /**< Not touched. */
    uint8_t request[2];             /**< Sent in this order; their meaning is the phone's. */
    uint32_t unused;                /**< Not touched. */
    uint8_t inverted;               /**< 255 minus the phone's byte. */
    uint8_t values[3];              /**< Next three bytes; their meaning is the phone's. */
    uint8_t first_address_type;     /**< Type of the first address. */
    uint32_t first_address_length;  /**< Its length in bytes; 0 when the last group has none. */
    uint8_t* first_address;         /**< Its bytes. */
    uint8_t second_address_type;    /**< Type of the second address. */
    uint32_t second_address_length; /**< Its length as the phone states it; 0 when the last group has none. */
    uint8_t* second_address;        /**< As many of its bytes as the first address is long, then zeros up to its own
                                         length. Null when the first address is empty. */
    uint8_t block_value;            /**< The byte beside the block. */
    uint8_t block_length;           /**< Length of the block in bytes. */
    uint8_t* block;                 /**< The block. */
} SmsAddresses;

/** Lists texts. Record: SmsTextList. */
#define ZEL_SMS_LIST_TEXTS 0x1408u

typedef struct SmsText
{
    uint32_t leading;    /**< 0. */
    uint8_t value;       /**< The byte before the text; its meaning is the phone's. */
    uint8_t text_length; /**< Length of the text in units of 16 bits. */
    BSTR text;           /**< The text, to be freed; null in an entry that the phone left out. */
} SmsText;

typedef struct SmsTextList
{
    uint32_t leading; /**< Not touched. */
    uint8_t count;    /**< Receives the number of entries. */
    SmsText* entries; /**< Receives the entries, one CoTaskMem block; null if there are none. */
} SmsTextList;

/**
 * Writes a text. Record: SmsTextToWrite. The text is cut to ZEL_SMS_TEXT_MAX units, or to ZEL_SMS_TEXT_MAX_UNKNOWN when
 * the phone's version of this service is not known.
 */
#define ZEL_SMS_WRITE_TEXT 0x1409u

#define ZEL_SMS_TEXT_MAX 40u         /**< Longest text, in units of 16 bits. */
#define ZEL_SMS_TEXT_MAX_UNKNOWN 14u /**< The same, when the service's version is not known. */

typedef struct SmsTextToWrite
{
    uint32_t leading; /**< Not touched. */
    uint8_t value;    /**< Sent before the text; its meaning is the phone's. */
    BSTR text;        /**< The text, the caller's. Null is sent as an empty text. */
} SmsTextToWrite;

/** A command of one byte. Record: SmsCommand. */
#define ZEL_SMS_COMMAND 0x140Au

typedef struct SmsCommand
{
    uint32_t leading; /**< Not touched. */
    uint8_t value;    /**< The command; its meaning is the phone's. */
} SmsCommand;

/* ---------------------------------------------------------------------------------------------------------------------
 * Indications. Their records belong to the library and are valid during the delivery only.
 * ------------------------------------------------------------------------------------------------------------------ */

/** Indication: a message was received or stored. Record: SmsReceivedMessage. */
#define ZEL_SMS_RECEIVED 0x020Eu

/** Indication: an event with two values. Record: SmsEvent. */
#define ZEL_SMS_EVENT 0x140Cu

/** Indication: an event without values. No record. */
#define ZEL_SMS_SIGNAL 0x140Du

/** Without a message in the indication, everything behind the location is 0. */
typedef struct SmsReceivedMessage
{
    uint32_t leading;             /**< 0. */
    uint8_t value;                /**< First byte of the indication; its meaning is the phone's. */
    uint16_t location;            /**< Location in the store. */
    SmsParameterGroup parameters; /**< Addresses, user data and extra parameters. */
    SmsContent content;           /**< Header and blocks of ZEL_SMS_KIND_0 or 1. */
    uint8_t* further;             /**< Null. */
} SmsReceivedMessage;

typedef struct SmsEvent
{
    uint32_t leading;     /**< 0. */
    uint16_t first_value; /**< Meaning not known. */
    uint8_t second_value; /**< Meaning not known. */
} SmsEvent;

#endif

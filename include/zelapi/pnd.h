/**
 * The phone's PND service: stores of entries, each a list of typed fields. Resource byte 3.
 *
 * A store has a number, an entry in it a location. The phone names field types by number only; what they stand for is
 * the phone's. Where the meaning of a value is not known, its name is its place in the record.
 *
 * Every request answers ZEL_E_ARGUMENT for a null or unreadable record, the failure of the send, 0x300 | status when
 * the phone refuses, and ZEL_OK otherwise. ZEL_OK with an untouched record means that the phone had nothing to say.
 */
#ifndef ZELAPI_PND_H
#define ZELAPI_PND_H

#include "zelapi.h"

/** A command that only a status answers; what it does is not known. Record: PndCommandRecord. */
#define ZEL_PND_COMMAND_21 0x301u
/** As ZEL_PND_COMMAND_21, with another effect. Record: PndCommandRecord. */
#define ZEL_PND_COMMAND_23 0x302u

/**
 * Reads an entry. Record: PndReadRecord; its entry is filled. With kind ZEL_PND_BY_TEXT the first field of its entry
 * holds the text to look for.
 * @return ZEL_E_ARGUMENT when that text is missing or empty, or has a multiple of 256 units; ZEL_E_FAIL when the reply
 * has a malformed field, no field is delivered then.
 */
#define ZEL_PND_READ_ENTRY 0x303u

/**
 * Writes an entry. Record: PndWriteRecord; the location is replaced by the one that the phone has chosen.
 * @return ZEL_E_ARGUMENT when there is no field with a type, or the fields cannot be read.
 */
#define ZEL_PND_WRITE_ENTRY 0x304u

/**
 * Reads the fields of one type and attribute, those of the first field in the record's entry. Record: PndReadRecord;
 * the fields of its entry are replaced by those found, or left when there are none.
 * @return ZEL_E_ARGUMENT when there is no first field; ZEL_E_FAIL when the reply has a malformed field, no field is
 * delivered then.
 */
#define ZEL_PND_READ_FIELDS 0x305u

/**
 * Writes fields into an entry that exists. Record: PndWriteRecord.
 * @return as for ZEL_PND_WRITE_ENTRY.
 */
#define ZEL_PND_WRITE_FIELDS 0x306u

/** A command for one entry that only a status answers; what it does is not known. Record: PndCommand28Record. */
#define ZEL_PND_COMMAND_28 0x307u

/**
 * A command for one entry that only a status answers; what it does is not known. Record: PndCommand15Record.
 * @return ZEL_E_ARGUMENT for store 16.
 */
#define ZEL_PND_COMMAND_15 0x308u

/** Lists named items. Record: PndListRecord. */
#define ZEL_PND_LIST 0x309u

/** Reads an entry of store 14. Record: PndStore14Record. */
#define ZEL_PND_READ_STORE_14 0x30Au

/**
 * Writes an entry of store 14. Record: PndStore14Record; the first of its items is sent.
 * @return ZEL_E_ARGUMENT when there is no item.
 */
#define ZEL_PND_WRITE_STORE_14 0x30Bu

/**
 * Reads an entry of store 16, from service version 5.25 on of store 35. Record: PndReadStore16Record; its entry is
 * filled.
 * @return ZEL_E_FAIL when the reply has a malformed field, no field is delivered then.
 */
#define ZEL_PND_READ_STORE_16 0x30Cu

/** Writes an entry of store 16, from service version 5.25 on of store 35; otherwise ZEL_PND_WRITE_ENTRY. */
#define ZEL_PND_WRITE_STORE_16 0x30Du

/** Asks for the state of a store. Record: PndStoreStateRecord. */
#define ZEL_PND_STORE_STATE 0x30Eu

/** Indication: something has happened to an entry. Record: PndEventRecord. */
#define ZEL_PND_EVENT 0x31Eu

/** Kind of a read: look for a text, unless PndReadRecord::mode is ZEL_PND_MODE_LOCATION. */
#define ZEL_PND_BY_TEXT 1u
/** Kinds of a read that name no location. */
#define ZEL_PND_ANY_LOCATION_2 2u
#define ZEL_PND_ANY_LOCATION_3 3u
/** PndReadRecord::mode that reads by location even with kind ZEL_PND_BY_TEXT. */
#define ZEL_PND_MODE_LOCATION 1u

/** The value of a field of type 87. */
typedef struct PndCompound
{
    uint16_t word;
    uint8_t bytes[4];
} PndCompound;

/**
 * The value of a field, by its type:
 *   - text: types 7 to 11, 18, 44, 52 to 54, 56, 57, 62, 63, 70 to 73, 82 to 86;
 *   - number: 32 bits for 51, 55 and 69; 16 for 12 and 67; 8 for 25, 28, 30, 40 and 64;
 *   - compound: 87.
 */
typedef union PndValue {
    uint32_t number;
    BSTR text; /**< In a field that was read its length includes the terminating zero unit of the wire. A text that is
                    sent may have 126 units, and 32,761 in a field of type 63 to a phone with version 5.54 or later of
                    the service. Longer ones are not refused: they go out whole behind a length that has wrapped, and
                    the phone reads something else. */
    PndCompound compound;
} PndValue;

/**
 * One field of an entry.
 *
 * The library allocates the arrays of fields that it delivers, with CoTaskMemAlloc, and the texts in them: the
 * application frees each text with SysFreeString, then the array with CoTaskMemFree. The fields that it sends stay
 * the application's; a null text is sent like an empty one.
 */
typedef struct PndField
{
    uint32_t leading;      /**< Not touched. */
    uint8_t attribute;     /**< A 0 is sent as 0x80, and becomes 0x80 here. */
    uint8_t unused[3];     /**< Not touched. */
    uint8_t sub_attribute; /**< Type 11 only; a 0 from the phone is stored as 1. */
    uint8_t type;          /**< 0 in a field that was read: of a type that the library does not know, without value. */
    PndValue value;        /**< By type. */
    BSTR texts[6];         /**< Type 74, a group, only: its texts, null where there is none. A text may have 126 units.
                                A longer one is left out when its length modulo 256 is 0 or above 126; otherwise it goes
                                out whole behind a wrapped length, and the phone reads something else. */
} PndField;

/** An entry in a record that reads one. */
typedef struct PndEntry
{
    uint16_t location;
    uint32_t value;      /**< Filled; meaning not known. */
    uint8_t field_count; /**< Number of fields that were read. */
    PndField* fields;    /**< Receives an array of fields, or null when field_count is 0. What stands here before
                              belongs to the application and is not freed. */
} PndEntry;

/** The record of ZEL_PND_READ_ENTRY and ZEL_PND_READ_FIELDS. */
typedef struct PndReadRecord
{
    uint32_t leading; /**< Not touched. */
    uint8_t kind;     /**< ZEL_PND_READ_ENTRY: ZEL_PND_BY_TEXT, ZEL_PND_ANY_LOCATION_2 or _3; by location otherwise. */
    uint8_t mode;     /**< ZEL_PND_READ_ENTRY: ZEL_PND_MODE_LOCATION, or another value for the phone. */
    uint8_t value_6;  /**< ZEL_PND_READ_ENTRY: sent; meaning not known. */
    uint8_t store;    /**< Number of the store. */
    PndEntry entry;   /**< Its location is sent. */
} PndReadRecord;

/** The record of ZEL_PND_READ_STORE_16. */
typedef struct PndReadStore16Record
{
    uint32_t leading;  /**< Not touched. */
    uint8_t kind;      /**< ZEL_PND_ANY_LOCATION_2 or _3; by location otherwise. */
    uint16_t location; /**< Location to read. */
    PndEntry entry;    /**< Filled. */
} PndReadStore16Record;

/** The record of ZEL_PND_WRITE_ENTRY, ZEL_PND_WRITE_FIELDS and ZEL_PND_WRITE_STORE_16. */
typedef struct PndWriteRecord
{
    uint32_t leading;    /**< Not touched. */
    uint8_t store;       /**< Number of the store; ZEL_PND_WRITE_STORE_16 does not look at it. */
    uint16_t location;   /**< Sent, and replaced by the phone's, except for ZEL_PND_WRITE_FIELDS. */
    uint8_t field_count; /**< Length of the array. A field whose type is 0 is not sent and lowers this number by one. */
    PndField* fields;    /**< The application's. */
} PndWriteRecord;

/** The record of ZEL_PND_COMMAND_21 and ZEL_PND_COMMAND_23. */
typedef struct PndCommandRecord
{
    uint32_t leading; /**< Not touched. */
    uint8_t value_4;  /**< Sent; meaning not known. */
} PndCommandRecord;

/** The record of ZEL_PND_COMMAND_28. */
typedef struct PndCommand28Record
{
    uint32_t leading;  /**< Not touched. */
    uint16_t location; /**< Location of the entry. */
    uint8_t store;     /**< Number of the store. */
    uint8_t value_7;   /**< Sent last; meaning not known. */
    uint8_t value_8;   /**< Sent before value_7; meaning not known. */
} PndCommand28Record;

/** The record of ZEL_PND_COMMAND_15. */
typedef struct PndCommand15Record
{
    uint32_t leading;  /**< Not touched. */
    uint16_t location; /**< Location of the entry. */
    uint8_t store;     /**< Number of the store; not 16. */
} PndCommand15Record;

/** An item of ZEL_PND_LIST; all zero when the phone sent something else in its place. */
typedef struct PndItem
{
    uint32_t leading; /**< 0. */
    uint8_t value_4;
    uint8_t value_5;
    uint16_t value_6;
    uint8_t value_8;
    uint8_t text_length; /**< Length of the text in bytes, as the phone sent it. */
    BSTR text;           /**< The application frees it with SysFreeString. */
} PndItem;

/** The record of ZEL_PND_LIST. */
typedef struct PndListRecord
{
    uint32_t leading; /**< Not touched. */
    uint8_t value_4;  /**< Sent; meaning not known. */
    uint8_t count;    /**< Receives the number of items. */
    PndItem* items;   /**< Receives the items; the application frees their texts, then the array with CoTaskMemFree. */
} PndListRecord;

/** An item of an entry in store 14; the meaning of its values is the phone's. */
typedef struct PndStore14Item
{
    uint32_t leading; /**< Not touched. */
    uint8_t value_4;
    uint8_t value_5;  /**< Sent by a write. */
    uint16_t value_6; /**< Sent by a write. */
    uint32_t value_8;
    uint8_t value_12;
    uint8_t value_13; /**< Sent by a write. */
} PndStore14Item;

/** The record of ZEL_PND_READ_STORE_14 and ZEL_PND_WRITE_STORE_14. */
typedef struct PndStore14Record
{
    uint32_t leading;      /**< Not touched. */
    uint8_t kind;          /**< Read: ZEL_PND_ANY_LOCATION_2 or _3; by location otherwise. */
    uint16_t location;     /**< Sent; a read replaces it by the phone's. */
    uint32_t value;        /**< A read fills it; meaning not known. */
    uint8_t count;         /**< A read fills in the number of items. */
    PndStore14Item* items; /**< A read fills in an array of that many items, only the first with values, or null for
                                none; the application frees it with CoTaskMemFree. */
} PndStore14Record;

/** The record of ZEL_PND_STORE_STATE; the meaning of its values is the phone's. */
typedef struct PndStoreStateRecord
{
    uint32_t leading;  /**< Not touched. */
    uint8_t store;     /**< Number of the store; replaced by the phone's. */
    uint32_t value_8;  /**< Filled. */
    uint16_t value_12; /**< Filled, as those below, when the phone sends its sub-block 16. */
    uint16_t value_14;
    uint8_t value_16;
    uint8_t value_17;
} PndStoreStateRecord;

/** What PndEventRecord::kind says. The phone's other numbers come as ZEL_PND_EVENT_2, too. */
#define ZEL_PND_EVENT_1 1u
#define ZEL_PND_EVENT_2 2u
#define ZEL_PND_EVENT_3 3u
#define ZEL_PND_EVENT_4 4u

/** The record of ZEL_PND_EVENT. It belongs to the library; valid during the delivery only. */
typedef struct PndEventRecord
{
    uint32_t leading; /**< 0. */
    uint8_t value_4;
    uint32_t value_8;
    uint16_t value_12;
    uint8_t kind; /**< ZEL_PND_EVENT_1 to ZEL_PND_EVENT_4. */
    uint8_t value_15;
} PndEventRecord;

#endif

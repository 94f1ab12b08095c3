/** The phone's calendar: its entries and their fields. Resource byte 0x13. It sends no indications. */
#ifndef ZELAPI_CALENDAR_H
#define ZELAPI_CALENDAR_H

#include "zelapi.h"

/*
 * Results of all requests, where nothing else is said:
 *   ZEL_OK             done; also when the phone's reply is of another kind, and then the record is untouched;
 *   0x1300 | status    the phone refuses;
 *   ZEL_E_ARGUMENT     null or unreadable record;
 *   another code       the failure of the send, or an HRESULT, E_OUTOFMEMORY.
 * Unless ZEL_OK comes back, nothing that has to be freed is stored in a record.
 */

/**
 * Lists the locations of entries. Record: CalendarListRecord. The listing goes on while the phone announces more; it
 * ends where the phone repeats itself 32 times in a row, and at 65,535 locations.
 * @return also ZEL_CALENDAR_LAST_PART when the list is empty; ZEL_E_VERSION in the modes 2 and 3 when the phone's
 * version of the service is not known.
 */
#define ZEL_CALENDAR_LIST 0x1301u

/** Reads one entry. Record: CalendarEntryRecord. From phones before service version 3.1 it gets no texts. */
#define ZEL_CALENDAR_READ 0x1302u

/**
 * Writes one entry: the one at the location in its field ZEL_CALENDAR_LOCATION, a new one when that is 0 or missing.
 * Record: CalendarEntryRecord.
 * Phones before service version 3.1 take the texts 1 and 2 up to 65535 units, and of the texts 3 and 4 the first one
 * that is not empty, up to 255 units; the rest is cut off.
 * @return ZEL_E_ARGUMENT also when there are no fields, or, for phones from version 3.1 on, more than 255 of them or
 * one that is too long: nothing is sent.
 */
#define ZEL_CALENDAR_WRITE 0x1303u

/** Asks the phone about a location; it answers with one. Record: CalendarLocationRecord. */
#define ZEL_CALENDAR_QUERY 0x1304u

/** Runs the phone's operation on one kind of entries; its meaning is the phone's. Record: CalendarKindRecord. */
#define ZEL_CALENDAR_KIND_OPERATION 0x1305u

/**
 * Reads how full the calendar is, from service version 3.7 on. Record: CalendarSummaryRecord.
 * @return ZEL_NOT_SUPPORTED when the service is older or its version is not known.
 */
#define ZEL_CALENDAR_SUMMARY 0x1306u

/** What ZEL_CALENDAR_LIST answers for an empty calendar: the phone's status 7, "this is the last part". */
#define ZEL_CALENDAR_LAST_PART (0x1300u | 7u)

/** Kinds of entries: ZEL_CALENDAR_ENTRY_KIND, and the kind of CalendarKindRecord. */
#define ZEL_CALENDAR_ENTRY_KIND_1 1u
#define ZEL_CALENDAR_ENTRY_KIND_2 2u
#define ZEL_CALENDAR_ENTRY_KIND_3 3u /**< When read, it always has a kind code; 1 if the phone sends none. */

/** Kind codes: ZEL_CALENDAR_KIND_CODE, and the selector of CalendarListRecord. */
#define ZEL_CALENDAR_KIND_CODE_3 3u
#define ZEL_CALENDAR_KIND_CODE_4 4u
#define ZEL_CALENDAR_KIND_CODE_5 5u

/** Field ids, by the type of their value. Where a name is only a number, the meaning is the phone's. */
#define ZEL_CALENDAR_LOCATION 0x0101u   /**< Number: where the phone keeps the entry. */
#define ZEL_CALENDAR_ENTRY_KIND 0x0102u /**< Number. */
#define ZEL_CALENDAR_KIND_CODE 0x0103u  /**< Number. */
#define ZEL_CALENDAR_NUMBER_4 0x0104u   /**< Number. */
#define ZEL_CALENDAR_NUMBER_5 0x0105u   /**< Number. */
/** Number. Phones before service version 3.1 repeat an entry by it: 1 = code 0xFFFF, 2 = code 0xFFFE, 3 = every 168 or
 * 336 hours, 4 = every 24 hours. */
#define ZEL_CALENDAR_INTERVAL 0x0107u
#define ZEL_CALENDAR_ALARM 0x0108u     /**< Number. */
#define ZEL_CALENDAR_NUMBER_9 0x0109u  /**< Number. */
#define ZEL_CALENDAR_NUMBER_10 0x010Au /**< Number. */
#define ZEL_CALENDAR_NUMBER_11 0x010Bu /**< Number. */
#define ZEL_CALENDAR_NUMBER_12 0x010Cu /**< Number. */
#define ZEL_CALENDAR_TEXT_1 0x0201u    /**< Text. */
#define ZEL_CALENDAR_TEXT_2 0x0202u    /**< Text; null when the phone sends an empty one. */
#define ZEL_CALENDAR_TEXT_3 0x0203u    /**< Text. */
#define ZEL_CALENDAR_TEXT_4 0x0204u    /**< Text. */
#define ZEL_CALENDAR_DATE_1 0x0301u    /**< Date. */
#define ZEL_CALENDAR_DATE_2 0x0302u    /**< Date. */
#define ZEL_CALENDAR_DATE_3 0x0303u    /**< Date. */
#define ZEL_CALENDAR_DATE_4 0x0304u    /**< Date. */
#define ZEL_CALENDAR_DATE_5 0x0305u    /**< Date. */

/** The record of ZEL_CALENDAR_LIST. */
typedef struct CalendarListRecord
{
    uint32_t leading;  /**< Not touched. */
    uint16_t selector; /**< Which entries: a kind code in mode 1, the phone's own number (0xFFFF is every kind) in
                            mode 0; not used in the modes 2 and 3, which list every kind. */
    uint8_t mode; /**< 0 to 3. Overwritten with the phone's mode, so set it anew for each request: 1 becomes 0, 2 and 3
                       become 1 and 2. */
    uint32_t count;      /**< Receives the number of locations. */
    uint32_t* locations; /**< Receives the locations, which the caller frees with CoTaskMemFree; null if there are none.
                              What stands in it before is not freed. */
} CalendarListRecord;

/** A date and time in the PC's local time. All zeros stand for no date. */
typedef struct CalendarDate
{
    uint16_t year;  /**< Year, in full. */
    uint8_t month;  /**< 1 to 12. */
    uint8_t day;    /**< 1 to 31. */
    uint8_t hour;   /**< 0 to 23. */
    uint8_t minute; /**< 0 to 59. */
    uint8_t second; /**< 0 to 59. Always 0 from phones before service version 3.1, and not sent to them. */
} CalendarDate;

/** A field's value; the field's id says which. */
typedef union CalendarValue {
    uint32_t number;
    BSTR text; /**< Read: the caller frees it with SysFreeString. Written: the caller's; null counts as empty. */
    CalendarDate date;
} CalendarValue;

/** One field of an entry. */
typedef struct CalendarField
{
    uint32_t leading;     /**< Not touched; 0 in an array that the library made. */
    uint16_t id;          /**< One of the field ids; 0 for an empty element. */
    CalendarValue value;  /**< The value. */
    int32_t base_offset;  /**< Dates, when read: local time minus UTC in minutes, without the extra offset. */
    int32_t extra_offset; /**< Dates, when read: minutes that standard or daylight time add. */
} CalendarField;

/** The record of ZEL_CALENDAR_READ and ZEL_CALENDAR_WRITE. */
typedef struct CalendarEntryRecord
{
    uint32_t leading;      /**< Not touched. */
    uint32_t location;     /**< Read: the entry to read. Write: receives the location from phones with service version
                                3.1 or later; the entry to write is named by a field. */
    int32_t count;         /**< Read: receives the number of fields. Write: the number of fields, at least 1; lowered by
                                one for each empty element when the phone has service version 3.1 or later. Exactly the
                                first elements, as many as are left, are then sent: put empty elements last. */
    CalendarField* fields; /**< Read: receives the fields; the caller frees each text with SysFreeString and the array
                                with CoTaskMemFree, also when count is 0. What stands in it before is not freed.
                                Write: the caller's; a new entry's location is stored in each field
                                ZEL_CALENDAR_LOCATION. */
} CalendarEntryRecord;

/** The record of ZEL_CALENDAR_QUERY. */
typedef struct CalendarLocationRecord
{
    uint32_t leading;  /**< Not touched. */
    uint32_t location; /**< The location to ask about; receives the phone's answer. */
} CalendarLocationRecord;

/** The record of ZEL_CALENDAR_KIND_OPERATION. */
typedef struct CalendarKindRecord
{
    uint32_t leading;  /**< Not touched. */
    uint8_t kind;      /**< An entry kind; other values go to the phone as they are. */
    uint8_t unused[3]; /**< Not touched. */
} CalendarKindRecord;

/** The record of ZEL_CALENDAR_SUMMARY: the phone's counters 0x0111 to 0x0114 of its groups 1 to 3. All zero but for
 * what the phone sends; untouched if it sends no items. */
typedef struct CalendarSummaryRecord
{
    uint32_t leading;             /**< Set to 0 with the others. */
    uint32_t group_1_counter_111; /**< Group 1, counter 0x0111. */
    uint32_t group_1_counter_113; /**< Group 1, counter 0x0113. */
    uint32_t group_1_counter_114; /**< Group 1, counter 0x0114. */
    uint32_t group_1_counter_112; /**< Group 1, counter 0x0112. */
    uint32_t group_2_counter_111; /**< Group 2, counter 0x0111. */
    uint32_t group_3_counter_111; /**< Group 3, counter 0x0111. */
} CalendarSummaryRecord;

#endif

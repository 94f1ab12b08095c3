/** The phone's clock. Resource byte 0x19. */
#ifndef ZELAPI_TIME_H
#define ZELAPI_TIME_H

#include "zelapi.h"

/**
 * Reads date and time. Record: TimeRecord, read through TimeRecord::now.
 * @return ZEL_OK, also when the phone refuses: then the record is untouched. ZEL_E_ARGUMENT; the failure of the send.
 */
#define ZEL_TIME_READ 0x1901u

/**
 * Sets date and time. Record: TimeRecord, filled through TimeRecord::set; the phone's answer is written back to it.
 * @return ZEL_OK, also when the phone refuses: then the record is untouched. ZEL_E_ARGUMENT; the failure of the send.
 */
#define ZEL_TIME_SET 0x1902u

/**
 * Reads the clock settings 10 and 11, from service version 16.0 on. Record: TimeRecord, read through
 * TimeRecord::settings; only its first 12 bytes are touched.
 * @return ZEL_OK; ZEL_E_VERSION when the service is older; ZEL_E_FAIL when the phone has no clock service.
 */
#define ZEL_TIME_READ_SETTINGS 0x1903u

/** Second leading byte of a date-time group that holds a valid time. */
#define ZEL_TIME_VALID 3u

/** A date-time group as the set request takes it: TimeRecord bytes 8 to 16. */
typedef struct TimeToSet
{
    uint32_t leading;  /**< Not touched. */
    uint16_t unused_a; /**< Not touched. */
    uint16_t unused_b; /**< Not touched. */
    uint8_t lead_0;    /**< First leading byte; meaning not known. */
    uint8_t lead_1;    /**< Second leading byte; ZEL_TIME_VALID for a valid time. */
    uint16_t year;     /**< Year, in full. */
    uint8_t month;     /**< 1 to 12. */
    uint8_t day;       /**< 1 to 31. */
    uint8_t hour;      /**< 0 to 23. */
    uint8_t minute;    /**< 0 to 59. */
    uint8_t second;    /**< 0 to 59. */
    uint8_t unused_g[4];
} TimeToSet;

/** A date-time group as the read request fills it: TimeRecord bytes 12 to 20. */
typedef struct TimeNow
{
    uint32_t leading;  /**< Not touched. */
    uint8_t value_4;   /**< The phone's sub-block 4, when it sends one; meaning not known. */
    uint8_t unused_a;  /**< Not touched. */
    uint16_t unused_b; /**< Not touched. */
    uint8_t unused_c[2];
    uint16_t unused_d;
    uint8_t lead_0; /**< First leading byte; meaning not known. */
    uint8_t lead_1; /**< ZEL_TIME_VALID when the phone knows the time; otherwise all that follows is 0. */
    uint16_t year;  /**< Year, in full. */
    uint8_t month;  /**< 1 to 12. */
    uint8_t day;    /**< 1 to 31. */
    uint8_t hour;   /**< 0 to 23. */
    uint8_t minute; /**< 0 to 59. */
    uint8_t second; /**< 0 to 59. */
} TimeNow;

/** The clock settings 10 and 11; their meaning is the phone's. */
typedef struct TimeSettings
{
    uint32_t leading;           /**< Not touched. */
    uint16_t setting_10_first;  /**< First value of setting 10. */
    uint16_t setting_10_second; /**< Second value of setting 10. */
    uint16_t setting_11_first;  /**< First value of setting 11. */
    uint16_t setting_11_second; /**< Second value of setting 11. */
} TimeSettings;

/** The record of all three requests: three views of the same 24 bytes. */
typedef union TimeRecord {
    TimeNow now;           /**< ZEL_TIME_READ. */
    TimeToSet set;         /**< ZEL_TIME_SET. */
    TimeSettings settings; /**< ZEL_TIME_READ_SETTINGS. */
    uint8_t bytes[24];     /**< The record as it lies in memory. */
} TimeRecord;

#endif

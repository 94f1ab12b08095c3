/** Events of the phone's messaging service. Resource byte 0x66. It has no requests. */
#ifndef ZELAPI_MESSAGING_H
#define ZELAPI_MESSAGING_H

#include "zelapi.h"

/** Indication: a messaging event. Record: MessagingEventRecord. */
#define ZEL_MESSAGING_EVENT 0x6601u

/** The record of ZEL_MESSAGING_EVENT. It belongs to the library; valid during the delivery only. */
typedef struct MessagingEventRecord
{
    uint32_t size;     /**< Size of this record in bytes, 8. */
    uint16_t event;    /**< Number of the event, 0 to 255; its meaning is the phone's. */
    uint16_t reserved; /**< Always 0. */
} MessagingEventRecord;

#endif

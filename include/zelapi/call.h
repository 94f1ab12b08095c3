/** The phone's call service. Resource byte 0x01. */
#ifndef ZELAPI_CALL_H
#define ZELAPI_CALL_H

#include "zelapi.h"

/*
 * All requests take a CallRecord. Each returns
 *   - ZEL_OK, also when the phone answers with another message: then the record is left as it is;
 *   - 0x100 | cause when the phone names a cause other than 0; ZEL_PHONE_STATUS gives the cause.
 *     ZEL_CALL_STATUS_QUERY never does, it delivers causes as elements;
 *   - ZEL_E_ARGUMENT for a null or unreadable record: nothing is sent;
 *   - 0x8007000E (E_OUTOFMEMORY) when there is no memory for the request, which is not sent then, or for the elements
 * of the answer, which are not stored then;
 *   - the failure of the send.
 * An answer stores the phone's call id in CallRecord::call_id.
 */

/**
 * Creates a call from the elements of the record. In: count_or_mode, elements. A leading "+" of a ZEL_CALL_NUMBER
 * element is sent as bit 0x10 of its p0, and the element's text is replaced by a copy without it; the text that was
 * there is freed with SysFreeString. That is done when nothing but the sending can fail any more.
 * @return as above; ZEL_E_ARGUMENT also for a null or unreadable array with a count above 0, or an element too long for
 * the phone (a number of more than 123 units, another text of more than 122): nothing is sent.
 */
#define ZEL_CALL_CREATE 0x101u

/** Asks for a call. In: call_id. */
#define ZEL_CALL_QUERY 0x102u

/** Sends request 0x09 with its one fixed parameter; its meaning is the phone's. In: call_id. */
#define ZEL_CALL_REQUEST_9 0x103u

/**
 * Asks for the status of a call. In: call_id, count_or_mode. Out: returned, elements; they stay as they are when the
 * phone's answer says that nothing follows. An earlier array in the record is not freed.
 */
#define ZEL_CALL_STATUS_QUERY 0x104u

/**
 * Call control; the number in the name is the phone's operation code. ZEL_CALL_CONTROL_5 acts on the call of the
 * record. The others overwrite call_id before they send: ZEL_CALL_CONTROL_2 with 0x40, the rest with 0x80.
 */
#define ZEL_CALL_CONTROL_4 0x105u
#define ZEL_CALL_CONTROL_5 0x106u
#define ZEL_CALL_CONTROL_1 0x107u
#define ZEL_CALL_CONTROL_2 0x108u
#define ZEL_CALL_CONTROL_3 0x109u
#define ZEL_CALL_CONTROL_A1 0x10Au

/**
 * Creates a call like ZEL_CALL_CREATE, after setting p0 of the first ZEL_CALL_PARAMETERS element to 1. Without a
 * ZEL_CALL_NUMBER element it sends a fixed body instead, and the record's elements are not used.
 */
#define ZEL_CALL_CREATE_VARIANT 0x10Bu

/**
 * Indication: the status of a call changed. Record: CallRecord with call_id (0 to 7), count_or_mode and elements. The
 * library frees the record and its array after the delivery, but not the texts in the elements: free each with
 * SysFreeString.
 */
#define ZEL_CALL_STATUS 0x10Cu

/** Element ids: what CallElement::id can be. */
#define ZEL_CALL_FIRST_NUMBER 1u /**< Indications: a number in value.text; p0, p1. */
#define ZEL_CALL_NUMBER 3u       /**< A number in value.text; p0, p1. */
#define ZEL_CALL_PARAMETERS 7u   /**< Creating a call: p0, p1. Status query: p0 to p2. Indications: p2. */
#define ZEL_CALL_CAUSE 8u        /**< Received: p0, and a cause in value.cause. */
#define ZEL_CALL_STATE 11u       /**< Status query: p0 to p2. */
#define ZEL_CALL_TEXT 14u        /**< A text in value.text; p0 to p3. */

/** In p0 of a number: it is international, that is, starts with "+". */
#define ZEL_CALL_INTERNATIONAL 0x10u

/**
 * One element of a call. When a call is created, ids other than ZEL_CALL_NUMBER, ZEL_CALL_PARAMETERS and ZEL_CALL_TEXT
 * are sent without content. In an indication id is 0 for an item 7 of the phone, which fills p0 and p1.
 */
typedef struct CallElement
{
    uint32_t leading; /**< Not read; 0 when received. */
    uint16_t id;      /**< One of the element ids. */
    uint32_t word;    /**< Not read; 0 when received. */
    uint8_t p0;       /**< Parameters; their meaning (call type, mode, presentation) is the phone's. */
    uint8_t p1;
    uint8_t p2;
    uint8_t p3;
    union {
        BSTR text;      /**< A number or text. Sent: the caller's; null or unreadable counts as empty. Received: the
                             caller's to free with SysFreeString. */
        uint32_t cause; /**< ZEL_CALL_CAUSE: from ZEL_CALL_STATUS_QUERY the phone's cause byte as it stands, from
                             ZEL_CALL_STATUS 0 or 0x100 | cause. */
    } value;
} CallElement;

/** The record of all requests and of the indication. */
typedef struct CallRecord
{
    uint32_t leading;      /**< Not touched by requests; 0 in an indication. */
    uint8_t call_id;       /**< In: the call. Out: the phone's number of the call. */
    uint8_t count_or_mode; /**< ZEL_CALL_CREATE, ZEL_CALL_CREATE_VARIANT, ZEL_CALL_STATUS: number of elements.
                                ZEL_CALL_STATUS_QUERY: the mode that is sent; with 1 and 2 the array has room for one
                                element more than the phone names. */
    uint8_t returned;      /**< ZEL_CALL_STATUS_QUERY: receives the number of elements, at most 255. */
    CallElement* elements; /**< Creating a call: the caller's array. ZEL_CALL_STATUS_QUERY: receives an array that the
                                caller frees with CoTaskMemFree, after the texts in it; null if the phone names no
                                element. */
} CallRecord;

#endif

/**
 * ZelAPI: talk to a mobile phone from a Windows application.
 *
 * Usable from C and C++. Link against the import library of ZelAPI.dll, or load it with LoadLibrary.
 *
 *     ZelAPI_Initialize();
 *     ZelConnection phone = NULL;
 *     uint32_t result = ZelOpenConnection(1, &phone);
 *     if (result == ZEL_OK) {
 *         TimeRecord now = {0};
 *         result = ZelSendMessage(phone, ZEL_TIME_READ, &now);   // <zelapi/time.h>
 *         ZelCloseConnection(phone);
 *     }
 *     ZelAPI_Terminate();
 *
 * A request is an API message id and a record. Bits 8 to 15 of the id are the resource byte of the phone's service;
 * each service has a header of its own with its ids and records. ZelSendMessage blocks until the phone has answered.
 *
 * Threads. Every function may be called from any thread, whatever its COM apartment, also from one that never called
 * CoInitializeEx. Do not close a connection, or call ZelAPI_Terminate, while another thread is inside a call with its
 * handle.
 *
 * Unloading. Close every connection, or call ZelAPI_Terminate, before FreeLibrary: an open connection has threads that
 * run the library's code. A connection that was closed while a target was inside a connection event keeps the library
 * loaded. The process's multithreaded apartment stays alive from the first open on.
 */
#ifndef ZELAPI_ZELAPI_H
#define ZELAPI_ZELAPI_H

#include <windows.h>

#include <oleauto.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C"
{
#endif

/** An open connection to one phone. Opaque; valid until it is closed. */
typedef void* ZelConnection;

/* ---- Result codes ----
 *
 * Every result is an unsigned 32-bit value; 0 is success. Three kinds tell themselves apart:
 *   - the codes below, which the library makes;
 *   - (resource byte << 8) | status, between 0x0101 and 0xFFFF: the phone's own negative answer (ZEL_PHONE_STATUS);
 *   - any other value with bit 31 set: an HRESULT of COM or of the link service, passed on unchanged.
 */

/** Success. */
#define ZEL_OK 0x00000000u
/** No service knows this API message id, or the reply was not the expected one. */
#define ZEL_NOT_HANDLED 0x00000001u
/** The phone does not offer this service or operation. */
#define ZEL_NOT_SUPPORTED 0x00000003u
/** A COM object that the library needs could not be created. */
#define ZEL_E_CREATE 0x80100002u
/** General failure: the open failed, or something unexpected happened. */
#define ZEL_E_FAIL 0x80100010u
/** A null or unreadable pointer inside a request. */
#define ZEL_E_POINTER 0x80100012u
/** A bad or missing argument, or an unreadable record. */
#define ZEL_E_ARGUMENT 0x80100013u
/** Not an open connection: null, unreadable, closed or foreign. */
#define ZEL_E_HANDLE 0x80100014u
/** No memory for a connection, or for what serves a service. Where memory for a message, a record or a text is missing,
 * a request gives E_OUTOFMEMORY (0x8007000E) or ZEL_E_FAIL. */
#define ZEL_E_OUT_OF_MEMORY 0x80100015u
/** The phone's version of the service is too old, or is not known. */
#define ZEL_E_VERSION 0x80100023u
/** The system's time-zone information is not available. */
#define ZEL_E_TIME_ZONE 0x80100024u
/** The connection has no link service: it was never opened, or it is gone. */
#define ZEL_E_NO_SERVICE 0x80200001u

/** True for a negative answer of the phone itself. */
#define ZEL_IS_PHONE_STATUS(result) ((result) > 0xFFu && (result) <= 0xFFFFu)
/** The phone's status byte in such a result. */
#define ZEL_PHONE_STATUS(result) ((result)&0xFFu)
/** The resource byte of the service that gave it. */
#define ZEL_PHONE_RESOURCE(result) (((result) >> 8) & 0xFFu)
/** The resource byte of an API message id. */
#define ZEL_RESOURCE_OF(message_id) (((message_id) >> 8) & 0xFFu)

/* ---- Registration ---- */

/** Action: add. */
#define ZEL_REGISTER 16u
/** Action: remove. */
#define ZEL_UNREGISTER 32u

/** Callback kind: something happened to the link. Message id 0, no record. */
#define ZEL_CONNECTION_EVENT 1u
/** Callback kind: the phone sent something on its own. */
#define ZEL_INDICATION 2u

/**
 * A function that receives what the phone says on its own.
 *
 * @param kind        ZEL_CONNECTION_EVENT or ZEL_INDICATION.
 * @param message_id  API message id of the indication; it names the record's type. 0 for a connection event.
 * @param record      The decoded record. It belongs to the library and is freed as soon as the last target has
 *                    returned: copy what you keep. Null for a connection event.
 *
 * Thread and order. Indications of one connection arrive one at a time, in the order in which the phone sent them, on a
 * thread of the connection. A connection event arrives at once, on a thread of the link service; if another target of
 * the connection is then inside a call into the library, it arrives on the thread of the indications instead, right
 * after. Targets of one connection never run at the same time on two threads. For each delivery notification interfaces
 * come before callbacks, each in ascending order of address.
 *
 * Inside it you may send requests, open connections, close other ones, and change registrations of this connection. You
 * must not end this connection: ZelCloseConnection with its handle, and ZelAPI_Terminate in any delivery, answer
 * ZEL_E_FAIL and do nothing. Do not wait for a thread that registers or unregisters a target of this connection, or
 * that closes it. Everything that follows waits for your return.
 *
 * Unregistering from another thread waits until the running delivery is over; so after ZelRegisterCallback(…,
 * ZEL_UNREGISTER, …) has returned, the callback is not running and will not be called again. Inside a delivery it takes
 * effect at once; the call that is running goes on.
 *
 * Closing waits for the delivery that is running, up to 30 seconds; a thread of the connection that has not come back
 * by then is ended in the middle of the callback, with whatever it holds. Then it waits, up to 30 seconds again, for a
 * connection event that is inside a target. The thread of that one belongs to the link service and goes on: once the
 * connection is closed its handle is invalid there, too, and what the event stands on is freed when it returns. What
 * was queued and not yet delivered is lost. So a callback that never returns costs 30
 * seconds at the end of its connection and the memory that it uses. One that was ended inside a call into the library
 * still counts as a running call, for which ZelAPI_Terminate waits.
 *
 * A C++ exception that leaves a target ends that delivery, for the targets that follow, too; the next ones arrive. Do
 * not rely on it: an application of another compiler or language must let none out.
 */
typedef void(__stdcall* ZelCallback)(uint32_t kind, uint32_t message_id, void* record);

/**
 * An object that receives what the phone says on its own; the rules of ZelCallback hold. Not a COM interface: there is
 * no reference counting, and it must live until it is unregistered or the connection is closed, and its last call has
 * returned.
 */
#ifdef __cplusplus
struct IZelNotification
{
    /** A connection event. */
    virtual void __stdcall OnNotification() = 0;
    /** An indication: its API message id, and its record, valid during the call only. */
    virtual void __stdcall OnMessage(uint32_t message_id, void* record) = 0;

  protected:
    ~IZelNotification() = default;
};
#else
typedef struct IZelNotification IZelNotification;
typedef struct IZelNotificationVtbl
{
    void(__stdcall* OnNotification)(IZelNotification* self);
    void(__stdcall* OnMessage)(IZelNotification* self, uint32_t message_id, void* record);
} IZelNotificationVtbl;
struct IZelNotification
{
    const IZelNotificationVtbl* lpVtbl;
};
#endif

/* ---- Functions ---- */

/** Counts one more user of the library in this process. @return the count, at least 1. */
uint32_t __stdcall ZelAPI_Initialize(void);

/**
 * Counts one user less. The last one closes down: it waits up to 30 seconds for running calls, then ends every
 * connection that is still open, one after the other, as ZelCloseConnection does. @return the count that is left;
 * ZEL_E_FAIL, and nothing is done, inside a delivery.
 */
uint32_t __stdcall ZelAPI_Terminate(void);

/** @return the version of this interface, 10. */
uint32_t __stdcall ZelGetAPIVersion(void);

/**
 * Opens a connection to the phone with this device id.
 *
 * @param device_id   The link service's number of the device. Above 0x0FFFFFFF, or negative as a signed number, the
 *                    service's second device range is selected and the low 28 bits name the device.
 * @param connection  Receives the handle, on success only. Null or unreadable: ZEL_E_ARGUMENT.
 * @return ZEL_OK; ZEL_E_FAIL when any step of the open failed; ZEL_E_OUT_OF_MEMORY.
 */
uint32_t __stdcall ZelOpenConnection(uint32_t device_id, ZelConnection* connection);

/** Connection media for ZelOpenConnectionUsingSN. Any other value counts as ZEL_MEDIUM_2. */
/** Medium index 0 of the link service, with its flag 0x100. */
#define ZEL_MEDIUM_1 1u
/** Medium index 0. */
#define ZEL_MEDIUM_2 2u
/** Medium index 1. */
#define ZEL_MEDIUM_4 4u
/** Medium index 2. */
#define ZEL_MEDIUM_8 8u
/** Medium index 3. */
#define ZEL_MEDIUM_16 16u

/**
 * Opens a connection to the phone with this serial number.
 *
 * @param serial_number  Zero-terminated. May be null: the service then chooses.
 * @param medium         Points to one of ZEL_MEDIUM_…. Null or unreadable: ZEL_E_ARGUMENT.
 * @param connection     Receives the handle, on success only. Null or unreadable: ZEL_E_ARGUMENT.
 * @return ZEL_OK; the HRESULT of the step that failed; ZEL_E_OUT_OF_MEMORY.
 */
uint32_t __stdcall ZelOpenConnectionUsingSN(const OLECHAR* serial_number, const uint32_t* medium,
                                            ZelConnection* connection);

/**
 * Closes a connection; its handle is no longer valid. Waits for targets that are running, see ZelCallback.
 * @return ZEL_OK; ZEL_E_HANDLE; ZEL_E_FAIL, and nothing is done, inside a delivery of this connection.
 */
uint32_t __stdcall ZelCloseConnection(ZelConnection connection);

/**
 * Sends a request and waits for the phone's answer (60 seconds, where a service does not say otherwise).
 *
 * @param message_id  The request, from the header of the service.
 * @param record      The record that this request takes. What the library stores in it (arrays from CoTaskMemAlloc,
 * texts as BSTR) belongs to the caller.
 * @return see the header of the service; ZEL_NOT_HANDLED for an unknown id; ZEL_E_HANDLE.
 */
uint32_t __stdcall ZelSendMessage(ZelConnection connection, uint32_t message_id, void* record);

/**
 * Asks whether the phone offers the service of an API message id, from what it answered when the connection was
 * opened.
 *
 * @param version  Receives (major << 8) | minor, when the service is there. Null or unreadable: ZEL_E_ARGUMENT.
 * @return ZEL_OK, ZEL_NOT_SUPPORTED, ZEL_E_HANDLE.
 */
uint32_t __stdcall ZelMsgSupportQuery(ZelConnection connection, uint32_t message_id, uint32_t* version);

/**
 * Adds a callback (ZEL_REGISTER) or removes it (any other action). The same callback twice is called once.
 * @return ZEL_OK; ZEL_E_ARGUMENT for a null or unreadable callback; ZEL_E_HANDLE.
 */
uint32_t __stdcall ZelRegisterCallback(ZelConnection connection, uint32_t action, ZelCallback callback);

/**
 * Tells the phone that the indications of one service are wanted (ZEL_REGISTER) or no longer wanted
 * (ZEL_UNREGISTER). The phone is told the whole set of wanted services. When several threads call it at the same time,
 * the last message that reaches the phone is the newest set.
 *
 * @param message_id  Any API message id of the service.
 * @return ZEL_OK; ZEL_E_ARGUMENT for another action; the failure of the send; ZEL_E_HANDLE.
 */
uint32_t __stdcall ZelRegisterNotification(ZelConnection connection, uint32_t action, uint32_t message_id);

/**
 * Adds (ZEL_REGISTER) or removes (ZEL_UNREGISTER) a notification interface.
 * @return ZEL_OK; ZEL_E_ARGUMENT for another action or a null or unreadable interface; ZEL_E_HANDLE.
 */
uint32_t __stdcall ZelRegisterNotificationIF(ZelConnection connection, uint32_t action, IZelNotification* target);

#ifdef __cplusplus
}
#endif

#endif

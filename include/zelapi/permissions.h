/** The phone's permissions service: blocks of data that are read and written in chunks. Resource byte 0x23. */
#ifndef ZELAPI_PERMISSIONS_H
#define ZELAPI_PERMISSIONS_H

#include "zelapi.h"

/*
 * All requests take a PermissionRecord; the key in it names a block, its meaning is the phone's. Each returns
 *   - ZEL_OK, also when the phone answers with another message: then nothing of that answer is used;
 *   - 0x2300 | status when the phone refuses;
 *   - ZEL_E_FAIL when the phone's answer makes no sense;
 *   - ZEL_E_ARGUMENT for a null or unreadable record: nothing is sent;
 *   - the failure of the send.
 */

/** Reads the size of a block. In: key. Out: size, on success only. */
#define ZEL_PERMISSIONS_SIZE 0x2301u

/**
 * Reads a block of a known size, one exchange with the phone for each 1024 bytes. In: key, size. Out: count, chunks.
 * A chunk that fails does not end the reading: the result is that of the last chunk. When it is not ZEL_OK, count is 0
 * and chunks is null. When it is, earlier chunks may be empty all the same, and any chunk may be longer or shorter than
 * was asked for: the block is whole when the lengths of its chunks sum up to its size.
 * @return as above; ZEL_E_ARGUMENT also for a size of 0: the record is left as it is; 0x8007000E without memory.
 */
#define ZEL_PERMISSIONS_READ 0x2302u

/**
 * Writes chunks one after the other, as long as they are; the phone takes up to 1024 bytes at once. In: key, count,
 * chunks; of each chunk length and bytes. The first chunk that fails ends the writing; those before it are written.
 * @return as above; ZEL_E_ARGUMENT also for a count of 0, a null or unreadable array, or a chunk whose length is above
 * 0 and whose bytes are null or unreadable: nothing is sent.
 */
#define ZEL_PERMISSIONS_WRITE 0x2303u

/** Reads a second size of the same key; its meaning is the phone's. In: key. Out: size, on success only. */
#define ZEL_PERMISSIONS_SECOND_SIZE 0x2304u

/** The most bytes that ZEL_PERMISSIONS_READ asks for at once. */
#define ZEL_PERMISSIONS_CHUNK_LENGTH 1024u

/** A part of a block. */
typedef struct PermissionChunk
{
    uint32_t reserved; /**< Not used. */
    uint32_t offset;   /**< Where the chunk begins in the block: the sum of the lengths before. Not looked at when
                            writing. */
    uint32_t length;   /**< Number of bytes. */
    uint8_t* bytes;    /**< Read: the caller's to free with CoTaskMemFree; null when the length is 0. Written: stay the
                            caller's. */
} PermissionChunk;

/** The record of all requests. */
typedef struct PermissionRecord
{
    uint32_t leading;        /**< Not touched. */
    uint16_t key;            /**< Names the block. */
    uint32_t size;           /**< Size of the block in bytes. */
    uint32_t count;          /**< Number of chunks. */
    PermissionChunk* chunks; /**< Read: the caller frees the array with CoTaskMemFree after the bytes of its chunks; an
                                  earlier array is not freed. Written: stays the caller's. */
} PermissionRecord;

#endif

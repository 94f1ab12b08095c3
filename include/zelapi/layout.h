/**
 * Compile-time checks of record layouts, in C and C++. Records cross the boundary between the library and applications
 * that were built by other compilers, so every header states the size and the offsets of its records.
 */
#ifndef ZELAPI_LAYOUT_H
#define ZELAPI_LAYOUT_H

#include <stddef.h>

#ifdef __cplusplus
#define ZEL_STATIC_ASSERT(condition, text) static_assert(condition, text)
#else
#define ZEL_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

#define ZEL_CHECK_SIZE(record, size) ZEL_STATIC_ASSERT(sizeof(record) == (size), #record " has another size")
#define ZEL_CHECK_OFFSET(record, field, offset)                                                                        \
    ZEL_STATIC_ASSERT(offsetof(record, field) == (offset), #record "." #field " is elsewhere")

#endif

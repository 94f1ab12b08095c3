#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <oleauto.h>

/// Stops the fuzzer: this input breaks a promise.
inline void Require(bool kept, const char* promise)
{
    if (kept)
        return;
    std::fprintf(stderr, "broken: %s\n", promise);
    std::abort();
}

/// Reads every byte of a block, so that the sanitizer sees one that is too short.
inline void Touch(const void* block, std::size_t size)
{
    static volatile std::uint8_t sum = 0;
    for (std::size_t i = 0; i < size; ++i)
        sum = static_cast<std::uint8_t>(sum + static_cast<const std::uint8_t*>(block)[i]);
}

/// Reads a text and its terminator; a null one is empty.
inline void TouchText(BSTR text)
{
    if (text == nullptr)
        return;
    Touch(text, SysStringByteLen(text));
    Require(text[SysStringLen(text)] == 0, "a text has a terminator");
}

/// Reads and frees a text that the library gave.
inline void TakeText(BSTR text)
{
    TouchText(text);
    SysFreeString(text);
}

/// Reads and frees a block that the library gave.
inline void TakeBlock(void* block, std::size_t size)
{
    Touch(block, size);
    CoTaskMemFree(block);
}

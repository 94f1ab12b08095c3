#pragma once

// Stand-in for the parts of the Windows headers that message and handlers use.

#include <cstddef>
#include <cstdint>

#define __stdcall

#define TRUE 1
#define FALSE 0
#define CP_UTF8 65001u
#define MB_ERR_INVALID_CHARS 0x00000008u

#define S_OK static_cast<HRESULT>(0)
#define S_FALSE static_cast<HRESULT>(1)
#define E_FAIL static_cast<HRESULT>(0x80004005u)
#define E_UNEXPECTED static_cast<HRESULT>(0x8000FFFFu)
#define E_OUTOFMEMORY static_cast<HRESULT>(0x8007000Eu)
#define E_INVALIDARG static_cast<HRESULT>(0x80070057u)
#define SUCCEEDED(result) (static_cast<HRESULT>(result) >= 0)
#define FAILED(result) (static_cast<HRESULT>(result) < 0)

#define TIME_ZONE_ID_UNKNOWN 0u
#define TIME_ZONE_ID_STANDARD 1u
#define TIME_ZONE_ID_INVALID 0xFFFFFFFFu

using BOOL = int;
using BYTE = std::uint8_t;
using byte = std::uint8_t;  // a name that a local variable would shadow
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using SIZE_T = std::size_t;
using INT_PTR = std::intptr_t;
using HRESULT = LONG;
using WCHAR = char16_t;
using FARPROC = INT_PTR (*)();

struct SYSTEMTIME
{
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

struct FILETIME
{
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

struct TIME_ZONE_INFORMATION
{
    LONG Bias;
    WCHAR StandardName[32];
    SYSTEMTIME StandardDate;
    LONG StandardBias;
    WCHAR DaylightName[32];
    SYSTEMTIME DaylightDate;
    LONG DaylightBias;
};

BOOL IsBadCodePtr(FARPROC pointer);

/// UTF-8 only. Bytes that are no UTF-8 become U+FFFD, or fail the call with MB_ERR_INVALID_CHARS.
int MultiByteToWideChar(UINT codePage, DWORD flags, const char* source, int sourceLength, WCHAR* target,
                        int targetLength);
/// UTF-8 only. A surrogate without its partner becomes U+FFFD.
int WideCharToMultiByte(UINT codePage, DWORD flags, const WCHAR* source, int sourceLength, char* target,
                        int targetLength, const char* defaultChar, BOOL* usedDefaultChar);

BOOL SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* file);
BOOL FileTimeToSystemTime(const FILETIME* file, SYSTEMTIME* time);
DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone);
BOOL SystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* utc, SYSTEMTIME* local);

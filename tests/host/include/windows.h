#pragma once

// Stand-in for the parts of the Windows headers that message and handlers use.

#include <cstddef>
#include <cstdint>

#define __stdcall

#define TRUE 1
#define FALSE 0
#define CP_UTF8 65001u

#define E_OUTOFMEMORY static_cast<HRESULT>(0x8007000Eu)

#define TIME_ZONE_ID_UNKNOWN 0u
#define TIME_ZONE_ID_INVALID 0xFFFFFFFFu

using BOOL = int;
using byte = std::uint8_t;  // a name that a local variable would shadow
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using SIZE_T = std::size_t;
using HRESULT = LONG;
using WCHAR = char16_t;
using FARPROC = std::intptr_t (*)();

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

/// UTF-8 only. Bytes that are no UTF-8 become U+FFFD.
int MultiByteToWideChar(UINT codePage, DWORD flags, const char* source, int sourceLength, WCHAR* target,
                        int targetLength);
/// UTF-8 only. A surrogate without its partner becomes U+FFFD.
int WideCharToMultiByte(UINT codePage, DWORD flags, const WCHAR* source, int sourceLength, char* target,
                        int targetLength, const char* defaultChar, BOOL* usedDefaultChar);

BOOL SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* file);
BOOL FileTimeToSystemTime(const FILETIME* file, SYSTEMTIME* time);
DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone);
BOOL SystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* utc, SYSTEMTIME* local);

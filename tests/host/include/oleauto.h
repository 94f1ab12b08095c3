#pragma once

#include <windows.h>

using OLECHAR = WCHAR;
using BSTR = OLECHAR*;

BSTR SysAllocString(const OLECHAR* text);
BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
BSTR SysAllocStringByteLen(const char* bytes, UINT length);
void SysFreeString(BSTR text);
UINT SysStringLen(BSTR text);
UINT SysStringByteLen(BSTR text);

void* CoTaskMemAlloc(SIZE_T size);
void CoTaskMemFree(void* block);

#pragma once

#include <windows.h>

/// Carries the HRESULT of a failed allocation out of a function.
class CAtlException
{
  public:
    explicit CAtlException(HRESULT result) : m_hr(result) {}

    HRESULT m_hr;
};

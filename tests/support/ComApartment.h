#pragma once

#include <windows.h>

#include <objbase.h>

/// The calling thread is in a COM apartment while this lives.
class ComApartment
{
  public:
    explicit ComApartment(DWORD kind = COINIT_MULTITHREADED) : m_result(CoInitializeEx(nullptr, kind)) {}
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment()
    {
        if (SUCCEEDED(m_result))
            CoUninitialize();
    }

  private:
    HRESULT m_result;
};

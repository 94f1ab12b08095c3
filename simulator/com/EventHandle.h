#pragma once

#include <windows.h>

#include <string>

namespace vorlansim
{

/// Owns an event that stays set; an empty name makes one that only this process knows.
class CEventHandle
{
  public:
    explicit CEventHandle(const std::wstring& name)
        : m_handle(CreateEventW(nullptr, TRUE, FALSE, name.empty() ? nullptr : name.c_str()))
    {
    }
    ~CEventHandle()
    {
        if (m_handle != nullptr)
            CloseHandle(m_handle);
    }
    CEventHandle(const CEventHandle&) = delete;
    CEventHandle& operator=(const CEventHandle&) = delete;

    HANDLE Get() const { return m_handle; }
    void Set() const { SetEvent(m_handle); }
    void Wait() const { WaitForSingleObject(m_handle, INFINITE); }

  private:
    const HANDLE m_handle;
};

}  // namespace vorlansim

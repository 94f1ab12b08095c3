#pragma once

#include <windows.h>

/// Owns a critical section.
class CCriticalSection
{
  public:
    CCriticalSection() { InitializeCriticalSection(&m_section); }
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;
    ~CCriticalSection() { DeleteCriticalSection(&m_section); }

    operator CRITICAL_SECTION*() { return &m_section; }

  private:
    CRITICAL_SECTION m_section;
};

/// Holds a critical section while it lives. A null or unreadable one is left alone.
class CAutoLock
{
  public:
    explicit CAutoLock(CRITICAL_SECTION* section);
    /// An owned section is there; testing its address costs more than entering it.
    explicit CAutoLock(CCriticalSection& section);
    CAutoLock(const CAutoLock&) = delete;
    CAutoLock& operator=(const CAutoLock&) = delete;
    virtual ~CAutoLock();

  private:
    CRITICAL_SECTION* m_section;
};

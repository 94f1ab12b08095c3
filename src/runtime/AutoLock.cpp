#include "runtime/AutoLock.h"

#include "message/Platform.h"

CAutoLock::CAutoLock(CRITICAL_SECTION* section) : m_section(IsReadable(section) ? section : nullptr)
{
    if (m_section != nullptr)
        EnterCriticalSection(m_section);
}

CAutoLock::CAutoLock(CCriticalSection& section) : m_section(section)
{
    EnterCriticalSection(m_section);
}

CAutoLock::~CAutoLock()
{
    if (m_section != nullptr)
        LeaveCriticalSection(m_section);
}

#include "runtime/AutoLock.h"

#include "message/Platform.h"

CAutoLock::CAutoLock(CRITICAL_SECTION* section) : m_section(section)
{
    if (IsReadable(m_section))
        EnterCriticalSection(m_section);
}

CAutoLock::~CAutoLock()
{
    if (IsReadable(m_section))
        LeaveCriticalSection(m_section);
}

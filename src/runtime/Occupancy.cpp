#include "runtime/Occupancy.h"

namespace
{

class ExclusiveLock
{
  public:
    explicit ExclusiveLock(SRWLOCK& lock) : m_lock(lock) { AcquireSRWLockExclusive(&m_lock); }
    ExclusiveLock(const ExclusiveLock&) = delete;
    ExclusiveLock& operator=(const ExclusiveLock&) = delete;
    ~ExclusiveLock() { ReleaseSRWLockExclusive(&m_lock); }

  private:
    SRWLOCK& m_lock;
};

}  // namespace

void COccupancy::Enter()
{
    const ExclusiveLock lock(m_lock);
    ++m_guests;
}

void COccupancy::Leave()
{
    Farewell farewell = nullptr;
    void* owner = nullptr;
    {
        const ExclusiveLock lock(m_lock);
        if (--m_guests != 0)
            return;
        farewell = m_farewell;
        owner = m_owner;
        WakeAllConditionVariable(&m_emptied);
    }
    if (farewell != nullptr)
        farewell(owner);
}

bool COccupancy::WaitUntilEmpty(std::uint32_t timeoutMs)
{
    const ULONGLONG end = GetTickCount64() + timeoutMs;
    const ExclusiveLock lock(m_lock);
    while (m_guests != 0)
    {
        const ULONGLONG now = GetTickCount64();
        if (now >= end)
            return false;
        SleepConditionVariableSRW(&m_emptied, &m_lock, static_cast<DWORD>(end - now), 0);
    }
    return true;
}

bool COccupancy::LeaveToTheLast(Farewell farewell, void* owner)
{
    const ExclusiveLock lock(m_lock);
    if (m_guests == 0)
        return false;
    m_farewell = farewell;
    m_owner = owner;
    return true;
}

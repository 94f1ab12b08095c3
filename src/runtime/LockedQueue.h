#pragma once

#include "runtime/AutoLock.h"

#include <deque>

/// A first-in-first-out queue of pointers that several threads fill and one worker empties. It does not own what the
/// pointers name.
template <typename Item>
class CLockedQueue
{
  public:
    void Push(Item* item)
    {
        const CAutoLock lock(m_lock);
        m_items.push_back(item);
    }

    /// Takes the front item. False if there is none.
    bool Pop(Item*& item)
    {
        const CAutoLock lock(m_lock);
        if (m_items.empty())
            return false;
        item = m_items.front();
        m_items.pop_front();
        return true;
    }

    /// The lock of the queue, for what must not happen while an item changes hands.
    CRITICAL_SECTION* Lock() { return m_lock; }

    bool IsEmpty()
    {
        const CAutoLock lock(m_lock);
        return m_items.empty();
    }

  private:
    std::deque<Item*> m_items;
    CCriticalSection m_lock;
};

#pragma once

#include "message/ByteSet.h"
#include "message/ExceptionFrame.h"
#include "runtime/AutoLock.h"

#include <cstdint>

/// The resources whose indications an application wants.
///
/// The phone is told the whole set on every change. No lock is held meanwhile: a service may raise an event before it
/// takes the message, and a target of that event may change the set itself. Instead, messages that were on their way at
/// the same time, and so reached the phone in any order, are followed by the newest set once more.
class CSubscriptions
{
  public:
    /// Adds or removes a resource and passes the set to `send`. Returns its result, or throws what it throws.
    template <typename Send>
    std::uint32_t Change(bool add, std::uint8_t resource, Send&& send)
    {
        const CByteSet changed = Begin(add, resource);
        try
        {
            const std::uint32_t result = send(changed);
            Follow(send);
            return result;
        }
        catch (...)
        {
            Follow(send);
            throw;
        }
    }

  private:
    /// Sends the newest set for as long as other messages were on their way together with the last one.
    template <typename Send>
    void Follow(Send&& send)
    {
        CByteSet newest;
        while (MustFollow(newest))
            ResultOf([&] { return send(newest); });
    }

    CByteSet Begin(bool add, std::uint8_t resource)
    {
        const CAutoLock lock(m_lock);
        if (add)
            m_resources.Insert(resource);
        else
            m_resources.Erase(resource);
        m_overlapped = m_onTheirWay++ != 0 || m_overlapped;
        return m_resources;
    }

    /// A message has reached the phone. True if the newest set must follow it.
    bool MustFollow(CByteSet& newest)
    {
        const CAutoLock lock(m_lock);
        if (m_onTheirWay > 1 || !m_overlapped)
        {
            --m_onTheirWay;
            return false;
        }
        m_overlapped = false;
        newest = m_resources;
        return true;
    }

    CCriticalSection m_lock;
    CByteSet m_resources;
    std::uint32_t m_onTheirWay = 0;
    bool m_overlapped = false;
};

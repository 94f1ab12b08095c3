#pragma once

#include "runtime/AutoLock.h"
#include "zelapi/zelapi.h"

#include <atomic>
#include <cstdint>
#include <set>

/// The targets of one connection: notification interfaces and callbacks, each at most once.
///
/// The lock is held while the application is called: once a target is removed it is not running and will not be called.
class CNotificationBase
{
  public:
    CNotificationBase() = default;
    CNotificationBase(const CNotificationBase&) = delete;
    CNotificationBase& operator=(const CNotificationBase&) = delete;
    virtual ~CNotificationBase() = default;

    /// ZEL_REGISTER adds, any other action removes. ZEL_E_ARGUMENT for a null or unreadable callback.
    std::uint32_t RegisterCallback(std::uint32_t action, ZelCallback callback);
    /// ZEL_E_ARGUMENT for another action than ZEL_REGISTER and ZEL_UNREGISTER, or a null or unreadable target.
    std::uint32_t RegisterInterface(std::uint32_t action, IZelNotification* target);

    /// Calls the interfaces, then the callbacks, each in ascending order of address.
    void Dispatch(std::uint32_t kind, std::uint32_t messageId, void* record);

    /// True on a thread that is inside a target of this connection.
    bool IsDelivering() const { return m_deliveringThread == GetCurrentThreadId(); }

  private:
    std::set<ZelCallback> m_callbacks;
    std::set<IZelNotification*> m_interfaces;
    std::atomic<DWORD> m_deliveringThread = 0;
    CCriticalSection m_lock;
};

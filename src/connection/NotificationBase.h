#pragma once

#include "runtime/SystemHandles.h"
#include "zelapi/zelapi.h"

#include <cstdint>
#include <set>

/// The targets of one connection: notification interfaces and callbacks, each at most once.
///
/// One delivery runs at a time, and registrations wait for it: once a target is removed it is not running and will not
/// be called.
class CNotificationBase
{
  public:
    /// Stands for a call into the library, for as long as it lives. A target that makes one may wait for the phone: the
    /// deliveries on this thread then hold up no service (TryDispatch).
    class CCall
    {
      public:
        CCall();
        CCall(const CCall&) = delete;
        CCall& operator=(const CCall&) = delete;
        ~CCall();
    };

    /// Throws std::bad_alloc.
    CNotificationBase();
    CNotificationBase(const CNotificationBase&) = delete;
    CNotificationBase& operator=(const CNotificationBase&) = delete;
    virtual ~CNotificationBase() = default;

    /// ZEL_REGISTER adds, any other action removes. ZEL_E_ARGUMENT for a null or unreadable callback.
    std::uint32_t RegisterCallback(std::uint32_t action, ZelCallback callback);
    /// ZEL_E_ARGUMENT for another action than ZEL_REGISTER and ZEL_UNREGISTER, or a null or unreadable target.
    std::uint32_t RegisterInterface(std::uint32_t action, IZelNotification* target);

    /// Calls the interfaces, then the callbacks, each in ascending order of address.
    void Dispatch(std::uint32_t kind, std::uint32_t messageId, void* record);
    /// Does so unless the delivery of another thread is inside a call into the library, or gets into one while this one
    /// waits for it: false, and nobody is called.
    bool TryDispatch(std::uint32_t kind, std::uint32_t messageId, void* record);

    /// True on a thread that is inside a target of this connection.
    bool IsDelivering() const;
    /// True on a thread that is inside a target of any connection.
    static bool IsAnyDelivering();

  private:
    class CLock;
    class CDelivery;

    void Deliver(std::uint32_t kind, std::uint32_t messageId, void* record);

    std::set<ZelCallback> m_callbacks;
    std::set<IZelNotification*> m_interfaces;
    /// A mutex of the system: it tells when its owner, a thread that never came back from a target, was killed.
    CHandleOwner m_lock;
    /// Set while the owner of the lock is inside a call into the library.
    CHandleOwner m_inCall;
    std::uint32_t m_calls = 0;
};

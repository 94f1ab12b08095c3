#include "connection/NotificationBase.h"

#include "message/Platform.h"

namespace
{

bool IsCallable(ZelCallback callback)
{
    return IsReadable(reinterpret_cast<const void*>(callback));
}

/// Visits each target in ascending order. A target may add and remove targets, itself included, while it is visited.
template <typename Set, typename Visitor>
void VisitAll(const Set& targets, Visitor&& visit)
{
    for (auto target = targets.begin(); target != targets.end();)
    {
        const auto current = *target;
        visit(current);
        target = targets.upper_bound(current);
    }
}

}  // namespace

/// Owns the lock while it lives; a thread may own it several times.
class CNotificationBase::CLock
{
  public:
    enum Patience : std::uint8_t
    {
        kWhateverItTakes,
        kUntilTheOwnerIsInACall,
    };

    explicit CLock(CNotificationBase& targets, Patience patience = kWhateverItTakes) : m_targets(targets)
    {
        const HANDLE events[] = {targets.m_lock.get(), targets.m_inCall.get()};
        const DWORD count = patience == kWhateverItTakes ? 1 : ARRAYSIZE(events);
        const DWORD signalled = WaitForMultipleObjects(count, events, FALSE, INFINITE);
        m_owned = signalled == WAIT_OBJECT_0 || signalled == WAIT_ABANDONED_0;
        if (signalled == WAIT_ABANDONED_0)
            ForgetTheKilledOwner();
    }
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;
    ~CLock()
    {
        if (m_owned)
            ReleaseMutex(m_targets.m_lock.get());
    }

    bool IsOwned() const { return m_owned; }

  private:
    void ForgetTheKilledOwner()
    {
        m_targets.m_calls = 0;
        ResetEvent(m_targets.m_inCall.get());
    }

    CNotificationBase& m_targets;
    bool m_owned = false;
};

/// A delivery on this thread, while it lives. Deliveries can nest: a target may make the service raise an event, in
/// process, on the same thread. REQUIRES: the thread owns the lock.
class CNotificationBase::CDelivery
{
  public:
    explicit CDelivery(CNotificationBase& targets) : m_targets(targets), m_outer(s_innermost) { s_innermost = this; }
    CDelivery(const CDelivery&) = delete;
    CDelivery& operator=(const CDelivery&) = delete;
    ~CDelivery() { s_innermost = m_outer; }

    /// Visits the targets of each delivery on this thread.
    template <typename Visitor>
    static void ForEach(Visitor&& visit)
    {
        for (const CDelivery* delivery = s_innermost; delivery != nullptr; delivery = delivery->m_outer)
            visit(delivery->m_targets);
    }

  private:
    static thread_local const CDelivery* s_innermost;

    CNotificationBase& m_targets;
    const CDelivery* m_outer;
};

thread_local const CNotificationBase::CDelivery* CNotificationBase::CDelivery::s_innermost = nullptr;

CNotificationBase::CCall::CCall()
{
    CDelivery::ForEach([](CNotificationBase& targets) {
        if (targets.m_calls++ == 0)
            SetEvent(targets.m_inCall.get());
    });
}

CNotificationBase::CCall::~CCall()
{
    CDelivery::ForEach([](CNotificationBase& targets) {
        if (--targets.m_calls == 0)
            ResetEvent(targets.m_inCall.get());
    });
}

CNotificationBase::CNotificationBase()
    : m_lock(Required(CHandleOwner(CreateMutexW(nullptr, FALSE, nullptr)))), m_inCall(Required(NewManualResetEvent()))
{
}

std::uint32_t CNotificationBase::RegisterCallback(std::uint32_t action, ZelCallback callback)
{
    if (!IsCallable(callback))
        return ZEL_E_ARGUMENT;
    const CLock lock(*this);
    if (action == ZEL_REGISTER)
        m_callbacks.insert(callback);
    else
        m_callbacks.erase(callback);
    return ZEL_OK;
}

std::uint32_t CNotificationBase::RegisterInterface(std::uint32_t action, IZelNotification* target)
{
    if (!IsReadable(target) || (action != ZEL_REGISTER && action != ZEL_UNREGISTER))
        return ZEL_E_ARGUMENT;
    const CLock lock(*this);
    if (action == ZEL_REGISTER)
        m_interfaces.insert(target);
    else
        m_interfaces.erase(target);
    return ZEL_OK;
}

void CNotificationBase::Dispatch(std::uint32_t kind, std::uint32_t messageId, void* record)
{
    const CLock lock(*this);
    Deliver(kind, messageId, record);
}

bool CNotificationBase::TryDispatch(std::uint32_t kind, std::uint32_t messageId, void* record)
{
    const CLock lock(*this, CLock::kUntilTheOwnerIsInACall);
    if (lock.IsOwned())
        Deliver(kind, messageId, record);
    return lock.IsOwned();
}

bool CNotificationBase::IsDelivering() const
{
    bool found = false;
    CDelivery::ForEach([&](const CNotificationBase& targets) { found = found || &targets == this; });
    return found;
}

bool CNotificationBase::IsAnyDelivering()
{
    bool any = false;
    CDelivery::ForEach([&](const CNotificationBase&) { any = true; });
    return any;
}

void CNotificationBase::Deliver(std::uint32_t kind, std::uint32_t messageId, void* record)
{
    const CDelivery delivery(*this);
    VisitAll(m_interfaces, [&](IZelNotification* target) {
        if (!IsReadable(target))
            return;
        if ((kind & ZEL_CONNECTION_EVENT) != 0)
            target->OnNotification();
        else if ((kind & ZEL_INDICATION) != 0)
            target->OnMessage(messageId, record);
    });
    VisitAll(m_callbacks, [&](ZelCallback callback) {
        if (IsCallable(callback))
            callback(kind, messageId, record);
    });
}

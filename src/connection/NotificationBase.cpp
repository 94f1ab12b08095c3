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

/// Names this thread as the delivering one while it lives. Deliveries can nest: a target may make the service raise an
/// event, in process, on the same thread.
class DeliveryMark
{
  public:
    explicit DeliveryMark(std::atomic<DWORD>& thread) : m_thread(thread), m_outer(thread.exchange(GetCurrentThreadId()))
    {
    }
    DeliveryMark(const DeliveryMark&) = delete;
    DeliveryMark& operator=(const DeliveryMark&) = delete;
    ~DeliveryMark() { m_thread = m_outer; }

  private:
    std::atomic<DWORD>& m_thread;
    DWORD m_outer;
};

}  // namespace

std::uint32_t CNotificationBase::RegisterCallback(std::uint32_t action, ZelCallback callback)
{
    if (!IsCallable(callback))
        return ZEL_E_ARGUMENT;
    const CAutoLock lock(m_lock);
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
    const CAutoLock lock(m_lock);
    if (action == ZEL_REGISTER)
        m_interfaces.insert(target);
    else
        m_interfaces.erase(target);
    return ZEL_OK;
}

void CNotificationBase::Dispatch(std::uint32_t kind, std::uint32_t messageId, void* record)
{
    const CAutoLock lock(m_lock);
    const DeliveryMark mark(m_deliveringThread);
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

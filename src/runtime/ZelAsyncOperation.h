#pragma once

#include "message/ExceptionFrame.h"
#include "message/Platform.h"
#include "runtime/LockedQueue.h"
#include "runtime/SystemHandles.h"
#include "runtime/ZelThread.h"

/// Runs operations on one particular thread for threads that wait for their results.
template <typename Data>
class CZelAsyncOperation : public CZelThread
{
  public:
    /// Marks an item whose asker has stopped waiting.
    static constexpr std::uint32_t kAbandoned = 0xFFFFFFFF;

    /// One operation. Its asker allocates it, queues it and waits on `event`, a manual-reset event; once that is set
    /// the item is the asker's again, with its result. An asker that gives up calls Abandon.
    struct Item
    {
        CHandleOwner event;
        std::uint32_t result = 0;
        Data* data = nullptr;
    };

    ~CZelAsyncOperation() override = default;

    void Enqueue(Item* item)
    {
        m_queue.Push(item);
        SignalWork();
    }

    /// Gives up waiting: the worker then deletes the item. False if the operation was just done,
    /// and the item is the asker's.
    bool Abandon(Item& item)
    {
        const CAutoLock lock(m_queue.Lock());
        if (WaitForSingleObject(item.event.get(), 0) == WAIT_OBJECT_0)
            return false;
        item.result = kAbandoned;
        return true;
    }

    std::uint32_t OnWorkSignal(std::uint32_t) final
    {
        Item* item = nullptr;
        if (!m_queue.Pop(item))
            return 0;
        if (IsReadable(item))
            ResultOf([&] { return Perform(item); });
        // The event is one for all items that were queued before it was seen.
        if (!m_queue.IsEmpty())
            SignalWork();
        return 0;
    }

    /// Performs one record, on the worker thread.
    virtual std::uint32_t Execute(Data* data) = 0;

  protected:
    /// How long an asker waits for an operation, or an owner for the thread, in milliseconds.
    static constexpr std::uint32_t kWaitMs = 30000;

  private:
    std::uint32_t Perform(Item* item)
    {
        if (DiscardIfAbandoned(item))
            return 0;
        const std::uint32_t result = Execute(item->data);
        const CAutoLock lock(m_queue.Lock());
        if (!DiscardIfAbandoned(item))
        {
            item->result = result;
            SetEvent(item->event.get());
        }
        return 0;
    }

    bool DiscardIfAbandoned(Item* item)
    {
        const CAutoLock lock(m_queue.Lock());
        if (item->result != kAbandoned)
            return false;
        delete item;
        return true;
    }

    CLockedQueue<Item> m_queue;
};

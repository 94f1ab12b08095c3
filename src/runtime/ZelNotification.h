#pragma once

#include "message/ExceptionFrame.h"
#include "message/Platform.h"
#include "runtime/LockedQueue.h"
#include "runtime/ZelThread.h"

/// Delivers records in order of arrival on a thread of its own, so that no producer waits for a consumer.
///
/// One record is delivered per turn of the wait loop; a stop or a handshake is served between two of them. Records that
/// are still queued when the object goes are neither delivered nor freed.
template <typename Record>
class CZelNotification : public CZelThread
{
  public:
    ~CZelNotification() override = default;

    void Enqueue(Record* record)
    {
        m_queue.Push(record);
        SignalWork();
    }

    /// What was queued before the thread ran has woken nobody.
    std::uint32_t OnThreadStart(std::uint32_t) override
    {
        if (!m_queue.IsEmpty())
            SignalWork();
        return 0;
    }

    std::uint32_t OnWorkSignal(std::uint32_t) final
    {
        Record* record = nullptr;
        if (!m_queue.Pop(record))
            return 0;
        if (IsReadable(record))
            ResultOf([&] { return Execute(record); });
        // The event is one for all records that were queued before it was seen.
        if (!m_queue.IsEmpty())
            SignalWork();
        return 0;
    }

    /// Delivers one record, on the worker thread.
    virtual std::uint32_t Execute(Record* record) = 0;

  protected:
    /// How long the owner waits for the thread to end, in milliseconds.
    static constexpr std::uint32_t kStopWaitMs = 30000;

  private:
    CLockedQueue<Record> m_queue;
};

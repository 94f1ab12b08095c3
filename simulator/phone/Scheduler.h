#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

namespace vorlansim
{

using Clock = std::chrono::steady_clock;

/// One thread that runs tasks when they are due, those of the same time in the order in which they were added. A task
/// must not block.
class CScheduler
{
  public:
    CScheduler();
    ~CScheduler();
    CScheduler(const CScheduler&) = delete;
    CScheduler& operator=(const CScheduler&) = delete;

    void Add(Clock::time_point due, std::function<void()> task);
    /// Drops what is not due yet and waits for the running task. Not from a task.
    void Stop();

  private:
    void Run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::multimap<Clock::time_point, std::function<void()>> m_tasks;
    bool m_stopped = false;
    std::thread m_thread;
};

}  // namespace vorlansim

#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace vorlansim
{

/// Threads that nobody joins, since a client may keep one for ever; but their end can be waited for.
class CThreads
{
  public:
    CThreads() = default;
    ~CThreads();
    CThreads(const CThreads&) = delete;
    CThreads& operator=(const CThreads&) = delete;

    /// Runs the work on a thread of its own, or on this one if there can be none.
    void Run(std::function<void()> work);
    /// False if some are still running after `patience`.
    bool WaitFor(std::chrono::milliseconds patience);

  private:
    void Finish();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_running = 0;
};

}  // namespace vorlansim

#include "phone/Scheduler.h"

namespace vorlansim
{

CScheduler::CScheduler() : m_thread([this] { Run(); }) {}

CScheduler::~CScheduler()
{
    Stop();
}

void CScheduler::Add(Clock::time_point due, std::function<void()> task)
{
    {
        const std::lock_guard lock(m_mutex);
        m_tasks.emplace(due, std::move(task));
    }
    m_changed.notify_one();
}

void CScheduler::Stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable())
        m_thread.join();
}

void CScheduler::Run()
{
    std::unique_lock lock(m_mutex);
    while (!m_stopped)
    {
        if (m_tasks.empty())
        {
            m_changed.wait(lock);
            continue;
        }
        const Clock::time_point due = m_tasks.begin()->first;
        if (Clock::now() < due)
        {
            m_changed.wait_until(lock, due);
            continue;
        }
        const std::function<void()> task = std::move(m_tasks.begin()->second);
        m_tasks.erase(m_tasks.begin());
        lock.unlock();
        task();
        lock.lock();
    }
}

}  // namespace vorlansim

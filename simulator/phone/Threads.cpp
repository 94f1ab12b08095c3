#include "phone/Threads.h"

#include <system_error>
#include <thread>
#include <utility>

namespace vorlansim
{

CThreads::~CThreads()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_running == 0; });
}

void CThreads::Run(std::function<void()> work)
{
    // What the work owns is gone before its end is announced.
    auto run = [this, work = std::move(work)]() mutable {
        std::exchange(work, nullptr)();
        Finish();
    };
    try
    {
        // Held until the thread is detached: it cannot end meanwhile, which not every thread library withstands.
        const std::lock_guard lock(m_mutex);
        ++m_running;
        std::thread(run).detach();
        return;
    }
    catch (const std::system_error&)
    {
    }
    run();
}

bool CThreads::WaitFor(std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, patience, [this] { return m_running == 0; });
}

void CThreads::Finish()
{
    const std::lock_guard lock(m_mutex);
    --m_running;
    m_changed.notify_all();
}

}  // namespace vorlansim

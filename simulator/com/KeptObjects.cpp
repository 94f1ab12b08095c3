#include "com/KeptObjects.h"

#include "com/Reference.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace vorlansim
{
namespace
{

using Clock = std::chrono::steady_clock;

constexpr auto kKeepFor = std::chrono::seconds(3);

/// Lets the objects go on a thread of its own, in the order in which they came. Lives as long as the process.
class CKeptObjects
{
  public:
    CKeptObjects() { std::thread(&CKeptObjects::Run, this).detach(); }

    void Add(IUnknown& object)
    {
        const std::lock_guard lock(m_mutex);
        m_objects.push_back({CReference<IUnknown>::Share(object), Clock::now() + kKeepFor});
        m_changed.notify_one();
    }

  private:
    struct Kept
    {
        CReference<IUnknown> object;
        Clock::time_point until;
    };

    void Run()
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        for (;;)
        {
            const Kept kept = Next();
            std::this_thread::sleep_until(kept.until);
            CoLockObjectExternal(kept.object.Get(), FALSE, TRUE);
        }
    }

    Kept Next()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return !m_objects.empty(); });
        Kept first = std::move(m_objects.front());
        m_objects.pop_front();
        return first;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Kept> m_objects;
};

}  // namespace

void KeepConnected(IUnknown* object)
{
    static auto& objects = *new CKeptObjects();
    if (FAILED(CoLockObjectExternal(object, TRUE, TRUE)))
        return;
    objects.Add(*object);
}

}  // namespace vorlansim

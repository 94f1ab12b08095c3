#include "KeptObjects.h"

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

    void Add(IUnknown* object)
    {
        const std::scoped_lock lock(m_lock);
        m_objects.push_back({object, Clock::now() + kKeepFor});
        m_changed.notify_one();
    }

  private:
    struct Kept
    {
        IUnknown* object;
        Clock::time_point until;
    };

    void Run()
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        for (;;)
        {
            const Kept kept = Next();
            std::this_thread::sleep_until(kept.until);
            CoLockObjectExternal(kept.object, FALSE, TRUE);
            kept.object->Release();
        }
    }

    Kept Next()
    {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [&] { return !m_objects.empty(); });
        const Kept first = m_objects.front();
        m_objects.pop_front();
        return first;
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<Kept> m_objects;
};

}  // namespace

void KeepConnected(IUnknown* object)
{
    static auto& objects = *new CKeptObjects();
    if (FAILED(CoLockObjectExternal(object, TRUE, TRUE)))
        return;
    object->AddRef();
    objects.Add(object);
}

}  // namespace vorlansim

#include "connection/HandleRegistry.h"

#include "connection/HandleBase.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace
{

void Delete(CHandleBase* handle)
{
    delete handle;
}

TEST(HandleRegistry, KnowsAHandleWhileItLives)
{
    auto first = std::make_unique<CHandleBase>();
    const auto second = std::make_unique<CHandleBase>();
    const void* address = first.get();
    EXPECT_TRUE(HandleRegistry::Contains(address));
    EXPECT_EQ(0u, first->Initialize());
    EXPECT_EQ(0u, first->Shutdown());
    first.reset();
    EXPECT_FALSE(HandleRegistry::Contains(address));
    EXPECT_TRUE(HandleRegistry::Contains(second.get()));
}

TEST(HandleRegistry, GoesByAddressOnly)
{
    alignas(CHandleBase) unsigned char room[sizeof(CHandleBase)] = {};
    EXPECT_FALSE(HandleRegistry::Contains(room));
    for (int i = 0; i < 2; ++i)
    {
        auto* handle = new (room) CHandleBase;
        EXPECT_TRUE(HandleRegistry::Contains(room));
        EXPECT_FALSE(HandleRegistry::Contains(room + 1));
        handle->~CHandleBase();
        EXPECT_FALSE(HandleRegistry::Contains(room));
    }
    EXPECT_FALSE(HandleRegistry::Contains(nullptr));
}

TEST(HandleRegistry, DestroysAllThatIsLeft)
{
    HandleRegistry::DestroyAll(&Delete);
    const void* handles[] = {new CHandleBase, new CHandleBase, new CHandleBase};
    HandleRegistry::DestroyAll(&Delete);
    for (const void* handle : handles)
        EXPECT_FALSE(HandleRegistry::Contains(handle));
}

TEST(HandleRegistry, StepsOverAMemberThatCannotBeRead)
{
    auto* unreadable = reinterpret_cast<CHandleBase*>(std::uintptr_t{1});
    HandleRegistry::Register(unreadable);
    const void* handle = new CHandleBase;
    HandleRegistry::DestroyAll(&Delete);
    EXPECT_FALSE(HandleRegistry::Contains(handle));
    EXPECT_FALSE(HandleRegistry::Contains(unreadable)) << "the set is emptied in the end";
}

TEST(HandleRegistry, ServesSeveralThreads)
{
    std::atomic<int> wrong = 0;
    const auto body = [&] {
        for (int i = 0; i < 5000; ++i)
        {
            const CHandleBase handle;
            if (!HandleRegistry::Contains(&handle))
                ++wrong;
        }
    };
    std::thread other(body);
    body();
    other.join();
    EXPECT_EQ(0, wrong);
}

}  // namespace

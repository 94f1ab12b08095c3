#include "connection/HandleRegistry.h"

#include "connection/HandleBase.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace
{

void Delete(CHandleBase* handle)
{
    delete handle;
}

TEST(HandleRegistry, DestroysAllThatIsLeft)
{
    HandleRegistry::DestroyAll(&Delete);
    auto* freed = new CHandleBase;
    const void* handles[] = {new CHandleBase, new CHandleBase, freed};
    for (const void* handle : handles)
        EXPECT_TRUE(HandleRegistry::Contains(handle));
    delete freed;
    EXPECT_FALSE(HandleRegistry::Contains(freed));
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

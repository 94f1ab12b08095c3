#include "runtime/AutoLock.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{

bool IsFreeForOthers(CRITICAL_SECTION* section)
{
    bool entered = false;
    std::thread([&] {
        entered = TryEnterCriticalSection(section) != FALSE;
        if (entered)
            LeaveCriticalSection(section);
    }).join();
    return entered;
}

TEST(AutoLock, HoldsTheSectionWhileItLives)
{
    CCriticalSection section;
    {
        const CAutoLock outer(section);
        const CAutoLock inner(static_cast<CRITICAL_SECTION*>(section));
        EXPECT_FALSE(IsFreeForOthers(section));
    }
    EXPECT_TRUE(IsFreeForOthers(section));
}

TEST(AutoLock, LeavesANullOrUnreadableSectionAlone)
{
    const CAutoLock null(nullptr);
    const CAutoLock unreadable(reinterpret_cast<CRITICAL_SECTION*>(1));
}

}  // namespace

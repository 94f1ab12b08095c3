#include "runtime/ZelAsyncOperation.h"
#include "support/NewSpy.h"
#include "support/Signal.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>

using testing::ElementsAre;

namespace
{

class Worker : public CZelAsyncOperation<int>
{
  public:
    ~Worker() override { Stop(kDestructorStopMs); }

    std::uint32_t Execute(int* data) override
    {
        executed.push_back(*data);
        return onExecute(*data);
    }

    std::function<std::uint32_t(int)> onExecute = [](int data) { return static_cast<std::uint32_t>(data) * 10; };
    std::vector<int> executed;
};

class AsyncOperation : public testing::Test
{
  protected:
    using Item = Worker::Item;

    ~AsyncOperation() override { CloseHandle(m_watched); }

    /// An item whose event stays visible after the worker has closed it.
    Item* NewItem(int& data)
    {
        host::CountBlocks(sizeof(Item));
        auto* item = new Item{NewManualResetEvent(), 0, &data};
        DuplicateHandle(GetCurrentProcess(), item->event.get(), GetCurrentProcess(), &m_watched, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
        return item;
    }
    bool IsSignalled() const { return WaitForSingleObject(m_watched, 0) == WAIT_OBJECT_0; }

    /// Runs an item to its end, and thereby everything that was queued before.
    std::uint32_t RunOne(int data)
    {
        Item item{NewManualResetEvent(), 0, &data};
        m_worker.Enqueue(&item);
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(item.event.get(), 60000));
        return item.result;
    }

    Worker m_worker;
    HANDLE m_watched = nullptr;
    int m_data = 1;
};

TEST_F(AsyncOperation, RunsItemsInOrderAndSkipsNone)
{
    Item* first = NewItem(m_data);
    m_worker.Start();
    m_worker.Enqueue(first);
    m_worker.Enqueue(nullptr);
    EXPECT_EQ(20u, RunOne(2));
    EXPECT_TRUE(IsSignalled());
    EXPECT_EQ(10u, first->result);
    EXPECT_FALSE(m_worker.Abandon(*first)) << "a finished item is its asker's";
    EXPECT_EQ(10u, first->result);
    EXPECT_THAT(m_worker.executed, ElementsAre(1, 2));
    delete first;
}

TEST_F(AsyncOperation, DeletesAnItemAbandonedBeforeItsTurn)
{
    Item* item = NewItem(m_data);
    EXPECT_TRUE(m_worker.Abandon(*item));
    m_worker.Enqueue(item);
    EXPECT_EQ(1, host::LiveBlocks());
    m_worker.Start();
    RunOne(2);
    EXPECT_THAT(m_worker.executed, ElementsAre(2));
    EXPECT_FALSE(IsSignalled());
    EXPECT_EQ(0, host::LiveBlocks());
}

TEST_F(AsyncOperation, DeletesAnItemAbandonedWhileItRuns)
{
    Item* item = NewItem(m_data);
    bool abandoned = false;
    m_worker.onExecute = [&](int data) {
        if (data == 1)
            abandoned = m_worker.Abandon(*item);
        return 0u;
    };
    const long before = host::LiveBlocks();
    m_worker.Start();
    m_worker.Enqueue(item);
    RunOne(2);
    EXPECT_TRUE(abandoned);
    EXPECT_FALSE(IsSignalled());
    EXPECT_EQ(before - 1, host::LiveBlocks());
}

TEST_F(AsyncOperation, LeavesTheAskerOfAThrowingItemWaiting)
{
    Item* item = NewItem(m_data);
    m_worker.onExecute = [](int data) -> std::uint32_t {
        if (data == 1)
            throw std::uint32_t{9};
        return 3;
    };
    m_worker.Start();
    m_worker.Enqueue(item);
    EXPECT_EQ(3u, RunOne(2));
    EXPECT_FALSE(IsSignalled());
    delete item;
}

}  // namespace

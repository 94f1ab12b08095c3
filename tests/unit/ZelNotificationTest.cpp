#include "runtime/ZelNotification.h"

#include "support/Signal.h"

#include <gmock/gmock.h>

#include <functional>
#include <mutex>
#include <vector>

using testing::ElementsAre;

namespace
{

class Delivery : public CZelNotification<int>
{
  public:
    ~Delivery() override { Stop(kDestructorStopMs); }

    std::uint32_t Execute(int* record) override
    {
        {
            const std::scoped_lock guard(m_lock);
            m_delivered.push_back(*record);
        }
        onDelivery(*record);
        return 0;
    }

    std::vector<int> Delivered() const
    {
        const std::scoped_lock guard(m_lock);
        return m_delivered;
    }

    std::function<void(int)> onDelivery = [](int) {};

  private:
    mutable std::mutex m_lock;
    std::vector<int> m_delivered;
};

class ZelNotification : public testing::Test
{
  protected:
    /// Queues records while the first of them is held up in its delivery.
    void QueueBehindTheFirst()
    {
        m_delivery.onDelivery = [&](int record) {
            if (record != 1)
                return;
            m_entered.Set();
            m_release.Wait();
        };
        m_delivery.Start();
        m_delivery.Enqueue(&m_records[0]);
        ASSERT_TRUE(m_entered.Wait());
        m_delivery.Enqueue(&m_records[1]);
        m_delivery.Enqueue(nullptr);
        m_delivery.Enqueue(&m_records[2]);
    }

    bool HasDelivered(std::size_t count)
    {
        return Eventually([&] { return m_delivery.Delivered().size() == count; });
    }

    int m_records[3] = {1, 2, 3};
    Signal m_entered;
    Signal m_release;
    Delivery m_delivery;
};

TEST_F(ZelNotification, DeliversInOrderAndSkipsNull)
{
    QueueBehindTheFirst();
    m_release.Set();
    EXPECT_TRUE(HasDelivered(3));
    EXPECT_THAT(m_delivery.Delivered(), ElementsAre(1, 2, 3));
}

TEST_F(ZelNotification, AStopOvertakesTheQueue)
{
    constexpr std::size_t kRecords = 20000;
    m_delivery.onDelivery = [](int) { Sleep(1); };
    m_delivery.Start();
    for (std::size_t i = 0; i < kRecords; ++i)
        m_delivery.Enqueue(&m_records[0]);
    m_delivery.Stop(60000);
    EXPECT_LT(m_delivery.Delivered().size(), kRecords);
}

TEST_F(ZelNotification, DeliversWhatWasQueuedBeforeTheStart)
{
    m_delivery.Enqueue(&m_records[1]);
    m_delivery.Enqueue(&m_records[0]);
    m_delivery.Start();
    EXPECT_TRUE(HasDelivered(2));
    EXPECT_THAT(m_delivery.Delivered(), ElementsAre(2, 1));
}

TEST_F(ZelNotification, GoesOnAfterADeliveryThatThrows)
{
    m_delivery.onDelivery = [](int) { throw 1; };
    m_delivery.Start();
    m_delivery.Enqueue(&m_records[0]);
    m_delivery.Enqueue(&m_records[1]);
    EXPECT_TRUE(HasDelivered(2));
}

}  // namespace

#include "app/cloud_reachability.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "platform/quorin_api/quorin_error.h"

#include <atomic>

#include <gtest/gtest.h>

namespace gateway::app {
namespace {

/// A cloud that answers or not, as told. Thread: any.
class FakeStatusAPI final : public platform::QrnStatusAPIProtocol
{
public:
    void ping() override
    {
        ++pings;
        if (isAway) {
            throw platform::AFError(QStringLiteral("Nobody answers."), std::nullopt);
        }
    }

    std::atomic<bool> isAway = false;
    std::atomic<int> pings = 0;
};

class Reachability : public ::testing::Test
{
protected:
    void refresh()
    {
        m_reachability->refresh();
        m_pool.waitUntilIdle();
        m_main.drain();
    }

    FakeStatusAPI m_api;
    platform::testing::ManualClock m_clock;
    platform::MainExecutor m_main;
    platform::WorkerPool m_pool{QStringLiteral("cloud"), 1};
    std::shared_ptr<CloudReachability> m_reachability =
        std::make_shared<CloudReachability>(m_api, m_main, m_pool, m_clock);
};

TEST_F(Reachability, IsUnknownBeforeTheFirstAnswer)
{
    EXPECT_EQ(m_reachability->isOnline(), std::nullopt);

    refresh();

    EXPECT_EQ(m_reachability->isOnline(), true);
    EXPECT_TRUE(m_reachability->lastError().isEmpty());
}

TEST_F(Reachability, SaysWhyTheCloudIsAway)
{
    m_api.isAway = true;

    refresh();

    EXPECT_EQ(m_reachability->isOnline(), false);
    EXPECT_EQ(m_reachability->lastError(), u"Nobody answers."_qs);
}

TEST_F(Reachability, AsksAgainOnlyAfterAWhile)
{
    refresh();
    refresh();
    EXPECT_EQ(m_api.pings, 1);

    m_clock.advance(CloudReachability::kFresh);
    refresh();
    EXPECT_EQ(m_api.pings, 2);
}

TEST_F(Reachability, MayDieBeforeTheAnswerComes)
{
    m_reachability->refresh();
    m_reachability.reset();
    m_pool.waitUntilIdle();
    m_main.drain();

    EXPECT_EQ(m_api.pings, 1);
}

} // namespace
} // namespace gateway::app

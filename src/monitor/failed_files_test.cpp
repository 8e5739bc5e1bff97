#include "monitor/failed_files.h"

#include "platform/concurrency/testing/manual_clock.h"

#include <atomic>

#include <gtest/gtest.h>

namespace gateway::monitor {
namespace {

class Failed : public ::testing::Test
{
protected:
    void count()
    {
        m_files->refresh();
        m_pool.waitUntilIdle();
        m_main.drain();
    }

    platform::testing::ManualClock m_clock;
    platform::MainExecutor m_main;
    platform::WorkerPool m_pool{u"test"_qs, 1};
    std::atomic<int> m_times = 0;
    std::shared_ptr<FailedFiles> m_files = std::make_shared<FailedFiles>(FailedFiles::Collaborators{
        m_main, m_pool, m_clock, [this] { return FailedFiles::Counts{{{u"network"_qs, ++m_times}}, {}}; }});
};

TEST_F(Failed, AreCountedAwayFromTheMainThread)
{
    EXPECT_EQ(m_files->counts(), FailedFiles::Counts());

    count();

    EXPECT_EQ(m_files->counts(), (FailedFiles::Counts{{{u"network"_qs, 1}}, {}}));
}

TEST_F(Failed, AreCountedNoMoreOftenThanNeeded)
{
    count();
    count();
    EXPECT_EQ(m_times, 1);

    m_clock.advance(FailedFiles::kFresh);
    m_files->refresh();
    m_clock.advance(FailedFiles::kFresh);
    m_files->refresh(); // the one before it is under way
    m_pool.waitUntilIdle();
    EXPECT_EQ(m_times, 2);
}

TEST_F(Failed, MayBeForgottenWhileTheyAreCounted)
{
    m_files->refresh();
    m_files.reset();

    m_pool.waitUntilIdle();
    m_main.drain();

    EXPECT_EQ(m_times, 1);
}

} // namespace
} // namespace gateway::monitor

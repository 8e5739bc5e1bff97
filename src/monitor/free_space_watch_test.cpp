#include "monitor/free_space_watch.h"

#include "platform/concurrency/testing/manual_clock.h"

#include <QtCore/QTemporaryDir>

#include <atomic>
#include <limits>
#include <semaphore>
#include <thread>

#include <gtest/gtest.h>

namespace gateway::monitor {
namespace {

class Watch : public ::testing::Test
{
protected:
    void measure()
    {
        m_watch->refresh();
        m_pool.waitUntilIdle();
        m_main.drain();
    }

    QTemporaryDir m_folder;
    platform::testing::ManualClock m_clock;
    platform::MainExecutor m_main;
    platform::WorkerPool m_pool{u"test"_qs, 2};
    std::atomic<int> m_measurements = 0;
    QString m_inbox = m_folder.filePath(u"missing"_qs);
    std::binary_semaphore m_inboxAnswers{1};
    std::shared_ptr<FreeSpaceWatch> m_watch =
        std::make_shared<FreeSpaceWatch>(FreeSpaceWatch::Folders{{u"store"_qs,
                                                                  [this] {
                                                                      ++m_measurements;
                                                                      return m_folder.path();
                                                                  }},
                                                                 {u"inbox"_qs,
                                                                  [this] {
                                                                      m_inboxAnswers.acquire();
                                                                      m_inboxAnswers.release();
                                                                      return m_inbox;
                                                                  }}},
                                         FreeSpaceWatch::Collaborators{m_main, m_pool, m_clock});
};

TEST_F(Watch, KnowsNothingBeforeItHasMeasured)
{
    EXPECT_TRUE(m_watch->rooms(0).empty());
}

TEST_F(Watch, TellsTheFreeSpaceOfEachFolder)
{
    measure();

    const std::vector<HealthFigures::Room> rooms = m_watch->rooms(0);
    ASSERT_EQ(rooms.size(), 1U);
    EXPECT_EQ(rooms.front().folder, u"store"_qs);
    EXPECT_GT(rooms.front().freeBytes, 0);
    EXPECT_FALSE(rooms.front().untilReserve.has_value());
}

TEST_F(Watch, TellsAtOnceThatTheReserveIsReached)
{
    measure();

    const auto room = m_watch->rooms(std::numeric_limits<qint64>::max()).front();
    EXPECT_EQ(room.untilReserve, std::chrono::seconds(0));
}

TEST_F(Watch, MeasuresNoMoreOftenThanNeeded)
{
    measure();
    measure();
    EXPECT_EQ(m_measurements, 1);

    m_clock.advance(FreeSpaceWatch::kFresh);
    m_watch->refresh();
    m_clock.advance(FreeSpaceWatch::kFresh);
    m_watch->refresh(); // what the one before it found hasn't come back yet
    m_pool.waitUntilIdle();
    EXPECT_EQ(m_measurements, 2);
}

TEST_F(Watch, LeavesOutAFolderThatIsAway)
{
    m_inbox = m_folder.path();
    measure();
    EXPECT_EQ(m_watch->rooms(0).size(), 2U);

    m_inbox = m_folder.filePath(u"missing"_qs);
    m_clock.advance(FreeSpaceWatch::kFresh);
    measure();

    EXPECT_EQ(m_watch->rooms(0).size(), 1U);
}

TEST_F(Watch, MeasuresTheOthersWhileOneFolderDoesNotAnswer)
{
    m_inboxAnswers.acquire();
    for (int measurements = 1; measurements <= 3; ++measurements) {
        while (m_measurements < measurements || m_watch->rooms(0).empty()) {
            m_watch->refresh();
            m_main.drain();
            std::this_thread::yield();
        }
        m_clock.advance(FreeSpaceWatch::kFresh);
    }
    EXPECT_EQ(m_watch->rooms(0).front().folder, u"store"_qs);
    m_inboxAnswers.release();
    m_pool.waitUntilIdle();
}

} // namespace
} // namespace gateway::monitor

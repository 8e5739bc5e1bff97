#include "monitor/free_space_watch.h"

#include "platform/concurrency/testing/manual_clock.h"

#include <QtCore/QTemporaryDir>

#include <limits>

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
    platform::WorkerPool m_pool{u"test"_qs, 1};
    QMap<QString, QString> m_folders{{u"store"_qs, m_folder.path()}};
    int m_measurements = 0;
    std::shared_ptr<FreeSpaceWatch> m_watch =
        std::make_shared<FreeSpaceWatch>([this] { return ++m_measurements, m_folders; },
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
    m_watch->refresh(); // the one before it is under way
    EXPECT_EQ(m_measurements, 2);
    m_pool.waitUntilIdle();
}

TEST_F(Watch, LeavesOutAFolderThatIsAway)
{
    m_folders.insert(u"inbox"_qs, m_folder.filePath(u"missing"_qs));

    measure();

    EXPECT_EQ(m_watch->rooms(0).size(), 1U);
}

} // namespace
} // namespace gateway::monitor

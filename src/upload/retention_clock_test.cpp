#include "upload/retention_clock.h"

#include "platform/concurrency/clock.h"
#include "platform/defaults/user_defaults.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>

namespace gateway::upload {

namespace {

using std::chrono::hours;
using std::chrono::minutes;

/// A clock whose two readings a test moves.
class TwoReadings final : public platform::Clock
{
public:
    QDateTime now() const override { return wall; }
    std::chrono::nanoseconds monotonic() const override { return passed; }
    bool sleep(std::chrono::nanoseconds, std::stop_token) override { return true; }
    void wakeAfter(std::chrono::nanoseconds, const std::stop_token &, platform::WakeUp::Tell tell) override
    {
        tell(true);
    }

    void advance(std::chrono::seconds by)
    {
        wall = wall.addSecs(by.count());
        passed += by;
    }

    QDateTime wall{QDate(2026, 1, 1), QTime(12, 0), Qt::UTC};
    std::chrono::nanoseconds passed{0};
};

class RetentionClockTest : public ::testing::Test
{
protected:
    bool isBelieved() { return m_watch->isBelieved(); }

    /// The wall clock alone: no time passes.
    void moveWallClock(hours by) { m_clock.wall = m_clock.wall.addSecs(std::chrono::seconds(by).count()); }

    void restart() { m_watch.emplace(m_clock, m_defaults); }

    QTemporaryDir m_home;
    platform::UserDefaults m_defaults{m_home.filePath(QStringLiteral("defaults"))};
    TwoReadings m_clock;
    std::optional<RetentionClock> m_watch{std::in_place, m_clock, m_defaults};
};

} // namespace

TEST_F(RetentionClockTest, BelievesAClockThatGoesWithTheTime)
{
    EXPECT_TRUE(isBelieved());
    for (int i = 0; i < 100; ++i) {
        m_clock.advance(hours(25));
        EXPECT_TRUE(isBelieved());
    }
    moveWallClock(hours(2)); // summer comes to a machine whose clock is local
    EXPECT_TRUE(isBelieved());
}

TEST_F(RetentionClockTest, DoubtsAClockThatJumpedUntilItWentWellForAnHour)
{
    ASSERT_TRUE(isBelieved());
    moveWallClock(hours(24 * 400));

    EXPECT_FALSE(isBelieved());
    m_clock.advance(minutes(59));
    EXPECT_FALSE(isBelieved());
    m_clock.advance(minutes(1));
    EXPECT_TRUE(isBelieved());
}

TEST_F(RetentionClockTest, BeginsTheHourAnewWhenTheClockIsPutRight)
{
    ASSERT_TRUE(isBelieved());
    moveWallClock(hours(24 * 400));
    ASSERT_FALSE(isBelieved());
    m_clock.advance(minutes(50));
    moveWallClock(hours(-24 * 400));

    EXPECT_FALSE(isBelieved());
    m_clock.advance(minutes(59));
    EXPECT_FALSE(isBelieved());
    m_clock.advance(minutes(1));
    EXPECT_TRUE(isBelieved());
}

TEST_F(RetentionClockTest, ARestartEndsNoDoubt)
{
    ASSERT_TRUE(isBelieved());
    moveWallClock(hours(24 * 400));
    for (int i = 0; i < 3; ++i) {
        restart();
        EXPECT_FALSE(isBelieved());
        m_clock.advance(minutes(30));
        EXPECT_FALSE(isBelieved());
    }
    m_clock.advance(minutes(30));
    EXPECT_TRUE(isBelieved());
    restart();
    EXPECT_TRUE(isBelieved());
}

TEST_F(RetentionClockTest, DoubtsForAnHourAfterDaysWithoutPower)
{
    ASSERT_TRUE(isBelieved());
    m_clock.advance(hours(80));
    restart();

    EXPECT_FALSE(isBelieved());
    m_clock.advance(hours(1));
    EXPECT_TRUE(isBelieved());
}

} // namespace gateway::upload

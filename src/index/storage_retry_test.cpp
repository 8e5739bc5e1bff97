#include "index/storage_retry.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <vector>

namespace gateway::index {

namespace {

/// A clock on which every sleep is over at once, unless its owner has been asked to stop.
class InstantClock final : public platform::Clock
{
public:
    QDateTime now() const override { return QDateTime::fromMSecsSinceEpoch(0, Qt::UTC); }
    std::chrono::nanoseconds monotonic() const override { return m_slept; }
    bool sleep(std::chrono::nanoseconds duration, std::stop_token stop) override
    {
        m_slept += duration;
        ++m_sleeps;
        return !stop.stop_requested();
    }
    void wakeAfter(std::chrono::nanoseconds duration,
                   const std::stop_token &stop,
                   platform::WakeUp::Tell tell) override
    {
        tell(sleep(duration, stop));
    }

    int sleeps() const { return m_sleeps; }

private:
    std::chrono::nanoseconds m_slept{0};
    int m_sleeps = 0;
};

// SQLite's own result codes, which never change.
constexpr int kSqliteBusy = 5;
constexpr int kSqliteConstraint = 19;

const platform::SqliteError kBusy(QStringLiteral("database is locked"), kSqliteBusy);
const platform::SqliteError kRefused(QStringLiteral("constraint failed"), kSqliteConstraint);

} // namespace

TEST(StorageRetry, RepeatsWhatABusyDatabaseRefusedUntilItWorks)
{
    InstantClock clock;
    int tries = 0;

    const int result = StorageRetry(clock, {}).untilDone([&] {
        if (++tries < 4) {
            throw platform::SqliteError(kBusy);
        }
        return tries;
    });

    EXPECT_EQ(result, 4);
    EXPECT_EQ(clock.monotonic(), std::chrono::milliseconds(100 + 200 + 400));
}

TEST(StorageRetry, DoesNotRepeatWhatCanNotWork)
{
    InstantClock clock;

    EXPECT_THROW(StorageRetry(clock, {}).untilDone([] { throw platform::SqliteError(kRefused); }),
                 platform::SqliteError);
    EXPECT_THROW(StorageRetry(clock, {}).untilDone([] { throw platform::FileError("open a file", EACCES); }),
                 platform::FileError);

    EXPECT_EQ(clock.sleeps(), 0);
}

TEST(StorageRetry, EndsAfterHalfAMinuteForAllStepsTogether)
{
    InstantClock clock;
    StorageRetry retry(clock, {});

    EXPECT_THROW(retry.untilDone([] { throw platform::FileError("write a file", ENOSPC); }),
                 platform::FileError);
    EXPECT_EQ(clock.monotonic(), std::chrono::seconds(30));
    const int sleeps = clock.sleeps();

    EXPECT_THROW(retry.untilDone([] { throw platform::SqliteError(kBusy); }), platform::SqliteError);
    EXPECT_EQ(clock.sleeps(), sleeps) << "nothing is left to wait for";
}

TEST(StorageRetry, EndsWhenItsOwnerStops)
{
    InstantClock clock;
    std::stop_source stop;
    stop.request_stop();

    EXPECT_THROW(StorageRetry(clock, stop.get_token()).untilDone([] { throw platform::SqliteError(kBusy); }),
                 platform::SqliteError);

    EXPECT_EQ(clock.sleeps(), 1);
}

} // namespace gateway::index

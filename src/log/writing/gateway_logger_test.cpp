#include "log/writing/gateway_logger.h"

#include "log/writing/log_line.h"
#include "log/writing/redaction.h"
#include "log/writing/store_log_emitter.h"
#include "platform/concurrency/testing/manual_clock.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

namespace gateway::log {

namespace {

struct SystemLogEntry
{
    platform::SystemLogLevel level;
    QString subsystem;
    QString category;
    QString message;
};

/// A system log in memory that can be made to stall and to hide one type.
class FakeSystemLog final : public platform::SystemLog
{
public:
    void write(platform::SystemLogLevel level, QString subsystem, QString category, QString message) override
    {
        const platform::MutexLock lock(m_mutex);
        while (m_stalled) {
            m_changed.wait(m_mutex);
        }
        m_entries.push_back({level, subsystem, category, message});
    }

    bool enabled(platform::SystemLogLevel level) const override { return level != m_hidden; }

    void hide(platform::SystemLogLevel level) { m_hidden = level; }

    void stall(bool stalled)
    {
        const platform::MutexLock lock(m_mutex);
        m_stalled = stalled;
        m_changed.notifyAll();
    }

    std::vector<SystemLogEntry> entries() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_entries;
    }

private:
    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    std::vector<SystemLogEntry> m_entries QUORIN_GUARDED_BY(m_mutex);
    bool m_stalled QUORIN_GUARDED_BY(m_mutex) = false;
    std::optional<platform::SystemLogLevel> m_hidden;
};

GatewayLogEvent event(GatewayLogLevel level, const QString &correlationId = QStringLiteral("RUN"))
{
    GatewayLogEvent made;
    made.eventId = newUuidText();
    made.timestamp = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
    made.level = level;
    made.category = GatewayLogCategory::uploadQueue;
    made.correlationId = correlationId;
    return made;
}

struct GatewayLoggerTest : ::testing::Test
{
    QTemporaryDir home;
    QString directory = home.filePath(QStringLiteral("Logs"));
    platform::testing::ManualClock clock;
    FakeSystemLog systemLog;

    std::unique_ptr<GatewayLogger>
    makeLogger(qint64 maxFileSize = GatewayLogFileSink::kDefaultMaxFileSizeBytes)
    {
        return std::make_unique<GatewayLogger>(
            systemLog, std::make_unique<GatewayLogFileSink>(directory, clock, maxFileSize));
    }

    /// All events of all files; fails the test on a line that isn't a whole record.
    std::vector<GatewayLogEvent> writtenEvents() const
    {
        std::vector<GatewayLogEvent> found;
        LogLineDecoder decoder;
        for (const QFileInfo &info : QDir(directory).entryInfoList(QDir::Files)) {
            QFile file(info.filePath());
            EXPECT_TRUE(file.open(QIODevice::ReadOnly));
            while (!file.atEnd()) {
                const auto decoded = decoder.decode(file.readLine());
                EXPECT_TRUE(decoded.has_value());
                found.push_back(decoded.value_or(GatewayLogEvent()));
            }
        }
        return found;
    }
};

} // namespace

TEST_F(GatewayLoggerTest, WritesTheSystemLogAndTheFile)
{
    const GatewayLogEvent logged = event(GatewayLogLevel::info);

    makeLogger()->log(logged);

    ASSERT_EQ(systemLog.entries().size(), 1U);
    EXPECT_EQ(systemLog.entries()[0].subsystem, QStringLiteral("com.ovelt.QuorinGateway"));
    EXPECT_EQ(systemLog.entries()[0].category, QStringLiteral("uploadQueue"));
    EXPECT_EQ(systemLog.entries()[0].message, textForm(logged));
    EXPECT_EQ(writtenEvents(), std::vector<GatewayLogEvent>{logged});
}

TEST_F(GatewayLoggerTest, GivesAWarningTheErrorTypeInTheSystemLogAndItsOwnLevelInTheFile)
{
    {
        const auto logger = makeLogger();
        logger->log(event(GatewayLogLevel::debug));
        logger->log(event(GatewayLogLevel::info));
        logger->log(event(GatewayLogLevel::warning));
        logger->log(event(GatewayLogLevel::error));
    }

    const auto entries = systemLog.entries();
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[0].level, platform::SystemLogLevel::debug);
    EXPECT_EQ(entries[1].level, platform::SystemLogLevel::info);
    EXPECT_EQ(entries[2].level, platform::SystemLogLevel::error);
    EXPECT_EQ(entries[3].level, platform::SystemLogLevel::error);
    EXPECT_EQ(writtenEvents().at(2).level, GatewayLogLevel::warning);
}

TEST_F(GatewayLoggerTest, SendsNothingOfATypeThatTheSystemLogDoesNotTake)
{
    systemLog.hide(platform::SystemLogLevel::debug);

    makeLogger()->log(event(GatewayLogLevel::debug));

    EXPECT_TRUE(systemLog.entries().empty());
    EXPECT_EQ(writtenEvents().size(), 1U);
}

TEST_F(GatewayLoggerTest, StillReachesTheSystemLogWhenTheLogDirectoryCannotBeMade)
{
    QFile obstacle(directory);
    ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly));
    obstacle.close();

    makeLogger()->log(event(GatewayLogLevel::info));

    EXPECT_EQ(systemLog.entries().size(), 1U);
    EXPECT_EQ(QFileInfo(directory).size(), 0);
}

TEST_F(GatewayLoggerTest, ReturnsAtOnceWhileTheSystemLogStalls)
{
    const auto logger = makeLogger();
    systemLog.stall(true);

    logger->log(event(GatewayLogLevel::info));
    logger->log(event(GatewayLogLevel::info));
    EXPECT_TRUE(systemLog.entries().empty());
    systemLog.stall(false);
}

TEST_F(GatewayLoggerTest, HasWrittenWhatWasLoggedWhenItIsWaitedForAndDoesNotWaitForEver)
{
    const auto logger = makeLogger();
    EXPECT_TRUE(logger->awaitWritten(std::chrono::hours(1))) << "nothing to write";
    systemLog.stall(true);
    logger->log(event(GatewayLogLevel::info));

    EXPECT_FALSE(logger->awaitWritten(std::chrono::milliseconds(1)));
    systemLog.stall(false);
    EXPECT_TRUE(logger->awaitWritten(std::chrono::hours(1)));
    EXPECT_EQ(writtenEvents().size(), 1U);
}

TEST_F(GatewayLoggerTest, KeepsTheOrderOfEachThreadOverRotationsWhileManyWrite)
{
    constexpr int kThreads = 4;
    constexpr int kEventsEach = 400;
    constexpr qint64 kSmallFile = 20'000;
    {
        const auto logger = makeLogger(kSmallFile);
        std::vector<std::jthread> writers;
        writers.reserve(kThreads);
        for (int thread = 0; thread < kThreads; ++thread) {
            writers.emplace_back([&logger, thread] {
                for (int index = 0; index < kEventsEach; ++index) {
                    GatewayLogEvent next = event(GatewayLogLevel::info, QString::number(thread));
                    next.attempt = index;
                    logger->log(std::move(next));
                }
            });
        }
    }

    // Files of one second sort by chance, so the order is looked at file by file.
    std::vector<std::vector<qint64>> seen(kThreads);
    for (const QFileInfo &info : QDir(directory).entryInfoList(QDir::Files)) {
        EXPECT_LT(info.size(), kSmallFile);
    }
    const auto written = writtenEvents();
    ASSERT_EQ(written.size(), static_cast<std::size_t>(kThreads * kEventsEach));
    for (const SystemLogEntry &entry : systemLog.entries()) {
        const QString thread = entry.message.section(QStringLiteral("correlationId="), 1).section(u' ', 0, 0);
        const QString attempt = entry.message.section(QStringLiteral("attempt="), 1).section(u' ', 0, 0);
        seen.at(static_cast<std::size_t>(thread.toInt())).push_back(attempt.toLongLong());
    }
    for (const auto &attempts : seen) {
        EXPECT_EQ(attempts.size(), static_cast<std::size_t>(kEventsEach));
        EXPECT_TRUE(std::is_sorted(attempts.begin(), attempts.end()));
    }
}

TEST_F(GatewayLoggerTest, FillsFilesOfFiveMebibytesWithoutLosingARecord)
{
    constexpr int kEvents = 3'000;
    const QString bulk(2'000, u'x'); // 6 MB in all: one rotation
    {
        const auto logger = makeLogger();
        for (int index = 0; index < kEvents; ++index) {
            logger->log(event(GatewayLogLevel::info, bulk));
        }
    }

    const QFileInfoList files = QDir(directory).entryInfoList(QDir::Files, QDir::Size);
    ASSERT_EQ(files.size(), 2);
    EXPECT_LT(files.at(0).size(), GatewayLogFileSink::kDefaultMaxFileSizeBytes);
    EXPECT_GT(files.at(0).size(), GatewayLogFileSink::kDefaultMaxFileSizeBytes - 3'000);
    EXPECT_EQ(writtenEvents().size(), static_cast<std::size_t>(kEvents));
}

TEST_F(GatewayLoggerTest, KeepsWritingWhileAnotherThreadDeletesItsFiles)
{
    constexpr int kEvents = 1'000;
    {
        const auto logger = makeLogger();
        std::jthread deleter([this](std::stop_token stop) {
            while (!stop.stop_requested()) {
                for (const QFileInfo &info : QDir(directory).entryInfoList(QDir::Files)) {
                    QFile::remove(info.filePath());
                }
            }
        });
        for (int index = 0; index < kEvents; ++index) {
            logger->log(event(GatewayLogLevel::info));
        }
        deleter.request_stop();
        deleter.join();
        logger->log(event(GatewayLogLevel::info, QStringLiteral("LAST")));
    }

    EXPECT_EQ(systemLog.entries().size(), static_cast<std::size_t>(kEvents) + 1);
    ASSERT_FALSE(writtenEvents().empty());
    EXPECT_EQ(writtenEvents().back().correlationId, QStringLiteral("LAST"));
}

TEST_F(GatewayLoggerTest, BoundsWhatWaitsWhileADiskStallsAndTellsTheSystemLogWhatWasLost)
{
    constexpr std::size_t kBeyond = 7;
    {
        const auto logger = makeLogger();
        systemLog.stall(true);
        // One batch may already be on its way when the line fills, so twice the bound is surely too much.
        for (std::size_t index = 0; index < 2 * GatewayLogger::kMaxWaitingEvents + kBeyond; ++index) {
            logger->log(event(GatewayLogLevel::debug));
        }
        systemLog.stall(false);
    }

    const auto entries = systemLog.entries();
    const std::size_t written = writtenEvents().size();
    EXPECT_LE(written, 2 * GatewayLogger::kMaxWaitingEvents);
    EXPECT_GE(written, GatewayLogger::kMaxWaitingEvents);
    const std::size_t lost = 2 * GatewayLogger::kMaxWaitingEvents + kBeyond - written;
    ASSERT_GT(lost, 0U);
    std::size_t told =
        0; // in one line, or in two where the line also filled before the first batch was taken
    std::size_t lines = 0;
    for (const SystemLogEntry &entry : entries) {
        if (entry.message.endsWith(QStringLiteral(" events were lost while the log could not keep up"))) {
            EXPECT_EQ(entry.level, platform::SystemLogLevel::error);
            told += entry.message.section(u' ', 0, 0).toULongLong();
            ++lines;
        }
    }
    EXPECT_EQ(told, lost);
    EXPECT_EQ(entries.size(), written + lines);
}

} // namespace gateway::log

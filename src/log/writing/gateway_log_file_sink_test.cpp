#include "log/writing/gateway_log_file_sink.h"

#include "log/writing/log_line.h"
#include "log/writing/redaction.h"
#include "platform/concurrency/testing/manual_clock.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>

namespace gateway::log {

namespace {

GatewayLogEvent event(const QString &correlationId = QStringLiteral("RUN"))
{
    GatewayLogEvent made;
    made.eventId = newUuidText();
    made.timestamp = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
    made.correlationId = correlationId;
    return made;
}

/// An event whose line, with its line feed, is `bytes` long.
GatewayLogEvent eventOfLineSize(qsizetype bytes)
{
    const qsizetype bare = encodeLogLine(event(QString())).size() + 1;
    return event(QString(bytes - bare, u'x'));
}

struct GatewayLogFileSinkTest : ::testing::Test
{
    QTemporaryDir home;
    QString directory = home.filePath(QStringLiteral("QuorinGateway/Logs"));
    platform::testing::ManualClock clock;

    QStringList files() const { return QDir(directory).entryList(QDir::Files, QDir::Name); }

    QByteArray contents(const QString &name) const
    {
        QFile file(directory + u'/' + name);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    /// Sizes of all log files, ascending.
    QList<qint64> sizes() const
    {
        QList<qint64> found;
        for (const QFileInfo &info : QDir(directory).entryInfoList(QDir::Files)) {
            found.append(info.size());
        }
        std::sort(found.begin(), found.end());
        return found;
    }
};

/// Keeps files of this process below a size, as a full disk would, for a scope.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limited = m_before;
        limited.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_before = {};
    void (*m_handler)(int);
};

} // namespace

TEST_F(GatewayLogFileSinkTest, MakesItsDirectoryAtOnceAndNoFileBeforeTheFirstEvent)
{
    const GatewayLogFileSink sink(directory, clock);

    EXPECT_TRUE(QDir(directory).exists());
    EXPECT_TRUE(files().isEmpty());
}

TEST_F(GatewayLogFileSinkTest, AppendsOneLineAnEventToOneFile)
{
    GatewayLogFileSink sink(directory, clock);
    const GatewayLogEvent first = event();
    const GatewayLogEvent second = event();

    sink.write(first);
    sink.write(second);

    ASSERT_EQ(files().size(), 1);
    EXPECT_EQ(contents(files().at(0)), encodeLogLine(first) + '\n' + encodeLogLine(second) + '\n');
}

TEST_F(GatewayLogFileSinkTest, NamesItsFilesByTheTimeInUtcAndEightRandomDigits)
{
    GatewayLogFileSink sink(directory, clock);

    sink.write(event());

    const QRegularExpression shape(QStringLiteral("^gateway-transfer-20260101-120000-[0-9A-F]{8}\\.jsonl$"));
    EXPECT_TRUE(shape.match(files().at(0)).hasMatch()) << files().at(0).toStdString();
}

TEST_F(GatewayLogFileSinkTest, TwoSinksInOneSecondUseDifferentNames)
{
    GatewayLogFileSink one(directory, clock);
    GatewayLogFileSink other(directory, clock);

    one.write(event());
    other.write(event());

    EXPECT_EQ(files().size(), 2);
}

TEST_F(GatewayLogFileSinkTest, NeverContinuesTheFileOfAnEarlierProcess)
{
    GatewayLogFileSink(directory, clock).write(event());
    GatewayLogFileSink(directory, clock).write(event());

    EXPECT_EQ(files().size(), 2);
}

TEST_F(GatewayLogFileSinkTest, OpensANewFileUnderANewNameWhenTheActiveOneWasDeletedBehindItsBack)
{
    GatewayLogFileSink sink(directory, clock);
    sink.write(event());
    const QString before = files().at(0);
    ASSERT_TRUE(QFile::remove(directory + u'/' + before));
    const GatewayLogEvent next = event();

    sink.write(next);

    ASSERT_EQ(files().size(), 1);
    EXPECT_NE(files().at(0), before);
    EXPECT_EQ(contents(files().at(0)), encodeLogLine(next) + '\n');
}

TEST_F(GatewayLogFileSinkTest, MakesItsDirectoryAgainWhenThatWasDeleted)
{
    GatewayLogFileSink sink(directory, clock);
    sink.write(event());
    ASSERT_TRUE(QDir(directory).removeRecursively());

    sink.write(event());

    EXPECT_EQ(files().size(), 1);
}

TEST_F(GatewayLogFileSinkTest, ARecordThatWouldFillTheFileExactlyGoesIntoANewFile)
{
    constexpr qsizetype kLimit = 5'242'880;
    constexpr qsizetype kRecord = 880;
    GatewayLogFileSink sink(directory, clock);
    sink.write(eventOfLineSize(kLimit - kRecord));

    sink.write(eventOfLineSize(kRecord));

    EXPECT_EQ(sizes(), (QList<qint64>{kRecord, kLimit - kRecord}));
}

TEST_F(GatewayLogFileSinkTest, ARecordThatLeavesOneByteFreeStaysInTheFile)
{
    constexpr qsizetype kLimit = 2000;
    GatewayLogFileSink sink(directory, clock, kLimit);
    sink.write(eventOfLineSize(1000));

    sink.write(eventOfLineSize(999));

    EXPECT_EQ(sizes(), QList<qint64>{1999});
}

TEST_F(GatewayLogFileSinkTest, ARecordLargerThanTheLimitGoesAloneIntoAFile)
{
    GatewayLogFileSink sink(directory, clock, 1000);

    sink.write(eventOfLineSize(600));
    sink.write(eventOfLineSize(1500));
    sink.write(eventOfLineSize(601));

    EXPECT_EQ(sizes(), (QList<qint64>{600, 601, 1500}));
}

TEST_F(GatewayLogFileSinkTest, BelievesTheFileSystemAboutTheSizeAndNotItsOwnCount)
{
    GatewayLogFileSink sink(directory, clock, 2000);
    sink.write(eventOfLineSize(500));
    QFile active(directory + u'/' + files().at(0));
    ASSERT_TRUE(active.open(QIODevice::Append));
    active.write(QByteArray(1400, '\n'));
    active.close();

    sink.write(eventOfLineSize(500));

    EXPECT_EQ(sizes(), (QList<qint64>{500, 1900}));
}

TEST_F(GatewayLogFileSinkTest, LosesEventsQuietlyWhileItsDirectoryCannotBeMadeAndRecovers)
{
    QFile obstacle(home.filePath(QStringLiteral("QuorinGateway")));
    ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly));
    obstacle.close();
    GatewayLogFileSink sink(directory, clock);

    sink.write(event());
    EXPECT_FALSE(QDir(directory).exists());
    ASSERT_TRUE(obstacle.remove());
    sink.write(event());

    EXPECT_EQ(files().size(), 1);
}

TEST_F(GatewayLogFileSinkTest, RemovesNothingWithoutALimitAndCountsWhatThereIs)
{
    LogFolderRoom room([] { return qint64{0}; });
    GatewayLogFileSink sink(directory, clock, 1000, &room);

    for (int i = 0; i < 20; ++i) {
        clock.advance(std::chrono::seconds(1));
        sink.write(eventOfLineSize(900));
    }

    EXPECT_EQ(files().size(), 20);
    EXPECT_EQ(room.bytes(), 20 * 900);
}

TEST_F(GatewayLogFileSinkTest, LetsTheOldestFilesGoWhereTheirRoomIsLimited)
{
    LogFolderRoom room([] { return qint64{5000}; });
    GatewayLogFileSink sink(directory, clock, 1000, &room);
    QDir().mkpath(directory);
    QFile foreign(directory + QStringLiteral("/a-note.txt"));
    ASSERT_TRUE(foreign.open(QIODevice::WriteOnly));
    foreign.close();

    for (int i = 0; i < 20; ++i) {
        clock.advance(std::chrono::seconds(1));
        sink.write(eventOfLineSize(900));
        EXPECT_LE(room.bytes(), 5000);
    }

    EXPECT_EQ(files().size(), 6); // the note, and the newest five
    EXPECT_TRUE(foreign.exists());
    EXPECT_EQ(room.bytes(), 5 * 900);
    EXPECT_TRUE(files().last().contains(clock.now().toUTC().toString(QStringLiteral("HHmmss"))));
}

TEST_F(GatewayLogFileSinkTest, LeavesNoHalfRecordOnAFullDisk)
{
    GatewayLogFileSink sink(directory, clock);
    const GatewayLogEvent whole = event();
    sink.write(whole);
    const QByteArray expected = encodeLogLine(whole) + '\n';

    {
        const FileSizeLimit fullDisk(static_cast<rlim_t>(expected.size() + 10));
        sink.write(event());
    }

    EXPECT_EQ(contents(files().at(0)), expected);
}

} // namespace gateway::log

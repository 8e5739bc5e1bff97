#include "tests/support/gateway_process.h"

#include "log/writing/gateway_log_event.h"
#include "log/writing/log_line.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <csignal>

#include <gtest/gtest.h>

namespace gateway::testing {
namespace {

class LogsCommand : public ::testing::Test
{
protected:
    LogsCommand() { QDir().mkpath(folder()); }

    QString folder() const { return m_home.path(u"Application Support/QuorinGateway/Logs"_qs); }

    /// Appends an event of this number to the one log file.
    QByteArray append(int number, log::GatewayLogLevel level = log::GatewayLogLevel::info) const
    {
        log::GatewayLogEvent event;
        event.eventId = u"EVENT-%1"_qs.arg(number);
        event.timestamp = QDateTime(QDate(2026, 1, 2), QTime(8, 0), Qt::UTC).addSecs(number);
        event.level = level;
        event.fileHash = u"hash%1"_qs.arg(number);
        const QByteArray line = log::encodeLogLine(event);
        QFile file(folder() + u"/gateway-transfer-20260102-080000-AAAAAAAA.jsonl"_qs);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Append));
        EXPECT_EQ(file.write(line + '\n'), line.size() + 1);
        return line;
    }

    GatewayHome m_home;
};

TEST_F(LogsCommand, ShowsNothingInAFreshHome)
{
    QDir(folder()).removeRecursively();

    const ProgramResult result = m_home.run({u"logs"_qs});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, QString());
    EXPECT_EQ(result.error, QString());
}

TEST_F(LogsCommand, ShowsTheNewestLastWithoutAnInstance)
{
    append(2);
    append(1);

    const ProgramResult result = m_home.run({u"logs"_qs});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out.count(u'\n'), 2);
    EXPECT_LT(result.out.indexOf(u"hash1"_qs), result.out.indexOf(u"hash2"_qs));
}

TEST_F(LogsCommand, PrintsTheLinesOfTheFilesAsJson)
{
    const QByteArray first = append(1);
    const QByteArray second = append(2);

    EXPECT_EQ(m_home.run({u"logs"_qs, u"--json"_qs}).out, QString::fromUtf8(first + '\n' + second + '\n'));
}

TEST_F(LogsCommand, FiltersAsTheLogScreenDoes)
{
    append(1);
    append(2, log::GatewayLogLevel::error);

    EXPECT_TRUE(m_home.run({u"logs"_qs, u"--level"_qs, u"error"_qs}).out.contains(u"hash2"_qs));
    EXPECT_EQ(m_home.run({u"logs"_qs, u"--level"_qs, u"error"_qs}).out.count(u'\n'), 1);
    EXPECT_EQ(m_home.run({u"logs"_qs, u"--search"_qs, u"HASH1"_qs}).out.count(u'\n'), 1);
    EXPECT_EQ(m_home.run({u"logs"_qs, u"--category"_qs, u"send"_qs}).out, QString());
}

TEST_F(LogsCommand, NamesTheLevelsAndCategoriesToWhoeverAsksForAnother)
{
    const ProgramResult level = m_home.run({u"logs"_qs, u"--level"_qs, u"loud"_qs});
    const ProgramResult category = m_home.run({u"logs"_qs, u"--category"_qs, u"updater"_qs});

    EXPECT_EQ(level.exitCode, 2);
    EXPECT_EQ(level.error,
              u"There is no level \"loud\": --level takes all, debug, info, warning or error.\n"_qs);
    EXPECT_EQ(category.exitCode, 2);
    EXPECT_EQ(category.error,
              u"There is no category \"updater\": --category takes all, listener, receive, send, uploadQueue "
              "or quorinCloud.\n"_qs);
}

TEST_F(LogsCommand, FailsWithOneSentenceWhereTheFolderCannotBeListed)
{
    QDir(folder()).removeRecursively();
    QFile file(folder());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));

    for (const QStringList &command : {QStringList{u"logs"_qs}, QStringList{u"logs"_qs, u"--follow"_qs}}) {
        const ProgramResult result = m_home.run(command);

        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.error, u"Could not list the log folder: Not a directory\n"_qs);
    }
}

TEST_F(LogsCommand, FollowsWhatIsAddedUntilItIsInterrupted)
{
    append(1);
    RunningCommand command(m_home, {u"logs"_qs, u"--follow"_qs, u"--json"_qs});
    EXPECT_TRUE(command.readLine().contains(u"EVENT-1"_qs));

    append(2);
    EXPECT_TRUE(command.readLine().contains(u"EVENT-2"_qs));

    command.signal(SIGINT);
    const ProgramResult result = command.result();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, QString());
    EXPECT_EQ(result.error, QString());
}

TEST_F(LogsCommand, EndsCleanlyWhenItsReaderHasSeenEnough)
{
    // More than a pipe holds, so that the command is still writing when the pipe closes.
    for (int number = 0; number < 2000; ++number) {
        append(number);
    }

    const ProgramResult result = m_home.runIntoHead({u"logs"_qs});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.out.contains(u"hash0"_qs));
    EXPECT_EQ(result.error, QString());
}

TEST_F(LogsCommand, StopsFollowingWhenNobodyReadsAnyMore)
{
    append(1);

    const ProgramResult result = m_home.runIntoHead({u"logs"_qs, u"--follow"_qs});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.out.contains(u"hash1"_qs));
    EXPECT_EQ(result.error, QString());
}

} // namespace
} // namespace gateway::testing

#include "terminal/client/log_commands.h"

#include "log/browsing/image_trail.h"
#include "log/browsing/testing/log_folder.h"

#include <QtCore/QStringList>

#include <gtest/gtest.h>

#include <optional>

namespace gateway::terminal {
namespace {

using log::testing::eventAt;

log::GatewayLogEvent named(int second, const QString &correlationId)
{
    log::GatewayLogEvent event = eventAt(second);
    event.correlationId = correlationId;
    return event;
}

class LogPrinterTest : public ::testing::Test
{
protected:
    LogPrinter printer(const log::LogFilter &filter = {}, LogPrinter::Bounds bounds = {})
    {
        const auto write = [this](QByteArrayView lines) {
            printed += lines;
            return isWanted;
        };
        return LogPrinter(folder.path(), filter, LogPrinter::Form::json, write, bounds);
    }

    /// What has been printed since the last look, by correlation ids.
    QString take()
    {
        QStringList names;
        log::LogLineDecoder decoder;
        for (const QByteArray &line : printed.split('\n')) {
            if (!line.isEmpty()) {
                names.append(decoder.decode(line).value().correlationId.value());
            }
        }
        printed.clear();
        return names.join(u' ');
    }

    log::testing::LogFolder folder;
    QByteArray printed;
    bool isWanted = true;
};

TEST_F(LogPrinterTest, PrintsTheNewestLinesAloneAndThenAllThatComes)
{
    for (int second = 1; second <= 4; ++second) {
        folder.append(u"a.jsonl"_qs, named(second, QString::number(second)));
    }
    LogPrinter bounded = printer({}, {.newest = 2});

    EXPECT_TRUE(bounded.print());
    EXPECT_EQ(take(), u"3 4"_qs);
    for (int second = 5; second <= 8; ++second) {
        folder.append(u"a.jsonl"_qs, named(second, QString::number(second)));
    }
    EXPECT_TRUE(bounded.print());
    EXPECT_EQ(take(), u"5 6 7 8"_qs);
}

TEST_F(LogPrinterTest, PrintsNothingOlderThanItsBound)
{
    for (int second = 1; second <= 4; ++second) {
        folder.append(u"a.jsonl"_qs, named(second, QString::number(second)));
    }

    EXPECT_TRUE(printer({}, {.fromSecondsSinceEpoch = eventAt(3).timestamp.toSecsSinceEpoch()}).print());
    EXPECT_EQ(take(), u"3 4"_qs);
}

TEST(LogSince, TakesALengthOfTimeOrALocalTime)
{
    const QDateTime now(QDate(2026, 3, 1), QTime(12, 0));

    EXPECT_EQ(momentSince(u"90m"_qs, now), QDateTime(QDate(2026, 3, 1), QTime(10, 30)));
    EXPECT_EQ(momentSince(u"12h"_qs, now), QDateTime(QDate(2026, 3, 1), QTime(0, 0)));
    EXPECT_EQ(momentSince(u"2026-02-27T08:15"_qs, now), QDateTime(QDate(2026, 2, 27), QTime(8, 15)));
    EXPECT_EQ(momentSince(u"2026-02-27"_qs, now), QDateTime(QDate(2026, 2, 27), QTime(0, 0)));
    for (const QString &none : {u"yesterday"_qs, u"12"_qs, u"-1h"_qs, u"2026-02-30"_qs}) {
        EXPECT_FALSE(momentSince(none, now)) << none.toStdString();
    }
}

TEST_F(LogPrinterTest, PrintsOldestFirst)
{
    folder.append(u"a.jsonl"_qs, named(3, u"three"_qs));
    folder.append(u"b.jsonl"_qs, named(1, u"one"_qs));
    folder.append(u"b.jsonl"_qs, named(2, u"two"_qs));

    EXPECT_TRUE(printer().print());

    EXPECT_EQ(take(), u"one two three"_qs);
}

TEST_F(LogPrinterTest, PrintsEachRowOnceAsFilesGrowAndBegin)
{
    folder.append(u"a.jsonl"_qs, named(1, u"one"_qs));
    LogPrinter growing = printer();
    growing.print();
    EXPECT_EQ(take(), u"one"_qs);

    growing.print();
    EXPECT_EQ(take(), QString());

    folder.append(u"a.jsonl"_qs, named(3, u"three"_qs));
    folder.append(u"b.jsonl"_qs, named(2, u"two"_qs));
    growing.print();
    EXPECT_EQ(take(), u"two three"_qs);
}

TEST_F(LogPrinterTest, PrintsWhatIsLoggedIntoAFolderThatIsMadeLater)
{
    QDir().rename(folder.path(), folder.path() + u".away"_qs);
    LogPrinter growing = printer();
    EXPECT_TRUE(growing.print());

    QDir().rename(folder.path() + u".away"_qs, folder.path());
    folder.append(u"a.jsonl"_qs, named(1, u"one"_qs));
    growing.print();

    EXPECT_EQ(take(), u"one"_qs);
}

TEST_F(LogPrinterTest, PrintsALineOnceWhoseLineFeedComesLater)
{
    folder.append(u"a.jsonl"_qs, log::encodeLogLine(named(1, u"one"_qs)));
    LogPrinter growing = printer();
    growing.print();
    EXPECT_EQ(take(), u"one"_qs);

    folder.append(u"a.jsonl"_qs, QByteArray("\n"));
    growing.print();
    EXPECT_EQ(take(), QString());
}

TEST_F(LogPrinterTest, PrintsAFileThatWasReplacedAndGoesOnAfterADeletion)
{
    folder.append(u"a.jsonl"_qs, named(1, u"one"_qs));
    LogPrinter growing = printer();
    growing.print();
    take();

    QFile::remove(folder.filePath(u"a.jsonl"_qs));
    growing.print();
    EXPECT_EQ(take(), QString());

    folder.append(u"a.jsonl"_qs, named(2, u"two"_qs));
    growing.print();
    EXPECT_EQ(take(), u"two"_qs);
}

TEST_F(LogPrinterTest, PrintsOnlyWhatTheFilterLetsThrough)
{
    folder.append(u"a.jsonl"_qs, named(1, u"one"_qs));
    folder.append(u"a.jsonl"_qs, named(2, u"two"_qs));
    LogPrinter filtered = printer({log::LevelFilter::all, log::CategoryFilter::all, u"TWO"_qs});

    filtered.print();

    EXPECT_EQ(take(), u"two"_qs);
}

TEST_F(LogPrinterTest, PrintsTheLifeOfAnImageOldestFirstThroughAllFiles)
{
    log::GatewayLogEvent imported = named(1, u"imported"_qs);
    imported.category = log::GatewayLogCategory::receive;
    imported.action = log::GatewayLogAction::importSucceeded;
    imported.fileHash = u"1111111111111111"_qs;
    imported.details = {{log::kStoredFileHashKey, u"2222222222222222"_qs}};
    log::GatewayLogEvent removed = named(3, u"removed"_qs);
    removed.fileHash = u"2222222222222222"_qs;
    folder.append(u"b.jsonl"_qs, removed);
    folder.append(u"a.jsonl"_qs, named(2, u"another"_qs));
    folder.append(u"a.jsonl"_qs, imported);

    for (const QString &hash : {u"1111111111111111"_qs, u"2222222222222222"_qs}) {
        log::LogFilter life;
        life.imageHashes = {hash};
        printer(life).print();
        EXPECT_EQ(take(), u"imported removed"_qs);
    }
}

TEST_F(LogPrinterTest, StopsWhenNoMoreIsWanted)
{
    for (int line = 0; line < 2000; ++line) {
        folder.append(u"a.jsonl"_qs, named(line, QString::number(line)));
    }
    isWanted = false;

    EXPECT_FALSE(printer().print());

    EXPECT_LT(take().count(u' '), 1000);
}

class LogsOfAnImage : public ::testing::Test
{
protected:
    ExitCode show(const QString &hash) const
    {
        LogsCommand command;
        command.imageHash = hash;
        return showLogs(folder.path(), command);
    }

    log::testing::LogFolder folder;
};

TEST_F(LogsOfAnImage, FailWithASentenceWhereTheLogKnowsItNot)
{
    folder.append(u"a.jsonl"_qs, eventAt(1));
    ::testing::internal::CaptureStderr();

    EXPECT_EQ(show(u"0123456789abcdef"_qs), ExitCode::failed);

    const std::string said = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find("knows no image and no association of the hash \"0123456789abcdef\""),
              std::string::npos)
        << said;
}

TEST_F(LogsOfAnImage, AreNotAskedForByWhatIsNoHash)
{
    ::testing::internal::CaptureStderr();

    EXPECT_EQ(show(QString()), ExitCode::usage);
    EXPECT_EQ(show(u"/store/10000/0.dcm"_qs), ExitCode::usage);

    EXPECT_NE(::testing::internal::GetCapturedStderr().find("--image takes the 16 digits"),
              std::string::npos);
}

TEST(LogText, TellsEverythingOfARowInOneLine)
{
    log::LogRow row;
    row.event = eventAt(1);
    row.event.level = log::GatewayLogLevel::error;
    row.event.category = log::GatewayLogCategory::send;
    row.event.action = log::GatewayLogAction::uploadAttemptFailed;
    row.event.outcome = log::GatewayLogOutcome::failed;
    row.event.correlationId = u"RUN"_qs;
    row.event.fileHash = u"00ff"_qs;
    row.event.fileSizeBytes = 7;
    row.event.attempt = 1;
    row.event.details = {{u"mode"_qs, u"single"_qs}};
    row.event.error = log::GatewayLogError{u"AFError"_qs, -9, u"redacted_message_hash=1e"_qs};
    const QString time = row.event.timestamp.toLocalTime().toString(u"yyyy-MM-dd HH:mm:ss"_qs);

    EXPECT_EQ(
        QString::fromUtf8(logText(row)),
        time + u" error   send        upload_attempt_failed failed attempt=1 fileSizeBytes=7 "
               "correlationId=RUN fileHash=00ff mode=single error=AFError -9 redacted_message_hash=1e\n"_qs);
}

TEST(LogText, SteersNoTerminal)
{
    log::LogRow row;
    row.event = eventAt(1);
    row.event.details = {{u"key"_qs, u"\x1b[2J\n\u202ereversed"_qs}};

    const QString text = QString::fromUtf8(logText(row));

    EXPECT_TRUE(text.endsWith(u"key=\ufffd[2J\ufffd\ufffdreversed\n"_qs)) << text.toStdString();
}

} // namespace
} // namespace gateway::terminal

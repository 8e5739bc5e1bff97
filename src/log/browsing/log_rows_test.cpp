#include "log/browsing/log_rows.h"

#include "log/browsing/log_row_reader.h"
#include "log/browsing/testing/log_folder.h"
#include "platform/files/file_error.h"
#include "platform/files/testing/faulty_file_system.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <random>

#include <sys/stat.h>
#include <unistd.h>

namespace gateway::log {

namespace {

using testing::eventAt;

const QString kFirst = QStringLiteral("gateway-transfer-20260102-080000-AAAAAAAA.jsonl");
const QString kSecond = QStringLiteral("gateway-transfer-20260102-090000-BBBBBBBB.jsonl");

GatewayLogEvent named(int second, const QString &correlationId)
{
    GatewayLogEvent event = eventAt(second);
    event.correlationId = correlationId;
    return event;
}

class LogRowsTest : public ::testing::Test
{
protected:
    /// Reads again and gives the correlation ids of all rows, in their order.
    QString read(std::optional<qsizetype> rowLimit = std::nullopt)
    {
        rows = readLogRows(folder.path(), rowLimit, rows, {});
        return texts(rows);
    }

    static QString texts(const std::shared_ptr<const LogRows> &of)
    {
        LogRowReader reader(of);
        QStringList found;
        for (qsizetype position = 0; position < of->count(); ++position) {
            const std::optional<LogRow> row = reader.row(position);
            found.append(row ? row->event.correlationId.value_or(QStringLiteral("?")) : QStringLiteral("!"));
        }
        return found.join(u' ');
    }

    testing::LogFolder folder;
    std::shared_ptr<const LogRows> rows = std::make_shared<const LogRows>();
};

} // namespace

TEST_F(LogRowsTest, GiveAnEmptyListWithoutALogDirectory)
{
    rows = readLogRows(folder.filePath(QStringLiteral("missing")), {}, rows, {});

    EXPECT_EQ(rows->count(), 0);
}

TEST_F(LogRowsTest, AreNotReadFromAFolderThatCannotBeListed)
{
    folder.append(QStringLiteral("file"), QByteArray("x"));

    EXPECT_THROW(readLogRows(folder.filePath(QStringLiteral("file")), {}, rows, {}), platform::FileError);
}

TEST_F(LogRowsTest, StandNewestFirst)
{
    folder.append(kFirst, named(1, u"a"_qs));
    folder.append(kFirst, named(2, u"b"_qs));
    folder.append(kSecond, named(3, u"c"_qs));
    folder.append(kSecond, named(4, u"d"_qs));
    folder.date(kFirst, 2);
    folder.date(kSecond, 4);

    EXPECT_EQ(read(), u"d c b a"_qs);
}

TEST_F(LogRowsTest, OfOneSecondStandByTheDateOfTheirFilesAndTheirPlaceInIt)
{
    for (const QString &name : {u"a1"_qs, u"a2"_qs}) {
        folder.append(kFirst, named(5, name));
    }
    for (const QString &name : {u"b1"_qs, u"b2"_qs}) {
        folder.append(kSecond, named(5, name));
    }
    folder.append(kSecond, named(4, u"older"_qs));
    folder.date(kSecond, 5);
    folder.date(kFirst, 6);

    EXPECT_EQ(read(), u"a2 a1 b2 b1 older"_qs);
}

TEST_F(LogRowsTest, AreReadFromFilesWithTheExtensionInCapitalsAndFromNoOther)
{
    folder.append(u"one.JSONL"_qs, named(1, u"capitals"_qs));
    folder.append(u"two.jsonl.txt"_qs, named(2, u"other"_qs));
    folder.append(u"three"_qs, named(3, u"none"_qs));
    folder.append(u".jsonl"_qs, named(4, u"hidden"_qs));

    EXPECT_EQ(read(), u"capitals"_qs);
}

TEST_F(LogRowsTest, OfTheSameEventInTwoFilesHaveDifferentIds)
{
    const GatewayLogEvent event = eventAt(1);
    folder.append(kFirst, event);
    folder.append(kSecond, event);
    read();
    LogRowReader reader(rows);

    const QString first = reader.row(0)->id;
    const QString second = reader.row(1)->id;

    EXPECT_EQ(first, event.eventId + u'-' + kSecond);
    EXPECT_EQ(second, event.eventId + u'-' + kFirst);
}

TEST_F(LogRowsTest, OfAnEventCopiedTwiceWithinOneFileHaveEqualIds)
{
    const GatewayLogEvent event = eventAt(1);
    folder.append(kFirst, event);
    folder.append(kFirst, event);
    read();
    LogRowReader reader(rows);

    EXPECT_EQ(reader.row(0)->id, reader.row(1)->id);
}

TEST_F(LogRowsTest, LeaveOutALineThatIsNoRecord)
{
    folder.append(kFirst, named(1, u"a"_qs));
    folder.append(kFirst, QByteArray("nonsense\n\n{}\n[1]\n"));
    folder.append(kFirst, named(2, u"b"_qs));

    EXPECT_EQ(read(), u"b a"_qs);
}

TEST_F(LogRowsTest, LeaveOutAnEventWithAnUnknownEnumerationValue)
{
    folder.append(kFirst, named(1, u"a"_qs));
    folder.append(kFirst, encodeLogLine(eventAt(2)).replace("\"info\"", "\"loud\"") + '\n');

    EXPECT_EQ(read(), u"a"_qs);
}

TEST_F(LogRowsTest, GetAHalfWrittenLastLineOnceItIsWhole)
{
    const QByteArray line = encodeLogLine(named(2, u"b"_qs)) + '\n';
    folder.append(kFirst, named(1, u"a"_qs));
    folder.append(kFirst, line.first(40));
    EXPECT_EQ(read(), u"a"_qs);

    folder.append(kFirst, line.sliced(40));

    EXPECT_EQ(read(), u"b a"_qs);
}

TEST_F(LogRowsTest, TakeALastLineThatLacksOnlyItsLineFeedOnce)
{
    folder.append(kFirst, encodeLogLine(named(1, u"a"_qs)));
    EXPECT_EQ(read(), u"a"_qs);

    folder.append(kFirst, QByteArray("\n"));
    folder.append(kFirst, named(2, u"b"_qs));

    EXPECT_EQ(read(), u"b a"_qs);
}

TEST_F(LogRowsTest, TakeLinesThatEndWithACarriageReturn)
{
    folder.append(kFirst,
                  encodeLogLine(named(1, u"a"_qs)) + "\r\n" + encodeLogLine(named(2, u"b"_qs)) + "\r\n");

    EXPECT_EQ(read(), u"b a"_qs);
    EXPECT_FALSE(LogRowReader(rows).rawLine(0)->contains('\r'));
}

TEST_F(LogRowsTest, LeaveOutAWholeFileWithALineOfInvalidUtf8UntilItIsMended)
{
    const QByteArray good = encodeLogLine(named(1, u"a"_qs)) + '\n';
    folder.append(kFirst, good);
    folder.append(kSecond, named(2, u"b"_qs));
    read();
    folder.append(kFirst, QByteArray("\xff\xfe\n"));
    EXPECT_EQ(read(), u"b"_qs);
    folder.append(kFirst, named(3, u"c"_qs));
    EXPECT_EQ(read(), u"b"_qs);

    folder.overwrite(kFirst, good);

    EXPECT_EQ(read(), u"b a"_qs);
}

TEST_F(LogRowsTest, LeaveOutAFileWhoseLastLineEndsWithinALetter)
{
    const QByteArray line = encodeLogLine(named(1, u"\u00e4"_qs)) + '\n';
    const qsizetype within = line.indexOf("\xc3\xa4") + 1;
    folder.append(kFirst, named(0, u"a"_qs));
    folder.append(kFirst, line.first(within));
    EXPECT_EQ(read(), QString());

    folder.append(kFirst, line.sliced(within));

    EXPECT_EQ(read(), u"\u00e4 a"_qs);
}

TEST_F(LogRowsTest, LeaveOutAnEmptyFileAndAFolderAndAPipe)
{
    folder.append(kFirst, QByteArray());
    ASSERT_TRUE(QDir().mkpath(folder.filePath(u"folder.jsonl"_qs)));
    ASSERT_EQ(::mkfifo(QFile::encodeName(folder.filePath(u"pipe.jsonl"_qs)).constData(), 0600), 0);

    EXPECT_EQ(read(), QString());
}

TEST_F(LogRowsTest, LeaveOutAFileThatMayNotBeReadUntilItMay)
{
    if (::geteuid() == 0) {
        // Root may read everything: a link that leads nowhere can't be read either.
        ASSERT_TRUE(QFile::link(folder.filePath(u"nowhere"_qs), folder.filePath(kFirst)));
    } else {
        folder.append(kFirst, named(1, u"a"_qs));
        ASSERT_TRUE(QFile::setPermissions(folder.filePath(kFirst), {}));
    }
    folder.append(kSecond, named(2, u"b"_qs));
    EXPECT_EQ(read(), u"b"_qs);

    folder.append(u"nowhere"_qs, named(1, u"a"_qs));
    QFile::setPermissions(folder.filePath(kFirst), QFile::ReadOwner | QFile::WriteOwner);

    EXPECT_EQ(read(), u"b a"_qs);
}

TEST_F(LogRowsTest, AreTheSameObjectWhenNothingHasChanged)
{
    folder.append(kFirst, named(1, u"a"_qs));
    read();
    const auto before = rows;

    read();

    EXPECT_EQ(rows, before);
}

TEST_F(LogRowsTest, OfAnUnchangedFileAreSharedWithTheFormerRead)
{
    folder.append(kFirst, named(1, u"a"_qs));
    folder.append(kSecond, named(2, u"b"_qs));
    folder.date(kFirst, 1);
    read();
    const auto before = rows->files().back();

    folder.append(kSecond, named(3, u"c"_qs));

    EXPECT_EQ(read(), u"c b a"_qs);
    EXPECT_EQ(rows->files().back(), before);
}

TEST_F(LogRowsTest, OfAGrownFileKeepTheirLineage)
{
    folder.append(kFirst, named(1, u"a"_qs));
    read();
    const auto before = rows->files().front()->lineage;

    folder.append(kFirst, named(2, u"b"_qs));

    EXPECT_EQ(read(), u"b a"_qs);
    EXPECT_EQ(rows->files().front()->lineage, before);
}

TEST_F(LogRowsTest, OfAFileThatShrankAreReadAnew)
{
    folder.append(kFirst, named(1, u"a"_qs));
    folder.append(kFirst, named(2, u"b"_qs));
    read();
    const auto before = rows->files().front()->lineage;

    folder.overwrite(kFirst, encodeLogLine(named(3, u"c"_qs)) + '\n');

    EXPECT_EQ(read(), u"c"_qs);
    EXPECT_NE(rows->files().front()->lineage, before);
}

TEST_F(LogRowsTest, OfAFileThatWasOverwrittenWithMoreAreReadAnew)
{
    folder.append(kFirst, named(1, u"a"_qs));
    read();

    folder.overwrite(kFirst,
                     encodeLogLine(named(3, u"c"_qs)) + '\n' + encodeLogLine(named(4, u"d"_qs)) + '\n');

    EXPECT_EQ(read(), u"d c"_qs);
}

TEST_F(LogRowsTest, OfAFileThatWasReplacedAreReadAnew)
{
    folder.append(kFirst, named(1, u"a"_qs));
    read();

    folder.append(u"new"_qs, named(2, u"b"_qs));
    folder.append(u"new"_qs, named(3, u"c"_qs));
    ASSERT_EQ(::rename(QFile::encodeName(folder.filePath(u"new"_qs)).constData(),
                       QFile::encodeName(folder.filePath(kFirst)).constData()),
              0);

    EXPECT_EQ(read(), u"c b"_qs);
}

TEST_F(LogRowsTest, OfADeletedFileAreGone)
{
    folder.append(kFirst, named(1, u"a"_qs));
    folder.append(kSecond, named(2, u"b"_qs));
    read();

    ASSERT_TRUE(QFile::remove(folder.filePath(kSecond)));

    EXPECT_EQ(read(), u"a"_qs);
}

TEST_F(LogRowsTest, CountNoMoreThanTheirLimitAndLeaveTheRestOfTheFilesAlone)
{
    for (const QString &name : {u"a"_qs, u"b"_qs, u"c"_qs}) {
        folder.append(kFirst, named(1, name));
        folder.append(kSecond, named(2, name + u'2'));
    }
    folder.date(kFirst, 1);

    EXPECT_EQ(read(2), u"c2 b2"_qs);
    EXPECT_EQ(rows->files().size(), 1U);
    EXPECT_EQ(read(4), u"c2 b2 a2 c"_qs);
    EXPECT_EQ(read(0), QString());
}

TEST_F(LogRowsTest, ComeFromFilesMuchLargerThanOnePieceOfReading)
{
    QByteArray bytes;
    for (int line = 0; line < 6000; ++line) {
        bytes += encodeLogLine(named(line, QString::number(line) + QString(400, u'x'))) + '\n';
    }
    // One line that is longer than a piece by itself.
    bytes += encodeLogLine(named(7000, QString(3'000'000, u'y'))) + '\n';
    folder.append(kFirst, bytes);

    read();

    LogRowReader reader(rows);
    ASSERT_EQ(rows->count(), 6001);
    EXPECT_EQ(reader.row(0)->event.correlationId->size(), 3'000'000);
    for (int line = 0; line < 6000; ++line) {
        ASSERT_EQ(reader.row(6000 - line)->event.correlationId, QString::number(line) + QString(400, u'x'));
    }
}

TEST_F(LogRowsTest, StayAsTheyWereWhenTheReadIsStopped)
{
    folder.append(kFirst, named(1, u"a"_qs));
    std::stop_source stop;
    stop.request_stop();

    EXPECT_EQ(readLogRows(folder.path(), {}, rows, stop.get_token()), rows);
}

TEST_F(LogRowsTest, OfARandomLogAreThoseOfReadingEverythingAnew)
{
    constexpr unsigned kSeed = 4711;
    std::mt19937 random(kSeed);
    for (int round = 0; round < 200; ++round) {
        const QString name = random() % 3 == 0 ? kSecond : kFirst;
        // Each line longer than those before: no overwritten file looks like its former self by chance.
        const QString text = QString::number(round) + QString(round, u'x');
        const QByteArray line = encodeLogLine(named(static_cast<int>(random() % 50), text)) + '\n';
        switch (random() % 8) {
        case 0:
            folder.overwrite(name, line);
            break;
        case 1:
            QFile::remove(folder.filePath(name));
            break;
        case 2:
            folder.append(name, line.chopped(1));
            break;
        default:
            folder.append(name, line);
        }
        const QString continued = read();
        const auto anew = readLogRows(folder.path(), {}, std::make_shared<const LogRows>(), {});
        ASSERT_EQ(continued, texts(anew)) << "seed " << kSeed << ", round " << round;
    }
}

TEST_F(LogRowsTest, StayFromTheFirstFileOnThatCannotBeRemoved)
{
    for (const QString &name : {u"a.jsonl"_qs, u"b.jsonl"_qs, u"c.jsonl"_qs}) {
        folder.append(name, eventAt(1));
    }
    platform::testing::FaultyFileSystem files;
    files.failStep(1, EACCES);

    EXPECT_THROW(removeLogFiles(folder.path(), files), platform::FileError);

    EXPECT_EQ(folder.names(), (QStringList{u"b.jsonl"_qs, u"c.jsonl"_qs}));
}

TEST_F(LogRowsTest, CountAFileAsRemovedThatIsGoneAlready)
{
    folder.append(u"a.jsonl"_qs, eventAt(1));
    folder.append(u"b.jsonl"_qs, eventAt(1));
    platform::testing::FaultyFileSystem files;
    files.failStep(0, ENOENT);

    removeLogFiles(folder.path(), files);

    EXPECT_EQ(folder.names(), QStringList{u"a.jsonl"_qs});
}

TEST_F(LogRowsTest, AreRemovedWithTheirFilesAndNothingElse)
{
    folder.append(kFirst, eventAt(1));
    folder.append(u"two.JSONL"_qs, eventAt(1));
    folder.append(u"notes.txt"_qs, QByteArray("x"));
    ASSERT_TRUE(QDir().mkpath(folder.filePath(u"folder.jsonl"_qs)));

    removeLogFiles(folder.path());

    EXPECT_EQ(folder.names(), (QStringList{u"folder.jsonl"_qs, u"notes.txt"_qs}));
    removeLogFiles(folder.filePath(QStringLiteral("missing")));
}

} // namespace gateway::log

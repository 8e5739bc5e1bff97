#include "index/stored_copies.h"

#include "index/testing/temporary_index.h"
#include "platform/dicom/testing/identities.h"
#include "platform/files/files.h"
#include "platform/files/testing/faulty_file_system.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>

#include <gtest/gtest.h>

namespace gateway::index {

namespace {

using std::chrono::seconds;
using testing::TemporaryIndex;
using Kind = UnrecordedFile::Kind;

constexpr seconds kMorning{1'700'000'000};

const QVariantMap kWhole{{QStringLiteral("ImageComments"), QStringLiteral("whole")}};
const QVariantMap kStump{{QStringLiteral("damaged"), true}};

const QVariantMap kUnderAnotherHeader{{QStringLiteral("ImageComments"), QStringLiteral("received")},
                                      {QStringLiteral("header"), QStringLiteral("of a disc")}};

QVariantMap saying(const QString &comment)
{
    return {{QStringLiteral("ImageComments"), comment}};
}

/// An image that comes more than once.
class StoredCopies : public ::testing::Test
{
protected:
    explicit StoredCopies(platform::FileSystem &files = platform::systemFiles()) : home(files) {}

    /// A received file of the one image, as the listener leaves it in its inbox. \return its path.
    QString receive(std::chrono::nanoseconds acknowledged, const QVariantMap &changes = {})
    {
        const QString path = home.path(QStringLiteral("inbox-%1.dcm").arg(++m_received));
        testing::writeSyntheticFile(path, TemporaryIndex::image(QStringLiteral("9.1"), changes));
        platform::systemFiles().setModified(path, acknowledged);
        return path;
    }

    void import(const QString &path, ImportSource source = ImportSource::ownInbox)
    {
        home.clock.advance(std::chrono::milliseconds(1));
        home.index().importFile(QUrl::fromLocalFile(path), source);
    }

    /// Receives and imports. \return the name in the store that came of it; empty when none did.
    QString take(std::chrono::nanoseconds acknowledged, const QVariantMap &changes = {})
    {
        const QStringList before = stored();
        import(receive(acknowledged, changes));
        QStringList added = stored();
        for (const QString &path : before) {
            added.removeAll(path);
        }
        return added.value(0);
    }

    /// Imports a file that a person has. \return its name in the store.
    QString bringIn(const QVariantMap &changes)
    {
        import(receive(kMorning, changes), ImportSource::foreign);
        return current().value(0);
    }

    std::int64_t versionOf(const QString &path)
    {
        return home.parser.versionOf(home.fileStoreRoot() + u'/' + path);
    }

    /// Uploads the current file, with the note of what goes out.
    void sendVersion(const QString &path)
    {
        home.index().noteSending({{platform::testing::instanceUid("9.1"), versionOf(path)}});
        send(path);
    }

    QStringList current()
    {
        return home.rows(QStringLiteral("SELECT DISTINCT pathString FROM DicomImage ORDER BY 1"));
    }

    QStringList superseded()
    {
        return home.rows(QStringLiteral("SELECT pathString, successor FROM SupersededFile ORDER BY 1"));
    }

    /// The stored files, by their paths below the root.
    QStringList stored()
    {
        const QDir root(home.fileStoreRoot());
        QStringList paths;
        QDirIterator file(root.path(), QDir::Files, QDirIterator::Subdirectories);
        while (file.hasNext()) {
            paths.append(root.relativeFilePath(file.next()));
        }
        paths.sort();
        return paths;
    }

    LocalPruneResult prune()
    {
        home.clock.advance(std::chrono::hours(24));
        return home.index().pruneSyncedImages(home.clock.now());
    }

    void send(const QString &path) { home.index().recordUploadResult({}, path, true); }

    Kind kindOf(const QString &path) { return home.index().examination().lookAt(path).kind; }

    TemporaryIndex home;

private:
    int m_received = 0;
};

/// The store lies on a volume that keeps whole seconds, the inbox on another.
class StoredCopiesOnACoarseVolume : public StoredCopies
{
protected:
    StoredCopiesOnACoarseVolume() : StoredCopies(m_volume) { m_volume.becomeCoarseVolume(seconds(1)); }

private:
    static platform::testing::FaultyFileSystem m_volume;
};

platform::testing::FaultyFileSystem StoredCopiesOnACoarseVolume::m_volume;

} // namespace

TEST_F(StoredCopiesOnACoarseVolume, TheLastAcknowledgedIsCurrentThoughItCameInFirst)
{
    const QString later = take(kMorning + std::chrono::milliseconds(2), saying(QStringLiteral("later")));
    const QString earlier = take(kMorning + std::chrono::milliseconds(1), saying(QStringLiteral("earlier")));

    EXPECT_EQ(current(), QStringList{later});
    send(later);
    EXPECT_EQ(stored(), QStringList{later}) << "and the other is let go of: " << earlier.toStdString();
}

TEST_F(StoredCopiesOnACoarseVolume, WhatAPersonBringsInIsTheLatest)
{
    constexpr seconds kAhead{4'000'000'000}; // the clock was wrong once
    const QString received = take(kAhead + std::chrono::milliseconds(5), saying(QStringLiteral("received")));

    const QString broughtIn = bringIn(saying(QStringLiteral("brought in")));

    EXPECT_NE(broughtIn, received);
    EXPECT_EQ(home.rows(QStringLiteral("SELECT comment FROM DicomImage")),
              QStringList{QStringLiteral("brought in")});
}

TEST_F(StoredCopies, ACurrentOneThatTheDiskDoesNotShowKeepsItsPlace)
{
    const QString later = take(kMorning + seconds(2), saying(QStringLiteral("corrected")));
    const QString path = home.index().fileURL(later).toLocalFile();
    const QString aside = home.path(QStringLiteral("aside"));
    QFile::rename(path, aside);
    QFile::link(path,
                path); // asking for it fails (ELOOP) as on a disk that fails: it says nothing of the file

    const QString earlier = take(kMorning + seconds(1), saying(QStringLiteral("first")));
    QFile::remove(path);
    QFile::rename(aside, path);

    EXPECT_EQ(current(), QStringList{later});
    EXPECT_EQ(superseded(), QStringList{earlier + u'|' + later});
}

TEST_F(StoredCopies, TheLastAcknowledgedIsCurrentThoughItCameInFirst)
{
    const QString later = take(kMorning + seconds(2), saying(QStringLiteral("corrected")));
    const QString earlier = take(kMorning + seconds(1), saying(QStringLiteral("first")));

    EXPECT_EQ(current(), QStringList{later});
    EXPECT_EQ(home.rows(QStringLiteral("SELECT comment FROM DicomImage")),
              QStringList{QStringLiteral("corrected")});
    EXPECT_EQ(superseded(), QStringList{earlier + u'|' + later});
    EXPECT_EQ(kindOf(earlier), Kind::none);
}

TEST_F(StoredCopies, ANanosecondDecides)
{
    const QString path = receive(kMorning, saying(QStringLiteral("first")));
    const QString next = receive(kMorning, saying(QStringLiteral("second")));
    platform::systemFiles().setModified(next, kMorning + std::chrono::nanoseconds(1));
    import(next);
    import(path);

    EXPECT_EQ(home.rows(QStringLiteral("SELECT comment FROM DicomImage")),
              QStringList{QStringLiteral("second")});
}

TEST_F(StoredCopies, TheOrderSurvivesARestartBetweenThem)
{
    const QString waiting = receive(kMorning + seconds(1), saying(QStringLiteral("first")));
    const QString later = take(kMorning + seconds(2), saying(QStringLiteral("corrected")));
    send(later);

    home.reopen();
    import(waiting);

    EXPECT_EQ(current(), QStringList{later});
    EXPECT_EQ(home.index().counts().syncedImages, 1);
    EXPECT_EQ(stored(), QStringList{later}); // the later one is in the cloud, so the other has served
}

TEST_F(StoredCopies, WhatAPersonBringsInIsTheLatestAlsoWhenTheClockWasSetBack)
{
    constexpr seconds kLongAhead{8'000'000'000};
    take(kLongAhead, saying(QStringLiteral("received")));

    import(receive(kMorning, saying(QStringLiteral("brought in"))), ImportSource::foreign);

    EXPECT_EQ(home.rows(QStringLiteral("SELECT comment FROM DicomImage")),
              QStringList{QStringLiteral("brought in")});
}

TEST_F(StoredCopies, AnEarlierOneGoesWhenItsSuccessorIsInTheCloud)
{
    const QString first = take(kMorning, saying(QStringLiteral("first")));
    const QString second = take(kMorning + seconds(1), saying(QStringLiteral("second")));
    const QString third = take(kMorning + seconds(2), saying(QStringLiteral("third")));
    EXPECT_EQ(superseded(), (QStringList{first + u'|' + third, second + u'|' + third}));

    home.index().recordUploadResult({}, second, true); // the upload that was under way meanwhile
    home.index().recordUploadResult({}, third, false);
    EXPECT_EQ(stored().size(), 3);

    send(third);
    EXPECT_EQ(stored(), QStringList{third});
    EXPECT_EQ(superseded(), QStringList());
    EXPECT_EQ(home.number(QStringLiteral("SELECT count(*) FROM PendingRemoval")), 0);
}

TEST_F(StoredCopies, OneThatAModalityWasToldOfIsKeptWhereAPersonsTookItsPlaceUnsent)
{
    const QString received = take(kMorning, saying(QStringLiteral("received")));
    const QString brought = bringIn(saying(QStringLiteral("from an old disc")));
    send(brought);

    EXPECT_EQ(current(), QStringList{brought});
    EXPECT_EQ(superseded(), QStringList{received + u'|' + brought});
    EXPECT_EQ(home.index().examination().owedFiles(), 1);
    EXPECT_EQ(prune().deletedImageCount, 0) << "its rows keep the other from going";
    EXPECT_EQ(stored(), (QStringList{received, brought}));

    const QString again =
        take(kMorning + std::chrono::hours(24 * 365 * 10), saying(QStringLiteral("received")));
    send(again);

    EXPECT_EQ(stored(), QStringList{again});
    EXPECT_EQ(home.index().examination().owedFiles(), 0);
}

TEST_F(StoredCopies, OneGoesWhoseVeryDatasetWentToTheCloudUnderAnotherHeader)
{
    take(kMorning, saying(QStringLiteral("received")));
    const QString brought = bringIn(kUnderAnotherHeader);

    sendVersion(brought);

    EXPECT_EQ(stored(), QStringList{brought});
    EXPECT_EQ(superseded(), QStringList());
    EXPECT_EQ(home.index().examination().owedFiles(), 0);
}

TEST_F(StoredCopies, OneGoesWhoseBytesAPersonBroughtInAgainAfterAnotherVersion)
{
    take(kMorning, saying(QStringLiteral("received")));
    bringIn(saying(QStringLiteral("from an old disc")));
    const QString again = bringIn(saying(QStringLiteral("received")));

    sendVersion(again);

    EXPECT_EQ(stored(), QStringList{again});
}

TEST_F(StoredCopies, OneIsKeptWhereNobodyKnowsWhichVersionTheCloudHolds)
{
    const QString received = take(kMorning, saying(QStringLiteral("received")));
    const QString brought = bringIn(kUnderAnotherHeader);
    home.index().noteSending({{platform::testing::instanceUid("9.1"), 7}});

    sendVersion(brought);

    EXPECT_EQ(stored(), (QStringList{received, brought}));
    EXPECT_EQ(home.index().examination().owedFiles(), 1);
}

TEST_F(StoredCopies, OneThatCouldNotBeReadWhenItsVersionWentIsLookedAtAgain)
{
    const QString received = take(kMorning, saying(QStringLiteral("received")));
    const QString brought = bringIn(kUnderAnotherHeader);
    home.index().noteSending({{platform::testing::instanceUid("9.1"), versionOf(brought)}});
    home.parser.breakDown();
    send(brought);
    EXPECT_EQ(home.index().examination().owedFiles(), 1);
    home.parser.breakDown(platform::ParsedFile::Fate::parsed);

    EXPECT_EQ(home.index().examination().owedFiles(), 0);
    EXPECT_EQ(stored(), (QStringList{received, brought}));
    home.index().releaseSentCopies();

    EXPECT_EQ(stored(), QStringList{brought});
}

TEST_F(StoredCopies, OneThatIsInTheCloudGoesWithAPersonsThatIsThereToo)
{
    send(take(kMorning, saying(QStringLiteral("received"))));
    const QString brought = bringIn(saying(QStringLiteral("corrected")));
    send(brought);

    EXPECT_EQ(stored(), QStringList{brought});
}

TEST_F(StoredCopies, WhatAPersonBringsInIsNotNeededWhereTheSameBytesWaitForTheCloud)
{
    const QString received = take(kMorning);
    bringIn({});

    EXPECT_EQ(current(), QStringList{received});
    EXPECT_EQ(stored(), QStringList{received});
}

TEST_F(StoredCopies, NobodyKnowsWhoWasToldOfAFileThatIsRecordedAgain)
{
    const QString received = take(kMorning, saying(QStringLiteral("received")));
    const QString brought = bringIn(saying(QStringLiteral("from an old disc")));
    home.close();
    QDir(home.path(QStringLiteral("index"))).removeRecursively();
    home.reopen();
    home.index().storeRecording().recordStoredFiles({}, [](std::int64_t) {});
    send(brought);

    EXPECT_EQ(current(), QStringList{brought});
    EXPECT_EQ(stored(), (QStringList{received, brought}));
}

TEST_F(StoredCopies, WhatAPersonBringsInIsLaterThanWhatWasRecordedAgain)
{
    constexpr seconds kAhead{4'000'000'000}; // the clock was wrong once
    take(kAhead, saying(QStringLiteral("received")));
    home.close();
    QDir(home.path(QStringLiteral("index"))).removeRecursively();
    home.reopen();
    home.index().storeRecording().recordStoredFiles({}, [](std::int64_t) {});
    EXPECT_EQ(home.index().newestAcknowledged(), std::chrono::nanoseconds(kAhead).count());

    bringIn(saying(QStringLiteral("brought in")));

    EXPECT_EQ(home.rows(QStringLiteral("SELECT comment FROM DicomImage")),
              QStringList{QStringLiteral("brought in")});
    EXPECT_GT(home.index().newestAcknowledged(), std::chrono::nanoseconds(kAhead).count());
}

TEST_F(StoredCopies, OneWithTheSameBytesGoesAtOnce)
{
    take(kMorning, kWhole);
    const QString again = take(kMorning + seconds(1), kWhole);

    EXPECT_EQ(stored(), QStringList{again});
    EXPECT_EQ(current(), QStringList{again});
}

TEST_F(StoredCopies, FramesThatOnlyTheEarlierVersionHadGoWithIt)
{
    take(kMorning, {{QStringLiteral("numberOfFrames"), 5}});
    const QString second = take(kMorning + seconds(1), {{QStringLiteral("numberOfFrames"), 2}});

    EXPECT_EQ(current(), QStringList{second});
    EXPECT_EQ(home.index().counts().total, (EntityCounts{1, 1, 2}));
    EXPECT_EQ(home.index().examination().tallyDifferences({}), TallyDifferences());
}

TEST_F(StoredCopies, RetentionWaitsForADamagedOneThatCameLaterAndWasNeverSent)
{
    const QString whole = take(kMorning, kWhole);
    const QString stump = take(kMorning + seconds(1), kStump);
    send(whole);
    EXPECT_EQ(prune().eligibleImageCount, 0);
    EXPECT_EQ(stored(), (QStringList{whole, stump}));

    const QString corrected = take(kMorning + seconds(2), saying(QStringLiteral("corrected")));
    send(corrected);
    EXPECT_EQ(stored(), QStringList{corrected});
    EXPECT_EQ(prune().deletedImageCount, 1);

    EXPECT_EQ(stored(), QStringList());
    EXPECT_EQ(superseded(), QStringList());
}

TEST_F(StoredCopies, ADamagedOneInTheCloudProvesNoneBeforeIt)
{
    const QString longer = take(kMorning, kStump);
    QVariantMap cutEarlier = kStump;
    cutEarlier.insert(QStringLiteral("ImageComments"), QStringLiteral("less of it"));
    const QString shorter = take(kMorning + seconds(1), cutEarlier);

    send(shorter);
    prune();

    EXPECT_EQ(stored(), (QStringList{longer, shorter}));
    EXPECT_EQ(superseded(), QStringList{longer + u'|' + shorter});
}

TEST_F(StoredCopies, APersonsDeletionTakesAllOfThem)
{
    take(kMorning, saying(QStringLiteral("first")));
    take(kMorning + seconds(1), saying(QStringLiteral("second")));

    home.index().deleteStudies({QStringLiteral("1.2")});

    EXPECT_EQ(stored(), QStringList());
    EXPECT_EQ(superseded(), QStringList());
}

TEST_F(StoredCopies, AnInboxFileThatWasImportedAndCouldNotLeaveKeepsItsOneName)
{
    const QString inbox = receive(kMorning);
    import(inbox);
    const QStringList before = stored();
    send(before.value(0));

    home.reopen();
    import(inbox);

    EXPECT_EQ(stored(), before);
    EXPECT_EQ(home.index().counts().syncedImages, 1);
}

TEST_F(StoredCopies, AnImportThatDiedBeforeItsRowsIsTakenUpUnderItsName)
{
    const QString inbox = receive(kMorning);
    import(inbox);
    const QStringList before = stored();
    home.execute(QStringLiteral("DELETE FROM DicomImage"));

    home.reopen();
    import(inbox);

    EXPECT_EQ(stored(), before);
    EXPECT_EQ(current(), before);
}

TEST_F(StoredCopies, AnInboxFileWhoseNameIsToGoGetsAnother)
{
    const QString inbox = receive(kMorning);
    import(inbox);
    const QString first = stored().value(0);
    home.execute(
        QStringLiteral("DELETE FROM DicomImage; INSERT INTO PendingRemoval VALUES ('%1')").arg(first));

    import(inbox);
    home.index().finishRemovals();

    EXPECT_EQ(current(), stored());
    EXPECT_NE(stored(), QStringList{first});
}

TEST_F(StoredCopies, SavesThatFailLeaveNoNamesBehind)
{
    home.execute(
        QStringLiteral("CREATE TRIGGER fails BEFORE INSERT ON Study BEGIN SELECT RAISE(ABORT, 'no'); END"));
    const QString inbox = receive(kMorning);
    for (int time = 0; time < 3; ++time) {
        EXPECT_THROW(import(inbox), GatewayImportError);
        EXPECT_LE(stored().size(), 1);
    }
    EXPECT_THROW(import(receive(kMorning + seconds(1)), ImportSource::foreign), GatewayImportError);
    home.execute(QStringLiteral("DROP TRIGGER fails"));

    import(inbox);

    EXPECT_EQ(stored().size(), 1);
    EXPECT_EQ(stored(), current());
}

TEST_F(StoredCopies, ADamagedOneNeverTakesThePlaceOfAWholeOne)
{
    const QString whole = take(kMorning, kWhole);
    const QString stump = take(kMorning + seconds(1), kStump);

    EXPECT_EQ(current(), QStringList{whole});
    send(whole);
    EXPECT_EQ(stored(), (QStringList{whole, stump})); // it was acknowledged, and nothing like it was sent
    EXPECT_EQ(kindOf(stump), Kind::none);
}

TEST_F(StoredCopies, AWholeOneTakesThePlaceOfADamagedOneWhicheverCameLater)
{
    const QString stump = take(kMorning + seconds(1), kStump);
    EXPECT_EQ(current(), QStringList{stump});
    EXPECT_EQ(home.index().examination().damagedFiles(), 1);

    const QString whole = take(kMorning, kWhole);

    EXPECT_EQ(current(), QStringList{whole});
    EXPECT_EQ(home.index().examination().damagedFiles(), 1)
        << "it came later, and stays beside the whole one";
}

TEST_F(StoredCopies, AnEarlierOneWhoseSuccessorsFileIsGoneCanTakeItsPlace)
{
    const QString first = take(kMorning, saying(QStringLiteral("first")));
    const QString second = take(kMorning + seconds(1), saying(QStringLiteral("second")));
    QFile::remove(home.index().fileURL(second).toLocalFile());

    auto examination = home.index().examination();
    const UnrecordedFile found = examination.lookAt(first);
    ASSERT_EQ(found.kind, Kind::image);
    EXPECT_TRUE(examination.record(found));

    EXPECT_EQ(current(), QStringList{first});
    EXPECT_EQ(kindOf(first), Kind::none);
}

TEST_F(StoredCopies, OfSeveralWhoseSuccessorsFileIsGoneTheLastTakesItsPlace)
{
    const QString first = take(kMorning, saying(QStringLiteral("first")));
    const QString second = take(kMorning + seconds(1), saying(QStringLiteral("second")));
    const QString third = take(kMorning + seconds(2), saying(QStringLiteral("third")));
    QFile::remove(home.index().fileURL(third).toLocalFile());

    auto examination = home.index().examination();
    for (const QString &path : {first, second}) {
        const UnrecordedFile found = examination.lookAt(path);
        ASSERT_EQ(found.kind, Kind::image);
        EXPECT_TRUE(examination.record(found));
    }

    EXPECT_EQ(current(), QStringList{second});
    EXPECT_EQ(superseded(), QStringList{first + u'|' + second});
}

TEST_F(StoredCopies, OneThatWasOutOfSightWhenAnEarlierOneTookItsPlaceGetsItBack)
{
    const QString first = take(kMorning, saying(QStringLiteral("first")));
    const QString second = take(kMorning + seconds(1), saying(QStringLiteral("second")));
    const QString file = home.index().fileURL(second).toLocalFile();
    QFile::rename(file, home.path(QStringLiteral("away")));
    auto examination = home.index().examination();
    examination.record(examination.lookAt(first));
    ASSERT_EQ(current(), QStringList{first});
    send(first);

    QFile::rename(home.path(QStringLiteral("away")), file);
    const UnrecordedFile found = examination.lookAt(second);
    ASSERT_EQ(found.kind, Kind::image);
    EXPECT_TRUE(examination.record(found));

    EXPECT_EQ(current(), QStringList{second});
    EXPECT_EQ(home.index().counts().notSynced.images, 1);
}

TEST_F(StoredCopies, AWholeOneIsFoundBesideADamagedOneOfBeforeSuchWereTold)
{
    const QString whole = take(kMorning, kWhole);
    const QString stump = take(kMorning + seconds(1), kStump);
    home.execute(QStringLiteral("DELETE FROM SupersededFile; UPDATE DicomImage SET damaged = 0, "
                                "acknowledged = 0, pathString = '%1'")
                     .arg(stump));
    auto examination = home.index().examination();

    const UnrecordedFile found = examination.lookAt(whole);
    ASSERT_EQ(found.kind, Kind::wholeCopy);
    EXPECT_TRUE(examination.record(found));

    EXPECT_EQ(current(), QStringList{whole});
    EXPECT_EQ(kindOf(whole), Kind::none);
    EXPECT_EQ(kindOf(stump), Kind::none);
}

TEST_F(StoredCopies, AnOlderOneOfBeforeCopiesWereNotedIsNotedAndGoes)
{
    const QString first = take(kMorning, saying(QStringLiteral("first")));
    const QString second = take(kMorning + seconds(1), saying(QStringLiteral("second")));
    home.execute(QStringLiteral("DELETE FROM SupersededFile; UPDATE DicomImage SET acknowledged = 0"));
    send(second);
    auto examination = home.index().examination();

    const UnrecordedFile found = examination.lookAt(first);
    ASSERT_EQ(found.kind, Kind::earlierCopy);
    EXPECT_TRUE(examination.record(found));
    home.index().finishRemovals();

    EXPECT_EQ(stored(), QStringList{second});
    EXPECT_EQ(home.index().counts().syncedImages, 1);
}

} // namespace gateway::index

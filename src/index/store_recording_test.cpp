#include "index/dicom_db.h"

#include "index/testing/temporary_index.h"
#include "platform/dicom/testing/identities.h"
#include "platform/files/files.h"
#include "platform/files/folder_id.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <gtest/gtest.h>

namespace gateway::index {

using platform::testing::instanceUid;

namespace {

using testing::TemporaryIndex;

class LostIndex : public ::testing::Test
{
protected:
    QString import(const QString &uid, const QVariantMap &changes = {})
    {
        return home.import(TemporaryIndex::image(uid, changes));
    }

    void loseIndex()
    {
        home.close();
        QDir(home.path(QStringLiteral("index"))).removeRecursively();
        home.reopen();
    }

    bool record(const std::stop_token &stop = {})
    {
        return home.index().storeRecording().recordStoredFiles(stop,
                                                               [&](std::int64_t files) { told += files; });
    }

    QStringList waiting()
    {
        return home.rows(
            QStringLiteral("SELECT pathString FROM DicomImage WHERE syncState = 0 ORDER BY createDate, pk"));
    }

    TemporaryIndex home;
    std::int64_t told = 0;
};

} // namespace

TEST_F(LostIndex, IsNoneWhereThereIsNoFile)
{
    EXPECT_FALSE(home.index().storeRecording().lacksStoredFiles());
    EXPECT_TRUE(record());
    EXPECT_EQ(told, 0);
}

TEST_F(LostIndex, LacksNothingThatWasSentWhereTheFirstImageCameAfterIt)
{
    import(QStringLiteral("9.1")); // and the process died before anybody looked at the store
    home.reopen();

    EXPECT_FALSE(home.index().storeRecording().lacksStoredFiles());
    EXPECT_EQ(home.index().sentBefore({instanceUid("9.2"), 7}), SentBefore::nothing);
}

TEST_F(LostIndex, DoesNotKnowAllThatWasSentThoughNoFileIsLeft)
{
    const QString path = import(QStringLiteral("9.1"));
    home.index().noteSending({{instanceUid("9.1"), 7}});
    home.index().recordUploadResult({}, path, true);
    home.clock.advance(std::chrono::hours(1));
    home.index().pruneSyncedImages(home.clock.now());
    loseIndex();

    EXPECT_TRUE(record());
    home.reopen();

    EXPECT_EQ(home.index().counts().total.images, 0);
    EXPECT_EQ(home.index().sentBefore({instanceUid("9.1"), 8}), SentBefore::unrecorded);
    home.index().noteSending({{instanceUid("9.1"), 8}});
    EXPECT_EQ(home.index().sentBefore({instanceUid("9.1"), 8}), SentBefore::thisVersionOnItsWay);
}

TEST_F(LostIndex, KnowsThatItLacksSomeBeforeItsFilesAreRecordedAndAfter)
{
    import(QStringLiteral("9.1"));
    loseIndex();
    EXPECT_EQ(home.index().sentBefore({instanceUid("9.2"), 7}), SentBefore::unrecorded);

    EXPECT_TRUE(record());

    EXPECT_EQ(home.index().sentBefore({instanceUid("9.2"), 7}), SentBefore::unrecorded);
}

TEST_F(LostIndex, DoubtsWhatItHasRecordedAgain)
{
    import(QStringLiteral("9.1"));
    loseIndex();

    EXPECT_TRUE(record());

    EXPECT_EQ(home.index().sentBefore({instanceUid("9.1"), 7}), SentBefore::unknown);
}

TEST_F(LostIndex, IsNoticedAndRecordedAgainInTheOrderOfItsFiles)
{
    QStringList paths;
    for (int number = 1; number <= 120; ++number) {
        paths.append(import(QStringLiteral("9.%1").arg(number)));
    }
    home.index().recordUploadResult({}, paths.first(), true);
    loseIndex();
    EXPECT_TRUE(home.index().storeRecording().lacksStoredFiles());
    EXPECT_EQ(home.index().counts().total.images, 0);

    EXPECT_TRUE(record());

    EXPECT_EQ(told, 120);
    EXPECT_EQ(waiting(), paths);
    EXPECT_FALSE(home.index().storeRecording().lacksStoredFiles());
    EXPECT_EQ(home.index().examination().tallyDifferences({}), TallyDifferences());
}

TEST_F(LostIndex, TellsHowFarItsRecordingIsUntilAllIsRecorded)
{
    for (int number = 1; number <= 120; ++number) {
        import(QStringLiteral("9.%1").arg(number));
    }
    loseIndex();
    EXPECT_FALSE(home.index().storeRecording().recordingProgress());
    import(QStringLiteral("9.200")); // one that comes meanwhile doesn't count
    std::stop_source stop;
    std::vector<std::pair<std::int64_t, std::int64_t>> steps;
    const auto step = [&](std::int64_t) {
        const RecordingProgress now =
            home.index().storeRecording().recordingProgress().value_or(RecordingProgress());
        steps.emplace_back(now.recorded, now.files);
        if (steps.size() == 2) {
            stop.request_stop(); // a restart goes on from there
        }
    };

    EXPECT_FALSE(home.index().storeRecording().recordStoredFiles(stop.get_token(), step));
    EXPECT_TRUE(home.index().storeRecording().recordingProgress());
    EXPECT_TRUE(home.index().storeRecording().recordStoredFiles({}, step));

    EXPECT_EQ(steps, (std::vector<std::pair<std::int64_t, std::int64_t>>{{50, 120}, {100, 120}, {120, 120}}));
    EXPECT_FALSE(home.index().storeRecording().recordingProgress());
}

TEST_F(LostIndex, HasTheLastAcknowledgedOfSeveralCopies)
{
    const QString first = import(QStringLiteral("9.1"), {{QStringLiteral("ImageComments"), 1}});
    const QString second = import(QStringLiteral("9.1"), {{QStringLiteral("ImageComments"), 2}});
    platform::systemFiles().setModified(home.index().fileURL(first).toLocalFile(),
                                        std::chrono::hours(500'000));
    loseIndex();

    EXPECT_TRUE(record());

    EXPECT_EQ(waiting(), QStringList{first});
    EXPECT_EQ(home.rows(QStringLiteral("SELECT pathString FROM SupersededFile")), QStringList{second});
}

TEST_F(LostIndex, GoesOnWhereItWasStoppedAlsoAfterARestart)
{
    for (int number = 1; number <= 70; ++number) {
        import(QStringLiteral("9.%1").arg(number));
    }
    loseIndex();
    std::stop_source stop;
    EXPECT_FALSE(home.index().storeRecording().recordStoredFiles(stop.get_token(),
                                                                 [&](std::int64_t) { stop.request_stop(); }));
    EXPECT_EQ(home.index().counts().total.images, 50);

    home.reopen();
    EXPECT_TRUE(home.index().storeRecording().lacksStoredFiles());
    EXPECT_TRUE(record());

    EXPECT_EQ(home.index().counts().total.images, 70);
    EXPECT_EQ(told, 20);
}

/// The index and the defaults as they were before the last images came; the store is as it is.
class RestoredIndex : public LostIndex
{
protected:
    void comeBackFromBackup(const std::function<void()> &meanwhile)
    {
        home.close();
        const QByteArray index = contentOf(home.indexFile());
        home.reopen();
        meanwhile();
        home.close();
        for (const QString &more : {QStringLiteral("-wal"), QStringLiteral("-shm")}) {
            QFile::remove(home.indexFile() + more);
        }
        QFile file(home.indexFile());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(index) == index.size());
        file.close();
        home.defaults.removeObject(QStringLiteral("QuorinSendCount"));
        home.defaults.removeObject(QStringLiteral("QuorinGateway.DataFileIndex"));
    }

    static QByteArray contentOf(const QString &path)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
};

TEST_F(RestoredIndex, DoubtsTheFewImagesThatCameSinceItsBackup)
{
    import(QStringLiteral("9.1"));
    comeBackFromBackup([this] { import(QStringLiteral("9.2")); });
    home.reopen();

    EXPECT_TRUE(record());

    EXPECT_EQ(home.index().counts().total.images, 2);
    EXPECT_EQ(home.index().sentBefore({instanceUid("9.2"), 7}), SentBefore::unknown);
    EXPECT_EQ(home.index().sentBefore({instanceUid("9.3"), 7}), SentBefore::unrecorded);
}

TEST_F(RestoredIndex, IsComparedWithAStoreThatComesIntoSightInLife)
{
    import(QStringLiteral("9.1"));
    comeBackFromBackup([this] { import(QStringLiteral("9.2")); });
    const QString away = home.path(QStringLiteral("away"));
    ASSERT_TRUE(QDir().rename(home.fileStoreRoot(), away) && QDir().mkdir(home.fileStoreRoot()));
    home.reopen();
    EXPECT_TRUE(home.index().takeUpStore());
    EXPECT_FALSE(home.index().storeRecording().lacksStoredFiles());

    ASSERT_TRUE(QDir().rmdir(home.fileStoreRoot()) && QDir().rename(away, home.fileStoreRoot()));
    EXPECT_FALSE(home.index().takeUpStore());

    EXPECT_TRUE(home.index().storeRecording().lacksStoredFiles());
    EXPECT_TRUE(record());
    EXPECT_EQ(home.index().counts().total.images, 2);
    EXPECT_EQ(home.index().sentBefore({instanceUid("9.2"), 7}), SentBefore::unknown);
}

TEST_F(LostIndex, RecordsNothingOfAnotherStoreThatStandsThere)
{
    import(QStringLiteral("9.1"));
    home.close();
    const QString away = home.path(QStringLiteral("away"));
    const QString others = home.path(QStringLiteral("others"));
    ASSERT_TRUE(QDir().rename(home.fileStoreRoot(), away));
    ASSERT_TRUE(QDir().mkpath(home.fileStoreRoot() + QStringLiteral("/10000")));
    testing::writeSyntheticFile(home.fileStoreRoot() + QStringLiteral("/10000/0.dcm"),
                                TemporaryIndex::image(QStringLiteral("99.9")));
    platform::giveFolderId(home.fileStoreRoot());

    loseIndex();
    EXPECT_FALSE(record());
    EXPECT_EQ(home.index().counts().total.images, 0);

    ASSERT_TRUE(QDir().rename(home.fileStoreRoot(), others) && QDir().rename(away, home.fileStoreRoot()));
    EXPECT_TRUE(record());
    EXPECT_EQ(home.rows(QStringLiteral("SELECT originalSOPInstanceUID FROM DicomImage")),
              QStringList(QStringLiteral("9.1")));
}

TEST_F(RestoredIndex, IsComparedBeforeAnythingIsTakenIn)
{
    import(QStringLiteral("9.1"));
    comeBackFromBackup([this] { import(QStringLiteral("9.2")); });
    const QString away = home.path(QStringLiteral("away"));
    ASSERT_TRUE(QDir().rename(home.fileStoreRoot(), away) && QDir().mkdir(home.fileStoreRoot()));
    home.reopen();
    ASSERT_TRUE(QDir().rmdir(home.fileStoreRoot()) && QDir().rename(away, home.fileStoreRoot()));

    EXPECT_EQ(import(QStringLiteral("9.3")), QStringLiteral("10000/2.dcm"));

    EXPECT_TRUE(record());
    EXPECT_EQ(home.index().counts().total.images, 3);
}

TEST_F(RestoredIndex, IsNoneWhereAKillLeftAFileThatHasItsNameInTheInboxStill)
{
    const QString path = import(QStringLiteral("9.1"));
    home.execute(
        QStringLiteral("PRAGMA foreign_keys = 1; DELETE FROM Study; UPDATE Ledger SET nextFileNumber = 0"));
    platform::systemFiles().link(home.index().fileURL(path).toLocalFile(),
                                 home.path(QStringLiteral("inbox.dcm")));

    home.reopen();

    EXPECT_FALSE(home.index().storeRecording().lacksStoredFiles());
    EXPECT_TRUE(record());
    EXPECT_EQ(home.index().counts().total.images, 1);
    EXPECT_EQ(home.index().sentBefore({instanceUid("9.1"), 7}), SentBefore::nothing);
}

TEST_F(LostIndex, WaitsForAFolderAndForAFileThatCanNotBeLookedAt)
{
    import(QStringLiteral("9.1"));
    const QString second = import(QStringLiteral("9.2"));
    loseIndex();
    for (const QString &hidden :
         {home.fileStoreRoot() + QStringLiteral("/10000"), home.index().fileURL(second).toLocalFile()}) {
        const QString away = home.path(QStringLiteral("away"));
        ASSERT_TRUE(QFile::rename(hidden, away));
        ASSERT_TRUE(QFile::link(hidden, hidden)); // a link to itself: asking for it fails, and it is there
        EXPECT_FALSE(record()) << hidden.toStdString();
        EXPECT_TRUE(home.index().storeRecording().lacksStoredFiles());
        ASSERT_TRUE(QFile::remove(hidden));
        ASSERT_TRUE(QFile::rename(away, hidden));
    }

    EXPECT_TRUE(record());

    EXPECT_EQ(home.index().counts().total.images, 2);
    EXPECT_EQ(told, 2);
}

TEST_F(LostIndex, IsAlsoOneThatCameBackFromABackup)
{
    for (const int later : {3, 70}) {
        SCOPED_TRACE(later);
        import(QStringLiteral("8.%1").arg(later));
        home.close();
        const QString backup = home.path(QStringLiteral("backup-%1").arg(later));
        ASSERT_TRUE(QFile::copy(home.indexFile(), backup));
        home.reopen();
        for (int number = 1; number <= later; ++number) {
            import(QStringLiteral("9.%1.%2").arg(later).arg(number));
        }
        const std::int64_t images = home.index().counts().total.images;
        home.close();
        ASSERT_TRUE(QFile::remove(home.indexFile()));
        ASSERT_TRUE(QFile::rename(backup, home.indexFile()));
        home.reopen();
        EXPECT_EQ(home.index().counts().total.images, images - later);
        home.reopen(); // and nobody has recorded them yet
        EXPECT_TRUE(home.index().storeRecording().lacksStoredFiles());
        told = 0;

        EXPECT_TRUE(record());

        EXPECT_EQ(told, later);
        EXPECT_EQ(home.index().counts().total.images, images);
        EXPECT_FALSE(home.index().storeRecording().lacksStoredFiles());
        EXPECT_EQ(home.index().sentBefore({instanceUid("7.7"), 7}), SentBefore::unrecorded);
        EXPECT_EQ(home.index().sentBefore({platform::InstanceUid(QStringLiteral("9.%1.1").arg(later)), 7}),
                  SentBefore::unknown);
    }
}

TEST_F(LostIndex, LacksWhatWasSentAfterItsBackupThoughNoFileCameSince)
{
    const QString path = import(QStringLiteral("9.1"));
    home.index().noteSending({{instanceUid("8.8"), 7}});
    home.close();
    const QString backup = home.path(QStringLiteral("backup"));
    ASSERT_TRUE(QFile::copy(home.indexFile(), backup));
    home.reopen();
    EXPECT_EQ(home.index().sentBefore({instanceUid("9.1"), 7}), SentBefore::nothing);
    home.index().noteSending({{instanceUid("9.1"), 7}});
    home.index().recordUploadResult({}, path, true);

    home.close();
    ASSERT_TRUE(QFile::remove(home.indexFile()));
    ASSERT_TRUE(QFile::rename(backup, home.indexFile()));
    home.reopen();

    EXPECT_EQ(home.index().sentBefore({instanceUid("9.1"), 8}), SentBefore::unrecorded);
    EXPECT_FALSE(home.index().storeRecording().lacksStoredFiles());
}

TEST_F(LostIndex, LacksWhatWasSentThoughTheDefaultsAndAllFilesAreGone)
{
    const QString path = import(QStringLiteral("9.1"));
    ASSERT_TRUE(QFile::remove(home.index().fileURL(path).toLocalFile()));
    for (const QString &key :
         {QStringLiteral("QuorinGateway.DataFileIndex"), QStringLiteral("QuorinSendCount")}) {
        home.defaults.removeObject(key);
    }
    loseIndex();

    EXPECT_EQ(home.index().sentBefore({instanceUid("9.1"), 8}), SentBefore::unrecorded);
}

TEST_F(LostIndex, TakesImagesMeanwhileAndRecordsNoneTwice)
{
    const QString old = import(QStringLiteral("9.1"));
    loseIndex();

    const QString fresh = import(QStringLiteral("9.2"));
    EXPECT_NE(fresh, old);
    home.index().recordUploadResult({}, fresh, true);
    EXPECT_TRUE(record());

    EXPECT_EQ(home.index().counts().total.images, 2);
    EXPECT_EQ(home.index().counts().syncedImages, 1);
}

TEST_F(LostIndex, StaysOneWhileTheReaderOfImagesDoesNotWork)
{
    import(QStringLiteral("9.1"));
    loseIndex();
    home.parser.breakDown();

    EXPECT_FALSE(record());

    EXPECT_TRUE(home.index().storeRecording().lacksStoredFiles());
}

TEST_F(LostIndex, StaysOneWhileTheStoreIsOutOfSight)
{
    import(QStringLiteral("9.1"));
    home.close();
    const QString away = home.path(QStringLiteral("away"));
    ASSERT_TRUE(QFile::rename(home.fileStoreRoot(), away));
    loseIndex();

    EXPECT_FALSE(record());
    EXPECT_TRUE(home.index().storeRecording().lacksStoredFiles());

    home.close();
    QDir(home.fileStoreRoot()).removeRecursively();
    ASSERT_TRUE(QFile::rename(away, home.fileStoreRoot()));
    home.reopen();
    EXPECT_TRUE(record());
    EXPECT_EQ(home.index().counts().total.images, 1);
}

} // namespace gateway::index

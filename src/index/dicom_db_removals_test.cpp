#include "index/testing/deletion_world.h"

#include <QtCore/QDir>

#include <atomic>
#include <cerrno>
#include <latch>
#include <thread>
#include <vector>

namespace gateway::index {

namespace {

using testing::TemporaryIndex;
using Removals = testing::Deletion;

const QString kStudy = QStringLiteral("studyID");

} // namespace

TEST_F(Removals, ThatFailAreNotCountedAndDoneByTheNextPrune)
{
    const QString path = uploaded(QStringLiteral("9.1"));
    disk.failStep(0, EACCES);

    EXPECT_EQ(pruneAll(), (LocalPruneResult{1, 1, 1, 1, 0, 0}));
    EXPECT_TRUE(isStored(path));
    EXPECT_EQ(noted(), 1);

    disk.heal();
    EXPECT_EQ(pruneAll(), LocalPruneResult{}) << "the rows have gone with another prune";
    EXPECT_FALSE(isStored(path));
    EXPECT_EQ(noted(), 0);
}

TEST_F(Removals, AreToldOnceTheFileHasGone)
{
    const QString pruned = uploaded(QStringLiteral("9.1"));
    pruneAll();
    const QString deleted = importOne(QStringLiteral("9.2"));
    index.deleteStudies({QStringLiteral("1.2")});

    EXPECT_EQ(
        home.removals(),
        (QList{std::pair(pruned, RemovalReason::retention), std::pair(deleted, RemovalReason::deletion)}));
}

TEST_F(Removals, ThatFailAreToldWhenTheyAreMadeUpFor)
{
    const QString path = uploaded(QStringLiteral("9.1"));
    disk.failStep(0, EIO);
    pruneAll();
    ASSERT_TRUE(isStored(path));
    EXPECT_TRUE(home.removals().isEmpty());

    disk.heal();
    index.finishRemovals();

    EXPECT_EQ(home.removals(), QList{std::pair(path, RemovalReason::resumed)});
}

TEST_F(Removals, OfACopyThatAnotherOneStandsForAreTold)
{
    const QString first = importOne(QStringLiteral("9.1"));
    const QString second = importOne(QStringLiteral("9.1")); // the same bytes again

    EXPECT_FALSE(isStored(first));
    EXPECT_TRUE(isStored(second));
    EXPECT_EQ(home.removals(), QList{std::pair(first, RemovalReason::superseded)});
}

TEST_F(Removals, ThatAreNotYetDurableStayNoted)
{
    uploaded(QStringLiteral("9.1"));
    disk.failStep(1, EIO); // the sync of the folder

    EXPECT_EQ(pruneAll().deletedFileCount, 1);
    EXPECT_EQ(noted(), 1);

    disk.heal();
    index.finishRemovals();
    EXPECT_EQ(noted(), 0);
}

TEST_F(Removals, OneThatFailsHoldsUpNoOther)
{
    for (int number = 0; number < 3; ++number) {
        uploaded(QStringLiteral("9.%1").arg(number));
    }
    disk.failStep(1, EACCES);

    EXPECT_EQ(pruneAll().deletedFileCount, 2);
    EXPECT_EQ(storedFiles().size(), 1);
    EXPECT_EQ(noted(), 1);
}

TEST_F(Removals, WaitWhileTheFolderIsOutOfSight)
{
    const QString path = uploaded(QStringLiteral("9.1"));
    disk.failStep(0, EACCES);
    EXPECT_EQ(pruneAll().deletedFileCount, 0);
    const QString away = home.path(QStringLiteral("away"));
    ASSERT_TRUE(QDir().rename(home.fileStoreRoot(), away));

    index.finishRemovals();
    EXPECT_EQ(noted(), 1);

    ASSERT_TRUE(QDir().rename(away, home.fileStoreRoot()));
    index.finishRemovals();
    EXPECT_FALSE(isStored(path));
    EXPECT_EQ(noted(), 0);
}

TEST_F(Removals, RetentionBeginsNoneWhileTheFolderIsOutOfSight)
{
    uploaded(QStringLiteral("9.1"));
    const QString away = home.path(QStringLiteral("away"));
    ASSERT_TRUE(QDir().rename(home.fileStoreRoot(), away));

    EXPECT_EQ(pruneAll().deletedFileCount, 0);
    EXPECT_EQ(noted(), 0);
    EXPECT_EQ(home.number(QStringLiteral("SELECT count(*) FROM DicomImage")), 1);

    ASSERT_TRUE(QDir().rename(away, home.fileStoreRoot()));
    EXPECT_EQ(pruneAll().deletedFileCount, 1);
}

TEST_F(Removals, OfAFileThatARowRefersToAgainAreDropped)
{
    const QString path = importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("INSERT INTO PendingRemoval VALUES ('%1')").arg(path));

    index.finishRemovals();

    EXPECT_TRUE(isStored(path));
    EXPECT_EQ(noted(), 0);
}

TEST_F(Removals, OfAFileThatIsBeingImportedWaitForTheEndOfItsImport)
{
    const QUrl source = home.file(TemporaryIndex::image(QStringLiteral("9.1")));
    const QUrl stored = index.importFile(source, ImportSource::ownInbox).storedFile;
    home.parser.onParse([&] {
        index.deleteStudies({QStringLiteral("1.2")});
        home.parser.breakDown();
    });

    EXPECT_THROW(index.importFile(source, ImportSource::ownInbox), GatewayImportError);

    EXPECT_TRUE(QFile::exists(stored.toLocalFile()));
    EXPECT_EQ(noted(), 1);
    index.finishRemovals();
    EXPECT_FALSE(QFile::exists(stored.toLocalFile()));
    EXPECT_TRUE(QFile::exists(source.toLocalFile()));
    EXPECT_EQ(noted(), 0);
}

TEST_F(Removals, OfAFileOfWhichTheIndexCanNotBeAskedWait)
{
    const QString path = importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("INSERT INTO PendingRemoval VALUES ('%1'); "
                                "ALTER TABLE DicomImage RENAME TO Hidden")
                     .arg(path));

    index.finishRemovals();

    EXPECT_TRUE(isStored(path));
    EXPECT_EQ(noted(), 1);
    home.execute(QStringLiteral("ALTER TABLE Hidden RENAME TO DicomImage"));
    index.finishRemovals();
    EXPECT_TRUE(isStored(path)) << "a row refers to it";
    EXPECT_EQ(noted(), 0);
}

TEST_F(Removals, AreFinishedPageByPageAlsoWhenSomeFail)
{
    constexpr int kFiles = 1100;
    for (int number = 0; number < kFiles; ++number) {
        QDir().mkpath(home.fileStoreRoot() + QStringLiteral("/10000"));
        QFile file(home.fileStoreRoot() + QStringLiteral("/10000/%1.dcm").arg(number));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    home.execute(
        QStringLiteral("WITH RECURSIVE n (i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                       "INSERT INTO PendingRemoval SELECT '10000/' || i || '.dcm' FROM n")
            .arg(kFiles - 1));
    disk.failStep(3, EACCES);

    index.finishRemovals();

    EXPECT_EQ(storedFiles().size(), 1);
    EXPECT_EQ(noted(), 1);
}

TEST(DeletionThreads, PruneDeleteAndImportAtTheSameTime)
{
    constexpr int kImages = 40;
    TemporaryIndex home;
    DicomDB &index = home.index();
    std::atomic<int> importing = 2;
    std::latch start(4);
    std::atomic<std::int64_t> pruned = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int importer = 0; importer < 2; ++importer) {
        threads.emplace_back([&, importer] {
            start.arrive_and_wait();
            for (int image = 0; image < kImages; ++image) {
                const auto elements =
                    TemporaryIndex::image(QStringLiteral("9.%1.%2").arg(importer).arg(image),
                                          {{kStudy, QStringLiteral("%1").arg(image)}});
                index.importFile(home.file(elements, QStringLiteral("source-%1.dcm").arg(importer)));
            }
            --importing;
        });
    }
    threads.emplace_back([&] {
        start.arrive_and_wait();
        for (bool last = false; !last;) {
            last = importing == 0;
            for (const PendingImageUpload &candidate : index.pendingImageUploads(5)) {
                index.recordUploadResult(candidate.imageObjectIDs, candidate.storagePath, true);
                last = false;
            }
            home.clock.advance(std::chrono::milliseconds(1));
            pruned += index.pruneSyncedImages(home.clock.now()).deletedImageCount;
        }
    });
    threads.emplace_back([&] {
        start.arrive_and_wait();
        while (importing > 0) {
            index.deleteStudies({QStringLiteral("7")});
            index.finishRemovals();
        }
    });
    for (std::thread &thread : threads) {
        thread.join();
    }
    index.finishRemovals(); // of files whose rows went before their import had ended

    EXPECT_GE(pruned, 2 * (kImages - 1));
    EXPECT_EQ(index.counts().total.images, 0);
    EXPECT_EQ(home.number(QStringLiteral("SELECT count(*) FROM PendingRemoval")), 0);
    QDirIterator walk(home.fileStoreRoot(), QDir::Files, QDirIterator::Subdirectories);
    EXPECT_FALSE(walk.hasNext());
}

} // namespace gateway::index

#include "doctor/testing/doctor_world.h"
#include "log/writing/redaction.h"
#include "platform/dicom/testing/identities.h"

namespace gateway::doctor {

using index::testing::TemporaryIndex;
using testing::Counts;
using testing::DoctorTest;

namespace {

const QString kStray = QStringLiteral("10000/77.dcm");

} // namespace

TEST_F(DoctorTest, FindsASoundHomeWell)
{
    importOne(QStringLiteral("9.1"));
    home.index().recordUploadResult({}, importOne(QStringLiteral("9.2")), true);

    const Diagnosis diagnosis = examine();

    EXPECT_TRUE(diagnosis.isWell());
    EXPECT_TRUE(diagnosis.findings.isEmpty());
    EXPECT_EQ(diagnosis.storedFiles, 2);
    EXPECT_EQ(diagnosis.recordedFiles, 2);
}

TEST_F(DoctorTest, FindsAnEmptyHomeWell)
{
    EXPECT_TRUE(examine(true).isWell());
}

TEST_F(DoctorTest, TellsOfAnImageThatTheIndexDoesNotHaveAndRecordsItOnRequest)
{
    put(kStray, QStringLiteral("9.7"));

    EXPECT_EQ(counts(), (Counts{{FindingKind::unrecordedImage, {1, 0}}}));
    EXPECT_EQ(rows(), 0);
    EXPECT_EQ(counts(true), (Counts{{FindingKind::unrecordedImage, {1, 1}}}));

    EXPECT_EQ(rows(), 1);
    EXPECT_TRUE(examine().isWell());
}

TEST_F(DoctorTest, TakesAnImageThatLiesElsewhereInAsACopyAndLeavesItThere)
{
    put(QStringLiteral("from Jane/image"), QStringLiteral("9.7"));

    EXPECT_EQ(counts(true), (Counts{{FindingKind::unrecordedImage, {1, 1}}}));

    EXPECT_EQ(home.rows(QStringLiteral("SELECT pathString FROM DicomImage")),
              QStringList{QStringLiteral("10000/0.")});
    EXPECT_TRUE(QFileInfo::exists(pathOf(QStringLiteral("from Jane/image"))));
    EXPECT_EQ(counts(true), (Counts{{FindingKind::earlierCopy, {1, 0}}}));
}

TEST_F(DoctorTest, TellsOfAFileThatIsGoneAndKeepsItsRowsWaiting)
{
    const QString lost = importOne(QStringLiteral("9.1"));
    lose(lost);

    EXPECT_EQ(counts(), (Counts{{FindingKind::fileGone, {1, 0}}}));
    EXPECT_EQ(home.index().counts().failedImages, 0);
    EXPECT_EQ(counts(true), (Counts{{FindingKind::fileGone, {1, 0}}}));

    EXPECT_EQ(rows(), 1);
    EXPECT_EQ(home.index().counts().failedImages, 1);
    EXPECT_EQ(home.index().failedUploads().counts(),
              (QList<index::UploadFailureCount>{{QStringLiteral("fileMissing"), 0, 1}}));
    EXPECT_FALSE(examine(true).isWell());
}

TEST_F(DoctorTest, SendsAnImageWhoseFileWasPutBack)
{
    const QString lost = importOne(QStringLiteral("9.1"));
    QFile::rename(pathOf(lost), home.path(QStringLiteral("backup")));
    examine(true);

    QFile::rename(home.path(QStringLiteral("backup")), pathOf(lost));

    EXPECT_TRUE(examine(true).findings.isEmpty());
    ASSERT_EQ(home.index().pendingImageUploads(9).size(), 1);
    EXPECT_EQ(home.index().pendingImageUploads(9).first().storagePath, lost);
}

TEST_F(DoctorTest, KeepsTheRowsOfAnImageInTheCloudWhoseFileIsGone)
{
    const QString lost = importOne(QStringLiteral("9.1"));
    home.index().recordUploadResult({}, lost, true);
    lose(lost);

    const Diagnosis diagnosis = examine(true);

    ASSERT_EQ(diagnosis.findings.size(), 1);
    EXPECT_EQ(diagnosis.findings.first().kind, FindingKind::fileGoneAfterUpload);
    EXPECT_TRUE(diagnosis.isWell());
    EXPECT_EQ(home.index().counts().syncedImages, 1);
}

TEST_F(DoctorTest, LeavesTheUploadUnderWayAlone)
{
    const QString lost = importOne(QStringLiteral("9.1"));
    home.index().markImagesInProgress(home.index().pendingImageUploads(1).first().imageObjectIDs);
    lose(lost);

    EXPECT_EQ(counts(true), (Counts{{FindingKind::fileGone, {1, 0}}}));

    EXPECT_EQ(home.number(QStringLiteral("SELECT syncState FROM DicomImage")), 3);
}

TEST_F(DoctorTest, GivesAnImageWhoseFileIsGoneTheCopyThatIsThere)
{
    lose(importOne(QStringLiteral("9.1")));
    put(kStray, QStringLiteral("9.1"));

    EXPECT_EQ(counts(true), (Counts{{FindingKind::unrecordedImage, {1, 1}}}));

    EXPECT_EQ(home.rows(QStringLiteral("SELECT pathString, syncState FROM DicomImage")),
              QStringList{kStray + QStringLiteral("|0")});
}

TEST_F(DoctorTest, ChangesNothingForAStoreThatIsOutOfSight)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("9.2"));
    ASSERT_TRUE(QDir().rename(home.fileStoreRoot(), home.path(QStringLiteral("away"))));

    EXPECT_EQ(counts(true),
              (Counts{{FindingKind::folderGone, {2, 0}}, {FindingKind::storeOutOfSight, {1, 0}}}));

    EXPECT_EQ(home.index().counts().failedImages, 0);
    EXPECT_EQ(rows(), 2);
}

TEST_F(DoctorTest, CountsAnewWhereACountIsWrong)
{
    importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("UPDATE Ledger SET imageCount = 9; UPDATE Series SET syncState = 1"));

    EXPECT_EQ(counts(), (Counts{{FindingKind::wrongCount, {1, 0}}, {FindingKind::wrongState, {1, 0}}}));
    examine(true);

    EXPECT_TRUE(examine().isWell());
    EXPECT_EQ(home.index().counts().total.images, 1);
}

TEST_F(DoctorTest, RebuildsALostIndexFromTheStoredFilesWithTheLatestOfEachImage)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("9.2"));
    const QString again = home.import(TemporaryIndex::image(
        QStringLiteral("9.1"), {{QStringLiteral("ImageComments"), QStringLiteral("corrected")}}));
    const auto files = filesInStore();
    home.close();
    for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")}) {
        QFile::remove(home.indexFile() + suffix);
    }
    home.reopen();

    EXPECT_TRUE(examine(true).isWell());

    EXPECT_EQ(home.rows(QStringLiteral("SELECT pathString FROM DicomImage ORDER BY pathString")),
              (QStringList{QStringLiteral("10000/1.dcm"), again}));
    EXPECT_EQ(filesInStore(), files);
    EXPECT_EQ(counts(true), Counts());
}

TEST_F(DoctorTest, TellsOfAnIndexThatWasMadeAnewUntilAllIsRecordedInItAgain)
{
    importOne(QStringLiteral("9.1"));
    home.close();
    QFile::remove(home.indexFile());
    home.reopen();

    EXPECT_EQ(counts(),
              (Counts{{FindingKind::indexMadeAnew, {1, 0}}, {FindingKind::unrecordedImage, {1, 0}}}));
    EXPECT_EQ(counts(true), (Counts{{FindingKind::indexMadeAnew, {1, 1}}}));
    EXPECT_EQ(rows(), 1);
    EXPECT_TRUE(examine().findings.isEmpty());
}

TEST_F(DoctorTest, LetsAWholeImageTakeThePlaceOfOneThatEndsTooEarly)
{
    const QVariantMap stump{{QStringLiteral("damaged"), true}};
    const QString path = importOne(QStringLiteral("9.1"));
    index::testing::writeSyntheticFile(pathOf(kStray), TemporaryIndex::image(QStringLiteral("9.1"), stump));
    home.execute(QStringLiteral("UPDATE DicomImage SET pathString = '%1', acknowledged = 0").arg(kStray));

    EXPECT_EQ(counts(), (Counts{{FindingKind::wholeCopy, {1, 0}}}));
    EXPECT_EQ(counts(true), (Counts{{FindingKind::wholeCopy, {1, 1}}, {FindingKind::damagedImage, {1, 0}}}))
        << "the one that ends too early came later, and stays beside the whole one";

    EXPECT_EQ(home.rows(QStringLiteral("SELECT pathString FROM DicomImage")), QStringList{path});
    EXPECT_EQ(counts(), (Counts{{FindingKind::damagedImage, {1, 0}}}));
    EXPECT_TRUE(examine().isWell());
}

TEST_F(DoctorTest, TellsOfImagesThatEndTooEarly)
{
    importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("UPDATE DicomImage SET damaged = 1"));

    EXPECT_EQ(counts(), (Counts{{FindingKind::damagedImage, {1, 0}}}));
    EXPECT_TRUE(examine().isWell());
}

TEST_F(DoctorTest, FindsNothingToDoAfterImagesWereSentAgain)
{
    for (int version = 0; version < 3; ++version) {
        for (int image = 1; image <= 3; ++image) {
            home.import(TemporaryIndex::image(QStringLiteral("9.%1").arg(image),
                                              {{QStringLiteral("ImageComments"), QString::number(version)}}));
        }
    }
    EXPECT_EQ(counts(true), Counts());
    for (const QString &path : home.rows(QStringLiteral("SELECT pathString FROM DicomImage"))) {
        home.index().recordUploadResult({}, path, true);
    }
    EXPECT_EQ(counts(true), Counts());
    home.clock.advance(std::chrono::hours(1));
    home.index().pruneSyncedImages(home.clock.now());

    EXPECT_EQ(counts(true), Counts());
    EXPECT_EQ(rows(), 0);
    EXPECT_TRUE(filesInStore().isEmpty());
}

TEST_F(DoctorTest, NeverChangesOrRemovesAStoredFile)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("9.1"));
    lose(importOne(QStringLiteral("9.2")));
    put(kStray, QStringLiteral("9.7"));
    write(pathOf(QStringLiteral("10000/78.dcm")));
    write(pathOf(QStringLiteral("10000/notes.txt")));
    home.execute(QStringLiteral("UPDATE Ledger SET imageCount = 9"));
    const auto files = filesInStore();

    examine(true);
    examine(true);

    EXPECT_EQ(filesInStore(), files);
}

TEST_F(DoctorTest, TellsADamagedImageFromAFileThatNeverWasOne)
{
    write(pathOf(QStringLiteral("10000/78.dcm")));
    write(pathOf(QStringLiteral("notes.txt")));

    EXPECT_EQ(counts(true),
              (Counts{{FindingKind::unreadableFile, {1, 0}}, {FindingKind::foreignFile, {1, 0}}}));
}

TEST_F(DoctorTest, SaysThatAFileCouldNotBeLookedAt)
{
    put(kStray, QStringLiteral("9.7"));
    home.parser.breakDown();

    EXPECT_EQ(counts(true), (Counts{{FindingKind::unexaminedFile, {1, 0}}}));
}

TEST_F(DoctorTest, MendsNothingInADamagedIndex)
{
    importOne(QStringLiteral("9.1"));
    put(kStray, QStringLiteral("9.7"));
    home.execute(QStringLiteral("PRAGMA foreign_keys = 0; UPDATE DicomImage SET series = 777"));

    const Diagnosis diagnosis = examine(true);

    EXPECT_FALSE(diagnosis.isWell());
    EXPECT_EQ(diagnosis.findings.first().kind, FindingKind::indexDamaged);
    EXPECT_EQ(rows(), 1);
}

TEST_F(DoctorTest, SeesADamagedPageOfTheIndexFile)
{
    for (int image = 0; image < 200; ++image) {
        importOne(QStringLiteral("9.%1").arg(image));
    }
    home.execute(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
    const qint64 page = home.number(QStringLiteral("SELECT rootpage FROM sqlite_master WHERE type = 'index' "
                                                   "AND tbl_name = 'DicomImage' ORDER BY rootpage LIMIT 1"));
    const qint64 pageBytes = home.number(QStringLiteral("PRAGMA page_size"));
    home.close();
    QFile file(home.indexFile());
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.seek((page - 1) * pageBytes + pageBytes / 2));
    ASSERT_EQ(file.write(QByteArray(pageBytes / 2, '\x5a')), pageBytes / 2);
    file.close();
    home.reopen();

    const Diagnosis diagnosis = examine(true);

    EXPECT_FALSE(diagnosis.isWell());
    ASSERT_FALSE(diagnosis.findings.isEmpty());
    EXPECT_EQ(diagnosis.findings.first().kind, FindingKind::indexDamaged);
}

TEST_F(DoctorTest, TellsWhyImagesWereNotSentWithAFewExamples)
{
    for (int number = 0; number < 5; ++number) {
        const QString path = importOne(QStringLiteral("9.%1").arg(number));
        home.index().recordUploadResult(
            {}, path, false, {.failure = index::FailedUpload{QStringLiteral("storageUsedUp"), 7}});
    }
    const QString other = importOne(QStringLiteral("8.1"));
    home.index().recordUploadResult(
        {}, other, false, {.failure = index::FailedUpload{QStringLiteral("timedOut"), 28}});

    const Diagnosis diagnosis = examine();

    EXPECT_FALSE(diagnosis.isWell());
    ASSERT_EQ(diagnosis.failures.size(), 2);
    EXPECT_EQ(diagnosis.failures[0].failure, (core::Failure{core::FailureClass::storageUsedUp, 7}));
    EXPECT_EQ(diagnosis.failures[0].count, 5);
    EXPECT_EQ(diagnosis.failures[0].examples.size(), kMostExamples);
    EXPECT_EQ(diagnosis.failures[1].examples,
              (QList<FileName>{{other,
                                *log::hashedFileURL(home.index().fileURL(other)),
                                *log::hashedIdentifier(QStringLiteral("8.1"))}}));
}

TEST_F(DoctorTest, NamesNoFileByANameThatSomebodyGaveIt)
{
    put(QStringLiteral("Doe^Jane.dcm"), QStringLiteral("9.7"));
    put(QStringLiteral("10000/Doe^Jane.dcm"), QStringLiteral("9.8"));

    for (const Finding &finding : examine().findings) {
        for (const FileName &name : finding.examples) {
            EXPECT_TRUE(name.storagePath.isEmpty());
            EXPECT_EQ(name.fileHash.size(), 16);
        }
    }
}

TEST_F(DoctorTest, StopsWhenItIsToldTo)
{
    put(kStray, QStringLiteral("9.7"));
    std::stop_source stop;
    stop.request_stop();

    const Diagnosis diagnosis =
        Doctor(home.index(), folders, emitter, home.clock, testing::nothingAwaitsRemoval)
            .examine(true, stop.get_token());

    EXPECT_TRUE(diagnosis.wasStopped);
    EXPECT_FALSE(diagnosis.isWell());
    EXPECT_EQ(rows(), 0);
}

TEST_F(DoctorTest, FindsAnIndexThatCannotBeWritten)
{
    home.execute(
        QStringLiteral("CREATE TRIGGER fails BEFORE UPDATE ON Ledger BEGIN SELECT RAISE(ABORT, 'no'); END"));

    EXPECT_EQ(counts(true).value(FindingKind::indexNotWritten), (std::pair<qint64, qint64>(1, 0)));
    EXPECT_FALSE(examine().isWell());

    home.execute(QStringLiteral("DROP TRIGGER fails"));
    EXPECT_TRUE(examine().isWell());
}

TEST_F(DoctorTest, FindsAnImageThatStandsAsideUnsentForOneThatAPersonBroughtIn)
{
    const QString path = home.path(QStringLiteral("received.dcm"));
    index::testing::writeSyntheticFile(
        path,
        TemporaryIndex::image(QStringLiteral("9.1"),
                              {{QStringLiteral("ImageComments"), QStringLiteral("received")}}));
    home.index().importFile(QUrl::fromLocalFile(path), index::ImportSource::ownInbox);
    EXPECT_TRUE(examine().isWell());

    const QString brought = importOne(QStringLiteral("9.1"));
    home.index().recordUploadResult({}, brought, true);

    EXPECT_EQ(counts(true).value(FindingKind::unsentVersion), (std::pair<qint64, qint64>(1, 0)));
    EXPECT_FALSE(examine().isWell());
}

TEST_F(DoctorTest, FindsNothingWhereTheCloudHoldsTheVeryDatasetOfTheOneThatStandsAside)
{
    const QString path = home.path(QStringLiteral("received.dcm"));
    index::testing::writeSyntheticFile(path, TemporaryIndex::image(QStringLiteral("9.1")));
    home.index().importFile(QUrl::fromLocalFile(path), index::ImportSource::ownInbox);
    const QString brought =
        home.import(TemporaryIndex::image(QStringLiteral("9.1"), {{QStringLiteral("header"), 1}}));
    home.index().noteSending({{platform::testing::instanceUid("9.1"), home.parser.versionOf(path)}});
    home.parser.breakDown(); // so that it stays when the other one has been sent
    home.index().recordUploadResult({}, brought, true);
    home.parser.breakDown(platform::ParsedFile::Fate::parsed);

    EXPECT_TRUE(examine().isWell());
    EXPECT_EQ(home.number(QStringLiteral("SELECT count(*) FROM SupersededFile")), 1);
    EXPECT_TRUE(counts(true).isEmpty());
    EXPECT_EQ(home.number(QStringLiteral("SELECT count(*) FROM SupersededFile")), 0);
}

} // namespace gateway::doctor

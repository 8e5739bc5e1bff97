#include "index/testing/temporary_index.h"
#include "platform/files/testing/faulty_file_system.h"
#include "platform/files/testing/forgetful_disk.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <thread>

namespace gateway::index {

namespace {

using Kind = GatewayImportError::Kind;
using Blame = GatewayImportError::Blame;
using platform::testing::FaultyFileSystem;
using platform::testing::ForgetfulDisk;
using testing::TemporaryIndex;

class Import : public ::testing::Test
{
protected:
    void expectError(const QUrl &url, Kind kind, Blame blame, const char *text)
    {
        try {
            index.importFile(url);
            FAIL() << "imported";
        } catch (const GatewayImportError &error) {
            EXPECT_EQ(error.kind(), kind);
            EXPECT_EQ(error.blame(), blame);
            EXPECT_EQ(error.errorDescription().toStdString(), text);
            EXPECT_STREQ(error.what(), text);
        }
    }

    QString importOne(const QString &uid, const QVariantMap &changes = {})
    {
        return home.import(TemporaryIndex::image(uid, changes));
    }

    QStringList filesInStore()
    {
        QStringList found;
        QDirIterator files(home.fileStoreRoot(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            found.append(QDir(home.fileStoreRoot()).relativeFilePath(files.next()));
        }
        found.removeAll(QStringLiteral(".lock")); // the store's own, as the next
        found.removeAll(QStringLiteral(".id"));
        found.sort();
        return found;
    }

    FaultyFileSystem disk;
    TemporaryIndex home{disk};
    DicomDB &index = home.index();
};

using ImportedRows = Import;
using ImportFailures = Import;

} // namespace

TEST_F(Import, GivesTheSummaryAndLeavesTheSource)
{
    const QUrl source = home.file(TemporaryIndex::image(QStringLiteral("9.1")));

    const ImportedFileSummary summary = index.importFile(source);

    EXPECT_EQ(summary,
              (ImportedFileSummary{QStringLiteral("PAT1"),
                                   QStringLiteral("1.2"),
                                   {QStringLiteral("1.2.30")},
                                   platform::InstanceUid(QStringLiteral("9.1")),
                                   index.fileURL(QStringLiteral("10000/0.dcm")),
                                   QStringLiteral("10000/0.dcm"),
                                   {},
                                   home.parser.versionOf(summary.storedFile.toLocalFile())}));
    EXPECT_TRUE(QFile::exists(source.toLocalFile()));
    EXPECT_EQ(filesInStore(), QStringList{QStringLiteral("10000/0.dcm")});
    EXPECT_TRUE(home.parser.reads(home.fileStoreRoot() + QStringLiteral("/10000/0.dcm"))) << "whole";
}

TEST_F(Import, ASharedInboxFileLivesOnInTheStoreWhenTheInboxLosesIt)
{
    const QUrl source = home.file(TemporaryIndex::image(QStringLiteral("9.1")));

    DBService(index, ImportSource::ownInbox).importFile(source);
    QFile::remove(source.toLocalFile());

    EXPECT_TRUE(home.parser.reads(home.fileStoreRoot() + QStringLiteral("/10000/0.dcm")));
}

TEST_F(Import, AnInboxFileThatCameInBeforeKeepsItsNameWithRowsOrWithout)
{
    const QUrl source = home.file(TemporaryIndex::image(QStringLiteral("9.1")));
    index.importFile(source, ImportSource::ownInbox);

    index.importFile(source, ImportSource::ownInbox);
    home.execute(QStringLiteral("DELETE FROM DicomImage"));
    index.importFile(source, ImportSource::ownInbox);

    EXPECT_EQ(filesInStore(), QStringList{QStringLiteral("10000/0.dcm")});
    EXPECT_EQ(index.counts().total.images, 1);
}

TEST_F(Import, ThatIsRepeatedKeepsWhatTheFileHeldWhenItWasTaken)
{
    const QUrl source = home.file(TemporaryIndex::image(QStringLiteral("9.1")));
    index.importFile(source, ImportSource::ownInbox);
    const std::int64_t taken = index.pendingImageUploads(1).value(0).contentVersion;
    ASSERT_NE(taken, 0);
    QFile lost(home.path(QStringLiteral("lost.dcm")));
    for (const QVariantMap &changes :
         {QVariantMap{{QStringLiteral("studyDescription"), QStringLiteral("lost a block")}},
          QVariantMap{{QStringLiteral("seriesNumber"), 7},
                      {QStringLiteral("seriesInstanceUID"), QStringLiteral("7.7")}}}) {
        testing::writeSyntheticFile(lost.fileName(), TemporaryIndex::image(QStringLiteral("9.1"), changes));
        ASSERT_TRUE(lost.open(QIODevice::ReadOnly));
        QFile stored(home.fileStoreRoot() + QStringLiteral("/10000/0.dcm"));
        ASSERT_TRUE(stored.open(QIODevice::WriteOnly) && stored.write(lost.readAll()) > 0);
        lost.close();
        stored.close();
        ASSERT_NE(home.parser.versionOf(stored.fileName()), taken);

        index.importFile(source, ImportSource::ownInbox);

        EXPECT_EQ(home.rows(QStringLiteral("SELECT DISTINCT contentVersion FROM DicomImage")),
                  QStringList(QString::number(taken)));
    }
    EXPECT_EQ(filesInStore(), QStringList{QStringLiteral("10000/0.dcm")});
}

TEST_F(Import, AForeignFileWrittenToLaterDoesNotChangeTheStoredOne)
{
    const QUrl source = home.file(TemporaryIndex::image(QStringLiteral("9.1")));
    DBService(index, ImportSource::foreign).importFile(source);

    QFile file(source.toLocalFile());
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.write("overwritten");
    file.close();

    EXPECT_TRUE(home.parser.reads(home.fileStoreRoot() + QStringLiteral("/10000/0.dcm")));
}

TEST_F(ImportedRows, StudyFieldsComeFromTheElements)
{
    importOne(QStringLiteral("9.1"),
              {{QStringLiteral("studyNumber"), QStringLiteral("P7")},
               {QStringLiteral("studyDate"), QDateTime(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC)},
               {QStringLiteral("studyDescription"), QStringLiteral("Thorax")},
               {QStringLiteral("referringPhysiciansName"), QStringLiteral("R")},
               {QStringLiteral("performingPhysiciansName"), QStringLiteral("P")},
               {QStringLiteral("institutionName"), QStringLiteral("I")},
               {QStringLiteral("accessionNumber"), QStringLiteral("A")},
               {QStringLiteral("hasDICOM"), true}});

    EXPECT_EQ(
        home.rows(QStringLiteral("SELECT name, modality, id, studyInstanceUID, acquisitionDate, studyName, "
                                 "referringPhysician, performingPhysician, institutionName, "
                                 "accessionNumber, hasDICOM, syncState FROM Study")),
        QStringList{QStringLiteral("Doe^Jane|CT|P7|1.2|1704067200000|Thorax|R|P|I|A|1|0")});
    EXPECT_EQ(home.number(QStringLiteral("SELECT createDate FROM Study")),
              home.clock.now().toMSecsSinceEpoch());
}

TEST_F(ImportedRows, SeriesFieldsComeFromTheElements)
{
    importOne(QStringLiteral("9.1"),
              {{QStringLiteral("seriesDescription"), QStringLiteral("Axial")},
               {QStringLiteral("seriesNumber"), QStringLiteral("4")},
               {QStringLiteral("seriesDICOMUID"), QStringLiteral("D")},
               {QStringLiteral("SOPClassUID"), QStringLiteral("1.2.840.10008.5.1.4.1.1.2")},
               {QStringLiteral("numberOfFrames"), 2},
               {QStringLiteral("WindowWidth"), 400.5},
               {QStringLiteral("WindowCenter"), 40}});

    EXPECT_EQ(
        home.rows(QStringLiteral("SELECT name, modality, seriesNumber, seriesDICOMUID, seriesSOPClassUID, "
                                 "numberOfFrames, windowWidth, windowLevel, syncState FROM Series")),
        QStringList{QStringLiteral("Axial|CT|4|D|1.2.840.10008.5.1.4.1.1.2|2|400.5|40.0|0")});
}

TEST_F(ImportedRows, ASeriesKeyIsTheUIDWithItsIndexAndTheOriginalStands)
{
    importOne(QStringLiteral("9.1"));

    EXPECT_EQ(home.rows(QStringLiteral("SELECT originalSeriesInstanceUID, seriesInstanceUID FROM Series")),
              QStringList{QStringLiteral("1.2.3|1.2.30")});
}

TEST_F(ImportedRows, ImageFieldsComeFromTheElements)
{
    importOne(QStringLiteral("9.1"),
              {{QStringLiteral("fileType"), QStringLiteral("DICOM")},
               {QStringLiteral("imageID"), 5},
               {QStringLiteral("height"), 512},
               {QStringLiteral("width"), 256},
               {QStringLiteral("origin"), QVariantList{1.0, -0.5}},
               {QStringLiteral("sliceLocation"), 2.5},
               {QStringLiteral("ImageComments"), QStringLiteral("C")}});

    EXPECT_EQ(
        home.rows(QStringLiteral("SELECT frameID, instanceNumber, pathString, fileType, fileExtension, "
                                 "height, width, numberOfFrames, numberOfSeries, seriesInstanceUID, "
                                 "sopInstanceUID, orientation, hex(origin), sliceLocation, comment, "
                                 "modality, syncState, uploadDate FROM DicomImage")),
        QStringList{QStringLiteral("0|5|10000/0.dcm|DICOM|dcm|512|256|1|1|1.2.30|9.10|-|0000803F000000BF|"
                                   "2.5|C|CT|0|-")});
}

TEST_F(ImportedRows, AFileOfThreeFramesWritesThreeRowsOfOnePath)
{
    importOne(QStringLiteral("9.1"), {{QStringLiteral("numberOfFrames"), 3}, {QStringLiteral("imageID"), 7}});

    EXPECT_EQ(
        home.rows(QStringLiteral("SELECT pathString, frameID, instanceNumber FROM DicomImage ORDER BY pk")),
        (QStringList{QStringLiteral("10000/0.dcm|0|7"),
                     QStringLiteral("10000/0.dcm|1|8"),
                     QStringLiteral("10000/0.dcm|2|9")}));
}

TEST_F(ImportedRows, AFrameCountOfZeroAbsentOrNoNumberGivesOneRow)
{
    int expected = 0;
    for (const QVariant &frames : {QVariant(0), QVariant(), QVariant(QStringLiteral("abc")), QVariant(-4)}) {
        importOne(QStringLiteral("9.%1").arg(++expected), {{QStringLiteral("numberOfFrames"), frames}});
        EXPECT_EQ(index.counts().total.images, expected) << frames.toString().toStdString();
    }
}

TEST_F(ImportedRows, AHeaderThatClaimsBillionsOfRowsCountsAsOneThatClaimsNone)
{
    importOne(QStringLiteral("9.1"), {{QStringLiteral("numberOfFrames"), 2'000'000'000}});
    importOne(QStringLiteral("9.2"),
              {{QStringLiteral("numberOfSeries"), QStringLiteral("9000000000000000000")}});
    importOne(QStringLiteral("9.3"),
              {{QStringLiteral("numberOfSeries"), 100'000}, {QStringLiteral("numberOfFrames"), 100'000}});

    EXPECT_EQ(index.counts().total.images, 3);
    EXPECT_EQ(index.pendingImageUploads(9).size(), 3) << "each file goes to the cloud whole";
}

TEST_F(ImportedRows, NumbersThatDontFit32BitsCountAsMissing)
{
    importOne(QStringLiteral("9.1"),
              {{QStringLiteral("imageID"), QStringLiteral("2147483647")},
               {QStringLiteral("seriesNumber"), QStringLiteral("-2147483649")},
               {QStringLiteral("numberOfFrames"), 2}});

    EXPECT_EQ(home.rows(QStringLiteral("SELECT seriesNumber, instanceNumber FROM DicomImage JOIN Series "
                                       "ON Series.pk = series ORDER BY frameID")),
              (QStringList{QStringLiteral("0|0"), QStringLiteral("0|1")}));
}

TEST_F(ImportedRows, TwoFilesOfOneSeriesGiveOneSeriesRow)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("9.2"));

    EXPECT_EQ(index.counts().total, (EntityCounts{1, 1, 2}));
}

TEST_F(ImportedRows, AFileOfTwoSeriesWritesBoth)
{
    const auto summary = index.importFile(
        home.file(TemporaryIndex::image(QStringLiteral("9.1"), {{QStringLiteral("numberOfSeries"), 2}})));

    EXPECT_EQ(summary.seriesKeys, (QStringList{QStringLiteral("1.2.30"), QStringLiteral("1.2.31")}));
    EXPECT_EQ(home.rows(QStringLiteral("SELECT sopInstanceUID FROM DicomImage ORDER BY pk")),
              (QStringList{QStringLiteral("9.10"), QStringLiteral("9.11")}));
}

TEST_F(ImportedRows, AFileSentAgainGetsANewNumberAndGoesBackToNotSynced)
{
    const QString first = importOne(QStringLiteral("9.1"), {{QStringLiteral("sliceLocation"), 2.5}});
    index.recordUploadResult({}, first, true);
    const auto before = home.number(QStringLiteral("SELECT createDate FROM DicomImage"));

    const QString second = importOne(QStringLiteral("9.1"));

    EXPECT_NE(first, second);
    EXPECT_EQ(
        home.rows(QStringLiteral("SELECT pathString, syncState, uploadDate, sliceLocation FROM DicomImage")),
        QStringList{second + QStringLiteral("|0|-|2.5")})
        << "a slice location that is missing now stays";
    EXPECT_GT(home.number(QStringLiteral("SELECT createDate FROM DicomImage")), before);
    EXPECT_EQ(index.counts().notSynced, (EntityCounts{1, 1, 1}));
    EXPECT_EQ(filesInStore(), (QStringList{first, second})) << "the older file stays";
}

TEST_F(ImportedRows, AReimportUnderTheSamePathLeavesTheStateAlone)
{
    const QString stored = importOne(QStringLiteral("9.1"));
    index.recordUploadResult({}, stored, true);
    home.execute(QStringLiteral("UPDATE DicomImage SET pathString = ' 10000/1.dcm '"));

    importOne(QStringLiteral("9.1")); // becomes number 1

    EXPECT_EQ(home.rows(QStringLiteral("SELECT pathString, syncState FROM DicomImage")),
              QStringList{QStringLiteral("10000/1.dcm|1")});
}

TEST_F(ImportedRows, ARowWithoutAPathGoesBackToNotSynced)
{
    importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("UPDATE DicomImage SET pathString = NULL, syncState = 1, uploadDate = 5"));

    importOne(QStringLiteral("9.1"));

    EXPECT_EQ(home.rows(QStringLiteral("SELECT syncState, uploadDate FROM DicomImage")),
              QStringList{QStringLiteral("0|-")});
}

TEST_F(ImportedRows, TwoPatientsWithOneStudyUIDShareItsRow)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("9.2"), {{QStringLiteral("patientUID"), QStringLiteral("PAT2")}});

    EXPECT_EQ(index.counts().total.studies, 1);
}

TEST_F(ImportedRows, InstancesWithoutAUIDNeverReplaceOneAnother)
{
    const QString first = importOne(QString());
    const QString second = importOne(QString());

    EXPECT_EQ(home.rows(QStringLiteral("SELECT pathString, sopInstanceUID FROM DicomImage ORDER BY pk")),
              (QStringList{first + QStringLiteral("|0"), second + QStringLiteral("|0")}));
    EXPECT_EQ(index.pendingImageUploads(9).size(), 2);
}

TEST_F(ImportedRows, InstancesWhoseKeysMeetByTheirIndexStayApart)
{
    importOne(QStringLiteral("8"),
              {{QStringLiteral("seriesID"), QStringLiteral("5")}, {QStringLiteral("numberOfSeries"), 11}});
    const QString other =
        importOne(QStringLiteral("81"), {{QStringLiteral("seriesID"), QStringLiteral("51")}});

    EXPECT_EQ(home.rows(QStringLiteral("SELECT seriesInstanceUID, sopInstanceUID FROM DicomImage "
                                       "WHERE pathString = '%1'")
                            .arg(other)),
              QStringList{QStringLiteral("510|810")});
    EXPECT_EQ(index.counts().total.images, 12);
}

TEST_F(ImportFailures, AnEmptyURLIsRefusedBeforeAnythingTouchesTheDisk)
{
    disk.heal();

    expectError(QUrl(), Kind::invalidSourceURL, Blame::file, "Invalid source file URL for import.");
    expectError(QUrl::fromLocalFile(QString()),
                Kind::invalidSourceURL,
                Blame::file,
                "Invalid source file URL for import.");
    expectError(QUrl(QStringLiteral("https://example.com/a")),
                Kind::invalidSourceURL,
                Blame::file,
                "Invalid source file URL for import.");

    EXPECT_EQ(disk.steps(), 0);
}

TEST_F(ImportFailures, AMissingSourceCanNotBeCopied)
{
    expectError(QUrl::fromLocalFile(home.path(QStringLiteral("nowhere.dcm"))),
                Kind::copyToTemporaryFailed,
                Blame::reading,
                "Could not copy incoming file to a temporary location.");
    EXPECT_TRUE(filesInStore().isEmpty());
}

TEST_F(ImportFailures, ASourceThatCannotBeReadIsNoWantOfStorage)
{
    const QString folder = home.path(QStringLiteral("opens-and-does-not-read.dcm"));
    ASSERT_TRUE(QDir().mkdir(folder));

    expectError(QUrl::fromLocalFile(folder),
                Kind::copyToTemporaryFailed,
                Blame::reading,
                "Could not copy incoming file to a temporary location.");
    EXPECT_TRUE(filesInStore().isEmpty());
}

TEST_F(ImportFailures, AFileThatIsntDICOMIsTheFilesOwnFault)
{
    QFile file(home.path(QStringLiteral("letter.txt")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("Dear colleague");
    file.close();

    expectError(QUrl::fromLocalFile(file.fileName()),
                Kind::dicomParseFailed,
                Blame::file,
                "Could not parse incoming file as DICOM.");

    EXPECT_TRUE(file.exists());
    EXPECT_TRUE(filesInStore().isEmpty());
    EXPECT_EQ(importOne(QStringLiteral("9.1")), QStringLiteral("10000/0.dcm")) << "the number didn't rise";
}

TEST_F(ImportFailures, AParserThatBreaksDownSaysNothingAboutTheFile)
{
    home.parser.breakDown();

    expectError(home.file(TemporaryIndex::image(QStringLiteral("9.1"))),
                Kind::dicomParseFailed,
                Blame::storage,
                "Could not parse incoming file as DICOM.");
    EXPECT_TRUE(filesInStore().isEmpty());
}

TEST_F(ImportFailures, AFileThatCannotBeReadIsNotCalledUnreadable)
{
    home.parser.breakDown(platform::ParsedFile::Fate::trouble);

    expectError(home.file(TemporaryIndex::image(QStringLiteral("9.1"))),
                Kind::dicomParseFailed,
                Blame::reading,
                "Could not parse incoming file as DICOM.");
    EXPECT_TRUE(filesInStore().isEmpty());
}

TEST_F(ImportFailures, AStoreThatCanNotBeWrittenIsReportedAndTheNumberDoesNotRise)
{
    ASSERT_TRUE(QDir().mkpath(home.fileStoreRoot()));
    QFile obstacle(home.fileStoreRoot() + QStringLiteral("/10000"));
    ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly)); // in the place of the folder
    const QUrl source = home.file(TemporaryIndex::image(QStringLiteral("9.1")));

    expectError(source,
                Kind::moveToLocalDirectoryFailed,
                Blame::storage,
                "Could not move imported file to local storage.");

    EXPECT_TRUE(home.parser.reads(source.toLocalFile()));
    EXPECT_EQ(filesInStore(), QStringList{QStringLiteral("10000")}) << "no private copy is left";
    EXPECT_EQ(index.counts().total, (EntityCounts{0, 0, 0}));
    ASSERT_TRUE(obstacle.remove());
    EXPECT_EQ(importOne(QStringLiteral("9.1")), QStringLiteral("10000/0.dcm"));
}

TEST_F(ImportFailures, AFileWithoutPatientIsRejectedAndStaysInTheStore)
{
    const QUrl source =
        home.file(TemporaryIndex::image(QStringLiteral("9.1"), {{QStringLiteral("patientUID"), QString()}}));

    expectError(source, Kind::databaseSaveRejected, Blame::file, "DICOM metadata could not be persisted.");

    EXPECT_EQ(index.counts().total, (EntityCounts{0, 0, 0}));
    EXPECT_EQ(filesInStore(), QStringList{QStringLiteral("10000/0.dcm")});
}

TEST_F(ImportFailures, ASaveThatFailsIsReportedAndNotCalledSuccess)
{
    home.execute(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON DicomImage "
                                "BEGIN SELECT raise(ABORT, 'refused'); END"));

    expectError(home.file(TemporaryIndex::image(QStringLiteral("9.1"))),
                Kind::databaseSaveRejected,
                Blame::storage,
                "DICOM metadata could not be persisted.");

    EXPECT_EQ(index.counts().total, (EntityCounts{0, 0, 0})) << "no study, no series without its image";
    home.execute(QStringLiteral("DROP TRIGGER refuse"));
    importOne(QStringLiteral("9.2"));
    EXPECT_EQ(filesInStore(), QStringList{QStringLiteral("10000/1.dcm")}) << "what has no rows has gone";
}

TEST_F(ImportFailures, ABrokenStepOfTheDiskLosesNothingAndTheNextImportWorks)
{
    importOne(QStringLiteral("9.0"));
    const QUrl source = home.file(TemporaryIndex::image(QStringLiteral("9.1")));
    disk.heal();
    index.importFile(source);
    const int steps = disk.steps();
    ASSERT_GE(steps, 3) << "copy, rename, sync";
    const auto counts = index.counts().total;
    const int stored = static_cast<int>(filesInStore().size());

    for (int broken = 0; broken < steps; ++broken) {
        disk.failStep(broken, EACCES);
        EXPECT_THROW(index.importFile(source), GatewayImportError) << broken;

        EXPECT_TRUE(home.parser.reads(source.toLocalFile())) << broken;
        EXPECT_EQ(index.counts().total, counts) << broken;
        EXPECT_EQ(filesInStore().size(), stored) << broken;
    }
    disk.heal();
    EXPECT_NO_THROW(index.importFile(source));
    for (const PendingImageUpload &candidate : index.pendingImageUploads(9)) {
        EXPECT_TRUE(home.parser.reads(candidate.fileURL.toLocalFile()));
    }
}

TEST_F(ImportFailures, AFullDiskIsWaitedOut)
{
    importOne(QStringLiteral("9.0"));
    const QUrl source = home.file(TemporaryIndex::image(QStringLiteral("9.1")));
    for (int step = 0; step < 3; ++step) {
        disk.failStep(step, ENOSPC);
        std::atomic<bool> ended = false;
        std::thread importer([&] {
            EXPECT_NO_THROW(index.importFile(source)) << step;
            ended = true;
        });

        while (!ended) {
            home.clock.advance(std::chrono::milliseconds(100));
            std::this_thread::yield();
        }
        importer.join();
    }

    EXPECT_EQ(index.counts().total.images, 2);
}

TEST_F(ImportFailures, ADiskThatStaysFullIsReportedAfterHalfAMinute)
{
    const QUrl source = home.file(TemporaryIndex::image(QStringLiteral("9.1")));
    disk.failFromStep(0, ENOSPC);
    const auto start = home.clock.monotonic();
    std::atomic<bool> reported = false;
    std::thread importer([&] {
        expectError(source,
                    Kind::copyToTemporaryFailed,
                    Blame::storage,
                    "Could not copy incoming file to a temporary location.");
        reported = true;
    });

    while (!reported) {
        home.clock.advance(std::chrono::milliseconds(100));
        std::this_thread::yield();
    }
    importer.join();

    EXPECT_GE(home.clock.monotonic() - start, std::chrono::seconds(30));
    EXPECT_TRUE(QFile::exists(source.toLocalFile()));
}

TEST(ImportAndPowerCut, AnImportedFileIsThereWholeAfterwards)
{
    for (const ImportSource source : {ImportSource::foreign, ImportSource::ownInbox}) {
        QTemporaryDir volume;
        const QString inbox = volume.filePath(QStringLiteral("inbox.dcm"));
        testing::writeSyntheticFile(inbox, TemporaryIndex::image(QStringLiteral("9.1")));
        ForgetfulDisk disk(volume.path());
        TemporaryIndex home(disk, volume.filePath(QStringLiteral("Pavan Data")));

        home.index().importFile(QUrl::fromLocalFile(inbox), source);
        disk.remove(inbox);
        disk.cutPower();
        home.reopen();

        const auto candidates = home.index().pendingImageUploads(9);
        ASSERT_EQ(candidates.size(), 1);
        EXPECT_TRUE(home.parser.reads(candidates[0].fileURL.toLocalFile()));
        EXPECT_EQ(home.import(TemporaryIndex::image(QStringLiteral("9.2"))), QStringLiteral("10000/1.dcm"));
    }
}

} // namespace gateway::index

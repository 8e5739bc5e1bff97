#include "index/testing/deletion_world.h"
#include "platform/dicom/testing/identities.h"

#include <QtCore/QDir>

namespace gateway::index {

using platform::testing::seriesUid;
using platform::testing::studyUid;

namespace {

const QString kStudy = QStringLiteral("studyID");
const QString kSeries = QStringLiteral("seriesID");
const QString kFrames = QStringLiteral("numberOfFrames");

using Prune = testing::Deletion;
using DeleteStudies = testing::Deletion;
using DeleteSeries = testing::Deletion;

} // namespace

TEST_F(Prune, LetsGoOfRowsFilesAndEmptiedParents)
{
    const QString first = uploaded(QStringLiteral("9.1"), {{kFrames, 3}});
    const QString second = uploaded(QStringLiteral("9.2"), {{kSeries, QStringLiteral("5")}});
    home.announcements();

    EXPECT_EQ(pruneAll(), (LocalPruneResult{4, 4, 2, 1, 2, 0}));

    EXPECT_FALSE(isStored(first));
    EXPECT_FALSE(isStored(second));
    EXPECT_EQ(index.counts().total, (EntityCounts{0, 0, 0}));
    EXPECT_EQ(noted(), 0);
    EXPECT_EQ(home.announcements(), 1);
}

TEST_F(Prune, OfNothingTouchesNothing)
{
    importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("INSERT INTO Study (id) VALUES ('empty')"));
    home.announcements();

    EXPECT_EQ(pruneAll(), LocalPruneResult{});

    EXPECT_EQ(index.counts().total, (EntityCounts{2, 1, 1})) << "no sweep of emptied parents";
    EXPECT_EQ(home.announcements(), 0);
}

TEST_F(Prune, AnImageUploadedJustAtTheCutoffIsNotEligible)
{
    const QString path = uploaded(QStringLiteral("9.1"));
    const QDateTime uploadDate = home.clock.now();

    EXPECT_EQ(index.pruneSyncedImages(uploadDate), LocalPruneResult{});
    EXPECT_TRUE(isStored(path));
    EXPECT_EQ(index.pruneSyncedImages(uploadDate.addMSecs(1)).deletedImageCount, 1);
}

TEST_F(Prune, AnImageUploadedJustAtTheCutoffStaysWhenAnOlderOneGoes)
{
    const QString older = uploaded(QStringLiteral("9.1"));
    home.clock.advance(std::chrono::milliseconds(1));
    const QString path = uploaded(QStringLiteral("9.2"));

    EXPECT_EQ(index.pruneSyncedImages(home.clock.now()), (LocalPruneResult{1, 1, 0, 0, 1, 0}));

    EXPECT_FALSE(isStored(older));
    EXPECT_TRUE(isStored(path));
}

TEST_F(Prune, ASyncedImageWithoutUploadDateIsNeverEligible)
{
    const QString path = uploaded(QStringLiteral("9.1"));
    home.execute(QStringLiteral("UPDATE DicomImage SET uploadDate = NULL"));

    EXPECT_EQ(pruneAll(), LocalPruneResult{});
    EXPECT_TRUE(isStored(path));
}

TEST_F(Prune, AnImageInAnyOtherStateIsNeverEligibleHoweverOld)
{
    for (int row = 0; row < 4; ++row) {
        importOne(QStringLiteral("9.%1").arg(row));
    }
    home.execute(QStringLiteral("UPDATE DicomImage SET uploadDate = 5, syncState = CASE pk WHEN 1 THEN 0 "
                                "WHEN 2 THEN 2 WHEN 3 THEN 3 END"));

    EXPECT_EQ(pruneAll(), LocalPruneResult{});

    EXPECT_EQ(index.counts().total.images, 4);
    EXPECT_EQ(storedFiles().size(), 4);
}

TEST_F(Prune, AFileSharedByTwoRowsOfWhichOneGoesStaysOnDisk)
{
    const QString path = uploaded(QStringLiteral("9.1"), {{kFrames, 2}});
    home.execute(QStringLiteral("UPDATE DicomImage SET syncState = 2, uploadDate = NULL WHERE frameID = 1"));

    EXPECT_EQ(pruneAll(), (LocalPruneResult{1, 1, 0, 0, 0, 0}));

    EXPECT_TRUE(isStored(path));
    EXPECT_EQ(noted(), 0) << "the row that is left protects it, and takes it along when it goes";
    index.recordUploadResult({}, path, true);
    EXPECT_EQ(pruneAll(), (LocalPruneResult{1, 1, 1, 1, 1, 0}));
    EXPECT_FALSE(isStored(path));
}

TEST_F(Prune, OnlyTheSeriesThatAPersonDeletedFromTheCloudStays)
{
    const auto ofSeries = [](const QString &uid) {
        return QVariantMap{{kSeries, uid},
                           {QStringLiteral("seriesInstanceUID"), uid},
                           {QStringLiteral("seriesDICOMUID"), uid}};
    };
    const QString kept = uploaded(QStringLiteral("9.1"), ofSeries(QStringLiteral("1.9.10")));
    const QString other = uploaded(QStringLiteral("9.2"), ofSeries(QStringLiteral("1.9.1"))); // key 1.9.10

    ASSERT_TRUE(index.noteCloudDeletion(studyUid("1.2"), seriesUid("1.9.10"), CloudDeletion::done));

    EXPECT_EQ(pruneAll().deletedImageCount, 1);
    EXPECT_TRUE(isStored(kept));
    EXPECT_FALSE(isStored(other));
}

TEST_F(Prune, ARefusalTakesNothingBackThatAnEarlierDeletionMayHaveDone)
{
    const QString path = uploaded(QStringLiteral("9.1"));
    const QString study = QStringLiteral("1.2");
    ASSERT_TRUE(
        index.noteCloudDeletion(studyUid("1.2"), {}, CloudDeletion::begins)); // and the program is killed

    ASSERT_TRUE(index.noteCloudDeletion(studyUid("1.2"), {}, CloudDeletion::begins));
    ASSERT_TRUE(index.noteCloudDeletion(studyUid("1.2"), {}, CloudDeletion::refused));

    EXPECT_EQ(pruneAll(), LocalPruneResult{});
    EXPECT_TRUE(isStored(path));
}

TEST_F(Prune, AnImageThatAPersonDeletedFromTheCloudStaysUntilItIsSentAgain)
{
    const QString path = uploaded(QStringLiteral("9.1"));
    const QString study = QStringLiteral("1.2");

    ASSERT_TRUE(index.noteCloudDeletion(studyUid("1.2"), {}, CloudDeletion::begins));
    EXPECT_EQ(pruneAll(), LocalPruneResult{}) << "a program that ended here knows nothing else";
    ASSERT_TRUE(index.noteCloudDeletion(studyUid("1.2"), {}, CloudDeletion::refused));
    EXPECT_EQ(index.imagesOutsideCloud({study}), OutsideCloud());
    ASSERT_TRUE(index.noteCloudDeletion(studyUid("1.2"), seriesUid("1.2.3"), CloudDeletion::done));
    ASSERT_TRUE(index.noteCloudDeletion(studyUid("1.2"), {}, CloudDeletion::refused))
        << "of a second deletion";
    EXPECT_EQ(pruneAll(), LocalPruneResult{});
    EXPECT_EQ(index.imagesOutsideCloud({study}), (OutsideCloud{{study, 1}}));
    EXPECT_EQ(index.seriesImagesOutsideCloud(study, {QStringLiteral("1.2.30")}),
              (OutsideCloud{{QStringLiteral("1.2.30"), 1}}));

    home.execute(QStringLiteral("UPDATE DicomImage SET syncState = 3")); // a later try begins
    index.recordUploadResult({}, path, true);

    EXPECT_EQ(index.imagesOutsideCloud({study}), OutsideCloud());
    EXPECT_EQ(pruneAll(), (LocalPruneResult{1, 1, 1, 1, 1, 0}));
}

TEST_F(Prune, AnImageSentAnewKeepsItsNewFile)
{
    uploaded(QStringLiteral("9.1"));
    const QString anew = importOne(QStringLiteral("9.1"));

    EXPECT_EQ(pruneAll(), LocalPruneResult{});
    EXPECT_TRUE(isStored(anew));
}

TEST_F(Prune, KeepsParentsThatStillHoldImagesAndRollsThemUp)
{
    uploaded(QStringLiteral("9.1"));
    const QString waiting = importOne(QStringLiteral("9.2"));
    index.recordUploadResult({}, waiting, false);
    uploaded(QStringLiteral("9.3"), {{kSeries, QStringLiteral("5")}});

    EXPECT_EQ(pruneAll(), (LocalPruneResult{2, 2, 1, 0, 2, 0}));

    EXPECT_EQ(home.rows(QStringLiteral("SELECT syncState FROM Series")), QStringList{QStringLiteral("2")});
    EXPECT_EQ(home.rows(QStringLiteral("SELECT syncState FROM Study")), QStringList{QStringLiteral("2")});
    EXPECT_TRUE(isStored(waiting));
}

TEST_F(Prune, HealsParentsThatWereEmptiedEarlier)
{
    importOne(QStringLiteral("7.1"), {{kStudy, QStringLiteral("7")}, {kSeries, QStringLiteral("7.1")}});
    index.deleteSeries(QStringLiteral("7"), {QStringLiteral("7.10")});
    importOne(QStringLiteral("8.1"), {{kStudy, QStringLiteral("8")}});
    home.execute(QStringLiteral("DELETE FROM DicomImage"));
    ASSERT_EQ(index.counts().total, (EntityCounts{2, 1, 0}));
    uploaded(QStringLiteral("9.1"));

    EXPECT_EQ(pruneAll(), (LocalPruneResult{1, 1, 2, 3, 1, 0}));
    EXPECT_EQ(index.counts().total, (EntityCounts{0, 0, 0}));
}

TEST_F(Prune, ASlipOfAKeptCountTakesNoImageAlong)
{
    uploaded(QStringLiteral("9.1"));
    const QString waiting = importOne(QStringLiteral("9.2"), {{kSeries, QStringLiteral("5")}});
    home.execute(QStringLiteral("UPDATE Series SET imageCount = 0 WHERE seriesInstanceUID = '50'; "
                                "UPDATE Study SET seriesCount = 1"));

    EXPECT_EQ(pruneAll().deletedImageCount, 1);

    EXPECT_TRUE(isStored(waiting));
    EXPECT_EQ(home.rows(QStringLiteral("SELECT pathString FROM DicomImage")), QStringList{waiting});
}

TEST_F(Prune, ASaveThatFailsLeavesEveryRowAndFile)
{
    const QString path = uploaded(QStringLiteral("9.1"), {{kFrames, 2}});
    home.execute(QStringLiteral("CREATE TRIGGER refuse BEFORE DELETE ON Study "
                                "BEGIN SELECT raise(ABORT, 'refused'); END"));
    home.announcements();

    EXPECT_EQ(pruneAll(), (LocalPruneResult{2, 0, 0, 0, 0, 2}));

    EXPECT_TRUE(isStored(path));
    EXPECT_EQ(index.counts().total, (EntityCounts{1, 1, 2}));
    EXPECT_EQ(noted(), 0);
    EXPECT_EQ(home.announcements(), 0);
}

TEST_F(Prune, ASaveThatFailsHalfWayKeepsWhatWentBeforeAndCountsTheRest)
{
    uploaded(QStringLiteral("9.1"), {{kFrames, 700}});
    home.execute(QStringLiteral("CREATE TRIGGER refuse BEFORE DELETE ON DicomImage WHEN OLD.frameID = 600 "
                                "BEGIN SELECT raise(ABORT, 'refused'); END"));

    const LocalPruneResult result = pruneAll();

    EXPECT_EQ(result.eligibleImageCount, 700);
    EXPECT_GT(result.deletedImageCount, 0);
    EXPECT_EQ(result.failedImageCount, index.counts().total.images);
    EXPECT_EQ(result.deletedImageCount + result.failedImageCount, 700);
    EXPECT_EQ(result.deletedFileCount, 0);
    EXPECT_EQ(storedFiles().size(), 1);
    home.execute(QStringLiteral("DROP TRIGGER refuse"));
    EXPECT_EQ(pruneAll().deletedFileCount, 1);
    EXPECT_TRUE(storedFiles().isEmpty());
}

TEST_F(Prune, CountsManyBatchesAsOne)
{
    for (int number = 0; number < 3; ++number) {
        uploaded(QStringLiteral("9.%1").arg(number), {{kFrames, 400}});
    }

    EXPECT_EQ(pruneAll(), (LocalPruneResult{1200, 1200, 1, 1, 3, 0}));
}

TEST_F(Prune, ABlankPathIsNobodysFile)
{
    uploaded(QStringLiteral("9.1"));
    home.execute(QStringLiteral("UPDATE DicomImage SET pathString = ' '"));

    EXPECT_EQ(pruneAll(), (LocalPruneResult{1, 1, 1, 1, 0, 0}));
    EXPECT_TRUE(QDir(home.fileStoreRoot()).exists());
}

TEST_F(Prune, AnAbsolutePathIsRemovedThere)
{
    const QString elsewhere = home.path(QStringLiteral("elsewhere.dcm"));
    const QString path = uploaded(QStringLiteral("9.1"));
    ASSERT_TRUE(QFile::rename(index.fileURL(path).toLocalFile(), elsewhere));
    home.execute(QStringLiteral("UPDATE DicomImage SET pathString = '%1'").arg(elsewhere));

    EXPECT_EQ(pruneAll().deletedFileCount, 1);
    EXPECT_FALSE(QFile::exists(elsewhere));
}

TEST_F(Prune, AMissingFileIsNoErrorAndNotCounted)
{
    uploaded(QStringLiteral("9.1"));
    const QString missing = uploaded(QStringLiteral("9.2"));
    QFile::remove(index.fileURL(missing).toLocalFile());

    EXPECT_EQ(pruneAll(), (LocalPruneResult{2, 2, 1, 1, 1, 0}));
    EXPECT_EQ(noted(), 0);
}

TEST_F(DeleteStudies, TakeEverythingOfTheirsWhateverItsState)
{
    importOne(QStringLiteral("9.1"), {{kFrames, 2}});
    uploaded(QStringLiteral("9.2"), {{kSeries, QStringLiteral("5")}});
    const QString other = importOne(QStringLiteral("8.1"), {{kStudy, QStringLiteral("8")}});
    home.announcements();

    EXPECT_EQ(index.deleteStudies({QStringLiteral(" 1.2\n")}), (DeletionCounts{1, 1, 0}));

    EXPECT_EQ(index.counts().total, (EntityCounts{1, 1, 1}));
    EXPECT_EQ(storedFiles(), QStringList{index.fileURL(other).toLocalFile()});
    EXPECT_EQ(noted(), 0);
    EXPECT_EQ(home.announcements(), 0);
}

TEST_F(DeleteStudies, LeaveThoseOfWhichMoreWouldBeLostThanIsKnown)
{
    importOne(QStringLiteral("9.1"));
    uploaded(QStringLiteral("9.2"));
    uploaded(QStringLiteral("8.1"), {{kStudy, QStringLiteral("8")}});
    const QStringList both{QStringLiteral("1.2"), QStringLiteral("8")};
    const std::optional<OutsideCloud> known = index.imagesOutsideCloud(both);
    ASSERT_EQ(known, (OutsideCloud{{QStringLiteral("1.2"), 1}}));

    importOne(QStringLiteral("8.2"), {{kStudy, QStringLiteral("8")}});
    EXPECT_EQ(index.deleteStudies(both, known), (DeletionCounts{2, 1, 1}));

    EXPECT_EQ(index.counts().total, (EntityCounts{1, 1, 2}));
    EXPECT_EQ(index.deleteStudies(both, index.imagesOutsideCloud(both)), (DeletionCounts{2, 1, 1}));
    EXPECT_EQ(index.counts().total.images, 0);
}

TEST_F(DeleteStudies, OfAListOfBlanksGiveThreeZeros)
{
    EXPECT_EQ(index.deleteStudies({QString(), QStringLiteral("  "), QStringLiteral("\n")}),
              (DeletionCounts{0, 0, 0}));
}

TEST_F(DeleteStudies, OfOneUnknownIdentifierCountItAsFailed)
{
    importOne(QStringLiteral("9.1"));

    EXPECT_EQ(index.deleteStudies({QStringLiteral("4.4")}), (DeletionCounts{1, 0, 1}));
    EXPECT_EQ(index.counts().total.studies, 1);
}

TEST_F(DeleteStudies, CountARepeatedIdentifierOnce)
{
    importOne(QStringLiteral("9.1"));

    EXPECT_EQ(index.deleteStudies({QStringLiteral("1.2"), QStringLiteral(" 1.2 "), QStringLiteral("4.4")}),
              (DeletionCounts{2, 1, 1}));
}

TEST_F(DeleteStudies, GoByTheIdentityOfASnapshotAlsoWithoutAUID)
{
    importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("UPDATE Study SET studyInstanceUID = NULL"));
    const QString identity = index.studySnapshots().first().id;
    ASSERT_TRUE(identity.startsWith(QStringLiteral("x-coredata://")));

    EXPECT_EQ(index.deleteStudies({identity}), (DeletionCounts{1, 1, 0}));
    EXPECT_TRUE(storedFiles().isEmpty());
}

TEST_F(DeleteStudies, ThatCanNotBeSavedHaveAllFailedAndTouchNoFile)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("8.1"), {{kStudy, QStringLiteral("8")}});
    home.execute(
        QStringLiteral("CREATE TRIGGER refuse BEFORE DELETE ON Study WHEN OLD.studyInstanceUID = '8' "
                       "BEGIN SELECT raise(ABORT, 'refused'); END"));

    EXPECT_EQ(index.deleteStudies({QStringLiteral("1.2"), QStringLiteral("8")}), (DeletionCounts{2, 0, 2}));

    EXPECT_EQ(index.counts().total, (EntityCounts{2, 2, 2}));
    EXPECT_EQ(storedFiles().size(), 2);
    EXPECT_EQ(noted(), 0);
}

TEST_F(DeleteSeries, TakeTheirImagesAndLeaveTheStudy)
{
    importOne(QStringLiteral("9.1"));
    const QString other = importOne(QStringLiteral("9.2"), {{kSeries, QStringLiteral("5")}});

    EXPECT_EQ(index.deleteSeries(QStringLiteral("1.2"), {QStringLiteral("1.2.30"), QStringLiteral("4")}),
              (DeletionCounts{2, 1, 1}));

    EXPECT_EQ(index.counts().total, (EntityCounts{1, 1, 1}));
    EXPECT_EQ(storedFiles(), QStringList{index.fileURL(other).toLocalFile()});
}

TEST_F(DeleteSeries, LeaveThoseOfWhichMoreWouldBeLostThanIsKnown)
{
    uploaded(QStringLiteral("9.1"));
    const QStringList series{QStringLiteral("1.2.30")};
    const std::optional<OutsideCloud> known = index.seriesImagesOutsideCloud(QStringLiteral("1.2"), series);
    ASSERT_EQ(known, OutsideCloud());

    importOne(QStringLiteral("9.2"));

    EXPECT_EQ(index.deleteSeries(QStringLiteral("1.2"), series, known), (DeletionCounts{1, 0, 1}));
    EXPECT_EQ(index.seriesImagesOutsideCloud(QStringLiteral("1.2"), series),
              (OutsideCloud{{QStringLiteral("1.2.30"), 1}}));
    EXPECT_EQ(index.counts().total.images, 2);
}

TEST_F(DeleteSeries, LeaveAnEmptyStudyUntilThePruneThatFindsRows)
{
    importOne(QStringLiteral("9.1"));

    EXPECT_EQ(index.deleteSeries(QStringLiteral("1.2"), {QStringLiteral("1.2.30")}),
              (DeletionCounts{1, 1, 0}));

    EXPECT_EQ(index.counts().total, (EntityCounts{1, 0, 0}));
    uploaded(QStringLiteral("8.1"), {{kStudy, QStringLiteral("8")}});
    EXPECT_EQ(pruneAll().deletedStudyCount, 2);
}

TEST_F(DeleteSeries, OfABlankStudyHaveAllFailed)
{
    importOne(QStringLiteral("9.1"));

    EXPECT_EQ(index.deleteSeries(QStringLiteral(" \n"), {QStringLiteral("1.2.30"), QStringLiteral("5")}),
              (DeletionCounts{2, 0, 2}));
    EXPECT_EQ(index.deleteSeries(QStringLiteral("1.2"), {QStringLiteral(" ")}), (DeletionCounts{0, 0, 0}));
    EXPECT_EQ(index.counts().total.series, 1);
}

TEST_F(DeleteSeries, OfAnUnknownStudyHaveAllFailed)
{
    importOne(QStringLiteral("9.1"));

    EXPECT_EQ(index.deleteSeries(QStringLiteral("4.4"), {QStringLiteral("1.2.30")}),
              (DeletionCounts{1, 0, 1}));
}

TEST_F(DeleteSeries, OfAnotherStudyAreNotFound)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("8.1"), {{kStudy, QStringLiteral("8")}, {kSeries, QStringLiteral("5")}});

    EXPECT_EQ(index.deleteSeries(QStringLiteral("1.2"), {QStringLiteral("50")}), (DeletionCounts{1, 0, 1}));
    EXPECT_EQ(index.counts().total.series, 2);
}

} // namespace gateway::index

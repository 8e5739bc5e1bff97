#include "index/testing/temporary_index.h"
#include "platform/dicom/testing/identities.h"
#include "platform/sqlite/database.h"

#include <gtest/gtest.h>

#include <QtCore/QSet>

namespace gateway::index {

using platform::testing::instanceUid;

namespace {

using testing::TemporaryIndex;

class Uploads : public ::testing::Test
{
protected:
    QString importOne(const QString &uid, const QVariantMap &changes = {})
    {
        return home.import(TemporaryIndex::image(uid, changes));
    }

    QString importFrames(const QString &uid, int frames)
    {
        return importOne(uid, {{QStringLiteral("numberOfFrames"), frames}});
    }

    QStringList states() { return home.rows(QStringLiteral("SELECT syncState FROM DicomImage ORDER BY pk")); }

    QStringList paths(const QList<PendingImageUpload> &candidates)
    {
        QStringList result;
        for (const PendingImageUpload &candidate : candidates) {
            result.append(candidate.storagePath);
        }
        return result;
    }

    TemporaryIndex home;
    DicomDB &index = home.index();
};

using PendingUploads = Uploads;
using UploadMarks = Uploads;
using UploadResults = Uploads;
using Recovery = Uploads;

} // namespace

TEST_F(PendingUploads, ComeOldestFirst)
{
    const QString first = importOne(QStringLiteral("9.1"));
    const QString second = importOne(QStringLiteral("9.2"));
    const QString third = importOne(QStringLiteral("9.3"));

    EXPECT_EQ(paths(index.pendingImageUploads(2)), (QStringList{first, second}));
    EXPECT_EQ(paths(index.pendingImageUploads(9)), (QStringList{first, second, third}));
}

TEST_F(PendingUploads, TellWhichFilesAreDamaged)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("9.2"));
    home.execute(QStringLiteral("UPDATE DicomImage SET damaged = 1 WHERE sopInstanceUID = '9.10'"));

    const QList<PendingImageUpload> candidates = index.pendingImageUploads(9);

    EXPECT_TRUE(candidates.at(0).isDamaged);
    EXPECT_FALSE(candidates.at(1).isDamaged);
}

TEST_F(PendingUploads, TellWhatWasReadOfEachFileWhenItCame)
{
    const QString path = importOne(QStringLiteral("9.1"));
    const std::int64_t first = home.parser.versionOf(home.fileStoreRoot() + u'/' + path);
    EXPECT_EQ(index.pendingImageUploads(9).at(0).contentVersion, first);

    // When: the image comes again with other content
    importOne(QStringLiteral("9.1"), {{QStringLiteral("ImageComments"), QStringLiteral("corrected")}});

    EXPECT_NE(index.pendingImageUploads(9).at(0).contentVersion, first);
    EXPECT_NE(index.pendingImageUploads(9).at(0).contentVersion, 0);
}

TEST_F(PendingUploads, ALimitOfZeroOrLessActsAsOne)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("9.2"));

    EXPECT_EQ(index.pendingImageUploads(0).size(), 1);
    EXPECT_EQ(index.pendingImageUploads(-5).size(), 1);
}

TEST_F(PendingUploads, AllRowsOfAPathMakeOneCandidateAlsoWhenOthersLieBetween)
{
    const QString stored = importFrames(QStringLiteral("9.1"), 3);
    importOne(QStringLiteral("9.2"));
    importOne(QStringLiteral("9.3"));
    home.execute(
        QStringLiteral("UPDATE DicomImage SET createDate = createDate + 10 * frameID WHERE frameID > 0;"
                       "UPDATE DicomImage SET createDate = createDate + 5 WHERE sopInstanceUID <> '9.10'"));

    const auto candidates = index.pendingImageUploads(1);

    ASSERT_EQ(candidates.size(), 1);
    EXPECT_EQ(candidates[0].storagePath, stored);
    EXPECT_EQ(candidates[0].imageObjectIDs, (QList<ImageObjectID>{{1}, {2}, {3}}));
}

TEST_F(PendingUploads, RowsStandInOrderOfTheirCreateDate)
{
    importFrames(QStringLiteral("9.1"), 3);
    home.execute(QStringLiteral("UPDATE DicomImage SET createDate = createDate - pk"));

    EXPECT_EQ(index.pendingImageUploads(1)[0].imageObjectIDs, (QList<ImageObjectID>{{3}, {2}, {1}}));
}

TEST_F(PendingUploads, HoldEveryStateButSynced)
{
    for (int i = 0; i < 5; ++i) {
        importOne(QStringLiteral("9.%1").arg(i));
    }
    home.execute(
        QStringLiteral("UPDATE DicomImage SET syncState = CASE pk WHEN 1 THEN NULL ELSE pk - 2 END"));

    QList<ImageObjectID> offered;
    for (const PendingImageUpload &candidate : index.pendingImageUploads(9)) {
        offered += candidate.imageObjectIDs;
    }

    EXPECT_EQ(offered, (QList<ImageObjectID>{{1}, {2}, {4}, {5}})) << "row 3 is synced";
}

TEST_F(PendingUploads, NameTheInstanceByKeyAndByUID)
{
    importOne(QStringLiteral("9.1"), {{QStringLiteral("numberOfSeries"), 2}});

    const PendingImageUpload candidate = index.pendingImageUploads(1)[0];

    EXPECT_EQ(candidate.sopInstanceUIDs, (QStringList{QStringLiteral("9.10"), QStringLiteral("9.11")}));
    EXPECT_EQ(candidate.originalSOPInstanceUIDs, QList{instanceUid("9.1")});
}

TEST_F(PendingUploads, TellApartInstancesWhoseKeyIsAnothersUID)
{
    importOne(QStringLiteral("1.2.3"));
    importOne(QStringLiteral("1.2.30"));

    const auto candidates = index.pendingImageUploads(2);

    ASSERT_EQ(candidates.size(), 2);
    EXPECT_EQ(candidates[0].originalSOPInstanceUIDs, QList{instanceUid("1.2.3")});
    EXPECT_EQ(candidates[1].originalSOPInstanceUIDs, QList{instanceUid("1.2.30")});
    EXPECT_EQ(candidates[0].sopInstanceUIDs, QStringList{QStringLiteral("1.2.30")}) << "the key, no UID";
}

TEST_F(PendingUploads, BlankInstanceKeysStillMakeACandidate)
{
    const QString stored = importOne(QStringLiteral("9.1"));
    home.execute(
        QStringLiteral("UPDATE DicomImage SET sopInstanceUID = '  ', originalSOPInstanceUID = NULL"));

    const auto candidates = index.pendingImageUploads(1);

    ASSERT_EQ(paths(candidates), QStringList{stored});
    EXPECT_TRUE(candidates[0].sopInstanceUIDs.isEmpty());
    EXPECT_TRUE(candidates[0].originalSOPInstanceUIDs.isEmpty());
}

TEST_F(PendingUploads, ABlankPathIsNeverChosenButCounts)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("9.2"));
    importOne(QStringLiteral("9.3"));
    home.execute(QStringLiteral("UPDATE DicomImage SET pathString = CASE pk WHEN 1 THEN NULL WHEN 2 THEN '' "
                                "ELSE ' \t' END"));

    EXPECT_TRUE(index.pendingImageUploads(5).isEmpty());
    EXPECT_EQ(index.counts().notSynced.images, 3);
}

TEST_F(PendingUploads, ARelativePathLiesBelowTheRootAndAnAbsoluteOneStays)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("9.2"));
    home.execute(QStringLiteral("UPDATE DicomImage SET pathString = '/elsewhere/a.dcm' WHERE pk = 2"));

    const auto candidates = index.pendingImageUploads(2);

    EXPECT_EQ(candidates[0].fileURL.toLocalFile(), home.fileStoreRoot() + QStringLiteral("/10000/0.dcm"));
    EXPECT_EQ(candidates[1].fileURL.toLocalFile(), QStringLiteral("/elsewhere/a.dcm"));
}

TEST_F(PendingUploads, ARunWithACursorIsOfferedEachCandidateOnceHoweverManyFail)
{
    for (int i = 0; i < 11; ++i) {
        importFrames(QStringLiteral("9.%1").arg(i), 1 + i % 3);
    }
    PendingCursor cursor;
    QStringList tried;

    for (auto page = *index.pendingImageUploads(2, cursor); !page.isEmpty();
         page = *index.pendingImageUploads(2, cursor)) {
        for (const PendingImageUpload &candidate : page) {
            tried.append(candidate.storagePath);
            index.recordUploadResult(candidate.imageObjectIDs, candidate.storagePath, false);
        }
    }

    EXPECT_EQ(tried.size(), 11);
    EXPECT_EQ(QSet<QString>(tried.begin(), tried.end()).size(), 11);
    EXPECT_EQ(index.counts().failedImages, index.counts().total.images);
}

TEST_F(PendingUploads, ACursorOffersAFileWithRowsOnBothSidesOnce)
{
    const QString split = importFrames(QStringLiteral("9.1"), 2);
    const QString other = importOne(QStringLiteral("9.2"));
    const QString last = importOne(QStringLiteral("9.3"));
    home.execute(QStringLiteral("UPDATE DicomImage SET createDate = createDate + 100 WHERE frameID = 1"));
    PendingCursor cursor;

    EXPECT_EQ(paths(*index.pendingImageUploads(1, cursor)), QStringList{split});
    EXPECT_EQ(paths(*index.pendingImageUploads(1, cursor)), QStringList{other});
    EXPECT_EQ(paths(*index.pendingImageUploads(1, cursor)), QStringList{last});
    EXPECT_TRUE(index.pendingImageUploads(1, cursor)->isEmpty());
}

TEST_F(PendingUploads, ACursorIsOfferedWhatArrivesDuringTheRun)
{
    importOne(QStringLiteral("9.1"));
    PendingCursor cursor;
    index.pendingImageUploads(5, cursor);
    ASSERT_TRUE(index.pendingImageUploads(5, cursor)->isEmpty());

    const QString late = importOne(QStringLiteral("9.2"));
    const QString again = importOne(QStringLiteral("9.1"));

    EXPECT_EQ(paths(*index.pendingImageUploads(5, cursor)), (QStringList{late, again}));
}

TEST_F(PendingUploads, AreUnknownWhileTheIndexCanNotBeReadAndComeBackBehindTheSameCursor)
{
    const QString first = importOne(QStringLiteral("9.1"));
    const QString second = importOne(QStringLiteral("9.2"));
    PendingCursor cursor;
    ASSERT_EQ(paths(*index.pendingImageUploads(1, cursor)), QStringList{first});

    home.execute(QStringLiteral("ALTER TABLE DicomImage RENAME TO Hidden"));
    EXPECT_TRUE(index.pendingImageUploads(1).isEmpty());
    EXPECT_EQ(index.pendingImageUploads(1, cursor), std::nullopt);
    home.execute(QStringLiteral("ALTER TABLE Hidden RENAME TO DicomImage"));

    EXPECT_EQ(paths(*index.pendingImageUploads(1, cursor)), QStringList{second});
}

TEST_F(UploadMarks, MoveRowsAndTheirParentsAndTellOnce)
{
    importFrames(QStringLiteral("9.1"), 2);
    importOne(QStringLiteral("9.2"));

    index.markImagesInProgress(index.pendingImageUploads(1)[0].imageObjectIDs);

    EXPECT_EQ(states(), (QStringList{QStringLiteral("3"), QStringLiteral("3"), QStringLiteral("0")}));
    EXPECT_EQ(home.number(QStringLiteral("SELECT syncState FROM Series")), 3);
    EXPECT_EQ(home.number(QStringLiteral("SELECT syncState FROM Study")), 3);
    EXPECT_EQ(home.announcements(), 1);
}

TEST_F(UploadMarks, PassOverRowsThatAreGone)
{
    importOne(QStringLiteral("9.1"));

    index.markImagesInProgress({});
    index.markImagesInProgress({{77}});
    EXPECT_EQ(home.announcements(), 0);

    index.markImagesInProgress({{77}, {1}});
    EXPECT_EQ(states(), QStringList{QStringLiteral("3")});
}

TEST_F(UploadMarks, LeaveTheUploadDateAlone)
{
    importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("UPDATE DicomImage SET uploadDate = 5"));

    index.markImagesInProgress({{1}});

    EXPECT_EQ(home.number(QStringLiteral("SELECT uploadDate FROM DicomImage")), 5);
}

TEST_F(UploadResults, ASuccessSyncsAllRowsOfTheFileWithOneDate)
{
    const QString stored = importFrames(QStringLiteral("9.1"), 3);

    EXPECT_EQ(index.recordUploadResult({{1}}, stored, true), 3);

    const auto now = home.clock.now().toMSecsSinceEpoch();
    EXPECT_EQ(home.rows(QStringLiteral("SELECT DISTINCT syncState, uploadDate FROM DicomImage")),
              QStringList{QStringLiteral("1|%1").arg(now)});
    EXPECT_EQ(home.number(QStringLiteral("SELECT syncState FROM Study")), 1);
    EXPECT_EQ(home.announcements(), 1);
}

TEST_F(UploadResults, NoIdentifiersAndAPathUpdateAllRowsOfThatPath)
{
    const QString stored = importFrames(QStringLiteral("9.1"), 2);
    importOne(QStringLiteral("9.2"));

    EXPECT_EQ(index.recordUploadResult({}, QStringLiteral("  %1\n").arg(stored), true), 2);

    EXPECT_EQ(states(), (QStringList{QStringLiteral("1"), QStringLiteral("1"), QStringLiteral("0")}));
}

TEST_F(UploadResults, NoIdentifiersAndABlankPathGiveZero)
{
    importOne(QStringLiteral("9.1"));

    EXPECT_EQ(index.recordUploadResult({}, std::nullopt, true), 0);
    EXPECT_EQ(index.recordUploadResult({}, QStringLiteral(" \n"), true), 0);
    EXPECT_EQ(states(), QStringList{QStringLiteral("0")});
    EXPECT_EQ(home.announcements(), 0);
}

TEST_F(UploadResults, IdentifiersWithoutAPathMoveThemselves)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("9.2"));

    EXPECT_EQ(index.recordUploadResult({{2}, {2}, {77}}, std::nullopt, true), 1);

    EXPECT_EQ(states(), (QStringList{QStringLiteral("0"), QStringLiteral("1")}));
}

TEST_F(UploadResults, AFailureClearsTheUploadDate)
{
    const QString stored = importOne(QStringLiteral("9.1"));
    index.recordUploadResult({}, stored, true);

    EXPECT_EQ(index.recordUploadResult({}, stored, false), 1);

    EXPECT_EQ(home.rows(QStringLiteral("SELECT syncState, uploadDate FROM DicomImage")),
              QStringList{QStringLiteral("2|-")});
}

TEST_F(UploadResults, AFileSentAgainDuringItsUploadIsNotMarkedByTheOldResult)
{
    importOne(QStringLiteral("9.1"));
    const PendingImageUpload old = index.pendingImageUploads(1)[0];
    index.markImagesInProgress(old.imageObjectIDs);
    const QString renewed = importOne(QStringLiteral("9.1"));

    EXPECT_EQ(index.recordUploadResult(old.imageObjectIDs, old.storagePath, true), 0);

    EXPECT_EQ(states(), QStringList{QStringLiteral("0")});
    EXPECT_EQ(paths(index.pendingImageUploads(5)), QStringList{renewed});
}

TEST_F(UploadResults, AResultForRowsDeletedMeanwhileMeetsNoStranger)
{
    const QString stored = importOne(QStringLiteral("9.1"));
    const PendingImageUpload gone = index.pendingImageUploads(1)[0];
    home.execute(QStringLiteral("DELETE FROM DicomImage"));
    importOne(QStringLiteral("9.2"));

    EXPECT_EQ(index.recordUploadResult(gone.imageObjectIDs, std::nullopt, true), 0);
    EXPECT_EQ(index.recordUploadResult(gone.imageObjectIDs, stored, true), 0);

    EXPECT_EQ(states(), QStringList{QStringLiteral("0")});
}

TEST_F(UploadResults, WhatWasSentIsKnownAfterItsRowsAreGone)
{
    const QString path = importOne(QStringLiteral("9.1"));
    index.noteSending({{instanceUid("9.1"), 7}});
    EXPECT_FALSE(index.mayOtherVersionBeSent({instanceUid("9.1"), 7}));
    index.recordUploadResult({{1}}, path, true);

    index.pruneSyncedImages(QDateTime::currentDateTimeUtc().addYears(100));

    EXPECT_EQ(index.counts().total.images, 0);
    EXPECT_FALSE(index.mayOtherVersionBeSent({instanceUid("9.1"), 7}));
    EXPECT_TRUE(index.mayOtherVersionBeSent({instanceUid("9.1"), 8}));
}

TEST_F(UploadResults, TheVersionThatWasOnItsWayIsKnownAfterTheProcessDied)
{
    importOne(QStringLiteral("9.1"));
    index.markImagesInProgress({{1}});
    EXPECT_TRUE(index.noteSending({{instanceUid("9.1"), 7}}));

    home.reopen();
    home.index().recoverInProgressImages();

    EXPECT_FALSE(home.index().mayOtherVersionBeSent({instanceUid("9.1"), 7}));
    EXPECT_TRUE(home.index().mayOtherVersionBeSent({instanceUid("9.1"), 8}));
}

TEST_F(UploadResults, ANoteTellsWhatWasSentBefore)
{
    const SentInstance first{instanceUid("9.1"), 7};
    const SentInstance other{instanceUid("9.2"), 7};

    EXPECT_EQ(index.noteSending({first}), QList{SentBefore::nothing});
    EXPECT_EQ(index.noteSending({other, first}),
              (QList{SentBefore::nothing, SentBefore::thisVersionOnItsWay}));
    EXPECT_EQ(index.noteSending({{instanceUid("9.1"), 8}}), QList{SentBefore::anotherVersion});
    EXPECT_EQ(index.noteSending({first}), QList{SentBefore::unknown});
}

TEST_F(UploadResults, AResultTellsWhetherTheVersionArrivedAlsoWhenTheFileComesAgain)
{
    const SentInstance sent{instanceUid("9.1"), 7};
    const QString path = importOne(QStringLiteral("9.1"));
    index.noteSending({sent});
    EXPECT_EQ(index.sentBefore(sent), SentBefore::thisVersionOnItsWay);

    index.recordUploadResult(
        {{1}}, path, false, {.version = sent}); // of no class: no failure of the file is kept
    importOne(QStringLiteral("9.1"));

    EXPECT_EQ(index.sentBefore(sent), SentBefore::thisVersionInVain);
    index.noteSending({sent});
    EXPECT_EQ(index.sentBefore(sent), SentBefore::thisVersionInVain);
    index.recordUploadResult({}, path, true, {.version = sent});
    EXPECT_EQ(index.sentBefore(sent), SentBefore::thisVersion);
}

TEST_F(UploadResults, OnlyWhatWasOnItsWayWhenAnotherProcessDiedCountsAsBrokenOff)
{
    const SentInstance sent{instanceUid("9.1"), 7};
    const QString path = importOne(QStringLiteral("9.1"));
    index.noteSending({sent});
    home.execute(QStringLiteral("CREATE TRIGGER refuse BEFORE UPDATE OF syncState ON DicomImage "
                                "BEGIN SELECT raise(ABORT, 'refused'); END"));

    EXPECT_EQ(index.recordUploadResult({}, path, false, {.version = sent}), std::nullopt);
    EXPECT_EQ(index.sentBefore(sent), SentBefore::thisVersionOnItsWay) << "this process knows of the try";

    home.reopen();
    EXPECT_EQ(home.index().sentBefore(sent), SentBefore::thisVersionBrokeOff);
    EXPECT_EQ(home.index().noteSending({sent}), QList{SentBefore::thisVersionBrokeOff});
    EXPECT_EQ(home.index().sentBefore(sent), SentBefore::thisVersionOnItsWay) << "it goes again from here";
}

TEST_F(UploadResults, AFailureThatIsNotedOutlivesTheProcessBeforeItsResultIsRecorded)
{
    const SentInstance sent{instanceUid("9.1"), 7};
    importOne(QStringLiteral("9.1"));
    index.noteSending({sent});

    index.noteTriedInVain({sent});
    home.reopen();

    EXPECT_EQ(home.index().sentBefore(sent), SentBefore::thisVersionInVain);
}

TEST_F(UploadResults, OutliveTheirRowsWithTheTimeOfWhatWasSent)
{
    const QString path = importOne(QStringLiteral("9.1"));
    const std::int64_t acknowledged = index.pendingImageUploads(1).first().acknowledged;
    ASSERT_GT(acknowledged, 0);
    index.noteSending({{instanceUid("9.1"), 7, acknowledged}});
    index.recordUploadResult({}, path, true, {.version = SentInstance{instanceUid("9.1"), 7, acknowledged}});
    home.execute(QStringLiteral("DELETE FROM DicomImage"));

    EXPECT_EQ(index.sentBefore({instanceUid("9.1"), 8, acknowledged - 1}), SentBefore::laterVersion);
    EXPECT_EQ(index.sentBefore({instanceUid("9.1"), 8, acknowledged + 1}), SentBefore::anotherVersion);
}

TEST_F(UploadResults, WhatIsTriedAgainIsNotNotedAgain)
{
    index.noteSending({{instanceUid("9.1"), 7}, {instanceUid("9.2"), 7}});
    home.execute(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON SentInstance "
                                "BEGIN SELECT raise(ABORT, 'refused'); END"));

    EXPECT_TRUE(index.noteSending({{instanceUid("9.1"), 7}, {instanceUid("9.2"), 7}}));
    EXPECT_FALSE(index.noteSending({{instanceUid("9.1"), 7}, {instanceUid("9.3"), 7}}))
        << "it could not be written";
}

TEST_F(UploadResults, AFailedSaveIsToldAndChangesNothing)
{
    const QString stored = importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("CREATE TRIGGER refuse BEFORE UPDATE OF syncState ON Series "
                                "BEGIN SELECT raise(ABORT, 'refused'); END"));

    EXPECT_EQ(index.recordUploadResult({}, stored, true), std::nullopt);
    index.markImagesInProgress({{1}});

    EXPECT_EQ(states(), QStringList{QStringLiteral("0")});
    EXPECT_EQ(home.announcements(), 0);
}

TEST_F(Recovery, PutsRowsAndParentsBack)
{
    importFrames(QStringLiteral("9.1"), 2);
    importOne(QStringLiteral("9.2"), {{QStringLiteral("studyID"), QStringLiteral("7")}});
    index.markImagesInProgress({{1}, {2}, {3}});
    home.execute(QStringLiteral("UPDATE DicomImage SET uploadDate = 5"));
    home.announcements();

    EXPECT_EQ(index.recoverInProgressImages(), (RecoveryCounts{3, 2, 2, true}));

    EXPECT_EQ(home.rows(QStringLiteral("SELECT DISTINCT syncState, uploadDate FROM DicomImage")),
              QStringList{QStringLiteral("0|-")});
    EXPECT_EQ(home.rows(QStringLiteral("SELECT DISTINCT syncState FROM Series")),
              QStringList{QStringLiteral("0")});
    EXPECT_EQ(home.announcements(), 1);
}

TEST_F(Recovery, ComputesTheSeriesFromItsRows)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("9.2"));
    home.execute(QStringLiteral("UPDATE DicomImage SET syncState = 2 WHERE pk = 1"));
    index.markImagesInProgress({{2}});
    ASSERT_EQ(home.number(QStringLiteral("SELECT syncState FROM Series")), 3);

    index.recoverInProgressImages();

    EXPECT_EQ(home.number(QStringLiteral("SELECT syncState FROM Series")), 2);
}

TEST_F(Recovery, WithoutRowsInProgressSavesAndPostsNothing)
{
    importOne(QStringLiteral("9.1"));
    platform::Database onlooker =
        platform::Database::open(home.indexFile(), platform::Database::Access::readOnly);
    const auto commits = [&] { return onlooker.integer("PRAGMA data_version"); };
    const std::int64_t before = commits();

    EXPECT_EQ(index.recoverInProgressImages(), (RecoveryCounts{0, 0, 0, false}));

    EXPECT_EQ(commits(), before);
    EXPECT_EQ(home.announcements(), 0);
    index.markImagesInProgress({{1}});
    EXPECT_NE(commits(), before) << "it would have shown";
}

TEST_F(Recovery, AndAResetThatCanNotBeSavedGiveZeroAndChangeNothing)
{
    importOne(QStringLiteral("9.1"));
    index.markImagesInProgress({{1}});
    home.announcements();
    home.execute(QStringLiteral("CREATE TRIGGER refuse BEFORE UPDATE OF syncState ON Series "
                                "BEGIN SELECT raise(ABORT, 'refused'); END"));

    EXPECT_EQ(index.recoverInProgressImages(), (RecoveryCounts{0, 0, 0, false}));
    EXPECT_EQ(index.resetInProgressImages({{1}}), 0);

    EXPECT_EQ(states(), QStringList{QStringLiteral("3")});
    EXPECT_EQ(home.announcements(), 0);
}

TEST_F(Recovery, AResetLeavesRowsWithAResultAlone)
{
    for (int i = 0; i < 4; ++i) {
        importOne(QStringLiteral("9.%1").arg(i));
    }
    home.execute(QStringLiteral("UPDATE DicomImage SET syncState = pk - 1, uploadDate = 5"));

    EXPECT_EQ(index.resetInProgressImages({{1}, {2}, {3}, {4}, {77}}), 1);

    EXPECT_EQ(
        home.rows(QStringLiteral("SELECT syncState, uploadDate FROM DicomImage ORDER BY pk")),
        (QStringList{
            QStringLiteral("0|5"), QStringLiteral("1|5"), QStringLiteral("2|5"), QStringLiteral("0|-")}));
    EXPECT_EQ(home.announcements(), 0);
    EXPECT_EQ(index.resetInProgressImages({}), 0);
}

} // namespace gateway::index

#include "index/sync_state.h"

#include "index/testing/temporary_index.h"
#include "platform/sqlite/database.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace gateway::index {

namespace {

using testing::TemporaryIndex;

SyncState stateOfValues(const std::vector<int> &values)
{
    StateTally tally;
    for (const int value : values) {
        ++tally.rows;
        tally.synced += value == 1;
        tally.failed += value == 2;
        tally.inProgress += value == 3;
    }
    return stateOf(tally);
}

// The counts that triggers keep, and the same counts taken from the rows themselves.
const QString kKeptSeries = QStringLiteral(
    "SELECT pk, imageCount, syncedCount, failedCount, inProgressCount FROM Series ORDER BY pk");
const QString kCountedSeries =
    QStringLiteral("SELECT pk, (SELECT count(*) FROM DicomImage i WHERE i.series = s.pk),"
                   "(SELECT count(*) FROM DicomImage i WHERE i.series = s.pk AND i.syncState = 1),"
                   "(SELECT count(*) FROM DicomImage i WHERE i.series = s.pk AND i.syncState = 2),"
                   "(SELECT count(*) FROM DicomImage i WHERE i.series = s.pk AND i.syncState = 3) FROM "
                   "Series s ORDER BY pk");
const QString kKeptStudies =
    QStringLiteral("SELECT pk, imageCount, syncedCount, failedCount, inProgressCount, "
                   "seriesCount, emptySeriesCount FROM Study ORDER BY pk");
const QString kCountedStudies = QStringLiteral(
    "SELECT pk, (SELECT count(*) FROM DicomImage i JOIN Series s ON s.pk = series WHERE study = t.pk),"
    "(SELECT count(*) FROM DicomImage i JOIN Series s ON s.pk = series WHERE study = t.pk AND i.syncState = "
    "1),"
    "(SELECT count(*) FROM DicomImage i JOIN Series s ON s.pk = series WHERE study = t.pk AND i.syncState = "
    "2),"
    "(SELECT count(*) FROM DicomImage i JOIN Series s ON s.pk = series WHERE study = t.pk AND i.syncState = "
    "3),"
    "(SELECT count(*) FROM Series s WHERE study = t.pk),"
    "(SELECT count(*) FROM Series s WHERE study = t.pk AND NOT EXISTS"
    " (SELECT 1 FROM DicomImage i WHERE i.series = s.pk)) FROM Study t ORDER BY pk");
const QString kKeptLedger =
    QStringLiteral("SELECT studyCount, syncedStudyCount, seriesCount, syncedSeriesCount, imageCount, "
                   "syncedCount, failedCount FROM Ledger");
const QString kCountedLedger =
    QStringLiteral("SELECT (SELECT count(*) FROM Study), (SELECT count(*) FROM Study WHERE syncState = 1),"
                   "(SELECT count(*) FROM Series), (SELECT count(*) FROM Series WHERE syncState = 1),"
                   "(SELECT count(*) FROM DicomImage), (SELECT count(*) FROM DicomImage WHERE syncState = 1),"
                   "(SELECT count(*) FROM DicomImage WHERE syncState = 2)");
const QString kKeptActivity = QStringLiteral(
    "SELECT slot, received, sent FROM Activity WHERE received <> 0 OR sent <> 0 ORDER BY slot");
const QString kCountedActivity = QStringLiteral(
    "SELECT slot, sum(received), sum(sent) FROM ("
    "SELECT createDate / 300000 AS slot, 1 AS received, 0 AS sent FROM DicomImage UNION ALL "
    "SELECT uploadDate / 300000, 0, 1 FROM DicomImage WHERE syncState = 1 AND uploadDate IS NOT NULL) "
    "GROUP BY slot ORDER BY slot");
const QString kKeptHours = QStringLiteral(
    "SELECT hour, received, sent FROM ActivityHour WHERE received <> 0 OR sent <> 0 ORDER BY hour");
const QString kCountedHours = QStringLiteral(
    "SELECT hour, sum(received), sum(sent) FROM ("
    "SELECT createDate / 3600000 AS hour, 1 AS received, 0 AS sent FROM DicomImage UNION ALL "
    "SELECT uploadDate / 3600000, 0, 1 FROM DicomImage WHERE syncState = 1 AND uploadDate IS NOT NULL) "
    "GROUP BY hour ORDER BY hour");

// The rule over a set of states, written out in SQL over the rows and not over the counts.
QString ruleOver(const QString &states)
{
    return QStringLiteral("(SELECT CASE WHEN count(*) > 0 AND count(*) = total(v = 1) THEN 1 "
                          "WHEN total(v = 3) > 0 THEN 3 WHEN total(v = 2) > 0 THEN 2 ELSE 0 END FROM (%1))")
        .arg(states);
}

class Dice
{
public:
    Dice() : m_seed(std::random_device()()), m_engine(m_seed) {}

    unsigned seed() const { return m_seed; }
    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(m_engine); }

private:
    unsigned m_seed;
    std::mt19937 m_engine;
};

void importSomething(TemporaryIndex &home, Dice &dice)
{
    home.clock.advance(std::chrono::minutes(dice.below(4)));
    home.import(
        TemporaryIndex::image(QStringLiteral("9.%1").arg(dice.below(6)),
                              {{QStringLiteral("studyID"), QStringLiteral("1.%1").arg(dice.below(3))},
                               {QStringLiteral("seriesID"), QStringLiteral("2.%1").arg(dice.below(3))},
                               {QStringLiteral("numberOfFrames"), dice.below(4)},
                               {QStringLiteral("numberOfSeries"), dice.below(3)}}));
}

void uploadSomething(TemporaryIndex &home, Dice &dice)
{
    const auto candidates = home.index().pendingImageUploads(1 + dice.below(3));
    for (const PendingImageUpload &candidate : candidates) {
        home.index().markImagesInProgress(candidate.imageObjectIDs);
        switch (dice.below(4)) {
        case 0:
            home.index().recordUploadResult(candidate.imageObjectIDs, candidate.storagePath, false);
            break;
        case 1:
            home.index().resetInProgressImages(candidate.imageObjectIDs);
            break;
        case 2:
            home.index().recordUploadResult(candidate.imageObjectIDs, candidate.storagePath, true);
            break;
        default:
            break; // left in progress
        }
    }
}

void dropSomething(TemporaryIndex &home, Dice &dice)
{
    const QString tables[] = {
        QStringLiteral("DicomImage"), QStringLiteral("Series"), QStringLiteral("Study")};
    const QString table = tables[dice.below(3)];
    home.execute(QStringLiteral("PRAGMA foreign_keys = ON; DELETE FROM %1 WHERE pk = (SELECT pk FROM %1 "
                                "ORDER BY pk LIMIT 1 OFFSET %2)")
                     .arg(table)
                     .arg(dice.below(6)));
}

void doSomething(TemporaryIndex &home, Dice &dice)
{
    switch (dice.below(8)) {
    case 0:
    case 1:
    case 2:
        return importSomething(home, dice);
    case 3:
    case 4:
    case 5:
        return uploadSomething(home, dice);
    case 6:
        home.index().recoverInProgressImages();
        return;
    default:
        return dropSomething(home, dice);
    }
}

} // namespace

TEST(SyncStates, RollUpAsTheRuleSays)
{
    EXPECT_EQ(stateOfValues({1, 1, 2}), SyncState::failed);
    EXPECT_EQ(stateOfValues({1, 2, 3}), SyncState::inProgress);
    EXPECT_EQ(stateOfValues({1, 1}), SyncState::synced);
    EXPECT_EQ(stateOfValues({0, 1}), SyncState::notSynced);
    EXPECT_EQ(stateOfValues({}), SyncState::notSynced);
}

TEST(SyncStates, AnAbsentStateCountsAsNotSyncedAndKeepsASeriesFromBeingSynced)
{
    TemporaryIndex home;
    home.import(TemporaryIndex::image(QStringLiteral("9.1")));
    home.import(TemporaryIndex::image(QStringLiteral("9.2")));
    home.execute(QStringLiteral("UPDATE DicomImage SET syncState = CASE pk WHEN 1 THEN 1 END"));

    home.index().rollUpAllStates();

    EXPECT_EQ(home.number(QStringLiteral("SELECT syncState FROM Series")), 0);
    EXPECT_EQ(home.index().counts().notSynced, (EntityCounts{1, 1, 1}));
}

TEST(SyncStates, AnEmptySeriesKeepsItsStudyFromBeingSyncedInTheSweepAlone)
{
    TemporaryIndex home;
    const QString stored = home.import(TemporaryIndex::image(QStringLiteral("9.1")));
    home.import(
        TemporaryIndex::image(QStringLiteral("9.2"), {{QStringLiteral("seriesID"), QStringLiteral("5")}}));
    home.execute(QStringLiteral("DELETE FROM DicomImage WHERE sopInstanceUID = '9.20'"));

    home.index().recordUploadResult({}, stored, true);
    EXPECT_EQ(home.number(QStringLiteral("SELECT syncState FROM Study")), 1);

    EXPECT_TRUE(home.index().rollUpAllStates());
    EXPECT_EQ(home.number(QStringLiteral("SELECT syncState FROM Study")), 0);
}

TEST(SyncStates, TheSweepReportsWhetherAnythingChanged)
{
    TemporaryIndex home;
    home.import(TemporaryIndex::image(QStringLiteral("9.1")));

    EXPECT_FALSE(home.index().rollUpAllStates());

    home.execute(QStringLiteral("UPDATE DicomImage SET syncState = 2"));
    EXPECT_TRUE(home.index().rollUpAllStates());
    EXPECT_FALSE(home.index().rollUpAllStates());
}

TEST(SyncStates, TheFirstCountingQueryHealsStatesOnceAndASecondDoesNotSweep)
{
    TemporaryIndex home;
    home.import(TemporaryIndex::image(QStringLiteral("9.1")));
    home.execute(QStringLiteral("UPDATE DicomImage SET syncState = 1"));

    EXPECT_EQ(home.index().counts().notSynced, (EntityCounts{0, 0, 0}));
    home.execute(QStringLiteral("UPDATE DicomImage SET syncState = 2"));

    EXPECT_EQ(home.index().counts().notSynced, (EntityCounts{0, 0, 1})) << "parents as they were stored";
    home.reopen();
    EXPECT_EQ(home.index().counts().notSynced, (EntityCounts{1, 1, 1}));
}

TEST(SyncStates, ASnapshotHealsStatesTooWhenItComesFirst)
{
    TemporaryIndex home;
    home.import(TemporaryIndex::image(QStringLiteral("9.1")));
    home.execute(QStringLiteral("UPDATE DicomImage SET syncState = 1"));

    home.index().studySnapshots();

    EXPECT_EQ(home.number(QStringLiteral("SELECT syncState FROM Series")), 1);
}

TEST(SyncStates, ACrashDuringAnUploadLeavesRowsInProgressUntilTheNextRun)
{
    TemporaryIndex home;
    home.import(TemporaryIndex::image(QStringLiteral("9.1")));
    home.index().markImagesInProgress(home.index().pendingImageUploads(1).first().imageObjectIDs);

    home.reopen();

    EXPECT_EQ(home.index().counts().notSynced, (EntityCounts{1, 1, 1}));
    EXPECT_EQ(home.number(QStringLiteral("SELECT syncState FROM Series")), 3);
    EXPECT_EQ(home.number(QStringLiteral("SELECT syncState FROM Study")), 3);
    EXPECT_EQ(home.index().studySnapshots().first().syncState, 3);
    EXPECT_EQ(home.index().pendingImageUploads(1).size(), 1);
    EXPECT_EQ(home.index().recoverInProgressImages(), (RecoveryCounts{1, 1, 1, true}));
    EXPECT_EQ(home.index().studySnapshots().first().syncState, 0);
}

TEST(SyncStates, KeptCountsEqualARecountAfterAnyOperations)
{
    Dice dice;
    TemporaryIndex home;
    SCOPED_TRACE(QStringLiteral("seed %1").arg(dice.seed()).toStdString());

    for (int round = 0; round < 150; ++round) {
        doSomething(home, dice);

        ASSERT_EQ(home.rows(kKeptSeries), home.rows(kCountedSeries)) << round;
        ASSERT_EQ(home.rows(kKeptStudies), home.rows(kCountedStudies)) << round;
        ASSERT_EQ(home.rows(kKeptLedger), home.rows(kCountedLedger)) << round;
        ASSERT_EQ(home.rows(kKeptActivity), home.rows(kCountedActivity)) << round;
        ASSERT_EQ(home.rows(kKeptHours), home.rows(kCountedHours)) << round;
    }
}

TEST(SyncStates, SweptStatesEqualTheRuleOverAllRowsAfterAnyOperations)
{
    Dice dice;
    TemporaryIndex home;
    SCOPED_TRACE(QStringLiteral("seed %1").arg(dice.seed()).toStdString());
    const QString ofSeries =
        ruleOver(QStringLiteral("SELECT syncState AS v FROM DicomImage i WHERE i.series = s.pk"));
    const QString ofStudies =
        ruleOver(QStringLiteral("SELECT syncState AS v FROM Series s WHERE study = t.pk"));

    for (int round = 0; round < 100; ++round) {
        doSomething(home, dice);
        home.index().rollUpAllStates();

        ASSERT_EQ(home.rows(QStringLiteral("SELECT pk, syncState FROM Series ORDER BY pk")),
                  home.rows(QStringLiteral("SELECT pk, %1 FROM Series s ORDER BY pk").arg(ofSeries)))
            << round;
        ASSERT_EQ(home.rows(QStringLiteral("SELECT pk, syncState FROM Study ORDER BY pk")),
                  home.rows(QStringLiteral("SELECT pk, %1 FROM Study t ORDER BY pk").arg(ofStudies)))
            << round;
    }
}

} // namespace gateway::index

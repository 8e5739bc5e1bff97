#include "index/tally_recount.h"

#include "index/testing/temporary_index.h"

#include <gtest/gtest.h>

#include <random>

namespace gateway::index {

namespace {

using testing::TemporaryIndex;

class Recount : public ::testing::Test
{
protected:
    TallyDifferences differences() { return index.examination().tallyDifferences({}); }

    QString importOne(int number, int series = 0, int study = 0)
    {
        return home.import(
            TemporaryIndex::image(QStringLiteral("9.%1.%2.%3").arg(study).arg(series).arg(number),
                                  {{QStringLiteral("studyID"), QStringLiteral("1.%1").arg(study)},
                                   {QStringLiteral("seriesID"), QStringLiteral("2.%1").arg(series)},
                                   {QStringLiteral("numberOfFrames"), number % 3}}));
    }

    TemporaryIndex home;
    DicomDB &index = home.index();
    const TallyDifferences none;
};

} // namespace

TEST_F(Recount, OfAnEmptyIndexAgrees)
{
    EXPECT_EQ(differences(), none);
}

TEST_F(Recount, AgreesAfterRandomOperations)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 chance(seed);
    const auto below = [&](int limit) { return static_cast<int>(chance() % static_cast<unsigned>(limit)); };
    QStringList paths;
    for (int step = 0; step < 150; ++step) {
        if (paths.isEmpty() || below(3) == 0) {
            paths.append(importOne(below(4), below(3), below(3)));
        } else if (below(4) == 0) {
            home.execute(
                QStringLiteral("PRAGMA foreign_keys = 1; DELETE FROM Series WHERE pk = %1").arg(below(9)));
        } else {
            index.recordUploadResult({}, paths[below(static_cast<int>(paths.size()))], below(2) == 0);
        }
        EXPECT_EQ(differences(), none) << step;
    }
}

TEST_F(Recount, SeesEachCountThatIsWrongAndMendsThemAll)
{
    const QString path = importOne(1);
    importOne(2, 1);
    importOne(1, 0, 1);
    index.recordUploadResult({}, path, true);
    ASSERT_EQ(differences(), none);
    const QStringList wrong = {
        QStringLiteral("UPDATE Series SET imageCount = imageCount + 1 WHERE pk = 1"),
        QStringLiteral("UPDATE Study SET syncedCount = 7 WHERE pk = 1"),
        QStringLiteral("UPDATE Study SET seriesCount = 0 WHERE pk = (SELECT max(pk) FROM Study)"),
        QStringLiteral("UPDATE Ledger SET failedCount = 3"),
        QStringLiteral("UPDATE Ledger SET syncedSeriesCount = 0"),
        QStringLiteral("UPDATE Ledger SET instanceCount = instanceCount + 1"),
        QStringLiteral("UPDATE Ledger SET syncedInstanceCount = 0"),
        QStringLiteral("UPDATE Ledger SET failedInstanceCount = 9"),
        QStringLiteral("UPDATE Activity SET received = received + 1"),
        QStringLiteral("INSERT INTO Activity (slot, sent) VALUES (1, 1)"),
        QStringLiteral("UPDATE ActivityHour SET received = 2 * received"),
        QStringLiteral("DELETE FROM ActivityHour"),
    };
    for (const QString &sql : wrong) {
        home.execute(sql);
        EXPECT_GT(differences().counts, 0) << sql.toStdString();

        index.examination().mendTallies();

        EXPECT_EQ(differences(), none) << sql.toStdString();
    }
    EXPECT_EQ(index.counts().total, (EntityCounts{2, 3, 4}));
    EXPECT_EQ(index.counts().syncedImages, 1);
}

TEST_F(Recount, SeesAStateThatIsNotThatOfTheImagesAndMendsIt)
{
    index.recordUploadResult({}, importOne(1), true);
    home.execute(QStringLiteral("UPDATE Series SET syncState = 2; UPDATE Study SET syncState = 0"));
    EXPECT_EQ(differences().states, 2);

    index.examination().mendTallies();

    EXPECT_EQ(differences(), none);
    EXPECT_EQ(home.rows(QStringLiteral("SELECT syncState FROM Series UNION ALL SELECT syncState FROM Study")),
              (QStringList{QStringLiteral("1"), QStringLiteral("1")}));
}

TEST_F(Recount, LeavesAStateAloneThatTheNextSweepSettlesAnyway)
{
    index.recordUploadResult({}, importOne(1), true);
    home.execute(QStringLiteral("UPDATE Series SET syncState = 2, unsettled = 1"));

    EXPECT_EQ(differences().states, 0);
}

TEST_F(Recount, HoldsAStudyBackThatHasAnEmptySeries)
{
    index.recordUploadResult({}, importOne(1), true);
    importOne(1, 1);
    home.execute(QStringLiteral("DELETE FROM DicomImage WHERE syncState = 0"));
    index.rollUpAllStates();

    EXPECT_EQ(differences(), none);
    EXPECT_EQ(home.number(QStringLiteral("SELECT syncState FROM Study")), 0);
}

TEST_F(Recount, AddsNoHourTwiceHoweverOftenItMends)
{
    index.recordUploadResult({}, importOne(1), true);
    const QString hours = QStringLiteral("SELECT hour, received, sent FROM ActivityHour WHERE received <> 0");
    const QStringList before = home.rows(hours);
    ASSERT_EQ(before.size(), 1);

    for (int time = 0; time < 3; ++time) {
        index.examination().mendTallies();
    }

    EXPECT_EQ(home.rows(hours), before);
    EXPECT_EQ(differences(), none);
}

TEST_F(Recount, MovesNoImageAndNoState)
{
    index.recordUploadResult({}, importOne(1), true);
    index.recordUploadResult({}, importOne(2), false);
    const QString all = QStringLiteral("SELECT pk, pathString, syncState, uploadDate FROM DicomImage");
    const QStringList before = home.rows(all);

    index.examination().mendTallies();

    EXPECT_EQ(home.rows(all), before);
}

TEST_F(Recount, EndsWhenItIsToldToStop)
{
    for (int number = 0; number < 60; ++number) {
        importOne(number);
    }
    home.execute(QStringLiteral(
        "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 30000) "
        "INSERT INTO DicomImage (series, createDate, sopInstanceUID, frameID) SELECT 1, 0, i, 0 FROM n"));
    std::stop_source stop;
    stop.request_stop();

    EXPECT_THROW(index.examination().tallyDifferences(stop.get_token()), platform::SqliteError);
}

} // namespace gateway::index

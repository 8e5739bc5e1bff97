#include "index/row_identity.h"
#include "index/testing/temporary_index.h"
#include "platform/dicom/testing/identities.h"
#include "platform/sqlite/database.h"

#include <gtest/gtest.h>

#include <numeric>
#include <utility>

namespace gateway::index {

namespace {

using platform::Database;
using testing::TemporaryIndex;

class Reads : public ::testing::Test
{
protected:
    QString importOne(const QString &uid, const QVariantMap &changes = {})
    {
        return home.import(TemporaryIndex::image(uid, changes));
    }

    static QVariantMap inStudy(const QString &study, const QVariantMap &changes = {})
    {
        QVariantMap all = changes;
        all.insert(QStringLiteral("studyID"), study);
        return all;
    }

    QStringList studiesInOrder()
    {
        QStringList ids;
        for (const LocalStudySnapshot &study : index.studySnapshots()) {
            ids.append(study.id);
        }
        return ids;
    }

    TemporaryIndex home;
    DicomDB &index = home.index();
};

using Counters = Reads;
using Figures = Reads;
using StudySnapshots = Reads;
using SeriesSnapshots = Reads;
using TransferBuckets = Reads;

} // namespace

TEST_F(Counters, AreZeroOnAnEmptyIndex)
{
    EXPECT_EQ(index.counts(), IndexCounts{});
}

TEST_F(Counters, CountRowsByState)
{
    importOne(QStringLiteral("9.1"), {{QStringLiteral("numberOfFrames"), 3}});
    const QString sent = importOne(QStringLiteral("9.2"), inStudy(QStringLiteral("7")));
    const QString failed = importOne(QStringLiteral("9.3"), inStudy(QStringLiteral("8")));
    index.recordUploadResult({}, sent, true);
    index.recordUploadResult({}, failed, false);

    EXPECT_EQ(index.counts(), (IndexCounts{{3, 3, 5}, {2, 2, 4}, 1, 1}))
        << "a failed image isn't synced either";
}

TEST_F(Counters, AreZeroWhenTheIndexCannotBeRead)
{
    importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("ALTER TABLE Ledger RENAME TO Gone"));

    EXPECT_EQ(index.counts(), IndexCounts{});
}

TEST_F(Figures, AreThoseOfAnEmptyIndex)
{
    const std::optional<IndexFigures> figures = index.figures();

    ASSERT_TRUE(figures.has_value());
    EXPECT_EQ(figures->total, (EntityCounts{0, 0, 0}));
    EXPECT_FALSE(figures->oldestUnsentImageDate.has_value());
}

TEST_F(Figures, NameTheOldestImageThatIsNotSent)
{
    const QDateTime start = home.clock.now();
    const QString first = importOne(QStringLiteral("9.1"));
    home.clock.advance(std::chrono::hours(1));
    const QString second = importOne(QStringLiteral("9.2"));
    EXPECT_EQ(index.figures()->oldestUnsentImageDate->toSecsSinceEpoch(), start.toSecsSinceEpoch());

    index.recordUploadResult({}, first, true);
    EXPECT_EQ(index.figures()->oldestUnsentImageDate->toSecsSinceEpoch(), start.toSecsSinceEpoch() + 3600);
    EXPECT_EQ(index.figures()->syncedImages, 1);

    index.recordUploadResult({}, second, false);
    EXPECT_EQ(index.figures()->failedImages, 1);
    EXPECT_TRUE(index.figures()->oldestUnsentImageDate.has_value()) << "a failed image isn't sent either";

    index.recordUploadResult({}, second, true);
    EXPECT_FALSE(index.figures()->oldestUnsentImageDate.has_value());
}

TEST_F(Figures, CountAnInstanceOnceWhateverFramesAndSeriesItHas)
{
    const QString frames = home.import(TemporaryIndex::image(
        QStringLiteral("9.1"),
        {{QStringLiteral("numberOfFrames"), 40}, {QStringLiteral("numberOfSeries"), 2}}));
    const QString plain = importOne(QStringLiteral("9.2"));
    EXPECT_EQ(index.figures()->instances, (InstanceCounts{2, 0, 0}));
    EXPECT_EQ(index.figures()->total.images, 81);

    index.recordUploadResult({}, frames, true);
    index.recordUploadResult({}, plain, false);
    EXPECT_EQ(index.figures()->instances, (InstanceCounts{2, 1, 1}));

    home.execute(QStringLiteral("PRAGMA foreign_keys = 1; DELETE FROM Study"));
    EXPECT_EQ(index.figures()->instances, InstanceCounts());
}

TEST_F(Figures, AreMissingWhenTheIndexCannotBeRead)
{
    home.execute(QStringLiteral("ALTER TABLE Ledger RENAME TO Gone"));

    EXPECT_FALSE(index.figures().has_value());
}

TEST_F(StudySnapshots, CarryTheStudyTrimmed)
{
    const QDateTime acquired(QDate(2024, 5, 6), QTime(7, 8, 9), Qt::UTC);
    importOne(QStringLiteral("9.1"),
              {{QStringLiteral("studyID"), QStringLiteral("1.2")},
               {QStringLiteral("patientName"), QStringLiteral(" Doe^Jane\n")},
               {QStringLiteral("studyNumber"), QStringLiteral("P77 ")},
               {QStringLiteral("studyDescription"), QStringLiteral(" Thorax")},
               {QStringLiteral("accessionNumber"), QStringLiteral("A1 ")},
               {QStringLiteral("studyDate"), acquired},
               {QStringLiteral("numberOfFrames"), 2}});
    index.recordUploadResult({{1}}, std::nullopt, false);

    LocalStudySnapshot expected;
    expected.id = expected.studyInstanceUID = QStringLiteral("1.2");
    expected.patientName = QStringLiteral("Doe^Jane");
    expected.patientID = QStringLiteral("P77");
    expected.modality = QStringLiteral("CT");
    expected.syncState = 2;
    expected.studyDescription = QStringLiteral("Thorax");
    expected.accessionNumber = QStringLiteral("A1");
    expected.acquisitionDate = acquired;
    expected.imageCount = 2;
    expected.failedImageCount = 1;
    EXPECT_EQ(index.studySnapshots(), QList<LocalStudySnapshot>{expected});
}

TEST_F(StudySnapshots, ComeLatestAcquiredFirstThenLatestImportedUndatedLast)
{
    const QDate day(2024, 5, 6);
    importOne(QStringLiteral("9.1"), inStudy(QStringLiteral("undated")));
    importOne(QStringLiteral("9.2"), inStudy(QStringLiteral("old"), {{QStringLiteral("studyDate"), day}}));
    importOne(QStringLiteral("9.3"),
              inStudy(QStringLiteral("new"), {{QStringLiteral("studyDate"), day.addDays(1)}}));
    importOne(QStringLiteral("9.4"), inStudy(QStringLiteral("old2"), {{QStringLiteral("studyDate"), day}}));

    EXPECT_EQ(studiesInOrder(),
              (QStringList{QStringLiteral("new"),
                           QStringLiteral("old2"),
                           QStringLiteral("old"),
                           QStringLiteral("undated")}));
}

TEST_F(StudySnapshots, KeepTheirOwnFieldsInWhateverOrderTheyWereImported)
{
    const QDate day(2024, 5, 6);
    for (int imported = 0; imported < 40; ++imported) {
        const int age = imported * 7 % 40; // several circles of exchanges, and some that stay
        home.import(TemporaryIndex::image(QStringLiteral("9.%1").arg(imported),
                                          {{QStringLiteral("studyID"), QString::number(age)},
                                           {QStringLiteral("patientName"), QStringLiteral("P%1").arg(age)},
                                           {QStringLiteral("studyDate"), day.addDays(-age)}}));
    }

    const QList<LocalStudySnapshot> studies = index.studySnapshots();

    ASSERT_EQ(studies.size(), 40);
    for (int age = 0; age < 40; ++age) {
        EXPECT_EQ(studies[age].id, QString::number(age));
        EXPECT_EQ(studies[age].patientName, QStringLiteral("P%1").arg(age));
        EXPECT_EQ(studies[age].acquisitionDate->date(), day.addDays(-age));
    }
}

TEST_F(StudySnapshots, OfAStudyWithoutUIDNameTheRowItself)
{
    QVariantMap elements = TemporaryIndex::image(QStringLiteral("9.1"));
    elements.remove(QStringLiteral("studyID"));
    home.import(elements);

    const LocalStudySnapshot study = index.studySnapshots().first();

    EXPECT_TRUE(study.id.startsWith(QStringLiteral("x-coredata://"))) << study.id.toStdString();
    EXPECT_EQ(study.studyInstanceUID, QString());
    EXPECT_EQ(index.seriesSnapshots(study.id).size(), 1);
}

TEST_F(StudySnapshots, LeadToTheFilesThatFailedFirst)
{
    const QString sent = importOne(QStringLiteral("9.1"));
    const QString failed = importOne(QStringLiteral("9.2"), {{QStringLiteral("numberOfFrames"), 3}});
    const QString later = importOne(QStringLiteral("9.3"));
    importOne(QStringLiteral("9.4"), inStudy(QStringLiteral("other")));
    index.recordUploadResult({}, failed, false);
    const QString study = QStringLiteral("1.2");

    EXPECT_EQ(index.studyFiles(study, 9),
              (QList<QUrl>{index.fileURL(failed), index.fileURL(sent), index.fileURL(later)}));
    EXPECT_EQ(index.studyFiles(study, 1), QList<QUrl>{index.fileURL(failed)});
    EXPECT_TRUE(index.studyFiles(QStringLiteral("7.7"), 9).isEmpty());
}

TEST_F(StudySnapshots, ComputeTheirStateFromTheImages)
{
    importOne(QStringLiteral("9.1"));
    index.studySnapshots();
    home.execute(QStringLiteral("UPDATE DicomImage SET syncState = 3"));

    EXPECT_EQ(index.studySnapshots().first().syncState, 3) << "the stored roll-up says 0 still";
}

TEST_F(StudySnapshots, AndThoseOfSeriesAreNoneWhenTheIndexCannotBeRead)
{
    importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("ALTER TABLE Study RENAME TO Gone"));

    EXPECT_TRUE(index.studySnapshots().isEmpty());
    EXPECT_TRUE(index.seriesSnapshots(QStringLiteral("1.2")).isEmpty());
}

TEST_F(SeriesSnapshots, ComeByNumberThenNewestFirst)
{
    const auto numbered = [&](const QString &series, const QVariant &number) {
        importOne(QStringLiteral("9.1"),
                  {{QStringLiteral("seriesID"), series}, {QStringLiteral("seriesNumber"), number}});
    };
    numbered(QStringLiteral("a"), 2);
    numbered(QStringLiteral("b"), 1);
    numbered(QStringLiteral("c"), 2);
    numbered(QStringLiteral("d"), QVariant());
    home.execute(QStringLiteral("UPDATE Series SET seriesNumber = NULL WHERE seriesNumber = 0"));

    QStringList ids;
    for (const LocalSeriesSnapshot &series : index.seriesSnapshots(QStringLiteral(" 1.2 "))) {
        ids.append(series.id);
    }

    EXPECT_EQ(ids,
              (QStringList{
                  QStringLiteral("d0"), QStringLiteral("b0"), QStringLiteral("c0"), QStringLiteral("a0")}));
}

TEST_F(SeriesSnapshots, CarryTheSeriesTrimmed)
{
    importOne(QStringLiteral("9.1"),
              {{QStringLiteral("seriesNumber"), 4},
               {QStringLiteral("seriesDescription"), QStringLiteral(" Axial ")},
               {QStringLiteral("numberOfFrames"), 3}});
    index.recordUploadResult({{1}, {2}, {3}}, std::nullopt, true);

    LocalSeriesSnapshot expected;
    expected.id = expected.seriesInstanceUID = QStringLiteral("1.2.30");
    expected.seriesUID = platform::testing::seriesUid("1.2.3");
    expected.seriesNumber = 4;
    expected.seriesDescription = QStringLiteral("Axial");
    expected.modality = QStringLiteral("CT");
    expected.syncState = 1;
    expected.imageCount = 3;
    EXPECT_EQ(index.seriesSnapshots(QStringLiteral("1.2")), QList<LocalSeriesSnapshot>{expected});
}

TEST_F(SeriesSnapshots, OfAnUnknownOrBlankStudyAreNone)
{
    importOne(QStringLiteral("9.1"));

    EXPECT_TRUE(index.seriesSnapshots(QStringLiteral("nobody")).isEmpty());
    EXPECT_TRUE(index.seriesSnapshots(QStringLiteral("  ")).isEmpty());
    EXPECT_TRUE(index.seriesSnapshots(QStringLiteral("x-coredata://other/Study/p1")).isEmpty());
}

TEST_F(SeriesSnapshots, ASeriesIsFoundByItsAddressInItsOwnStudyAlone)
{
    importOne(QStringLiteral("9.1"));
    importOne(QStringLiteral("9.2"), inStudy(QStringLiteral("7")));
    Database database = Database::open(home.indexFile(), Database::Access::readOnly);
    const QString second = RowAddress(database, QStringLiteral("Series")).of(2);

    EXPECT_EQ(findSeries(database, 2, second), 2);
    EXPECT_EQ(findSeries(database, 1, second), std::nullopt);
    EXPECT_EQ(findSeries(database, 1, QStringLiteral("1.2.30")), 1);
    EXPECT_EQ(findStudy(database, second), std::nullopt) << "a series is no study";
}

TEST_F(TransferBuckets, CountWhatCameAndWhatWent)
{
    const QDateTime start(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC); // where the manual clock starts
    importOne(QStringLiteral("9.1"), {{QStringLiteral("numberOfFrames"), 2}});
    home.clock.advance(std::chrono::minutes(61));
    const QString second = importOne(QStringLiteral("9.2"));
    home.clock.advance(std::chrono::minutes(60));
    index.recordUploadResult({}, second, true);

    const auto buckets = index.transferBuckets(start, start.addSecs(4 * 3600), std::chrono::hours(1), 4);

    EXPECT_EQ(buckets.received, (std::vector<std::int64_t>{2, 1, 0, 0}));
    EXPECT_EQ(buckets.sent, (std::vector<std::int64_t>{0, 0, 1, 0}));
}

TEST_F(TransferBuckets, AnImageSentInTheWindowButReceivedBeforeItAddsToSentOnly)
{
    const QDateTime start(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC);
    const QString stored = importOne(QStringLiteral("9.1"));
    home.clock.advance(std::chrono::hours(1));
    index.recordUploadResult({}, stored, true);

    const auto buckets =
        index.transferBuckets(start.addSecs(3600), start.addSecs(7200), std::chrono::minutes(30), 2);

    EXPECT_EQ(buckets.received, (std::vector<std::int64_t>{0, 0}));
    EXPECT_EQ(buckets.sent, (std::vector<std::int64_t>{1, 0}));
}

TEST_F(TransferBuckets, ATimeJustAtTheEndIsOutside)
{
    const QDateTime start(QDate(2026, 1, 1), QTime(11, 0), Qt::UTC);
    home.index().importFile(home.file(TemporaryIndex::image(QStringLiteral("9.1")))); // at 12:00

    EXPECT_EQ(index.transferBuckets(start, start.addSecs(3600), std::chrono::hours(1), 1).received,
              std::vector<std::int64_t>{0});
    EXPECT_EQ(index.transferBuckets(start, start.addSecs(7200), std::chrono::hours(1), 2).received,
              (std::vector<std::int64_t>{0, 1}));
}

TEST_F(TransferBuckets, AnImageThatIsNoLongerSyncedDropsOutOfSent)
{
    const QDateTime start(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC);
    const QString stored = importOne(QStringLiteral("9.1"));
    index.recordUploadResult({}, stored, true);
    index.recordUploadResult({}, stored, false);

    const auto buckets = index.transferBuckets(start, start.addSecs(3600), std::chrono::hours(1), 1);

    EXPECT_EQ(buckets.sent, std::vector<std::int64_t>{0});
    EXPECT_EQ(buckets.received, std::vector<std::int64_t>{1});
}

TEST_F(TransferBuckets, OfManyHoursAgreeWithThoseOfFiveMinutesWhereverTheyStart)
{
    const QDateTime noon(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC);
    for (int i = 0; i < 40; ++i) {
        home.clock.advance(std::chrono::minutes(37));
        const QString stored = importOne(QStringLiteral("9.%1").arg(i));
        if (i % 3 == 0) {
            home.clock.advance(std::chrono::minutes(11));
            index.recordUploadResult({}, stored, true);
        }
    }
    const auto sumOfSlots = [&](const QDateTime &from) { // six hours, five minutes at a time
        const auto slots = index.transferBuckets(from, from.addSecs(6 * 3600), std::chrono::minutes(5), 72);
        return std::pair(std::accumulate(slots.received.begin(), slots.received.end(), std::int64_t{0}),
                         std::accumulate(slots.sent.begin(), slots.sent.end(), std::int64_t{0}));
    };

    for (const int minutes : {0, 30, -45, 5, -55}) { // zones lie at halves and quarters of an hour
        const QDateTime start = noon.addSecs(minutes * 60);
        const auto buckets =
            index.transferBuckets(start, start.addSecs(5 * 6 * 3600), std::chrono::hours(6), 5);
        for (std::size_t i = 0; i < 5; ++i) {
            const auto expected = sumOfSlots(start.addSecs(static_cast<qint64>(i) * 6 * 3600));
            EXPECT_EQ(std::pair(buckets.received[i], buckets.sent[i]), expected) << minutes << ", " << i;
        }
    }
}

TEST_F(TransferBuckets, StayAtZeroWhenTheIndexCannotBeRead)
{
    const QDateTime start(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC);
    importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("ALTER TABLE Activity RENAME TO Gone"));

    const auto buckets = index.transferBuckets(start, start.addSecs(2 * 3600), std::chrono::hours(1), 2);

    EXPECT_EQ(buckets.received, std::vector<std::int64_t>(2));
    EXPECT_EQ(buckets.sent, std::vector<std::int64_t>(2));
}

TEST_F(TransferBuckets, NoBucketsAreNone)
{
    const QDateTime start(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC);

    EXPECT_TRUE(index.transferBuckets(start, start.addSecs(3600), std::chrono::hours(1), 0).received.empty());
    EXPECT_TRUE(index.transferBuckets(start, start.addSecs(3600), std::chrono::hours(1), -3).sent.empty());
    EXPECT_TRUE(index.transferBuckets(start, start.addDays(1), std::chrono::hours(24), 0).sent.empty());
}

TEST_F(TransferBuckets, OfAWindowThatEndsWithinTheFirstHourLeaveTheRestOut)
{
    const QDateTime start(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC);
    importOne(QStringLiteral("9.1"));
    home.clock.advance(std::chrono::minutes(40));
    importOne(QStringLiteral("9.2"));

    const auto buckets = index.transferBuckets(start, start.addSecs(30 * 60), std::chrono::hours(6), 1);

    EXPECT_EQ(buckets.received, std::vector<std::int64_t>{1});
}

} // namespace gateway::index

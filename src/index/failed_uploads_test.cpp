#include "index/testing/temporary_index.h"
#include "platform/dicom/testing/identities.h"

#include <gtest/gtest.h>

#include <QtCore/QSet>

#include <algorithm>
#include <array>

namespace gateway::index {

namespace {

using testing::TemporaryIndex;

const QString kRefused = QStringLiteral("refused");
const QString kUnreachable = QStringLiteral("unreachable");

class UploadFailures : public ::testing::Test
{
protected:
    QString importOne(const QString &uid, const QVariantMap &changes = {})
    {
        return home.import(TemporaryIndex::image(uid, changes));
    }

    /// Records that the upload of the file failed. \return whether that changed anything.
    bool fail(const QString &path,
              const QString &failureClass,
              std::int64_t code,
              std::span<const std::chrono::seconds> pauses = {})
    {
        return index
                   .recordUploadResult({}, path, false, {.failure = FailedUpload{failureClass, code, pauses}})
                   .value_or(0) > 0;
    }

    QList<UploadFailure> all()
    {
        UploadFailureCursor fromTheNewest;
        return index.failedUploads().next(100, fromTheNewest);
    }

    TemporaryIndex home;
    DicomDB &index = home.index();
};

using UploadRetries = UploadFailures;

using namespace std::chrono_literals;

constexpr std::array<std::chrono::seconds, 3> kPauses{1min, 10min, 1h};

} // namespace

TEST_F(UploadFailures, AreThereAsSoonAsTheStateIs)
{
    const QString path = importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral(
        "CREATE TRIGGER Refuse BEFORE INSERT ON UploadFailure BEGIN SELECT RAISE(ABORT, 'no'); END"));

    EXPECT_EQ(index.recordUploadResult({}, path, false, {.failure = FailedUpload{kRefused, 409}}),
              std::nullopt);

    EXPECT_EQ(index.counts().failedImages, 0) << "neither without the other";
}

TEST_F(UploadFailures, TellWhichFileFailedWhenAndWhy)
{
    const QString path = importOne(QStringLiteral("1.2.3.4"), {{QStringLiteral("numberOfFrames"), 2}});
    home.clock.advance(std::chrono::seconds(5));

    EXPECT_TRUE(fail(path, kRefused, 409));

    const UploadFailure expected{path,
                                 index.fileURL(path),
                                 platform::testing::instanceUid("1.2.3.4"),
                                 platform::testing::studyUid("1.2"),
                                 kRefused,
                                 409,
                                 home.clock.now()};
    EXPECT_EQ(all(), QList<UploadFailure>{expected});
}

TEST_F(UploadFailures, AreTheLastOfEachFile)
{
    const QString path = importOne(QStringLiteral("9.1"));
    fail(path, kUnreachable, 7);
    home.clock.advance(std::chrono::seconds(1));

    fail(path, kRefused, 409);

    ASSERT_EQ(all().size(), 1);
    EXPECT_EQ(all().first().failureClass, kRefused);
    EXPECT_EQ(all().first().failureCode, 409);
    EXPECT_EQ(all().first().failedAt, home.clock.now());
}

TEST_F(UploadFailures, ComeNewestFirstInPages)
{
    QStringList newestFirst;
    for (int number = 0; number < 5; ++number) {
        newestFirst.prepend(importOne(QStringLiteral("9.%1").arg(number)));
        fail(newestFirst.first(), kRefused, number);
    }

    UploadFailureCursor cursor;
    QStringList read;
    QList<qsizetype> sizes;
    for (auto page = index.failedUploads().next(2, cursor); !page.isEmpty();
         page = index.failedUploads().next(2, cursor)) {
        sizes.append(page.size());
        for (const UploadFailure &failure : page) {
            read.append(failure.storagePath);
        }
    }

    EXPECT_EQ(read, newestFirst);
    EXPECT_EQ(sizes, (QList<qsizetype>{2, 2, 1}));
}

TEST_F(UploadFailures, OfOneMomentAreAllReached)
{
    const QString first = importOne(QStringLiteral("9.1"));
    const QString second = importOne(QStringLiteral("9.2"));
    fail(first, kRefused, 1);
    fail(second, kRefused, 2);

    UploadFailureCursor cursor;
    const auto firstPage = index.failedUploads().next(0, cursor);
    const auto secondPage = index.failedUploads().next(0, cursor);

    ASSERT_EQ(firstPage.size(), 1);
    ASSERT_EQ(secondPage.size(), 1);
    EXPECT_NE(firstPage.first().storagePath, secondPage.first().storagePath);
    EXPECT_TRUE(index.failedUploads().next(9, cursor).isEmpty());
}

TEST_F(UploadFailures, AreForgottenWhenAResultSaysSynced)
{
    const QString path = importOne(QStringLiteral("9.1"));
    const QString other = importOne(QStringLiteral("9.2"));
    fail(path, kRefused, 409);
    fail(other, kRefused, 409);

    index.recordUploadResult({}, path, false);
    EXPECT_EQ(all().size(), 2);
    index.recordUploadResult({}, path, true);

    ASSERT_EQ(all().size(), 1);
    EXPECT_EQ(all().first().storagePath, other);
}

TEST_F(UploadFailures, GoWithTheLastRowOfTheirFile)
{
    const QString path = importOne(QStringLiteral("9.1"), {{QStringLiteral("numberOfFrames"), 2}});
    fail(path, kRefused, 409);

    home.execute(QStringLiteral("DELETE FROM DicomImage WHERE frameID = 0"));
    EXPECT_EQ(all().size(), 1);
    home.execute(QStringLiteral("PRAGMA foreign_keys = 1; DELETE FROM Study"));

    EXPECT_TRUE(all().isEmpty());
}

TEST_F(UploadFailures, GoWhenTheImageIsSentAnewAndStandsInAnotherFile)
{
    const QString path = importOne(QStringLiteral("9.1"));
    fail(path, kRefused, 409);

    importOne(QStringLiteral("9.1"));

    EXPECT_TRUE(all().isEmpty());
}

TEST_F(UploadFailures, OfAFileWithoutRowsAreNotKept)
{
    EXPECT_FALSE(fail(QStringLiteral("10000/77.dcm"), kRefused, 409));
    EXPECT_FALSE(fail(QStringLiteral("  "), kRefused, 409));

    EXPECT_TRUE(all().isEmpty());
}

TEST_F(UploadFailures, AreCountedByClassAndCodeTheMostFrequentFirst)
{
    EXPECT_TRUE(index.failedUploads().counts().isEmpty());
    fail(importOne(QStringLiteral("9.1")), kUnreachable, 7);
    fail(importOne(QStringLiteral("9.2")), kRefused, 409);
    fail(importOne(QStringLiteral("9.3")), kRefused, 409);
    fail(importOne(QStringLiteral("9.4")), kRefused, 400);

    EXPECT_EQ(index.failedUploads().counts(),
              (QList<UploadFailureCount>{{kRefused, 409, 2}, {kRefused, 400, 1}, {kUnreachable, 7, 1}}));
}

TEST_F(UploadFailures, OutliveARestart)
{
    fail(importOne(QStringLiteral("9.1")), kRefused, 409);

    home.reopen();

    UploadFailureCursor fromTheNewest;
    EXPECT_EQ(home.index().failedUploads().next(9, fromTheNewest).size(), 1);
}

TEST_F(UploadRetries, WaitLongerEachTimeUpToTheLastPause)
{
    const QString path = importOne(QStringLiteral("9.1"), {{QStringLiteral("numberOfFrames"), 3}});

    for (const std::chrono::seconds pause : {60s, 600s, 3600s, 3600s}) {
        fail(path, kRefused, 409, kPauses);
        const auto wait =
            std::chrono::milliseconds(home.clock.now().msecsTo(*index.failedUploads().nextRetry()));
        EXPECT_LE(wait, pause);
        EXPECT_GE(wait, pause * 7 / 8);
        EXPECT_TRUE(index.pendingImageUploads(9).isEmpty());

        home.clock.advance(wait);
        const auto due = index.pendingImageUploads(9);
        ASSERT_EQ(due.size(), 1);
        EXPECT_TRUE(due.first().isRetry);
        EXPECT_EQ(due.first().imageObjectIDs.size(), 3);
    }
}

TEST_F(UploadRetries, OfWhatIsAwaitedAreNoFailures)
{
    const QString path = importOne(QStringLiteral("9.1"));
    for (const std::int64_t tries : {1, 2}) {
        index.recordUploadResult(
            {},
            path,
            false,
            {.failure = FailedUpload{QStringLiteral("awaited"), 0, kPauses}, .isAwaited = true});

        EXPECT_EQ(index.counts().failedImages, 0);
        EXPECT_EQ(index.counts().notSynced.images, 1);
        EXPECT_EQ(index.failedUploads().waitingRetries().files, 1);
        EXPECT_TRUE(index.pendingImageUploads(9).isEmpty());
        home.clock.advance(1h);
        const auto due = index.pendingImageUploads(9);
        ASSERT_EQ(due.size(), 1);
        EXPECT_EQ(due.first().lastFailure, QStringLiteral("awaited"));
        EXPECT_EQ(due.first().tries, tries);
    }
}

TEST_F(UploadRetries, AreKeptOverARestart)
{
    const QString path = importOne(QStringLiteral("9.1"));
    fail(path, kRefused, 409, kPauses);
    const auto next = index.failedUploads().nextRetry();

    home.reopen();

    EXPECT_EQ(index.failedUploads().nextRetry(), next);
    EXPECT_TRUE(index.pendingImageUploads(9).isEmpty());
    fail(path, kRefused, 409, kPauses);
    EXPECT_GT(*index.failedUploads().nextRetry(), home.clock.now().addSecs(500))
        << "the second failure, not the first";
}

TEST_F(UploadRetries, AreToldWithTheirNumberAndTheNextTime)
{
    EXPECT_EQ(index.failedUploads().waitingRetries(), WaitingRetries());
    const QString first = importOne(QStringLiteral("9.1"), {{QStringLiteral("numberOfFrames"), 3}});
    const QString second = importOne(QStringLiteral("9.2"));
    importOne(QStringLiteral("9.3"));
    fail(first, kRefused, 409, kPauses);
    fail(second, kRefused, 409, kPauses);

    const WaitingRetries waiting = index.failedUploads().waitingRetries();

    EXPECT_EQ(waiting.files, 2);
    EXPECT_EQ(waiting.next, index.failedUploads().nextRetry());
    home.clock.advance(1h);
    EXPECT_EQ(index.failedUploads().waitingRetries(), WaitingRetries()) << "their time has come";
}

TEST_F(UploadRetries, OfAFileWithoutPausesAreDueWithTheOthers)
{
    const QString path = importOne(QStringLiteral("9.1"));

    fail(path, kUnreachable, 7);

    EXPECT_EQ(index.pendingImageUploads(9).size(), 1);
    EXPECT_FALSE(index.pendingImageUploads(9).first().isRetry);
    EXPECT_EQ(index.failedUploads().nextRetry(), std::nullopt);
}

TEST_F(UploadRetries, NeverStandBeforeFreshFilesAndNeverStarveBehindThem)
{
    QStringList failed;
    for (int number = 0; number < 20; ++number) {
        failed.append(importOne(QStringLiteral("8.%1").arg(number)));
        fail(failed.last(), kRefused, 409, kPauses);
    }
    home.clock.advance(1h);
    QStringList fresh;
    for (int number = 0; number < 20; ++number) {
        fresh.append(importOne(QStringLiteral("9.%1").arg(number)));
    }
    PendingCursor cursor;
    QStringList offered;

    const auto page = *index.pendingImageUploads(8, cursor);
    for (auto next = page; !next.isEmpty(); next = *index.pendingImageUploads(8, cursor)) {
        for (const PendingImageUpload &candidate : next) {
            offered.append(candidate.storagePath);
        }
    }

    ASSERT_EQ(page.size(), 8);
    EXPECT_EQ(std::ranges::count_if(page, &PendingImageUpload::isRetry), 2);
    EXPECT_EQ(page.first().storagePath, fresh.first());
    EXPECT_EQ(offered.size(), 40);
    EXPECT_EQ(QSet<QString>(offered.begin(), offered.end()).size(), 40);
}

TEST_F(UploadRetries, AreAllDueOnceReleased)
{
    for (int number = 0; number < 5; ++number) {
        fail(importOne(QStringLiteral("9.%1").arg(number)), kRefused, 409, kPauses);
    }

    index.failedUploads().releaseRetries();

    EXPECT_EQ(index.pendingImageUploads(5).size(), 1) << "a quarter of a page";
    EXPECT_EQ(index.pendingImageUploads(20).size(), 5);
    EXPECT_EQ(index.failedUploads().waitingRetries().files, 0);
}

TEST_F(UploadRetries, OfOneStudyAreDueOnceThatIsReleased)
{
    QStringList paths;
    for (const char *study : {"1", "2", "3"}) {
        paths.append(importOne(QStringLiteral("9.") + QString::fromLatin1(study),
                               {{QStringLiteral("studyID"), QString::fromLatin1(study)}}));
        fail(paths.last(), kRefused, 409, kPauses);
    }

    index.failedUploads().releaseRetriesOf(QStringLiteral("2"));
    index.failedUploads().releaseRetriesOf(QStringLiteral("7.7"));

    const QList<PendingImageUpload> due = index.pendingImageUploads(20);
    ASSERT_EQ(due.size(), 1);
    EXPECT_EQ(due.first().storagePath, paths[1]);
    EXPECT_EQ(index.failedUploads().waitingRetries().files, 2);
}

TEST_F(UploadRetries, OfAFileThatCameAgainAreForgotten)
{
    const QString before = importOne(QStringLiteral("9.1"));
    fail(before, kRefused, 409, kPauses);

    const QString after = importOne(QStringLiteral("9.1"));

    ASSERT_NE(before, after);
    ASSERT_EQ(index.pendingImageUploads(9).size(), 1);
    EXPECT_FALSE(index.pendingImageUploads(9).first().isRetry);
    EXPECT_EQ(index.failedUploads().nextRetry(), std::nullopt);
}

TEST_F(UploadRetries, FurtherAwayThanADayComeWithTheNextRun)
{
    const QString path = importOne(QStringLiteral("9.1"));
    fail(path, kRefused, 409, kPauses);
    home.execute(QStringLiteral("UPDATE DicomImage SET notBefore = notBefore + 2 * 86400000"));
    ASSERT_TRUE(index.pendingImageUploads(9).isEmpty());

    index.recoverInProgressImages(); // as each run begins

    EXPECT_EQ(index.pendingImageUploads(9).size(), 1);
}

TEST_F(UploadRetries, StillCountForTheAgeOfTheOldestUnsentImage)
{
    const QString path = importOne(QStringLiteral("9.1"));
    const QDateTime came = home.clock.now();
    fail(path, kRefused, 409, kPauses);
    home.clock.advance(1h);
    importOne(QStringLiteral("9.2"));

    EXPECT_LE(index.figures()->oldestUnsentImageDate, came);
}

TEST_F(UploadRetries, AreFoundWithoutReadingPastThoseThatWait)
{
    const QStringList plan = home.rows(
        QStringLiteral("EXPLAIN QUERY PLAN SELECT pk, notBefore, pathString FROM DicomImage INDEXED BY "
                       "DicomImage_retrying WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND "
                       "pathString <> '' AND notBefore IS NOT NULL AND (notBefore, pk) > (1, 1) AND "
                       "notBefore <= 2 ORDER BY notBefore, pk"));

    ASSERT_EQ(plan.size(), 1) << plan.join(u'\n').toStdString();
    EXPECT_TRUE(plan.first().contains(QStringLiteral("SEARCH DicomImage USING")));
    EXPECT_TRUE(plan.first().contains(QStringLiteral("notBefore<?")));
}

} // namespace gateway::index

#include "index/testing/temporary_index.h"
#include "upload/testing/fake_surroundings.h"
#include "upload/upload_run.h"

#include <gtest/gtest.h>

#include <mutex>

// Upload runs over the real index: what a run does to it, and what a crash leaves of it.

namespace gateway::upload {

using StoreUpload::ExecutionConfig;
using StoreUpload::ExecutionMode;
using StoreUpload::RunSummary;

namespace {

struct UploadRunOnIndexTest : ::testing::Test
{
    testing::FakeSurroundings around;
    index::testing::TemporaryIndex store;

    RunSummary run(ExecutionMode mode = ExecutionMode::parallelBatch)
    {
        const UploadCollaborators collaborators = {store.index(),
                                                   around.cloud,
                                                   around.converter,
                                                   around.session,
                                                   around.state,
                                                   around.terms,
                                                   around.cleanup,
                                                   around.observer,
                                                   around.emitter,
                                                   around.main,
                                                   around.clock,
                                                   around.newSeries};
        const ExecutionConfig orders = {
            .mode = mode, .maxConcurrent = 2, .batchSize = 2, .compressionEnabled = true, .fetchLimit = 8};
        // The converter of these tests calls an image by its stored file's name, and knows no versions.
        store.execute(QStringLiteral("UPDATE DicomImage SET originalSOPInstanceUID = "
                                     "substr(pathString, instr(pathString, '/') + 1), contentVersion = 0"));
        RunSummary summary =
            UploadRun(collaborators, QStringLiteral("RUN"), orders, QStringLiteral("DEVICE")).run({});
        around.main.drain();
        return summary;
    }

    /// Imports an image. \return the name under which the cloud of these tests knows its stored file.
    QString import(const QString &sopInstanceUid)
    {
        return store.import(index::testing::TemporaryIndex::image(sopInstanceUid)).section(u'/', -1);
    }

    /// The states of all rows, oldest first.
    QStringList states()
    {
        return store.rows(QStringLiteral("SELECT syncState FROM DicomImage ORDER BY createDate"));
    }
};

} // namespace

TEST_F(UploadRunOnIndexTest, CallsNoFileGoneWhoseStoreWentWhileItsPageWasSent)
{
    for (int number = 0; number < 8; ++number) {
        import(QStringLiteral("1.%1").arg(number));
    }
    const QString away = store.path(QStringLiteral("away"));
    for (const ExecutionMode mode : {ExecutionMode::single, ExecutionMode::parallelBatch}) {
        around.cloud.duringRequest(
            [&](const auto &, const auto &) { QDir().rename(store.fileStoreRoot(), away); });

        const RunSummary summary = run(mode);

        ASSERT_TRUE(summary.trouble);
        EXPECT_EQ(summary.trouble->failure.failureClass, core::FailureClass::indexTrouble);
        EXPECT_EQ(summary.missingFiles, 0);
        EXPECT_EQ(summary.failedUploads, 0);
        ASSERT_TRUE(QDir().rename(away, store.fileStoreRoot()));
    }

    around.cloud.duringRequest(nullptr);
    run();
    EXPECT_EQ(states(), QStringList(8, QStringLiteral("1")));
}

TEST_F(UploadRunOnIndexTest, TriesEachOfManyFilesOnceInEveryModeThoughTheOldestFail)
{
    constexpr int kFiles = 60;
    constexpr int kFailing = 30;
    for (int number = 0; number < kFiles; ++number) {
        const QString name = import(QStringLiteral("1.%1").arg(number));
        if (number < kFailing) {
            around.cloud.refuse(name);
        }
    }

    const RunSummary first = run(ExecutionMode::parallelBatch);
    EXPECT_EQ(first.selectedCandidates, kFiles);
    EXPECT_EQ(first.successfulUploads, kFiles - kFailing);
    EXPECT_EQ(run().selectedCandidates, 0) << "their time hasn't come";
    store.clock.advance(std::chrono::minutes(1));
    const RunSummary second = run(ExecutionMode::parallelFile);
    EXPECT_EQ(second.selectedCandidates, kFailing);
    store.clock.advance(std::chrono::minutes(1));
    const RunSummary third = run(ExecutionMode::single);
    EXPECT_EQ(third.selectedCandidates, kFailing);

    const QMap<QString, int> attempts = around.cloud.attempts();
    EXPECT_EQ(attempts.size(), kFiles);
    EXPECT_EQ(std::ranges::count(attempts, 3), kFailing);
    EXPECT_EQ(std::ranges::count(attempts, 1), kFiles - kFailing);
    EXPECT_EQ(states().count(QStringLiteral("2")), kFailing);
    EXPECT_EQ(states().count(QStringLiteral("1")), kFiles - kFailing);
}

TEST_F(UploadRunOnIndexTest, LetsOthersTryWhereOneFileIsRefusedLikeTheWholeQueue)
{
    for (const ExecutionMode mode :
         {ExecutionMode::single, ExecutionMode::parallelFile, ExecutionMode::parallelBatch}) {
        const auto uid = [mode](int number) {
            return QStringLiteral("1.%1.%2").arg(static_cast<int>(mode)).arg(number);
        };
        const QString refused = import(uid(0));
        const QString fine = import(uid(1));
        around.cloud.duringRequest([refused](const testing::FakeCloud::Request &request, const auto &) {
            for (const QUrl &file : request.files) {
                if (file.path().endsWith(refused)) {
                    throw cloud_client::AFError(QStringLiteral("a firewall's word"), 403);
                }
            }
        });

        run(mode); // in a batch both are met by it
        store.clock.advance(std::chrono::minutes(1));
        run(mode); // the one that is refused may come first again
        run(mode);

        EXPECT_TRUE(around.cloud.holds(fine)) << static_cast<int>(mode);
        EXPECT_FALSE(around.cloud.holds(refused));
    }
}

TEST_F(UploadRunOnIndexTest, TriesAFileOnceThatTheIndexOffersAgain)
{
    const QString name = import(QStringLiteral("1.1"));
    around.cloud.refuse(name);
    for (const ExecutionMode mode :
         {ExecutionMode::single, ExecutionMode::parallelFile, ExecutionMode::parallelBatch}) {
        std::once_flag once;
        around.cloud.duringRequest([&](const auto &, const auto &) {
            std::call_once(once, [&] {
                store.execute(QStringLiteral("UPDATE DicomImage SET createDate = createDate + 60000"));
            });
        });
        const int before = around.cloud.attempts().value(name);
        store.clock.advance(std::chrono::hours(1));

        EXPECT_EQ(run(mode).selectedCandidates, 1);

        EXPECT_EQ(around.cloud.attempts().value(name), before + 1);
    }
}

TEST_F(UploadRunOnIndexTest, SendsAgainWhatACrashLeftInProgressThoughTheCloudHasItAlready)
{
    const QString name = import(QStringLiteral("1.1"));
    index::PendingCursor cursor;
    const auto candidates = *store.index().pendingImageUploads(1, cursor);
    ASSERT_EQ(candidates.size(), 1);
    store.index().markImagesInProgress(candidates.first().imageObjectIDs);
    around.cloud.upload({}, cloud_client::StowFile{candidates.first().fileURL, {}}, QString(), {});
    store.reopen(); // the process died between the answer and the record

    const RunSummary summary = run();

    EXPECT_EQ(summary.recoveredInProgressImages, 1);
    EXPECT_EQ(around.cloud.attempts().value(name), 2);
    EXPECT_EQ(states(), QStringList{QStringLiteral("1")});
}

TEST_F(UploadRunOnIndexTest, KeepsWhatARoundRecordedThroughACrash)
{
    for (int number = 0; number < 12; ++number) {
        import(QStringLiteral("1.%1").arg(number));
    }
    // The session goes in the first round, so the run ends with its record.
    around.cloud.duringRequest([this](const auto &, const auto &) { around.session.signIn(false); });
    const RunSummary summary = run();
    around.cloud.duringRequest({});
    around.session.signIn(true);
    store.reopen();
    EXPECT_EQ(states().count(QStringLiteral("1")), summary.successfulUploads);

    run();

    EXPECT_EQ(states().count(QStringLiteral("1")), 12);
    EXPECT_TRUE(std::ranges::all_of(around.cloud.attempts(), [](int count) { return count == 1; }));
}

TEST_F(UploadRunOnIndexTest, DoesNotTakeAFileForSentThatCameAgainDuringTheUploadOfTheOneBefore)
{
    const QString older = import(QStringLiteral("1.1"));
    QString newer;
    std::once_flag once;
    around.cloud.duringRequest([&](const auto &, const auto &) {
        std::call_once(once, [&] {
            store.execute(QStringLiteral("UPDATE DicomImage SET originalSOPInstanceUID = '1.1'"));
            newer = import(QStringLiteral("1.1"));
            around.cloud.refuse(newer);
        });
    });

    run(ExecutionMode::single);

    EXPECT_TRUE(around.cloud.holds(older));
    EXPECT_FALSE(around.cloud.holds(newer));
    EXPECT_NE(states(), QStringList{QStringLiteral("1")});
    around.cloud.accept(newer);
    store.clock.advance(std::chrono::minutes(1));
    run(ExecutionMode::single);
    EXPECT_EQ(states(), QStringList{QStringLiteral("1")});
    EXPECT_TRUE(around.cloud.holds(newer));
}

TEST_F(UploadRunOnIndexTest, SendsAFileWithManyFramesOnceAndMovesAllItsRows)
{
    store.import(index::testing::TemporaryIndex::image(QStringLiteral("1.1"),
                                                       {{QStringLiteral("numberOfFrames"), 5}}));
    const qsizetype rows = states().size();

    const RunSummary summary = run();

    EXPECT_EQ(summary.selectedCandidates, 1);
    EXPECT_EQ(around.cloud.requests().size(), 1U);
    EXPECT_EQ(states().count(QStringLiteral("1")), rows);
}

TEST_F(UploadRunOnIndexTest, NotesToWhichCloudItSends)
{
    import(QStringLiteral("1.1"));

    run();

    EXPECT_EQ(store.number(QStringLiteral(
                  "SELECT count(*) FROM SentInstance JOIN SentCloud ON SentCloud.pk = SentInstance.cloud")),
              1);
}

TEST_F(UploadRunOnIndexTest, SendsAFreshFileBeforeThoseThatWereRefusedHoweverManyTheyAre)
{
    constexpr int kRefused = 300;
    for (int number = 0; number < kRefused; ++number) {
        around.cloud.refuse(import(QStringLiteral("1.%1").arg(number)));
    }
    run();
    const std::size_t before = around.cloud.requests().size();
    const QString waitingBehindAll = import(QStringLiteral("2.1"));
    run(ExecutionMode::single);
    EXPECT_EQ(around.cloud.requests().size(), before + 1) << "the others wait for their time";
    EXPECT_TRUE(around.cloud.holds(waitingBehindAll));

    store.clock.advance(std::chrono::minutes(1));
    const QString first = import(QStringLiteral("2.2"));
    run(ExecutionMode::single);

    const auto requests = around.cloud.requests();
    EXPECT_EQ(requests.size(), before + 2 + kRefused);
    EXPECT_EQ(requests[before + 1].files.first().fileName(), QStringLiteral("converted-") + first);
}

TEST_F(UploadRunOnIndexTest, SendsAFileThatGotNoAnswerBehindAllOthersAndAlone)
{
    const QString cutOff = import(QStringLiteral("1.1"));
    QStringList others;
    for (int number = 2; number < 9; ++number) {
        others.append(import(QStringLiteral("1.%1").arg(number)));
    }
    around.cloud.duringRequest([&](const auto &request, const auto &) {
        if (std::ranges::any_of(request.files,
                                [&](const QUrl &file) { return file.fileName().endsWith(cutOff); })) {
            throw cloud_client::AFError(
                QStringLiteral("cut off"), std::nullopt, 56, cloud_client::NoAnswer::connectionLost);
        }
    });

    run();
    store.reopen(); // the order stays
    store.clock.advance(std::chrono::minutes(1));
    const RunSummary second = run();

    for (const QString &other : others) {
        EXPECT_TRUE(around.cloud.holds(other));
    }
    EXPECT_EQ(second.failedUploads, 1);
    EXPECT_EQ(second.trouble, std::nullopt);
}

TEST_F(UploadRunOnIndexTest, ACloudThatIsAwayCostsFilesNeitherTheirPlaceNorAWait)
{
    for (int number = 0; number < 60; ++number) {
        import(QStringLiteral("1.%1").arg(number));
    }
    around.cloud.duringRequest([](const auto &, const auto &) {
        throw cloud_client::AFError(
            QStringLiteral("refused"), std::nullopt, 7, cloud_client::NoAnswer::notReachable);
    });

    const RunSummary away = run();
    around.cloud.duringRequest({});
    const RunSummary back = run();

    EXPECT_LE(around.cloud.requests().size(), 2U + 30U) << "what was on its way, and the batches afterwards";
    ASSERT_TRUE(away.trouble);
    EXPECT_EQ(away.trouble->failure.failureClass, core::FailureClass::notReachable);
    EXPECT_EQ(back.successfulUploads, 60);
}

TEST_F(UploadRunOnIndexTest, WhatIsAwaitedStaysSoThoughTheCloudIsAway)
{
    import(QStringLiteral("1.1"));
    store.execute(QStringLiteral("UPDATE DicomImage SET notBefore = 1"));
    store.execute(
        QStringLiteral("INSERT INTO UploadFailure (pathString, failureClass, failureCode, failedAt, tries) "
                       "SELECT pathString, 'notThereYet', 0, 0, 1 FROM DicomImage"));
    around.cloud.duringRequest([](const auto &, const auto &) {
        throw cloud_client::AFError(
            QStringLiteral("refused"), std::nullopt, 7, cloud_client::NoAnswer::notReachable);
    });

    const RunSummary away = run();

    ASSERT_TRUE(away.trouble);
    EXPECT_EQ(away.trouble->failure.failureClass, core::FailureClass::notReachable);
    EXPECT_EQ(store.rows(QStringLiteral("SELECT failureClass FROM UploadFailure")),
              QStringList{QStringLiteral("notThereYet")})
        << "it is looked for before it is sent again";
    EXPECT_EQ(states(), QStringList{QStringLiteral("0")}) << "not failed";
}

} // namespace gateway::upload

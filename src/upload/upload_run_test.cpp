#include "platform/dicom/testing/identities.h"
#include "upload/upload_run.h"

#include "upload/testing/upload_run_world.h"

#include <gtest/gtest.h>

#include <barrier>
#include <latch>

namespace gateway::upload {

using log::GatewayLogAction;
using StoreUpload::ExecutionConfig;
using StoreUpload::ExecutionMode;
using StoreUpload::RunSummary;
using testing::config;
using testing::RowState;
using testing::UploadRunTest;

namespace {

struct UploadRunWithAnotherSessionTest : testing::UploadRunInEachModeTest
{
};

} // namespace

TEST_F(UploadRunTest, TakesTheOldestFirst)
{
    storeMany(10);

    run(config(ExecutionMode::single));

    QStringList order;
    for (const auto &request : around.cloud.requests()) {
        order.append(request.files.first().fileName().section(u'-', -1));
    }
    EXPECT_EQ(order.first(), QStringLiteral("1.0"));
    EXPECT_EQ(order.last(), QStringLiteral("1.9"));
    EXPECT_EQ(around.observer.requests, 10);
    EXPECT_EQ(around.observer.syncedFiles, 10);
}

TEST_F(UploadRunTest, TellsWhatItPutBackWhenASingleRunIsStopped)
{
    storeMany(5);
    around.cloud.duringRequest([this](const auto &, const auto &) { stop.request_stop(); });

    const RunSummary summary = run(config(ExecutionMode::single));

    EXPECT_EQ(summary.selectedCandidates, 1);
    EXPECT_EQ(summary.reconciledCandidates, 4);
    EXPECT_EQ(summary.reconciledImages, 0);
    const log::GatewayLogEvent reconciled = onlyEvent(GatewayLogAction::uploadIterationReconciled);
    EXPECT_EQ(reconciled.level, log::GatewayLogLevel::warning);
    EXPECT_EQ(reconciled.category, log::GatewayLogCategory::uploadQueue);
    EXPECT_EQ(reconciled.outcome, log::GatewayLogOutcome::completed);
    EXPECT_EQ(detail(reconciled, QStringLiteral("selected_candidates")), QStringLiteral("5"));
    EXPECT_EQ(detail(reconciled, QStringLiteral("completed_outcomes")), QStringLiteral("1"));
    EXPECT_EQ(detail(reconciled, QStringLiteral("unresolved_candidates")), QStringLiteral("4"));
    EXPECT_EQ(detail(reconciled, QStringLiteral("reset_images")), QStringLiteral("0"));
}

TEST_F(UploadRunTest, PutsBackWhatAStoppedGroupHadMarked)
{
    storeMany(8);
    around.index.whenMarking([this] { stop.request_stop(); });

    const RunSummary summary = run(config(ExecutionMode::parallelFile));

    EXPECT_TRUE(summary.wasCancelled);
    EXPECT_EQ(summary.selectedCandidates, 1);
    EXPECT_EQ(summary.reconciledCandidates, 8);
    EXPECT_EQ(summary.reconciledImages, 1);
    EXPECT_EQ(around.index.count(RowState::notSynced), 8);
    EXPECT_EQ(detail(onlyEvent(GatewayLogAction::uploadIterationReconciled), QStringLiteral("reset_images")),
              QStringLiteral("1"));
    EXPECT_EQ(around.state.counterRefreshes, 1);
}

TEST_F(UploadRunTest, NeverHasMoreRequestsInFlightThanItIsWide)
{
    storeMany(60);

    run(config(ExecutionMode::parallelFile, 3));

    EXPECT_LE(around.cloud.mostAtOnce(), 3);
}

TEST_F(UploadRunTest, NeverConvertsMoreAtOnceThanItIsWide)
{
    storeMany(40);
    std::atomic<int> now = 0;
    std::atomic<int> most = 0;
    around.converter.behave([&](const QString &path) {
        const int running = ++now;
        int seen = most;
        while (running > seen && !most.compare_exchange_weak(seen, running)) {
        }
        const platform::SendableFile converted = around.converter.write(path);
        --now;
        return converted;
    });

    run(config(ExecutionMode::parallelBatch, 2, 3));

    EXPECT_LE(most, 2);
}

TEST_F(UploadRunTest, SendsAsManyAtOnceAsItIsWide)
{
    storeMany(6);
    std::barrier threeInside(3);
    around.cloud.duringRequest([&](const auto &, const auto &) { threeInside.arrive_and_wait(); });

    const RunSummary summary = run(config(ExecutionMode::parallelFile, 3)); // hangs unless three go at once

    EXPECT_EQ(summary.successfulUploads, 6);
}

TEST_F(UploadRunTest, ConvertsTheNextFilesWhileRequestsWaitForTheNetwork)
{
    storeMany(4);
    std::latch allConverted(4);
    around.converter.behave([&](const QString &path) {
        allConverted.count_down();
        return around.converter.write(path);
    });
    around.cloud.duringRequest([&](const auto &, const auto &) { allConverted.wait(); });

    // Two places for requests: they hang unless the other two files are converted meanwhile.
    EXPECT_EQ(run(config(ExecutionMode::parallelFile, 2)).successfulUploads, 4);
}

TEST_F(UploadRunTest, GoesOnWithFurtherPagesWhileAFileOfTheFirstIsOnItsWay)
{
    storeMany(30); // pages of eight
    std::latch lastOfThirdPage(1);
    std::atomic<std::size_t> recordedMeanwhile = 0;
    around.cloud.duringRequest([&](const testing::FakeCloud::Request &request, const auto &) {
        const QString name = request.files.first().fileName();
        if (name == QStringLiteral("converted-1.23")) {
            recordedMeanwhile = around.log.count(GatewayLogAction::uploadResultRecorded);
            lastOfThirdPage.count_down();
        } else if (name == QStringLiteral("converted-1.7")) {
            lastOfThirdPage.wait(); // hangs unless the other pages go on
        }
    });

    const RunSummary summary = run(config(ExecutionMode::parallelFile, 2));

    EXPECT_EQ(recordedMeanwhile, 8U) << "those of the second page";
    EXPECT_EQ(summary.successfulUploads, 30);
}

TEST_F(UploadRunTest, RecordsAPageWhenAllItsFilesHaveEnded)
{
    storeMany(4);
    around.cloud.duringRequest([this](const testing::FakeCloud::Request &request, const auto &) {
        if (request.files.first().fileName() == QStringLiteral("converted-1.3")) {
            EXPECT_EQ(around.log.count(GatewayLogAction::uploadResultRecorded), 0U);
        }
    });

    EXPECT_EQ(run(config(ExecutionMode::parallelFile, 1)).successfulUploads, 4);
}

TEST_F(UploadRunTest, SplitsAPageIntoBatchesInOrderTheLastOneShorter)
{
    storeMany(7);

    run(config(ExecutionMode::parallelBatch, 2, 3));

    std::vector<qsizetype> sizes;
    for (const auto &request : around.cloud.requests()) {
        sizes.push_back(request.files.size());
    }
    std::ranges::sort(sizes);
    EXPECT_EQ(sizes, (std::vector<qsizetype>{1, 3, 3}));
    EXPECT_EQ(around.observer.requests, 3);
    EXPECT_EQ(around.observer.sentBytes, 7) << "a byte for each converted file";
}

TEST_F(UploadRunTest, AnswersABatchFileByFile)
{
    const QStringList paths = storeMany(3);
    around.cloud.refuse(QStringLiteral("1.1"));

    run(config(ExecutionMode::parallelBatch, 1, 3));

    EXPECT_EQ(around.index.state(paths[0]), RowState::synced);
    EXPECT_EQ(around.index.state(paths[1]), RowState::failed);
    EXPECT_EQ(around.index.state(paths[2]), RowState::synced);
    EXPECT_EQ(around.observer.requests, 0) << "a part of it was refused";
    EXPECT_EQ(around.observer.syncedFiles, 2);
    EXPECT_EQ(around.observer.failedFiles, 1);
}

TEST_F(UploadRunTest, LeavesAMissingFileOutOfItsBatchAndSendsTheRest)
{
    const QStringList paths = storeMany(3);
    ASSERT_TRUE(QFile::remove(paths[1]));

    run(config(ExecutionMode::parallelBatch, 1, 3));

    ASSERT_EQ(around.cloud.requests().size(), 1U);
    EXPECT_EQ(around.cloud.requests()[0].files.size(), 2);
    const log::GatewayLogEvent missing = onlyEvent(GatewayLogAction::uploadCandidateFileMissing);
    EXPECT_EQ(detail(missing, QStringLiteral("linked_images")), QStringLiteral("1"));
}

TEST_F(UploadRunTest, SendsNoRequestForABatchWhoseFilesAreAllMissing)
{
    for (const QString &path : storeMany(2)) {
        ASSERT_TRUE(QFile::remove(path));
    }

    const RunSummary summary = run(config(ExecutionMode::parallelBatch, 1, 2));

    EXPECT_EQ(summary.missingFiles, 2);
    EXPECT_TRUE(around.cloud.requests().empty());
}

TEST_F(UploadRunTest, SendsTheOriginalWhenConversionFails)
{
    const QString path = around.store(QStringLiteral("1.1"));
    around.converter.behave(
        [](const QString &) { return testing::FakeConverter::failed(QStringLiteral("odd bits")); });

    run(config(ExecutionMode::single));

    EXPECT_EQ(around.cloud.requests().at(0).files.first().toLocalFile(), path);
    EXPECT_EQ(around.index.state(path), RowState::synced);
    EXPECT_TRUE(QFile::exists(path));
    EXPECT_EQ(detail(onlyEvent(GatewayLogAction::uploadAttemptSucceeded),
                     QStringLiteral("compression_fallback_reason")),
              QStringLiteral("conversion_error"));
}

TEST_F(UploadRunTest, SendsTheOriginalWhenTheConvertedFileIsMissing)
{
    const QString path = around.store(QStringLiteral("1.1"));
    around.converter.behave([this](const QString &source) {
        return testing::FakeConverter::ready(around.folder.filePath(QStringLiteral("nowhere")), source);
    });

    run(config(ExecutionMode::single));

    EXPECT_EQ(around.cloud.requests().at(0).files.first().toLocalFile(), path);
    EXPECT_EQ(around.index.state(path), RowState::synced);
    EXPECT_EQ(detail(onlyEvent(GatewayLogAction::uploadAttemptSucceeded),
                     QStringLiteral("compression_fallback_reason")),
              QStringLiteral("converted_file_missing"));
}

TEST_F(UploadRunTest, SendsTheOriginalWhenThereIsNothingToConvertAndKeepsIt)
{
    const QString path = around.store(QStringLiteral("1.1"));
    around.converter.behave(
        [](const QString &source) { return testing::FakeConverter::ready(source, source); });

    run(config(ExecutionMode::single));

    EXPECT_EQ(around.cloud.requests().at(0).files.first().toLocalFile(), path);
    EXPECT_EQ(around.index.state(path), RowState::synced);
    EXPECT_TRUE(QFile::exists(path));
}

TEST_F(UploadRunTest, KeepsEveryStoredFile)
{
    const QStringList paths = storeMany(12);
    around.cloud.refuse(QStringLiteral("1.4"));

    run(config(ExecutionMode::parallelBatch));

    EXPECT_TRUE(std::ranges::all_of(paths, [](const QString &path) { return QFile::exists(path); }));
}

TEST_F(UploadRunTest, SaysNothingThatNamesAFileOrAnInstance)
{
    around.store(QStringLiteral("1.99.42"));
    around.cloud.answerWith(400);

    run(config(ExecutionMode::parallelBatch));

    for (const log::GatewayLogEvent &event : around.log.events()) {
        const QString text = log::textForm(event);
        EXPECT_FALSE(text.contains(QStringLiteral("1.99.42"))) << text.toStdString();
        EXPECT_FALSE(text.contains(around.folder.path())) << text.toStdString();
    }
}

TEST_P(UploadRunWithAnotherSessionTest, SendsNothingInAnotherSessionThanItLookedIn)
{
    const QString uid = QStringLiteral("1.1");
    around.store(uid);
    around.index.doubt(platform::InstanceUid(uid), index::SentBefore::unrecorded);
    around.cloud.duringLook([this] { around.session.signInAt(QStringLiteral("another cloud")); });

    const RunSummary first = run();

    EXPECT_TRUE(around.cloud.requests().empty());
    EXPECT_TRUE(around.index.sent().isEmpty()) << "nothing is on its way";
    EXPECT_EQ(first.failedUploads, 0);
    EXPECT_EQ(around.index.count(RowState::notSynced), 1);
    ASSERT_TRUE(first.trouble) << "the next run comes by itself";

    around.cloud.duringLook({});
    run();

    ASSERT_EQ(around.cloud.requests().size(), 1U);
    EXPECT_EQ(around.cloud.requests().front().session, around.session.present());
    ASSERT_EQ(around.index.sent().size(), 1);
    EXPECT_EQ(around.index.sent().front().cloud, QStringLiteral("another cloud"));
}

INSTANTIATE_TEST_SUITE_P(AllModes,
                         UploadRunWithAnotherSessionTest,
                         ::testing::Values(ExecutionMode::single,
                                           ExecutionMode::parallelFile,
                                           ExecutionMode::parallelBatch));

} // namespace gateway::upload

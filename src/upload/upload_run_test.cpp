#include "upload/upload_run.h"

#include "upload/testing/fake_surroundings.h"

#include <gtest/gtest.h>

#include <barrier>
#include <latch>

namespace gateway::upload {

using log::GatewayLogAction;
using StoreUpload::ExecutionConfig;
using StoreUpload::ExecutionMode;
using StoreUpload::RunSummary;
using testing::RowState;

namespace {

ExecutionConfig config(ExecutionMode mode, int maxConcurrent = 2, int batchSize = 2)
{
    return {.mode = mode,
            .batchEnabled = mode == ExecutionMode::parallelBatch,
            .maxConcurrent = maxConcurrent,
            .batchSize = batchSize,
            .compressionEnabled = true,
            .fetchLimit = maxConcurrent * 4};
}

struct UploadRunTest : ::testing::Test
{
    testing::FakeSurroundings around;
    std::stop_source stop;

    RunSummary run(const ExecutionConfig &orders)
    {
        RunSummary summary = UploadRun(around.with, QStringLiteral("RUN"), orders, QStringLiteral("DEVICE"))
                                 .run(stop.get_token());
        around.main.drain();
        return summary;
    }

    QStringList storeMany(int count)
    {
        QStringList paths;
        for (int number = 0; number < count; ++number) {
            paths.append(around.store(QStringLiteral("1.%1").arg(number)));
        }
        return paths;
    }

    log::GatewayLogEvent onlyEvent(GatewayLogAction action) const
    {
        const auto events = around.log.events(action);
        EXPECT_EQ(events.size(), 1U);
        return events.empty() ? log::GatewayLogEvent() : events.front();
    }

    static QString detail(const log::GatewayLogEvent &event, const QString &key)
    {
        return event.details ? event.details->value(key) : QString();
    }
};

/// The rules that hold in every mode.
struct UploadRunInEachModeTest : UploadRunTest, ::testing::WithParamInterface<ExecutionMode>
{
    RunSummary run() { return UploadRunTest::run(config(GetParam())); }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(,
                         UploadRunInEachModeTest,
                         ::testing::Values(ExecutionMode::single,
                                           ExecutionMode::parallelFile,
                                           ExecutionMode::parallelBatch),
                         [](const auto &info) { return StoreUpload::rawValue(info.param).data(); });

TEST_P(UploadRunInEachModeTest, SendsEveryFileOnceAndMarksItSynced)
{
    const QStringList paths = storeMany(21);

    const RunSummary summary = run();

    EXPECT_EQ(around.index.count(RowState::synced), 21);
    EXPECT_EQ(summary.selectedCandidates, 21);
    EXPECT_EQ(summary.successfulUploads, 21);
    EXPECT_EQ(summary.failedUploads + summary.missingFiles + summary.reconciledCandidates, 0);
    EXPECT_FALSE(summary.missingToken);
    EXPECT_FALSE(summary.wasCancelled);
    for (int number = 0; number < 21; ++number) {
        EXPECT_TRUE(around.cloud.holds(QStringLiteral("1.%1").arg(number)));
    }
    EXPECT_EQ(around.converter.conversions(), 21);
    EXPECT_EQ(around.leftovers(), 0);
}

TEST_P(UploadRunInEachModeTest, EndsAfterOneFetchOnAnEmptyIndex)
{
    const RunSummary summary = run();

    EXPECT_EQ(around.index.fetches(), 1);
    const RunSummary nothing{.executionDetails = StoreUpload::executionDetails(config(GetParam()))};
    EXPECT_EQ(StoreUpload::summaryDetails(summary), StoreUpload::summaryDetails(nothing));
    EXPECT_TRUE(around.log.events().empty());
    EXPECT_EQ(around.state.counterRefreshes, 0);
    EXPECT_TRUE(around.cleanup.requests().empty());
}

TEST_P(UploadRunInEachModeTest, RecoversAndLogsWithoutATokenAndTouchesNoCandidate)
{
    const QString path = around.store(QStringLiteral("1.1"), 10, 3);
    around.index.setState(path, RowState::inProgress);
    around.session.signIn(false);

    const RunSummary summary = run();

    EXPECT_TRUE(summary.missingToken);
    EXPECT_FALSE(summary.wasCancelled);
    EXPECT_EQ(summary.recoveredInProgressImages, 3);
    EXPECT_EQ(around.index.state(path), RowState::notSynced);
    EXPECT_EQ(around.index.fetches(), 0);
    const log::GatewayLogEvent recovered = onlyEvent(GatewayLogAction::uploadStateRecovered);
    EXPECT_EQ(recovered.level, log::GatewayLogLevel::warning);
    EXPECT_EQ(recovered.category, log::GatewayLogCategory::uploadQueue);
    EXPECT_EQ(recovered.outcome, log::GatewayLogOutcome::completed);
    EXPECT_EQ(detail(recovered, QStringLiteral("recovered_images")), QStringLiteral("3"));
    EXPECT_EQ(detail(recovered, QStringLiteral("affected_series")), QStringLiteral("1"));
    EXPECT_EQ(detail(recovered, QStringLiteral("affected_studies")), QStringLiteral("1"));
    EXPECT_EQ(around.state.counterRefreshes, 1);
    EXPECT_EQ(around.state.seriesRefreshes, 1);
}

TEST_P(UploadRunInEachModeTest, SendsWhatAProcessThatDiedLeftInProgress)
{
    const QString path = around.store(QStringLiteral("1.1"));
    around.index.setState(path, RowState::inProgress);

    const RunSummary summary = run();

    EXPECT_EQ(summary.recoveredInProgressImages, 1);
    EXPECT_EQ(around.index.state(path), RowState::synced);
}

TEST_P(UploadRunInEachModeTest, MakesExactlyOneAttemptAtEachOfThousandsOfFilesThoughManyFail)
{
    constexpr int kFiles = 2'000;
    storeMany(kFiles);
    // The oldest are the ones that fail, and every third one after them.
    int failing = 0;
    for (int number = 0; number < kFiles; ++number) {
        if (number < 500 || number % 3 == 0) {
            around.cloud.refuse(QStringLiteral("1.%1").arg(number));
            ++failing;
        }
    }

    const RunSummary summary = run();

    const QMap<QString, int> attempts = around.cloud.attempts();
    EXPECT_EQ(attempts.size(), kFiles);
    EXPECT_TRUE(std::ranges::all_of(attempts, [](int count) { return count == 1; }));
    EXPECT_EQ(summary.failedUploads, failing);
    EXPECT_EQ(summary.successfulUploads, kFiles - failing);
    EXPECT_EQ(around.index.count(RowState::failed), failing);
    EXPECT_EQ(around.index.count(RowState::synced), kFiles - failing);
}

TEST_P(UploadRunInEachModeTest, MakesOneAttemptAtEachFileWhenAllFailAndEnds)
{
    storeMany(30);
    around.cloud.answerWith(500);

    const RunSummary summary = run();

    EXPECT_EQ(summary.failedUploads, 30);
    EXPECT_EQ(around.cloud.attempts().size(), 30);
    EXPECT_TRUE(std::ranges::all_of(around.cloud.attempts(), [](int count) { return count == 1; }));
    EXPECT_TRUE(around.cleanup.requests().empty());
}

TEST_P(UploadRunInEachModeTest, TriesWhatFailedAgainInTheNextRun)
{
    const QString path = around.store(QStringLiteral("1.1"));
    around.cloud.answerWith(503);
    run();
    ASSERT_EQ(around.index.state(path), RowState::failed);
    around.cloud.answerWith(0);

    run();

    EXPECT_EQ(around.index.state(path), RowState::synced);
}

TEST_P(UploadRunInEachModeTest, RecordsAMissingFileAsNotSynced)
{
    const QString path = around.store(QStringLiteral("1.1"));
    const QString present = around.store(QStringLiteral("1.2"));
    ASSERT_TRUE(QFile::remove(path));

    const RunSummary summary = run();

    EXPECT_EQ(summary.missingFiles, 1);
    EXPECT_EQ(summary.successfulUploads, 1);
    EXPECT_EQ(around.index.state(path), RowState::failed);
    EXPECT_EQ(around.index.state(present), RowState::synced);
    EXPECT_FALSE(around.cloud.attempts().contains(QStringLiteral("1.1")));
}

TEST_P(UploadRunInEachModeTest, SelectsEachCandidateWithItsDetails)
{
    const QString path = around.store(QStringLiteral("1.1"), 10, 4);

    run();

    const log::GatewayLogEvent selected = onlyEvent(GatewayLogAction::uploadCandidateSelected);
    EXPECT_EQ(selected.level, log::GatewayLogLevel::info);
    EXPECT_EQ(selected.category, log::GatewayLogCategory::send);
    EXPECT_EQ(selected.outcome, log::GatewayLogOutcome::started);
    EXPECT_EQ(selected.correlationId, QStringLiteral("RUN"));
    EXPECT_EQ(selected.fileHash, log::hashedIdentifier(path));
    EXPECT_EQ(selected.fileSizeBytes, 10);
    EXPECT_EQ(selected.attempt, 1);
    Details wanted = StoreUpload::executionDetails(config(GetParam()));
    wanted.insert(QStringLiteral("linked_images"), QStringLiteral("4"));
    EXPECT_EQ(selected.details, wanted);
}

TEST_P(UploadRunInEachModeTest, TellsHowEachResultWasRecorded)
{
    const QString path = around.store(QStringLiteral("1.1"), 10, 4);

    run();

    const log::GatewayLogEvent recorded = onlyEvent(GatewayLogAction::uploadResultRecorded);
    EXPECT_EQ(recorded.level, log::GatewayLogLevel::info);
    EXPECT_EQ(recorded.outcome, log::GatewayLogOutcome::succeeded);
    EXPECT_EQ(recorded.fileHash, log::hashedIdentifier(path));
    EXPECT_EQ(recorded.attempt, 1);
    EXPECT_EQ(detail(recorded, QStringLiteral("linked_images")), QStringLiteral("4"));
    EXPECT_EQ(detail(recorded, QStringLiteral("did_sync")), QStringLiteral("true"));
    EXPECT_EQ(detail(recorded, QStringLiteral("updated_images")), QStringLiteral("4"));
    EXPECT_EQ(detail(recorded, QStringLiteral("upload_source")), QStringLiteral("converted"));
    EXPECT_EQ(detail(recorded, QStringLiteral("chunk_candidate_count")),
              GetParam() == ExecutionMode::parallelBatch ? QStringLiteral("1") : QString());
}

TEST_P(UploadRunInEachModeTest, TellsASuccessThatUpdatedNoImageAsAFailureOfTheRecord)
{
    const QString path = around.store(QStringLiteral("1.1"));
    around.index.whenRecording([this, path] { around.index.remove(path); });

    const RunSummary summary = run();

    const log::GatewayLogEvent recorded = onlyEvent(GatewayLogAction::uploadResultRecorded);
    EXPECT_EQ(recorded.level, log::GatewayLogLevel::warning);
    EXPECT_EQ(recorded.outcome, log::GatewayLogOutcome::failed);
    EXPECT_EQ(detail(recorded, QStringLiteral("did_sync")), QStringLiteral("true"));
    EXPECT_EQ(detail(recorded, QStringLiteral("updated_images")), QStringLiteral("0"));
    EXPECT_EQ(summary.successfulUploads, 1);
}

TEST_P(UploadRunInEachModeTest, KeepsGoingWhenTheIndexCanWriteNothing)
{
    const QStringList paths = storeMany(10);
    around.index.failWrites();

    const RunSummary summary = run();

    EXPECT_EQ(summary.selectedCandidates, 10);
    EXPECT_EQ(around.index.count(RowState::notSynced), 10);
}

TEST_P(UploadRunInEachModeTest, AsksForACleanupOnceARoundThatSentSomething)
{
    storeMany(20); // three pages of at most eight

    run();

    const std::vector<std::pair<QString, QString>> asked = around.cleanup.requests();
    ASSERT_EQ(asked.size(), 3U);
    EXPECT_EQ(asked[0].first, QStringLiteral("upload_success"));
    EXPECT_EQ(asked[0].second, QStringLiteral("RUN"));
    EXPECT_EQ(around.state.counterRefreshes, 3);
    EXPECT_EQ(around.state.seriesRefreshes, 3);
}

TEST_P(UploadRunInEachModeTest, EndsAtTheNextRoundWhenTheSessionIsLost)
{
    storeMany(40);
    around.cloud.duringRequest([this](const auto &, const auto &) { around.session.signIn(false); });

    const RunSummary summary = run();

    EXPECT_TRUE(summary.missingToken);
    EXPECT_FALSE(summary.wasCancelled);
    // The page under way, and in the parallel modes the one that had begun behind it.
    EXPECT_LE(summary.selectedCandidates, GetParam() == ExecutionMode::single ? 8 : 16);
    EXPECT_GE(summary.selectedCandidates, 8);
    EXPECT_EQ(summary.successfulUploads, summary.selectedCandidates);
    EXPECT_EQ(around.index.count(RowState::notSynced), 40 - summary.selectedCandidates);
}

TEST_P(UploadRunInEachModeTest, LeavesNothingInProgressWhenItIsStopped)
{
    storeMany(40);
    around.cloud.duringRequest([this](const auto &, const auto &) { stop.request_stop(); });

    const RunSummary summary = run();

    EXPECT_TRUE(summary.wasCancelled);
    EXPECT_GE(summary.successfulUploads, 1);
    EXPECT_LT(summary.selectedCandidates, 40);
    EXPECT_EQ(around.index.count(RowState::inProgress), 0);
    EXPECT_EQ(around.index.count(RowState::synced), summary.successfulUploads);
    EXPECT_EQ(around.leftovers(), 0);
}

TEST_P(UploadRunInEachModeTest, TouchesNothingWhenItWasStoppedBeforeItBegan)
{
    storeMany(3);
    stop.request_stop();

    const RunSummary summary = run();

    EXPECT_TRUE(summary.wasCancelled);
    EXPECT_EQ(around.index.fetches(), 0);
    EXPECT_EQ(around.index.count(RowState::notSynced), 3);
}

TEST_P(UploadRunInEachModeTest, SendsAFileOnceThatComesWhileItRuns)
{
    storeMany(8);
    std::once_flag once;
    around.cloud.duringRequest([&](const auto &, const auto &) {
        std::call_once(once, [this] { around.store(QStringLiteral("2.1")); });
    });

    const RunSummary summary = run();

    EXPECT_EQ(summary.selectedCandidates, 9);
    EXPECT_EQ(around.cloud.attempts().value(QStringLiteral("2.1")), 1);
}

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
        const platform::Conversion converted = around.converter.write(path);
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

TEST_F(UploadRunTest, BeginsTheNextPageWhileAFileOfTheOneBeforeIsOnItsWayButNoThirdOne)
{
    storeMany(30); // pages of eight
    std::latch lastOfSecondPage(1);
    std::atomic<std::size_t> begunMeanwhile = 0;
    around.cloud.duringRequest([&](const testing::FakeCloud::Request &request, const auto &) {
        const QString name = request.files.first().fileName();
        if (name == QStringLiteral("converted-1.15")) {
            lastOfSecondPage.count_down();
        } else if (name == QStringLiteral("converted-1.7")) {
            lastOfSecondPage.wait(); // hangs unless the second page goes on
            begunMeanwhile = around.log.count(GatewayLogAction::uploadCandidateSelected);
        }
    });

    const RunSummary summary = run(config(ExecutionMode::parallelFile, 2));

    EXPECT_EQ(begunMeanwhile, 16U);
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
}

TEST_F(UploadRunTest, AnswersABatchFileByFile)
{
    const QStringList paths = storeMany(3);
    around.cloud.refuse(QStringLiteral("1.1"));

    run(config(ExecutionMode::parallelBatch, 1, 3));

    EXPECT_EQ(around.index.state(paths[0]), RowState::synced);
    EXPECT_EQ(around.index.state(paths[1]), RowState::failed);
    EXPECT_EQ(around.index.state(paths[2]), RowState::synced);
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
        [](const QString &) { return platform::Conversion{QString(), QStringLiteral("odd bits")}; });

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
    around.converter.behave([this](const QString &) {
        return platform::Conversion{around.folder.filePath(QStringLiteral("nowhere")), QString()};
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
    around.converter.behave([](const QString &source) { return platform::Conversion{source, QString()}; });

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

TEST_P(UploadRunInEachModeTest, KeepsWhyAFileFailedUntilItIsUploaded)
{
    const QString refused = around.store(QStringLiteral("1.1"));
    const QString gone = around.store(QStringLiteral("1.2"));
    const QString fine = around.store(QStringLiteral("1.3"));
    around.cloud.refuse(QStringLiteral("1.1"));
    QFile::remove(gone);

    run();
    const QMap<QString, core::Failure> first = around.index.failures();
    around.cloud.accept(QStringLiteral("1.1"));
    run();

    EXPECT_EQ(first,
              (QMap<QString, core::Failure>{{refused, {core::FailureClass::outOfResources, 0xA700}},
                                            {gone, {core::FailureClass::fileMissing, 0}}}));
    EXPECT_EQ(around.index.state(fine), RowState::synced);
    EXPECT_EQ(around.index.failures().keys(), QStringList{gone});
}

TEST_P(UploadRunInEachModeTest, LogsAFailureOnceAndItsResultOnceWhoeverKeepsTheReason)
{
    around.store(QStringLiteral("1.1"));
    around.cloud.refuse(QStringLiteral("1.1"));

    run();

    std::vector<GatewayLogAction> actions;
    for (const log::GatewayLogEvent &event : around.log.events()) {
        actions.push_back(event.action);
    }
    EXPECT_EQ(actions,
              (std::vector{GatewayLogAction::uploadCandidateSelected,
                           GatewayLogAction::uploadAttemptStarted,
                           GatewayLogAction::uploadAttemptFailed,
                           GatewayLogAction::uploadResultRecorded}));
}

} // namespace gateway::upload

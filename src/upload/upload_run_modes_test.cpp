// The rules that hold in every mode.

#include "platform/dicom/testing/identities.h"
#include "upload/upload_run.h"

#include "upload/testing/upload_run_world.h"

#include <QtCore/QDeadlineTimer>

#include <gtest/gtest.h>

#include <thread>

namespace gateway::upload {

using platform::testing::instanceUid;

using log::GatewayLogAction;
using StoreUpload::ExecutionConfig;
using StoreUpload::ExecutionMode;
using StoreUpload::RunSummary;
using testing::config;
using testing::RowState;
using testing::UploadRunInEachModeTest;

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

TEST_P(UploadRunInEachModeTest, TakesNothingForSentThatTheCloudHadBeforeItWasSentFromHere)
{
    const QStringList paths = storeMany(3);
    for (const auto *uid : {"1.0", "1.1"}) {
        around.cloud.claimToHave(QString::fromLatin1(uid));
    }
    around.index.doubt(instanceUid("1.1"), index::SentBefore::thisVersion);

    run();

    EXPECT_EQ(around.index.state(paths[0]), RowState::failed);
    EXPECT_EQ(around.index.failures().value(paths[0]).failureClass, core::FailureClass::notComparable);
    EXPECT_EQ(around.index.state(paths[1]), RowState::synced) << "it was sent from here";
    EXPECT_EQ(around.index.state(paths[2]), RowState::synced);
}

TEST_P(UploadRunInEachModeTest, TakesNothingForSentBeforeThatFailedThenWhateverItConcerned)
{
    const QStringList paths = storeMany(1);
    around.cloud.answerWith(503); // of all files: this one has no pause of its own
    run();
    around.cloud.answerWith(0);
    around.cloud.claimToHave(QStringLiteral("1.0"));

    run();

    EXPECT_EQ(around.index.failures().value(paths[0]).failureClass, core::FailureClass::notComparable);
}

TEST_P(UploadRunInEachModeTest, SendsAVersionOnlyOnceTheResultOfTheOneBeforeItIsRecorded)
{
    storeMany(7);
    const QString first = around.store(QStringLiteral("1.7")); // the last one of the first page
    const QUrl corrected =
        QUrl::fromLocalFile(around.makeFolder(QStringLiteral("corrected")) + QStringLiteral("/1.7"));
    testing::FakeSurroundings::write(corrected, 20);
    const QString second = around.index.add(corrected, QStringLiteral("1.7"));
    around.cloud.duringRequest([&](const testing::FakeCloud::Request &request, const auto &) {
        const bool isOfTheFirst = around.index.state(first) == RowState::inProgress &&
                                  request.files.last().path().endsWith(QStringLiteral("1.7"));
        while (isOfTheFirst && around.index.fetches() < 2) {
            std::this_thread::yield(); // until the next page, of the second alone, is known
        }
    });
    around.index.whenMarking([&] {
        if (around.index.fetches() >= 2) {
            EXPECT_EQ(around.index.state(first), RowState::synced);
        }
    });

    const RunSummary summary = run();

    EXPECT_EQ(summary.successfulUploads, 9);
    EXPECT_EQ(around.index.state(second), RowState::synced);
}

TEST_P(UploadRunInEachModeTest, SendsOtherFilesWhileAVersionWaitsForTheOneBeforeIt)
{
    const QString first = around.store(QStringLiteral("1.7"));
    const QUrl corrected =
        QUrl::fromLocalFile(around.makeFolder(QStringLiteral("corrected")) + QStringLiteral("/1.7"));
    testing::FakeSurroundings::write(corrected, 20);
    const QString second = around.index.add(corrected, QStringLiteral("1.7"));
    const QString other = storeMany(5).last();
    const bool canTwoGoAtOnce = GetParam() != ExecutionMode::single;
    const auto isGone = [&] { return around.cloud.holds(QStringLiteral("1.4")); };
    around.cloud.duringRequest([&](const testing::FakeCloud::Request &request, const auto &) {
        const bool isOfTheFirst = around.index.state(first) == RowState::inProgress &&
                                  request.files.last().path().endsWith(QStringLiteral("1.7"));
        const QDeadlineTimer patience(10'000);
        while (isOfTheFirst && canTwoGoAtOnce && !isGone() && !patience.hasExpired()) {
            std::this_thread::yield();
        }
        EXPECT_TRUE(!isOfTheFirst || !canTwoGoAtOnce || isGone()) << "it waited with the second version";
    });

    run();

    EXPECT_EQ(around.index.state(second), RowState::synced);
    EXPECT_EQ(around.index.state(other), RowState::synced);
}

TEST_P(UploadRunInEachModeTest, NotesAFailureBeforeTheRestOfItsPageHasEnded)
{
    const QStringList paths = storeMany(8);
    around.cloud.refuse(QStringLiteral("1.0"));
    around.cloud.duringRequest([&](const testing::FakeCloud::Request &request, const auto &) {
        if (!request.files.last().path().endsWith(QStringLiteral("1.7"))) {
            return;
        }
        const QDeadlineTimer patience(10'000); // the last request of the page outlasts the first
        const auto noted = [&] { return around.index.sentBefore({instanceUid("1.0"), 1}); };
        while (noted() != index::SentBefore::thisVersionInVain && !patience.hasExpired()) {
            std::this_thread::yield();
        }
        EXPECT_EQ(noted(), index::SentBefore::thisVersionInVain);
        EXPECT_EQ(around.index.state(paths[0]), RowState::inProgress)
            << "its result is recorded with the others";
    });

    run();

    EXPECT_EQ(around.index.state(paths[0]), RowState::failed);
}

TEST_P(UploadRunInEachModeTest, NeverPutsTwoFilesOfOneInstanceIntoOneRequest)
{
    around.store(QStringLiteral("1.7"));
    const QUrl twin =
        QUrl::fromLocalFile(around.makeFolder(QStringLiteral("elsewhere")) + QStringLiteral("/1.7"));
    testing::FakeSurroundings::write(twin, 20);
    around.index.add(twin, QStringLiteral("1.7"));
    ExecutionConfig uncompressed = config(GetParam());
    uncompressed.compressionEnabled = false;

    UploadRunTest::run(uncompressed);

    EXPECT_EQ(around.index.count(RowState::synced), 2);
    for (const auto &request : around.cloud.requests()) {
        EXPECT_EQ(request.files.size(), 1);
    }
}

TEST_P(UploadRunInEachModeTest, TellsTheIndexWhatItIsAboutToSendAlsoWhenThatFails)
{
    around.store(QStringLiteral("1.1"), 10);
    around.cloud.refuse(QStringLiteral("1.1"));

    run();

    ASSERT_EQ(around.index.sent().size(), 1);
    EXPECT_EQ(around.index.sent().first().instance, instanceUid("1.1"));
    EXPECT_EQ(around.index.sent().first().version, 10);
}

TEST_P(UploadRunInEachModeTest, HoldsBackAnImageInWhosePlaceTheCloudKeepsAnother)
{
    const QString path = around.store(QStringLiteral("1.1"));
    around.index.rememberOtherVersion(instanceUid("1.1"));
    around.converter.compareAs(platform::Likeness::different);
    around.converter.behave([this](const QString &source) {
        platform::SendableFile made = around.converter.write(source);
        made.identity = platform::testing::identity("1", "1.0", "1.1");
        return made;
    });

    run();

    EXPECT_EQ(around.index.state(path), RowState::failed);
    EXPECT_EQ(around.index.failures().value(path).failureClass, core::FailureClass::anotherVersionInCloud);
}

TEST_P(UploadRunInEachModeTest, EndsAfterOneFetchOnAnEmptyIndex)
{
    const RunSummary summary = run();

    EXPECT_EQ(around.index.fetches(), 1);
    const RunSummary nothing{.orders = config(GetParam())};
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

TEST_P(UploadRunInEachModeTest, SendsNothingThatTheIndexCannotNoteAndSaysWhatIsWrong)
{
    storeMany(10);
    around.index.failWrites();

    const RunSummary summary = run();

    EXPECT_TRUE(around.cloud.requests().empty());
    EXPECT_EQ(around.index.count(RowState::notSynced), 10);
    ASSERT_TRUE(summary.trouble);
    EXPECT_EQ(summary.trouble->failure.failureClass, core::FailureClass::indexTrouble);
}

TEST_P(UploadRunInEachModeTest, EndsInTroubleWhenAResultCannotBeRecorded)
{
    const QString path = around.store(QStringLiteral("1.1"));
    around.index.whenRecording([this] { around.index.failWrites(); });

    const RunSummary summary = run();

    EXPECT_TRUE(around.cloud.holds(QStringLiteral("1.1")));
    EXPECT_EQ(around.index.state(path), RowState::inProgress);
    ASSERT_TRUE(summary.trouble);
    EXPECT_EQ(summary.trouble->failure.failureClass, core::FailureClass::indexTrouble);
}

TEST_P(UploadRunInEachModeTest, TakesAnIndexThatCannotBeReadForTroubleAndNotForEmpty)
{
    storeMany(2);
    around.index.failReads(true);

    const RunSummary summary = run();

    EXPECT_EQ(summary.selectedCandidates, 0);
    ASSERT_TRUE(summary.trouble);
    EXPECT_EQ(summary.trouble->failure.failureClass, core::FailureClass::indexTrouble);
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

TEST_P(UploadRunInEachModeTest, BeginsNothingMoreWhenTheSessionIsLost)
{
    storeMany(40);
    around.cloud.duringRequest([this](const auto &, const auto &) { around.session.signIn(false); });

    const RunSummary summary = run();

    EXPECT_TRUE(summary.missingToken);
    EXPECT_FALSE(summary.wasCancelled);
    // What was under way ends as it will.
    const int most = GetParam() == ExecutionMode::single ? 1 : 16;
    EXPECT_GE(summary.successfulUploads, 1);
    EXPECT_LE(summary.successfulUploads, most);
    EXPECT_EQ(summary.failedUploads, 0);
    EXPECT_EQ(around.index.count(RowState::notSynced), 40 - summary.successfulUploads);
    for (const testing::FakeCloud::Request &request : around.cloud.requests()) {
        EXPECT_TRUE(request.session.isSignedIn());
    }
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

TEST_P(UploadRunInEachModeTest, EndsAtWhatConcernsTheWholeQueueAndPutsTheRestBack)
{
    for (const int status : {401, 403, 429, 503, 507}) {
        testing::FakeSurroundings fresh;
        for (int number = 0; number < 60; ++number) {
            fresh.store(QStringLiteral("1.%1").arg(number));
        }
        fresh.cloud.answerWith(status);

        const RunSummary summary = UploadRun(fresh.collaborators,
                                             QStringLiteral("RUN"),
                                             testing::config(GetParam()),
                                             QStringLiteral("DEVICE"))
                                       .run({});
        fresh.main.drain();

        ASSERT_TRUE(summary.trouble) << status;
        EXPECT_LE(fresh.cloud.requests().size(), 2U) << status << ": no more than were on their way";
        EXPECT_LE(fresh.converter.conversions(), 8) << status;
        EXPECT_EQ(fresh.index.count(RowState::inProgress), 0);
        EXPECT_EQ(fresh.index.count(RowState::failed), summary.failedUploads);
        const bool mayBeOfOneFile = status == 403 || status == 507;
        EXPECT_EQ(fresh.index.pauses().isEmpty(), !mayBeOfOneFile) << status;
        EXPECT_EQ(fresh.leftovers(), 0);
    }
}

TEST_P(UploadRunInEachModeTest, ProbesWithOneFileWhileNobodyKnowsWhetherTheCloudIsBack)
{
    storeMany(60);
    StoreUpload::ExecutionConfig orders = testing::config(GetParam());
    orders.probesFirst = true;
    around.cloud.answerWith(503);

    const RunSummary inVain = UploadRunTest::run(orders);
    EXPECT_EQ(inVain.selectedCandidates, 1);
    EXPECT_EQ(around.cloud.requests().size(), 1U);
    EXPECT_EQ(around.converter.conversions(), 1);

    around.cloud.answerWith(0);
    const RunSummary back = UploadRunTest::run(orders);
    EXPECT_EQ(around.cloud.requests().at(1).files.size(), 1);
    EXPECT_EQ(back.successfulUploads, 60);
}

TEST_P(UploadRunInEachModeTest, EndsAfterThreeRequestsInARowWithoutAnAnswer)
{
    storeMany(60);
    around.cloud.duringRequest([](const auto &, const auto &) {
        throw cloud_client::AFError(
            QStringLiteral("silence"), std::nullopt, 28, cloud_client::NoAnswer::timedOut);
    });

    const RunSummary summary = run();

    ASSERT_TRUE(summary.trouble);
    EXPECT_EQ(summary.trouble->failure.failureClass, core::FailureClass::timedOut);
    EXPECT_LE(around.cloud.requests().size(), 4U);
    EXPECT_EQ(around.index.pauses().size(), summary.failedUploads);
}

TEST_P(UploadRunInEachModeTest, CarriesHowLongTheCloudAskedToBeLeftAlone)
{
    around.store(QStringLiteral("1.1"));
    around.cloud.duringRequest([](const auto &, const auto &) {
        cloud_client::AFError busy(QStringLiteral("busy"), 429);
        busy.retryAfter = std::chrono::seconds(300);
        throw busy;
    });

    const RunSummary summary = run();

    ASSERT_TRUE(summary.trouble);
    EXPECT_EQ(summary.trouble->retryAfter, std::chrono::seconds(300));
}

} // namespace gateway::upload

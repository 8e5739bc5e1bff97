#include "upload/upload_attempt.h"

#include "platform/dicom/testing/identities.h"
#include "upload/testing/fake_surroundings.h"

#include <gtest/gtest.h>

namespace gateway::upload {

using log::GatewayLogAction;
using StoreUpload::AttemptEnd;
using StoreUpload::AttemptResult;
using StoreUpload::CandidateOutcome;
using StoreUpload::PreparedCandidate;
using namespace std::chrono_literals;

namespace {

struct UploadAttemptTest : ::testing::Test
{
    testing::FakeSurroundings around;
    RunIdentity run{QStringLiteral("RUN"), {.compressionEnabled = true}, QStringLiteral("DEVICE")};
    CandidatePreparer preparer{around.collaborators, run};
    UploadAttempt attempt{around.collaborators, run, preparer};

    /// A stored file with its rows, ready to be sent as it is.
    PreparedCandidate original(const QString &uid, int bytes = 10)
    {
        const QString path = around.store(uid, bytes);
        PreparedCandidate prepared;
        prepared.context.candidate.storagePath = path;
        prepared.context.candidate.fileURL = QUrl::fromLocalFile(path);
        prepared.context.candidate.imageObjectIDs = {{0}};
        prepared.identity.instance = platform::InstanceUid(uid);
        prepared.context.candidate.sopInstanceUIDs = {uid + u'0'};
        prepared.uploadURL = prepared.context.candidate.fileURL;
        prepared.details = {{QStringLiteral("upload_source"), QStringLiteral("original")}};
        return prepared;
    }

    std::vector<AttemptResult> sendBatch(const QList<PreparedCandidate> &prepared)
    {
        std::vector<AttemptResult> results;
        for (const CandidateOutcome &outcome : attempt.sendBatch(prepared, {})) {
            results.push_back(outcome.end.result);
        }
        return results;
    }

    void failWith(std::function<void()> throwing)
    {
        around.cloud.duringRequest(
            [throwing = std::move(throwing)](const auto &, const auto &) { throwing(); });
    }
};

constexpr auto kSuccess = AttemptResult::success;
constexpr auto kFailed = AttemptResult::failed;

} // namespace

TEST_F(UploadAttemptTest, SendsOneFileWithTheDeviceId)
{
    const PreparedCandidate prepared = original(QStringLiteral("1.2.3"));

    EXPECT_EQ(attempt.sendFile(prepared), StoreUpload::kUploaded);

    ASSERT_EQ(around.cloud.requests().size(), 1U);
    EXPECT_EQ(around.cloud.requests()[0].files, QList<QUrl>{prepared.uploadURL});
    EXPECT_EQ(around.cloud.requests()[0].deviceId, QStringLiteral("DEVICE"));
}

TEST_F(UploadAttemptTest, TellsStartAndSuccessOfAFileByTheStoredFilesHashAndTheSentFilesSize)
{
    PreparedCandidate prepared = original(QStringLiteral("1.2.3"), 10);
    prepared.uploadURL = QUrl::fromLocalFile(around.folder.filePath(QStringLiteral("converted-1.2.3")));
    testing::FakeSurroundings::write(prepared.uploadURL, 4);

    attempt.sendFile(prepared);

    const auto events = around.log.events();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].action, GatewayLogAction::uploadAttemptStarted);
    EXPECT_EQ(events[0].outcome, log::GatewayLogOutcome::started);
    EXPECT_EQ(events[1].action, GatewayLogAction::uploadAttemptSucceeded);
    EXPECT_EQ(events[1].outcome, log::GatewayLogOutcome::succeeded);
    for (const log::GatewayLogEvent &event : events) {
        EXPECT_EQ(event.level, log::GatewayLogLevel::info);
        EXPECT_EQ(event.category, log::GatewayLogCategory::send);
        EXPECT_EQ(event.correlationId, QStringLiteral("RUN"));
        EXPECT_EQ(event.fileHash, log::hashedIdentifier(prepared.context.candidate.storagePath));
        EXPECT_EQ(event.fileSizeBytes, 4);
        EXPECT_EQ(event.attempt, 1);
        EXPECT_EQ(event.details, prepared.details);
        EXPECT_EQ(event.error, std::nullopt);
    }
}

TEST_F(UploadAttemptTest, TellsAFailureWithDomainAndCodeAndAsksForTheTerms)
{
    const PreparedCandidate prepared = original(QStringLiteral("1.2.3"));
    around.cloud.answerWith(413);

    EXPECT_EQ(attempt.sendFile(prepared), (AttemptEnd{kFailed, {core::FailureClass::tooLarge, 413}}));

    const auto failures = around.log.events(GatewayLogAction::uploadAttemptFailed);
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(failures[0].level, log::GatewayLogLevel::error);
    EXPECT_EQ(failures[0].outcome, log::GatewayLogOutcome::failed);
    EXPECT_EQ(failures[0].attempt, 1);
    EXPECT_EQ(failures[0].details, prepared.details);
    ASSERT_TRUE(failures[0].error.has_value());
    EXPECT_EQ(failures[0].error->domain, QStringLiteral("QuorinAPI.AFError"));
    EXPECT_EQ(failures[0].error->code, 413);
    EXPECT_FALSE(failures[0].error->message.contains(QStringLiteral("status")));
    ASSERT_EQ(around.terms.failures().size(), 1U);
    EXPECT_EQ(around.terms.failures()[0].runId, QStringLiteral("RUN"));
    EXPECT_EQ(around.terms.failures()[0].fileURL, prepared.context.candidate.fileURL);
}

TEST_F(UploadAttemptTest, TakesAnyOtherExceptionForAFailureToo)
{
    failWith([] { throw std::runtime_error("out of wires"); });

    EXPECT_EQ(attempt.sendFile(original(QStringLiteral("1.2.3"))),
              (AttemptEnd{kFailed, {core::FailureClass::unknown, 0}}));
    EXPECT_EQ(around.log.events(GatewayLogAction::uploadAttemptFailed).at(0).error->domain,
              QStringLiteral("std::exception"));
}

TEST_F(UploadAttemptTest, TellsOfAConvertedFileThatHasGone)
{
    PreparedCandidate prepared = original(QStringLiteral("1.2.3"));
    prepared.uploadURL = QUrl::fromLocalFile(around.folder.filePath(QStringLiteral("nowhere")));

    EXPECT_EQ(attempt.sendFile(prepared), StoreUpload::kFileMissing);

    ASSERT_EQ(around.log.events().size(), 1U);
    EXPECT_EQ(around.log.events()[0].action, GatewayLogAction::uploadCandidateFileMissing);
    EXPECT_TRUE(around.cloud.requests().empty());
}

TEST_F(UploadAttemptTest, TellsTheSpeedOfAWholeFileOnTheMainThread)
{
    failWith([this] { around.clock.advance(2s); });

    attempt.sendFile(original(QStringLiteral("1.2.3"), 500));
    EXPECT_TRUE(around.state.samples.empty());
    around.main.drain();

    ASSERT_EQ(around.state.samples.size(), 1U);
    EXPECT_EQ(around.state.samples[0], (std::pair<qint64, double>(500, 2.0)));
}

TEST_F(UploadAttemptTest, TellsNoSpeedOfAFailure)
{
    failWith([this] {
        around.clock.advance(2s);
        throw cloud_client::AFError(QString(), 500);
    });

    attempt.sendFile(original(QStringLiteral("1.2.3"), 500));
    around.main.drain();

    EXPECT_TRUE(around.state.samples.empty());
}

TEST_F(UploadAttemptTest, TakesTheSpeedOfARefusedFileBack)
{
    around.cloud.duringRequest([this](const auto &, const auto &progress) {
        around.clock.advance(1ms);
        progress({.completedUnitCount = 1'000'000});
        throw std::runtime_error("refused");
    });

    attempt.sendFile(original(QStringLiteral("1.2.3"), 500));
    around.main.drain();
    ASSERT_EQ(around.state.samples.size(), 1U);
    EXPECT_EQ(around.state.speedResets, 1);

    attempt.sendBatch({original(QStringLiteral("1.2.4")), original(QStringLiteral("1.2.5"))}, {});
    around.main.drain();
    EXPECT_EQ(around.state.speedResets, 2);
}

TEST_F(UploadAttemptTest, SamplesTheSpeedOnceASecondAsCumulativeBytesOverCumulativeSeconds)
{
    around.cloud.duringRequest([this](const auto &, const cloud_client::UploadProgressCallback &progress) {
        progress({0, 1000});
        around.clock.advance(1s);
        progress({100, 1000});
        around.clock.advance(999ms);
        progress({190, 1000}); // too early for a second sample
        around.clock.advance(1ms);
        progress({200, 1000});
    });

    attempt.sendFile(original(QStringLiteral("1.2.3"), 1000));
    around.main.drain();

    const std::vector<std::pair<qint64, double>> expected = {{100, 1.0}, {200, 2.0}, {1000, 2.0}};
    EXPECT_EQ(around.state.samples, expected);
}

TEST_F(UploadAttemptTest, TellsABatchByItsFirstFileWithTheSizeOfAllAndNoAttempt)
{
    const QList<PreparedCandidate> prepared = {original(QStringLiteral("1.1"), 10),
                                               original(QStringLiteral("1.2"), 20)};
    const Details chunkDetails = {{QStringLiteral("chunk_candidate_count"), QStringLiteral("2")}};

    const auto outcomes = attempt.sendBatch(prepared, chunkDetails);

    Details eventDetails = run.executionDetails;
    eventDetails.insert(chunkDetails);
    ASSERT_EQ(around.log.events().size(), 2U);
    for (const log::GatewayLogEvent &event : around.log.events()) {
        EXPECT_EQ(event.fileHash, log::hashedIdentifier(prepared[0].context.candidate.storagePath));
        EXPECT_EQ(event.fileSizeBytes, 30);
        EXPECT_EQ(event.attempt, std::nullopt);
        EXPECT_EQ(event.details, eventDetails);
    }
    Details outcomeDetails = prepared[1].details;
    outcomeDetails.insert(chunkDetails);
    ASSERT_EQ(outcomes.size(), 2);
    EXPECT_EQ(outcomes[1].details, outcomeDetails);
    EXPECT_EQ(outcomes[1].end.result, kSuccess);
}

TEST_F(UploadAttemptTest, FailsOnlyTheFileOfABatchWhoseInstanceTheServerNames)
{
    around.cloud.refuse(QStringLiteral("1.2"));

    const auto results = sendBatch(
        {original(QStringLiteral("1.1")), original(QStringLiteral("1.2")), original(QStringLiteral("1.3"))});

    EXPECT_EQ(results, (std::vector{kSuccess, kFailed, kSuccess}));
    EXPECT_EQ(around.terms.failures().size(), 1U);
    EXPECT_EQ(around.log.count(GatewayLogAction::uploadAttemptFailed), 1U);
}

TEST_F(UploadAttemptTest, TellsAnInstanceFromOneWhoseUidOnlyGoesOnLonger)
{
    // The index's key of 1.2.3 in its first series reads 1.2.30, which is the UID of the other file.
    around.cloud.refuse(QStringLiteral("1.2.3"));
    EXPECT_EQ(sendBatch({original(QStringLiteral("1.2.3")), original(QStringLiteral("1.2.30"))}),
              (std::vector{kFailed, kSuccess}));
}

TEST_F(UploadAttemptTest, TellsAnInstanceFromOneWhoseKeyReadsLikeIt)
{
    around.cloud.refuse(QStringLiteral("1.2.30"));
    EXPECT_EQ(sendBatch({original(QStringLiteral("1.2.3")), original(QStringLiteral("1.2.30"))}),
              (std::vector{kSuccess, kFailed}));
}

TEST_F(UploadAttemptTest, FailsAFileWithoutAnyIdentifierWhenItsBatchWasRefusedInPart)
{
    PreparedCandidate nameless = original(QStringLiteral("1.1"));
    nameless.identity.instance = {};
    nameless.context.candidate.sopInstanceUIDs.clear();
    around.cloud.refuse(QStringLiteral("1.2"));

    EXPECT_EQ(sendBatch({nameless, original(QStringLiteral("1.2")), original(QStringLiteral("1.3"))}),
              (std::vector{kFailed, kFailed, kSuccess}));
}

TEST_F(UploadAttemptTest, LetsNoFilePassWhenARefusalNamesNobody)
{
    const QList<QList<QStringList>> vague = {
        {}, {{}}, {{QStringLiteral(" ")}}, {{QStringLiteral("1.1")}, {}}};
    for (const QList<QStringList> &failures : vague) {
        failWith([failures] { throw cloud_client::QrnStowResponse(failures, 0xA700); });
        EXPECT_EQ(sendBatch({original(QStringLiteral("1.1")), original(QStringLiteral("1.2"))}),
                  (std::vector{kFailed, kFailed}));
    }
}

TEST_F(UploadAttemptTest, ComparesWhatIsThereThoughItWasRefused)
{
    PreparedCandidate there = original(QStringLiteral("1.1"));
    there.identity.study = platform::StudyUid(QStringLiteral("1"));
    there.identity.series = platform::SeriesUid(QStringLiteral("1.0"));
    around.cloud.upload({}, cloud_client::StowFile{there.uploadURL, there.identity}, {}, {});
    failWith([] {
        throw cloud_client::QrnStowResponse(
            {{QStringLiteral("1.1")}}, 0, {}, nullptr, {}, {}, {platform::testing::instanceUid("1.1")});
    });
    const struct
    {
        platform::Likeness likeness;
        AttemptResult result;
    } looks[] = {{platform::Likeness::same, kSuccess},
                 {platform::Likeness::different, kFailed},
                 {platform::Likeness::unknown, kFailed}};

    for (const auto &[likeness, result] : looks) {
        around.converter.compareAs(likeness);
        const std::size_t told = around.log.events(GatewayLogAction::uploadAttemptFailed).size();
        EXPECT_EQ(attempt.sendFile(there).result, result);
        EXPECT_EQ(around.log.events(GatewayLogAction::uploadAttemptFailed).size() - told,
                  result == kFailed ? 1U : 0U);
        EXPECT_EQ(sendBatch({there, original(QStringLiteral("1.2"))}), (std::vector{result, kSuccess}));
    }
}

TEST_F(UploadAttemptTest, ReadsIdentifiersWithBlanksAroundThem)
{
    failWith([] { throw cloud_client::QrnStowResponse({{QStringLiteral(" 1.1\n"), QString()}}, 0xA700); });

    EXPECT_EQ(sendBatch({original(QStringLiteral("1.1")), original(QStringLiteral("1.2"))}),
              (std::vector{kFailed, kSuccess}));
}

TEST_F(UploadAttemptTest, TellsAnAddressWithoutAStoreFromAnAnswerAboutThisFile)
{
    for (const int status : {404, 405, 410, 501}) {
        around.cloud.answerWith(status);
        const AttemptEnd ofThisFile = attempt.sendFile(original(QStringLiteral("1.2.3")));
        EXPECT_EQ(ofThisFile.reach, StoreUpload::FailureReach::file) << status;
        EXPECT_EQ(ofThisFile.failure, (core::Failure{core::FailureClass::refused, status}));
    }

    around.cloud.beWithoutStore();
    const AttemptEnd ofAll = attempt.sendFile(original(QStringLiteral("1.2.3")));
    EXPECT_EQ(ofAll.reach, StoreUpload::FailureReach::queue);
    EXPECT_EQ(ofAll.failure.failureClass, core::FailureClass::noImageService);
}

TEST_F(UploadAttemptTest, FailsEveryFileOfABatchOnAnyOtherError)
{
    around.cloud.answerWith(500);

    EXPECT_EQ(sendBatch({original(QStringLiteral("1.1")), original(QStringLiteral("1.2"))}),
              (std::vector{kFailed, kFailed}));
    EXPECT_EQ(around.terms.failures().at(0).fileURL.fileName(), QStringLiteral("1.1"));
}

TEST_F(UploadAttemptTest, TellsForEachFileOfABatchWhyItFailed)
{
    const QList<PreparedCandidate> batch = {
        original(QStringLiteral("1.1")), original(QStringLiteral("1.2")), original(QStringLiteral("1.3"))};
    failWith([] {
        throw cloud_client::QrnStowResponse({{QStringLiteral("1.1")}, {QStringLiteral("1.3")}},
                                            0xA700,
                                            {{platform::testing::instanceUid("1.1"), 0xA700},
                                             {platform::testing::instanceUid("1.3"), 0xC000}});
    });

    const QList<CandidateOutcome> outcomes = attempt.sendBatch(batch, {});

    EXPECT_EQ(outcomes[0].end.failure, (core::Failure{core::FailureClass::outOfResources, 0xA700}));
    EXPECT_EQ(outcomes[1].end, StoreUpload::kUploaded);
    EXPECT_EQ(outcomes[2].end.failure, (core::Failure{core::FailureClass::notUnderstood, 0xC000}));
}

TEST_F(UploadAttemptTest, TellsTheSameOfEveryFileOfABatchThatFailedAsAWhole)
{
    around.cloud.answerWith(507);

    const QList<CandidateOutcome> outcomes =
        attempt.sendBatch({original(QStringLiteral("1.1")), original(QStringLiteral("1.2"))}, {});

    ASSERT_EQ(outcomes.size(), 2);
    for (const CandidateOutcome &outcome : outcomes) {
        EXPECT_EQ(outcome.end,
                  (AttemptEnd{
                      kFailed, {core::FailureClass::storageUsedUp, 507}, StoreUpload::FailureReach::queue}));
    }
}

} // namespace gateway::upload

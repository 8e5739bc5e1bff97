#include "platform/dicom/testing/identities.h"
#include "upload/store_upload.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::upload::StoreUpload {

namespace {

UploadSettings settings()
{
    return {.wadoLimit = 2,
            .quorinCloudBatchUploadCount = 3,
            .quorinCloudBatchEnabled = true,
            .quorinCloudCompressToLS = true,
            .retrieveMode = true};
}

} // namespace

TEST(ExecutionConfig, IsParallelBatchWhenTransfersAreParallelAndBatchesOn)
{
    const ExecutionConfig config = executionConfig(settings());

    EXPECT_EQ(config.mode, ExecutionMode::parallelBatch);
    EXPECT_EQ(config.fetchLimit, 2 * 3 * 2);
}

TEST(ExecutionConfig, IsParallelFileWithoutBatches)
{
    UploadSettings read = settings();
    read.quorinCloudBatchEnabled = false;

    EXPECT_EQ(executionConfig(read).mode, ExecutionMode::parallelFile);
    EXPECT_EQ(executionConfig(read).fetchLimit, 2 * 4);
}

TEST(ExecutionConfig, IsSingleWithoutParallelTransfersWhateverTheBatchSettingSays)
{
    UploadSettings read = settings();
    read.retrieveMode = false;

    const ExecutionConfig config = executionConfig(read);
    const Details details = executionDetails(config);

    EXPECT_EQ(details.value(QStringLiteral("execution_mode")), QStringLiteral("single"));
    EXPECT_EQ(details.value(QStringLiteral("batch_enabled")), QStringLiteral("true"));
    EXPECT_EQ(config.fetchLimit, 2 * 4);
}

TEST(ExecutionConfig, TakesABatchCountOfZeroOrLessAsOne)
{
    for (const int count : {0, -7}) {
        UploadSettings read = settings();
        read.quorinCloudBatchUploadCount = count;
        EXPECT_EQ(executionConfig(read).batchSize, 1);
        EXPECT_EQ(executionConfig(read).fetchLimit, 4);
    }
}

TEST(ExecutionConfig, TakesAWadoLimitOfZeroAsOne)
{
    UploadSettings read = settings();
    read.wadoLimit = 0;

    EXPECT_EQ(executionConfig(read).maxConcurrent, 1);
    EXPECT_EQ(executionConfig(read).fetchLimit, 1 * 3 * 2);
}

TEST(ExecutionConfig, KeepsPagesSmallWhateverWasTyped)
{
    UploadSettings read = settings();
    read.wadoLimit = 2'000'000'000;
    read.quorinCloudBatchUploadCount = 2'000'000'000;

    EXPECT_EQ(executionConfig(read).fetchLimit, 10'000);
}

TEST(UploadSettings, AreReadAsTheyStand)
{
    const QTemporaryDir home;
    platform::UserDefaults defaults(home.filePath(QStringLiteral("defaults.sqlite")));
    core::Settings stored(defaults);
    const ExecutionConfig byDefault = executionConfig(uploadSettings(stored, defaults));
    EXPECT_EQ(byDefault.mode, ExecutionMode::single);
    EXPECT_EQ(byDefault.maxConcurrent, 2);
    EXPECT_EQ(byDefault.batchSize, 2);
    EXPECT_TRUE(byDefault.batchEnabled);

    stored.wadoLimit.set(7);
    stored.quorinCloudBatchUploadCount.set(9);
    stored.quorinCloudBatchEnabled.set(false);
    stored.quorinCloudCompressToLS.set(false);
    ASSERT_TRUE(defaults.setObject(QStringLiteral("QuorinRetrieveMode"), 1));

    const UploadSettings read = uploadSettings(stored, defaults);
    EXPECT_EQ(read.wadoLimit, 7);
    EXPECT_EQ(read.quorinCloudBatchUploadCount, 9);
    EXPECT_FALSE(read.quorinCloudBatchEnabled);
    EXPECT_FALSE(read.quorinCloudCompressToLS);
    EXPECT_TRUE(read.retrieveMode);
}

TEST(ExecutionDetails, HoldTheConfigAsText)
{
    const Details expected = {{QStringLiteral("execution_mode"), QStringLiteral("parallel_batch")},
                              {QStringLiteral("batch_enabled"), QStringLiteral("true")},
                              {QStringLiteral("batch_size"), QStringLiteral("3")},
                              {QStringLiteral("max_concurrent"), QStringLiteral("2")},
                              {QStringLiteral("compression_enabled"), QStringLiteral("true")}};

    EXPECT_EQ(executionDetails(executionConfig(settings())), expected);
}

TEST(CandidateDetails, AddTheNumberOfLinkedImages)
{
    CandidateContext context;
    context.candidate.imageObjectIDs = {{1}, {2}, {3}};

    const Details details = candidateDetails(context, {{QStringLiteral("k"), QStringLiteral("v")}});

    EXPECT_EQ(details.value(QStringLiteral("linked_images")), QStringLiteral("3"));
    EXPECT_EQ(details.value(QStringLiteral("k")), QStringLiteral("v"));
}

TEST(SentInstance, SaysWhatIsKnownOfTheFile)
{
    PreparedCandidate prepared;
    prepared.identity = platform::testing::identity("1", "1.2", "1.3");
    prepared.version = 7;
    prepared.context.candidate.acknowledged = 200;
    prepared.context.candidate.isDamaged = true;
    prepared.context.session.cloud = QStringLiteral("a cloud");

    EXPECT_EQ(
        sentInstance(prepared),
        (index::SentInstance{
            prepared.identity.instance, 7, 200, QStringLiteral("1 1.2"), QStringLiteral("a cloud"), true}));
}

TEST(SummaryDetails, HoldEveryFigureBesideTheExecutionDetails)
{
    const RunSummary summary = {
        .selectedCandidates = 1,
        .successfulUploads = 2,
        .failedUploads = 3,
        .missingFiles = 4,
        .recoveredInProgressImages = 5,
        .recoveredInProgressSeries = 6,
        .recoveredInProgressStudies = 7,
        .reconciledCandidates = 8,
        .reconciledImages = 9,
        .missingToken = true,
        .wasCancelled = false,
        .orders = {.mode = ExecutionMode::parallelFile, .maxConcurrent = 2, .batchSize = 3}};
    const Details expected = {{QStringLiteral("execution_mode"), QStringLiteral("parallel_file")},
                              {QStringLiteral("batch_enabled"), QStringLiteral("false")},
                              {QStringLiteral("batch_size"), QStringLiteral("3")},
                              {QStringLiteral("max_concurrent"), QStringLiteral("2")},
                              {QStringLiteral("compression_enabled"), QStringLiteral("false")},
                              {QStringLiteral("selected_candidates"), QStringLiteral("1")},
                              {QStringLiteral("successful_uploads"), QStringLiteral("2")},
                              {QStringLiteral("failed_uploads"), QStringLiteral("3")},
                              {QStringLiteral("missing_files"), QStringLiteral("4")},
                              {QStringLiteral("recovered_in_progress_images"), QStringLiteral("5")},
                              {QStringLiteral("recovered_in_progress_series"), QStringLiteral("6")},
                              {QStringLiteral("recovered_in_progress_studies"), QStringLiteral("7")},
                              {QStringLiteral("reconciled_candidates"), QStringLiteral("8")},
                              {QStringLiteral("reconciled_images"), QStringLiteral("9")},
                              {QStringLiteral("missing_token"), QStringLiteral("true")},
                              {QStringLiteral("was_cancelled"), QStringLiteral("false")}};

    EXPECT_EQ(summaryDetails(summary), expected);
}

} // namespace gateway::upload::StoreUpload

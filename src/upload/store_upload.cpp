#include "upload/store_upload.h"

#include "core/device_id.h"

#include <algorithm>

namespace gateway::upload::StoreUpload {

QLatin1StringView rawValue(ExecutionMode mode)
{
    switch (mode) {
    case ExecutionMode::single:
        return QLatin1StringView("single");
    case ExecutionMode::parallelFile:
        return QLatin1StringView("parallel_file");
    case ExecutionMode::parallelBatch:
        return QLatin1StringView("parallel_batch");
    }
    return {};
}

UploadSettings uploadSettings(const core::Settings &settings, const platform::UserDefaults &defaults)
{
    return {.wadoLimit = settings.wadoLimit.get(),
            .quorinCloudBatchUploadCount = settings.quorinCloudBatchUploadCount.get(),
            .quorinCloudBatchEnabled = settings.quorinCloudBatchEnabled.get(),
            .quorinCloudCompressToLS = settings.quorinCloudCompressToLS.get(),
            .retrieveMode = core::retrieveMode(defaults)};
}

ExecutionConfig executionConfig(const UploadSettings &settings)
{
    // Enough for the width of the work to stay busy, few enough for the index to be asked often.
    constexpr std::int64_t kBatchesAhead = 2;
    constexpr std::int64_t kFilesAhead = 4;
    // Settings are numbers that somebody typed: no page is so large that it would hurt memory.
    constexpr std::int64_t kLargestPage = 10'000;

    ExecutionConfig config;
    config.maxConcurrent = std::max(1, settings.wadoLimit);
    config.batchSize = std::max(1, settings.quorinCloudBatchUploadCount);
    config.compressionEnabled = settings.quorinCloudCompressToLS;
    config.batchEnabled = settings.quorinCloudBatchEnabled;
    std::int64_t page = kFilesAhead * config.maxConcurrent;
    if (settings.retrieveMode && config.batchEnabled) {
        config.mode = ExecutionMode::parallelBatch;
        page = kBatchesAhead * config.maxConcurrent * config.batchSize;
    } else if (settings.retrieveMode) {
        config.mode = ExecutionMode::parallelFile;
    }
    config.fetchLimit = static_cast<int>(std::clamp<std::int64_t>(page, 1, kLargestPage));
    return config;
}

Details executionDetails(const ExecutionConfig &config)
{
    return {{QStringLiteral("execution_mode"), QString(rawValue(config.mode))},
            {QStringLiteral("batch_enabled"), boolText(config.batchEnabled)},
            {QStringLiteral("batch_size"), QString::number(config.batchSize)},
            {QStringLiteral("max_concurrent"), QString::number(config.maxConcurrent)},
            {QStringLiteral("compression_enabled"), boolText(config.compressionEnabled)}};
}

Details candidateDetails(const CandidateContext &context, const Details &executionDetails)
{
    Details details = executionDetails;
    details.insert(QStringLiteral("linked_images"), QString::number(context.candidate.imageObjectIDs.size()));
    return details;
}

index::SentInstance sentInstance(const PreparedCandidate &prepared)
{
    return {prepared.identity.instance,
            prepared.version,
            prepared.context.candidate.acknowledged,
            prepared.identity.study.value() + u' ' + prepared.identity.series.value(),
            prepared.context.session.cloud,
            prepared.context.candidate.isDamaged};
}

Details summaryDetails(const RunSummary &summary)
{
    Details details = executionDetails(summary.orders);
    const auto add = [&details](const QString &key, std::int64_t count) {
        details.insert(key, QString::number(count));
    };
    add(QStringLiteral("selected_candidates"), summary.selectedCandidates);
    add(QStringLiteral("successful_uploads"), summary.successfulUploads);
    add(QStringLiteral("failed_uploads"), summary.failedUploads);
    add(QStringLiteral("missing_files"), summary.missingFiles);
    add(QStringLiteral("recovered_in_progress_images"), summary.recoveredInProgressImages);
    add(QStringLiteral("recovered_in_progress_series"), summary.recoveredInProgressSeries);
    add(QStringLiteral("recovered_in_progress_studies"), summary.recoveredInProgressStudies);
    add(QStringLiteral("reconciled_candidates"), summary.reconciledCandidates);
    add(QStringLiteral("reconciled_images"), summary.reconciledImages);
    details.insert(QStringLiteral("missing_token"), boolText(summary.missingToken));
    details.insert(QStringLiteral("was_cancelled"), boolText(summary.wasCancelled));
    if (summary.trouble) {
        details.insert(QStringLiteral("ended_by"),
                       QString(core::rawValue(summary.trouble->failure.failureClass)));
    }
    return details;
}

QString boolText(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

} // namespace gateway::upload::StoreUpload

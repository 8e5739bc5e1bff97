#include "upload/upload_attempt.h"

#include "log/redaction.h"
#include "platform/quorin_api/quorin_error.h"
#include "upload/failure_reason.h"
#include "upload/speed_sample_throttle.h"

#include <algorithm>

namespace gateway::upload {

using StoreUpload::AttemptEnd;
using StoreUpload::CandidateOutcome;
using StoreUpload::PreparedCandidate;

namespace {

log::GatewayLogError redacted(const std::exception &error)
{
    if (const auto *known = dynamic_cast<const platform::QuorinError *>(&error)) {
        return log::redactedError(known->domain, known->code, known->localizedDescription);
    }
    return log::redactedError(QStringLiteral("std::exception"), 0, QString::fromUtf8(error.what()));
}

log::StoreLogRecord
as(log::StoreLogRecord record, log::GatewayLogAction action, log::GatewayLogOutcome outcome)
{
    record.action = action;
    record.outcome = outcome;
    return record;
}

log::StoreLogRecord started(log::StoreLogRecord record)
{
    return as(
        std::move(record), log::GatewayLogAction::uploadAttemptStarted, log::GatewayLogOutcome::started);
}

log::StoreLogRecord succeeded(log::StoreLogRecord record)
{
    return as(
        std::move(record), log::GatewayLogAction::uploadAttemptSucceeded, log::GatewayLogOutcome::succeeded);
}

/// Which of a batch the server is known to hold after it refused some.
///
/// The client compares like with like: the UIDs as they stand in the files, not the index's instance keys. A
/// refusal that names nobody leaves it open whom it meant, so nobody passes then.
QList<AttemptEnd> endsAfter(const platform::QrnStowResponse &refusal,
                            const QList<PreparedCandidate> &prepared)
{
    const auto isBlank = [](const QString &identifier) { return identifier.trimmed().isEmpty(); };
    const bool namesSomebodyEachTime =
        !refusal.failures.isEmpty() && std::ranges::none_of(refusal.failures, [&](const QStringList &entry) {
            return std::ranges::all_of(entry, isBlank);
        });
    QList<AttemptEnd> ends;
    for (const PreparedCandidate &candidate : prepared) {
        const QStringList &uids = candidate.context.candidate.originalSOPInstanceUIDs;
        const bool isStored =
            namesSomebodyEachTime && !uids.isEmpty() && !refusal.names(candidate.uploadURL, uids);
        ends.append(isStored ? StoreUpload::kUploaded : failedEnd(refusal, candidate));
    }
    return ends;
}

QList<AttemptEnd> allFailed(const std::exception &error, const QList<PreparedCandidate> &prepared)
{
    QList<AttemptEnd> ends;
    for (const PreparedCandidate &candidate : prepared) {
        ends.append(failedEnd(error, candidate));
    }
    return ends;
}

QList<CandidateOutcome>
outcomes(const QList<PreparedCandidate> &prepared, const QList<AttemptEnd> &ends, const Details &chunkDetails)
{
    QList<CandidateOutcome> made;
    for (qsizetype index = 0; index < prepared.size(); ++index) {
        Details details = prepared[index].details;
        details.insert(chunkDetails);
        made.append({prepared[index].context, ends[index], details});
    }
    return made;
}

qint64 totalSize(const QList<PreparedCandidate> &prepared)
{
    qint64 total = 0;
    for (const PreparedCandidate &candidate : prepared) {
        total += log::fileSizeBytes(candidate.uploadURL).value_or(0);
    }
    return total;
}

} // namespace

AttemptEnd UploadAttempt::sendFile(const PreparedCandidate &prepared) const
{
    if (!exists(prepared.uploadURL)) {
        m_preparer.reportMissing(prepared.context, prepared.details);
        return StoreUpload::kFileMissing;
    }
    const std::optional<qint64> size = log::fileSizeBytes(prepared.uploadURL);
    const log::StoreLogRecord record = {.category = log::GatewayLogCategory::send,
                                        .correlationId = m_run.runId,
                                        .fileURL = prepared.context.candidate.fileURL,
                                        .fileSizeBytes = size,
                                        .attempt = prepared.context.attempt,
                                        .details = prepared.details};
    const SpeedSampler speed(m_with);
    m_with.emitter.emit(started(record));
    try {
        m_with.cloud.upload(prepared.uploadURL, m_run.deviceId, speed.callback());
    } catch (const std::exception &error) {
        tellFailure(record, error);
        return failedEnd(error, prepared);
    }
    m_with.emitter.emit(succeeded(record));
    speed.tellWhole(size.value_or(0));
    return StoreUpload::kUploaded;
}

QList<CandidateOutcome> UploadAttempt::sendBatch(const QList<PreparedCandidate> &prepared,
                                                 const Details &chunkDetails) const
{
    const qint64 total = totalSize(prepared);
    log::StoreLogRecord record = {.category = log::GatewayLogCategory::send,
                                  .correlationId = m_run.runId,
                                  .fileURL = prepared.first().context.candidate.fileURL,
                                  .details = m_run.executionDetails};
    record.details.insert(chunkDetails);
    if (total > 0) {
        record.fileSizeBytes = total;
    }
    QList<QUrl> files;
    for (const PreparedCandidate &candidate : prepared) {
        files.append(candidate.uploadURL);
    }
    const SpeedSampler speed(m_with);
    m_with.emitter.emit(started(record));
    QList<AttemptEnd> ends;
    try {
        m_with.cloud.upload(files, m_run.deviceId, speed.callback());
        m_with.emitter.emit(succeeded(record));
        speed.tellWhole(total);
        ends.fill(StoreUpload::kUploaded, prepared.size());
    } catch (const platform::QrnStowResponse &refusal) {
        tellFailure(record, refusal);
        ends = endsAfter(refusal, prepared);
    } catch (const std::exception &error) {
        tellFailure(record, error);
        ends = allFailed(error, prepared);
    }
    return outcomes(prepared, ends, chunkDetails);
}

void UploadAttempt::tellFailure(log::StoreLogRecord record, const std::exception &error) const
{
    const QUrl fileURL = *record.fileURL;
    record.level = log::GatewayLogLevel::error;
    record.error = redacted(error);
    m_with.emitter.emit(
        as(std::move(record), log::GatewayLogAction::uploadAttemptFailed, log::GatewayLogOutcome::failed));
    m_with.terms.checkTermsAfterUploadFailure(error, m_run.runId, fileURL);
}

} // namespace gateway::upload

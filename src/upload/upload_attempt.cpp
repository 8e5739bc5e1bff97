#include "upload/upload_attempt.h"

#include "cloud_client/quorin_error.h"
#include "log/writing/redaction.h"
#include "upload/failure_reason.h"
#include "upload/speed_sample_throttle.h"

#include <algorithm>

namespace gateway::upload {

using StoreUpload::AttemptEnd;
using StoreUpload::AttemptResult;
using StoreUpload::CandidateOutcome;
using StoreUpload::FailureReach;
using StoreUpload::PreparedCandidate;

namespace {

log::GatewayLogError redacted(const std::exception &error)
{
    if (const auto *known = dynamic_cast<const cloud_client::QuorinError *>(&error)) {
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

cloud_client::StowFile stowFile(const PreparedCandidate &prepared)
{
    return {prepared.uploadURL, prepared.identity};
}

/// Which of a batch the server is known to hold after it refused some.
///
/// The client compares like with like: the UID as it stands in the file, not the index's instance keys. A
/// refusal that names nobody leaves it open whom it meant, so nobody passes then.
QList<AttemptEnd> endsAfter(const cloud_client::QrnStowResponse &refusal,
                            const QList<PreparedCandidate> &prepared)
{
    const auto isBlank = [](const QString &identifier) { return identifier.trimmed().isEmpty(); };
    const bool namesSomebodyEachTime =
        !refusal.failures.isEmpty() && std::ranges::none_of(refusal.failures, [&](const QStringList &entry) {
            return std::ranges::all_of(entry, isBlank);
        });
    QList<AttemptEnd> ends;
    for (const PreparedCandidate &candidate : prepared) {
        const platform::InstanceUid &uid = candidate.identity.instance;
        const bool isStored =
            namesSomebodyEachTime && !uid.isEmpty() && !refusal.names(candidate.uploadURL, uid);
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

/// True where the instance was refused and is there all the same.
bool isFoundAfter(const std::exception &error, const platform::InstanceUid &instance)
{
    const auto *refusal = dynamic_cast<const cloud_client::QrnStowResponse *>(&error);
    return refusal && refusal->found.contains(instance);
}

CloudsWord wordOf(bool wasThere)
{
    return wasThere ? CloudsWord::wasThere : CloudsWord::isStored;
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

CandidateOutcome
outcomeOf(const PreparedCandidate &prepared, const AttemptEnd &end, const Details &chunkDetails)
{
    CandidateOutcome outcome{.context = prepared.context,
                             .end = end,
                             .details = prepared.details,
                             .version = StoreUpload::sentInstance(prepared)};
    outcome.details.insert(chunkDetails);
    return outcome;
}

std::optional<CandidateOutcome> UploadAttempt::outcomeWithoutRequest(const PreparedCandidate &prepared,
                                                                     const Details &chunkDetails) const
{
    const std::optional<AttemptEnd> end = m_verifier.endWithoutRequest(prepared);
    if (!end) {
        return std::nullopt;
    }
    CandidateOutcome outcome = outcomeOf(prepared, *end, chunkDetails);
    outcome.details.insert(QStringLiteral("sent"), StoreUpload::boolText(false));
    return outcome;
}

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
    const SpeedSampler speed(m_collaborators);
    m_collaborators.emitter.emit(started(record));
    CloudsWord word = CloudsWord::isShown;
    try {
        const QVariantMap proven = m_collaborators.cloud.upload(
            prepared.context.session, stowFile(prepared), m_run.deviceId, speed.callback());
        word = wordOf(cloud_client::alreadyStoredIn(proven).contains(prepared.identity.instance));
        speed.tellWhole(size.value_or(0));
    } catch (const std::exception &error) {
        speed.tellRefused();
        if (!isFoundAfter(error, prepared.identity.instance)) {
            tellFailure(record, error);
            return withReach({failedEnd(error, prepared)}, prepared.context.session).first();
        } // else a look decides, and tells
    }
    const AttemptEnd end = confirm(prepared, word, record);
    if (end.result == AttemptResult::success) {
        m_collaborators.observer.requestSucceeded(size.value_or(0));
        m_collaborators.emitter.emit(succeeded(record));
    }
    return end;
}

/// A firewall may answer for one study as if nothing took images, and a proxy for all while its service is
/// away: a request without an image tells them apart. In the first case only these images aren't taken.
QList<AttemptEnd> UploadAttempt::withReach(QList<AttemptEnd> ends,
                                           const cloud_client::CloudSession &session) const
{
    const auto isInDoubt = [](const AttemptEnd &end) {
        return end.reach == FailureReach::file &&
               end.failure.failureClass == core::FailureClass::noImageService;
    };
    if (std::ranges::none_of(ends, isInDoubt)) {
        return ends;
    }
    const bool isWithoutStore = m_collaborators.cloud.isWithoutStore(session);
    for (AttemptEnd &end : ends) {
        if (isInDoubt(end) && isWithoutStore) {
            end.reach = FailureReach::queue;
        } else if (isInDoubt(end)) {
            end.failure.failureClass = core::FailureClass::refused;
        }
    }
    return ends;
}

/// What the cloud's word is worth; where it isn't enough, the log tells why.
AttemptEnd UploadAttempt::confirm(const PreparedCandidate &prepared,
                                  CloudsWord word,
                                  const log::StoreLogRecord &record) const
{
    const AttemptEnd end = m_verifier.confirm(prepared, word);
    if (end.result != AttemptResult::success) {
        log::StoreLogRecord unproven =
            as(record, log::GatewayLogAction::uploadAttemptFailed, log::GatewayLogOutcome::failed);
        unproven.level = log::GatewayLogLevel::error;
        unproven.fileURL = prepared.context.candidate.fileURL;
        unproven.details.insert(QStringLiteral("unproven_reason"),
                                QString(core::rawValue(end.failure.failureClass)));
        m_collaborators.emitter.emit(unproven);
    }
    return end;
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
    QList<cloud_client::StowFile> files;
    for (const PreparedCandidate &candidate : prepared) {
        files.append(stowFile(candidate));
    }
    const SpeedSampler speed(m_collaborators);
    m_collaborators.emitter.emit(started(record));
    QList<AttemptEnd> ends;
    QSet<platform::InstanceUid> alreadyStored;
    QSet<platform::InstanceUid> found;
    try {
        alreadyStored = cloud_client::alreadyStoredIn(m_collaborators.cloud.upload(
            prepared.first().context.session, files, m_run.deviceId, speed.callback()));
        m_collaborators.observer.requestSucceeded(total);
        m_collaborators.emitter.emit(succeeded(record));
        speed.tellWhole(total);
        ends.fill(StoreUpload::kUploaded, prepared.size());
    } catch (const cloud_client::QrnStowResponse &refusal) {
        speed.tellRefused();
        tellFailure(record, refusal);
        ends = endsAfter(refusal, prepared);
        alreadyStored = refusal.alreadyStored;
        found = refusal.found;
    } catch (const std::exception &error) {
        speed.tellRefused();
        tellFailure(record, error);
        ends = withReach(allFailed(error, prepared), prepared.first().context.session);
    }
    for (qsizetype index = 0; index < ends.size(); ++index) {
        const platform::InstanceUid &instance = prepared[index].identity.instance;
        if (found.contains(instance)) {
            ends[index] = confirm(prepared[index], CloudsWord::isShown, record);
        } else if (ends[index].result == AttemptResult::success) {
            ends[index] = confirm(prepared[index], wordOf(alreadyStored.contains(instance)), record);
        }
    }
    QList<CandidateOutcome> outcomes;
    for (qsizetype index = 0; index < prepared.size(); ++index) {
        outcomes.append(outcomeOf(prepared[index], ends[index], chunkDetails));
    }
    return outcomes;
}

void UploadAttempt::tellFailure(log::StoreLogRecord record, const std::exception &error) const
{
    const QUrl fileURL = *record.fileURL;
    record.level = log::GatewayLogLevel::error;
    record.error = redacted(error);
    m_collaborators.emitter.emit(
        as(std::move(record), log::GatewayLogAction::uploadAttemptFailed, log::GatewayLogOutcome::failed));
    m_collaborators.terms.checkTermsAfterUploadFailure(error, m_run.runId, fileURL);
}

} // namespace gateway::upload

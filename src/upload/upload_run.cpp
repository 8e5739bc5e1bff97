#include "upload/upload_run.h"

#include "platform/files/files.h"
#include "upload/retry_pauses.h"

#include <QtCore/QHash>

#include <algorithm>
#include <utility>

namespace gateway::upload {

using StoreUpload::AttemptResult;
using StoreUpload::CandidateContext;
using StoreUpload::CandidateOutcome;

namespace {

UploadCollaborators withConverter(const UploadCollaborators &collaborators,
                                  platform::DicomConverting &converter)
{
    return {.index = collaborators.index,
            .cloud = collaborators.cloud,
            .converter = converter,
            .session = collaborators.session,
            .state = collaborators.state,
            .terms = collaborators.terms,
            .cleanup = collaborators.cleanup,
            .observer = collaborators.observer,
            .emitter = collaborators.emitter,
            .main = collaborators.main,
            .clock = collaborators.clock,
            .newSeries = collaborators.newSeries};
}

bool hasSuccess(const QList<CandidateOutcome> &outcomes)
{
    return std::ranges::any_of(outcomes, [](const CandidateOutcome &outcome) {
        return outcome.end.result == AttemptResult::success;
    });
}

QList<platform::InstanceUid> instancesOf(const QList<CandidateContext> &contexts)
{
    QList<platform::InstanceUid> instances;
    for (const CandidateContext &context : contexts) {
        instances.append(context.candidate.originalSOPInstanceUIDs);
    }
    return instances;
}

/// The cloud has taken it, and didn't show it when it was last asked.
bool isAwaited(const index::PendingImageUpload &candidate)
{
    return core::failureClassOf(candidate.lastFailure) == core::FailureClass::notThereYet;
}

index::UploadResult resultOf(const CandidateOutcome &outcome)
{
    const bool isSynced = outcome.end.result == AttemptResult::success;
    index::UploadResultDetails more{.version = outcome.version, .isVerified = outcome.end.isVerified};
    if (!isSynced) {
        const auto pauses = pausesAfter(outcome.end);
        core::Failure failure = outcome.end.failure;
        if (pauses.empty() && isAwaited(outcome.context.candidate)) {
            failure = {core::FailureClass::notThereYet, 0}; // what concerns all others says nothing of it
        }
        more.isAwaited = failure.failureClass == core::FailureClass::notThereYet;
        more.failure =
            index::FailedUpload{QString(core::rawValue(failure.failureClass)), failure.code, pauses};
    }
    const index::PendingImageUpload &candidate = outcome.context.candidate;
    return {candidate.imageObjectIDs, candidate.storagePath, isSynced, more, candidate.store};
}

/// The last look before files may count as sent, and so be let go of one day: each was taken in this round,
/// stands for something, and is told once. Whatever else comes here must not go on.
void assertMayBeRecorded(const QList<CandidateContext> &contexts, const QList<CandidateOutcome> &outcomes)
{
    QSet<QString> open;
    for (const CandidateContext &context : contexts) {
        open.insert(context.candidate.storagePath);
    }
    for (const CandidateOutcome &outcome : outcomes) {
        const index::PendingImageUpload &candidate = outcome.context.candidate;
        if (candidate.storagePath.isEmpty() || candidate.imageObjectIDs.isEmpty() ||
            !open.remove(candidate.storagePath)) {
            qFatal("an upload run was about to record the result of a file that it did not send");
        }
    }
}

} // namespace

UploadRun::UploadRun(const UploadCollaborators &collaborators,
                     QString runId,
                     const StoreUpload::ExecutionConfig &config,
                     QString deviceId)
    : m_run(std::move(runId), config, std::move(deviceId)),
      m_ahead(collaborators.converter, config.compressionEnabled, requestsAtOnce(config)),
      m_collaborators(withConverter(collaborators, m_ahead)), m_handler(m_collaborators, m_run, m_halt),
      m_pool(QStringLiteral("upload"), requestsAtOnce(config))
{
    m_summary.orders = m_run.config;
}

StoreUpload::RunSummary UploadRun::run(const std::stop_token &stop)
{
    recover();
    drain(stop);
    m_summary.wasCancelled = stop.stop_requested();
    m_summary.trouble = m_halt.trouble();
    if (m_summary.trouble && m_summary.trouble->failure.failureClass == core::FailureClass::notSignedIn) {
        m_summary.missingToken = true;
    }
    return m_summary;
}

void UploadRun::drain(const std::stop_token &stop)
{
    platform::TaskGroup window(m_pool, m_pool.width(), stop);
    while (true) {
        const Contexts contexts = mayBeginPage(stop) ? nextPage() : Contexts();
        if (!contexts.isEmpty()) {
            begin(*m_open.emplace_back(std::make_unique<UploadRound>(contexts)), window, stop);
        } else if (m_open.empty()) {
            return;
        }
        // Without a further page the open ones are waited for, and then the index is asked once more:
        // something may have come meanwhile.
        if (contexts.isEmpty() || isProbing()) {
            settleAll();
        }
    }
}

void UploadRun::begin(UploadRound &round, platform::TaskGroup &window, const std::stop_token &stop)
{
    qsizetype from = 0;
    AheadWindow ahead;
    while (from < round.contexts().size()) {
        expectFrom(round.contexts(), from, ahead);
        window.waitForRoom();
        settleWhatRests();
        if (mustEnd(stop)) {
            window.cancel();
            return;
        }
        const Contexts chunk = m_handler.chunkAt(round.contexts(), from);
        from += chunk.size();
        m_handler.begin(chunk);
        round.chunkBegan(chunk.size());
        window.add([this, chunk, &round](const std::stop_token &cancelled) {
            round.chunkEnded(cancelled.stop_requested() ? Outcomes() : m_handler.finish(chunk));
        });
    }
}

/// \param by  1 for files of a page that begins, -1 for those of one whose results are recorded.
void UploadRun::noteUnderWay(const Contexts &contexts, int by)
{
    for (const platform::InstanceUid &instance : instancesOf(contexts)) {
        const int files = m_underWay.value(instance) + by;
        if (files > 0) {
            m_underWay.insert(instance, files);
        } else {
            m_underWay.remove(instance);
        }
    }
}

/// Has the files made ready whose turn it is, and some behind them.
void UploadRun::expectFrom(const Contexts &contexts, qsizetype from, AheadWindow &window)
{
    const qsizetype chunk = m_handler.chunkAt(contexts, from).size();
    while (window.size() < contexts.size() && window.wantsNext(from + chunk, m_pool.width() * chunk)) {
        const QString file = standardized(contexts[window.size()].candidate.fileURL).toLocalFile();
        const std::optional<qint64> size = platform::fileSizeBytes(file);
        if (size) {
            m_ahead.expect(file);
        }
        window.add(size.value_or(0));
    }
}

/// Does what follows for the pages of which nothing is under way, but the newest, which is being begun.
void UploadRun::settleWhatRests()
{
    for (auto round = m_open.begin(); *round != m_open.back();) {
        if ((*round)->isAtRest()) {
            settle(**round);
            round = m_open.erase(round);
        } else {
            ++round;
        }
    }
}

void UploadRun::settleAll()
{
    for (const auto &round : m_open) {
        round->wait();
        settle(*round);
    }
    m_open.clear();
}

bool UploadRun::mustEnd(const std::stop_token &stop) const
{
    return stop.stop_requested() || m_halt.isHalted();
}

/// One file goes alone while nobody knows whether the cloud answers again.
bool UploadRun::isProbing() const
{
    return m_run.config.probesFirst && !m_halt.wasAnswered();
}

/// The questions before each page.
bool UploadRun::mayBeginPage(const std::stop_token &stop)
{
    if (mustEnd(stop) || m_summary.missingToken) {
        return false;
    }
    m_session = m_collaborators.session.present();
    m_summary.missingToken = !m_session.isSignedIn();
    return !m_summary.missingToken;
}

/// Does what follows when a page has ended.
void UploadRun::settle(UploadRound &round)
{
    const Outcomes outcomes = round.outcomes();
    m_summary.selectedCandidates += round.begun();
    noteUnderWay(round.contexts(), -1);
    const std::int64_t resetImages = reconcile(round.contexts(), outcomes);
    assertMayBeRecorded(round.contexts(), outcomes);
    record(outcomes);
    if (hasSuccess(outcomes)) {
        m_collaborators.cleanup.runCleanup(QStringLiteral("upload_success"), m_run.runId, std::nullopt);
    }
    if (!outcomes.isEmpty() || resetImages > 0) {
        refreshState();
    }
}

void UploadRun::recover()
{
    const index::RecoveryCounts counts = m_collaborators.index.recoverInProgressImages();
    if (counts.images < 1) {
        return;
    }
    m_summary.recoveredInProgressImages = counts.images;
    m_summary.recoveredInProgressSeries = counts.series;
    m_summary.recoveredInProgressStudies = counts.studies;
    m_collaborators.emitter.emit(
        {.level = log::GatewayLogLevel::warning,
         .category = log::GatewayLogCategory::uploadQueue,
         .action = log::GatewayLogAction::uploadStateRecovered,
         .outcome = log::GatewayLogOutcome::completed,
         .correlationId = m_run.runId,
         .details = runDetails({{QStringLiteral("recovered_images"), counts.images},
                                {QStringLiteral("affected_series"), counts.series},
                                {QStringLiteral("affected_studies"), counts.studies}})});
    refreshState();
}

UploadRun::Contexts UploadRun::nextPage()
{
    Contexts contexts;
    const int limit = isProbing() ? 1 : m_run.config.fetchLimit;
    for (const CandidateContext &waiting : std::exchange(m_behind, {})) {
        take({waiting.candidate, waiting.attempt, m_session}, contexts);
    }
    while (contexts.isEmpty()) {
        const auto page = m_collaborators.index.pendingImageUploads(limit, m_cursor);
        if (!page) {
            m_halt.indexFailed(); // what waits isn't known, so the run comes again
            break;
        }
        if (page->isEmpty()) {
            break;
        }
        for (const index::PendingImageUpload &candidate : *page) {
            // Two paths with one hash would cost the second nothing but the wait for the next run.
            const std::size_t hash = qHash(candidate.storagePath);
            if (!m_seen.contains(hash)) {
                m_seen.insert(hash);
                take({candidate, 1, m_session}, contexts);
            }
        }
    }
    return contexts;
}

/// Adds a candidate to the page, unless another version of its image is under way or in that page.
void UploadRun::take(const CandidateContext &candidate, Contexts &page)
{
    const QList<platform::InstanceUid> instances = instancesOf({candidate});
    const bool isBehind = std::ranges::any_of(
        instances, [this](const platform::InstanceUid &instance) { return m_underWay.contains(instance); });
    if (isBehind) {
        m_behind.append(candidate);
        return;
    }
    page.append(candidate);
    noteUnderWay({candidate}, 1);
}

/// Puts back what was marked in progress and got no result, because the run was told to stop.
///
/// \return the number of rows reset.
std::int64_t UploadRun::reconcile(const Contexts &contexts, const Outcomes &outcomes)
{
    QSet<QString> resolved;
    for (const CandidateOutcome &outcome : outcomes) {
        resolved.insert(outcome.context.candidate.storagePath);
    }
    std::int64_t unresolved = 0;
    QList<index::ImageObjectID> images;
    for (const CandidateContext &context : contexts) {
        if (!resolved.contains(context.candidate.storagePath)) {
            ++unresolved;
            images.append(context.candidate.imageObjectIDs);
        }
    }
    if (unresolved == 0) {
        return 0;
    }
    const std::int64_t resetImages = m_collaborators.index.resetInProgressImages(images);
    m_collaborators.emitter.emit(
        {.level = log::GatewayLogLevel::warning,
         .category = log::GatewayLogCategory::uploadQueue,
         .action = log::GatewayLogAction::uploadIterationReconciled,
         .outcome = log::GatewayLogOutcome::completed,
         .correlationId = m_run.runId,
         .details = runDetails({{QStringLiteral("selected_candidates"), contexts.size()},
                                {QStringLiteral("completed_outcomes"), outcomes.size()},
                                {QStringLiteral("unresolved_candidates"), unresolved},
                                {QStringLiteral("reset_images"), resetImages}})});
    m_summary.reconciledCandidates += unresolved;
    m_summary.reconciledImages += resetImages;
    return resetImages;
}

void UploadRun::record(const Outcomes &outcomes)
{
    if (outcomes.isEmpty()) {
        return;
    }
    QList<index::UploadResult> results;
    for (const CandidateOutcome &outcome : outcomes) {
        results.append(resultOf(outcome));
    }
    const QList<std::optional<std::int64_t>> updated = m_collaborators.index.recordUploadResults(results);
    for (qsizetype at = 0; at < outcomes.size(); ++at) {
        if (!updated[at]) {
            m_halt.indexFailed(); // its rows stay in progress until the next run's recovery
        }
        tellRecorded(outcomes[at], updated[at].value_or(0));
    }
}

void UploadRun::tellRecorded(const CandidateOutcome &outcome, std::int64_t updated)
{
    switch (outcome.end.result) {
    case AttemptResult::success:
        ++m_summary.successfulUploads;
        break;
    case AttemptResult::failed:
        ++m_summary.failedUploads;
        break;
    case AttemptResult::missingFile:
        ++m_summary.missingFiles;
        break;
    }
    const index::PendingImageUpload &candidate = outcome.context.candidate;
    const bool didSync = outcome.end.result == AttemptResult::success;
    const bool isWell = didSync && updated > 0;
    m_collaborators.observer.fileEnded(didSync);
    Details details = outcome.details;
    details.insert(QStringLiteral("linked_images"), QString::number(candidate.imageObjectIDs.size()));
    details.insert(QStringLiteral("did_sync"), StoreUpload::boolText(didSync));
    details.insert(QStringLiteral("updated_images"), QString::number(updated));
    m_collaborators.emitter.emit(
        {.level = isWell ? log::GatewayLogLevel::info : log::GatewayLogLevel::warning,
         .category = log::GatewayLogCategory::send,
         .action = log::GatewayLogAction::uploadResultRecorded,
         .outcome = isWell ? log::GatewayLogOutcome::succeeded : log::GatewayLogOutcome::failed,
         .correlationId = m_run.runId,
         .fileURL = candidate.fileURL,
         .attempt = outcome.context.attempt,
         .details = details});
}

void UploadRun::refreshState() const
{
    m_collaborators.main.post([&state = m_collaborators.state] {
        state.refreshCounters();
        state.refreshTransferSeries();
    });
}

Details UploadRun::runDetails(std::initializer_list<std::pair<QString, std::int64_t>> figures) const
{
    Details details = m_run.executionDetails;
    for (const auto &[key, value] : figures) {
        details.insert(key, QString::number(value));
    }
    return details;
}

} // namespace gateway::upload

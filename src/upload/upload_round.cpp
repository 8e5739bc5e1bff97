#include "upload/upload_round.h"

#include "platform/concurrency/task_group.h"

#include <algorithm>

namespace gateway::upload {

using StoreUpload::AttemptResult;
using StoreUpload::CandidateContext;
using StoreUpload::CandidateOutcome;
using StoreUpload::CandidatePreparationResult;
using StoreUpload::ExecutionMode;
using StoreUpload::MissingFile;
using StoreUpload::PreparedCandidate;

namespace {

/// How many candidates, or batches, are under way at once: as many as are sent, and where files are converted
/// first, as many again that are in that stage.
int widthOf(const StoreUpload::ExecutionConfig &config)
{
    // A setting of thousands would only cost threads: no network gets faster by that.
    constexpr int kMostAtOnce = 32;
    const int requests = std::min(config.maxConcurrent, kMostAtOnce);
    return config.compressionEnabled ? 2 * requests : requests;
}

/// Where children of a window leave their outcomes. Thread: any.
class OutcomeTray
{
public:
    void add(const QList<CandidateOutcome> &outcomes)
    {
        const platform::MutexLock lock(m_mutex);
        m_outcomes.append(outcomes);
    }

    QList<CandidateOutcome> all()
    {
        const platform::MutexLock lock(m_mutex);
        return m_outcomes;
    }

private:
    platform::Mutex m_mutex;
    QList<CandidateOutcome> m_outcomes QUORIN_GUARDED_BY(m_mutex);
};

} // namespace

UploadRound::UploadRound(const UploadCollaborators &with, const RunIdentity &run)
    : m_with(with), m_run(run), m_preparer(with, run), m_attempt(with, run, m_preparer),
      m_conversions(run.config.maxConcurrent), m_requests(run.config.maxConcurrent)
{
    if (run.config.mode != ExecutionMode::single) {
        m_pool.emplace(QStringLiteral("upload"), widthOf(run.config));
    }
}

UploadRound::Result UploadRound::work(const Contexts &contexts, const std::stop_token &stop)
{
    return m_pool ? workInWindow(contexts, stop) : workOneByOne(contexts, stop);
}

UploadRound::Result UploadRound::workOneByOne(const Contexts &contexts, const std::stop_token &stop)
{
    Result result;
    for (const CandidateContext &context : contexts) {
        if (stop.stop_requested()) {
            result.wasStopped = true;
            break;
        }
        begin({context});
        ++result.begun;
        result.outcomes.append(finishFile(context));
    }
    return result;
}

UploadRound::Result UploadRound::workInWindow(const Contexts &contexts, const std::stop_token &stop)
{
    const bool inBatches = m_run.config.mode == ExecutionMode::parallelBatch;
    const int step = inBatches ? m_run.config.batchSize : 1;
    Result result;
    OutcomeTray tray;
    platform::TaskGroup group(*m_pool, m_pool->width(), stop);
    for (qsizetype from = 0; from < contexts.size(); from += step) {
        group.waitForRoom();
        if (stop.stop_requested()) {
            group.cancel();
            break;
        }
        const Contexts chunk = contexts.mid(from, step);
        begin(chunk);
        result.begun += chunk.size();
        group.add([this, chunk, inBatches, &tray](const std::stop_token &cancelled) {
            if (!cancelled.stop_requested()) {
                tray.add(inBatches ? finishChunk(chunk) : Outcomes{finishFile(chunk.first())});
            }
        });
    }
    group.wait();
    result.outcomes = tray.all();
    return result;
}

void UploadRound::begin(const Contexts &contexts) const
{
    QList<index::ImageObjectID> images;
    for (const CandidateContext &context : contexts) {
        m_with.emitter.emit({.category = log::GatewayLogCategory::send,
                             .action = log::GatewayLogAction::uploadCandidateSelected,
                             .outcome = log::GatewayLogOutcome::started,
                             .correlationId = m_run.runId,
                             .fileURL = context.candidate.fileURL,
                             .attempt = context.attempt,
                             .details = candidateDetails(context, m_run.executionDetails)});
        images.append(context.candidate.imageObjectIDs);
    }
    m_with.index.markImagesInProgress(images);
}

CandidateOutcome UploadRound::finishFile(const CandidateContext &context)
{
    const CandidatePreparationResult prepared = prepare(context);
    if (const auto *missing = std::get_if<MissingFile>(&prepared)) {
        return {context, AttemptResult::missingFile, missing->details};
    }
    const auto &ready = std::get<PreparedCandidate>(prepared);
    CandidateOutcome outcome = {context, AttemptResult::failed, ready.details};
    {
        const Slots::Hold request(m_requests);
        outcome.result = m_attempt.sendFile(ready);
    }
    m_preparer.cleanUp(ready);
    return outcome;
}

UploadRound::Outcomes UploadRound::finishChunk(const Contexts &chunk)
{
    const Details chunkDetails = {{QStringLiteral("chunk_candidate_count"), QString::number(chunk.size())}};
    Outcomes outcomes;
    QList<PreparedCandidate> ready;
    for (const CandidateContext &context : chunk) {
        const CandidatePreparationResult prepared = prepare(context);
        if (const auto *missing = std::get_if<MissingFile>(&prepared)) {
            Details details = missing->details;
            details.insert(chunkDetails);
            outcomes.append({context, AttemptResult::missingFile, details});
        } else {
            ready.append(std::get<PreparedCandidate>(prepared));
        }
    }
    if (ready.isEmpty()) {
        return outcomes;
    }
    {
        const Slots::Hold request(m_requests);
        outcomes.append(m_attempt.sendBatch(ready, chunkDetails));
    }
    for (const PreparedCandidate &candidate : ready) {
        m_preparer.cleanUp(candidate);
    }
    return outcomes;
}

CandidatePreparationResult UploadRound::prepare(const CandidateContext &context)
{
    const Slots::Hold conversion(m_conversions);
    return m_preparer.prepare(context, candidateDetails(context, m_run.executionDetails));
}

} // namespace gateway::upload

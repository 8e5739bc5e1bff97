#include "upload/candidate_handler.h"

#include <QtCore/QSet>

#include <algorithm>
#include <optional>

namespace gateway::upload {

using StoreUpload::AttemptResult;
using StoreUpload::CandidateContext;
using StoreUpload::CandidatePreparationResult;
using StoreUpload::ExecutionMode;
using StoreUpload::MissingFile;
using StoreUpload::PreparedCandidate;
using StoreUpload::UnsendableFile;

namespace {

/// How a candidate ended for which nothing can be sent.
std::optional<StoreUpload::CandidateOutcome> outcomeWithoutRequest(const CandidateContext &context,
                                                                   const CandidatePreparationResult &prepared)
{
    if (const auto *missing = std::get_if<MissingFile>(&prepared)) {
        return StoreUpload::CandidateOutcome{context, StoreUpload::kFileMissing, missing->details};
    }
    if (const auto *unsendable = std::get_if<UnsendableFile>(&prepared)) {
        return StoreUpload::CandidateOutcome{
            context,
            {.result = AttemptResult::failed, .failure = {unsendable->failureClass, 0}},
            unsendable->details};
    }
    return std::nullopt;
}

/// The files in as few batches as need be, so that no request holds two that an answer can't tell apart.
QList<QList<PreparedCandidate>> withoutTwins(const QList<PreparedCandidate> &files)
{
    QList<QList<PreparedCandidate>> batches;
    QList<QSet<platform::InstanceUid>> instances;
    for (const PreparedCandidate &file : files) {
        qsizetype batch = 0;
        while (batch < batches.size() && instances[batch].contains(file.identity.instance)) {
            ++batch;
        }
        if (batch == batches.size()) {
            batches.append(QList<PreparedCandidate>());
            instances.append(QSet<platform::InstanceUid>());
        }
        batches[batch].append(file);
        instances[batch].insert(file.identity.instance);
    }
    return batches;
}

} // namespace

CandidateHandler::CandidateHandler(const UploadCollaborators &collaborators,
                                   const RunIdentity &run,
                                   RunHalt &halt)
    : m_collaborators(collaborators), m_run(run), m_halt(halt), m_preparer(collaborators, run),
      m_attempt(collaborators, run, m_preparer)
{
}

CandidateHandler::Contexts CandidateHandler::chunkAt(const Contexts &contexts, qsizetype from) const
{
    const qsizetype most = m_run.config.mode == ExecutionMode::parallelBatch ? m_run.config.batchSize : 1;
    qsizetype size = 1;
    while (!contexts[from].candidate.isRetry && size < most && from + size < contexts.size() &&
           !contexts[from + size].candidate.isRetry) {
        ++size;
    }
    return contexts.mid(from, size);
}

int requestsAtOnce(const StoreUpload::ExecutionConfig &config)
{
    // A setting of thousands would only cost threads: no network gets faster by that.
    constexpr int kMostRequests = 32;
    return config.mode == ExecutionMode::single ? 1 : std::min(config.maxConcurrent, kMostRequests);
}

void CandidateHandler::begin(const Contexts &contexts) const
{
    QList<index::ImageObjectID> images;
    for (const CandidateContext &context : contexts) {
        m_collaborators.emitter.emit({.category = log::GatewayLogCategory::send,
                                      .action = log::GatewayLogAction::uploadCandidateSelected,
                                      .outcome = log::GatewayLogOutcome::started,
                                      .correlationId = m_run.runId,
                                      .fileURL = context.candidate.fileURL,
                                      .attempt = context.attempt,
                                      .details = candidateDetails(context, m_run.executionDetails)});
        images.append(context.candidate.imageObjectIDs);
    }
    m_collaborators.index.markImagesInProgress(images);
}

CandidateHandler::Outcomes CandidateHandler::finish(const Contexts &chunk)
{
    return known(m_run.config.mode == ExecutionMode::parallelBatch ? finishBatch(chunk)
                                                                   : finishFile(chunk.first()));
}

/// A store that goes meanwhile takes its files along. Of these nothing is known: they have no outcome.
CandidateHandler::Outcomes CandidateHandler::known(Outcomes outcomes)
{
    const auto lacksItsFile = [](const StoreUpload::CandidateOutcome &outcome) {
        return outcome.end.failure.failureClass == core::FailureClass::fileMissing ||
               outcome.end.failure.failureClass == core::FailureClass::fileUnreadable;
    };
    if (std::ranges::any_of(outcomes, lacksItsFile) && m_collaborators.index.isStoreOutOfSight()) {
        m_halt.indexFailed();
        outcomes.removeIf(lacksItsFile);
    }
    return outcomes;
}

CandidateHandler::Outcomes CandidateHandler::finishFile(const CandidateContext &context)
{
    if (m_halt.isHalted()) {
        return {};
    }
    const CandidatePreparationResult prepared = prepare(context);
    if (const auto outcome = outcomeWithoutRequest(context, prepared)) {
        return {*outcome};
    }
    QList<PreparedCandidate> ready{std::get<PreparedCandidate>(prepared)};
    Outcomes outcomes;
    if (!lookFirst(ready.first(), {}, outcomes) && mayBeSent(ready)) {
        outcomes.append(outcomeOf(ready.first(), m_attempt.sendFile(ready.first())));
        noteFailures(outcomes);
        m_halt.requestEnded(outcomes);
    }
    m_preparer.cleanUp(ready.first());
    return outcomes;
}

/// False once the run is halted, also because another session stands by now, or none: what is left of a page
/// waits for the next one.
bool CandidateHandler::stands(const cloud_client::CloudSession &session) const
{
    if (!m_halt.isHalted() && m_collaborators.session.present() != session) {
        m_halt.sessionOver();
    }
    return !m_halt.isHalted();
}

/// Looks into the cloud before a file is sent, where that is called for. \return true when it has an outcome.
bool CandidateHandler::lookFirst(const PreparedCandidate &file,
                                 const Details &chunkDetails,
                                 Outcomes &outcomes)
{
    if (!stands(file.context.session)) {
        return false;
    }
    const auto outcome = m_attempt.outcomeWithoutRequest(file, chunkDetails);
    if (outcome) {
        outcomes.append(*outcome);
        m_halt.requestEnded({*outcome});
    }
    return outcome.has_value();
}

/// Notes what is about to be sent, and looks what was noted before. Without that note nobody would know after
/// a crash which version of an instance the cloud may hold.
bool CandidateHandler::mayBeSent(QList<PreparedCandidate> &files)
{
    if (!stands(files.first().context.session)) {
        return false;
    }
    QList<index::SentInstance> instances;
    for (const PreparedCandidate &file : files) {
        instances.append(StoreUpload::sentInstance(file));
    }
    const auto before = m_collaborators.index.noteSending(instances);
    if (!before) {
        m_halt.indexFailed();
        return false;
    }
    for (qsizetype at = 0; at < files.size(); ++at) {
        files[at].sentBefore = before->at(at);
    }
    return true;
}

/// The results of a page are recorded when all of it has ended; what failed is known from now on.
void CandidateHandler::noteFailures(const Outcomes &outcomes) const
{
    QList<index::SentInstance> failed;
    for (const StoreUpload::CandidateOutcome &outcome : outcomes) {
        if (outcome.end.result == AttemptResult::failed && outcome.version) {
            failed.append(*outcome.version);
        }
    }
    if (!failed.isEmpty()) {
        m_collaborators.index.noteTriedInVain(failed);
    }
}

CandidateHandler::Outcomes CandidateHandler::finishBatch(const Contexts &chunk)
{
    const Details chunkDetails = {{QStringLiteral("chunk_candidate_count"), QString::number(chunk.size())}};
    Outcomes outcomes;
    QList<PreparedCandidate> ready;
    for (const CandidateContext &context : chunk) {
        if (m_halt.isHalted()) {
            break;
        }
        const CandidatePreparationResult prepared = prepare(context);
        if (auto outcome = outcomeWithoutRequest(context, prepared)) {
            outcome->details.insert(chunkDetails);
            outcomes.append(*outcome);
        } else {
            ready.append(std::get<PreparedCandidate>(prepared));
        }
    }
    for (QList<PreparedCandidate> &batch : withoutTwins(unseen(ready, chunkDetails, outcomes))) {
        if (mayBeSent(batch)) {
            const Outcomes sent = m_attempt.sendBatch(batch, chunkDetails);
            noteFailures(sent);
            m_halt.requestEnded(sent);
            outcomes.append(sent);
        }
    }
    for (const PreparedCandidate &candidate : ready) {
        m_preparer.cleanUp(candidate);
    }
    return outcomes;
}

/// Those that are to be sent; the others have their outcome.
QList<PreparedCandidate> CandidateHandler::unseen(const QList<PreparedCandidate> &files,
                                                  const Details &chunkDetails,
                                                  Outcomes &outcomes)
{
    QList<PreparedCandidate> left;
    for (const PreparedCandidate &file : files) {
        if (!lookFirst(file, chunkDetails, outcomes)) {
            left.append(file);
        }
    }
    return left;
}

CandidatePreparationResult CandidateHandler::prepare(const CandidateContext &context) const
{
    return m_preparer.prepare(context, candidateDetails(context, m_run.executionDetails));
}

} // namespace gateway::upload

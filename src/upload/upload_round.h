#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/concurrency/worker_pool.h"
#include "upload/candidate_preparer.h"
#include "upload/slots.h"
#include "upload/upload_attempt.h"

#include <QtCore/QList>

#include <cstdint>
#include <optional>
#include <stop_token>

namespace gateway::upload {

/// Works through pages of candidates, as wide as the run's mode allows.
///
/// In the parallel modes a candidate passes two stages, conversion and request, each of which holds at most
/// `maxConcurrent` at a time: while requests wait for the network, the processor converts the next files.
///
/// Owner: UploadRun. Thread: the run's.
class UploadRound
{
public:
    UploadRound(const UploadCollaborators &with, const RunIdentity &run);

    struct Result
    {
        std::int64_t begun = 0;                        ///< candidates that were marked in progress
        QList<StoreUpload::CandidateOutcome> outcomes; ///< in the order in which they came about
        bool wasStopped = false;                       ///< mode `single` left candidates out
    };

    /// Tries each candidate once; blocks until all that were begun have ended. A stop leaves the rest out.
    Result work(const QList<StoreUpload::CandidateContext> &contexts, const std::stop_token &stop);

    /// The threads of the parallel modes; nothing in mode `single`.
    platform::WorkerPool *pool() { return m_pool ? &*m_pool : nullptr; }

private:
    using Contexts = QList<StoreUpload::CandidateContext>;
    using Outcomes = QList<StoreUpload::CandidateOutcome>;

    Result workOneByOne(const Contexts &contexts, const std::stop_token &stop);
    Result workInWindow(const Contexts &contexts, const std::stop_token &stop);
    void begin(const Contexts &contexts) const;
    StoreUpload::CandidateOutcome finishFile(const StoreUpload::CandidateContext &context);
    Outcomes finishChunk(const Contexts &chunk);
    StoreUpload::CandidatePreparationResult prepare(const StoreUpload::CandidateContext &context);

    const UploadCollaborators &m_with;
    const RunIdentity &m_run;
    const CandidatePreparer m_preparer;
    const UploadAttempt m_attempt;
    Slots m_conversions;
    Slots m_requests;
    std::optional<platform::WorkerPool> m_pool; // last: its threads end before what they use
};

} // namespace gateway::upload

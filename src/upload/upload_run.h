#pragma once

#include "upload/store_upload.h"
#include "upload/upload_collaborators.h"
#include "upload/upload_round.h"

#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QString>

#include <cstddef>
#include <stop_token>

namespace gateway::upload {

/// One drain of the index: puts back what an earlier process left half done, then tries each candidate once,
/// page by page and oldest first, however many fail, and records each result. Nothing is retried within a
/// run; what failed is a candidate of the next one.
///
/// Owner: the upload task. Thread: that task's.
class UploadRun
{
public:
    /// \param with      outlives the run.
    /// \param runId     ties the run's events together.
    /// \param deviceId  sent with each request.
    UploadRun(const UploadCollaborators &with,
              QString runId,
              const StoreUpload::ExecutionConfig &config,
              QString deviceId);

    /// Blocks until every candidate was tried once, the session has gone, or `stop` was requested. Never
    /// throws. To be called once.
    StoreUpload::RunSummary run(const std::stop_token &stop);

private:
    using Contexts = QList<StoreUpload::CandidateContext>;
    using Outcomes = QList<StoreUpload::CandidateOutcome>;

    void recover();
    bool playRound(const std::stop_token &stop);
    Contexts nextPage();
    std::int64_t reconcile(const Contexts &contexts, const Outcomes &outcomes);
    void record(const Outcomes &outcomes);
    QList<std::int64_t> recordInIndex(const Outcomes &outcomes);
    void tellRecorded(const StoreUpload::CandidateOutcome &outcome, std::int64_t updated);
    void refreshState() const;
    Details with(std::initializer_list<std::pair<QString, std::int64_t>> figures) const;

    const UploadCollaborators &m_with;
    const RunIdentity m_run;
    StoreUpload::RunSummary m_summary;
    index::PendingCursor m_cursor;
    QSet<std::size_t> m_seen; // hashes of the storage paths taken: a backlog may hold a million of them
    UploadRound m_round;
};

} // namespace gateway::upload

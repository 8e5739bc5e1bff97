#pragma once

#include "platform/concurrency/task_group.h"
#include "platform/concurrency/worker_pool.h"
#include "upload/ahead_window.h"
#include "upload/candidate_handler.h"
#include "upload/conversion_ahead.h"
#include "upload/store_upload.h"
#include "upload/upload_collaborators.h"
#include "upload/upload_round.h"

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QString>

#include <cstddef>
#include <deque>
#include <memory>
#include <stop_token>

namespace gateway::upload {

/// One drain of the index: puts back what an earlier process left half done, then tries each candidate once,
/// page by page and oldest first, however many fail, and records the results of each page when all are there.
/// Nothing is retried within a run; what failed is a candidate of a later one. What concerns the whole queue
/// ends the run: what isn't on its way then is put back.
///
/// While requests are on their way the next files are made ready, and the next page begins while files of
/// those before are still on their way, so that neither the processor nor the network stands still. Versions
/// of one instance alone follow each other, each with its result recorded before the next: of two that were
/// on their way together an archive could keep the older one. One that has to wait holds up no other file.
///
/// Owner: the upload task. Thread: that task's.
class UploadRun
{
public:
    /// \param with      outlives the run.
    /// \param runId     ties the run's events together.
    /// \param deviceId  sent with each request.
    UploadRun(const UploadCollaborators &collaborators,
              QString runId,
              const StoreUpload::ExecutionConfig &config,
              QString deviceId);

    /// Blocks until every candidate was tried once, the run was halted, the session has gone, or `stop` was
    /// requested. Never throws. To be called once.
    StoreUpload::RunSummary run(const std::stop_token &stop);

private:
    using Contexts = UploadRound::Contexts;
    using Outcomes = UploadRound::Outcomes;

    void recover();
    void drain(const std::stop_token &stop);
    void begin(UploadRound &round, platform::TaskGroup &window, const std::stop_token &stop);
    void noteUnderWay(const Contexts &contexts, int by);
    void expectFrom(const Contexts &contexts, qsizetype from, AheadWindow &window);
    void settleWhatRests();
    void settleAll();
    bool mustEnd(const std::stop_token &stop) const;
    bool isProbing() const;
    bool mayBeginPage(const std::stop_token &stop);
    Contexts nextPage();
    void take(const StoreUpload::CandidateContext &candidate, Contexts &page);
    void settle(UploadRound &round);
    std::int64_t reconcile(const Contexts &contexts, const Outcomes &outcomes);
    void record(const Outcomes &outcomes);
    void tellRecorded(const StoreUpload::CandidateOutcome &outcome, std::int64_t updated);
    void refreshState() const;
    Details runDetails(std::initializer_list<std::pair<QString, std::int64_t>> figures) const;

    const RunIdentity m_run;
    ConversionAhead m_ahead;
    const UploadCollaborators m_collaborators; // its converter is `m_ahead`
    StoreUpload::RunSummary m_summary;
    index::PendingCursor m_cursor;
    cloud_client::CloudSession m_session; // of the page that began last
    QSet<std::size_t> m_seen; // hashes of the storage paths taken: a backlog may hold a million of them
    RunHalt m_halt;
    CandidateHandler m_handler;
    std::deque<std::unique_ptr<UploadRound>> m_open; // oldest first
    QHash<platform::InstanceUid, int> m_underWay;    // instances in the open pages: by how many files
    Contexts m_behind;                               // wait for another version of their image
    platform::WorkerPool m_pool;                     // sends
};

} // namespace gateway::upload

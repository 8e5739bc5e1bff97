#pragma once

#include "upload/candidate_preparer.h"
#include "upload/run_halt.h"
#include "upload/upload_attempt.h"

#include <QtCore/QList>

namespace gateway::upload {

/// Takes candidates from their selection to their outcome: mark, convert, send, clean up.
///
/// Owner: UploadRun. Thread: any for `finish`, the run's for `begin`.
class CandidateHandler
{
public:
    using Contexts = QList<StoreUpload::CandidateContext>;
    using Outcomes = QList<StoreUpload::CandidateOutcome>;

    /// \param halt  told how each request ended, and asked before each; outlives the handler.
    CandidateHandler(const UploadCollaborators &collaborators, const RunIdentity &run, RunHalt &halt);

    /// The candidates from `from` on that go together: one, or in batches as many as a batch holds. One that
    /// failed before goes alone, so that it takes nobody down with it.
    Contexts chunkAt(const Contexts &contexts, qsizetype from) const;

    /// Tells the log that the candidates are next, and marks their rows as in progress.
    void begin(const Contexts &chunk) const;

    /// Tries each candidate of a chunk once; blocks until all have an outcome. Once the run is halted nothing
    /// is begun any more, and those candidates have none; nor have those whose files went with their store.
    Outcomes finish(const Contexts &chunk);

private:
    Outcomes known(Outcomes outcomes);
    Outcomes finishFile(const StoreUpload::CandidateContext &context);
    Outcomes finishBatch(const Contexts &chunk);
    bool stands(const cloud_client::CloudSession &session) const;
    bool
    lookFirst(const StoreUpload::PreparedCandidate &file, const Details &chunkDetails, Outcomes &outcomes);
    QList<StoreUpload::PreparedCandidate> unseen(const QList<StoreUpload::PreparedCandidate> &files,
                                                 const Details &chunkDetails,
                                                 Outcomes &outcomes);
    void noteFailures(const Outcomes &outcomes) const;
    bool mayBeSent(QList<StoreUpload::PreparedCandidate> &files);
    StoreUpload::CandidatePreparationResult prepare(const StoreUpload::CandidateContext &context) const;

    const UploadCollaborators &m_collaborators;
    const RunIdentity &m_run;
    RunHalt &m_halt;
    const CandidatePreparer m_preparer;
    const UploadAttempt m_attempt;
};

/// How many requests of a run may be under way at once.
int requestsAtOnce(const StoreUpload::ExecutionConfig &config);

} // namespace gateway::upload

#pragma once

#include "upload/candidate_preparer.h"
#include "upload/slots.h"
#include "upload/upload_attempt.h"

#include <QtCore/QList>

namespace gateway::upload {

/// Takes candidates from their selection to their outcome: mark, convert, send, clean up.
///
/// However many threads ask at once, at most `maxConcurrent` conversions and at most `maxConcurrent` requests
/// are under way; others wait for their turn.
///
/// Owner: UploadRun. Thread: any for `finish`, the run's for `begin`.
class CandidateHandler
{
public:
    using Contexts = QList<StoreUpload::CandidateContext>;
    using Outcomes = QList<StoreUpload::CandidateOutcome>;

    CandidateHandler(const UploadCollaborators &with, const RunIdentity &run);

    /// Candidates that go together: one, or in batches as many as a batch holds.
    int chunkSize() const;

    /// How many chunks may be under way at once: as many as are sent, and as many again that are made ready.
    /// Mode `single` knows one.
    int width() const;

    /// Tells the log that the candidates are next, and marks their rows as in progress.
    void begin(const Contexts &chunk) const;

    /// Tries each candidate of a chunk once; blocks until all have an outcome.
    Outcomes finish(const Contexts &chunk);

private:
    StoreUpload::CandidateOutcome finishFile(const StoreUpload::CandidateContext &context);
    Outcomes finishBatch(const Contexts &chunk);
    StoreUpload::CandidatePreparationResult prepare(const StoreUpload::CandidateContext &context);

    const UploadCollaborators &m_with;
    const RunIdentity &m_run;
    const CandidatePreparer m_preparer;
    const UploadAttempt m_attempt;
    Slots m_conversions;
    Slots m_requests;
};

} // namespace gateway::upload

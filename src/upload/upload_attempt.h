#pragma once

#include "upload/candidate_preparer.h"
#include "upload/instance_verifier.h"
#include "upload/store_upload.h"
#include "upload/upload_collaborators.h"

#include <QtCore/QList>

namespace gateway::upload {

/// Sends prepared candidates to the cloud, once, and tells the log how it went.
///
/// Owner: UploadRun. Thread: any, several attempts at a time; each blocks until the cloud has answered.
class UploadAttempt
{
public:
    UploadAttempt(const UploadCollaborators &collaborators,
                  const RunIdentity &run,
                  const CandidatePreparer &preparer)
        : m_collaborators(collaborators), m_run(run), m_preparer(preparer), m_verifier(collaborators)
    {
    }

    /// The outcome of a file that the cloud is seen to hold, or that can't be told apart from what it holds,
    /// so that sending it would be in vain; nothing where it is to be sent.
    ///
    /// \param chunkDetails  merged into the details of the outcome.
    std::optional<StoreUpload::CandidateOutcome>
    outcomeWithoutRequest(const StoreUpload::PreparedCandidate &prepared,
                          const Details &chunkDetails = {}) const;

    /// Sends one file in a request of its own.
    StoreUpload::AttemptEnd sendFile(const StoreUpload::PreparedCandidate &prepared) const;

    /// Sends the files of a batch in one request; each candidate gets an outcome of its own.
    ///
    /// \param prepared      at least one.
    /// \param chunkDetails  merged into the details of every event and outcome.
    QList<StoreUpload::CandidateOutcome> sendBatch(const QList<StoreUpload::PreparedCandidate> &prepared,
                                                   const Details &chunkDetails) const;

private:
    QList<StoreUpload::AttemptEnd> withReach(QList<StoreUpload::AttemptEnd> ends,
                                             const cloud_client::CloudSession &session) const;
    void tellFailure(log::StoreLogRecord record, const std::exception &error) const;
    StoreUpload::AttemptEnd confirm(const StoreUpload::PreparedCandidate &prepared,
                                    CloudsWord word,
                                    const log::StoreLogRecord &record) const;

    const UploadCollaborators &m_collaborators;
    const RunIdentity &m_run;
    const CandidatePreparer &m_preparer;
    const InstanceVerifier m_verifier;
};

/// The outcome of a candidate whose attempt ended so.
StoreUpload::CandidateOutcome outcomeOf(const StoreUpload::PreparedCandidate &prepared,
                                        const StoreUpload::AttemptEnd &end,
                                        const Details &chunkDetails = {});

} // namespace gateway::upload

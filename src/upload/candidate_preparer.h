#pragma once

#include "upload/store_upload.h"
#include "upload/upload_collaborators.h"

namespace gateway::upload {

/// Chooses the file that goes up for a candidate: its lossless JPEG-LS form, or the original where that can't
/// be had. A failed conversion never holds a file back.
///
/// Owner: UploadRun. Thread: any, several at a time.
class CandidatePreparer
{
public:
    CandidatePreparer(const UploadCollaborators &collaborators, const RunIdentity &run)
        : m_collaborators(collaborators), m_run(run)
    {
    }

    /// Converts if the run is told to, and puts a header right that contradicts its dataset; blocks for so
    /// long.
    ///
    /// \param details  the details so far; the result carries them on.
    StoreUpload::CandidatePreparationResult prepare(const StoreUpload::CandidateContext &context,
                                                    const Details &details) const;

    /// Removes the converted file, but never a stored one.
    void cleanUp(const StoreUpload::PreparedCandidate &prepared) const;

    /// Logs that a candidate's file isn't there.
    StoreUpload::MissingFile reportMissing(const StoreUpload::CandidateContext &context,
                                           const Details &details) const;

private:
    StoreUpload::CandidatePreparationResult fallBack(const StoreUpload::CandidateContext &context,
                                                     const QUrl &sourceURL,
                                                     const QString &reason,
                                                     Details details) const;
    StoreUpload::CandidatePreparationResult
    asItIs(const StoreUpload::CandidateContext &context, const QUrl &sourceURL, Details details) const;
    StoreUpload::CandidatePreparationResult ready(const StoreUpload::CandidateContext &context,
                                                  const platform::SendableFile &file,
                                                  const Details &details) const;
    StoreUpload::UnsendableFile reportUnsendable(const StoreUpload::CandidateContext &context,
                                                 core::FailureClass failureClass,
                                                 const Details &details) const;

    const UploadCollaborators &m_collaborators;
    const RunIdentity &m_run;
};

/// The URL of a local file with "." and ".." removed from its path as text.
QUrl standardized(const QUrl &url);

/// False when there is nothing at a local file's URL. Trouble in asking isn't that: who opens the file meets
/// it again, and can tell what it is.
bool exists(const QUrl &url);

} // namespace gateway::upload

#pragma once

#include "upload/store_upload.h"
#include "upload/upload_collaborators.h"

#include <optional>

namespace gateway::upload {

/// What the cloud says of an instance that is there.
enum class CloudsWord
{
    isStored, ///< it was stored now, or a query finds it right behind its upload
    wasThere, ///< the cloud had the instance already, in whatever version
    isShown,  ///< a query finds some version of it, and nobody said that it is the one that was sent
};

/// Decides whether the cloud's word is enough for an instance that it calls stored.
///
/// It is, unless the cloud may hold another version of the instance: because this gateway may have sent one,
/// and some archives keep the first and answer a second like one that is stored; or because the cloud says
/// that it had the instance already, or merely shows it. Then only the instance itself proves it, fetched and
/// compared.
///
/// Owner: UploadAttempt. Thread: any, several at a time; blocks while the cloud is asked.
class InstanceVerifier
{
public:
    explicit InstanceVerifier(const UploadCollaborators &collaborators) : m_collaborators(collaborators) {}

    /// Looks into the cloud before a request where nobody knows which version was sent before: what it holds
    /// already isn't sent again. Never throws.
    ///
    /// \return the end of an attempt that needs no request; nothing where the file is to be sent.
    std::optional<StoreUpload::AttemptEnd>
    endWithoutRequest(const StoreUpload::PreparedCandidate &prepared) const;

    /// The end of an attempt after which the instance is there. Never throws.
    StoreUpload::AttemptEnd confirm(const StoreUpload::PreparedCandidate &prepared, CloudsWord word) const;

private:
    /// A look at what the cloud holds.
    struct Look
    {
        StoreUpload::AttemptEnd end;
        bool wasFetched = false; ///< the instance came, or something in its place, and was looked at
    };

    std::optional<StoreUpload::AttemptEnd> lookFirst(const StoreUpload::PreparedCandidate &prepared) const;
    std::optional<StoreUpload::AttemptEnd>
    lookForUnrecorded(const StoreUpload::PreparedCandidate &prepared) const;
    std::optional<StoreUpload::AttemptEnd>
    lookForUnknown(const StoreUpload::PreparedCandidate &prepared) const;
    std::optional<StoreUpload::AttemptEnd> lookForTaken(StoreUpload::PreparedCandidate prepared,
                                                        index::SentBefore before) const;
    bool mayBeHeld(const cloud_client::CloudSession &session,
                   const platform::InstanceIdentity &identity) const;
    bool noteDoubt(const StoreUpload::PreparedCandidate &prepared) const;
    StoreUpload::AttemptEnd endByRecord(const StoreUpload::PreparedCandidate &prepared) const;
    Look compareWithCloud(const StoreUpload::PreparedCandidate &prepared) const;

    const UploadCollaborators &m_collaborators;
};

} // namespace gateway::upload

#pragma once

#include "upload/store_upload.h"
#include "upload/upload_collaborators.h"

namespace gateway::upload {

/// Decides whether the cloud's word is enough for an instance that it calls stored.
///
/// It is, unless this gateway has sent another version of the instance: some archives keep the first one and
/// answer a second like one that is stored. Then only the instance itself proves it, fetched and compared.
///
/// Owner: UploadAttempt. Thread: any, several at a time; blocks while the cloud is asked.
class InstanceVerifier
{
public:
    explicit InstanceVerifier(const UploadCollaborators &with) : m_with(with) {}

    /// The end of an attempt that the cloud calls a success. Never throws.
    StoreUpload::AttemptEnd confirm(const StoreUpload::PreparedCandidate &prepared) const;

private:
    const UploadCollaborators &m_with;
};

} // namespace gateway::upload

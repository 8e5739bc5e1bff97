#pragma once

#include "platform/dicom/instance_identity.h"

namespace gateway::index {

/// How far a person's deletion from the cloud is.
enum class CloudDeletion
{
    begins,  ///< the cloud is about to be asked
    done,    ///< it said so, or nobody knows what it did
    refused, ///< it said that it won't
};

/// Keeps in mind which images went from the cloud on a person's word: their files stay here whatever the
/// retention, and count as not in the cloud, until they are sent again.
///
/// Thread: any; calls block until the note is durable.
class CloudDeletions
{
public:
    virtual ~CloudDeletions() = default;

    /// Notes it for what was sent, or is being sent, of a study or of one series of it.
    ///
    /// \param series  empty for all of the study.
    /// \return false when it couldn't be noted: nothing may be deleted then.
    virtual bool noteCloudDeletion(const platform::StudyUid &study,
                                   const platform::SeriesUid &series,
                                   CloudDeletion step) = 0;
};

} // namespace gateway::index

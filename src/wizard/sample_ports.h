#pragma once

#include "core/failure_class.h"
#include "platform/dicom/instance_identity.h"
#include "platform/dicom/sample_sender.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <optional>

namespace gateway::wizard {

/// What became of a sample here.
struct LocalSample
{
    enum class State
    {
        absent,     ///< it isn't here, and nothing that could be it waits
        mayYetCome, ///< it isn't recorded, and may lie in an incoming folder
        waiting,    ///< recorded, and not uploaded
        uploaded,
        failed ///< its last upload failed
    };

    State state = State::mayYetCome;

    /// Of `failed` why; of `waiting` what holds up all uploads. Nothing where that isn't known.
    std::optional<core::FailureClass> cause = std::nullopt;

    bool isRecorded() const { return state != State::absent && state != State::mayYetCome; }
};

/// The gateway that a sample goes through.
///
/// Owner: app. Thread: main for `listener` and `requestUpload`; any for the others, which block.
class SampleGateway
{
public:
    virtual ~SampleGateway() = default;

    /// Where the own listener listens; nothing while it doesn't.
    virtual std::optional<platform::SampleDestination> listener() = 0;

    virtual platform::SampleOutcome send(const platform::SampleDestination &destination,
                                         const platform::InstanceIdentity &sample,
                                         const QDateTime &madeAt) = 0;
    virtual LocalSample look(const platform::InstanceIdentity &sample) = 0;

    /// Deletes what is recorded of it. \return false when that can't be done now.
    virtual bool removeHere(const platform::InstanceIdentity &sample) = 0;

    virtual void requestUpload() = 0;

    /// Whether anything is being uploaded, which may be a sample that was recorded a moment ago.
    virtual bool isUploading() = 0;
};

/// The cloud that a sample goes to.
///
/// Owner: app. Thread: main for `isSignedIn`; any for the others, which block.
class SampleCloud
{
public:
    virtual ~SampleCloud() = default;

    virtual bool isSignedIn() = 0;

    /// \throws std::exception  of the cloud client.
    virtual bool isFound(const platform::InstanceIdentity &sample) = 0;

    /// Deletes its study; that nothing is there to delete is as good.
    /// \throws std::exception  of the cloud client.
    virtual void removeInCloud(const platform::InstanceIdentity &sample) = 0;
};

} // namespace gateway::wizard

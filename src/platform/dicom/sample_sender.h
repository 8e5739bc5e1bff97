#pragma once

#include "platform/dicom/instance_identity.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

namespace gateway::platform {

/// A listener on this computer, and who calls.
struct SampleDestination
{
    QString address; ///< numeric
    int port = 0;
    QString calledTitle;
    QString callingTitle;
};

/// How an attempt to store a sample ended.
struct SampleOutcome
{
    enum class Kind
    {
        stored,
        unreachable, ///< no connection
        rejected,    ///< the association was refused
        notTaken,    ///< no images of this kind are taken
        failed,      ///< the image was refused, with `status`
        broken,      ///< the connection ended, or no DICOM is spoken there
        silent,      ///< no answer in time
        unavailable  ///< the helper program doesn't do its work
    };

    Kind kind = Kind::unavailable;
    int status = 0; ///< of `failed` (PS3.4 B.2.3)

    bool operator==(const SampleOutcome &) const = default;
};

/// Sends a small image of nobody by C-STORE, from a process of `quorin-dicom sender`.
///
/// \param identity  what the image will be called.
/// \param madeAt    its date and time.
/// Blocks for as long as the listener takes, a minute and a half at most. Thread: any that outlives the call,
/// since the process ends with it.
SampleOutcome sendSample(const QString &helperProgram,
                         const SampleDestination &destination,
                         const InstanceIdentity &identity,
                         const QDateTime &madeAt);

} // namespace gateway::platform

#pragma once

#include "upload/store_upload_coordinator.h"

#include <QtCore/QString>

namespace gateway::upload {

/// Asks for an upload run for whoever isn't to know whether setup is finished.
///
/// Owner: app. Thread: any.
class UploadRequests
{
public:
    virtual ~UploadRequests() = default;

    /// Asks for an upload run if setup is finished; does nothing otherwise.
    ///
    /// \param reason  a short word for the log, such as "app_launch".
    virtual void requestUpload(const QString &reason, UploadUrgency urgency) = 0;
};

} // namespace gateway::upload

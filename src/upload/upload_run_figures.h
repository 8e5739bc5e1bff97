#pragma once

#include "upload/store_upload.h"

#include <QtCore/QDateTime>

#include <optional>

namespace gateway::upload {

/// What is known of the upload runs. Thread: a plain value.
struct UploadRunFigures
{
    struct Ended
    {
        StoreUpload::RunSummary summary;
        QDateTime at; ///< UTC
    };

    bool isRunning = false;
    std::optional<StoreUpload::ExecutionMode> mode; ///< of the current or last run
    std::optional<Ended> last;                      ///< the last run that ended
};

} // namespace gateway::upload

#pragma once

#include "index/upload_failure.h"
#include "upload/upload_gate.h"

#include <optional>

namespace gateway::upload {

/// What uploads wait for. Thread: a plain value.
struct WaitingUploads
{
    index::WaitingRetries retries;                 ///< files that were tried in vain and wait for their time
    std::optional<UploadGate::Closure> pause = {}; ///< what all files wait for
    qint64 awaited = 0; ///< of `retries`: files that the cloud has taken and doesn't show yet
};

} // namespace gateway::upload

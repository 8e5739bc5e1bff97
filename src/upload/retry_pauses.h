#pragma once

#include "upload/store_upload.h"

#include <chrono>
#include <span>

namespace gateway::upload {

/// How long a file waits after an attempt that ended so, its first time, its second and so on; the last one
/// counts for all later. Empty where the failure wasn't the file's: it goes with the others.
///
/// What was refused for good waits up to a day; what may pass, such as a request without an answer, up to an
/// hour. An answer of the whole queue's kind that one file alone may have met, such as a firewall's, lets the
/// others go before it.
///
/// Thread: any; a pure function.
std::span<const std::chrono::seconds> pausesAfter(const StoreUpload::AttemptEnd &end);

} // namespace gateway::upload

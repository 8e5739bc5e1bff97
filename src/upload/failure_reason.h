#pragma once

#include "core/failure_class.h"
#include "upload/store_upload.h"

#include <exception>

namespace gateway::upload {

/// Why the upload of one file failed, worked out from what the cloud client threw: by kinds, statuses and
/// failure reasons (PS3.18 I.2.2, PS3.4 GG.4.2, PS3.7 annex C), never by a server's words. The code is the
/// one that the log has for the error, or the server's failure reason for this very file.
///
/// \param error     what the request threw in which the file was sent, alone or with others.
/// \param prepared  the file.
///
/// Thread: any; a pure function.
core::Failure failureOf(const std::exception &error, const StoreUpload::PreparedCandidate &prepared);

/// The end of an attempt at this file that threw this error: why it failed, and whom that concerns. A reason
/// that the server gave for the file itself never concerns others.
///
/// Thread: any; a pure function.
StoreUpload::AttemptEnd failedEnd(const std::exception &error,
                                  const StoreUpload::PreparedCandidate &prepared);

} // namespace gateway::upload

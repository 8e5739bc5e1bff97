#pragma once

#include "index/upload_failure.h"

#include <QtCore/QString>

#include <cstdint>

namespace gateway::platform {
class Database;
}

namespace gateway::index {

/// Keeps why the upload of the stored file at `path` failed, and sets from when it may be tried again;
/// nothing where no row stands for this file. Runs inside the caller's transaction.
///
/// \param now  milliseconds since 1970, UTC. Throws SqliteError. Thread: any.
void keepFailure(platform::Database &database,
                 const QString &path,
                 const FailedUpload &failure,
                 std::int64_t now);

/// What is kept of a file's last failure.
struct LastFailure
{
    QString failureClass = {}; ///< empty where it has none
    std::int64_t tries = 0;    ///< in vain, after which the file had to wait
};

/// The file's last failure. Throws SqliteError.
LastFailure lastFailureOf(platform::Database &database, const QString &path);

} // namespace gateway::index

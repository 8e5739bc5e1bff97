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

/// The class of the file's last failure; empty where it has none. Throws SqliteError.
QString lastFailureOf(platform::Database &database, const QString &path);

} // namespace gateway::index

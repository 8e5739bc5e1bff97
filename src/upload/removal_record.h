#pragma once

#include "index/deletion_results.h"
#include "log/writing/store_log_emitter.h"

#include <QtCore/QUrl>

namespace gateway::upload {

/// What the log says of a file that has gone from the file store: the end of its image's life.
log::StoreLogRecord removalRecord(const QUrl &file, index::RemovalReason reason);

} // namespace gateway::upload

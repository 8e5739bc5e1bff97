#pragma once

#include "log/browsing/log_filter.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

namespace gateway::log {

/// True for what a hash in the log looks like: 16 hexadecimal digits, in any case.
bool isLogHash(const QString &text);

/// The rows that tell the lives of images: their associations, how they were received and imported, each
/// upload and its result, and their removal, in the order of all rows.
///
/// An image has two hashes, of the file in the inbox and of that in the file store; either gives the same
/// rows. The hash of an association gives the lives of all images that came by it. Events that tell of
/// several images at once, such as a run's, belong to no image.
///
/// \param rows    not null.
/// \param hashes  as they stand in the log; the case of their letters doesn't matter.
/// \return no rows when the log knows no image or association of those hashes.
///
/// Thread: any; reads a few lines from the disk for each image.
FilteredLogRows imageTrail(std::shared_ptr<const LogRows> rows, const QStringList &hashes);

} // namespace gateway::log

#pragma once

#include "core/failure_class.h"
#include "index/upload_failure.h"

#include <QtCore/QList>

namespace gateway::upload {

/// So many stored files were not uploaded, last for this reason. Thread: a plain value.
struct FailureFigure
{
    core::Failure failure;
    qint64 files = 0;

    bool operator==(const FailureFigure &) const = default;
};

/// The counts of the index as figures, at most the 20 most frequent: what is shown has to stay short. What
/// the cloud has taken and doesn't show yet hasn't failed, and is none of them.
QList<FailureFigure> failureFigures(const QList<index::UploadFailureCount> &counts);

/// So many stored files the cloud has taken and doesn't show yet.
qint64 awaitedFiles(const QList<index::UploadFailureCount> &counts);

} // namespace gateway::upload

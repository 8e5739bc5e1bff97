#pragma once

#include "core/failure_class.h"
#include "index/upload_failure.h"

#include <QtCore/QJsonArray>
#include <QtCore/QList>
#include <QtCore/QString>

namespace gateway::app {

/// So many stored files were not uploaded, last for this reason. Thread: a plain value.
struct FailureFigure
{
    core::Failure failure;
    qint64 files = 0;

    bool operator==(const FailureFigure &) const = default;
};

/// The counts of the index as figures, at most the 20 most frequent: what is shown has to stay short.
QList<FailureFigure> failureFigures(const QList<index::UploadFailureCount> &counts);

/// `[{"class", "code", "sentence", "count"}]`
QJsonArray toJson(const QList<FailureFigure> &figures);

/// A line for each sentence: the count and the sentence. \param failures  as `toJson` gives them.
QStringList failureLines(const QJsonArray &failures);

} // namespace gateway::app

#include "upload/failure_figures.h"

namespace gateway::upload {

namespace {

bool isAwaited(const index::UploadFailureCount &count)
{
    return core::failureClassOf(count.failureClass) == core::FailureClass::notThereYet;
}

} // namespace

QList<FailureFigure> failureFigures(const QList<index::UploadFailureCount> &counts)
{
    constexpr qsizetype kMost = 20;
    QList<FailureFigure> figures;
    for (const index::UploadFailureCount &count : counts) {
        if (!isAwaited(count) && figures.size() < kMost) {
            figures.append({{core::failureClassOf(count.failureClass), count.failureCode}, count.files});
        }
    }
    return figures;
}

qint64 awaitedFiles(const QList<index::UploadFailureCount> &counts)
{
    qint64 files = 0;
    for (const index::UploadFailureCount &count : counts) {
        files += isAwaited(count) ? count.files : 0;
    }
    return files;
}

} // namespace gateway::upload

#include "upload/failure_figures.h"

#include <algorithm>

namespace gateway::upload {

QList<FailureFigure> failureFigures(const QList<index::UploadFailureCount> &counts)
{
    constexpr qsizetype kMost = 20;
    QList<FailureFigure> figures;
    for (const index::UploadFailureCount &count : counts.first(std::min(kMost, counts.size()))) {
        figures.append({{core::failureClassOf(count.failureClass), count.failureCode}, count.files});
    }
    return figures;
}

} // namespace gateway::upload

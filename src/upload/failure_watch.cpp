#include "upload/failure_watch.h"

#include "platform/concurrency/main_thread.h"

#include <QtCore/QMap>

#include <utility>

namespace gateway::upload {

namespace {

/// One class may stand for several codes. Of two that are as frequent it is the one that comes first.
std::optional<core::FailureClass> mostFrequentIn(const QList<FailureFigure> &figures)
{
    QMap<core::FailureClass, qint64> files;
    for (const FailureFigure &figure : figures) {
        files[figure.failure.failureClass] += figure.files;
    }
    std::optional<core::FailureClass> most;
    for (const FailureFigure &figure : figures) {
        const core::FailureClass here = figure.failure.failureClass;
        if (!most || files.value(here) > files.value(*most)) {
            most = here;
        }
    }
    return most;
}

} // namespace

FailureWatch::FailureWatch(const Collaborators &collaborators) : m_collaborators(collaborators)
{
    platform::assertMainThread("FailureWatch");
}

void FailureWatch::refresh()
{
    const std::chrono::nanoseconds now = m_collaborators.clock.monotonic();
    if (m_readAt && now - *m_readAt < kPause) {
        return;
    }
    m_readAt = now;
    m_collaborators.pool.run([this,
                              &main = m_collaborators.main,
                              read = m_collaborators.read,
                              life = std::weak_ptr<const void>(m_life)] {
        main.post(life, [this, figures = read()] { show(figures); });
    });
}

void FailureWatch::show(const QList<FailureFigure> &figures)
{
    const std::optional<core::FailureClass> now = mostFrequentIn(figures);
    if (std::exchange(m_mostFrequent, now) != now) {
        Q_EMIT changed();
    }
}

} // namespace gateway::upload

#include "upload/upload_run_watcher.h"

#include <utility>

namespace gateway::upload {

void UploadRunWatcher::log(log::GatewayLogEvent event)
{
    const bool starts = event.action == log::GatewayLogAction::uploadRunStarted;
    const bool ends = event.action == log::GatewayLogAction::uploadRunFinished;
    if (starts || ends) {
        const platform::MutexLock lock(m_mutex);
        m_figures.isRunning = starts;
        m_figures.mode = event.details.value_or(QMap<QString, QString>())
                             .value(QStringLiteral("execution_mode"), m_figures.mode);
        if (ends) {
            m_figures.last = event.details;
            m_figures.lastFinishedAt = event.timestamp;
        }
    }
    if (m_succeeded && event.action == log::GatewayLogAction::uploadAttemptSucceeded) {
        m_succeeded();
    }
    m_log.log(std::move(event));
}

state::UploadRunFigures UploadRunWatcher::figures() const
{
    const platform::MutexLock lock(m_mutex);
    return m_figures;
}

} // namespace gateway::upload

#include "upload/upload_run_watcher.h"

namespace gateway::upload {

void UploadRunWatcher::runStarted(const StoreUpload::ExecutionConfig &orders)
{
    const platform::MutexLock lock(m_mutex);
    m_figures.isRunning = true;
    m_figures.mode = orders.mode;
}

void UploadRunWatcher::runFinished(const StoreUpload::RunSummary &summary, const QDateTime &at)
{
    const platform::MutexLock lock(m_mutex);
    m_figures.isRunning = false;
    m_figures.last = {summary, at};
}

UploadRunFigures UploadRunWatcher::figures() const
{
    const platform::MutexLock lock(m_mutex);
    return m_figures;
}

} // namespace gateway::upload

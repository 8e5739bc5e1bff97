#pragma once

#include "platform/concurrency/mutex.h"
#include "upload/run_observer.h"
#include "upload/upload_run_figures.h"

namespace gateway::upload {

/// Remembers what is known of the upload runs.
///
/// Owner: Sending. Thread: any.
class UploadRunWatcher final : public RunObserver
{
public:
    void runStarted(const StoreUpload::ExecutionConfig &orders) override;
    void runFinished(const StoreUpload::RunSummary &summary, const QDateTime &at) override;

    UploadRunFigures figures() const;

private:
    mutable platform::Mutex m_mutex;
    UploadRunFigures m_figures QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::upload

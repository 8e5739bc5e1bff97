#pragma once

#include "log/store_log_emitter.h"
#include "platform/concurrency/serial_queue.h"
#include "platform/concurrency/task.h"
#include "upload/store_upload.h"

#include <QtCore/QString>

#include <functional>
#include <stop_token>

namespace gateway::upload {

/// Makes sure that at most one upload run exists and that no request for one is lost: any number of requests
/// during a run cost one further run.
///
/// Owner: Store. Thread: any; its state lives on the upload queue. The destructor stops a run and waits for
/// the requests that are in flight.
class StoreUploadCoordinator
{
public:
    /// What the settings say now. Called on the thread of a request and on the upload queue.
    using ReadConfig = std::function<StoreUpload::ExecutionConfig()>;

    /// Performs one run, on a thread of its own; blocks until it has ended.
    using PerformRun = std::function<StoreUpload::RunSummary(
        const QString &runId, const StoreUpload::ExecutionConfig &config, const std::stop_token &stop)>;

    /// \param emitter  outlives the coordinator.
    StoreUploadCoordinator(log::StoreLogEmitter &emitter, ReadConfig readConfig, PerformRun performRun);
    ~StoreUploadCoordinator();

    StoreUploadCoordinator(const StoreUploadCoordinator &) = delete;
    StoreUploadCoordinator &operator=(const StoreUploadCoordinator &) = delete;

    /// Starts a run, or notes that one more is wanted after the present one; returns at once. A run that is
    /// started takes the settings as they stand then.
    ///
    /// \param trigger  a short word for the log, such as "app_launch".
    void requestUploadRun(const QString &trigger);

private:
    void startOrRequeue(const QString &trigger);
    void start(const QString &trigger, const StoreUpload::ExecutionConfig &config);
    void finish(const QString &runId, const StoreUpload::RunSummary &summary);

    log::StoreLogEmitter &m_emitter;
    const ReadConfig m_readConfig;
    const PerformRun m_performRun;

    // Touched on the queue only.
    platform::Task m_uploadTask;
    bool m_uploadRequestedWhileRunning = false;
    bool m_closing = false;

    platform::SerialQueue m_uploadCoordinationQueue; // last: drained before the fields go
};

} // namespace gateway::upload

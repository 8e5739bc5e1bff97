#pragma once

#include "index/retry_index.h"
#include "log/writing/store_log_emitter.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/serial_queue.h"
#include "platform/concurrency/task.h"
#include "upload/run_observer.h"
#include "upload/store_upload.h"
#include "upload/upload_gate.h"
#include "upload/upload_ports.h"

#include <QtCore/QString>

#include <chrono>
#include <functional>
#include <stop_token>

namespace gateway::upload {

/// What a request for a run may open.
enum class UploadUrgency
{
    whenOpen,          ///< nothing: it waits with the others while the gate is closed
    unlessAskedToWait, ///< the gate, unless the cloud itself named a time
    openNow,           ///< the gate: a person wants something that waits behind it
    everythingNow      ///< the gate, and every file that waits for its time: a person wants it
};

/// Makes sure that at most one upload run exists and that no request for one is lost: any number of requests
/// during a run, or while the gate is closed, cost one further run. It also asks for runs itself: when the
/// gate opens, and when the time of a file comes that failed before.
///
/// Owner: Store. Thread: any; its state lives on the upload queue. The destructor stops a run and waits for
/// the requests that are in flight.
class StoreUploadCoordinator
{
public:
    /// What the coordinator works with; all of it outlives it.
    struct Collaborators
    {
        log::StoreLogEmitter &emitter;
        RunObserver &observer;
        platform::Clock &clock;
        index::RetryIndex &retries;

        /// What the settings say now. Called on the thread of a request and on the upload queue.
        std::function<StoreUpload::ExecutionConfig()> readConfig;

        /// Performs one run, on a thread of its own; blocks until it has ended.
        std::function<StoreUpload::RunSummary(
            const QString &runId, const StoreUpload::ExecutionConfig &config, const std::stop_token &stop)>
            performRun;

        UploadGate::Random random;
    };

    explicit StoreUploadCoordinator(Collaborators collaborators);
    ~StoreUploadCoordinator();

    StoreUploadCoordinator(const StoreUploadCoordinator &) = delete;
    StoreUploadCoordinator &operator=(const StoreUploadCoordinator &) = delete;

    /// Starts a run, or notes that one is wanted after the present one or once the gate is open; returns at
    /// once. A run that is started takes the settings as they stand then.
    ///
    /// \param trigger  a short word for the log, such as "app_launch".
    void requestUploadRun(const QString &trigger, UploadUrgency urgency = UploadUrgency::whenOpen);

    /// Why no run may begin now; nothing while one may.
    std::optional<UploadGate::Closure> closure() const { return m_gate.closure(); }

private:
    void startOrRequeue(const QString &trigger, UploadUrgency urgency);
    void start(const QString &trigger, StoreUpload::ExecutionConfig config);
    void finish(const QString &runId, const StoreUpload::RunSummary &summary);
    void openFor(UploadUrgency urgency);
    void setTimer();
    void timerFired();
    std::optional<std::chrono::nanoseconds> untilNextRetry() const;

    const Collaborators m_collaborators;
    UploadGate m_gate;

    // Touched on the queue only.
    platform::Task m_uploadTask;
    platform::Task m_timer;
    std::optional<UploadUrgency> m_requestedWhileRunning;
    bool m_closing = false;

    platform::SerialQueue m_uploadCoordinationQueue; // last: drained before the fields go
};

} // namespace gateway::upload

#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/concurrency/serial_queue.h"
#include "platform/concurrency/task.h"
#include "platform/descriptors/event_descriptor.h"
#include "platform/dicom/helper_process.h"

#include <QtCore/QString>

#include <chrono>
#include <memory>
#include <stop_token>
#include <vector>

#include <poll.h>

namespace gateway::platform {

/// Processes of the role "worker" that answer jobs, each one job at a time.
///
/// A process starts when a job finds none free; it is replaced after some number of jobs, after a death and
/// after a time-out, and ends by itself when nobody has needed it for a while, whereupon it is reaped at
/// once. Parsing and converting each get a pool of their own, so that no import waits behind a conversion.
///
/// Owner: app. Thread: any. The destructor must not run while a job does.
class WorkerProcessPool
{
public:
    enum class Outcome
    {
        answered,  ///< the worker answered
        died,      ///< the worker ended in the middle of the job
        timedOut,  ///< the worker took too long and was killed
        notStarted ///< there is no worker: the program can't be started
    };

    struct Result
    {
        Outcome outcome = Outcome::notStarted;
        dicom_protocol::Record answer; ///< where answered
    };

    /// \param width           how many processes may work at once, at least 1; further jobs wait.
    /// \param program         path of quorin-dicom.
    /// \param jobsPerProcess  a process is replaced after so many: what a library leaks goes with it.
    WorkerProcessPool(int width, QString program, int jobsPerProcess = 1000);
    ~WorkerProcessPool();

    WorkerProcessPool(const WorkerProcessPool &) = delete;
    WorkerProcessPool &operator=(const WorkerProcessPool &) = delete;

    /// Has one job done; blocks until it is, at most `timeout` from when a worker has it.
    Result run(const dicom_protocol::Record &job, std::chrono::milliseconds timeout);

    /// The processes that were started and not yet let go of.
    std::vector<pid_t> processIds() const;

private:
    struct Worker
    {
        // Of whoever has the worker; of the pool, under its lock, while nobody has:
        std::unique_ptr<HelperProcess> process; // nothing while it isn't started
        int jobs = 0;
        // Of the pool, under its lock:
        bool busy = true;
        pid_t pid = -1;
        int descriptor = -1; // readable from its end on; -1 where the end has been noticed, too
    };

    Worker &acquire();
    void release(Worker &worker, bool reusable);
    bool start(Worker &worker);
    void reapEnded(const std::stop_token &stop);
    std::vector<pollfd> endings() const;
    std::unique_ptr<HelperProcess> noteEnding(int descriptor);
    static std::unique_ptr<HelperProcess> take(Worker &worker);
    void retire(Worker &worker);
    Result runOn(Worker &worker, const dicom_protocol::Record &job, std::chrono::milliseconds timeout);

    const int m_width;
    const QString m_program;
    const int m_jobsPerProcess;

    mutable Mutex m_mutex;
    Condition m_freed;
    std::vector<std::unique_ptr<Worker>> m_workers QUORIN_GUARDED_BY(m_mutex);

    EventDescriptor m_wake; // set when the processes to watch have changed, or the pool goes
    Task m_reaper;          // uses the fields above

    // Starts all processes: a worker is killed when the thread that started it ends. Last, so that it
    // outlives no field that its blocks use.
    SerialQueue m_starter;
};

} // namespace gateway::platform

#include "platform/dicom/worker_process_pool.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace gateway::platform {

namespace {

using dicom_protocol::Channel;
using dicom_protocol::Record;

/// An idle worker says nothing; one whose channel has something to tell has ended.
bool hasEnded(HelperProcess &process)
{
    Record nothing;
    return process.channel().receive(nothing, std::chrono::milliseconds(0)) != Channel::Receipt::timeout;
}

} // namespace

WorkerProcessPool::WorkerProcessPool(int width, QString program, int jobsPerProcess)
    : m_width(std::max(width, 1)), m_program(std::move(program)), m_jobsPerProcess(jobsPerProcess),
      m_starter(QStringLiteral("dicomWorkers.queue"))
{
}

WorkerProcessPool::~WorkerProcessPool() = default;

WorkerProcessPool::Result WorkerProcessPool::run(const Record &job, std::chrono::milliseconds timeout)
{
    Worker &worker = acquire();
    if (worker.process && hasEnded(*worker.process)) {
        worker.process.reset();
    }
    Result result = runOn(worker, job, timeout);
    // A worker that had been idle for long may have ended just before it saw the job.
    if (result.outcome == Outcome::died && worker.jobs > 0 && worker.process->wait(timeout) == 0) {
        worker.process.reset();
        result = runOn(worker, job, timeout);
    }
    release(worker, result.outcome == Outcome::answered && worker.jobs < m_jobsPerProcess);
    return result;
}

std::vector<pid_t> WorkerProcessPool::processIds() const
{
    const MutexLock lock(m_mutex);
    std::vector<pid_t> ids;
    for (const auto &worker : m_workers) {
        if (worker->pid > 0) {
            ids.push_back(worker->pid);
        }
    }
    return ids;
}

/// A worker that is free, with the newest process of those that have one, so that the others may end.
WorkerProcessPool::Worker &WorkerProcessPool::acquire()
{
    const MutexLock lock(m_mutex);
    for (;;) {
        const auto found = std::ranges::find_if(
            m_workers.rbegin(), m_workers.rend(), [](const auto &w) { return !w->busy; });
        if (found != m_workers.rend()) {
            (*found)->busy = true;
            return **found;
        }
        if (std::cmp_less(m_workers.size(), m_width)) {
            return *m_workers.emplace_back(std::make_unique<Worker>());
        }
        m_freed.wait(m_mutex);
    }
}

void WorkerProcessPool::release(Worker &worker, bool reusable)
{
    if (!reusable) {
        worker.process.reset();
    }
    const MutexLock lock(m_mutex);
    if (!reusable) {
        worker.pid = -1;
    }
    worker.busy = false;
    m_freed.notifyOne();
}

bool WorkerProcessPool::start(Worker &worker)
{
    try {
        m_starter.sync([this, &worker] {
            worker.process = std::make_unique<HelperProcess>(m_program, QStringLiteral("worker"));
        });
    } catch (const std::system_error &) {
        return false;
    }
    worker.jobs = 0;
    const MutexLock lock(m_mutex);
    worker.pid = worker.process->processId();
    return true;
}

WorkerProcessPool::Result
WorkerProcessPool::runOn(Worker &worker, const Record &job, std::chrono::milliseconds timeout)
{
    if (!worker.process && !start(worker)) {
        return {Outcome::notStarted, {}};
    }
    Channel &channel = worker.process->channel();
    Result result{Outcome::died, {}};
    if (!channel.send(job)) {
        return result;
    }
    switch (channel.receive(result.answer, timeout)) {
    case Channel::Receipt::record:
        ++worker.jobs;
        result.outcome = Outcome::answered;
        break;
    case Channel::Receipt::timeout:
        result.outcome = Outcome::timedOut;
        break;
    case Channel::Receipt::closed:
    case Channel::Receipt::broken:
        break;
    }
    return result;
}

} // namespace gateway::platform

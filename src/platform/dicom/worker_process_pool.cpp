#include "platform/dicom/worker_process_pool.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

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

bool isReadable(int descriptor)
{
    pollfd entry{descriptor, POLLIN, 0};
    return ::poll(&entry, 1, 0) > 0;
}

} // namespace

WorkerProcessPool::WorkerProcessPool(int width, QString program, int jobsPerProcess)
    : m_width(std::max(width, 1)), m_program(std::move(program)), m_jobsPerProcess(jobsPerProcess),
      m_reaper("workerReaper", [this](const std::stop_token &stop) { reapEnded(stop); }),
      m_starter(QStringLiteral("dicomWorkers.queue"))
{
}

WorkerProcessPool::~WorkerProcessPool()
{
    m_reaper.cancel();
    m_wake.set();
    m_reaper.join();
}

WorkerProcessPool::Result WorkerProcessPool::run(const Record &job, std::chrono::milliseconds timeout)
{
    Worker &worker = acquire();
    if (worker.process && hasEnded(*worker.process)) {
        retire(worker);
    }
    Result result = runOn(worker, job, timeout);
    // A worker that had been idle for long may have ended just before it saw the job.
    if (result.outcome == Outcome::died && worker.jobs > 0 && worker.process->wait(timeout) == 0) {
        retire(worker);
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
    std::unique_ptr<HelperProcess> gone; // waited for without the lock
    {
        const MutexLock lock(m_mutex);
        if (!reusable || worker.descriptor < 0) {
            gone = take(worker);
        }
        worker.busy = false;
        m_freed.notifyOne();
    }
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
    worker.descriptor = worker.process->processDescriptor();
    m_wake.set();
    return true;
}

/// Waits for the end of any process; one that had nothing to do is reaped here, the others by their caller.
void WorkerProcessPool::reapEnded(const std::stop_token &stop)
{
    while (!stop.stop_requested()) {
        std::vector<pollfd> entries = endings();
        ::poll(entries.data(), entries.size(), -1);
        m_wake.reset();
        for (const pollfd &entry : entries) {
            if (entry.fd != m_wake.descriptor() && entry.revents != 0) {
                noteEnding(entry.fd).reset();
            }
        }
    }
}

std::vector<pollfd> WorkerProcessPool::endings() const
{
    std::vector<pollfd> entries{{m_wake.descriptor(), POLLIN, 0}};
    const MutexLock lock(m_mutex);
    for (const auto &worker : m_workers) {
        if (worker->descriptor >= 0) {
            entries.push_back({worker->descriptor, POLLIN, 0});
        }
    }
    return entries;
}

/// \return an idle process that has ended, for the caller to let go of; a busy one is its caller's.
std::unique_ptr<HelperProcess> WorkerProcessPool::noteEnding(int descriptor)
{
    const MutexLock lock(m_mutex);
    const auto found =
        std::ranges::find_if(m_workers, [&](const auto &w) { return w->descriptor == descriptor; });
    // Another process may have got the number meanwhile; it is the present one that counts.
    if (found == m_workers.end() || !isReadable(descriptor)) {
        return nullptr;
    }
    if ((*found)->busy) {
        (*found)->descriptor = -1;
        return nullptr;
    }
    return take(**found);
}

/// The worker's process, of which nobody else knows any more.
std::unique_ptr<HelperProcess> WorkerProcessPool::take(Worker &worker)
{
    worker.pid = -1;
    worker.descriptor = -1;
    return std::move(worker.process);
}

/// Lets a worker's process go, by whoever has the worker.
void WorkerProcessPool::retire(Worker &worker)
{
    std::unique_ptr<HelperProcess> process;
    {
        const MutexLock lock(m_mutex);
        process = take(worker);
    }
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

#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/concurrency/worker_pool.h"

#include <QtCore/QHash>
#include <QtCore/QString>

#include <deque>
#include <functional>
#include <memory>

namespace gateway::receive {

/// Work on the files of folders, on a pool's threads. A folder whose share doesn't answer keeps the threads
/// that work in it, perhaps for ever: so each folder gets a few of them, the fewer the more are busy, and
/// others go on meanwhile.
///
/// Owner: IncomingImporter. Thread: any.
class FolderLanes
{
public:
    using Work = std::function<void()>;

    /// How many threads one folder may have at once, and how many it may have in any case.
    static constexpr int kAtOnce = 6;
    static constexpr int kAlways = 2;

    /// So many in all, and no folder gets more than those that it may have in any case.
    static constexpr int kTogether = 10;

    /// The threads that a pool should have: five folders that hang keep no other one's.
    static constexpr int kThreads = 18;

    /// \param pool  outlives what is run here.
    explicit FolderLanes(platform::WorkerPool &pool) : m_lanes(std::make_shared<Lanes>(pool)) {}

    /// Queues `work` behind what waits for the same folder, and returns at once. It is done also when this is
    /// gone by then.
    void run(const QString &folder, Work work);

private:
    struct Lane
    {
        int running = 0;
        std::deque<Work> waiting = {};
    };

    struct Lanes
    {
        explicit Lanes(platform::WorkerPool &toUse) : pool(toUse) {}

        platform::WorkerPool &pool;
        platform::Mutex mutex;
        QHash<QString, Lane> byFolder QUORIN_GUARDED_BY(mutex); // those with work
        int running QUORIN_GUARDED_BY(mutex) = 0;
    };

    static void startWhatMay(const std::shared_ptr<Lanes> &lanes);
    static void perform(const std::shared_ptr<Lanes> &lanes, const QString &folder, const Work &work);

    const std::shared_ptr<Lanes> m_lanes;
};

} // namespace gateway::receive

#include "receive/folder_lanes.h"

#include <utility>

namespace gateway::receive {

void FolderLanes::run(const QString &folder, Work work)
{
    {
        const platform::MutexLock lock(m_lanes->mutex);
        Lane &lane = m_lanes->byFolder[folder];
        if (lane.running == kAtOnce) {
            lane.waiting.push_back(std::move(work));
            return;
        }
        ++lane.running;
    }
    m_lanes->pool.run([lanes = m_lanes, folder, work = std::move(work)] { perform(lanes, folder, work); });
}

/// Does the work and has the next of its folder done. That one is queued anew, so that others come between.
void FolderLanes::perform(const std::shared_ptr<Lanes> &lanes, const QString &folder, const Work &work)
{
    work();
    Work next;
    {
        const platform::MutexLock lock(lanes->mutex);
        Lane &lane = lanes->byFolder[folder];
        if (lane.waiting.empty()) {
            if (--lane.running == 0) {
                lanes->byFolder.remove(folder);
            }
            return;
        }
        next = std::move(lane.waiting.front());
        lane.waiting.pop_front();
    }
    lanes->pool.run([lanes, folder, next = std::move(next)] { perform(lanes, folder, next); });
}

} // namespace gateway::receive

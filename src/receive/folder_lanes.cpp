#include "receive/folder_lanes.h"

#include <utility>
#include <vector>

namespace gateway::receive {

void FolderLanes::run(const QString &folder, Work work)
{
    {
        const platform::MutexLock lock(m_lanes->mutex);
        m_lanes->byFolder[folder].waiting.push_back(std::move(work));
    }
    startWhatMay(m_lanes);
}

void FolderLanes::startWhatMay(const std::shared_ptr<Lanes> &lanes)
{
    std::vector<std::pair<QString, Work>> started;
    {
        const platform::MutexLock lock(lanes->mutex);
        for (auto at = lanes->byFolder.begin(); at != lanes->byFolder.end(); ++at) {
            Lane &lane = *at;
            const auto mayRun = [&lane, &lanes]() QUORIN_REQUIRES(lanes->mutex) {
                return lane.running < kAlways || (lane.running < kAtOnce && lanes->running < kTogether);
            };
            while (!lane.waiting.empty() && mayRun()) {
                started.emplace_back(at.key(), std::move(lane.waiting.front()));
                lane.waiting.pop_front();
                ++lane.running;
                ++lanes->running;
            }
        }
    }
    for (const auto &[folder, next] : started) {
        lanes->pool.run([lanes, folder, work = next] { perform(lanes, folder, work); });
    }
}

void FolderLanes::perform(const std::shared_ptr<Lanes> &lanes, const QString &folder, const Work &work)
{
    work();
    {
        const platform::MutexLock lock(lanes->mutex);
        --lanes->running;
        const auto lane = lanes->byFolder.find(folder);
        if (--lane->running == 0 && lane->waiting.empty()) {
            lanes->byFolder.erase(lane);
        }
    }
    startWhatMay(lanes);
}

} // namespace gateway::receive

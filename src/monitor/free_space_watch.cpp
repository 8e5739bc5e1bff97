#include "monitor/free_space_watch.h"

#include "platform/concurrency/main_thread.h"
#include "platform/files/files.h"

#include <utility>

namespace gateway::monitor {

FreeSpaceWatch::FreeSpaceWatch(Folders folders, const Collaborators &collaborators)
    : m_folders(std::move(folders)), m_collaborators(collaborators)
{
    platform::assertMainThread("FreeSpaceWatch");
}

void FreeSpaceWatch::refresh()
{
    const std::chrono::nanoseconds now = m_collaborators.clock.monotonic();
    for (auto folder = m_folders.cbegin(); folder != m_folders.cend(); ++folder) {
        Room &room = m_rooms[folder.key()];
        if (!room.isMeasuring && (!room.askedAt || now - *room.askedAt >= kFresh)) {
            room.isMeasuring = true;
            room.askedAt = now;
            measure(folder.key());
        }
    }
}

void FreeSpaceWatch::measure(const QString &folder)
{
    m_collaborators.pool.run(
        [weak = weak_from_this(), &main = m_collaborators.main, folder, findPath = m_folders.value(folder)] {
            const QString path = findPath();
            std::optional<qint64> freeBytes;
            if (const auto figures = platform::volumeFigures(path)) {
                freeBytes = figures->availableBytes;
            }
            main.post([weak, folder, path, freeBytes] {
                if (const auto self = weak.lock()) {
                    self->measured(folder, path, freeBytes);
                }
            });
        });
}

void FreeSpaceWatch::measured(const QString &folder, const QString &path, std::optional<qint64> freeBytes)
{
    Room &room = m_rooms[folder];
    room.isMeasuring = false;
    if (room.path != path || !freeBytes) {
        room.forecast =
            {}; // another folder may be on another volume: what was seen of the old one says nothing
    }
    room.path = path;
    room.freeBytes = freeBytes;
    if (freeBytes) {
        room.forecast.add(m_collaborators.clock.monotonic(), *freeBytes);
    }
}

std::vector<HealthFigures::Room> FreeSpaceWatch::rooms(qint64 reserveBytes) const
{
    std::vector<HealthFigures::Room> told;
    told.reserve(static_cast<std::size_t>(m_rooms.size()));
    for (auto room = m_rooms.cbegin(); room != m_rooms.cend(); ++room) {
        if (room->freeBytes) {
            told.push_back({room.key(), *room->freeBytes, room->forecast.untilReserve(reserveBytes)});
        }
    }
    return told;
}

} // namespace gateway::monitor

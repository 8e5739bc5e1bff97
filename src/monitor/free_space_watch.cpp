#include "monitor/free_space_watch.h"

#include "platform/concurrency/main_thread.h"
#include "platform/files/files.h"

#include <utility>

namespace gateway::monitor {

FreeSpaceWatch::FreeSpaceWatch(Folders folders, const Collaborators &collaborators)
    : m_folders(std::move(folders)), m_with(collaborators)
{
    platform::assertMainThread("FreeSpaceWatch");
}

void FreeSpaceWatch::refresh()
{
    const std::chrono::nanoseconds now = m_with.clock.monotonic();
    if (m_isMeasuring || (m_askedAt && now - *m_askedAt < kFresh)) {
        return;
    }
    m_isMeasuring = true;
    m_askedAt = now;
    m_with.pool.run([weak = weak_from_this(), &main = m_with.main, paths = m_folders()] {
        QMap<QString, qint64> freeBytes;
        for (auto folder = paths.cbegin(); folder != paths.cend(); ++folder) {
            if (const auto figures = platform::volumeFigures(folder.value())) {
                freeBytes.insert(folder.key(), figures->availableBytes);
            }
        }
        main.post([weak, paths, freeBytes] {
            if (const auto self = weak.lock()) {
                self->measured(paths, freeBytes);
            }
        });
    });
}

void FreeSpaceWatch::measured(const QMap<QString, QString> &paths, const QMap<QString, qint64> &freeBytes)
{
    m_isMeasuring = false;
    QMap<QString, Room> rooms;
    for (auto folder = freeBytes.cbegin(); folder != freeBytes.cend(); ++folder) {
        const QString path = paths.value(folder.key());
        // Another folder may be on another volume: what was seen of the old one says nothing about it.
        Room room =
            m_rooms.value(folder.key()).path == path ? m_rooms.value(folder.key()) : Room{path, 0, {}};
        room.freeBytes = folder.value();
        room.forecast.add(m_with.clock.monotonic(), folder.value());
        rooms.insert(folder.key(), room);
    }
    m_rooms = rooms;
}

std::vector<HealthFigures::Room> FreeSpaceWatch::rooms(qint64 reserveBytes) const
{
    std::vector<HealthFigures::Room> told;
    told.reserve(static_cast<std::size_t>(m_rooms.size()));
    for (auto room = m_rooms.cbegin(); room != m_rooms.cend(); ++room) {
        told.push_back({room.key(), room->freeBytes, room->forecast.untilReserve(reserveBytes)});
    }
    return told;
}

} // namespace gateway::monitor

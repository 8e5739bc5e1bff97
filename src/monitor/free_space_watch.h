#pragma once

#include "monitor/fill_forecast.h"
#include "monitor/health_figures.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/worker_pool.h"

#include <QtCore/QMap>
#include <QtCore/QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace gateway::monitor {

/// Watches the free space where images are kept, away from the main thread: a share that hangs takes one
/// thread of the pool, and its last figures stay.
///
/// Owner: Gateway, as a shared pointer. Thread: main.
class FreeSpaceWatch : public std::enable_shared_from_this<FreeSpaceWatch>
{
public:
    /// Paths by the words that stand for them in figures. A path may change with the settings; it is asked
    /// for on the pool, since finding it may take a look at the disk.
    using Folders = QMap<QString, std::function<QString()>>;

    /// A measurement older than this is taken again.
    static constexpr std::chrono::seconds kFresh{10};

    struct Collaborators
    {
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        const platform::Clock &clock;
    };

    FreeSpaceWatch(Folders folders, const Collaborators &collaborators);

    /// Measures each folder, unless that is under way or was done a moment ago; returns at once.
    void refresh();

    /// What is known, with the forecast for this reserve.
    std::vector<HealthFigures::Room> rooms(qint64 reserveBytes) const;

private:
    struct Room
    {
        QString path;
        std::optional<qint64> freeBytes; ///< nothing where it can't be seen
        FillForecast forecast;
        std::optional<std::chrono::nanoseconds> askedAt;
        bool isMeasuring = false;
    };

    void measure(const QString &folder);
    void measured(const QString &folder, const QString &path, std::optional<qint64> freeBytes);

    const Folders m_folders;
    const Collaborators m_collaborators;
    QMap<QString, Room> m_rooms;
};

} // namespace gateway::monitor

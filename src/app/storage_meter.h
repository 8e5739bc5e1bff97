#pragma once

#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/serial_queue.h"

#include <QtCore/QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace gateway::app {

/// Room that the file store takes and has, in bytes.
struct StorageFigures
{
    qint64 usedBytes = 0;
    qint64 availableBytes = 0;
};

/// Measures the file store away from the main thread. Requests that come during a measurement share one more.
///
/// Owner: Gateway, as a shared pointer. Thread: main.
class StorageMeter : public std::enable_shared_from_this<StorageMeter>
{
public:
    StorageMeter(QString fileStore, platform::MainExecutor &main);

    /// Asks for a new measurement, and calls `whenKnown` with the last figures: at once where there are any,
    /// else when the first have come.
    void measure(std::function<void(StorageFigures)> whenKnown);

private:
    void start();
    void measured(StorageFigures figures);

    const QString m_fileStore;
    platform::MainExecutor &m_main;
    std::optional<StorageFigures> m_figures;
    std::vector<std::function<void(StorageFigures)>> m_waiting;
    bool m_isMeasuring = false;
    bool m_isWantedAgain = false;
    platform::SerialQueue m_storageMetricsQueue; // last
};

/// The allocated bytes of all regular files below a folder, hidden ones left out, and the room on its volume.
/// Blocks for the length of the walk.
StorageFigures measureStorage(const QString &folder);

} // namespace gateway::app

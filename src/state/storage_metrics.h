#pragma once

#include "platform/concurrency/serial_queue.h"
#include "state/received_storage_usage.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace gateway::platform {
class Clock;
class MainExecutor;
} // namespace gateway::platform

namespace gateway::state {

/// Measures the file store away from the main thread, one measurement at a time. Requests that come during a
/// measurement share one more.
///
/// A measurement begins at once when none ended within the last second, else when that second is over: each
/// received image asks for one, and without a pause they would take a core for as long as images come.
///
/// Owner: GatewayAppState. Thread: main; the measuring itself on its own queue.
class StorageMetrics
{
public:
    /// Called on the queue; gives up early when stopped.
    using Measure = std::function<ReceivedStorageUsage(const std::stop_token &)>;

    /// Called on the main thread with each result.
    using Publish = std::function<void(ReceivedStorageUsage)>;

    /// \param main, clock  outlive this.
    StorageMetrics(Measure measure, Publish publish, platform::MainExecutor &main, platform::Clock &clock);

    /// Stops a measurement under way and waits for its end; its result is dropped.
    ~StorageMetrics();

    StorageMetrics(const StorageMetrics &) = delete;
    StorageMetrics &operator=(const StorageMetrics &) = delete;

    /// Asks for a new measurement.
    void refresh();

    /// Whether there has been a result.
    bool hasMeasured() const { return m_hasMeasured; }

    /// Calls `then` once there is a result: at once where there has been one, else right after the first.
    void whenMeasured(std::function<void()> then);

private:
    void start();
    void measureOnQueue(const std::weak_ptr<const void> &life);
    void finish(ReceivedStorageUsage usage);

    const Measure m_measure;
    const Publish m_publish;
    platform::MainExecutor &m_main;
    platform::Clock &m_clock;
    std::stop_source m_stop;

    // Main thread.
    bool m_isRefreshingStorageUsage = false;
    bool m_needsStorageUsageRefresh = false;
    bool m_hasMeasured = false;
    std::vector<std::function<void()>> m_waiting;
    std::shared_ptr<const void> m_life; ///< what is posted to the main thread is dropped once it has died

    // Touched on m_storageMetricsQueue only.
    std::optional<std::chrono::nanoseconds> m_lastEnd;

    platform::SerialQueue m_storageMetricsQueue; // last: drained before the fields go
};

} // namespace gateway::state

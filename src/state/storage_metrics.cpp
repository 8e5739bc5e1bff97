#include "state/storage_metrics.h"

#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/main_thread.h"

#include <utility>

namespace gateway::state {

namespace {

// A walk takes milliseconds while images come: so it stays well below a hundredth of a core.
constexpr std::chrono::seconds kPause{1};

} // namespace

StorageMetrics::StorageMetrics(Measure measure,
                               Publish publish,
                               platform::MainExecutor &main,
                               platform::Clock &clock)
    : m_measure(std::move(measure)), m_publish(std::move(publish)), m_main(main), m_clock(clock),
      m_life(std::make_shared<int>()),
      m_storageMetricsQueue(QStringLiteral("com.ovelt.pavan.gateway.storageMetrics.queue"),
                            platform::Quality::utility)
{
    platform::assertMainThread("StorageMetrics");
}

StorageMetrics::~StorageMetrics()
{
    m_life.reset();
    m_stop.request_stop();
}

void StorageMetrics::refresh()
{
    if (m_isRefreshingStorageUsage) {
        m_needsStorageUsageRefresh = true;
    } else {
        start();
    }
}

void StorageMetrics::whenMeasured(std::function<void()> then)
{
    if (m_hasMeasured) {
        then();
    } else {
        m_waiting.push_back(std::move(then));
    }
}

void StorageMetrics::start()
{
    m_isRefreshingStorageUsage = true;
    // The queue is drained before this goes; what it posts to the main thread may come later.
    m_storageMetricsQueue.async([this, life = std::weak_ptr<const void>(m_life)] { measureOnQueue(life); });
}

void StorageMetrics::measureOnQueue(const std::weak_ptr<const void> &life)
{
    if (m_lastEnd) {
        const auto rest = *m_lastEnd + kPause - m_clock.monotonic();
        if (rest > rest.zero() && !m_clock.sleep(rest, m_stop.get_token())) {
            return;
        }
    }
    const ReceivedStorageUsage usage = m_measure(m_stop.get_token());
    m_lastEnd = m_clock.monotonic();
    m_main.post(life, [this, usage] { finish(usage); });
}

void StorageMetrics::finish(ReceivedStorageUsage usage)
{
    m_hasMeasured = true;
    m_publish(usage);
    m_isRefreshingStorageUsage = false;
    for (const auto &then : std::exchange(m_waiting, {})) {
        then();
    }
    if (std::exchange(m_needsStorageUsageRefresh, false)) {
        refresh();
    }
}

} // namespace gateway::state

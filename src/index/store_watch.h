#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/concurrency/task.h"

#include <chrono>
#include <functional>
#include <optional>

namespace gateway::platform {
class Clock;
}

namespace gateway::index {

/// Looks again and again whether the file store is in sight. One whose share doesn't answer isn't, until it
/// does.
///
/// Owner: Gateway. Thread: any; the functions are called on its own threads.
class StoreWatch
{
public:
    static constexpr std::chrono::seconds kPause{15};

    /// \param clock  outlives this.
    /// \param look   true where the store is out of sight; takes as long as its share does.
    /// \param tell   takes how it is, at the end of each look and when one doesn't end. Returns at once.
    StoreWatch(platform::Clock &clock,
               std::function<bool()> look,
               std::function<void(bool isOutOfSight)> tell);

    StoreWatch(const StoreWatch &) = delete;
    StoreWatch &operator=(const StoreWatch &) = delete;

private:
    void lookOnce() QUORIN_EXCLUDES(m_mutex);
    void tellOfSilence() QUORIN_EXCLUDES(m_mutex);

    platform::Clock &m_clock;
    const std::function<bool()> m_look;
    const std::function<void(bool isOutOfSight)> m_tell;
    platform::Mutex m_mutex; // so that nothing is told of a look that is over
    std::optional<std::chrono::nanoseconds>
        m_since QUORIN_GUARDED_BY(m_mutex); // of the look that is under way, by the clock that nobody sets
    platform::Task m_looks;                 // these last: they use the fields above
    platform::Task m_silences;
};

} // namespace gateway::index

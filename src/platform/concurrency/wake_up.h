#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>
#include <utility>

namespace gateway::platform {

/// One wait of somebody who holds no thread for it: told once, that its time has come or that it was stopped.
///
/// Owner: the clock that it waits on. Thread: any.
class WakeUp
{
public:
    using Tell = std::function<void(bool sleptThrough)>;

    /// Tells at once where `stop` is requested already.
    ///
    /// \param end  its time, on the clock's monotonic reading.
    WakeUp(std::chrono::nanoseconds end, const std::stop_token &stop, Tell tell)
        : m_end(end), m_tell(std::move(tell)), m_onStop(stop, [this] { finish(false); })
    {
    }

    WakeUp(const WakeUp &) = delete;
    WakeUp &operator=(const WakeUp &) = delete;

    std::chrono::nanoseconds end() const { return m_end; }
    bool isOver() const { return m_isOver; }

    /// Tells, unless that was done.
    void finish(bool sleptThrough)
    {
        if (!m_isOver.exchange(true)) {
            m_tell(sleptThrough);
        }
    }

private:
    const std::chrono::nanoseconds m_end;
    const Tell m_tell;
    std::atomic<bool> m_isOver = false;
    std::stop_callback<std::function<void()>> m_onStop; // last: gone, and waited for, before the fields go
};

} // namespace gateway::platform

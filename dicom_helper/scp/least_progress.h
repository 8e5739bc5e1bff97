#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace gateway::dicom_helper::scp {

/// Whether a peer sends its message fast enough: on the average of a minute that was spent waiting for it, at
/// least 1 KiB a second. What our own disk takes doesn't count. Thread: a plain value.
class LeastProgress
{
public:
    /// \param silence  for so long a peer may say nothing at all; the average is never over less than this.
    explicit LeastProgress(std::chrono::seconds silence)
        : m_window(std::max<std::chrono::seconds>(kWindow, silence))
    {
    }

    /// A message has ended, or none has begun.
    void reset() { m_waited = {}, m_bytes = 0; }

    void onWaited(std::chrono::steady_clock::duration span) { m_waited += span; }

    /// \return false when the peer is too slow.
    bool onBytes(std::int64_t count)
    {
        m_bytes += count;
        if (m_waited < m_window) {
            return true;
        }
        const bool isEnough = m_bytes >= kBytesPerSecond * m_window.count();
        reset();
        return isEnough;
    }

private:
    static constexpr std::chrono::seconds kWindow{60};
    static constexpr std::int64_t kBytesPerSecond = 1024;

    std::chrono::seconds m_window;
    std::chrono::steady_clock::duration m_waited{};
    std::int64_t m_bytes = 0;
};

} // namespace gateway::dicom_helper::scp

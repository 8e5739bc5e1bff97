#pragma once

#include <QtCore/QtGlobal>

#include <chrono>
#include <optional>

namespace gateway::state {

/// Smooths the samples of upload runs into the one figure that a screen shows.
///
/// Thread: one at a time; a value.
class UploadSpeed
{
public:
    /// What became of a sample.
    enum class Sample
    {
        none, ///< nothing was sent, or in no time: nothing has changed
        held, ///< the figure stays, for it moved less than 1.2 s ago; uploads are alive all the same
        shown ///< the figure has moved
    };

    /// Takes one sample in.
    ///
    /// \param bytes    sent within `elapsed`.
    /// \param now      of a clock that never goes back.
    Sample take(qint64 bytes, std::chrono::duration<double> elapsed, std::chrono::nanoseconds now);

    /// Back to 0; the next sample is taken as it is.
    void reset();

    /// In decimal megabits per second.
    double mbps() const { return m_mbps; }

private:
    double m_mbps = 0;
    std::optional<std::chrono::nanoseconds> m_lastUpdateAt; ///< nothing: long ago
};

} // namespace gateway::state

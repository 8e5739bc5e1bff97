#pragma once

#include <QtCore/QtGlobal>

#include <chrono>
#include <deque>

namespace gateway::monitor {

/// How fast a counter that only rises has risen over the last minute.
///
/// Owner: HealthCollector. Thread: main.
class RecentRate
{
public:
    static constexpr std::chrono::minutes kWindow{1};

    /// Adds what the counter shows.
    ///
    /// \param at  of a clock that never goes back.
    void add(std::chrono::nanoseconds at, qint64 count);

    /// The mean between the oldest and the latest of the last minute's samples; 0 without two of them.
    double perSecond() const;

private:
    struct Sample
    {
        std::chrono::nanoseconds at;
        qint64 count;
    };

    std::deque<Sample> m_samples;
};

} // namespace gateway::monitor

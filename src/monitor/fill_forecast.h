#pragma once

#include <QtCore/QtGlobal>

#include <chrono>
#include <deque>
#include <optional>

namespace gateway::monitor {

/// Tells from the free space of the last hours when a volume will be down to its reserve.
///
/// The rate is the median of the slopes between all pairs of samples, so that a large file that came and went
/// again doesn't bend it.
///
/// Owner: FreeSpaceWatch. Thread: main.
class FillForecast
{
public:
    static constexpr std::chrono::hours kWindow{6};
    static constexpr std::chrono::minutes kSpacing{5};   ///< samples that come sooner replace the last one
    static constexpr std::chrono::minutes kShortest{30}; ///< nothing is foretold from less
    static constexpr std::chrono::hours kFarthest{24 * 365}; ///< what is farther away counts as never

    /// Adds a sample.
    ///
    /// \param at         of a clock that never goes back.
    /// \param freeBytes  on the volume at that moment.
    void add(std::chrono::nanoseconds at, qint64 freeBytes);

    /// How long it takes, at the rate of late, until no more than `reserveBytes` are free; zero when that is
    /// so already, nothing while the volume doesn't fill up or too little is known.
    std::optional<std::chrono::seconds> untilReserve(qint64 reserveBytes) const;

private:
    struct Sample
    {
        std::chrono::nanoseconds at;
        qint64 freeBytes;
    };

    double bytesPerSecond() const;

    std::deque<Sample> m_kept;      // at least kSpacing apart, over kWindow
    std::optional<Sample> m_latest; // the last one that came
};

} // namespace gateway::monitor

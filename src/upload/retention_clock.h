#pragma once

#include <QtCore/QDateTime>

#include <chrono>
#include <optional>

namespace gateway::platform {
class Clock;
class UserDefaults;
} // namespace gateway::platform

namespace gateway::upload {

/// Says whether the wall clock is to be believed when something is removed by its age.
///
/// A clock that has moved by a day more or less than the time that passed is in doubt until an hour has gone
/// by without another such move: time enough for a time service, or a person, to put it right. Between two
/// runs of the program no clock tells how much time has passed, so a last look that is more than a day ago
/// counts as a move, too. Only a look that was believed is kept for the next run: a restart ends no doubt.
///
/// Owner: the cleanup service. Thread: one at a time.
class RetentionClock
{
public:
    static constexpr std::chrono::hours kLargestMove{24};
    static constexpr std::chrono::hours kDoubt{1};

    /// \param clock, defaults  borrowed; outlive this.
    RetentionClock(const platform::Clock &clock, platform::UserDefaults &defaults);

    /// Looks at the clock. \return false while it is in doubt.
    bool isBelieved();

private:
    bool hasMoved(const QDateTime &now, std::chrono::nanoseconds monotonic) const;

    const platform::Clock &m_clock;
    platform::UserDefaults &m_defaults;

    // The last look of this run; before the first one, what an earlier run believed last.
    std::optional<QDateTime> m_lastSeen;
    std::optional<std::chrono::nanoseconds> m_lastSeenAt; // nothing for another run's
    std::optional<std::chrono::nanoseconds> m_doubtedSince;
    std::optional<std::chrono::nanoseconds> m_keptAt; // when a look was last kept for the next run
};

} // namespace gateway::upload

#pragma once

#include <QtCore/QtGlobal>

#include <chrono>

namespace gateway::state {

/// What of the received and acknowledged files isn't taken in: of all incoming folders together.
///
/// Thread: a plain value.
struct InboxFigures
{
    /// Whoever waits longer than this waits for something that a person may have to bring back.
    static constexpr std::chrono::minutes kLongWait{5};

    qint64 setAside = 0;                 ///< could not be taken in; a person is to look at them
    qint64 waiting = 0;                  ///< lie there since the look before, and aren't taken in
    std::chrono::seconds longestWait{0}; ///< how long this process has seen the first of them wait
    qint64 notRemoved = 0;               ///< were taken in, and can't leave their folder
    qint64 outOfSight = 0;               ///< folders that were used and aren't there: some may wait in them

    bool isWaitingLong() const { return waiting > 0 && longestWait >= kLongWait; }

    bool operator==(const InboxFigures &) const = default;
};

} // namespace gateway::state

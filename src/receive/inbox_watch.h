#pragma once

#include "platform/concurrency/task.h"
#include "state/inbox_figures.h"

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <functional>
#include <stop_token>

namespace gateway::platform {
class Clock;
}

namespace gateway::receive {

/// Looks into the inbox again and again for what was acknowledged and lies there still: an image that was out
/// of sight at its turn, or whose folder had gone away and has come back, or which waits in the inbox that
/// was used before another was chosen, waits for no restart.
///
/// A file is offered when two looks have found it, so that what is just arriving keeps its own way in. It is
/// offered at each look after that; whoever takes it knows what he has in hand.
///
/// It also counts what waits and what was set aside, so that whoever tells people needs not ask a share that
/// hangs.
///
/// Owner: Gateway. Thread: its own, on which the functions are called.
class InboxWatch
{
public:
    static constexpr std::chrono::seconds kPause{15};

    /// \param clock    borrowed; outlives this.
    /// \param folders  every inbox that may hold something, as it is known at this moment.
    /// \param offer    takes the path of a complete file, and returns at once.
    /// \param tell     is told at each look what lies there.
    InboxWatch(platform::Clock &clock,
               std::function<QStringList()> folders,
               std::function<void(const QString &path)> offer,
               std::function<void(const state::InboxFigures &)> tell);

private:
    void watch(const std::stop_token &stop);
    void look();

    platform::Clock &m_clock;
    const std::function<QStringList()> m_folders;
    const std::function<void(const QString &path)> m_offer;
    const std::function<void(const state::InboxFigures &)> m_tell;
    QHash<QString, std::chrono::nanoseconds> m_seen; // what lay there at the last look, and since when

    platform::Task m_task; // last: it uses the fields above
};

} // namespace gateway::receive

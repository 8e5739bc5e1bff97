#pragma once

#include "platform/concurrency/task.h"

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
/// It also counts what was set aside, so that whoever tells people needs not ask a share that hangs.
///
/// Owner: Gateway. Thread: its own, on which the functions are called.
class InboxWatch
{
public:
    static constexpr std::chrono::seconds kPause{15};

    /// \param clock    borrowed; outlives this.
    /// \param folders  every inbox that may hold something, as it is known at this moment.
    /// \param offer    takes the path of a complete file, and returns at once.
    /// \param setAside  is told how many files are set aside, whenever that has changed from none at first.
    InboxWatch(platform::Clock &clock,
               std::function<QStringList()> folders,
               std::function<void(const QString &path)> offer,
               std::function<void(qsizetype count)> setAside);

private:
    void watch(const std::stop_token &stop);
    void look();

    platform::Clock &m_clock;
    const std::function<QStringList()> m_folders;
    const std::function<void(const QString &path)> m_offer;
    const std::function<void(qsizetype count)> m_tellSetAside;
    QStringList m_seen; // by the last look; on the thread only
    qsizetype m_setAside = 0;

    platform::Task m_task; // last: it uses the fields above
};

} // namespace gateway::receive

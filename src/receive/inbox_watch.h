#pragma once

#include "platform/concurrency/serial_queue.h"
#include "platform/concurrency/task.h"
#include "receive/incoming_folders.h"
#include "state/inbox_figures.h"

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <stop_token>

namespace gateway::platform {
class Clock;
}

namespace gateway::receive {

/// Looks into the inboxes again and again for what was acknowledged and lies there still: an image that was
/// out of sight at its turn, or whose folder had gone away and has come back, or which waits in the inbox
/// that was used before another was chosen, waits for no restart.
///
/// A file is offered when two looks have found it, so that what is just arriving keeps its own way in. It is
/// offered at each look after that; whoever takes it knows what he has in hand.
///
/// It also counts what waits and what was set aside, so that whoever tells people needs not ask a share that
/// hangs. Each folder is looked into on a thread of its own: one that doesn't answer holds up no other, and
/// counts as out of sight until it does.
///
/// Owner: Gateway. Thread: any; the functions are called on its own threads.
class InboxWatch
{
public:
    static constexpr std::chrono::seconds kPause{15};

    struct Inboxes
    {
        /// Every inbox that may hold something, as it is known at this moment. Asks no disk.
        std::function<QStringList()> known;

        /// Looks into one of them, for as long as its share takes.
        std::function<IncomingFolders::Sight(const QString &inbox)> look;

        /// Is told of one whose look doesn't end, and once it has ended. Returns at once.
        std::function<void(const QString &inbox, bool isSilent)> silence;
    };

    /// \param clock  borrowed; outlives this.
    /// \param offer  takes the path of a complete file, and doesn't wait for what becomes of it: false where
    /// it was taken in already and only its removal is left.
    /// \param tell   is told what lies there, at the end of each look and when one doesn't end. Returns at
    /// once.
    InboxWatch(platform::Clock &clock,
               Inboxes inboxes,
               std::function<bool(const QString &path)> offer,
               std::function<void(const state::InboxFigures &)> tell);
    ~InboxWatch();

    InboxWatch(const InboxWatch &) = delete;
    InboxWatch &operator=(const InboxWatch &) = delete;

private:
    using Seen = QHash<QString, std::chrono::nanoseconds>; // what lay there, and since when

    /// What one look found.
    struct Found
    {
        state::InboxFigures figures;
        Seen seen;
    };

    /// What is known of one inbox.
    struct Inbox
    {
        Found found;
        bool isUnderWay = false;
        platform::Task look;
    };

    Found lookInto(const QString &inbox, const Seen &before) const;
    void startLooks();
    void start(const QString &name, Inbox &inbox);
    void take(const QString &name, Found found);
    void tell() const;

    platform::Clock &m_clock;
    const Inboxes m_collaborators;
    const std::function<bool(const QString &path)> m_offer;
    const std::function<void(const state::InboxFigures &)> m_tell;

    std::map<QString, Inbox> m_inboxes; // touched on m_queue only
    bool m_isClosing = false;           // likewise

    platform::SerialQueue m_queue{QStringLiteral("inboxes.queue"), platform::Quality::utility};
    platform::Task m_task; // last: asks for a round of looks again and again
};

} // namespace gateway::receive

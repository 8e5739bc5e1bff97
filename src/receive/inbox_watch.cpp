#include "receive/inbox_watch.h"

#include "platform/concurrency/clock.h"
#include "platform/dicom/inbox_files.h"
#include "receive/inbox.h"

#include <algorithm>
#include <utility>

namespace gateway::receive {

InboxWatch::InboxWatch(platform::Clock &clock,
                       Inboxes inboxes,
                       std::function<bool(const QString &path)> offer,
                       std::function<void(const state::InboxFigures &)> tell)
    : m_clock(clock), m_collaborators(std::move(inboxes)), m_offer(std::move(offer)), m_tell(std::move(tell)),
      m_task("inbox-watch", [this](const std::stop_token &stop) {
          do {
              m_queue.async([this] { startLooks(); });
          } while (m_clock.sleep(kPause, stop));
      })
{
}

InboxWatch::~InboxWatch()
{
    m_task.cancel();
    m_task.join();
    std::map<QString, Inbox> last;
    m_queue.sync([this, &last] {
        m_isClosing = true;
        last.swap(m_inboxes);
    });
    last.clear(); // joins the looks under way
}

/// One that is still under way since the round before is of a folder that doesn't answer.
void InboxWatch::startLooks()
{
    const QStringList known = m_collaborators.known();
    std::erase_if(m_inboxes, [&known](const auto &each) {
        return !each.second.isUnderWay && !known.contains(each.first);
    });
    bool isOneSilent = false;
    for (const QString &name : known) {
        Inbox &inbox = m_inboxes[name];
        if (inbox.isUnderWay) {
            inbox.found.figures.outOfSight = 1;
            m_collaborators.silence(name, true);
            isOneSilent = true;
        } else {
            start(name, inbox);
        }
    }
    if (isOneSilent) {
        tell();
    }
}

void InboxWatch::start(const QString &name, Inbox &inbox)
{
    inbox.isUnderWay = true;
    inbox.look =
        platform::Task("inbox-look", [this, name, before = inbox.found.seen](const std::stop_token &) {
            const Found found = lookInto(name, before);
            m_queue.async([this, name, found] { take(name, found); });
        });
}

InboxWatch::Found InboxWatch::lookInto(const QString &inbox, const Seen &before) const
{
    const IncomingFolders::Sight sight = m_collaborators.look(inbox);
    Found found;
    found.figures.outOfSight = sight.isOutOfSight ? 1 : 0;
    if (!sight.mayTake) {
        return found;
    }
    found.figures.setAside = setAsideFiles(sight.folder).size();
    // By the clock that nobody sets: what comes in bears times that may lie ahead.
    const std::chrono::nanoseconds now = m_clock.monotonic();
    for (const QString &path : platform::completeInboxFiles(sight.folder)) {
        const auto first = before.constFind(path);
        found.seen.insert(path, first == before.constEnd() ? now : *first);
        if (first == before.constEnd()) {
            continue;
        }
        if (m_offer(path)) {
            ++found.figures.waiting;
            found.figures.longestWait =
                std::max(found.figures.longestWait, std::chrono::floor<std::chrono::seconds>(now - *first));
        } else {
            ++found.figures.notRemoved;
        }
    }
    return found;
}

void InboxWatch::take(const QString &name, Found found)
{
    if (m_isClosing) {
        return;
    }
    Inbox &inbox = m_inboxes[name];
    inbox.found = std::move(found);
    inbox.isUnderWay = false;
    m_collaborators.silence(name, false);
    tell();
}

void InboxWatch::tell() const
{
    state::InboxFigures all;
    for (const auto &[name, inbox] : m_inboxes) {
        const state::InboxFigures &figures = inbox.found.figures;
        all.setAside += figures.setAside;
        all.waiting += figures.waiting;
        all.notRemoved += figures.notRemoved;
        all.longestWait = std::max(all.longestWait, figures.longestWait);
        all.outOfSight += figures.outOfSight;
    }
    m_tell(all);
}

} // namespace gateway::receive

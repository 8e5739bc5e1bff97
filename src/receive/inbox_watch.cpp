#include "receive/inbox_watch.h"

#include "platform/concurrency/clock.h"
#include "platform/dicom/inbox_files.h"
#include "receive/inbox.h"

#include <algorithm>
#include <utility>

namespace gateway::receive {

InboxWatch::InboxWatch(platform::Clock &clock,
                       std::function<QStringList()> folders,
                       std::function<void(const QString &path)> offer,
                       std::function<void(const state::InboxFigures &)> tell)
    : m_clock(clock), m_folders(std::move(folders)), m_offer(std::move(offer)), m_tell(std::move(tell)),
      m_task("inbox-watch", [this](const std::stop_token &stop) { watch(stop); })
{
}

void InboxWatch::watch(const std::stop_token &stop)
{
    do {
        look();
    } while (m_clock.sleep(kPause, stop));
}

void InboxWatch::look()
{
    state::InboxFigures figures;
    QStringList found;
    for (const QString &folder : m_folders()) {
        figures.setAside += setAsideFiles(folder).size();
        found += platform::completeInboxFiles(folder);
    }
    // By the clock that nobody sets: what comes in bears times that may lie ahead.
    const std::chrono::nanoseconds now = m_clock.monotonic();
    QHash<QString, std::chrono::nanoseconds> seen;
    for (const QString &path : std::as_const(found)) {
        const auto before = m_seen.constFind(path);
        seen.insert(path, before == m_seen.constEnd() ? now : *before);
        if (before != m_seen.constEnd()) {
            ++figures.waiting;
            figures.longestWait =
                std::max(figures.longestWait, std::chrono::floor<std::chrono::seconds>(now - *before));
            m_offer(path);
        }
    }
    m_seen = std::move(seen);
    m_tell(figures);
}

} // namespace gateway::receive

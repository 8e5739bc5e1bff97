#include "receive/inbox_watch.h"

#include "platform/concurrency/clock.h"
#include "platform/dicom/inbox_files.h"
#include "receive/inbox.h"

#include <QtCore/QSet>

#include <utility>

namespace gateway::receive {

InboxWatch::InboxWatch(platform::Clock &clock,
                       std::function<QStringList()> folders,
                       std::function<void(const QString &path)> offer,
                       std::function<void(qsizetype count)> setAside)
    : m_clock(clock), m_folders(std::move(folders)), m_offer(std::move(offer)),
      m_tellSetAside(std::move(setAside)),
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
    qsizetype setAside = 0;
    QStringList found;
    for (const QString &folder : m_folders()) {
        setAside += setAsideFiles(folder).size();
        found += platform::completeInboxFiles(folder);
    }
    if (setAside != std::exchange(m_setAside, setAside)) {
        m_tellSetAside(setAside);
    }
    const QSet<QString> before(m_seen.cbegin(), m_seen.cend());
    for (const QString &path : found) {
        if (before.contains(path)) {
            m_offer(path);
        }
    }
    m_seen = found;
}

} // namespace gateway::receive

#pragma once

#include "core/settings.h"
#include "platform/concurrency/mutex.h"
#include "platform/defaults/user_defaults.h"
#include "platform/files/home_lock.h"

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <map>

namespace gateway::receive {

/// Every folder in which received files may lie: the one by the settings, and each in which a listener worked
/// before another was chosen, until nothing of the listener's is left there.
///
/// One gateway at a time works in a folder, whatever home it has: a lock in the folder's `.part` sees to it.
///
/// Owner: app. Thread: any.
class IncomingFolders
{
public:
    /// \param defaults, settings  outlive this.
    /// \param defaultFolder       where none is chosen.
    IncomingFolders(platform::UserDefaults &defaults, const core::Settings &settings, QString defaultFolder);

    IncomingFolders(const IncomingFolders &) = delete;
    IncomingFolders &operator=(const IncomingFolders &) = delete;

    /// The folder by the settings; with `former()` it is all.
    QString present() const;

    /// Those that were used before, without links on the way to them: a link may lead elsewhere by now. Where
    /// one is known by two names it is told once. May block for as long as a share doesn't answer.
    QStringList former() const QUORIN_EXCLUDES(m_mutex);

    QStringList all() const { return QStringList(present()) + former(); }

    /// Those of them in which this gateway may work, and something may lie: no other one does. They are
    /// locked against others from then on, until they are forgotten. Blocks as `former()` does.
    QStringList owned() QUORIN_EXCLUDES(m_mutex, m_lockMutex);

    /// Locks a folder as `owned()` does. One that has no `.part`, or whose volume has no locks, is nobody's,
    /// and this gateway's for now. \return false when another gateway works there.
    bool own(const QString &folder) QUORIN_EXCLUDES(m_lockMutex);

    /// That another gateway works in this folder, and what to do; for people.
    static QString inUseSentence(const QString &folder);

    /// Locks the folder in which a listener is about to work, makes it where it is missing, and keeps it in
    /// mind before the first file comes there. It is remembered until `forgetEmptied` lets go of it, though
    /// perhaps only by this process while the defaults can't be written. Blocks as `former()` does.
    ///
    /// \return false when another gateway works there: nothing is to be put there then, or taken from there.
    bool enter(const QString &folder) QUORIN_EXCLUDES(m_mutex, m_lockMutex);

    /// Lets go of each former folder that is in sight and in which nothing of the listener's lay at this call
    /// and the one before: an association that outlives its listener's stop is over by then, when calls are
    /// ten seconds apart. A folder out of sight, such as one on a volume that isn't mounted, stays.
    void forgetEmptied() QUORIN_EXCLUDES(m_mutex);

private:
    void keep() QUORIN_REQUIRES(m_mutex);

    platform::UserDefaults &m_defaults;
    const core::Settings &m_settings;
    const QString m_defaultFolder;

    mutable platform::Mutex m_mutex;
    QStringList m_entered QUORIN_GUARDED_BY(m_mutex); // in the order in which they were first used
    QString m_inUse QUORIN_GUARDED_BY(m_mutex);       // the one entered last
    QSet<QString> m_emptyBefore QUORIN_GUARDED_BY(m_mutex);
    bool m_isKept QUORIN_GUARDED_BY(m_mutex) = true;

    platform::Mutex m_lockMutex; // apart: whoever locks may wait for a share
    std::map<QString, platform::HomeLock> m_locks QUORIN_GUARDED_BY(m_lockMutex); // by names without links
};

} // namespace gateway::receive

#pragma once

#include "core/settings.h"
#include "platform/concurrency/mutex.h"
#include "platform/defaults/user_defaults.h"
#include "platform/files/home_lock.h"
#include "platform/sentences/sentence.h"

#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace gateway::receive {

/// Every folder in which received files may lie: the one by the settings, and each in which a listener worked
/// before another was chosen, until nothing of the listener's is left there.
///
/// One gateway at a time works in a folder, whatever home it has: a lock in the folder's `.part` sees to it.
/// A number kept there tells the folder from another one that stands in its place, such as the empty one
/// under a volume that isn't mounted.
///
/// Owner: app. Thread: any.
class IncomingFolders
{
public:
    struct Places
    {
        QString defaultFolder; ///< where none is chosen
        QString home;          ///< the folder of the settings: a home that was copied knows it by that
    };

    /// \param defaults, settings  outlive this.
    IncomingFolders(platform::UserDefaults &defaults, const core::Settings &settings, Places places);

    IncomingFolders(const IncomingFolders &) = delete;
    IncomingFolders &operator=(const IncomingFolders &) = delete;

    /// The folder by the settings; with `former()` it is all.
    QString present() const;

    /// Those that were used before, without links on the way to them: a link may lead elsewhere by now. Where
    /// one is known by two names it is told once. May block for as long as a share doesn't answer.
    QStringList former() const QUORIN_EXCLUDES(m_mutex);

    QStringList all() const { return QStringList(present()) + former(); }

    /// Those of all that were used and aren't there now, or in whose place another one stands: nobody knows
    /// what lies in them. Blocks as `former()` does.
    QStringList outOfSight() const QUORIN_EXCLUDES(m_mutex);

    /// Those former ones that are there, and from which this gateway takes what lies in them. Blocks as
    /// `former()` does.
    QStringList withinReach() const QUORIN_EXCLUDES(m_mutex);

    /// Those former ones with something in them that were used while the home lay elsewhere: it was moved, or
    /// it is a copy, and what lies there is another gateway's. Nothing is taken from them. Blocks as
    /// `former()` does.
    QStringList ofAnotherHome() const QUORIN_EXCLUDES(m_mutex);

    /// The paths of those that were used, but for the one by the settings, without asking a disk.
    QStringList known() const QUORIN_EXCLUDES(m_mutex);

    /// Says that a look into one of `known()`, or into the folder by the settings, whose name here is empty,
    /// doesn't end: its share doesn't answer; or that it does again. Until then nothing here asks it for
    /// anything but looks and a listener's start, and it counts as out of sight. Asks no disk.
    void setSilent(const QString &known, bool isSilent) QUORIN_EXCLUDES(m_mutex);

    /// What the settings name, whether it is there or not; nothing unless it is silent. Asks no disk.
    std::optional<QString> silentPresent() const QUORIN_EXCLUDES(m_mutex);

    /// What a look into one folder found.
    struct Sight
    {
        QString folder;
        bool isOutOfSight = false; ///< as `outOfSight()` tells it
        bool mayTake = false;      ///< this gateway may take what lies there: no other one does
        std::optional<platform::Sentence> obstacle; ///< of the folder by the settings: what `obstacleTo` says
        bool isExchanged =
            false; ///< likewise: another one stands there than the listener's, which puts nothing there
        QString standing = {}; ///< likewise, as `folderStanding` tells it
    };

    /// Looks into the folder by the settings. Where it may take from it, that is locked against others.
    /// Blocks for as long as the share of this folder doesn't answer.
    Sight lookAtPresent() QUORIN_EXCLUDES(m_mutex, m_lockMutex);

    /// Looks into one of `known()` in the same way, and asks no disk for any other. A former one that is
    /// empty isn't locked; one in which nothing of the listener's lay at this look and the one before is
    /// forgotten: an association that outlives its listener's stop is over by then, when looks are ten
    /// seconds apart. A folder out of sight, such as one on a volume that isn't mounted, stays.
    Sight lookAt(const QString &known) QUORIN_EXCLUDES(m_mutex, m_lockMutex);

    /// Locks a folder against others, until it is forgotten. One that has no `.part`, or whose volume has no
    /// locks, is nobody's, and this gateway's for now. \return false when another gateway works there.
    bool own(const QString &folder) QUORIN_EXCLUDES(m_lockMutex);

    /// Why no listener can work in this folder now, for people; nothing where one can. Blocks as `former()`
    /// does.
    std::optional<platform::Sentence> obstacleTo(const QString &folder) QUORIN_EXCLUDES(m_mutex, m_lockMutex);

    /// Locks the folder in which a listener is about to work, makes it where it is missing, and keeps it in
    /// mind before the first file comes there. It is remembered until `lookAt` forgets it, though
    /// perhaps only by this process while the defaults can't be written. One that was used before is never
    /// made anew: it may be out of sight. Blocks as `former()` does.
    ///
    /// \param isWanted  asked when all that may block is over: whether the listener still is to work there.
    /// One
    ///                  that was stopped meanwhile doesn't count as the last one that entered.
    /// \return what `obstacleTo` does: nothing is to be put there then, or taken from there.
    std::optional<platform::Sentence> enter(
        const QString &folder, const std::function<bool()> &isWanted = [] { return true; })
        QUORIN_EXCLUDES(m_mutex, m_lockMutex);

    /// Forgets the folder with this number where it was entered last and never before: no listener could work
    /// in it after all. Whoever calls has seen that nothing of one lies there. Asks no disk but that of the
    /// defaults.
    void takeBack(const QString &id) QUORIN_EXCLUDES(m_mutex);

    /// The number of the folder that was entered last; empty where it has none.
    QString idInUse() const QUORIN_EXCLUDES(m_mutex);

private:
    /// A folder that was used.
    struct Note
    {
        QString path; ///< without links
        QString id;   ///< the number that it keeps; empty where none could be given
        QString home;

        bool operator==(const Note &) const = default;
    };

    /// A folder's lock, and who works at it. Shared, so that one whose share hangs holds up no other.
    struct Held
    {
        platform::Mutex mutex;
        std::optional<platform::HomeLock> lock QUORIN_GUARDED_BY(mutex);
    };

    static QList<Note> readFrom(const platform::UserDefaults &defaults, const QString &home);
    bool isSilent(const QString &path) const QUORIN_EXCLUDES(m_mutex);
    QString nameOf(const QString &path) const QUORIN_EXCLUDES(m_mutex);
    static bool isThere(const Note &note);
    static bool mayBeThere(const Note &note);
    QStringList pathsOf(const QList<Note> &notes) const QUORIN_EXCLUDES(m_mutex);
    QList<Note> notes() const QUORIN_EXCLUDES(m_mutex);
    QList<Note> formerNotes() const QUORIN_EXCLUDES(m_mutex);
    QList<Note> notesOf(const QString &path) const QUORIN_EXCLUDES(m_mutex);
    QString chosen() const;
    bool isPresent(const QString &path) const QUORIN_EXCLUDES(m_mutex);
    std::shared_ptr<Held> heldOf(const QString &name) QUORIN_EXCLUDES(m_lockMutex);
    void letGo(const QString &name) QUORIN_EXCLUDES(m_mutex, m_lockMutex);
    bool isForgotten(const QString &path, const QList<Note> &empty) QUORIN_EXCLUDES(m_mutex);
    bool wasUsed(const QString &name) const QUORIN_EXCLUDES(m_mutex);
    bool isExchanged(const QString &folder) const QUORIN_EXCLUDES(m_mutex);
    void note(const QString &folder, const std::function<bool()> &isWanted) QUORIN_EXCLUDES(m_mutex);
    void remember(const Note &entered, bool isByHand) QUORIN_EXCLUDES(m_mutex);
    void keep() QUORIN_REQUIRES(m_mutex);

    platform::UserDefaults &m_defaults;
    const core::Settings &m_settings;
    const Places m_places;

    mutable platform::Mutex m_mutex;
    QList<Note> m_entered QUORIN_GUARDED_BY(m_mutex); // in the order in which they were first used
    Note m_inUse QUORIN_GUARDED_BY(m_mutex);          // the one entered last
    QString m_nameInUse QUORIN_GUARDED_BY(m_mutex);   // as it was named then: links may lead elsewhere now
    Note m_enteredFirst QUORIN_GUARDED_BY(m_mutex);   // one that was noted last, in no other's place
    QString m_presentName QUORIN_GUARDED_BY(m_mutex); // of the folder by the settings at the last look
    QSet<QString> m_silent QUORIN_GUARDED_BY(m_mutex);
    QList<Note> m_emptyBefore QUORIN_GUARDED_BY(m_mutex);
    bool m_isKept QUORIN_GUARDED_BY(m_mutex) = true;

    platform::Mutex m_lockMutex;
    std::map<QString, std::shared_ptr<Held>> m_locks QUORIN_GUARDED_BY(m_lockMutex); // by names without links
};

} // namespace gateway::receive

#include "receive/incoming_folders.h"

#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "platform/files/folder_entries.h"
#include "platform/files/folder_id.h"
#include "receive/folder_bookmark.h"
#include "receive/folder_standing.h"
#include "receive/inbox.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSet>

#include <algorithm>
#include <utility>

namespace gateway::receive {

using platform::Sentence;

namespace {

constexpr char kContext[] = "Listener";
const QString kKey = QStringLiteral("IncomingFoldersInUse");

const QString kPath = QStringLiteral("path");
const QString kId = QStringLiteral("id");
const QString kHome = QStringLiteral("home");

/// What the folder is called without links, also where it, or some on the way to it, aren't there.
QString oneNameOf(const QString &folder)
{
    QString there = QDir::cleanPath(folder);
    QString missing;
    for (;;) {
        const QFileInfo info(there);
        const QString canonical = info.canonicalFilePath();
        if (!canonical.isEmpty() || info.isRoot() || there.isEmpty()) {
            return QDir::cleanPath((canonical.isEmpty() ? there : canonical) + missing);
        }
        missing.prepend(u'/' + info.fileName());
        there = info.path();
    }
}

QString partFolderOf(const QString &folder)
{
    return folder + QStringLiteral("/.part");
}

QString lockFileIn(const QString &folder)
{
    return partFolderOf(folder) +
           QStringLiteral("/.lock"); // beside what is unfinished: others don't look there
}

/// True where a person has made the folder for what is unfinished: whatever works there leaves more than the
/// lock and a number that was never finished, and an earlier program may have done so under a volume that
/// isn't mounted.
bool isMadeByHand(const QString &folder)
{
    bool isBare = true;
    const bool isWhole = platform::visitFolder(
        QFile::encodeName(partFolderOf(folder)), [&isBare](const platform::FolderEntry &entry) {
            const bool isUnfinishedNumber = platform::isUnfinishedFolderId(QFile::decodeName(entry.name()));
            isBare = isBare && (entry.name() == ".lock" || isUnfinishedNumber);
        });
    return isWhole && isBare;
}

/// That another gateway works in this folder, and what to do; for people.
Sentence inUseSentence(const QString &folder)
{
    const std::optional<qint64> owner = platform::HomeLock::owner(lockFileIn(folder));
    if (!owner) {
        return {kContext,
                QT_TRANSLATE_NOOP("Listener",
                                  "The incoming folder is used by another gateway. Give each gateway an "
                                  "incoming folder of its own.")};
    }
    return {kContext,
            QT_TRANSLATE_NOOP("Listener",
                              "The incoming folder is used by another gateway, process %1. Give each gateway "
                              "an incoming folder of its own."),
            {QString::number(*owner)}};
}

Sentence outOfSightSentence(const QString &folder)
{
    return {kContext,
            QT_TRANSLATE_NOOP("Listener",
                              "The incoming folder can't be seen at %1, so nothing is received; images may "
                              "wait in it. Bring its volume back. Where it is gone for good: mkdir -p "
                              "'%1/.part'."),
            {folder}};
}

} // namespace

/// Of a program that noted paths alone each counts as used by this home.
QList<IncomingFolders::Note> IncomingFolders::readFrom(const platform::UserDefaults &defaults,
                                                       const QString &home)
{
    const QByteArray stored = defaults.object(kKey).value_or(QVariant()).toByteArray();
    QList<Note> notes;
    for (const auto &kept : QJsonDocument::fromJson(stored).array()) {
        const QJsonObject note = kept.toObject();
        const QString path = kept.toString(note[kPath].toString());
        if (!path.isEmpty()) {
            notes.append({path, note[kId].toString(), note[kHome].toString(home)});
        }
    }
    return notes;
}

IncomingFolders::IncomingFolders(platform::UserDefaults &defaults,
                                 const core::Settings &settings,
                                 Places places)
    : m_defaults(defaults), m_settings(settings),
      m_places{std::move(places.defaultFolder), oneNameOf(places.home)},
      m_entered(readFrom(defaults, m_places.home))
{
}

QString IncomingFolders::present() const
{
    return incomingFolder(m_settings, m_places.defaultFolder);
}

/// True when the folder that was used stands at its path, or one that a person made for whom it is gone.
bool IncomingFolders::isThere(const Note &note)
{
    const std::optional<QString> id = platform::folderId(partFolderOf(note.path));
    return id && (note.id.isEmpty() || *id == note.id || isMadeByHand(note.path)) &&
           contentOf(note.path) != InboxContent::outOfSight;
}

/// The same, and where the folder at its path keeps no number, as one in which an earlier program worked.
bool IncomingFolders::mayBeThere(const Note &note)
{
    const std::optional<QString> id = platform::folderId(partFolderOf(note.path));
    return isThere(note) || (id && id->isEmpty() && contentOf(note.path) != InboxContent::outOfSight);
}

QList<IncomingFolders::Note> IncomingFolders::notes() const
{
    const platform::MutexLock lock(m_mutex);
    return m_entered;
}

/// Without the one that stands where the settings lead.
QList<IncomingFolders::Note> IncomingFolders::formerNotes() const
{
    QList<Note> notes = this->notes();
    const QString chosen = nameOf(silentPresent().value_or(QString()));
    const QString present = chosen.isEmpty() ? oneNameOf(this->present()) : chosen;
    notes.removeIf([&](const Note &note) { return nameOf(note.path) == present; });
    return notes;
}

QStringList IncomingFolders::former() const
{
    return pathsOf(formerNotes());
}

/// One of two names of a folder.
QStringList IncomingFolders::pathsOf(const QList<Note> &notes) const
{
    QSet<QString> told;
    QStringList folders;
    for (const Note &note : notes) {
        const QString name = nameOf(note.path);
        if (!told.contains(name)) {
            told.insert(name);
            folders.append(note.path);
        }
    }
    return folders;
}

QStringList IncomingFolders::withinReach() const
{
    QList<Note> notes = formerNotes();
    notes.removeIf([this](const Note &note) {
        return note.home != m_places.home || isSilent(note.path) || !mayBeThere(note);
    });
    return pathsOf(notes);
}

QStringList IncomingFolders::outOfSight() const
{
    QList<Note> notes = this->notes();
    notes.removeIf([this](const Note &note) { return !isSilent(note.path) && isThere(note); });
    const std::optional<QString> silent = silentPresent();
    if (silent && std::ranges::none_of(notes, [this](const Note &note) { return isPresent(note.path); })) {
        notes.append({*silent, {}, m_places.home});
    }
    return pathsOf(notes);
}

QStringList IncomingFolders::ofAnotherHome() const
{
    QList<Note> notes = formerNotes();
    notes.removeIf([this](const Note &note) {
        return note.home == m_places.home || isSilent(note.path) || !mayBeThere(note) ||
               contentOf(note.path) != InboxContent::something;
    });
    return pathsOf(notes);
}

QList<IncomingFolders::Note> IncomingFolders::notesOf(const QString &path) const
{
    QList<Note> notes = this->notes();
    notes.removeIf([&path](const Note &note) { return note.path != path; });
    return notes;
}

/// What the settings name, whether it is there or not.
QString IncomingFolders::chosen() const
{
    const std::optional<QByteArray> bookmark = m_settings.listenerDestinationFolderBookmark.get();
    return platform::standardizedPath(
        bookmark ? QString::fromUtf8(*bookmark)
                 : m_settings.listenerDestinationFolder.get().value_or(m_places.defaultFolder));
}

/// As far as is known without asking a disk.
bool IncomingFolders::isPresent(const QString &path) const
{
    if (path == chosen()) {
        return true;
    }
    const platform::MutexLock lock(m_mutex);
    return path == m_presentName;
}

void IncomingFolders::setSilent(const QString &known, bool isSilent)
{
    const platform::MutexLock lock(m_mutex);
    if (isSilent) {
        m_silent.insert(known);
    } else {
        m_silent.remove(known);
    }
}

std::optional<QString> IncomingFolders::silentPresent() const
{
    const QString name = chosen();
    const platform::MutexLock lock(m_mutex);
    return m_silent.contains(QString()) ? std::optional(name) : std::nullopt;
}

bool IncomingFolders::isSilent(const QString &path) const
{
    const bool mayBePresent = isPresent(path);
    const platform::MutexLock lock(m_mutex);
    return m_silent.contains(path) || (mayBePresent && m_silent.contains(QString()));
}

/// What the folder is called without links. One that is silent is noted by that name.
QString IncomingFolders::nameOf(const QString &path) const
{
    return path.isEmpty() || isSilent(path) ? path : oneNameOf(path);
}

QStringList IncomingFolders::known() const
{
    QStringList paths;
    for (const Note &note : notes()) {
        if (!paths.contains(note.path) && !isPresent(note.path)) {
            paths.append(note.path);
        }
    }
    return paths;
}

IncomingFolders::Sight IncomingFolders::lookAtPresent()
{
    Sight sight{present(), false, false, std::nullopt};
    const QString name = oneNameOf(sight.folder);
    {
        const platform::MutexLock lock(m_mutex);
        m_presentName = name;
        if (!m_isKept) {
            keep();
        }
    }
    sight.isOutOfSight = !std::ranges::all_of(notesOf(name), isThere);
    sight.obstacle = obstacleTo(sight.folder);
    sight.isExchanged = isExchanged(sight.folder);
    sight.mayTake = own(sight.folder);
    sight.standing = folderStanding(sight.folder);
    return sight;
}

IncomingFolders::Sight IncomingFolders::lookAt(const QString &known)
{
    Sight sight{known, false, false, std::nullopt};
    QList<Note> notes = notesOf(known);
    const auto isOurs = [this](const Note &note) { return note.home == m_places.home && mayBeThere(note); };
    const bool isOneOurs = std::ranges::any_of(notes, isOurs);
    const qsizetype all = notes.size();
    notes.removeIf([](const Note &note) { return !isThere(note); });
    sight.isOutOfSight = notes.size() < all;
    if (isPresent(known)) {
        return sight; // its own look takes what lies there
    }
    const bool isEmpty = contentOf(known) == InboxContent::nothing;
    if (isForgotten(known, isEmpty ? notes : QList<Note>()) || !isOneOurs) {
        letGo(known);
    } else {
        sight.mayTake = !isEmpty && own(known); // one that is empty is left to whoever may work there
    }
    return sight;
}

/// Forgets what was empty at the look before as well.
///
/// \param empty  the notes of the path whose folders are empty.
/// \return whether nothing is known of the path any more.
bool IncomingFolders::isForgotten(const QString &path, const QList<Note> &empty)
{
    const platform::MutexLock lock(m_mutex);
    QList<Note> before;
    for (const Note &note : std::as_const(m_emptyBefore)) {
        if (note.path == path) {
            before.append(note);
        }
    }
    m_emptyBefore.removeIf([&path](const Note &note) { return note.path == path; });
    m_emptyBefore += empty;
    const Note inUse = m_inUse; // another one was chosen, and the listener hasn't been started anew
    m_emptyBefore.removeAll(inUse);
    const qsizetype gone = m_entered.removeIf(
        [&](const Note &note) { return note != inUse && empty.contains(note) && before.contains(note); });
    if (gone > 0 || !m_isKept) {
        keep();
    }
    return std::ranges::none_of(m_entered, [&path](const Note &note) { return note.path == path; });
}

std::shared_ptr<IncomingFolders::Held> IncomingFolders::heldOf(const QString &name)
{
    const platform::MutexLock lock(m_lockMutex);
    std::shared_ptr<Held> &held = m_locks[name];
    if (!held) {
        held = std::make_shared<Held>();
    }
    return held;
}

bool IncomingFolders::own(const QString &folder)
{
    const QString name = oneNameOf(folder);
    const QString file = lockFileIn(name);
    const std::shared_ptr<Held> held = heldOf(name);
    const platform::MutexLock lock(held->mutex);
    if (held->lock && held->lock->isAt(file)) {
        return true;
    }
    held->lock.reset(); // another volume, or a new folder, stands there
    try {
        held->lock = platform::HomeLock::tryLock(file);
        return held->lock.has_value();
    } catch (const platform::FileError &) {
        return true; // nobody can have it
    }
}

void IncomingFolders::letGo(const QString &name)
{
    const std::shared_ptr<Held> held = heldOf(name);
    const platform::MutexLock lock(held->mutex);
    held->lock.reset();
}

bool IncomingFolders::wasUsed(const QString &name) const
{
    const platform::MutexLock lock(m_mutex);
    return std::ranges::any_of(m_entered, [&name](const Note &note) { return note.path == name; });
}

std::optional<Sentence> IncomingFolders::obstacleTo(const QString &folder)
{
    // Another one that stands there is an inbox as well; the one before stays noted.
    if (wasUsed(oneNameOf(folder)) && !platform::folderId(partFolderOf(folder))) {
        return outOfSightSentence(folder);
    }
    return own(folder) ? std::nullopt : std::optional(inUseSentence(folder));
}

std::optional<Sentence> IncomingFolders::enter(const QString &folder, const std::function<bool()> &isWanted)
{
    if (auto obstacle = obstacleTo(folder)) {
        return obstacle;
    }
    try {
        platform::makeFoldersDurably(partFolderOf(folder));
    } catch (const platform::FileError &error) {
        return Sentence(kContext,
                        QT_TRANSLATE_NOOP("Listener", "The incoming folder %1 can't be used: %2."),
                        {folder, platform::SystemError{error.code()}});
    }
    if (!own(folder)) { // there was nothing to lock before
        return inUseSentence(folder);
    }
    note(folder, isWanted);
    return std::nullopt;
}

/// Keeps the folder that stands at the path in mind.
void IncomingFolders::note(const QString &folder, const std::function<bool()> &isWanted)
{
    const QString name = oneNameOf(folder);
    std::optional<QString> kept = platform::folderId(partFolderOf(name));
    const bool isByHand = isMadeByHand(name);
    std::optional<Note> ahead; // what is remembered before the folder has its number
    if (kept && kept->isEmpty()) {
        kept = platform::newFolderId();
        if (isByHand) {
            // While it is bare it is taken at its word; with a number that nobody knows it would be
            // another's.
            ahead = {name, *kept, m_places.home};
            remember(*ahead, isByHand);
        }
        try {
            platform::giveFolderId(partFolderOf(name), *kept);
        } catch (const platform::FileError &) {
            kept.reset(); // known by its path until the next time
        }
    }
    const Note entered{name, kept.value_or(QString()), m_places.home};
    if (entered != ahead) {
        remember(entered, isByHand);
    }
    const platform::MutexLock lock(m_mutex);
    if (isWanted()) { // asked under the lock: whoever was started after a stop comes here after this
        m_inUse = entered;
        m_nameInUse = QDir::cleanPath(folder);
    }
}

/// Notes what is entered, in the place of what it was known as before: by its path alone, or by the path that
/// it had before the home was moved; and of what stood there before a person made it anew.
void IncomingFolders::remember(const Note &entered, bool isByHand)
{
    const auto isItself = [&](const Note &note) {
        const bool isSameId = !note.id.isEmpty() && note.id == entered.id;
        return (note.path == entered.path && (isByHand || note.id.isEmpty() || isSameId)) ||
               (isSameId && note.home != m_places.home);
    };
    const platform::MutexLock lock(m_mutex);
    m_emptyBefore.removeAll(entered);
    if (!m_entered.contains(entered)) {
        const bool isInPlaceOfOther = m_entered.removeIf(isItself) > 0;
        m_enteredFirst = isInPlaceOfOther ? Note() : entered;
        m_entered.append(entered);
        keep();
    } else if (m_enteredFirst == entered) {
        m_enteredFirst = {};
    }
}

void IncomingFolders::takeBack(const QString &id)
{
    const platform::MutexLock lock(m_mutex);
    if (m_inUse.id == id && m_inUse == m_enteredFirst && m_entered.removeOne(m_inUse)) {
        m_inUse = {};
        m_nameInUse.clear();
        keep();
    }
}

QString IncomingFolders::idInUse() const
{
    const platform::MutexLock lock(m_mutex);
    return m_inUse.id;
}

/// True where this is the folder that was entered last, and another one stands there.
bool IncomingFolders::isExchanged(const QString &folder) const
{
    QString id;
    {
        const platform::MutexLock lock(m_mutex);
        id = m_nameInUse == QDir::cleanPath(folder) ? m_inUse.id : QString();
    }
    return !id.isEmpty() && platform::folderId(partFolderOf(folder)).value_or(id) != id;
}

void IncomingFolders::keep()
{
    QJsonArray kept;
    for (const Note &note : std::as_const(m_entered)) {
        kept.append(QJsonObject{{kPath, note.path}, {kId, note.id}, {kHome, note.home}});
    }
    m_isKept = m_defaults.setObject(kKey, QJsonDocument(kept).toJson(QJsonDocument::Compact));
}

} // namespace gateway::receive

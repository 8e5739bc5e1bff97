#include "receive/incoming_folders.h"

#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "receive/folder_bookmark.h"
#include "receive/inbox.h"

#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <optional>
#include <utility>

namespace gateway::receive {

namespace {

const QString kKey = QStringLiteral("IncomingFoldersInUse");

QStringList readFrom(const platform::UserDefaults &defaults)
{
    const QByteArray stored = defaults.object(kKey).value_or(QVariant()).toByteArray();
    QStringList folders;
    for (const auto &folder : QJsonDocument::fromJson(stored).array()) {
        folders.append(folder.toString());
    }
    folders.removeAll(QString());
    return folders;
}

/// What the folder is called without links; the path itself where nothing is there.
QString oneNameOf(const QString &folder)
{
    const QString canonical = QFileInfo(folder).canonicalFilePath();
    return canonical.isEmpty() ? folder : canonical;
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

} // namespace

IncomingFolders::IncomingFolders(platform::UserDefaults &defaults,
                                 const core::Settings &settings,
                                 QString defaultFolder)
    : m_defaults(defaults), m_settings(settings), m_defaultFolder(std::move(defaultFolder)),
      m_entered(readFrom(defaults))
{
}

QString IncomingFolders::present() const
{
    return incomingFolder(m_settings, m_defaultFolder);
}

QStringList IncomingFolders::former() const
{
    QStringList entered;
    {
        const platform::MutexLock lock(m_mutex);
        entered = m_entered;
    }
    QSet<QString> told{oneNameOf(present())};
    QStringList folders;
    for (const QString &folder : std::as_const(entered)) {
        const QString name = oneNameOf(folder);
        if (!told.contains(name)) {
            told.insert(name);
            folders.append(folder);
        }
    }
    return folders;
}

QStringList IncomingFolders::owned()
{
    const QString chosen = present();
    QStringList folders;
    QSet<QString> names;
    for (const QString &folder : all()) {
        names.insert(oneNameOf(folder));
        // One of before that is empty is left to whoever may work there.
        if ((folder == chosen || contentOf(folder) != InboxContent::nothing) && own(folder)) {
            folders.append(folder);
        }
    }
    const platform::MutexLock lock(m_lockMutex);
    std::erase_if(m_locks, [&names](const auto &held) { return !names.contains(held.first); });
    return folders;
}

bool IncomingFolders::own(const QString &folder)
{
    const QString name = oneNameOf(folder);
    const QString file = lockFileIn(name);
    const platform::MutexLock lock(m_lockMutex);
    if (const auto held = m_locks.find(name); held != m_locks.end()) {
        if (held->second.isAt(file)) {
            return true;
        }
        m_locks.erase(held); // another volume, or a new folder, stands there
    }
    try {
        auto taken = platform::HomeLock::tryLock(file);
        if (!taken) {
            return false;
        }
        m_locks.emplace(name, std::move(*taken));
    } catch (const platform::FileError &) {
        // Nobody can have it.
    }
    return true;
}

QString IncomingFolders::inUseSentence(const QString &folder)
{
    const std::optional<qint64> owner = platform::HomeLock::owner(lockFileIn(folder));
    return owner ? QStringLiteral("The incoming folder is used by another gateway, process %1. Give each "
                                  "gateway an incoming folder of its own.")
                       .arg(*owner)
                 : QStringLiteral("The incoming folder is used by another gateway. Give each gateway an "
                                  "incoming folder of its own.");
}

bool IncomingFolders::enter(const QString &folder)
{
    try {
        platform::makeFoldersDurably(partFolderOf(folder));
    } catch (const platform::FileError &) {
        // The receiver says what is wrong with it.
    }
    if (!own(folder)) {
        return false;
    }
    const QString name = oneNameOf(folder);
    const platform::MutexLock lock(m_mutex);
    m_inUse = name;
    m_emptyBefore.remove(name);
    if (!m_entered.contains(name)) {
        m_entered.append(name);
        keep();
    }
    return true;
}

void IncomingFolders::forgetEmptied()
{
    QSet<QString> empty;
    for (const QString &folder : former()) {
        if (contentOf(folder) == InboxContent::nothing) {
            empty.insert(folder);
        }
    }
    const platform::MutexLock lock(m_mutex);
    empty.remove(m_inUse); // another one was chosen, and the listener hasn't been started anew
    const QSet<QString> gone = empty & m_emptyBefore;
    for (const QString &folder : gone) {
        m_entered.removeAll(folder);
    }
    m_emptyBefore = empty - gone;
    if (!gone.isEmpty() || !m_isKept) {
        keep();
    }
}

void IncomingFolders::keep()
{
    m_isKept = m_defaults.setObject(
        kKey, QJsonDocument(QJsonArray::fromStringList(m_entered)).toJson(QJsonDocument::Compact));
}

} // namespace gateway::receive

#include "receive/incoming_folders.h"

#include "receive/folder_bookmark.h"
#include "receive/inbox.h"

#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

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

void IncomingFolders::enter(const QString &folder)
{
    const platform::MutexLock lock(m_mutex);
    m_inUse = folder;
    m_emptyBefore.remove(folder);
    if (!m_entered.contains(folder)) {
        m_entered.append(folder);
        keep();
    }
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

#include "receive/inbox.h"

#include "log/writing/redaction.h"
#include "platform/files/files.h"
#include "platform/files/folder_entries.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QUuid>

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace gateway::receive {

namespace {

log::GatewayLogError systemError(int code)
{
    return log::redactedError(QStringLiteral("POSIX"), code, QString::fromLocal8Bit(std::strerror(code)));
}

} // namespace

QString setAsideFolder(const QString &inbox)
{
    return inbox + QStringLiteral("/.rejected");
}

QStringList setAsideFiles(const QString &inbox)
{
    const QDir folder(setAsideFolder(inbox));
    QStringList paths;
    for (const QString &name :
         folder.entryList({QStringLiteral("*quorin-*.dcm")}, QDir::Files | QDir::NoSymLinks, QDir::Name)) {
        paths.append(folder.absoluteFilePath(name));
    }
    return paths;
}

InboxContent contentOf(const QString &inbox)
{
    bool isEmpty = true;
    // Each name that the listener or setAside() gives has this in it.
    const auto look = [&isEmpty](const platform::FolderEntry &entry) {
        isEmpty = isEmpty && !entry.name().contains("quorin-");
    };
    const auto isSeen = [&look](const QString &folder) {
        return platform::visitFolder(QFile::encodeName(folder), look);
    };
    // The empty folder under a share that is away has no folder for what is unfinished.
    const QString rejected = setAsideFolder(inbox);
    if (!isSeen(inbox + QStringLiteral("/.part")) || !isSeen(inbox) ||
        !(isSeen(rejected) || platform::isKnownToBeAbsent(rejected))) {
        return InboxContent::outOfSight;
    }
    return isEmpty ? InboxContent::nothing : InboxContent::something;
}

QString nameBeforeSetAside(const QString &path)
{
    const QFileInfo file(path);
    return QFileInfo(file.absolutePath()).absolutePath() + u'/' + file.fileName().section(u'-', 1);
}

InboxRemoval removeFromInbox(const QString &path)
{
    if (::unlink(QFile::encodeName(path).constData()) != 0) {
        return {systemError(errno)};
    }
    return {};
}

InboxRemoval setAside(const QString &path)
{
    const QFileInfo file(path);
    const QString rejected = setAsideFolder(file.absolutePath());
    const QString name =
        QStringLiteral("%1-%2").arg(QUuid::createUuid().toString(QUuid::Id128).left(8), file.fileName());
    try {
        platform::makeFoldersDurably(rejected);
        platform::renameDurably(path, rejected + u'/' + name);
    } catch (const platform::FileError &error) {
        return {log::redactedError(QStringLiteral("POSIX"), error.code(), error.message())};
    }
    return {};
}

} // namespace gateway::receive

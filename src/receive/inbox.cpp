#include "receive/inbox.h"

#include "log/redaction.h"
#include "platform/files/files.h"

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
    const QString rejected = file.absolutePath() + QStringLiteral("/.rejected");
    if (!QDir().mkpath(rejected)) {
        return {systemError(errno)};
    }
    const QString name =
        QStringLiteral("%1-%2").arg(QUuid::createUuid().toString(QUuid::Id128).left(8), file.fileName());
    try {
        platform::renameDurably(path, rejected + u'/' + name);
    } catch (const platform::FileError &error) {
        return {log::redactedError(QStringLiteral("POSIX"), error.code(), error.message())};
    }
    return {};
}

} // namespace gateway::receive

#include "receive/folder_standing.h"

#include "platform/files/files.h"

#include <QtCore/QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gateway::receive {

namespace {

QString standingOf(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status{};
    if (::stat(name.constData(), &status) != 0) {
        return QStringLiteral("-");
    }
    // A volume that can only be read says no here, too.
    const bool isOpen = ::faccessat(AT_FDCWD, name.constData(), W_OK | X_OK, AT_EACCESS) == 0;
    return QStringLiteral("%1:%2:%3").arg(status.st_dev).arg(status.st_ino).arg(isOpen ? 1 : 0);
}

} // namespace

QString folderStanding(const QString &path)
{
    constexpr qint64 kRoom = qint64{1024} * 1024; // for what a listener writes as it starts
    const auto volume = platform::volumeFigures(path);
    const bool isRoom = volume && volume->availableBytes >= kRoom;
    return standingOf(path) + u' ' + standingOf(path + QStringLiteral("/.part")) +
           (isRoom ? QStringLiteral(" room") : QString());
}

} // namespace gateway::receive

#include "platform/process/app_image.h"

#include <QtCore/QFileInfo>

namespace gateway::platform {

QString appImageOf(const QProcessEnvironment &environment, const QString &program)
{
    const QFileInfo image(environment.value(QStringLiteral("APPIMAGE")));
    const QString mount = QFileInfo(environment.value(QStringLiteral("APPDIR"))).canonicalFilePath();
    const bool liesInIt = !mount.isEmpty() && program.startsWith(mount + u'/');
    return liesInIt && image.isAbsolute() && image.isFile() ? image.canonicalFilePath() : QString();
}

QString runningAppImage()
{
    return appImageOf(QProcessEnvironment::systemEnvironment(),
                      QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath());
}

} // namespace gateway::platform

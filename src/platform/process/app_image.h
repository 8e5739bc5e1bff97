#pragma once

#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>

namespace gateway::platform {

/// The AppImage that this program runs from, as the path of the file itself; empty where it runs from none.
///
/// What an AppImage starts inherits its environment, so the program must also lie in the image's own folder.
///
/// \param program  the path of the running program, without links.
///
/// Thread: any; asks the disk.
QString appImageOf(const QProcessEnvironment &environment, const QString &program);

/// The same for this process.
QString runningAppImage();

} // namespace gateway::platform

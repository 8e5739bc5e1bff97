#include "shell/windows/screen_room.h"

#include <QtCore/QMargins>
#include <QtGui/QGuiApplication>
#include <QtGui/QScreen>

namespace gateway::shell {

namespace {

/// A desktop tells what its frame takes only of windows that are shown; hardly any takes more.
constexpr QMargins kFrame(6, 40, 6, 6);

} // namespace

QRect roomForContent()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    return screen != nullptr ? screen->availableGeometry().marginsRemoved(kFrame) : QRect(0, 0, 1024, 700);
}

} // namespace gateway::shell

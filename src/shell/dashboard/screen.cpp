#include "shell/dashboard/screen.h"

namespace gateway::shell {

QString rawValue(Screen screen)
{
    switch (screen) {
    case Screen::overview:
        return QStringLiteral("overview");
    case Screen::logs:
        return QStringLiteral("logs");
    }
    return {};
}

} // namespace gateway::shell

#pragma once

#include <QtCore/QString>

namespace gateway::shell {

/// The screens of the main window.
enum class Screen
{
    overview,
    logs
};

/// A stable word for each, such as "overview". Thread: any.
QString rawValue(Screen screen);

} // namespace gateway::shell

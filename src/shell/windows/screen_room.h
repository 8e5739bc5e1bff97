#pragma once

#include <QtCore/QRect>

namespace gateway::shell {

/// Where the inside of a window may lie on the primary screen, so that the frame that desktops put around it
/// lies on the screen, too: its title is what it is moved and closed by.
///
/// Thread: main.
QRect roomForContent();

} // namespace gateway::shell

#pragma once

#include <QtCore/QString>

namespace gateway::shell {

class Theme;

/// style.qss with the theme's present values in place of its names.
///
/// \throws InvalidTokens for a name that stands for nothing.
QString filledStyleSheet(const Theme &theme);

} // namespace gateway::shell

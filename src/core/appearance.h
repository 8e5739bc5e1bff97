#pragma once

#include <QtCore/QString>

#include <array>
#include <optional>

namespace gateway::core {

/// The face of the screens.
enum class Appearance
{
    dark,
    light,
    desktop ///< as the desktop asks its programs to be
};

/// All cases, in the order in which they are offered.
inline constexpr std::array kAllAppearances{Appearance::dark, Appearance::light, Appearance::desktop};

/// The key of the choice in the defaults; nothing there for dark.
inline const QString kAppearanceKey = QStringLiteral("QuorinGateway.appearance");

/// The text that stands in the defaults: "dark", "light" or "desktop".
QString rawValue(Appearance appearance);

/// The case with this text, or nothing.
std::optional<Appearance> appearanceFromRawValue(const QString &text);

} // namespace gateway::core

#pragma once

#include "core/appearance.h"
#include "platform/notifications/notification_center.h"

#include <QtCore/QObject>

namespace gateway::platform {
class UserDefaults;
}

namespace gateway::shell {

class DesktopPreferences;
class Theme;

/// The face of the screens as it was chosen, kept in the defaults and applied to the theme.
///
/// Owner: DesktopScreens. Thread: main.
class AppearanceChoice : public QObject
{
    Q_OBJECT

public:
    /// Applies what is kept. All outlive this.
    AppearanceChoice(Theme &theme,
                     DesktopPreferences &desktop,
                     platform::UserDefaults &defaults,
                     platform::NotificationCenter &notifications);

    core::Appearance current() const { return m_current; }

    /// Applies the choice and keeps it; where it can't be kept it lasts for this run.
    void choose(core::Appearance appearance);

    /// Takes over what was chosen elsewhere; a command's choice is taken over by itself.
    void follow();

Q_SIGNALS:
    void changed();

private:
    void apply(core::Appearance appearance);

    Theme &m_theme;
    DesktopPreferences &m_desktop;
    platform::UserDefaults &m_defaults;
    core::Appearance m_current = core::Appearance::dark;
    platform::NotificationCenter::Token m_settingsObserver;
};

} // namespace gateway::shell

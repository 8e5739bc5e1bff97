#pragma once

#include "shell/preferences/gateway_settings_item.h"
#include "shell/preferences/preferences_parts.h"
#include "shell/windows/window_controller.h"

#include <QtCore/QPointer>

namespace gateway::shell {

class QuorinGatewaySettingsView;

/// The window of the preferences, made when it is first shown and kept from then on.
///
/// Owner: DesktopScreens. Thread: main.
class PreferencesWindowController
{
public:
    PreferencesWindowController(platform::UserDefaults &defaults, const PreferencesParts &parts);

    /// Shows the window as it was left.
    void show();

    /// Shows the window with this category.
    void show(GatewaySettingsItem item);

    /// Null before it was first shown.
    QWidget *window() const { return m_controller.window(); }

private:
    WindowController m_controller;
    QPointer<QuorinGatewaySettingsView> m_view;
};

} // namespace gateway::shell

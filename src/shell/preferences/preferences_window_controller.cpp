#include "shell/preferences/preferences_window_controller.h"

#include "platform/concurrency/main_thread.h"
#include "shell/preferences/quorin_gateway_settings_view.h"

namespace gateway::shell {

namespace {

constexpr QSize kContentSize(860, 640);
constexpr QSize kLeastSize(760, 600); // in which the terms have the room that they need

} // namespace

PreferencesWindowController::PreferencesWindowController(platform::UserDefaults &defaults,
                                                         const PreferencesParts &parts)
    : m_controller(
          defaults,
          {QStringLiteral("preferences"), QuorinGatewaySettingsView::windowTitle(), kContentSize, kLeastSize},
          [this, parts] {
              m_view = new QuorinGatewaySettingsView(parts);
              return m_view;
          })
{
    platform::assertMainThread("PreferencesWindowController");
}

void PreferencesWindowController::show()
{
    m_controller.show();
}

void PreferencesWindowController::show(GatewaySettingsItem item)
{
    m_controller.show();
    m_view->setSelection(item);
}

} // namespace gateway::shell

#pragma once

#include "app/launch_ports.h"
#include "shell/dashboard/imports/open_import_panel.h"

#include <functional>
#include <memory>

namespace gateway::shell {
class DesktopPreferences;
class DesktopScreens;
class Theme;
struct ScreenModels;
} // namespace gateway::shell

namespace gateway::app {

/// The gateway with windows: a status item with its panel, the dashboard, the setup wizard, alerts.
///
/// Owner: main. Thread: main, under a DesktopApplication.
class DesktopFace final : public GatewayFace
{
public:
    /// Both outlive this.
    DesktopFace(shell::Theme &theme, shell::DesktopPreferences &desktop);
    ~DesktopFace() override;

    /// Gives the screens something to show; before anything is shown.
    ///
    /// \param models  outlive this.
    void join(const shell::ScreenModels &models);

    void showStatusBar() override;

    /// Windows come to the front one by one here.
    void bringForward() override {}

    void showDashboard() override;
    void showSignInSheet() override;
    void showPreferences() override;
    void showBugReport() override;
    void showTermsRequired() override;
    void showSetupWizard(bool blocking) override;
    receive::ImportPanel *importPanel() override { return &m_importPanel; }
    bool isSetupWizardVisible() const override;
    void showAlert(const QString &title, const QString &message) override;
    void showNotice(const QString &title, const QString &message) override;
    void ask(const updates::Alert &alert, std::function<void(bool accepted)> answered) override;
    void showUpdates(updates::AppcastUpdater &updater) override;
    void tellUpdate(const QString & /*banner*/) override {}
    void reopen() override;

private:
    shell::Theme &m_theme;
    shell::DesktopPreferences &m_desktop;
    shell::OpenImportPanel m_importPanel;
    std::unique_ptr<shell::DesktopScreens> m_screens;
};

} // namespace gateway::app

#pragma once

#include "app/launch_ports.h"

#include <functional>

namespace gateway::app {

/// The gateway without a display: each step that would show a window writes one plain line instead.
///
/// Owner: main. Thread: main.
class HeadlessFace final : public GatewayFace
{
public:
    using WriteLine = std::function<void(const QString &)>;

    explicit HeadlessFace(WriteLine writeLine) : m_writeLine(std::move(writeLine)) {}

    void showStatusBar() override {}
    void bringForward() override {}
    void showDashboard() override;
    void showSignInSheet() override;

    /// Only the terms ask for it here, and they have a line of their own.
    void showPreferences() override {}

    void showBugReport() override;
    void showTermsRequired() override;
    void showSetupWizard(bool blocking) override;

    bool isSetupWizardVisible() const override { return false; }
    void showAlert(const QString &title, const QString &message) override;
    void showNotice(const QString &title, const QString &message) override;

    /// Nobody can be asked, so it counts as dismissed.
    void ask(const updates::Alert &alert, std::function<void(bool accepted)> answered) override;

    /// Nobody asks for a check here.
    void showUpdates(updates::AppcastUpdater & /*updater*/) override {}

    /// Once for each update, however often it is found.
    void tellUpdate(const QString &banner) override;

    /// There is nothing to bring back.
    void reopen() override {}

private:
    WriteLine m_writeLine;
    QString m_toldUpdate;
};

} // namespace gateway::app

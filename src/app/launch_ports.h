#pragma once

#include "updates/alert.h"

#include <QtCore/QString>

namespace gateway::receive {
class ImportPanel;
}

namespace gateway::updates {
class AppcastUpdater;
}

namespace gateway::app {

/// What people see of the launch and of the requests to open things: windows on a desktop, plain lines
/// without one.
///
/// Owner: main. Thread: main.
class GatewayFace : public updates::Alerts
{
public:
    /// Shows the status item, once, early in the launch.
    virtual void showStatusBar() = 0;

    /// Makes the application a regular foreground one before a window of it is shown.
    virtual void bringForward() = 0;

    virtual void showDashboard() = 0;
    virtual void showSignInSheet() = 0;
    virtual void showPreferences() = 0;
    virtual void showBugReport() = 0;

    /// The cloud wants its terms accepted; comes after showPreferences.
    virtual void showTermsRequired() = 0;

    /// \param blocking  setup isn't finished: the wizard can't be closed before it is.
    virtual void showSetupWizard(bool blocking) = 0;

    /// What a manual import is chosen with; null without a desktop. The same for as long as the face lives.
    virtual receive::ImportPanel *importPanel() { return nullptr; }

    /// While it is visible the wizard reports a listener failure itself.
    virtual bool isSetupWizardVisible() const = 0;

    /// An alert of warning style with one button.
    virtual void showAlert(const QString &title, const QString &message) = 0;

    /// The answer to something that a person asked for; no warning.
    virtual void showNotice(const QString &title, const QString &message) = 0;

    /// Shows how a check for updates that a person asked for goes. \param updater  outlives what is shown.
    virtual void showUpdates(updates::AppcastUpdater &updater) = 0;

    /// An update was found; screens have a banner of their own for it. \param banner  its text.
    virtual void tellUpdate(const QString &banner) = 0;

    /// The program was started once more while this instance runs: brings back what people work with.
    virtual void reopen() = 0;
};

/// Keeps the program itself up to date and in its place. Thread: main.
class ProgramUpkeep
{
public:
    virtual ~ProgramUpkeep() = default;

    /// Offers to move the program where it belongs.
    virtual void checkInstallLocation() = 0;

    /// Both may be called again without effect.
    virtual void startUpdater() = 0;
    virtual void startVersionPolicy() = 0;

    /// A check that the user asked for.
    virtual void checkForUpdates(const QString &reason) = 0;
};

} // namespace gateway::app

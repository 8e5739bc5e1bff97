#pragma once

#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "platform/autostart/autostart.h"
#include "wizard/gateway_setup_wizard_view_model.h"

#include <QtCore/QString>
#include <QtCore/QUrl>

#include <functional>

class QWidget;

namespace gateway::account {
class QuorinAuthViewModel;
}

namespace gateway::shell {

class Theme;

/// What the wizard's window works with; all outlive it.
struct WizardParts
{
    const Theme &theme;
    wizard::SetupWizardParts setup;
    account::QuorinAuthViewModel &auth;
    account::GatewayQuorinCloudTermsParts terms;
    platform::Autostart &autostart; ///< whether the gateway comes up with the desktop's session

    /// What a person chooses or is led to.
    struct Dialogs
    {
        /// \return empty when they changed their mind.
        std::function<QString(QWidget *parent)> chooseFolder;
        std::function<QString(QWidget *parent, const QString &suggestedName)> chooseExportFile;

        std::function<void(const QUrl &)> openLink;
    };
    Dialogs dialogs;

    QUrl storePage; ///< of Quorin Lens; empty where the deployment names none

    /// What follows.
    struct Actions
    {
        std::function<void()> completed;                  ///< setup is done and the window closed
        std::function<void(const QString &)> tellProblem; ///< of something that setup is done without
        std::function<void()> quit;
    };
    Actions actions;
};

} // namespace gateway::shell

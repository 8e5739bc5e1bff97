#pragma once

#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "platform/autostart/autostart.h"
#include "wizard/gateway_setup_wizard_view_model.h"

#include <QtCore/QString>
#include <QtCore/QUrl>

#include <functional>

class QWidget;

namespace gateway::account {
class ArchiveSignInViewModel;
class CloudChoice;
class QuorinAuthViewModel;
} // namespace gateway::account

namespace gateway::shell {

class Theme;

/// What the wizard's window works with; all outlive it.
struct WizardParts
{
    const Theme &theme;
    wizard::SetupWizardParts setup;
    account::QuorinAuthViewModel &auth;
    account::ArchiveSignInViewModel *archive = nullptr; ///< null where an account signs in
    account::CloudChoice &cloud;
    account::GatewayQuorinCloudTermsParts terms;
    platform::Autostart &autostart; ///< whether the gateway comes up with the desktop's session

    /// What a person chose; empty when they changed their mind.
    using Chosen = std::function<void(const QString &path)>;

    /// What a person chooses or is led to; each returns at once.
    struct Dialogs
    {
        std::function<void(QWidget *parent, const Chosen &chosen)> chooseFolder;
        std::function<void(QWidget *parent, const QString &suggestedName, const Chosen &chosen)>
            chooseExportFile;
        std::function<void(QWidget *parent, const QString &title, const Chosen &chosen)> chooseFile;

        std::function<void(const QUrl &)> openLink;
    };
    Dialogs dialogs;

    QUrl storePage; ///< of Quorin Lens; empty where the deployment names none

    /// What follows.
    struct Actions
    {
        std::function<void()> completed;  ///< setup is done and the window closed
        std::function<void()> offerTrial; ///< a person has finished it here, behind `completed`
        std::function<void(const QString &)> tellProblem; ///< of something that setup is done without
        std::function<void()> quit;
    };
    Actions actions;
};

} // namespace gateway::shell

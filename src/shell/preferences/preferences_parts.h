#pragma once

#include <QtCore/QString>
#include <QtCore/QUrl>

#include <functional>

class QWidget;

namespace gateway::account {
class AccountViewModel;
class ArchiveSignInViewModel;
class CloudChoice;
class GatewayChangePasswordViewModel;
} // namespace gateway::account

namespace gateway::core {
class Settings;
}

namespace gateway::platform {
class MainExecutor;
class UserDefaults;
} // namespace gateway::platform

namespace gateway::receive {
class DimseListenerViewModel;
}

namespace gateway::wizard {
class ListenerSettingsViewModel;
}

namespace gateway::shell {

class AppearanceChoice;
class Theme;

/// What the preferences work with; all outlive them.
struct PreferencesParts
{
    /// The account, and what can be changed of it.
    struct Account
    {
        account::AccountViewModel &model;
        account::GatewayChangePasswordViewModel &password;
        bool hasProfile = true;                             ///< false for an archive, which keeps none
        account::ArchiveSignInViewModel *archive = nullptr; ///< null where an account signs in
        account::CloudChoice &cloud;
        QUrl storePage; ///< of Quorin Lens; empty where the deployment names none
    };

    /// The listener as it runs, and its settings.
    struct Listener
    {
        receive::DimseListenerViewModel &state;
        wizard::ListenerSettingsViewModel &settings;
    };

    /// What is kept between runs.
    struct Kept
    {
        core::Settings &settings;
        platform::UserDefaults &defaults;
        platform::MainExecutor &main;
    };

    /// What follows; each returns at once.
    struct Actions
    {
        using Chosen = std::function<void(const QString &path)>; ///< empty when the mind was changed

        std::function<void()> openSetupWizard;
        std::function<void(QWidget *parent, const Chosen &chosen)> chooseFolder;
        std::function<void(QWidget *parent, const QString &title, const Chosen &chosen)> chooseFile;
        std::function<void(const QUrl &)> openLink;
        std::function<void()> termsAccepted;
    };

    const Theme &theme;
    AppearanceChoice &appearance;
    Account account;
    Listener listener;
    Kept kept;
    Actions actions;
};

} // namespace gateway::shell

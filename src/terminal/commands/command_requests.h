#pragma once

#include "terminal/commands/command_line.h"
#include "terminal/control/control_protocol.h"

namespace gateway::terminal {

// The commands as they travel over the control socket: how the command line words them, and how the instance
// reads them again. Thread: plain functions.

namespace requests {

inline const QString kActivate = QStringLiteral("activate");
inline const QString kStatus = QStringLiteral("status");
inline const QString kUpload = QStringLiteral("upload");
inline const QString kSignIn = QStringLiteral("sign-in");
inline const QString kSignOut = QStringLiteral("sign-out");
inline const QString kSetup = QStringLiteral("setup");
inline const QString kSettingsList = QStringLiteral("settings-list");
inline const QString kSettingsGet = QStringLiteral("settings-get");
inline const QString kSettingsSet = QStringLiteral("settings-set");
inline const QString kSettingsImport = QStringLiteral("settings-import");
inline const QString kTermsShow = QStringLiteral("terms-show");
inline const QString kTermsAccept = QStringLiteral("terms-accept");
inline const QString kTermsDecline = QStringLiteral("terms-decline");
inline const QString kAccountShow = QStringLiteral("account-show");
inline const QString kAccountSet = QStringLiteral("account-set");
inline const QString kAccountPassword = QStringLiteral("account-password");
inline const QString kReport = QStringLiteral("report");

} // namespace requests

/// \param password  of the account; travels over the socket only.
/// The cloud that a command names by --cloud and --cloud-kind.
struct CloudArguments
{
    std::optional<QString> url;
    std::optional<QString> kind;
};

ControlRequest withCloud(ControlRequest request, const CloudArguments &cloud);
CloudArguments cloudArgumentsIn(const QJsonObject &arguments);

ControlRequest signInRequest(const SignInCommand &command, const QString &password);

/// The folder travels as an absolute path.
ControlRequest setupRequest(const SetupCommand &command);
ControlRequest settingsRequest(const SettingsCommand &command);

/// The command in a setup request.
SetupCommand setupCommandIn(const ControlRequest &setup);

} // namespace gateway::terminal

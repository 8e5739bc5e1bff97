#include "terminal/commands/command_requests.h"

#include "terminal/commands/retention_option.h"

namespace gateway::terminal {

namespace {

const QString kEmail = QStringLiteral("email");
const QString kPassword = QStringLiteral("password");
const QString kAETitle = QStringLiteral("aeTitle");
const QString kPort = QStringLiteral("port");
const QString kIncoming = QStringLiteral("incomingFolder");
const QString kAutoDelete = QStringLiteral("autoDelete");
const QString kBonjour = QStringLiteral("bonjour");
const QString kKey = QStringLiteral("key");
const QString kValue = QStringLiteral("value");

} // namespace

ControlRequest signInRequest(const SignInCommand &command, const QString &password)
{
    return {requests::kSignIn, {{kEmail, command.email}, {kPassword, password}}};
}

ControlRequest setupRequest(const SetupCommand &command)
{
    QJsonObject arguments{{kAETitle, command.aeTitle},
                          {kPort, command.port},
                          {kAutoDelete, command.autoDelete},
                          {kBonjour, command.withBonjour}};
    if (command.incomingFolder) {
        arguments.insert(kIncoming, *command.incomingFolder);
    }
    return {requests::kSetup, arguments};
}

ControlRequest settingsRequest(const SettingsCommand &command)
{
    switch (command.action) {
    case SettingsCommand::Action::list:
        return {requests::kSettingsList, {}};
    case SettingsCommand::Action::get:
        return {requests::kSettingsGet, {{kKey, command.key}}};
    case SettingsCommand::Action::set:
        return {requests::kSettingsSet, {{kKey, command.key}, {kValue, command.value}}};
    }
    return {};
}

std::optional<wizard::SetupDraft> draftIn(const ControlRequest &setup)
{
    const QJsonObject &arguments = setup.arguments;
    const std::optional<RetentionOption> retention =
        parseRetentionOption(arguments.value(kAutoDelete).toString());
    if (!retention) {
        return std::nullopt;
    }
    wizard::SetupDraft draft;
    draft.aeTitle = arguments.value(kAETitle).toString();
    draft.portText = arguments.value(kPort).toString();
    draft.advertiseWithBonjour = arguments.value(kBonjour).toBool(true);
    if (arguments.contains(kIncoming)) {
        draft.destinationFolder = arguments.value(kIncoming).toString();
    }
    draft.autoDeleteMode = retention->mode;
    draft.autoDeleteValueText = retention->valueText;
    return draft;
}

} // namespace gateway::terminal

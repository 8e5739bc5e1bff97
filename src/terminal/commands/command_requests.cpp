#include "terminal/commands/command_requests.h"

#include <QtCore/QDir>

#include <optional>

namespace gateway::terminal {

namespace {

const QString kEmail = QStringLiteral("email");
const QString kPassword = QStringLiteral("password");
const QString kNoAuth = QStringLiteral("noAuth");
const QString kAETitle = QStringLiteral("aeTitle");
const QString kPort = QStringLiteral("port");
const QString kIncoming = QStringLiteral("incomingFolder");
const QString kAutoDelete = QStringLiteral("autoDelete");
const QString kNoBonjour = QStringLiteral("noBonjour");
const QString kKey = QStringLiteral("key");
const QString kValue = QStringLiteral("value");
const QString kSettings = QStringLiteral("settings");

const QString kCloud = QStringLiteral("cloud");
const QString kCloudKind = QStringLiteral("cloudKind");

} // namespace

ControlRequest withCloud(ControlRequest request, const CloudArguments &cloud)
{
    if (cloud.url) {
        request.arguments.insert(kCloud, *cloud.url);
    }
    if (cloud.kind) {
        request.arguments.insert(kCloudKind, *cloud.kind);
    }
    return request;
}

CloudArguments cloudArgumentsIn(const QJsonObject &arguments)
{
    const auto text = [&arguments](const QString &key) {
        return arguments.contains(key) ? std::optional(arguments.value(key).toString()) : std::nullopt;
    };
    return {text(kCloud), text(kCloudKind)};
}

ControlRequest signInRequest(const SignInCommand &command, const QString &password)
{
    return {requests::kSignIn,
            {{kEmail, command.email}, {kPassword, password}, {kNoAuth, command.isWithoutPair}}};
}

ControlRequest setupRequest(const SetupCommand &command)
{
    QJsonObject arguments{
        {kAETitle, command.aeTitle}, {kPort, command.port}, {kNoBonjour, command.withoutBonjour}};
    if (command.incomingFolder) {
        arguments.insert(kIncoming, QDir::current().absoluteFilePath(*command.incomingFolder));
    }
    if (command.autoDelete) {
        arguments.insert(kAutoDelete, *command.autoDelete);
    }
    return {requests::kSetup, arguments};
}

ControlRequest settingsRequest(const SettingsCommand &command)
{
    switch (command.action) {
    case SettingsCommand::Action::list:
    case SettingsCommand::Action::exportFile:
        return {requests::kSettingsList, {}};
    case SettingsCommand::Action::get:
        return {requests::kSettingsGet, {{kKey, command.key}}};
    case SettingsCommand::Action::set:
        return {requests::kSettingsSet, {{kKey, command.key}, {kValue, command.value}}};
    case SettingsCommand::Action::importFile:
        return {requests::kSettingsImport, {{kSettings, command.settings}}};
    }
    return {};
}

SetupCommand setupCommandIn(const ControlRequest &setup)
{
    const QJsonObject &arguments = setup.arguments;
    const auto given = [&arguments](const QString &key) {
        return arguments.contains(key) ? std::optional(arguments.value(key).toString()) : std::nullopt;
    };
    return {arguments.value(kAETitle).toString(),
            arguments.value(kPort).toString(),
            given(kIncoming),
            given(kAutoDelete),
            arguments.value(kNoBonjour).toBool()};
}

} // namespace gateway::terminal

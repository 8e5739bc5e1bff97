#include "terminal/instance/settings_commands.h"

#include "terminal/commands/command_requests.h"

#include <QtCore/QJsonArray>

namespace gateway::terminal {

namespace {

const QString kKey = QStringLiteral("key");
const QString kValue = QStringLiteral("value");

ControlReply unknownKey(const QString &key)
{
    return ControlReply::failure(QStringLiteral("There is no setting named %1.").arg(key), ExitCode::usage);
}

ControlReply list(const SettingsCatalogue &catalogue)
{
    QJsonArray settings;
    for (const SettingsCatalogue::Entry &entry : catalogue.list()) {
        settings.append(
            QJsonObject{{kKey, entry.key}, {kValue, entry.value}, {QStringLiteral("fixed"), entry.isFixed}});
    }
    return ControlReply::success({{QStringLiteral("settings"), settings}});
}

ControlReply get(const SettingsCatalogue &catalogue, const QString &key)
{
    const std::optional<QString> value = catalogue.get(key);
    return value ? ControlReply::success({{kKey, key}, {kValue, *value}}) : unknownKey(key);
}

SettingsAnswer set(SettingsCatalogue &catalogue, const QString &key, const QString &value)
{
    const SettingsCatalogue::Outcome outcome = catalogue.set(key, value);
    if (outcome.isUnknownKey) {
        return {unknownKey(key)};
    }
    if (!outcome.issue.isEmpty()) {
        return {ControlReply::failure(outcome.issue)};
    }
    return {get(catalogue, key), outcome.needsListenerRestart};
}

} // namespace

SettingsAnswer answerSettings(SettingsCatalogue &catalogue, const ControlRequest &request)
{
    const QString key = request.arguments.value(kKey).toString();
    if (request.command == requests::kSettingsList) {
        return {list(catalogue)};
    }
    if (request.command == requests::kSettingsGet) {
        return {get(catalogue, key)};
    }
    return set(catalogue, key, request.arguments.value(kValue).toString());
}

} // namespace gateway::terminal

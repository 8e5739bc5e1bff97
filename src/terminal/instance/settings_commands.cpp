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

SettingsAnswer importAll(SettingsCatalogue &catalogue, const QJsonObject &settings)
{
    QMap<QString, QString> values;
    for (auto each = settings.constBegin(); each != settings.constEnd(); ++each) {
        if (!each.value().isString()) {
            return {ControlReply::failure(
                QStringLiteral("The value of %1 must be a text. Nothing was changed.").arg(each.key()))};
        }
        values.insert(each.key(), each.value().toString());
    }
    const SettingsCatalogue::Changes changes = catalogue.setAll(values);
    if (!changes.issue.isEmpty()) {
        return {ControlReply::failure(changes.issue), changes.needsListenerRestart};
    }
    return {ControlReply::success({{QStringLiteral("changed"), QJsonArray::fromStringList(changes.changed)}}),
            changes.needsListenerRestart};
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
    if (request.command == requests::kSettingsImport) {
        return importAll(catalogue, request.arguments.value(QStringLiteral("settings")).toObject());
    }
    return set(catalogue, key, request.arguments.value(kValue).toString());
}

} // namespace gateway::terminal

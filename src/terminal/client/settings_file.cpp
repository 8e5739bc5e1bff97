#include "terminal/client/settings_file.h"

#include "terminal/client/console.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QSaveFile>
#include <QtCore/QStringList>

namespace gateway::terminal {

namespace {

constexpr qint64 kLargestFile = 1024 * 1024;

const QString kSchema = QStringLiteral("schema");
const QString kSettings = QStringLiteral("settings");

/// The retention policy is told as a whole; its parts by themselves wouldn't be taken in every order.
bool isPartOfAnother(const QString &key)
{
    return key == QStringLiteral("GatewayAutoDeleteMode") || key == QStringLiteral("GatewayAutoDeleteValue");
}

} // namespace

std::optional<QString> writeSettingsFile(const QString &path, const QJsonArray &settings)
{
    QJsonObject kept;
    for (const auto &each : settings) {
        const QString key = each[u"key"].toString();
        const QString value = each[u"value"].toString();
        const bool isHidden = value.startsWith(QStringLiteral("(hidden)"));
        if (!each[u"fixed"].toBool() && !value.isEmpty() && !isHidden && !isPartOfAnother(key)) {
            kept.insert(key, value);
        }
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(QJsonDocument(QJsonObject{{kSchema, kJsonSchema}, {kSettings, kept}}).toJson()) < 0 ||
        !file.commit()) {
        return QStringLiteral("The file %1 can't be written: %2.").arg(path, file.errorString());
    }
    return std::nullopt;
}

SettingsFile readSettingsFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {QStringLiteral("The file %1 can't be read: %2.").arg(path, file.errorString()), {}};
    }
    const QByteArray bytes = file.read(kLargestFile + 1);
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    if (bytes.size() > kLargestFile || !object.value(kSettings).isObject()) {
        return {QStringLiteral("The file %1 holds no settings as `settings export` writes them.").arg(path),
                {}};
    }
    if (object.value(kSchema).toInt() != kJsonSchema) {
        return {QStringLiteral("The file %1 follows a schema that this version doesn't know.").arg(path), {}};
    }
    return {{}, object.value(kSettings).toObject()};
}

QString importedSettingsText(const QJsonObject &result)
{
    QStringList changed;
    for (const auto &key : result.value(QStringLiteral("changed")).toArray()) {
        changed.append(key.toString());
    }
    const QString remark = result.value(QStringLiteral("remark")).toString();
    const QString words = changed.isEmpty()
                              ? QStringLiteral("All settings stood as the file has them.\n")
                              : QStringLiteral("Changed: %1.\n").arg(changed.join(QStringLiteral(", ")));
    return remark.isEmpty() ? words : words + remark + u'\n';
}

} // namespace gateway::terminal

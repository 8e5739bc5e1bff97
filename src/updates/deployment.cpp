#include "updates/deployment.h"

#include "updates/appcast.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace gateway::updates {

namespace {

constexpr qint64 kLargestFile = 64 * 1024;
constexpr qsizetype kKeyBytes = 32;

Deployment unusable(const QString &path, const QString &why)
{
    return {.updates = std::nullopt,
            .problem =
                QStringLiteral("The deployment file %1 %2, so nobody looks for updates.").arg(path, why)};
}

Deployment deploymentIn(const QString &path, const QByteArray &content)
{
    const QJsonDocument document = QJsonDocument::fromJson(content);
    if (!document.isObject()) {
        return unusable(path, QStringLiteral("is no JSON object"));
    }
    const QJsonValue updates = document.object().value(QStringLiteral("updates"));
    if (updates.isUndefined()) {
        return {};
    }
    const UpdateChannel channel{
        .feed = QUrl(updates[QStringLiteral("feed")].toString(), QUrl::StrictMode),
        .publicKey = QByteArray::fromBase64(updates[QStringLiteral("publicKey")].toString().toLatin1())};
    if (!isFetchable(channel.feed)) {
        return unusable(path, QStringLiteral("names no https address as its feed"));
    }
    if (channel.publicKey.size() != kKeyBytes) {
        return unusable(path, QStringLiteral("holds no public key of 32 bytes"));
    }
    return {.updates = channel, .problem = {}};
}

} // namespace

Deployment readDeployment(const QStringList &paths)
{
    for (const QString &path : paths) {
        QFile file(path);
        if (!file.exists()) {
            continue;
        }
        return file.open(QIODevice::ReadOnly) ? deploymentIn(path, file.read(kLargestFile))
                                              : unusable(path, QStringLiteral("can't be read"));
    }
    return {};
}

} // namespace gateway::updates

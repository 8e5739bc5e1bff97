#include "core/deployment.h"

#include "cloud_client/cloud_configuration.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <utility>

namespace gateway::core {

namespace {

constexpr qint64 kLargestFile = 64 * 1024;
constexpr qsizetype kKeyBytes = 32;

bool isPage(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty() && url.userInfo().isEmpty() &&
           (url.scheme() == QStringLiteral("https") || url.scheme() == QStringLiteral("http"));
}

/// One address that a mail can go to, and nothing that a mail program could take for more.
bool isEmailAddress(const QString &text)
{
    const qsizetype at = text.indexOf(u'@');
    const bool isOneWord = std::ranges::none_of(text, [](QChar character) {
        return character.isSpace() || !character.isPrint() || QStringLiteral(",;?&<>\"").contains(character);
    });
    return isOneWord && at > 0 && at == text.lastIndexOf(u'@') && at < text.size() - 1;
}

/// Reads the members of one file. What is wrong with one leaves the others as they are.
class DeploymentReader
{
public:
    explicit DeploymentReader(QString path) : m_path(std::move(path)) {}

    Deployment read(const QByteArray &content)
    {
        const QJsonDocument document = QJsonDocument::fromJson(content);
        if (!document.isObject()) {
            return problem(QStringLiteral("is no JSON object, so it counts for nothing"));
        }
        const QJsonObject members = document.object();
        readUpdates(members.value(QStringLiteral("updates")));
        readStorePage(members.value(QStringLiteral("storePage")));
        readSupportEmail(members.value(QStringLiteral("supportEmail")));
        return m_read;
    }

    Deployment problem(const QString &what)
    {
        m_read.problems.append(QStringLiteral("The deployment file %1 %2.").arg(m_path, what));
        return m_read;
    }

private:
    void readUpdates(const QJsonValue &updates)
    {
        if (updates.isUndefined()) {
            return;
        }
        const UpdateChannel channel{
            .feed = QUrl(updates[QStringLiteral("feed")].toString(), QUrl::StrictMode),
            .publicKey = QByteArray::fromBase64(updates[QStringLiteral("publicKey")].toString().toLatin1())};
        if (!isFetchable(channel.feed)) {
            problem(QStringLiteral("names no https address as its feed, so nobody looks for updates"));
        } else if (channel.publicKey.size() != kKeyBytes) {
            problem(QStringLiteral("holds no public key of 32 bytes, so nobody looks for updates"));
        } else {
            m_read.updates = channel;
        }
    }

    void readStorePage(const QJsonValue &page)
    {
        if (page.isUndefined()) {
            return;
        }
        const QUrl url(page.toString(), QUrl::StrictMode);
        if (isPage(url)) {
            m_read.storePage = url;
        } else {
            problem(QStringLiteral("names no http or https address as its store page"));
        }
    }

    void readSupportEmail(const QJsonValue &email)
    {
        if (email.isUndefined()) {
            return;
        }
        if (isEmailAddress(email.toString())) {
            m_read.supportEmail = email.toString();
        } else {
            problem(QStringLiteral("names no single e-mail address for support"));
        }
    }

    const QString m_path;
    Deployment m_read;
};

} // namespace

QStringList deploymentFiles(const QString &programFolder)
{
    return {QStringLiteral("/etc/quorin-gateway/deployment.json"),
            programFolder + QStringLiteral("/deployment.json")};
}

Deployment readDeployment(const QStringList &paths)
{
    for (const QString &path : paths) {
        QFile file(path);
        if (!file.exists()) {
            continue;
        }
        DeploymentReader reader(path);
        return file.open(QIODevice::ReadOnly) ? reader.read(file.read(kLargestFile))
                                              : reader.problem(QStringLiteral("can't be read"));
    }
    return {};
}

bool isFetchable(const QUrl &url)
{
    const bool isPlain = url.scheme() == QStringLiteral("http") && cloud_client::isLoopbackHost(url.host());
    return url.isValid() && !url.host().isEmpty() && url.userInfo().isEmpty() &&
           (url.scheme() == QStringLiteral("https") || isPlain);
}

} // namespace gateway::core

#include "log/redaction.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QUuid>

#include <sys/stat.h>

namespace gateway::log {

std::optional<QString> hashedIdentifier(const std::optional<QString> &text)
{
    constexpr qsizetype kKeptDigits = 16; // eight bytes tell files apart and give nothing away
    if (!text) {
        return std::nullopt;
    }
    const QString trimmed = text->trimmed();
    if (trimmed.isEmpty()) {
        return std::nullopt;
    }
    const QByteArray digest = QCryptographicHash::hash(trimmed.toUtf8(), QCryptographicHash::Sha256);
    return QString::fromLatin1(digest.first(kKeptDigits / 2).toHex());
}

std::optional<QString> hashedFileURL(const std::optional<QUrl> &url)
{
    if (!url) {
        return std::nullopt;
    }
    return hashedIdentifier(QDir::cleanPath(url->toLocalFile()));
}

std::optional<qint64> fileSizeBytes(const std::optional<QUrl> &url)
{
    if (!url) {
        return std::nullopt;
    }
    struct stat status = {};
    if (::stat(QFile::encodeName(url->toLocalFile()).constData(), &status) != 0) {
        return std::nullopt;
    }
    return status.st_size;
}

GatewayLogError redactedError(const QString &domain, qint64 code, const QString &description)
{
    const std::optional<QString> hash = hashedIdentifier(description);
    return {
        domain, code, QStringLiteral("redacted_message_hash=") + hash.value_or(QStringLiteral("unknown"))};
}

QString newUuidText()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

} // namespace gateway::log

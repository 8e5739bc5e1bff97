#include "log/writing/redaction.h"

#include "platform/files/files.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QRandomGenerator>
#include <QtCore/QUuid>

#include <array>
#include <cstring>

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
    return hashedIdentifier(platform::standardizedPath(url->toLocalFile()));
}

std::optional<qint64> fileSizeBytes(const std::optional<QUrl> &url)
{
    if (!url) {
        return std::nullopt;
    }
    return platform::fileSizeBytes(url->toLocalFile());
}

GatewayLogError redactedError(const QString &domain, qint64 code, const QString &description)
{
    const std::optional<QString> hash = hashedIdentifier(description);
    return {
        domain, code, QStringLiteral("redacted_message_hash=") + hash.value_or(QStringLiteral("unknown"))};
}

QString newUuidText()
{
    // One generator a thread, seeded by the system: asking the system for each event would cost more than
    // the rest of the event. An event id must be unique, not secret.
    thread_local QRandomGenerator random = QRandomGenerator::securelySeeded();
    std::array<quint32, 4> words = {};
    random.fillRange(words.data(), static_cast<qsizetype>(words.size()));
    std::array<char, 16> bytes = {};
    std::memcpy(bytes.data(), words.data(), bytes.size());
    bytes[6] = static_cast<char>((bytes[6] & 0x0F) | 0x40); // RFC 4122, version 4: random
    bytes[8] = static_cast<char>((bytes[8] & 0x3F) | 0x80);
    const auto uuid = QUuid::fromRfc4122(QByteArrayView(bytes.data(), bytes.size()));
    return uuid.toString(QUuid::WithoutBraces).toUpper();
}

} // namespace gateway::log

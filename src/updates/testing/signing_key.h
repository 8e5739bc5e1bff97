#pragma once

#include "updates/appcast.h"

#include <openssl/evp.h>

#include <QtCore/QByteArray>
#include <QtCore/QCryptographicHash>

#include <memory>

namespace gateway::updates::testing {

/// A fresh Ed25519 key pair. Thread: any.
class SigningKey
{
public:
    SigningKey() : m_key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"), EVP_PKEY_free) {}

    QByteArray publicKey() const
    {
        QByteArray raw(32, '\0');
        std::size_t size = 32;
        EVP_PKEY_get_raw_public_key(m_key.get(), reinterpret_cast<unsigned char *>(raw.data()), &size);
        return raw;
    }

    QByteArray sign(const QByteArray &message) const
    {
        QByteArray signature(64, '\0');
        std::size_t size = 64;
        const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                              EVP_MD_CTX_free);
        EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, m_key.get());
        EVP_DigestSign(context.get(),
                       reinterpret_cast<unsigned char *>(signature.data()),
                       &size,
                       reinterpret_cast<const unsigned char *>(message.constData()),
                       static_cast<std::size_t>(message.size()));
        return signature;
    }

    AppcastItem signedItem(AppcastItem item) const
    {
        item.signature = sign(signedText(item));
        return item;
    }

private:
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> m_key;
};

/// A whole item for a package, without a signature.
inline AppcastItem itemFor(const QByteArray &package, const QString &version = QStringLiteral("2.0"))
{
    return {.kind = PackageKind::appImage,
            .architecture = QStringLiteral("x86_64"),
            .versionString = version,
            .displayVersionString = QStringLiteral("2.0 (Winter)"),
            .notes = QStringLiteral("Faster.\nSafer."),
            .url = QUrl(QStringLiteral("https://updates.example/gateway.AppImage")),
            .length = package.size(),
            .sha256 = QCryptographicHash::hash(package, QCryptographicHash::Sha256),
            .signature = QByteArray(64, 's')};
}

} // namespace gateway::updates::testing

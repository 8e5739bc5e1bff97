#include "cloud_client/signing_key.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QUuid>

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cstddef>

namespace gateway::cloud_client {

namespace {

constexpr int kLeastRsaBits = 2048;
constexpr int kCoordinateBytes = 32; // of P-256
constexpr qint64 kGoodForSeconds = 60;

EVP_PKEY *keyIn(const std::shared_ptr<void> &holder)
{
    return static_cast<EVP_PKEY *>(holder.get());
}

/// Gives no passphrase, where OpenSSL would ask at the terminal.
int noPassphrase(char *, int, int, void *)
{
    return -1;
}

bool isP256(EVP_PKEY *key)
{
    char name[64] = {};
    std::size_t length = 0;
    return EVP_PKEY_get_group_name(key, name, sizeof name, &length) == 1 &&
           QByteArray(name) == QByteArray(SN_X9_62_prime256v1);
}

/// r and s side by side (RFC 7518 3.4), where OpenSSL gives them in DER.
QByteArray plainSignature(const QByteArray &der)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(der.constData());
    ECDSA_SIG *parsed = d2i_ECDSA_SIG(nullptr, &bytes, static_cast<long>(der.size()));
    if (parsed == nullptr) {
        return {};
    }
    QByteArray plain(2 * kCoordinateBytes, '\0');
    auto *out = reinterpret_cast<unsigned char *>(plain.data());
    BN_bn2binpad(ECDSA_SIG_get0_r(parsed), out, kCoordinateBytes);
    BN_bn2binpad(ECDSA_SIG_get0_s(parsed), out + kCoordinateBytes, kCoordinateBytes);
    ECDSA_SIG_free(parsed);
    return plain;
}

QByteArray inUrlForm(const QByteArray &bytes)
{
    return bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QByteArray segment(const QJsonObject &object)
{
    return inUrlForm(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

} // namespace

std::optional<SigningKey> SigningKey::read(const QByteArray &pem)
{
    const std::unique_ptr<BIO, int (*)(BIO *)> source(
        BIO_new_mem_buf(pem.constData(), static_cast<int>(pem.size())), BIO_free);
    EVP_PKEY *key = source ? PEM_read_bio_PrivateKey(source.get(), nullptr, noPassphrase, nullptr) : nullptr;
    const std::shared_ptr<void> holder(key, [](void *held) { EVP_PKEY_free(static_cast<EVP_PKEY *>(held)); });
    const bool isUsable =
        key != nullptr && ((EVP_PKEY_is_a(key, "RSA") == 1 && EVP_PKEY_get_bits(key) >= kLeastRsaBits) ||
                           (EVP_PKEY_is_a(key, "EC") == 1 && isP256(key)));
    return isUsable ? std::optional(SigningKey(holder)) : std::nullopt;
}

QByteArray SigningKey::algorithm() const
{
    return EVP_PKEY_is_a(keyIn(m_key), "RSA") == 1 ? "RS256" : "ES256";
}

QByteArray SigningKey::sign(const QByteArray &message) const
{
    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX *)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    const auto *bytes = reinterpret_cast<const unsigned char *>(message.constData());
    const auto size = static_cast<std::size_t>(message.size());
    std::size_t length = 0;
    if (!context || EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, keyIn(m_key)) != 1 ||
        EVP_DigestSign(context.get(), nullptr, &length, bytes, size) != 1) {
        return {};
    }
    QByteArray signature(static_cast<qsizetype>(length), '\0');
    if (EVP_DigestSign(
            context.get(), reinterpret_cast<unsigned char *>(signature.data()), &length, bytes, size) != 1) {
        return {};
    }
    signature.truncate(static_cast<qsizetype>(length));
    return algorithm() == "ES256" ? plainSignature(signature) : signature;
}

QByteArray
clientAssertion(const SigningKey &key, const QString &clientId, const QString &audience, const QDateTime &now)
{
    const qint64 issuedAt = now.toSecsSinceEpoch();
    const QJsonObject header{{QStringLiteral("alg"), QString::fromLatin1(key.algorithm())},
                             {QStringLiteral("typ"), QStringLiteral("JWT")}};
    const QJsonObject claims{{QStringLiteral("iss"), clientId},
                             {QStringLiteral("sub"), clientId},
                             {QStringLiteral("aud"), audience},
                             {QStringLiteral("jti"), QUuid::createUuid().toString(QUuid::WithoutBraces)},
                             {QStringLiteral("iat"), issuedAt},
                             {QStringLiteral("exp"), issuedAt + kGoodForSeconds}};
    const QByteArray message = segment(header) + '.' + segment(claims);
    return message + '.' + inUrlForm(key.sign(message));
}

} // namespace gateway::cloud_client

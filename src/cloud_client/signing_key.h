#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <memory>
#include <optional>

namespace gateway::cloud_client {

/// A private key that signs statements about its holder.
///
/// Thread: a value, any.
class SigningKey
{
public:
    /// \param pem  a private key without a passphrase, RSA of 2048 bits or more, or of the curve P-256.
    /// \return nothing for anything else.
    static std::optional<SigningKey> read(const QByteArray &pem);

    /// The algorithm's name in a JSON Web Signature (RFC 7518 3.1): "RS256" or "ES256".
    QByteArray algorithm() const;

    /// The signature in the form that a JSON Web Signature has it; empty when there is no memory for it.
    QByteArray sign(const QByteArray &message) const;

private:
    explicit SigningKey(std::shared_ptr<void> key) : m_key(std::move(key)) {}

    std::shared_ptr<void> m_key; // OpenSSL's
};

/// The statement by which a client shows a token endpoint who it is (RFC 7523 3), signed: good for a minute,
/// and like no other.
///
/// \param audience  the address of the token endpoint.
QByteArray clientAssertion(const SigningKey &key,
                           const QString &clientId,
                           const QString &audience,
                           const QDateTime &now);

} // namespace gateway::cloud_client

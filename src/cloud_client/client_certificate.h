#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <optional>

namespace gateway::cloud_client {

/// A certificate by which this gateway is known on the TLS connection itself, in PEM; empty for none.
///
/// Thread: a value, any.
struct ClientCertificate
{
    QByteArray chain; ///< its own first, then those that lead to the authority
    QByteArray key;   ///< without a passphrase: what keeps the session keeps it

    bool isEmpty() const { return chain.isEmpty() && key.isEmpty(); }
    bool operator==(const ClientCertificate &) const = default;
};

/// What a certificate says of itself, for people.
struct CertificateFacts
{
    QString name;     ///< of its holder
    QString issuer;   ///< the name of who signed it
    QString holder;   ///< all that names its holder (RFC 5280 4.1.2.6, 4.2.1.6), the same when it is renewed
    QString issuedBy; ///< likewise of who signed it
    QDateTime notBefore; ///< UTC, as the next
    QDateTime notAfter;
};

/// What the first of these certificates, in PEM, says; nothing where it can't be read.
std::optional<CertificateFacts> factsOf(const QByteArray &chain);

/// Why no server will take the certificate, in one sentence; nothing where it can be tried, and for none.
std::optional<QString> issueWith(const ClientCertificate &certificate, const QDateTime &now);

} // namespace gateway::cloud_client

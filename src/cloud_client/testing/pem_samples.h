#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>

namespace gateway::cloud_client::testing {

/// A key and a certificate that it signed, in PEM.
struct PemSample
{
    QByteArray certificate;
    QByteArray key;
};

/// \param bits    of an RSA key; 0 for a key of the curve P-256.
/// \param holder  may be empty.
/// \param alternative  other names of the holder, as OpenSSL's configuration writes them, such as "DNS:a".
/// \param issuer  whom the certificate names as its signer; its holder where that is empty.
PemSample makePemSample(const QDateTime &notBefore,
                        const QDateTime &notAfter,
                        int bits = 0,
                        const QByteArray &holder = "gateway one",
                        const QByteArray &issuer = {},
                        const QByteArray &alternative = {});

/// Whether the last part of a JSON Web Signature was made by this key.
bool isSignedBy(const QByteArray &key, const QByteArray &webSignature);

} // namespace gateway::cloud_client::testing

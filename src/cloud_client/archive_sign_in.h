#pragma once

#include "cloud_client/archive_extras.h"
#include "cloud_client/client_certificate.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::cloud_client {

/// A client of an OAuth 2.0 service that gives out access tokens (RFC 6749).
struct OAuthClient
{
    /// How the secret goes to the token endpoint.
    enum class SecretIn
    {
        header,     ///< HTTP Basic (RFC 6749 2.3.1)
        body,       ///< beside the other parameters
        assertion,  ///< it stays here: a private key that signs a statement (RFC 7523)
        certificate ///< there is none: the client certificate says who this is (RFC 8705 2)
    };

    QString issuer; ///< whose published configuration names the token endpoint; empty where that is given
    QString tokenEndpoint;       ///< empty where the issuer names it
    QString deviceEndpoint = {}; ///< where codes are given out (RFC 8628); likewise
    QString id;
    QString scope;    ///< words, by blanks; may be empty
    QString audience; ///< may be empty
    SecretIn secretIn = SecretIn::header;

    bool operator==(const OAuthClient &) const = default;
};

/// How this gateway signs in at a plain DICOMweb archive. What is secret and where it may go stand together:
/// no changed setting sends a secret elsewhere.
///
/// Thread: a value, any.
struct ArchiveSignIn
{
    enum class Method
    {
        none,              ///< the archive wants nothing, or the client certificate says it all
        basic,             ///< HTTP Basic (RFC 7617)
        bearer,            ///< a token that doesn't change (RFC 6750)
        tokenFile,         ///< a token that somebody else keeps in a file, and changes there
        clientCredentials, ///< access tokens, fetched by a client id and a secret (RFC 6749 4.4)
        device, ///< access tokens, on the word of a person who has entered a code elsewhere (RFC 8628)
        unknown ///< a kept session that this version can't read; nothing goes out by it
    };

    Method method = Method::none;
    QString userName;  ///< of `basic`
    QString secret;    ///< the password, the token, the client's secret or its key in PEM
    QString holder;    ///< of `device`: who has let this gateway in, in no words of theirs
    QString tokenFile; ///< an absolute path
    OAuthClient client;
    ClientCertificate certificate;
    ArchiveExtras extras;

    bool operator==(const ArchiveSignIn &) const = default;
};

/// The name of a method where people give or read it, such as "oauth2".
QString methodName(ArchiveSignIn::Method method);

/// The session of an archive without sign-in, that of an empty pair. It is never sent.
inline constexpr auto kNoPairSession = "Og==";

/// The text that a session with an archive is kept as. A pair alone is what Basic encodes it to.
QString sessionText(const ArchiveSignIn &signIn);

/// Adds what stands beside the method and stays when another one takes its place: the certificate, and each
/// of the extras that the sign-in doesn't bring itself.
void keepBesides(ArchiveSignIn &signIn, const ArchiveSignIn &before);

/// What such a text says; one of an unknown method where it can't be read.
ArchiveSignIn archiveSignIn(const QString &sessionText);

/// Why nobody can sign in so, in one sentence; nothing where it can be tried.
std::optional<QString> issueWith(const ArchiveSignIn &signIn);

/// Names whom the archive knows this session as, as far as that can be told without it: a user, a client of
/// one service of tokens, whoever a token or a certificate was made out to; empty for nobody in particular.
/// It outlives a change of a password or a client's secret, a token that is fetched anew, and a certificate
/// that is renewed for the same holder. It tells nothing secret.
QString accountName(const QString &sessionText);

/// Names whom a token was made out to (RFC 7519 4.1.1, 4.1.2), in no words of theirs; empty where it doesn't
/// say.
QString holderOf(const QString &token);

/// The words for "signed in as".
QString signInLabel(const ArchiveSignIn &signIn);

/// True for a text that a header can carry as a token (RFC 6750 2.1 allows even fewer characters), and that
/// servers take.
bool canBeToken(const QString &text);

} // namespace gateway::cloud_client

#pragma once

#include "cloud_client/archive_authorizer.h"
#include "cloud_client/archive_sign_in.h"
#include "cloud_client/http_message.h"
#include "platform/concurrency/mutex.h"

#include <QtCore/QList>
#include <QtCore/QUrl>
#include <QtCore/QVariantMap>

#include <utility>

namespace gateway::cloud_client {

class AFError;
class HttpTransport;

/// The members of a form that is posted; empty ones are left out.
using OAuthForm = QList<std::pair<QByteArray, QString>>;

/// What a service gives out at once (RFC 6749 5.1). Thread: a value, any.
struct OAuthTokens
{
    AccessToken access;
    QString refresh;  ///< by which the next ones are had; may be empty
    QString identity; ///< says whom they were made out to (OpenID Connect Core 3.1.3.3); may be empty
};

/// A service of OAuth 2.0, as one client of it speaks to it.
///
/// A secret goes to the service's own addresses only, never to the archive; and over plain http only to this
/// machine, unless that was allowed. A client certificate is shown there as it is to the archive.
///
/// Owner: whoever wants tokens. Thread: any, several at a time; calls block.
class OAuthService
{
public:
    enum class Endpoint
    {
        token,
        deviceAuthorization, ///< RFC 8628 3.1
        revocation           ///< RFC 7009 2; known where the issuer's configuration names it alone
    };

    struct Collaborators
    {
        HttpTransport &transport; ///< outlives this, as the clock does
        platform::Clock &clock;   ///< whose time a signed statement names
        std::chrono::seconds timeout;
        bool allowPlainHttp = false;
    };

    OAuthService(const Collaborators &collaborators, ArchiveSignIn signIn)
        : m_collaborators(collaborators), m_signIn(std::move(signIn))
    {
    }

    const ArchiveSignIn &signIn() const { return m_signIn; }

    /// Posts a form, and with it what shows who this client is. The answer is a success or a refusal.
    ///
    /// \throws AFError  without a response code and with NoAnswer::signInUnavailable, when none came.
    HttpResponse post(Endpoint endpoint, const OAuthForm &form);

    /// What an issuer has published may be another address by now: it is asked anew the next time.
    void forgetAddresses();

    /// The word for which a request was refused (RFC 6749 5.2). \throws AFError  as `post`, when there is
    /// none.
    static QString refusalIn(const HttpResponse &response);

    /// Throws what it means that this client's request was refused for such a word.
    [[noreturn]] void throwRefusal(const HttpResponse &response, const QString &code) const;

    /// The answer's record, and the tokens in it. \throws AFError  as `post`, when there are none.
    static QVariantMap recordIn(const HttpResponse &response);
    static OAuthTokens tokensIn(const HttpResponse &response);

    /// The error of a sign-in that can't be had at this moment.
    static AFError away(const QString &sentence, int code = 0);

private:
    QString addressOf(Endpoint endpoint);
    QVariantMap configuration();
    QVariantMap discover() const;
    HttpResponse send(HttpRequest request) const;
    HttpRequest requestFor(const QString &endpoint, OAuthForm form) const;
    OAuthForm assertion(const QString &endpoint) const;
    void needReachable(const QUrl &url) const;

    const Collaborators m_collaborators;
    const ArchiveSignIn m_signIn;
    platform::Mutex m_mutex;
    QVariantMap m_configuration QUORIN_GUARDED_BY(m_mutex); // that the issuer publishes, once it is known
};

} // namespace gateway::cloud_client

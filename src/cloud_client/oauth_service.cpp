#include "cloud_client/oauth_service.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/http_transport.h"
#include "cloud_client/network_json.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/signing_key.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>

#include <algorithm>
#include <cstdlib>

namespace gateway::cloud_client {

namespace {

using SecretIn = OAuthClient::SecretIn;

constexpr qint64 kLargestAnswer = 256 << 10;

// From here on a signed statement is likely to be refused for its time.
constexpr qint64 kNoticeableSeconds = 30;

/// What is told of a service that may have said how long to leave it alone.
AFError busy(const QString &sentence, const HttpResponse &response)
{
    AFError error = OAuthService::away(sentence, response.status);
    error.retryAfter = response.retryAfter;
    return error;
}

/// What it means that no answer came from where tokens are given out.
QString sentenceOn(const AFError &error, const QString &host)
{
    switch (error.noAnswer) {
    case NoAnswer::notSecure: // whose certificate, and what is wrong with it
        return QCoreApplication::translate("CloudClient", "The sign-in service can't be asked safely: %1")
            .arg(error.localizedDescription);
    case NoAnswer::addressNotFound:
        return QCoreApplication::translate("CloudClient",
                                           "The sign-in service %1 could not be found by its name.")
            .arg(host);
    case NoAnswer::timedOut:
        return QCoreApplication::translate("CloudClient", "The sign-in service at %1 did not answer in time.")
            .arg(host);
    case NoAnswer::proxyRefused:
        return QCoreApplication::translate(
                   "CloudClient",
                   "The web proxy on the way to the sign-in service at %1 refused the connection.")
            .arg(host);
    case NoAnswer::unusableAnswer:
        return QCoreApplication::translate("CloudClient",
                                           "What the sign-in service at %1 answered can't be read.")
            .arg(host);
    case NoAnswer::notReachable:
    case NoAnswer::connectionLost:
    case NoAnswer::otherReason:
    case NoAnswer::badAddress:
    case NoAnswer::signInUnavailable:
    case NoAnswer::sessionOver:
    case NoAnswer::notAsked:
    case NoAnswer::unusableFile:
    case NoAnswer::answerNotKept:
        break;
    }
    return QCoreApplication::translate("CloudClient", "The sign-in service at %1 can't be reached.")
        .arg(host);
}

/// In the form of RFC 6749 appendix B.
QByteArray formEncoded(const QString &text)
{
    return QUrl::toPercentEncoding(text, " ").replace(' ', '+');
}

QByteArray encoded(const OAuthForm &form)
{
    QByteArray body;
    for (const auto &[name, value] : form) {
        if (!value.isEmpty()) {
            body += (body.isEmpty() ? "" : "&") + name + '=' + formEncoded(value);
        }
    }
    return body;
}

bool isSameIssuer(QString one, QString other)
{
    const auto withoutSlash = [](QString &text) {
        while (text.endsWith(u'/')) {
            text.chop(1);
        }
        return text;
    };
    return withoutSlash(one) == withoutSlash(other);
}

/// Where an issuer publishes its configuration: OpenID Connect Discovery 4, then RFC 8414 3.
QStringList configurationAddresses(const QString &issuer)
{
    QUrl url(issuer);
    QString path = url.path();
    while (path.endsWith(u'/')) {
        path.chop(1);
    }
    url.setPath(path + QStringLiteral("/.well-known/openid-configuration"));
    const QString openId = url.toString(QUrl::FullyEncoded);
    url.setPath(QStringLiteral("/.well-known/oauth-authorization-server") + path);
    return {openId, url.toString(QUrl::FullyEncoded)};
}

/// A refusal's sentence by its error code (RFC 6749 5.2).
QString sentenceOnRefusal(const QString &code, const ArchiveSignIn &signIn)
{
    if (code == QStringLiteral("invalid_client")) {
        return signIn.client.secretIn == SecretIn::certificate
                   ? QCoreApplication::translate(
                         "CloudClient", "The sign-in service at %1 refused the client id or its certificate.")
                   : QCoreApplication::translate(
                         "CloudClient", "The sign-in service at %1 refused the client id or its secret.");
    }
    if (code == QStringLiteral("unauthorized_client") || code == QStringLiteral("unsupported_grant_type")) {
        return signIn.method == ArchiveSignIn::Method::device
                   ? QCoreApplication::translate(
                         "CloudClient",
                         "The sign-in service at %1 does not let this client sign in by a code; it "
                         "needs the grants device_code and refresh_token.")
                   : QCoreApplication::translate(
                         "CloudClient",
                         "The sign-in service at %1 does not let this client sign in by itself; it "
                         "needs the grant client_credentials.");
    }
    if (code == QStringLiteral("invalid_scope")) {
        return QCoreApplication::translate(
            "CloudClient", "The sign-in service at %1 does not give this client the scope that it asks for.");
    }
    if (code == QStringLiteral("invalid_target")) {
        return QCoreApplication::translate(
            "CloudClient", "The sign-in service at %1 does not know the audience that is asked for.");
    }
    return QCoreApplication::translate("CloudClient",
                                       "The sign-in service at %1 refused the request for a token.");
}

/// The member of an issuer's configuration that names an address.
QString memberOf(OAuthService::Endpoint endpoint)
{
    switch (endpoint) {
    case OAuthService::Endpoint::token:
        return QStringLiteral("token_endpoint");
    case OAuthService::Endpoint::deviceAuthorization:
        return QStringLiteral("device_authorization_endpoint");
    case OAuthService::Endpoint::revocation:
        return QStringLiteral("revocation_endpoint");
    }
    return {};
}

/// What can't be done where no address is named for it.
QString whatIsDoneAt(OAuthService::Endpoint endpoint)
{
    switch (endpoint) {
    case OAuthService::Endpoint::token:
        return QCoreApplication::translate("CloudClient", "address where tokens are given out");
    case OAuthService::Endpoint::deviceAuthorization:
        return QCoreApplication::translate("CloudClient", "address where codes for a sign-in are given out");
    case OAuthService::Endpoint::revocation:
        return QCoreApplication::translate("CloudClient", "address where tokens are taken back");
    }
    return {};
}

/// The address that the sign-in itself names; empty where the issuer's configuration tells.
QString addressNamedBy(const OAuthClient &client, OAuthService::Endpoint endpoint)
{
    switch (endpoint) {
    case OAuthService::Endpoint::token:
        return client.tokenEndpoint;
    case OAuthService::Endpoint::deviceAuthorization:
        return client.deviceEndpoint;
    case OAuthService::Endpoint::revocation:
        break;
    }
    return {};
}

/// Where clients that show a certificate go instead, where that is elsewhere (RFC 8705 5).
QString addressIn(const QVariantMap &configuration, const QString &member, bool hasCertificate)
{
    const QString alias =
        configuration.value(QStringLiteral("mtls_endpoint_aliases")).toMap().value(member).toString();
    return hasCertificate && !alias.isEmpty() ? alias : configuration.value(member).toString();
}

} // namespace

AFError OAuthService::away(const QString &sentence, int code)
{
    return AFError(sentence, std::nullopt, code, NoAnswer::signInUnavailable);
}

QVariantMap OAuthService::recordIn(const HttpResponse &response)
{
    const QVariant body = parseNetworkJson(response.body).value_or(QVariant());
    if (body.typeId() == QMetaType::QVariantMap) {
        return body.toMap();
    }
    const bool isPage = response.contentType == "text/html";
    throw away(isPage ? QCoreApplication::translate(
                            "CloudClient",
                            "A web page came from %1 (status %2) in place of a token; the address may "
                            "be wrong, or this network asks for a sign-in of its own.")
                            .arg(response.host)
                            .arg(response.status)
                      : QCoreApplication::translate(
                            "CloudClient", "What the sign-in service at %1 answered (status %2) is no token.")
                            .arg(response.host)
                            .arg(response.status),
               response.status);
}

HttpResponse OAuthService::post(Endpoint endpoint, const OAuthForm &form)
{
    try {
        return send(requestFor(addressOf(endpoint), form));
    } catch (const QuorinError &) {
        forgetAddresses();
        throw;
    }
}

void OAuthService::forgetAddresses()
{
    const platform::MutexLock lock(m_mutex);
    m_configuration.clear();
}

QString OAuthService::addressOf(Endpoint endpoint)
{
    const OAuthClient &client = m_signIn.client;
    if (QString named = addressNamedBy(client, endpoint); !named.isEmpty()) {
        return named;
    }
    const QString address = addressIn(configuration(), memberOf(endpoint), !m_signIn.certificate.isEmpty());
    if (address.isEmpty()) {
        throw away(
            QCoreApplication::translate("CloudClient", "The configuration that %1 publishes names no %2.")
                .arg(QUrl(client.issuer).host(), whatIsDoneAt(endpoint)));
    }
    return address;
}

QVariantMap OAuthService::configuration()
{
    {
        const platform::MutexLock lock(m_mutex);
        if (!m_configuration.isEmpty()) {
            return m_configuration;
        }
    }
    QVariantMap found = discover();
    const platform::MutexLock lock(m_mutex);
    m_configuration = found;
    return found;
}

QVariantMap OAuthService::discover() const
{
    const QString issuer = m_signIn.client.issuer;
    HttpResponse response;
    for (const QString &address : configurationAddresses(issuer)) {
        HttpRequest request;
        request.url = address.toLatin1();
        request.headers = {{"Accept", "application/json"}};
        response = send(request);
        if (response.isSuccess()) {
            break;
        }
    }
    if (!response.isSuccess()) {
        throw away(QCoreApplication::translate(
                       "CloudClient",
                       "The issuer at %1 publishes no configuration (status %2); name its token endpoint "
                       "in its place.")
                       .arg(response.host)
                       .arg(response.status),
                   response.status);
    }
    QVariantMap record = recordIn(response);
    // What another issuer publishes could send the secret anywhere (RFC 8414 3.3).
    if (!isSameIssuer(record.value(QStringLiteral("issuer")).toString(), issuer)) {
        throw away(QCoreApplication::translate(
                       "CloudClient",
                       "The configuration that %1 publishes is not that of the issuer that was named.")
                       .arg(response.host));
    }
    return record;
}

void OAuthService::needReachable(const QUrl &url) const
{
    const bool isPlain = url.scheme() != QStringLiteral("https");
    if (!url.isValid() || url.host().isEmpty() ||
        (isPlain && !isLoopbackHost(url.host()) && !m_collaborators.allowPlainHttp)) {
        throw away(QCoreApplication::translate(
                       "CloudClient", "The sign-in service must have an https address, and %1 is none.")
                       .arg(url.toString(QUrl::RemoveUserInfo | QUrl::RemoveQuery)));
    }
}

HttpResponse OAuthService::send(HttpRequest request) const
{
    const QUrl url = QUrl::fromEncoded(request.url, QUrl::StrictMode);
    needReachable(url);
    request.answerLimit = kLargestAnswer;
    request.total = m_collaborators.timeout;
    request.certificate = m_signIn.certificate;
    HttpResponse response;
    try {
        response = m_collaborators.transport.perform(request);
    } catch (const AFError &error) {
        throw away(sentenceOn(error, url.host()), error.code);
    }
    if (isCertificateRefused(response)) {
        throw away(QCoreApplication::translate(
                       "CloudClient",
                       "The sign-in service at %1 did not accept the client certificate of this "
                       "gateway, or wants one.")
                       .arg(url.host()),
                   response.status);
    }
    if (response.status >= 500 || response.status == 429 || response.status == 408) {
        throw busy(QCoreApplication::translate(
                       "CloudClient", "The sign-in service at %1 can't give a token now (status %2).")
                       .arg(url.host())
                       .arg(response.status),
                   response);
    }
    return response;
}

/// With what shows who this client is: a secret, or a statement that it signs; else its name alone, which a
/// certificate may prove.
HttpRequest OAuthService::requestFor(const QString &endpoint, OAuthForm form) const
{
    const OAuthClient &client = m_signIn.client;
    HttpRequest request;
    request.method = "POST";
    request.url = QUrl(endpoint, QUrl::StrictMode).toEncoded();
    request.headers = {{"Accept", "application/json"}, {"Content-Type", "application/x-www-form-urlencoded"}};
    const bool isInHeader = client.secretIn == SecretIn::header && !m_signIn.secret.isEmpty();
    if (isInHeader) {
        request.headers.append(
            {"Authorization",
             "Basic " + (formEncoded(client.id) + ':' + formEncoded(m_signIn.secret)).toBase64()});
    } else {
        form.append({"client_id", client.id});
    }
    if (client.secretIn == SecretIn::body) {
        form.append({"client_secret", m_signIn.secret});
    }
    if (client.secretIn == SecretIn::assertion) {
        form += assertion(endpoint);
    }
    request.body = encoded(form);
    return request;
}

/// RFC 7523 2.2.
OAuthForm OAuthService::assertion(const QString &endpoint) const
{
    const std::optional<SigningKey> key = SigningKey::read(m_signIn.secret.toUtf8());
    if (!key) {
        return {};
    }
    return {
        {"client_assertion_type", QStringLiteral("urn:ietf:params:oauth:client-assertion-type:jwt-bearer")},
        {"client_assertion",
         QString::fromLatin1(
             clientAssertion(*key, m_signIn.client.id, endpoint, m_collaborators.clock.now()))}};
}

QString OAuthService::refusalIn(const HttpResponse &response)
{
    const bool isRefusal = response.status == 400 || response.status == 401 || response.status == 403;
    if (!isRefusal) {
        throw away(QCoreApplication::translate(
                       "CloudClient", "Nothing at %1 gives out tokens (status %2); the address may be wrong.")
                       .arg(response.host)
                       .arg(response.status),
                   response.status);
    }
    const QString code = recordIn(response).value(QStringLiteral("error")).toString();
    if (code.isEmpty()) {
        throw away(QCoreApplication::translate(
                       "CloudClient",
                       "What refuses tokens at %1 (status %2) doesn't say why, as a sign-in service "
                       "would.")
                       .arg(response.host)
                       .arg(response.status),
                   response.status);
    }
    return code;
}

/// By RFC 6749 5.2.
void OAuthService::throwRefusal(const HttpResponse &response, const QString &code) const
{
    QString sentence = sentenceOnRefusal(code, m_signIn).arg(response.host);
    const qint64 seconds = response.date ? std::abs(response.date->secsTo(m_collaborators.clock.now())) : 0;
    if (m_signIn.client.secretIn == SecretIn::assertion && seconds >= kNoticeableSeconds) {
        sentence = QCoreApplication::translate(
                       "CloudClient",
                       "The sign-in service at %1 refused the signed statement; the clock of this "
                       "computer differs from its own by %2 seconds.")
                       .arg(response.host)
                       .arg(seconds);
    }
    throw QrnErrorResponse(QrnErrorKind::credentialsRefused, sentence, response.status);
}

OAuthTokens OAuthService::tokensIn(const HttpResponse &response)
{
    const QVariantMap record = recordIn(response);
    const auto text = [&record](const char *member) {
        return record.value(QLatin1StringView(member)).toString();
    };
    const QString type = record.value(QStringLiteral("token_type"), QStringLiteral("Bearer")).toString();
    if (!canBeToken(text("access_token")) ||
        type.compare(QStringLiteral("Bearer"), Qt::CaseInsensitive) != 0) {
        throw away(QCoreApplication::translate(
                       "CloudClient", "The sign-in service at %1 gave no token that a request can carry.")
                       .arg(response.host));
    }
    OAuthTokens tokens{.access = {text("access_token").toLatin1()},
                       .refresh = text("refresh_token"),
                       .identity = text("id_token")};
    bool isNumber = false;
    const qlonglong seconds = record.value(QStringLiteral("expires_in")).toLongLong(&isNumber);
    if (isNumber && seconds > 0) {
        constexpr qlonglong kLongest = 10 * 365 * 24 * 3600LL; // counted in nanoseconds, more would overflow
        tokens.access.lifetime = std::chrono::seconds(std::min(seconds, kLongest));
    }
    return tokens;
}

} // namespace gateway::cloud_client

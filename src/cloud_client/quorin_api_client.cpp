#include "cloud_client/quorin_api_client.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/archive_authorizer.h"
#include "cloud_client/archive_sign_in.h"
#include "cloud_client/network_json.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/token_service.h"

#include <QtCore/QJsonDocument>

#include <algorithm>
#include <utility>

namespace gateway::cloud_client {

namespace {

bool isHeaderSafe(const QByteArray &value)
{
    return std::none_of(value.begin(), value.end(), [](char letter) {
        return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f;
    });
}

bool isObject(const QByteArray &body)
{
    const std::optional<QVariant> read = parseNetworkJson(body);
    return read && read->typeId() == QMetaType::QVariantMap;
}

void addHeader(HttpRequest &request, const QByteArray &name, const QByteArray &value)
{
    if (!value.isEmpty() && isHeaderSafe(value)) {
        request.headers.append({name, value});
    }
}

std::optional<ArchiveAuthorizer::Refusal> refusalBy(int status)
{
    switch (status) {
    case 401:
        return ArchiveAuthorizer::Refusal::signInWanted;
    case 403:
        return ArchiveAuthorizer::Refusal::notPermitted;
    default:
        return std::nullopt;
    }
}

/// The root that the session names for a service alone; empty for that of all.
QString rootOf(ApiCall::Service service, const ArchiveExtras &extras)
{
    switch (service) {
    case ApiCall::Service::query:
        return extras.queryRoot;
    case ApiCall::Service::retrieve:
        return extras.retrieveRoot;
    case ApiCall::Service::account:
    case ApiCall::Service::store:
        break;
    }
    return {};
}

/// True where it lies at the address, or on the way to it, that no answer came.
bool isOfTheWayThere(NoAnswer reason)
{
    switch (reason) {
    case NoAnswer::otherReason:
    case NoAnswer::badAddress:
    case NoAnswer::addressNotFound:
    case NoAnswer::notReachable:
    case NoAnswer::proxyRefused:
    case NoAnswer::notSecure:
    case NoAnswer::timedOut:
    case NoAnswer::connectionLost:
    case NoAnswer::unusableAnswer:
        return true;
    case NoAnswer::sessionOver:
    case NoAnswer::signInUnavailable:
    case NoAnswer::notAsked:
    case NoAnswer::unusableFile:
    case NoAnswer::answerNotKept:
        break;
    }
    return false;
}

bool isSameServer(const QUrl &one, const QUrl &other)
{
    const auto port = [](const QUrl &url) { return url.port(url.scheme() == u"http" ? 80 : 443); };
    return one.scheme() == other.scheme() && one.host() == other.host() && port(one) == port(other);
}

} // namespace

std::chrono::seconds timeLimitOf(const ApiCall &call, const HttpLimits &limits)
{
    // Slower than any line on which images travel: what comes at this pace is a drip.
    constexpr qint64 kSlowestBytesPerSecond = 16 << 10;
    if (call.isBrief) {
        return limits.call;
    }
    if (call.sink) {
        return limits.answer + std::chrono::seconds(call.answerLimit / kSlowestBytesPerSecond);
    }
    return call.stream == nullptr ? limits.answer : std::chrono::seconds(0);
}

/// What it takes to reach an archive in one session.
struct ArchiveAccess
{
    const QString session; ///< empty for none
    const ArchiveSignIn signIn;
    TokenService tokens;
    const std::unique_ptr<ArchiveAuthorizer> authorizer;

    ArchiveAccess(const QString &text,
                  const OAuthService::Collaborators &collaborators,
                  KeptRefreshToken &kept)
        : session(text), signIn(text.isEmpty() ? ArchiveSignIn() : archiveSignIn(text)),
          tokens(collaborators, signIn),
          authorizer(makeAuthorizer(signIn, [this, &kept] { return fetch(kept); }, collaborators.clock))
    {
    }

    /// What no server's words may show, whoever repeats it.
    QByteArrayList secrets() const
    {
        QByteArrayList all{signIn.secret.toUtf8()};
        for (const ArchiveHeader &header : signIn.extras.headers) {
            all.append(header.value);
        }
        return all;
    }

private:
    AccessToken fetch(KeptRefreshToken &kept)
    {
        return signIn.method == ArchiveSignIn::Method::device
                   ? kept.renew(session, [this](const QString &token) { return tokens.renew(token); })
                   : tokens.fetch();
    }
};

QuorinApiClient::QuorinApiClient(CloudConfiguration configuration,
                                 platform::TokenStore &store,
                                 platform::Clock &clock,
                                 platform::UserDefaults *defaults)
    : m_configuration(std::move(configuration)), m_problem(reasonNotToConnect(m_configuration)),
      m_settings(store, sessionKey(m_configuration)), m_transport(m_configuration), m_clock(clock),
      m_requestLimit(sessionKey(m_configuration), clock, defaults), m_querySilence(clock),
      m_refreshToken(m_settings, clock)
{
}

QByteArray QuorinApiClient::address(const ApiCall &call) const
{
    const QByteArray base = baseAddress(m_configuration);
    if (call.service == ApiCall::Service::account) {
        return base + "/api/v1" + call.path;
    }
    return base + (isPlainArchive() ? QByteArray() : QByteArray("/dicom-web")) + call.path;
}

HttpRequest QuorinApiClient::requestOf(const ApiCall &call) const
{
    HttpRequest request;
    request.method = call.method;
    request.url = address(call);
    request.body = call.body;
    request.stream = call.stream;
    request.answerLimit = call.isBrief || call.sink ? call.answerLimit : kLargeAnswer;
    request.sink = call.sink;
    request.progress = call.progress;
    request.wantsServerCertificate = call.wantsCertificate;
    request.total = timeLimitOf(call, m_configuration.limits);
    addHeader(request, "Accept", call.accept);
    addHeader(request, "Content-Type", call.contentType);
    addHeader(request, "X-Quorin-Device", call.deviceId.toUtf8());
    return request;
}

/// An archive knows its users by name; a new password makes no other archive of it.
CloudSession QuorinApiClient::session() const
{
    const NetworkSettings::Standing standing = m_settings.standing();
    if (!standing.token) {
        return {.number = standing.number};
    }
    const QString account =
        isPlainArchive() ? accountName(*standing.token) : QString::number(standing.userId.value_or(0));
    return {m_configuration.baseUrl.toString(QUrl::RemoveUserInfo) + u' ' + account, standing.number};
}

/// The session that a call goes out in, as it is kept.
std::optional<QString> QuorinApiClient::sessionOf(const ApiCall &call) const
{
    if (!call.trial.isEmpty()) {
        return call.trial;
    }
    NetworkSettings::Standing standing = m_settings.standing();
    if (call.within && call.within->number != standing.number) {
        throw AFError(QStringLiteral("The session in which this began is over."),
                      std::nullopt,
                      0,
                      NoAnswer::sessionOver);
    }
    return std::move(standing.token);
}

HttpResponse QuorinApiClient::send(const ApiCall &call)
{
    if (m_problem) {
        throw AFError(*m_problem, std::nullopt, 0, NoAnswer::badAddress);
    }
    HttpRequest request = requestOf(call);
    if (isPlainArchive()) {
        return sendToArchive(call, std::move(request));
    }
    const std::optional<QString> token = sessionOf(call);
    if (!token || !call.authorized) {
        return m_transport.perform(request);
    }
    addHeader(request, "Authorization", "Bearer " + token->toUtf8());
    HttpResponse response = m_transport.perform(request);
    response.secrets = {token->toUtf8()};
    return response;
}

/// Lets a request go to the root of its service.
void QuorinApiClient::aim(HttpRequest &request, const ApiCall &call, const QString &root) const
{
    CloudConfiguration place = m_configuration;
    place.baseUrl = QUrl(root, QUrl::StrictMode);
    if (const std::optional<QString> problem = reasonNotToConnect(place)) {
        throw AFError(*problem, std::nullopt, 0, NoAnswer::badAddress);
    }
    request.url = baseAddress(place) + call.path;
}

/// An archive has no word for a session that is over: it refuses what it is shown, perhaps for a minute only.
HttpResponse QuorinApiClient::sendToArchive(const ApiCall &call, HttpRequest request)
{
    const QString session = sessionOf(call).value_or(QString());
    const std::shared_ptr<ArchiveAccess> access = accessFor(session);
    request.certificate = access->signIn.certificate;
    const QString root = rootOf(call.service, access->signIn.extras);
    try {
        if (!root.isEmpty()) {
            aim(request, call, root);
        }
        if (!call.authorized) {
            return m_transport.perform(request);
        }
        for (const ArchiveHeader &header : access->signIn.extras.headers) {
            addHeader(request, header.name, header.value);
        }
        HttpResponse response = sendSignedIn(*access, request);
        if (response.status == 401 || response.isSuccess()) {
            noteCredentials(session, response.status == 401);
        }
        return response;
    } catch (const QrnErrorResponse &error) {
        // Who gives out tokens refuses them; a session that is over isn't there any more.
        noteCredentials(session, error.kind == QrnErrorKind::credentialsRefused);
        throw;
    } catch (AFError &error) {
        error.isOfAnotherServer = !root.isEmpty() && isOfTheWayThere(error.noAnswer) &&
                                  !isSameServer(QUrl(root), m_configuration.baseUrl);
        throw;
    }
}

/// \throws QrnErrorResponse  where no token is given out for this session.
HttpResponse QuorinApiClient::sendSignedIn(ArchiveAccess &access, const HttpRequest &request)
{
    const QByteArray header = access.authorizer->header();
    HttpResponse response = sendWith(access, request, header);
    const auto how = refusalBy(response.status);
    if (!how || !access.authorizer->refused(header, *how)) {
        return response;
    }
    if (request.stream != nullptr) {
        request.stream->seek(0);
    }
    return sendWith(access, request, access.authorizer->header());
}

HttpResponse QuorinApiClient::sendWith(ArchiveAccess &access, HttpRequest request, const QByteArray &header)
{
    addHeader(request, "Authorization", header);
    HttpResponse response = m_transport.perform(request);
    if (response.isSuccess()) {
        access.authorizer->accepted(header);
    }
    response.secrets = access.secrets();
    response.secrets.append(header.mid(header.indexOf(' ') + 1));
    return response;
}

std::shared_ptr<ArchiveAccess> QuorinApiClient::accessFor(const QString &session)
{
    const platform::MutexLock lock(m_mutex);
    if (!m_access || m_access->session != session) {
        m_access = std::make_shared<ArchiveAccess>(session, oauthAccess(), m_refreshToken);
    }
    return m_access;
}

OAuthService::Collaborators QuorinApiClient::oauthAccess()
{
    return {.transport = m_transport,
            .clock = m_clock,
            .timeout = m_configuration.limits.call,
            .allowPlainHttp = m_configuration.allowPlainHttp};
}

void QuorinApiClient::noteCredentials(const QString &session, bool areRefused)
{
    if (!session.isEmpty()) {
        m_settings.setCredentialsRefused(session, areRefused);
    }
}

HttpResponse QuorinApiClient::request(const ApiCall &call)
{
    HttpResponse response = send(call);
    if (!response.isSuccess()) {
        throwAnswerError(response);
    }
    // The page of a network that wants a sign-in of its own is a success, too, and did nothing of what was
    // asked.
    const bool saysSomething = !response.body.trimmed().isEmpty();
    if (call.service == ApiCall::Service::account && saysSomething && !isObject(response.body)) {
        throwUnusableAnswer(response);
    }
    return response;
}

QVariantMap QuorinApiClient::requestObject(const ApiCall &call)
{
    const HttpResponse response = request(call);
    const QVariant body = parseNetworkJson(response.body).value_or(QVariant());
    if (body.typeId() != QMetaType::QVariantMap) {
        throwUnusableAnswer(response);
    }
    return body.toMap();
}

ApiCall jsonCall(const QByteArray &method, const QByteArray &path, const QJsonObject &body)
{
    ApiCall call;
    call.method = method;
    call.path = path;
    call.contentType = "application/json";
    call.body = QJsonDocument(body).toJson(QJsonDocument::Compact);
    return call;
}

QByteArray pathSegment(const QString &text)
{
    if (text.isEmpty() || text == QStringLiteral(".") || text == QStringLiteral("..")) {
        throw AFError(QStringLiteral("The identifier \"%1\" can't be asked for.").arg(text), std::nullopt);
    }
    return QUrl::toPercentEncoding(text);
}

} // namespace gateway::cloud_client

#include "cloud_client/qrn_authentication_api.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/archive_session.h"
#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/token_service.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonObject>
#include <QtCore/QSysInfo>

#include <algorithm>
#include <utility>

namespace gateway::cloud_client {

namespace {

// For each of its requests. Nobody waits for it, but it holds one of few threads.
constexpr std::chrono::seconds kRevocationLimit{10};

QJsonValue optionalText(const std::optional<QString> &text)
{
    return text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null);
}

QJsonObject deviceRecord(const QrnUserDeviceRequest &device)
{
    return {{QStringLiteral("pushId"), optionalText(device.pushId)},
            {QStringLiteral("deviceId"), device.deviceId},
            {QStringLiteral("clientVersion"), device.clientVersion},
            {QStringLiteral("deviceName"), device.deviceName},
            {QStringLiteral("osVersion"), device.osVersion},
            {QStringLiteral("model"), device.model}};
}

QJsonObject loginRecord(const QrnLoginRequest &request)
{
    return {{QStringLiteral("email"), request.email},
            {QStringLiteral("password"), request.password},
            {QStringLiteral("otp"), optionalText(request.otp)},
            {QStringLiteral("platform"), request.platform},
            {QStringLiteral("deviceId"), request.deviceId},
            {QStringLiteral("referrer"), optionalText(request.referrer)},
            {QStringLiteral("device"), deviceRecord(request.device)}};
}

/// What it means that an archive answers 401 to a sign-in.
QString refusalSentence(const ArchiveSignIn &signIn)
{
    switch (signIn.method) {
    case ArchiveSignIn::Method::none:
        return QCoreApplication::translate(
            "CloudClient", "The archive wants a user name and a password, or another sign-in.");
    case ArchiveSignIn::Method::basic:
        return QCoreApplication::translate("CloudClient",
                                           "The archive refused the user name or the password.");
    case ArchiveSignIn::Method::bearer:
    case ArchiveSignIn::Method::tokenFile:
        return QCoreApplication::translate("CloudClient", "The archive refused the token.");
    case ArchiveSignIn::Method::unknown:
        break;
    case ArchiveSignIn::Method::clientCredentials:
    case ArchiveSignIn::Method::device:
        return QCoreApplication::translate(
            "CloudClient",
            "The archive refused the token that the sign-in service gave; scope and audience may "
            "not be what it wants.");
    }
    return {};
}

/// What shows the archive the sign-in while it isn't kept yet.
ArchiveSignIn triedSignIn(const ArchiveSignIn &signIn, const std::optional<DeviceTokens> &granted)
{
    if (signIn.method != ArchiveSignIn::Method::device) {
        return signIn;
    }
    if (!granted) {
        throw QrnErrorResponse(
            QrnErrorKind::badRequest,
            QCoreApplication::translate("CloudClient",
                                        "A sign-in by a code needs one that somebody has entered."));
    }
    ArchiveSignIn tried = signIn;
    tried.method = ArchiveSignIn::Method::bearer;
    tried.secret = granted->accessToken;
    return tried;
}

} // namespace

QrnUserDeviceRequest::QrnUserDeviceRequest(std::optional<QString> devicePushId, QString id, QString version)
    : pushId(std::move(devicePushId)), deviceId(std::move(id)), clientVersion(std::move(version)),
      deviceName(QSysInfo::machineHostName()), osVersion(QSysInfo::prettyProductName()),
      model(QSysInfo::currentCpuArchitecture())
{
}

QrnLoginResponse QrnAuthenticationAPI::login(const QrnLoginRequest &request)
{
    return m_client.isPlainArchive() ? loginToArchive(request) : loginToService(request);
}

QrnLoginResponse QrnAuthenticationAPI::loginToService(const QrnLoginRequest &request)
{
    if (request.email.isEmpty()) {
        throw QrnErrorResponse(
            QrnErrorKind::badRequest,
            QCoreApplication::translate("CloudClient",
                                        "The cloud service wants an e-mail address and a password; only "
                                        "an archive of the kind dicomweb can do without."));
    }
    ApiCall call = jsonCall("POST", "/auth/login", loginRecord(request));
    call.authorized = false;
    call.deviceId = request.deviceId;
    const QVariantMap answer = m_client.requestObject(call);
    const QVariant token = answer.value(QStringLiteral("token"));
    if (token.typeId() != QMetaType::QString || token.toString().isEmpty()) {
        throwUnreadableAnswer();
    }
    if (!canBeToken(token.toString())) {
        throw AFError(QCoreApplication::translate(
                          "CloudClient",
                          "The cloud service gave a session that can't be sent back to it: its token "
                          "holds characters that no request may carry, or is too long."),
                      std::nullopt,
                      0,
                      NoAnswer::unusableAnswer);
    }
    QrnLoginResponse response;
    const QVariant userId = answer.value(QStringLiteral("userId"));
    if (userId.typeId() == QMetaType::LongLong) {
        response.userId = userId.toLongLong();
    }
    response.isGivenUp = !request.choice.take();
    if (!response.isGivenUp) {
        response.isKept = keepSession(token.toString(), response.userId);
    }
    return response;
}

ArchiveSignIn QrnAuthenticationAPI::archiveSignInOf(const QrnLoginRequest &request) const
{
    if (request.archive) {
        return *request.archive;
    }
    ArchiveSignIn signIn;
    const NetworkSettings &settings = m_client.networkSettings();
    const std::optional<QString> present = settings.token();
    if (const std::optional<QString> last = present ? present : settings.endedSession()) {
        keepBesides(signIn, archiveSignIn(*last));
    }
    if (!request.email.isEmpty() || !request.password.isEmpty()) {
        signIn.method = ArchiveSignIn::Method::basic;
        signIn.userName = request.email;
        signIn.secret = request.password;
    }
    return signIn;
}

QrnLoginResponse QrnAuthenticationAPI::loginToArchive(const QrnLoginRequest &request)
{
    const ArchiveSignIn signIn = archiveSignInOf(request);
    std::optional<QString> issue = issueWith(signIn);
    if (!issue) {
        issue = issueWith(signIn.extras, m_client.configuration().allowPlainHttp);
    }
    if (issue) {
        throw QrnErrorResponse(QrnErrorKind::badRequest, *issue);
    }
    const ArchiveAnswer answer = askArchive(m_client, triedSignIn(signIn, request.granted));
    QrnLoginResponse response;
    switch (answer.meaning) {
    case ArchiveAnswer::Meaning::found:
        break;
    case ArchiveAnswer::Meaning::signInWanted:
        throw QrnErrorResponse(QrnErrorKind::credentialsRefused, refusalSentence(signIn), answer.status);
    case ArchiveAnswer::Meaning::queryRefused:
        response.uncheckedStatus = answer.status;
        break;
    }
    response.isGivenUp = !request.choice.take();
    if (!response.isGivenUp) {
        response.isKept =
            keepSession(sessionText(signIn),
                        std::nullopt,
                        request.granted ? std::optional(request.granted->refreshToken) : std::nullopt);
    }
    return response;
}

QrnEmptyResponse QrnAuthenticationAPI::logout()
{
    if (!m_client.isPlainArchive()) {
        m_client.request(jsonCall("POST", "/auth/logout", {}));
    }
    keepSession(std::nullopt, std::nullopt);
    return {};
}

void QrnAuthenticationAPI::revoke(const QString &session, const QString &refreshToken)
{
    OAuthService::Collaborators access = m_client.oauthAccess();
    access.timeout = std::min(access.timeout, kRevocationLimit);
    TokenService(access, archiveSignIn(session)).revoke(refreshToken);
}

/// Whoever is told of a success may be sure that it outlives the program; false when it may not.
bool QrnAuthenticationAPI::keepSession(const std::optional<QString> &token,
                                       std::optional<qint64> userId,
                                       const std::optional<QString> &refreshToken)
{
    NetworkSettings &settings = m_client.networkSettings();
    settings.setToken(token, refreshToken, userId);
    return settings.waitUntilStored();
}

} // namespace gateway::cloud_client

#include "cloud_client/qrn_authentication_api.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/archive_session.h"
#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"

#include <QtCore/QJsonObject>
#include <QtCore/QSysInfo>

#include <algorithm>
#include <utility>

namespace gateway::cloud_client {

namespace {

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

/// Whether a header can carry the token (RFC 6750 2.1 allows even fewer characters), and servers take it.
bool canBeSent(const QString &token)
{
    constexpr qsizetype kLongestToken = 7 * 1024;
    return token.size() <= kLongestToken && std::all_of(token.begin(), token.end(), [](QChar letter) {
               return letter > u' ' && letter <= u'~';
           });
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
            QStringLiteral("The cloud service wants an e-mail address and a password; only "
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
    if (!canBeSent(token.toString())) {
        throw AFError(
            QStringLiteral("The cloud service gave a session that can't be sent back to it: its token "
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
    response.isKept = keepSession(token.toString(), response.userId);
    return response;
}

QrnLoginResponse QrnAuthenticationAPI::loginToArchive(const QrnLoginRequest &request)
{
    const std::optional<QString> token = basicToken(request.email, request.password);
    const bool isWithoutPair = request.email.isEmpty() && request.password.isEmpty();
    if (!token || (!isWithoutPair && (request.email.isEmpty() || request.password.isEmpty()))) {
        throw QrnErrorResponse(
            QrnErrorKind::badRequest,
            QStringLiteral("The archive needs a user name without a colon, and a password, both without "
                           "control characters and of less than a thousand letters together."));
    }
    const ArchiveAnswer answer = askArchive(m_client, *token);
    QrnLoginResponse response;
    switch (answer.meaning) {
    case ArchiveAnswer::Meaning::found:
        break;
    case ArchiveAnswer::Meaning::signInWanted:
        throw QrnErrorResponse(QrnErrorKind::credentialsRefused,
                               isWithoutPair
                                   ? QStringLiteral("The archive wants a user name and a password.")
                                   : QStringLiteral("The archive refused the user name or the password."),
                               answer.status);
    case ArchiveAnswer::Meaning::queryRefused:
        response.uncheckedStatus = answer.status;
        break;
    }
    response.isKept = keepSession(*token, std::nullopt);
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

/// Whoever is told of a success may be sure that it outlives the program; false when it may not.
bool QrnAuthenticationAPI::keepSession(const std::optional<QString> &token, std::optional<qint64> userId)
{
    NetworkSettings &settings = m_client.networkSettings();
    settings.setUserId(userId);
    settings.setToken(token);
    return settings.waitUntilStored();
}

} // namespace gateway::cloud_client

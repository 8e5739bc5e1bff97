#include "platform/quorin_api/qrn_authentication_api.h"

#include "platform/quorin_api/answer_error.h"
#include "platform/quorin_api/archive_session.h"
#include "platform/quorin_api/quorin_api_client.h"
#include "platform/quorin_api/quorin_error.h"

#include <QtCore/QJsonObject>
#include <QtCore/QSysInfo>

#include <utility>

namespace gateway::platform {

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
    ApiCall call = jsonCall("POST", "/auth/login", loginRecord(request));
    call.authorized = false;
    call.deviceId = request.deviceId;
    const QVariantMap answer = m_client.requestObject(call);
    const QVariant token = answer.value(QStringLiteral("token"));
    if (token.typeId() != QMetaType::QString || token.toString().isEmpty()) {
        throwUnreadableAnswer();
    }
    QrnLoginResponse response;
    const QVariant userId = answer.value(QStringLiteral("userId"));
    if (userId.typeId() == QMetaType::LongLong) {
        response.userId = userId.toLongLong();
    }
    keepSession(token.toString(), response.userId);
    return response;
}

QrnLoginResponse QrnAuthenticationAPI::loginToArchive(const QrnLoginRequest &request)
{
    const std::optional<QString> token = basicToken(request.email, request.password);
    if (!token || request.email.isEmpty() || request.password.isEmpty()) {
        throw QrnErrorResponse(
            QrnErrorKind::badRequest,
            QStringLiteral("The archive needs a user name without a colon, and a password."));
    }
    const int status = askArchive(m_client, token);
    if (status == 401 || status == 403) {
        throw QrnErrorResponse(QrnErrorKind::credentialsRefused,
                               QStringLiteral("The archive refused the user name or the password."));
    }
    if (status < 200 || status >= 300) {
        throwAnswerError({status, {}, false, {}});
    }
    keepSession(*token, std::nullopt);
    return {};
}

QrnEmptyResponse QrnAuthenticationAPI::logout()
{
    if (!m_client.isPlainArchive()) {
        m_client.request(jsonCall("POST", "/auth/logout", {}));
    }
    keepSession(std::nullopt, std::nullopt);
    return {};
}

/// Whoever is told of a success may be sure that it outlives the program.
void QrnAuthenticationAPI::keepSession(const std::optional<QString> &token, std::optional<qint64> userId)
{
    NetworkSettings &settings = m_client.networkSettings();
    settings.setUserId(userId);
    settings.setToken(token);
    settings.waitUntilStored();
}

} // namespace gateway::platform

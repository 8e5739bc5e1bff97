#include "cloud_client/qrn_user_api.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/archive_session.h"
#include "cloud_client/archive_sign_in.h"
#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"

#include <QtCore/QCoreApplication>

#include <optional>

namespace gateway::cloud_client {

namespace {

float kilobytes(const QVariantMap &answer, const QString &member)
{
    bool isNumber = false;
    const float value = answer.value(member).toFloat(&isNumber);
    if (!isNumber) {
        throwUnreadableAnswer();
    }
    return value;
}

ApiCall get(const QByteArray &path)
{
    ApiCall call;
    call.path = path;
    return call;
}

} // namespace

void QrnUserAPI::needAccounts() const
{
    if (m_client.isPlainArchive()) {
        throw QrnNotOffered(QCoreApplication::translate("CloudClient", "This archive keeps no accounts."));
    }
}

QrnUser QrnUserAPI::getUser()
{
    if (!m_client.isPlainArchive()) {
        return userFromRecord(m_client.requestObject(get("/user")));
    }
    QrnUser user;
    if (const std::optional<QString> session = m_client.networkSettings().token()) {
        user.email = signInLabel(archiveSignIn(*session));
    }
    return user;
}

QrnUser QrnUserAPI::updateUser(const QrnUpdateUserRequest &request)
{
    needAccounts();
    return userFromRecord(m_client.requestObject(jsonCall("PUT", "/user", request.toJson())));
}

QrnEmptyResponse QrnUserAPI::changePassword(const QrnPasswordChangeRequest &request)
{
    needAccounts();
    m_client.request(jsonCall("POST",
                              "/user/password",
                              {{QStringLiteral("currentPassword"), request.currentPassword},
                               {QStringLiteral("newPassword"), request.newPassword},
                               {QStringLiteral("confirmPassword"), request.confirmPassword}}));
    return {};
}

QrnTokenExpirationResponse QrnUserAPI::tokenExpiration()
{
    if (m_client.isPlainArchive()) {
        checkArchiveSession(m_client);
    } else {
        m_client.requestObject(get("/auth/token"));
    }
    return {};
}

QrnCloudLimitResponse QrnUserAPI::quorinCloudStorageLimit()
{
    needAccounts();
    const QVariantMap answer = m_client.requestObject(get("/storage"));
    return {kilobytes(answer, QStringLiteral("allowanceKb")), kilobytes(answer, QStringLiteral("usedKb"))};
}

} // namespace gateway::cloud_client

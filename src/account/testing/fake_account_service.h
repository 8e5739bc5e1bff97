#pragma once

#include "account/testing/held_calls.h"
#include "cloud_client/network_settings.h"
#include "cloud_client/qrn_user_api.h"
#include "cloud_client/quorin_error.h"

#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <optional>
#include <utility>

namespace gateway::account::testing {

/// A working account service in memory: one user, one password, figures of storage, sessions that can be
/// ended, a line that can be cut, and a door at which calls can be made to wait.
///
/// Thread: any.
class FakeAccountService final : public cloud_client::QrnAuthenticationAPIProtocol,
                                 public cloud_client::QrnUserAPIProtocol,
                                 public HeldCalls
{
public:
    explicit FakeAccountService(cloud_client::NetworkSettings &settings) : m_settings(settings)
    {
        user.id = 42;
    }

    // Set by the test while no call is under way.
    cloud_client::QrnUser user;
    QString password = QStringLiteral("right");
    std::optional<QString> refusal = QStringLiteral("Wrong email or password.");
    std::optional<QString> sessionEnd = QStringLiteral("Your session has ended.");
    bool isOffline = false;
    QString offlineWords = QStringLiteral("The cloud can't be reached.");
    std::optional<QString> endedToken; ///< the session that the service has ended
    std::optional<QDateTime> endsAt;   ///< the refusal itself ends it, as that of a renewal does
    bool refusesCredentials = false;   ///< of the session, as an archive does
    bool lacksSignIn = false;          ///< what it takes to sign in can't be had
    std::optional<int> uncheckedStatus;
    bool isKept = true;
    bool knowsUser = true;
    std::pair<QString, QString> revoked; ///< the session and the token that it was told of last
    std::optional<cloud_client::QrnErrorKind> passwordRefusal; ///< every change of the password is refused so
    cloud_client::QrnCloudLimitResponse limit;
    QMap<QString, cloud_client::QrnCloudLimitResponse> limitOf; ///< by token, in place of `limit`

    cloud_client::QrnLoginResponse login(const cloud_client::QrnLoginRequest &request) override
    {
        arrive(QStringLiteral("login"));
        if (request.password != password) {
            throw cloud_client::QrnErrorResponse(cloud_client::QrnErrorKind::credentialsRefused, refusal);
        }
        if (!request.choice.take()) {
            cloud_client::QrnLoginResponse late;
            late.isGivenUp = true;
            return late;
        }
        arrive(QStringLiteral("keep"));
        lastLogin = request;
        m_settings.setToken(request.archive ? cloud_client::sessionText(*request.archive)
                                            : QStringLiteral("token of ") + request.email,
                            request.granted ? std::optional(request.granted->refreshToken) : std::nullopt,
                            user.id);
        return {user.id, isKept, uncheckedStatus};
    }

    cloud_client::QrnEmptyResponse logout() override
    {
        arrive(QStringLiteral("logout"));
        m_settings.setToken(std::nullopt);
        return {};
    }

    void revoke(const QString &session, const QString &refreshToken) override
    {
        revoked = {session, refreshToken};
        arrive(QStringLiteral("revoke"));
    }

    cloud_client::QrnTokenExpirationResponse tokenExpiration() override
    {
        const std::optional<QString> token = m_settings.token(); // as the request carries it
        arrive(QStringLiteral("tokenExpiration"));
        if (endedToken && token == endedToken) {
            if (endsAt) {
                m_settings.endSession(*endsAt);
            }
            throw cloud_client::QrnErrorResponse(cloud_client::QrnErrorKind::sessionInvalid, sessionEnd, 401);
        }
        if (lacksSignIn) {
            throw cloud_client::AFError(QStringLiteral("Nobody gives out tokens."),
                                        std::nullopt,
                                        0,
                                        cloud_client::NoAnswer::signInUnavailable);
        }
        m_settings.setCredentialsRefused(token.value_or(QString()), refusesCredentials);
        if (refusesCredentials) {
            throw cloud_client::QrnErrorResponse(
                cloud_client::QrnErrorKind::credentialsRefused, std::nullopt, 401);
        }
        return {};
    }

    cloud_client::QrnUser getUser() override
    {
        arrive(QStringLiteral("getUser"));
        if (!knowsUser) {
            throw cloud_client::AFError(QString(), 500);
        }
        return user;
    }

    cloud_client::QrnUser updateUser(const cloud_client::QrnUpdateUserRequest &request) override
    {
        arrive(QStringLiteral("updateUser"));
        lastUpdate = request;
        user.title = request.title;
        user.firstName = request.firstName;
        user.middleName = request.middleName;
        user.lastName = request.lastName;
        user.suffix = request.suffix;
        user.profession = request.profession;
        user.phoneNumber = request.phoneNumber;
        user.workplaceName = request.workplace;
        return user;
    }

    cloud_client::QrnEmptyResponse
    changePassword(const cloud_client::QrnPasswordChangeRequest &request) override
    {
        arrive(QStringLiteral("changePassword"));
        lastPasswordChange = request;
        if (passwordRefusal) {
            throw cloud_client::QrnErrorResponse(*passwordRefusal, refusal);
        }
        if (request.currentPassword != password) {
            throw cloud_client::QrnErrorResponse(cloud_client::QrnErrorKind::currentPasswordIncorrect,
                                                 refusal);
        }
        password = request.newPassword;
        return {};
    }

    cloud_client::QrnCloudLimitResponse quorinCloudStorageLimit() override
    {
        const std::optional<QString> token = m_settings.token(); // as the request carries it
        arrive(QStringLiteral("quorinCloudStorageLimit"));
        return limitOf.value(token.value_or(QString()), limit);
    }

    std::optional<cloud_client::QrnLoginRequest> lastLogin;
    std::optional<cloud_client::QrnUpdateUserRequest> lastUpdate;
    std::optional<cloud_client::QrnPasswordChangeRequest> lastPasswordChange;

private:
    void arrive(const QString &name)
    {
        pass(name);
        if (isOffline) {
            throw cloud_client::AFError(offlineWords, std::nullopt);
        }
    }

    cloud_client::NetworkSettings &m_settings;
};

} // namespace gateway::account::testing

#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/quorin_api/network_settings.h"
#include "platform/quorin_api/qrn_user_api.h"
#include "platform/quorin_api/quorin_error.h"

#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <optional>
#include <utility>
#include <vector>

namespace gateway::account::testing {

/// A working account service in memory: one user, one password, figures of storage, sessions that can be
/// ended, a line that can be cut, and a door at which calls can be made to wait.
///
/// Thread: any.
class FakeAccountService final : public platform::QrnAuthenticationAPIProtocol,
                                 public platform::QrnUserAPIProtocol
{
public:
    explicit FakeAccountService(platform::NetworkSettings &settings) : m_settings(settings) { user.id = 42; }

    // Set by the test while no call is under way.
    platform::QrnUser user;
    QString password = QStringLiteral("right");
    std::optional<QString> refusal = QStringLiteral("Wrong email or password.");
    std::optional<QString> sessionEnd = QStringLiteral("Your session has ended.");
    bool isOffline = false;
    QString offlineWords = QStringLiteral("The cloud can't be reached.");
    std::optional<QString> endedToken; ///< the session that the service has ended
    bool refusesCredentials = false;   ///< of the session, as an archive does
    std::optional<int> uncheckedStatus;
    bool isKept = true;
    bool knowsUser = true;
    std::optional<platform::QrnErrorKind> passwordRefusal; ///< every change of the password is refused so
    platform::QrnCloudLimitResponse limit;
    QMap<QString, platform::QrnCloudLimitResponse> limitOf; ///< by token, in place of `limit`

    platform::QrnLoginResponse login(const platform::QrnLoginRequest &request) override
    {
        arrive(QStringLiteral("login"));
        if (request.password != password) {
            throw platform::QrnErrorResponse(platform::QrnErrorKind::credentialsRefused, refusal);
        }
        lastLogin = request;
        m_settings.setToken(QStringLiteral("token of ") + request.email);
        m_settings.setUserId(user.id);
        return {user.id, isKept, uncheckedStatus};
    }

    platform::QrnEmptyResponse logout() override
    {
        arrive(QStringLiteral("logout"));
        m_settings.setToken(std::nullopt);
        m_settings.setUserId(std::nullopt);
        return {};
    }

    platform::QrnTokenExpirationResponse tokenExpiration() override
    {
        const std::optional<QString> token = m_settings.token(); // as the request carries it
        arrive(QStringLiteral("tokenExpiration"));
        if (endedToken && token == endedToken) {
            throw platform::QrnErrorResponse(platform::QrnErrorKind::sessionInvalid, sessionEnd, 401);
        }
        m_settings.setCredentialsRefused(token.value_or(QString()), refusesCredentials);
        if (refusesCredentials) {
            throw platform::QrnErrorResponse(platform::QrnErrorKind::credentialsRefused, std::nullopt, 401);
        }
        return {};
    }

    platform::QrnUser getUser() override
    {
        arrive(QStringLiteral("getUser"));
        if (!knowsUser) {
            throw platform::AFError(QString(), 500);
        }
        return user;
    }

    platform::QrnUser updateUser(const platform::QrnUpdateUserRequest &request) override
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

    platform::QrnEmptyResponse changePassword(const platform::QrnPasswordChangeRequest &request) override
    {
        arrive(QStringLiteral("changePassword"));
        lastPasswordChange = request;
        if (passwordRefusal) {
            throw platform::QrnErrorResponse(*passwordRefusal, refusal);
        }
        if (request.currentPassword != password) {
            throw platform::QrnErrorResponse(platform::QrnErrorKind::currentPasswordIncorrect, refusal);
        }
        password = request.newPassword;
        return {};
    }

    platform::QrnCloudLimitResponse quorinCloudStorageLimit() override
    {
        const std::optional<QString> token = m_settings.token(); // as the request carries it
        arrive(QStringLiteral("quorinCloudStorageLimit"));
        return limitOf.value(token.value_or(QString()), limit);
    }

    /// Makes calls of `name` wait from now on.
    void hold(const QString &name)
    {
        const platform::MutexLock lock(m_mutex);
        m_held = name;
    }

    /// Lets waiting calls go on.
    void release()
    {
        hold({});
        m_changed.notifyAll();
    }

    /// The names of all calls so far.
    QStringList calls() const
    {
        const platform::MutexLock lock(m_mutex);
        return {m_calls.begin(), m_calls.end()};
    }

    std::optional<platform::QrnLoginRequest> lastLogin;
    std::optional<platform::QrnUpdateUserRequest> lastUpdate;
    std::optional<platform::QrnPasswordChangeRequest> lastPasswordChange;

private:
    void arrive(const QString &name)
    {
        const platform::MutexLock lock(m_mutex);
        m_calls.push_back(name);
        while (m_held == name) {
            m_changed.wait(m_mutex);
        }
        if (isOffline) {
            throw platform::AFError(offlineWords, std::nullopt);
        }
    }

    platform::NetworkSettings &m_settings;
    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    QString m_held QUORIN_GUARDED_BY(m_mutex);
    std::vector<QString> m_calls QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::account::testing

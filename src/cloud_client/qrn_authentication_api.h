#pragma once

#include "cloud_client/archive_sign_in.h"
#include "cloud_client/device_grant.h"

#include <QtCore/QString>

#include <atomic>
#include <memory>
#include <optional>

namespace gateway::cloud_client {

class QuorinApiClient;

/// An answer that says nothing but that the call succeeded.
struct QrnEmptyResponse
{
};

/// The machine that signs in.
struct QrnUserDeviceRequest
{
    /// Fills in the machine's name, system and model by itself.
    QrnUserDeviceRequest(std::optional<QString> devicePushId, QString id, QString version);

    std::optional<QString> pushId;
    QString deviceId;
    QString clientVersion;
    QString deviceName;
    QString osVersion;
    QString model;
};

/// Whether the session that a sign-in gives is taken, or the sign-in was given up: who comes first decides,
/// and then it stands. Copies share it. Thread: any.
class SignInChoice
{
public:
    /// \return whether it is taken.
    bool take() const { return decide(State::taken); }

    /// \return whether it is given up; false where the session was taken before.
    bool giveUp() const { return decide(State::givenUp); }

    bool isGivenUp() const { return *m_state == State::givenUp; }

private:
    enum class State
    {
        open,
        taken,
        givenUp
    };

    bool decide(State wanted) const
    {
        State found = State::open;
        return m_state->compare_exchange_strong(found, wanted) || found == wanted;
    }

    std::shared_ptr<std::atomic<State>> m_state = std::make_shared<std::atomic<State>>(State::open);
};

/// A sign-in.
struct QrnLoginRequest
{
    QString email;
    QString password;
    std::optional<QString> otp;
    QString platform;
    QString deviceId;
    std::optional<QString> referrer;
    QrnUserDeviceRequest device;
    SignInChoice choice = {};                  ///< shared with whoever may give it up
    std::optional<ArchiveSignIn> archive = {}; ///< for an archive, in place of email and password
    std::optional<DeviceTokens> granted = {};  ///< for a sign-in by a code, what it has given
};

/// What a sign-in gives; the token itself has gone to NetworkSettings.
struct QrnLoginResponse
{
    std::optional<qint64> userId;
    bool isKept = true; ///< false when the session is known to this run alone: what keeps it didn't answer
    std::optional<int> uncheckedStatus; ///< of an archive that takes no queries: it could not be asked
                                        ///< whether the sign-in is right
    bool isGivenUp = false;             ///< meanwhile: the session that stood before still stands
};

/// Signing in and out.
///
/// Thread: any; calls block.
/// \throws QrnErrorResponse, AFError  from all operations.
class QrnAuthenticationAPIProtocol
{
public:
    virtual ~QrnAuthenticationAPIProtocol() = default;

    /// Signs in and keeps the session in NetworkSettings, durably unless the answer says otherwise; on a
    /// failure an older session stands.
    virtual QrnLoginResponse login(const QrnLoginRequest &request) = 0;

    /// Ends the session at the service, then forgets it; on a failure it stands.
    virtual QrnEmptyResponse logout() = 0;

    /// Tells whoever gave out the tokens of a session which has ended here that they are wanted no more,
    /// where that can be told. Takes some seconds at most.
    ///
    /// \param session       of an archive, as it was kept.
    /// \param refreshToken  that was kept beside it.
    virtual void revoke(const QString &session, const QString &refreshToken) = 0;
};

/// The sign-in of the configured service. For a plain archive it is checked by one query; an email and a
/// password are HTTP Basic there, and a client certificate of the present session stays.
class QrnAuthenticationAPI final : public QrnAuthenticationAPIProtocol
{
public:
    /// \param client  outlives this.
    explicit QrnAuthenticationAPI(QuorinApiClient &client) : m_client(client) {}

    QrnLoginResponse login(const QrnLoginRequest &request) override;
    QrnEmptyResponse logout() override;
    void revoke(const QString &session, const QString &refreshToken) override;

private:
    QrnLoginResponse loginToService(const QrnLoginRequest &request);
    QrnLoginResponse loginToArchive(const QrnLoginRequest &request);
    ArchiveSignIn archiveSignInOf(const QrnLoginRequest &request) const;
    bool keepSession(const std::optional<QString> &token,
                     std::optional<qint64> userId,
                     const std::optional<QString> &refreshToken = std::nullopt);

    QuorinApiClient &m_client;
};

} // namespace gateway::cloud_client

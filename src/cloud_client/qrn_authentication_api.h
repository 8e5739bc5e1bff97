#pragma once

#include <QtCore/QString>

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
};

/// What a sign-in gives; the token itself has gone to NetworkSettings.
struct QrnLoginResponse
{
    std::optional<qint64> userId;
    bool isKept = true; ///< false when the session is known to this run alone: what keeps it didn't answer
    std::optional<int> uncheckedStatus; ///< of an archive that takes no queries: it could not be asked
                                        ///< whether the user name and the password are right
};

/// Signing in and out.
///
/// Thread: any; calls block.
/// \throws QrnErrorResponse, AFError  from both operations.
class QrnAuthenticationAPIProtocol
{
public:
    virtual ~QrnAuthenticationAPIProtocol() = default;

    /// Signs in and keeps the session in NetworkSettings, durably unless the answer says otherwise; on a
    /// failure an older session stands.
    virtual QrnLoginResponse login(const QrnLoginRequest &request) = 0;

    /// Ends the session at the service, then forgets it; on a failure it stands.
    virtual QrnEmptyResponse logout() = 0;
};

/// The sign-in of the configured service. For a plain archive it is HTTP Basic, checked by one query.
class QrnAuthenticationAPI final : public QrnAuthenticationAPIProtocol
{
public:
    /// \param client  outlives this.
    explicit QrnAuthenticationAPI(QuorinApiClient &client) : m_client(client) {}

    QrnLoginResponse login(const QrnLoginRequest &request) override;
    QrnEmptyResponse logout() override;

private:
    QrnLoginResponse loginToService(const QrnLoginRequest &request);
    QrnLoginResponse loginToArchive(const QrnLoginRequest &request);
    bool keepSession(const std::optional<QString> &token, std::optional<qint64> userId);

    QuorinApiClient &m_client;
};

} // namespace gateway::cloud_client

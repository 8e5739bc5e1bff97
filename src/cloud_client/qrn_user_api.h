#pragma once

#include "cloud_client/qrn_authentication_api.h"
#include "cloud_client/qrn_user.h"

namespace gateway::cloud_client {

/// A new password, each text as typed.
struct QrnPasswordChangeRequest
{
    QString currentPassword;
    QString newPassword;
    QString confirmPassword;
};

/// How long the session lasts; what counts is whether the question was answered.
struct QrnTokenExpirationResponse
{
};

/// The account's room in the cloud, in kilobytes.
struct QrnCloudLimitResponse
{
    float allowanceKb = 0.0F;
    float usedKb = 0.0F;
};

/// The signed-in user.
///
/// Thread: any; calls block.
/// \throws QrnErrorResponse, AFError  from every operation.
/// \throws QrnNotOffered              from those that change or measure an account, where a plain archive
///                                    stands behind the client.
class QrnUserAPIProtocol
{
public:
    virtual ~QrnUserAPIProtocol() = default;

    virtual QrnUser getUser() = 0;
    virtual QrnUser updateUser(const QrnUpdateUserRequest &request) = 0;
    virtual QrnEmptyResponse changePassword(const QrnPasswordChangeRequest &request) = 0;

    /// Throws QrnErrorResponse of kind sessionInvalid when the session has ended.
    virtual QrnTokenExpirationResponse tokenExpiration() = 0;
    virtual QrnCloudLimitResponse quorinCloudStorageLimit() = 0;
};

/// The user of the configured service. Of a plain archive only the name to sign in with is known.
class QrnUserAPI final : public QrnUserAPIProtocol
{
public:
    /// \param client  outlives this.
    explicit QrnUserAPI(QuorinApiClient &client) : m_client(client) {}

    QrnUser getUser() override;
    QrnUser updateUser(const QrnUpdateUserRequest &request) override;
    QrnEmptyResponse changePassword(const QrnPasswordChangeRequest &request) override;
    QrnTokenExpirationResponse tokenExpiration() override;
    QrnCloudLimitResponse quorinCloudStorageLimit() override;

private:
    void needAccounts() const;

    QuorinApiClient &m_client;
};

} // namespace gateway::cloud_client

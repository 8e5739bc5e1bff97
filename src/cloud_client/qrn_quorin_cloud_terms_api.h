#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <optional>

namespace gateway::cloud_client {

class QuorinApiClient;

/// Whether the user has to accept the terms.
struct QrnQuorinCloudTermsStatusResponse
{
    bool required = false;
    QString requiredVersion;
    std::optional<QString> reason;
};

/// The terms themselves.
struct QrnQuorinCloudTermsResponse
{
    QString version;
    QString text;
};

/// The user's yes.
struct QrnQuorinCloudTermsAcceptRequest
{
    QString version;
    QDateTime clientTimestamp;
    QString deviceUID;
    QString deviceName;
    QString osVersion;
    QString quorinVersion;
};

/// The user's no.
struct QrnQuorinCloudTermsDeclineRequest
{
    QString version;
    QDateTime clientTimestamp;
};

/// What the service answers to a yes.
struct QrnQuorinCloudTermsAcceptResponse
{
    QString acceptedVersion;
};

/// The terms of the cloud.
///
/// Thread: any; calls block.
/// \throws QrnErrorResponse, AFError  from every operation.
class QrnQuorinCloudTermsAPIProtocol
{
public:
    virtual ~QrnQuorinCloudTermsAPIProtocol() = default;

    virtual QrnQuorinCloudTermsResponse terms() = 0;
    virtual QrnQuorinCloudTermsStatusResponse status() = 0;
    virtual QrnQuorinCloudTermsAcceptResponse accept(const QrnQuorinCloudTermsAcceptRequest &request) = 0;
    virtual void decline(const QrnQuorinCloudTermsDeclineRequest &request) = 0;
};

/// The terms of the configured service. A plain archive requires none; `terms` and the answers then throw
/// QrnNotOffered.
class QrnQuorinCloudTermsAPI final : public QrnQuorinCloudTermsAPIProtocol
{
public:
    /// \param client  outlives this.
    explicit QrnQuorinCloudTermsAPI(QuorinApiClient &client) : m_client(client) {}

    QrnQuorinCloudTermsResponse terms() override;
    QrnQuorinCloudTermsStatusResponse status() override;
    QrnQuorinCloudTermsAcceptResponse accept(const QrnQuorinCloudTermsAcceptRequest &request) override;
    void decline(const QrnQuorinCloudTermsDeclineRequest &request) override;

private:
    void needTerms() const;

    QuorinApiClient &m_client;
};

} // namespace gateway::cloud_client

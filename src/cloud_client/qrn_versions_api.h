#pragma once

#include <QtCore/QString>

#include <compare>

namespace gateway::cloud_client {

class QuorinApiClient;

/// What the version policy means for this build on this system.
struct QrnVersionsResponse
{
    bool critical = false;      ///< below the oldest version that may stay in use
    bool nonCritical = false;   ///< below the latest version
    bool unsupportedOS = false; ///< the system is below the oldest supported one

    bool operator==(const QrnVersionsResponse &) const = default;
};

/// The version policy.
///
/// Thread: any; calls block.
class QrnVersionsAPIProtocol
{
public:
    virtual ~QrnVersionsAPIProtocol() = default;

    /// Asks for the policy and compares; needs no session.
    ///
    /// \throws QrnErrorResponse, AFError
    virtual QrnVersionsResponse checkVersions() = 0;
};

/// The policy of the configured service; a plain archive has none, so all three are false.
class QrnVersionsAPI final : public QrnVersionsAPIProtocol
{
public:
    /// \param client  outlives this.
    explicit QrnVersionsAPI(QuorinApiClient &client) : m_client(client) {}

    QrnVersionsResponse checkVersions() override;

private:
    QuorinApiClient &m_client;
};

/// Compares versions by their dotted numbers: "1.10" follows "1.9", "1.0" equals "1", and what stands
/// behind a number within a component doesn't count.
std::strong_ordering compareVersions(const QString &left, const QString &right);

} // namespace gateway::cloud_client

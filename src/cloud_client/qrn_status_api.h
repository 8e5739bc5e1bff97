#pragma once

namespace gateway::cloud_client {

class QuorinApiClient;

/// Whether the cloud can be reached.
///
/// Thread: any; calls block.
class QrnStatusAPIProtocol
{
public:
    virtual ~QrnStatusAPIProtocol() = default;

    /// Returning means reachable; needs no session.
    ///
    /// \throws QrnErrorResponse, AFError
    virtual void ping() = 0;
};

/// Asks the configured service for what only it answers. A plain archive counts as reachable when it answers
/// a query as an archive does, if only to ask for a sign-in or to refuse the query; one that knows of no
/// queries when it knows of storing.
class QrnStatusAPI final : public QrnStatusAPIProtocol
{
public:
    /// \param client  outlives this.
    explicit QrnStatusAPI(QuorinApiClient &client) : m_client(client) {}

    void ping() override;

private:
    QuorinApiClient &m_client;
};

} // namespace gateway::cloud_client

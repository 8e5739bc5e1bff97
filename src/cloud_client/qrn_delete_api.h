#pragma once

#include <QtCore/QString>

namespace gateway::cloud_client {

class QuorinApiClient;

/// Deletes from the cloud archive.
///
/// Thread: any; calls block. Returning means that the server took the request.
/// \throws QrnErrorResponse, AFError  from both operations, also when nothing was there to delete (404) and
///                                    for an identifier that can't be one.
class QrnDeleteAPIProtocol
{
public:
    virtual ~QrnDeleteAPIProtocol() = default;

    virtual void deleteStudy(const QString &studyInstanceUID, const QString &deviceId) = 0;
    virtual void deleteSeries(const QString &studyInstanceUID,
                              const QString &seriesInstanceUID,
                              const QString &deviceId) = 0;
};

/// The deletes of the configured service. `delete` being a word of the language, the two operations carry
/// what they delete in their names.
class QrnDeleteAPI final : public QrnDeleteAPIProtocol
{
public:
    /// \param client  outlives this.
    explicit QrnDeleteAPI(QuorinApiClient &client) : m_client(client) {}

    void deleteStudy(const QString &studyInstanceUID, const QString &deviceId) override;
    void deleteSeries(const QString &studyInstanceUID,
                      const QString &seriesInstanceUID,
                      const QString &deviceId) override;

private:
    void remove(const QByteArray &path, const QString &deviceId);

    QuorinApiClient &m_client;
};

} // namespace gateway::cloud_client

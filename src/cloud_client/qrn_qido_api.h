#pragma once

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <optional>

namespace gateway::cloud_client {

class QuorinApiClient;

/// The filters of a study query; an absent one is left out of it.
struct QrnQidoQueryRequest
{
    std::optional<QString> patientName;
    std::optional<QString> patientId;
    std::optional<QString> accessionNumber;
    std::optional<QString> studyDescription;
    std::optional<QString> referringPhysician;
    std::optional<QString> institutionName;
    std::optional<QString> patientBirthDate; ///< "yyyyMMdd"
    std::optional<QString> studyDate;        ///< "yyyyMMdd"
    std::optional<QString> modalitiesInStudy;
};

/// Queries of the cloud archive (PS3.18 10.6).
///
/// Each object is in DICOM JSON form: a map from eight hexadecimal digits to the attribute; read it with
/// QrnTagParser. Only the attributes of QrnDicomTag are kept.
///
/// Thread: any; calls block.
/// \throws QrnErrorResponse, AFError  from both operations.
class QrnQidoAPIProtocol
{
public:
    virtual ~QrnQidoAPIProtocol() = default;

    /// All studies that match.
    virtual QList<QVariantMap> getAll(const QrnQidoQueryRequest &query) = 0;

    /// All series of a study.
    virtual QList<QVariantMap> getSeries(const QString &studyInstanceUID) = 0;
};

/// The queries of the configured service, page by page.
class QrnQidoAPI final : public QrnQidoAPIProtocol
{
public:
    /// \param client  outlives this.
    explicit QrnQidoAPI(QuorinApiClient &client) : m_client(client) {}

    QList<QVariantMap> getAll(const QrnQidoQueryRequest &query) override;
    QList<QVariantMap> getSeries(const QString &studyInstanceUID) override;

private:
    QuorinApiClient &m_client;
};

} // namespace gateway::cloud_client

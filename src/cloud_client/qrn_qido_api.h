#pragma once

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <functional>
#include <optional>

namespace gateway::cloud_client {

class QuorinApiClient;

/// Takes what a page of an answer brought, as soon as it is there; false ends the query with that page.
using QrnQidoPageHandler = std::function<bool(const QList<QVariantMap> &found)>;

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
/// With a handler the objects go there page by page, on the calling thread, and the result is empty.
///
/// Thread: any; calls block.
/// \throws QrnErrorResponse, AFError  from both operations.
class QrnQidoAPIProtocol
{
public:
    virtual ~QrnQidoAPIProtocol() = default;

    /// All studies that match.
    virtual QList<QVariantMap> getAll(const QrnQidoQueryRequest &query,
                                      const QrnQidoPageHandler &onPage = {}) = 0;

    /// All series of a study.
    virtual QList<QVariantMap> getSeries(const QString &studyInstanceUID,
                                         const QrnQidoPageHandler &onPage = {}) = 0;
};

/// The queries of the configured service, page by page.
class QrnQidoAPI final : public QrnQidoAPIProtocol
{
public:
    /// \param client  outlives this.
    explicit QrnQidoAPI(QuorinApiClient &client) : m_client(client) {}

    QList<QVariantMap> getAll(const QrnQidoQueryRequest &query,
                              const QrnQidoPageHandler &onPage = {}) override;
    QList<QVariantMap> getSeries(const QString &studyInstanceUID,
                                 const QrnQidoPageHandler &onPage = {}) override;

private:
    QuorinApiClient &m_client;
};

} // namespace gateway::cloud_client

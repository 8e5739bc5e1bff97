#include "cloud_client/qrn_qido_api.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/qrn_tag_parser.h"
#include "cloud_client/query_result.h"
#include "cloud_client/quorin_api_client.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QSet>
#include <QtCore/QStringList>

#include <array>
#include <utility>

namespace gateway::cloud_client {

namespace {

// Most archives send as much at a time.
constexpr int kPageSize = 100;

constexpr std::array kStudyTags = {QrnDicomTag::StudyDate,
                                   QrnDicomTag::StudyTime,
                                   QrnDicomTag::AccessionNumber,
                                   QrnDicomTag::ModalitiesInStudy,
                                   QrnDicomTag::InstitutionName,
                                   QrnDicomTag::ReferringPhysicianName,
                                   QrnDicomTag::StudyDescription,
                                   QrnDicomTag::PatientName,
                                   QrnDicomTag::PatientID,
                                   QrnDicomTag::PatientBirthDate,
                                   QrnDicomTag::StudyInstanceUID,
                                   QrnDicomTag::NumberOfStudyRelatedSeries,
                                   QrnDicomTag::NumberOfStudyRelatedInstances};

constexpr std::array kSeriesTags = {QrnDicomTag::SeriesDate,
                                    QrnDicomTag::Modality,
                                    QrnDicomTag::SeriesDescription,
                                    QrnDicomTag::SeriesInstanceUID,
                                    QrnDicomTag::SeriesNumber,
                                    QrnDicomTag::NumberOfSeriesRelatedInstances};

template <std::size_t Count>
QStringList keysOf(const std::array<QrnDicomTag, Count> &tags)
{
    QStringList keys;
    for (const QrnDicomTag tag : tags) {
        keys.append(tagKey(tag));
    }
    return keys;
}

/// One query, fetched page by page until one brings nothing new. A short page proves nothing: an archive may
/// send less at a time than it was asked for, and needn't say so.
class PagedQuery
{
public:
    /// \param path  encoded, without a query.
    /// \param keys  the attributes to ask for and to keep.
    /// \param id    the attribute that tells one result from another.
    PagedQuery(QuorinApiClient &client, QByteArray path, QByteArray filter, QStringList keys, QrnDicomTag id)
        : m_client(client), m_path(std::move(path)), m_filter(std::move(filter)), m_keys(std::move(keys)),
          m_id(id)
    {
    }

    /// \param onPage  takes the results in place of the list, where it is given.
    QList<QVariantMap> fetch(const QrnQidoPageHandler &onPage)
    {
        bool isWanted = true;
        bool hasMore = true;
        while (isWanted && hasMore) {
            hasMore = fetchPage();
            isWanted = !onPage || m_found.isEmpty() || onPage(std::exchange(m_found, {}));
        }
        return std::move(m_found);
    }

private:
    QByteArray address() const
    {
        QByteArray query = m_filter;
        for (const QString &key : m_keys) {
            query += "&includefield=" + key.toLatin1();
        }
        return m_path + "?limit=" + QByteArray::number(kPageSize) +
               "&offset=" + QByteArray::number(m_offset) + query;
    }

    /// True when another page is worth asking for.
    bool fetchPage()
    {
        ApiCall call;
        call.service = ApiCall::Service::query;
        call.path = address();
        call.accept = "application/dicom+json";
        call.isBrief = false;
        const HttpResponse response = m_client.send(call);
        if (m_mayBeWhole && isRefusedOffset(response.status)) {
            return false;
        }
        if (!response.isSuccess()) {
            throwAnswerError(response);
        }
        const QVariantList objects = queryResult(response);
        const bool hasNews = keep(objects);
        m_offset += objects.size();
        m_mayBeWhole = objects.size() < kPageSize;
        return hasNews;
    }

    /// What an archive may say to an offset behind its last result, where it doesn't send an empty page.
    static bool isRefusedOffset(int status) { return status == 400 || status == 404 || status == 416; }

    /// Keeps what wasn't there before; a server that knows no offset would send its first page for ever.
    bool keep(const QVariantList &objects)
    {
        QList<QVariantMap> found;
        QSet<QByteArray> unnamed;
        bool hasNews = m_offset == 0 && !objects.isEmpty();
        for (const QVariant &entry : objects) {
            const QVariantMap object = kept(entry.toMap());
            const QString id = QrnTagParser::getStringTag(object, m_id);
            if (!id.isEmpty() && m_seen.contains(id)) {
                continue;
            }
            if (id.isEmpty()) {
                unnamed.insert(QJsonDocument::fromVariant(object).toJson(QJsonDocument::Compact));
            } else {
                m_seen.insert(id);
                hasNews = true;
            }
            found.append(object);
        }
        if (hasNews || !m_unnamed.contains(unnamed)) {
            hasNews = true;
            m_found.append(found); // of a page sent again, those without an identifier would come twice
            m_unnamed.unite(unnamed);
        }
        return hasNews;
    }

    QVariantMap kept(const QVariantMap &object) const
    {
        QVariantMap kept;
        for (const QString &key : m_keys) {
            if (object.contains(key)) {
                kept.insert(key, object.value(key)); // the keys are shared by all results
            }
        }
        return kept;
    }

    QuorinApiClient &m_client;
    const QByteArray m_path;
    const QByteArray m_filter;
    const QStringList m_keys;
    const QrnDicomTag m_id;
    qsizetype m_offset = 0;
    bool m_mayBeWhole = false; // the last page was short
    QSet<QString> m_seen;
    QSet<QByteArray> m_unnamed; // what came without an identifier, in JSON
    QList<QVariantMap> m_found;
};

QByteArray filterOf(const QrnQidoQueryRequest &query)
{
    const std::array<std::pair<QByteArray, const std::optional<QString> *>, 9> fields = {{
        {"PatientName", &query.patientName},
        {"PatientID", &query.patientId},
        {"AccessionNumber", &query.accessionNumber},
        {"StudyDescription", &query.studyDescription},
        {"ReferringPhysicianName", &query.referringPhysician},
        {"InstitutionName", &query.institutionName},
        {"PatientBirthDate", &query.patientBirthDate},
        {"StudyDate", &query.studyDate},
        {"ModalitiesInStudy", &query.modalitiesInStudy},
    }};
    QByteArray filter;
    for (const auto &[name, value] : fields) {
        if (*value) {
            filter += "&" + name + "=" + QUrl::toPercentEncoding(**value);
        }
    }
    return filter;
}

} // namespace

QList<QVariantMap> QrnQidoAPI::getAll(const QrnQidoQueryRequest &query, const QrnQidoPageHandler &onPage)
{
    return PagedQuery(
               m_client, "/studies", filterOf(query), keysOf(kStudyTags), QrnDicomTag::StudyInstanceUID)
        .fetch(onPage);
}

QList<QVariantMap> QrnQidoAPI::getSeries(const QString &studyInstanceUID, const QrnQidoPageHandler &onPage)
{
    return PagedQuery(m_client,
                      "/studies/" + pathSegment(studyInstanceUID) + "/series",
                      {},
                      keysOf(kSeriesTags),
                      QrnDicomTag::SeriesInstanceUID)
        .fetch(onPage);
}

} // namespace gateway::cloud_client

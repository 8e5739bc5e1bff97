#include "cloud_client/qrn_quorin_cloud_terms_api.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/server_words.h"

#include <QtCore/QCoreApplication>

namespace gateway::cloud_client {

namespace {

// A thick book.
constexpr qint64 kLongestTerms = 2 << 20;

QString stamp(const QDateTime &time)
{
    return time.toUTC().toString(Qt::ISODateWithMs);
}

ApiCall get(const QByteArray &path)
{
    ApiCall call;
    call.path = path;
    return call;
}

} // namespace

void QrnQuorinCloudTermsAPI::needTerms() const
{
    if (m_client.isPlainArchive()) {
        throw QrnNotOffered(
            QCoreApplication::translate("CloudClient", "This archive has no terms to accept."));
    }
}

QrnQuorinCloudTermsResponse QrnQuorinCloudTermsAPI::terms()
{
    needTerms();
    ApiCall call = get("/terms");
    call.answerLimit = kLongestTerms;
    const QVariantMap answer = m_client.requestObject(call);
    return {answer.value(QStringLiteral("version")).toString(),
            cleanServerText(answer.value(QStringLiteral("text")).toString())};
}

QrnQuorinCloudTermsStatusResponse QrnQuorinCloudTermsAPI::status()
{
    if (m_client.isPlainArchive()) {
        return {};
    }
    const QVariantMap answer = m_client.requestObject(get("/terms/status"));
    const QVariant required = answer.value(QStringLiteral("required"));
    if (required.typeId() != QMetaType::Bool) {
        throwUnreadableAnswer();
    }
    QrnQuorinCloudTermsStatusResponse response;
    response.required = required.toBool();
    response.requiredVersion = answer.value(QStringLiteral("requiredVersion")).toString();
    const QVariant reason = answer.value(QStringLiteral("reason"));
    if (reason.typeId() == QMetaType::QString) {
        response.reason = cleanServerWords(reason.toString());
    }
    return response;
}

QrnQuorinCloudTermsAcceptResponse
QrnQuorinCloudTermsAPI::accept(const QrnQuorinCloudTermsAcceptRequest &request)
{
    needTerms();
    ApiCall call = jsonCall("POST",
                            "/terms/accept",
                            {{QStringLiteral("version"), request.version},
                             {QStringLiteral("clientTimestamp"), stamp(request.clientTimestamp)},
                             {QStringLiteral("deviceUid"), request.deviceUID},
                             {QStringLiteral("deviceName"), request.deviceName},
                             {QStringLiteral("osVersion"), request.osVersion},
                             {QStringLiteral("quorinVersion"), request.quorinVersion}});
    call.deviceId = request.deviceUID;
    return {m_client.requestObject(call).value(QStringLiteral("acceptedVersion")).toString()};
}

void QrnQuorinCloudTermsAPI::decline(const QrnQuorinCloudTermsDeclineRequest &request)
{
    needTerms();
    m_client.request(jsonCall("POST",
                              "/terms/decline",
                              {{QStringLiteral("version"), request.version},
                               {QStringLiteral("clientTimestamp"), stamp(request.clientTimestamp)}}));
}

} // namespace gateway::cloud_client

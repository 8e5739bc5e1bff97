#include "cloud_client/qrn_delete_api.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/quorin_api_client.h"

namespace gateway::cloud_client {

namespace {

/// Whether an archive can have said so: a web page comes from whoever stands before it, such as a network
/// that wants a sign-in first.
bool isTaken(const HttpResponse &answer)
{
    const bool hasStatus = answer.status == 200 || answer.status == 202 || answer.status == 204;
    return hasStatus && answer.contentType != "text/html" && answer.contentType != "application/xhtml+xml";
}

} // namespace

void QrnDeleteAPI::deleteStudy(const QString &studyInstanceUID, const QString &deviceId)
{
    remove("/studies/" + pathSegment(studyInstanceUID), deviceId);
}

void QrnDeleteAPI::deleteSeries(const QString &studyInstanceUID,
                                const QString &seriesInstanceUID,
                                const QString &deviceId)
{
    remove("/studies/" + pathSegment(studyInstanceUID) + "/series/" + pathSegment(seriesInstanceUID),
           deviceId);
}

void QrnDeleteAPI::remove(const QByteArray &path, const QString &deviceId)
{
    ApiCall call;
    call.service = ApiCall::Service::store;
    call.method = "DELETE";
    call.path = path;
    call.accept = "*/*"; // of the answer, the status alone counts
    call.deviceId = deviceId;
    call.isBrief = false; // an archive may take its time over a large study
    const HttpResponse answer = m_client.request(call);
    if (!isTaken(answer)) {
        throwUnusableAnswer(answer);
    }
}

} // namespace gateway::cloud_client

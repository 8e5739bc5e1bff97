#include "cloud_client/qrn_delete_api.h"

#include "cloud_client/quorin_api_client.h"

namespace gateway::cloud_client {

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
    call.service = ApiCall::Service::dicomWeb;
    call.method = "DELETE";
    call.path = path;
    call.accept = "*/*"; // of the answer, the status alone counts
    call.deviceId = deviceId;
    call.isBrief = false; // an archive may take its time over a large study
    m_client.request(call);
}

} // namespace gateway::cloud_client

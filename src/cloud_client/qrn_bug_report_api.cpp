#include "cloud_client/qrn_bug_report_api.h"

#include "cloud_client/multipart_body.h"
#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSysInfo>

#include <optional>

namespace gateway::cloud_client {

namespace {

BodyPart reportPart(const QrnBugReportRequest &request)
{
    const QJsonObject report{{QStringLiteral("isReproducible"), request.isReproducible},
                             {QStringLiteral("happenedDuringImport"), request.happenedDuringImport},
                             {QStringLiteral("happenedDuringOpening"), request.happenedDuringOpening},
                             {QStringLiteral("description"), request.description},
                             {QStringLiteral("deviceId"), request.deviceId},
                             {QStringLiteral("clientVersion"), QStringLiteral(QUORIN_VERSION)},
                             {QStringLiteral("osVersion"), QSysInfo::prettyProductName()}};
    return {"Content-Disposition: form-data; name=\"report\"\r\nContent-Type: application/json\r\n",
            QJsonDocument(report).toJson(QJsonDocument::Compact),
            {},
            {}};
}

/// The file's name without what would end the header or its quotes.
QByteArray headerName(const QUrl &url)
{
    QByteArray name = url.fileName().toUtf8();
    for (char &letter : name) {
        if (static_cast<unsigned char>(letter) < 0x20 || letter == '"' || letter == '\\' || letter == 0x7f) {
            letter = '_';
        }
    }
    return name;
}

BodyPart attachmentPart(const QUrl &url)
{
    const QString path = url.toLocalFile();
    const std::optional<ReadableFile> file = ReadableFile::open(path);
    if (!file) {
        throw AFError(
            QCoreApplication::translate("CloudClient", "The file \"%1\" can't be read.").arg(url.fileName()),
            std::nullopt);
    }
    return {"Content-Disposition: form-data; name=\"attachment\"; filename=\"" + headerName(url) +
                "\"\r\nContent-Type: application/octet-stream\r\n",
            {},
            path,
            file->identity()};
}

} // namespace

void QrnBugReportAPI::send(const QrnBugReportRequest &request, const UploadProgressCallback &progress)
{
    if (m_client.isPlainArchive()) {
        throw QrnNotOffered(QCoreApplication::translate("CloudClient", "This archive takes no bug reports."));
    }
    QList<BodyPart> parts{reportPart(request)};
    for (const QUrl &url : request.attachments) {
        parts.append(attachmentPart(url));
    }
    MultipartBody body(parts);
    ApiCall call;
    call.method = "POST";
    call.path = "/bug-reports";
    call.contentType = "multipart/form-data; boundary=" + body.boundary();
    call.stream = &body;
    call.deviceId = request.deviceId;
    call.isBrief = false;
    call.progress = progress;
    try {
        m_client.request(call);
    } catch (const FileChanged &changed) {
        const QUrl &url = request.attachments.at(changed.part() - 1);
        throw AFError(
            QCoreApplication::translate("CloudClient", "The file \"%1\" changed while it was being sent.")
                .arg(url.fileName()),
            std::nullopt);
    }
}

} // namespace gateway::cloud_client

#pragma once

#include "cloud_client/qrn_stow_api.h"
#include "cloud_client/testing/client_fixture.h"
#include "cloud_client/testing/sample_files.h"

#include <QtCore/QUrlQuery>

#include <gtest/gtest.h>

namespace gateway::cloud_client::testing {

inline const QString kDevice = QStringLiteral("DEVICE-1");
inline const QByteArray kDicomJson = "application/dicom+json";

inline QByteArray entries(const QList<QByteArray> &uids, const QByteArray &more = {})
{
    QByteArray list;
    for (const QByteArray &uid : uids) {
        list += (list.isEmpty() ? "" : ",") +
                ("{\"00081155\":{\"vr\":\"UI\",\"Value\":[\"" + uid + "\"]}" + more + "}");
    }
    return "{\"vr\":\"SQ\",\"Value\":[" + list + "]}";
}

inline QByteArray reasonMember(int reason)
{
    return ",\"00081197\":{\"vr\":\"US\",\"Value\":[" + QByteArray::number(reason) + "]}";
}

/// A dataset that names instances as stored, and others as failed for a reason.
inline QByteArray
dataset(const QList<QByteArray> &stored, const QList<QByteArray> &failed = {}, int reason = 0x0110)
{
    QByteArray members = "\"00081199\":" + entries(stored);
    if (!failed.isEmpty()) {
        members += ",\"00081198\":" + entries(failed, reasonMember(reason));
    }
    return "{" + members + "}";
}

/// The instances of a request, read from the meta headers in its body.
inline QList<QByteArray> instancesIn(const ReceivedRequest &request)
{
    static const QByteArray tag = QByteArray::fromHex("02000300") + "UI";
    QList<QByteArray> uids;
    for (qsizetype at = request.body.indexOf(tag); at >= 0; at = request.body.indexOf(tag, at + 1)) {
        const auto size = static_cast<unsigned char>(request.body[at + 6]);
        QByteArray uid = request.body.mid(at + 8, size);
        uid.replace('\0', "");
        uids.append(uid);
    }
    return uids;
}

/// Answers an upload in one way and a query for an instance by those it knows.
inline ScriptedHttpServer::Handler
answering(const QByteArray &upload, const QList<QByteArray> &known = {}, int queryStatus = 200)
{
    return [upload, known, queryStatus](const ReceivedRequest &request) {
        if (request.method == "POST") {
            return upload;
        }
        const QUrlQuery query(QUrl(QString::fromLatin1(request.target)));
        const QByteArray wanted = query.queryItemValue(QStringLiteral("SOPInstanceUID")).toLatin1();
        return ScriptedHttpServer::answer(
            queryStatus,
            kDicomJson,
            known.contains(wanted) ? "[{\"00080018\":{\"vr\":\"UI\",\"Value\":[\"" + wanted + "\"]}}]"
                                   : QByteArray("[]"));
    };
}

inline ScriptedHttpServer::Handler
answeringDataset(int status, const QByteArray &body, const QByteArray &type = kDicomJson)
{
    return answering(ScriptedHttpServer::answer(status, type, body));
}

inline std::optional<QrnStowResponse> refusalOf(QuorinApiClient &client, const QList<QUrl> &files)
{
    return errorOf<QrnStowResponse>(
        [&] { QrnStowAPI(client).upload(client.session(), identified(files), kDevice, {}); });
}

inline bool succeeds(QuorinApiClient &client, const QList<QUrl> &files)
{
    QrnStowAPI(client).upload(client.session(), identified(files), kDevice, {});
    return true;
}

} // namespace gateway::cloud_client::testing

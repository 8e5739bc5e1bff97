#include "platform/quorin_api/archive_session.h"

#include "platform/quorin_api/answer_error.h"
#include "platform/quorin_api/quorin_api_client.h"
#include "platform/quorin_api/quorin_error.h"

namespace gateway::platform {

namespace {

HttpResponse queryOneStudy(QuorinApiClient &client, const std::optional<QString> &token)
{
    ApiCall call;
    call.service = ApiCall::Service::dicomWeb;
    call.path = "/studies?limit=1";
    call.accept = "application/dicom+json";
    if (token) {
        call.authorization = "Basic " + token->toLatin1();
    }
    return client.send(call);
}

} // namespace

std::optional<QString> basicToken(const QString &userName, const QString &password)
{
    if (userName.contains(u':')) {
        return std::nullopt;
    }
    return QString::fromLatin1((userName + u':' + password).toUtf8().toBase64());
}

QString basicUserName(const QString &token)
{
    const QByteArray pair = QByteArray::fromBase64(token.toLatin1());
    return QString::fromUtf8(pair.left(qMax<qsizetype>(pair.indexOf(':'), 0)));
}

int askArchive(QuorinApiClient &client, const std::optional<QString> &token)
{
    return queryOneStudy(client, token).status;
}

void checkArchiveSession(QuorinApiClient &client)
{
    const HttpResponse response = queryOneStudy(client, std::nullopt);
    if (response.status == 401) {
        throw QrnErrorResponse(QrnErrorKind::credentialsRefused, std::nullopt, response.status);
    }
    if (!response.isSuccess()) {
        throwAnswerError(response);
    }
}

} // namespace gateway::platform

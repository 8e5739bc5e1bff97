#include "cloud_client/archive_session.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/query_result.h"
#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"

#include <algorithm>

namespace gateway::cloud_client {

namespace {

// Servers take headers of some 8 KiB; in Base64 a character of UTF-8 may need four.
constexpr qsizetype kLongestPair = 1024;

/// An archive that only takes images, or doesn't let this user look.
bool isQueryRefused(int status)
{
    return status == 403 || status == 404 || status == 405 || status == 501;
}

ApiCall queryForOneStudy()
{
    ApiCall call;
    call.service = ApiCall::Service::dicomWeb;
    call.path = "/studies?limit=1";
    call.accept = "application/dicom+json";
    call.answerLimit = kLargeAnswer; // some archives know no limit
    return call;
}

ArchiveAnswer ask(QuorinApiClient &client, const ApiCall &call)
{
    const HttpResponse response = client.send(call);
    if (response.status == 401) {
        return {ArchiveAnswer::Meaning::signInWanted, response.status};
    }
    if (isQueryRefused(response.status)) {
        return {ArchiveAnswer::Meaning::queryRefused, response.status};
    }
    if (!response.isSuccess()) {
        throwAnswerError(response);
    }
    queryResult(response); // a web page isn't one
    return {ArchiveAnswer::Meaning::found, response.status};
}

} // namespace

std::optional<QString> basicToken(const QString &userName, const QString &password)
{
    const QString pair = userName + password;
    const bool hasControl = std::any_of(
        pair.begin(), pair.end(), [](QChar letter) { return letter.category() == QChar::Other_Control; });
    if (userName.contains(u':') || hasControl || pair.size() > kLongestPair) {
        return std::nullopt;
    }
    return QString::fromLatin1((userName + u':' + password).toUtf8().toBase64());
}

QString basicUserName(const QString &token)
{
    const QByteArray pair = QByteArray::fromBase64(token.toLatin1());
    return QString::fromUtf8(pair.left(qMax<qsizetype>(pair.indexOf(':'), 0)));
}

ArchiveAnswer askArchive(QuorinApiClient &client)
{
    ApiCall call = queryForOneStudy();
    // Whether anybody is there can be asked without a name, and no account is locked by asking.
    call.authorized = !client.networkSettings().areCredentialsRefused();
    return ask(client, call);
}

ArchiveAnswer askArchive(QuorinApiClient &client, const QString &token)
{
    ApiCall call = queryForOneStudy();
    if (token == QString::fromLatin1(kNoPairToken)) {
        call.authorized = false;
    } else {
        call.authorization = "Basic " + token.toLatin1();
    }
    return ask(client, call);
}

void checkArchiveSession(QuorinApiClient &client)
{
    const ArchiveAnswer answer = ask(client, queryForOneStudy());
    if (answer.meaning == ArchiveAnswer::Meaning::signInWanted) {
        throw QrnErrorResponse(QrnErrorKind::credentialsRefused, std::nullopt, answer.status);
    }
}

} // namespace gateway::cloud_client

#include "cloud_client/archive_session.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/query_result.h"
#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"

#include <QtCore/QCoreApplication>

namespace gateway::cloud_client {

namespace {

/// An archive that only takes images, or doesn't let this user look.
bool isQueryRefused(int status)
{
    return status == 403 || status == 404 || status == 405 || status == 501;
}

ApiCall queryForOneStudy()
{
    ApiCall call;
    call.service = ApiCall::Service::query;
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

ArchiveAnswer askArchive(QuorinApiClient &client)
{
    ApiCall call = queryForOneStudy();
    // Whether anybody is there can be asked without a name, and no account is locked by asking.
    call.authorized = !client.networkSettings().areCredentialsRefused();
    try {
        return ask(client, call);
    } catch (const AFError &error) {
        if (error.noAnswer != NoAnswer::signInUnavailable) {
            throw;
        }
    }
    call.authorized = false; // the archive itself wasn't asked yet
    return ask(client, call);
}

ArchiveAnswer askArchive(QuorinApiClient &client, const ArchiveSignIn &signIn)
{
    ApiCall call = queryForOneStudy();
    call.trial = sessionText(signIn);
    return ask(client, call);
}

std::optional<int> statusWithoutStore(QuorinApiClient &client, const std::optional<CloudSession> &session)
{
    ApiCall call;
    call.within = session;
    call.service = ApiCall::Service::store;
    call.method = "POST";
    call.path = "/studies";
    call.accept = "application/dicom+json";
    call.contentType = R"(multipart/related; type="application/dicom"; boundary=quorin-none)";
    call.body = "--quorin-none--\r\n";
    call.authorized = !client.networkSettings().areCredentialsRefused();
    const int status = client.send(call).status;
    const bool isNoStore = status == 404 || status == 405 || status == 410 || status == 501;
    return isNoStore ? std::optional(status) : std::nullopt;
}

void checkArchiveStores(QuorinApiClient &client)
{
    if (const std::optional<int> status = statusWithoutStore(client, std::nullopt)) {
        throw AFError(QCoreApplication::translate(
                          "CloudClient",
                          "Nothing that takes images is found at %1 (status %2). The path of the "
                          "archive's address may be wrong.")
                          .arg(client.configuration().baseUrl.toString(QUrl::RemoveUserInfo))
                          .arg(*status),
                      std::nullopt,
                      *status,
                      NoAnswer::unusableAnswer);
    }
}

void checkArchiveSession(QuorinApiClient &client)
{
    const ArchiveAnswer answer = ask(client, queryForOneStudy());
    if (answer.meaning == ArchiveAnswer::Meaning::signInWanted) {
        throw QrnErrorResponse(QrnErrorKind::credentialsRefused, std::nullopt, answer.status);
    }
}

} // namespace gateway::cloud_client

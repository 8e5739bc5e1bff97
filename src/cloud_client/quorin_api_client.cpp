#include "cloud_client/quorin_api_client.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/archive_session.h"
#include "cloud_client/network_json.h"
#include "cloud_client/quorin_error.h"

#include <QtCore/QJsonDocument>

#include <algorithm>
#include <utility>

namespace gateway::cloud_client {

namespace {

bool isHeaderSafe(const QByteArray &value)
{
    return std::none_of(value.begin(), value.end(), [](char letter) {
        return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f;
    });
}

} // namespace

std::chrono::seconds timeLimitOf(const ApiCall &call, const HttpLimits &limits)
{
    // Slower than any line on which images travel: what comes at this pace is a drip.
    constexpr qint64 kSlowestBytesPerSecond = 16 << 10;
    if (call.isBrief) {
        return limits.call;
    }
    if (call.sink) {
        return limits.answer + std::chrono::seconds(call.answerLimit / kSlowestBytesPerSecond);
    }
    return call.stream == nullptr ? limits.answer : std::chrono::seconds(0);
}

QuorinApiClient::QuorinApiClient(CloudConfiguration configuration, platform::TokenStore &store)
    : m_configuration(std::move(configuration)), m_problem(reasonNotToConnect(m_configuration)),
      m_settings(store, sessionKey(m_configuration)), m_transport(m_configuration)
{
}

QByteArray QuorinApiClient::address(const ApiCall &call) const
{
    const QByteArray base = baseAddress(m_configuration);
    if (call.service == ApiCall::Service::account) {
        return base + "/api/v1" + call.path;
    }
    return base + (isPlainArchive() ? QByteArray() : QByteArray("/dicom-web")) + call.path;
}

void QuorinApiClient::addHeaders(const ApiCall &call,
                                 const std::optional<QString> &token,
                                 HttpRequest &request) const
{
    const auto add = [&request](const QByteArray &name, const QByteArray &value) {
        if (!value.isEmpty() && isHeaderSafe(value)) {
            request.headers.append({name, value});
        }
    };
    add("Accept", call.accept);
    add("Content-Type", call.contentType);
    add("X-Quorin-Device", call.deviceId.toUtf8());
    if (!call.authorization.isEmpty()) {
        add("Authorization", call.authorization);
    } else if (token && !(isPlainArchive() && *token == QString::fromLatin1(kNoPairToken))) {
        add("Authorization", (isPlainArchive() ? "Basic " : "Bearer ") + token->toUtf8());
    }
}

HttpResponse QuorinApiClient::send(const ApiCall &call)
{
    if (m_problem) {
        throw AFError(*m_problem, std::nullopt, 0, NoAnswer::badAddress);
    }
    HttpRequest request;
    request.method = call.method;
    request.url = address(call);
    request.body = call.body;
    request.stream = call.stream;
    request.answerLimit = call.isBrief || call.sink ? call.answerLimit : kLargeAnswer;
    request.sink = call.sink;
    request.progress = call.progress;
    request.total = timeLimitOf(call, m_configuration.limits);
    const bool carriesSession = call.authorized && call.authorization.isEmpty();
    const std::optional<QString> token = carriesSession ? m_settings.token() : std::nullopt;
    addHeaders(call, token, request);
    HttpResponse response = m_transport.perform(request);
    if (token && isPlainArchive()) {
        noteCredentials(*token, response);
    }
    return response;
}

/// An archive has no word for a session that is over: it refuses the credentials, perhaps for a minute only.
void QuorinApiClient::noteCredentials(const QString &token, const HttpResponse &response)
{
    if (response.status == 401) {
        m_settings.setCredentialsRefused(token, true);
    } else if (response.isSuccess()) {
        m_settings.setCredentialsRefused(token, false);
    }
}

HttpResponse QuorinApiClient::request(const ApiCall &call)
{
    HttpResponse response = send(call);
    if (!response.isSuccess()) {
        throwAnswerError(response);
    }
    return response;
}

QVariantMap QuorinApiClient::requestObject(const ApiCall &call)
{
    const HttpResponse response = request(call);
    const QVariant body = parseNetworkJson(response.body).value_or(QVariant());
    if (body.typeId() != QMetaType::QVariantMap) {
        throwUnusableAnswer(response);
    }
    return body.toMap();
}

ApiCall jsonCall(const QByteArray &method, const QByteArray &path, const QJsonObject &body)
{
    ApiCall call;
    call.method = method;
    call.path = path;
    call.contentType = "application/json";
    call.body = QJsonDocument(body).toJson(QJsonDocument::Compact);
    return call;
}

QByteArray pathSegment(const QString &text)
{
    if (text.isEmpty() || text == QStringLiteral(".") || text == QStringLiteral("..")) {
        throw AFError(QStringLiteral("The identifier \"%1\" can't be asked for.").arg(text), std::nullopt);
    }
    return QUrl::toPercentEncoding(text);
}

} // namespace gateway::cloud_client

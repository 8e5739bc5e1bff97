#include "cloud/service/json_answers.h"

#include "cloud/http/exchange.h"
#include "cloud/http/problem.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QUrl>

namespace gateway::cloud {

namespace {

constexpr std::size_t kMaxJsonBody = 1024 * 1024;
constexpr auto kJson = "application/json";
constexpr auto kDicomJson = "application/dicom+json";

} // namespace

void answerJson(Exchange &exchange, int status, const QJsonObject &body)
{
    exchange.answer(status, kJson, QJsonDocument(body).toJson(QJsonDocument::Compact));
}

void answerJson(Exchange &exchange, int status, const QJsonArray &body)
{
    exchange.answer(status, kJson, QJsonDocument(body).toJson(QJsonDocument::Compact));
}

void answerDicomJson(Exchange &exchange, int status, const QJsonArray &body)
{
    exchange.answer(status, kDicomJson, QJsonDocument(body).toJson(QJsonDocument::Compact));
}

void answerDicomJson(Exchange &exchange, int status, const QJsonObject &body)
{
    exchange.answer(status, kDicomJson, QJsonDocument(body).toJson(QJsonDocument::Compact));
}

QString addressSegment(const QString &identifier)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(identifier));
}

QJsonObject readJson(Exchange &exchange)
{
    const QByteArray body = exchange.readWholeBody(kMaxJsonBody);
    if (body.isEmpty()) {
        return {};
    }
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isObject()) {
        throw HttpProblem(
            400, ProblemKind::badRequest, QStringLiteral("The request's body is not a JSON record."));
    }
    return document.object();
}

} // namespace gateway::cloud

#include "platform/quorin_api/answer_error.h"

#include "platform/quorin_api/network_json.h"
#include "platform/quorin_api/quorin_error.h"

#include <optional>

namespace gateway::platform {

namespace {

// A later service may know more kinds than this client, but not this many.
constexpr qlonglong kLargestKind = 999;

QString statusSentence(int status)
{
    if (status >= 300 && status < 400) {
        return QStringLiteral(
                   "The cloud service pointed to another address (status %1), which is not followed.")
            .arg(status);
    }
    switch (status) {
    case 401:
        return QStringLiteral("The cloud service asks for a sign-in (status 401).");
    case 403:
        return QStringLiteral("The cloud service does not allow this (status 403).");
    case 404:
        return QStringLiteral("The cloud service does not know what was asked for (status 404).");
    case 413:
        return QStringLiteral("The cloud service does not take anything this large (status 413).");
    case 429:
        return QStringLiteral("The cloud service has had too many requests (status 429).");
    case 507:
        return QStringLiteral("The cloud service has no room left (status 507).");
    default:
        break;
    }
    return status >= 500 ? QStringLiteral("The cloud service has a fault of its own (status %1).").arg(status)
                         : QStringLiteral("The cloud service answered with status %1.").arg(status);
}

std::optional<QString> wordsOf(const QVariantMap &problem)
{
    for (const auto &member : {QStringLiteral("detail"), QStringLiteral("title")}) {
        const QVariant text = problem.value(member);
        if (text.typeId() == QMetaType::QString && !text.toString().trimmed().isEmpty()) {
            return text.toString();
        }
    }
    return std::nullopt;
}

/// The kind of a problem that doesn't name one, after its status. Never sessionInvalid: that is for the
/// service itself to say.
QrnErrorKind kindOfStatus(int status)
{
    switch (status) {
    case 401:
        return QrnErrorKind::credentialsRefused;
    case 404:
        return QrnErrorKind::notFound;
    case 429:
        return QrnErrorKind::tooManyRequests;
    case 507:
        return QrnErrorKind::storageUsedUp;
    default:
        return status >= 500 ? QrnErrorKind::serviceFault : QrnErrorKind::badRequest;
    }
}

QrnErrorKind kindOf(const QVariantMap &problem, int status)
{
    const QVariant kind = problem.value(QStringLiteral("kind"));
    const qlonglong number = kind.toLongLong();
    // A session ends by 401 alone: a service that is being restarted may say anything beside its 503.
    const bool isKind = kind.typeId() == QMetaType::LongLong && number <= kLargestKind &&
                        (number > 0 || (number == 0 && status == 401));
    return isKind ? static_cast<QrnErrorKind>(number) : kindOfStatus(status);
}

} // namespace

void throwAnswerError(const HttpResponse &response)
{
    if (response.contentType == "application/problem+json") {
        const QVariant body = parseNetworkJson(response.body).value_or(QVariant());
        if (body.typeId() == QMetaType::QVariantMap) {
            const QVariantMap problem = body.toMap();
            QrnErrorResponse refusal(kindOf(problem, response.status), wordsOf(problem), response.status);
            refusal.retryAfter = response.retryAfter;
            throw refusal;
        }
    }
    AFError failed(statusSentence(response.status), response.status);
    failed.retryAfter = response.retryAfter;
    throw failed;
}

void throwUnreadableAnswer()
{
    throw AFError(QStringLiteral("The answer of the cloud service could not be read."),
                  std::nullopt,
                  0,
                  NoAnswer::unusableAnswer);
}

} // namespace gateway::platform

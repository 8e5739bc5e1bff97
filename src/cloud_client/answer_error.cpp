#include "cloud_client/answer_error.h"

#include "cloud_client/network_json.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/server_words.h"

#include <QtCore/QCoreApplication>

#include <optional>

namespace gateway::cloud_client {

namespace {

using platform::Sentence;

constexpr char kContext[] = "CloudClient";

// A later service may know more kinds than this client, but not this many.
constexpr qlonglong kLargestKind = 999;

/// What a status means; %1 is the host, %2 the status.
const char *statusSentence(int status)
{
    if (status >= 300 && status < 400) {
        return QT_TRANSLATE_NOOP(
            "CloudClient", "The server at %1 pointed to another address (status %2), which is not followed.");
    }
    switch (status) {
    case 401:
        return QT_TRANSLATE_NOOP("CloudClient", "The server at %1 asks for a sign-in (status %2).");
    case 403:
        return QT_TRANSLATE_NOOP("CloudClient", "The server at %1 does not allow this (status %2).");
    case 404:
        return QT_TRANSLATE_NOOP("CloudClient",
                                 "The server at %1 does not know what was asked for (status %2).");
    case 405:
    case 501:
        return QT_TRANSLATE_NOOP("CloudClient", "The server at %1 does not offer this (status %2).");
    case 407:
        return QT_TRANSLATE_NOOP("CloudClient",
                                 "A web proxy on the way to %1 asks for a sign-in (status %2).");
    case 413:
        return QT_TRANSLATE_NOOP("CloudClient",
                                 "The server at %1 does not take anything this large (status %2).");
    case 429:
        return QT_TRANSLATE_NOOP("CloudClient", "The server at %1 has had too many requests (status %2).");
    case 507:
        return QT_TRANSLATE_NOOP("CloudClient", "The server at %1 has no room left (status %2).");
    case 511:
        return QT_TRANSLATE_NOOP("CloudClient",
                                 "The network on the way to %1 asks for a sign-in of its own (status %2).");
    default:
        break;
    }
    return status >= 500
               ? QT_TRANSLATE_NOOP("CloudClient", "The server at %1 has a fault of its own (status %2).")
               : QT_TRANSLATE_NOOP("CloudClient", "The server at %1 answered with status %2.");
}

bool isWebPage(const HttpResponse &response)
{
    return response.contentType == "text/html" || response.contentType == "application/xhtml+xml";
}

/// Whose answer it was and what it means, in our words.
Sentence sentenceOn(const HttpResponse &response)
{
    const Sentence meaning(
        kContext, statusSentence(response.status), {response.host, QString::number(response.status)});
    return isWebPage(response)
               ? meaning.followedBy(
                     {kContext,
                      QT_TRANSLATE_NOOP("CloudClient",
                                        "It sent a web page, so it may be something on the way there.")})
               : meaning;
}

std::optional<QString> wordsOf(const QVariantMap &problem, const QByteArrayList &secrets)
{
    for (const auto &member : {QStringLiteral("detail"), QStringLiteral("title")}) {
        const QVariant text = problem.value(member);
        if (text.typeId() == QMetaType::QString && !text.toString().trimmed().isEmpty()) {
            return cleanServerWords(withoutSecrets(text.toString(), secrets));
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

/// The error with the pause that the answer asks for.
template <typename Error>
Error withPause(Error error, const HttpResponse &response)
{
    error.retryAfter = response.retryAfter;
    return error;
}

} // namespace

/// As nginx does, with 400 and these words.
bool isCertificateRefused(const HttpResponse &response)
{
    return response.status == 400 && isWebPage(response) && response.body.contains("SSL certificate");
}

void throwAnswerError(const HttpResponse &response)
{
    if (response.contentType == "application/problem+json") {
        const QVariant body = parseNetworkJson(response.body).value_or(QVariant());
        if (body.typeId() == QMetaType::QVariantMap) {
            const QVariantMap problem = body.toMap();
            throw withPause(QrnErrorResponse(kindOf(problem, response.status),
                                             wordsOf(problem, response.secrets),
                                             response.status),
                            response);
        }
    }
    if (isCertificateRefused(response)) {
        throw AFError({kContext,
                       QT_TRANSLATE_NOOP("CloudClient",
                                         "The server at %1 did not accept the client certificate of this "
                                         "gateway, or wants one."),
                       {response.host}},
                      std::nullopt,
                      response.status,
                      NoAnswer::notSecure);
    }
    throw withPause(AFError(sentenceOn(response), response.status), response);
}

void throwUnusableAnswer(const HttpResponse &response)
{
    const char *sentence =
        isWebPage(response)
            ? QT_TRANSLATE_NOOP(
                  "CloudClient",
                  "A web page came from %1 (status %2) in place of an answer of the cloud service. "
                  "This network may ask for a sign-in of its own, or the address may be wrong.")
            : QT_TRANSLATE_NOOP("CloudClient", "The answer from %1 (status %2) is none of a cloud service.");
    throw AFError({kContext, sentence, {response.host, QString::number(response.status)}},
                  std::nullopt,
                  response.status,
                  NoAnswer::unusableAnswer);
}

void throwUnreadableAnswer()
{
    throw AFError(
        {kContext, QT_TRANSLATE_NOOP("CloudClient", "The answer of the cloud service could not be read.")},
        std::nullopt,
        0,
        NoAnswer::unusableAnswer);
}

} // namespace gateway::cloud_client

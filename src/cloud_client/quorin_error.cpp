#include "cloud_client/quorin_error.h"

#include <QtCore/QCoreApplication>

#include <utility>

namespace gateway::cloud_client {

QuorinError::QuorinError(const platform::Sentence &description, QString errorDomain, int errorCode)
    : localizedDescription(description.inLanguage()), plainDescription(description.inEnglish()),
      domain(std::move(errorDomain)), code(errorCode), m_what(plainDescription.toUtf8())
{
}

QrnErrorResponse::QrnErrorResponse(QrnErrorKind errorKind,
                                   std::optional<QString> errorMessage,
                                   std::optional<int> status)
    : QuorinError(errorMessage.value_or(QString()),
                  QStringLiteral("QuorinAPI.QrnErrorResponse"),
                  static_cast<int>(errorKind)),
      kind(errorKind), message(std::move(errorMessage)), responseCode(status)
{
}

AFError::AFError(const platform::Sentence &description,
                 std::optional<int> status,
                 int transportCode,
                 NoAnswer reason)
    : QuorinError(description, QStringLiteral("QuorinAPI.AFError"), status.value_or(transportCode)),
      responseCode(status), noAnswer(reason)
{
}

QrnNotOffered::QrnNotOffered(const platform::Sentence &description)
    : QuorinError(description, QStringLiteral("QuorinAPI.QrnNotOffered"), 0)
{
}

QrnStowResponse::QrnStowResponse(QList<QStringList> failedInstances,
                                 int reason,
                                 QHash<platform::InstanceUid, int> reasonOfEach,
                                 std::exception_ptr whatEndedRequests,
                                 QSet<platform::InstanceUid> thereAlready,
                                 QSet<platform::InstanceUid> takenWithoutProof,
                                 QSet<platform::InstanceUid> foundByAQuery)
    : QuorinError(failedInstances.size() == 1
                      ? platform::Sentence(
                            "CloudClient",
                            QT_TRANSLATE_NOOP("CloudClient", "The cloud service did not store one image."))
                      : platform::Sentence(
                            "CloudClient",
                            QT_TRANSLATE_NOOP("CloudClient", "The cloud service did not store %1 images."),
                            {QString::number(failedInstances.size())}),
                  QStringLiteral("QuorinAPI.QrnStowResponse"),
                  reason),
      failures(std::move(failedInstances)), reasons(std::move(reasonOfEach)),
      alreadyStored(std::move(thereAlready)), taken(std::move(takenWithoutProof)),
      found(std::move(foundByAQuery)), cause(std::move(whatEndedRequests))
{
}

bool QrnStowResponse::names(const QUrl &file, const platform::InstanceUid &instance) const
{
    const QString path = file.toLocalFile();
    for (const QStringList &identifiers : failures) {
        for (const QString &identifier : identifiers) {
            const QString text = identifier.trimmed();
            if (!text.isEmpty() && (text == path.trimmed() || text == instance.value())) {
                return true;
            }
        }
    }
    return false;
}

QString localizedDescription(const std::exception &error)
{
    const auto *known = dynamic_cast<const QuorinError *>(&error);
    return known ? known->localizedDescription : QString::fromUtf8(error.what());
}

QString plainText(const std::exception &error)
{
    const auto *known = dynamic_cast<const QuorinError *>(&error);
    if (known == nullptr) {
        return localizedDescription(error);
    }
    const QString name = known->domain.section(u'.', -1) + u' ' + QString::number(known->code);
    const auto *response = dynamic_cast<const QrnErrorResponse *>(&error);
    if (response != nullptr) {
        return response->responseCode ? QStringLiteral("%1: The cloud service refused the call (status %2).")
                                            .arg(name)
                                            .arg(*response->responseCode)
                                      : name;
    }
    const QString &words = known->plainDescription;
    return words.isEmpty() ? name : name + QStringLiteral(": ") + words;
}

QString userFacingMessage(const std::exception &error, const QString &fallback)
{
    if (const auto *response = dynamic_cast<const QrnErrorResponse *>(&error)) {
        const QString message = response->message.value_or(QString()).trimmed();
        if (!message.isEmpty()) {
            return message;
        }
    }
    const QString words = localizedDescription(error).trimmed();
    return words.isEmpty() || words == QStringLiteral("(null)") ? fallback : words;
}

std::optional<int> statusOf(const std::exception &error)
{
    if (const auto *response = dynamic_cast<const QrnErrorResponse *>(&error)) {
        return response->responseCode;
    }
    const auto *failure = dynamic_cast<const AFError *>(&error);
    return failure != nullptr ? failure->responseCode : std::nullopt;
}

bool isOfThisMoment(const std::exception &error)
{
    constexpr int kRequestTimeout = 408;
    constexpr int kTooManyRequests = 429;
    constexpr int kServerFault = 500;
    constexpr int kNotImplemented = 501;
    const std::optional<int> status = statusOf(error);
    return !status || *status == kRequestTimeout || *status == kTooManyRequests ||
           (*status >= kServerFault && *status != kNotImplemented);
}

} // namespace gateway::cloud_client

#include "cloud_client/stow_query.h"

#include "cloud_client/query_result.h"
#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"

#include <QtCore/QCoreApplication>

#include <algorithm>

namespace gateway::cloud_client {

namespace {

constexpr auto kNotAsked = QT_TRANSLATE_NOOP(
    "CloudClient",
    "The archive wasn't asked for the image: a moment ago it left such a question unanswered, or "
    "asked for a pause.");
const auto kSopInstanceUid = QStringLiteral("00080018");
const auto kStudyInstanceUid = QStringLiteral("0020000D");
const auto kSeriesInstanceUid = QStringLiteral("0020000E");

QString firstText(const QVariantMap &entry, const QString &tag)
{
    const QVariantList values = entry.value(tag).toMap().value(QStringLiteral("Value")).toList();
    return values.isEmpty() ? QString() : values.first().toString().trimmed();
}

/// What a query found.
struct Answer
{
    QVariantList entries;
    bool isOfPlace = false; ///< of the instance's own study and series, by the question's address
};

/// True for an entry that names the instance, and no other study or series for it. One that may be of any
/// place has to name its own: a UID stands in two studies where one was split, or copied.
bool isEntryOf(const QVariantMap &entry, bool isOfPlace, const platform::InstanceIdentity &identity)
{
    const auto agrees = [&entry, isOfPlace](const QString &tag, const QString &mine) {
        const QString named = firstText(entry, tag);
        return mine.isEmpty() || named == mine || (isOfPlace && named.isEmpty());
    };
    return firstText(entry, kSopInstanceUid) == identity.instance.value() &&
           agrees(kStudyInstanceUid, identity.study.value()) &&
           agrees(kSeriesInstanceUid, identity.series.value());
}

QByteArray seriesPath(const platform::InstanceIdentity &identity)
{
    return "/studies/" + pathSegment(identity.study.value()) + "/series/" +
           pathSegment(identity.series.value());
}

QVariantList answerTo(QuorinApiClient &client, const CloudSession &session, const QByteArray &path)
{
    ApiCall call;
    call.service = ApiCall::Service::query;
    call.within = session;
    call.path = path;
    call.accept = "application/dicom+json";
    call.answerLimit = kLargeAnswer; // an archive that has no limits gives out the whole series
    if (client.querySilence().isToBeExpected()) {
        throw AFError({"CloudClient", kNotAsked, {}}, std::nullopt, 0, NoAnswer::notAsked);
    }
    try {
        return queryResult(client.request(call));
    } catch (const QuorinError &error) {
        const auto *unanswered = dynamic_cast<const AFError *>(&error);
        if (error.retryAfter) {
            client.querySilence().begin(*error.retryAfter);
        } else if (unanswered && !unanswered->responseCode && unanswered->noAnswer == NoAnswer::timedOut) {
            client.querySilence().begin();
        }
        throw;
    }
}

/// Some archives say that there is nothing at the address of a series that they don't have (404), where
/// others find none. So only that answer to a question that names no place means that there are no queries.
Answer answerAtPlaceOr(QuorinApiClient &client,
                       const CloudSession &session,
                       const QByteArray &path,
                       const QByteArray &elsewhere)
{
    constexpr int kNotFound = 404;
    try {
        return {answerTo(client, session, path), true};
    } catch (const QrnErrorResponse &error) {
        if (error.responseCode != kNotFound) {
            throw;
        }
    } catch (const AFError &error) {
        if (error.responseCode != kNotFound) {
            throw;
        }
    }
    return {answerTo(client, session, elsewhere)};
}

/// \param most  entries that are wanted.
QByteArray instancesWhere(const char *attribute, const QString &uid, int most)
{
    return QByteArray("/instances?") + attribute + '=' + QUrl::toPercentEncoding(uid) +
           "&limit=" + QByteArray::number(most);
}

Answer answerForInstance(QuorinApiClient &client,
                         const CloudSession &session,
                         const platform::InstanceIdentity &identity)
{
    const bool isPlaced = !identity.study.isEmpty() && !identity.series.isEmpty();
    const auto instancesOf = [&identity](int most) {
        return instancesWhere("SOPInstanceUID", identity.instance.value(), most);
    };
    constexpr int kCopies = 16; // of one UID, in as many studies
    return isPlaced
               ? answerAtPlaceOr(client, session, seriesPath(identity) + instancesOf(1), instancesOf(kCopies))
               : Answer{answerTo(client, session, instancesOf(kCopies))};
}

} // namespace

bool isInstanceFound(QuorinApiClient &client,
                     const CloudSession &session,
                     const platform::InstanceIdentity &identity)
{
    const Answer found = answerForInstance(client, session, identity);
    return std::ranges::any_of(found.entries, [&](const QVariant &entry) {
        return isEntryOf(entry.toMap(), found.isOfPlace, identity);
    });
}

bool mayInstanceBeHeld(QuorinApiClient &client,
                       const CloudSession &session,
                       const platform::InstanceIdentity &identity)
{
    return !answerForInstance(client, session, identity).entries.isEmpty();
}

bool isSeriesFound(QuorinApiClient &client,
                   const CloudSession &session,
                   const platform::InstanceIdentity &identity)
{
    return !answerAtPlaceOr(client,
                            session,
                            seriesPath(identity) + "/instances?limit=1",
                            instancesWhere("SeriesInstanceUID", identity.series.value(), 1))
                .entries.isEmpty();
}

} // namespace gateway::cloud_client

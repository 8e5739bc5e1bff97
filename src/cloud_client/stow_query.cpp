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

/// True for an answer that names the instance, and names no other study or series for it.
bool isEntryOf(const QVariantMap &entry, const platform::InstanceIdentity &identity)
{
    const auto contradicts = [&entry](const QString &tag, const QString &mine) {
        const QString named = firstText(entry, tag);
        return !mine.isEmpty() && !named.isEmpty() && named != mine;
    };
    return firstText(entry, kSopInstanceUid) == identity.instance.value() &&
           !contradicts(kStudyInstanceUid, identity.study.value()) &&
           !contradicts(kSeriesInstanceUid, identity.series.value());
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
QVariantList answerAtPlaceOr(QuorinApiClient &client,
                             const CloudSession &session,
                             const QByteArray &path,
                             const QByteArray &elsewhere)
{
    constexpr int kNotFound = 404;
    try {
        return answerTo(client, session, path);
    } catch (const QrnErrorResponse &error) {
        if (error.responseCode != kNotFound) {
            throw;
        }
    } catch (const AFError &error) {
        if (error.responseCode != kNotFound) {
            throw;
        }
    }
    return answerTo(client, session, elsewhere);
}

QByteArray instancesWhere(const char *attribute, const QString &uid)
{
    return QByteArray("/instances?") + attribute + '=' + QUrl::toPercentEncoding(uid) + "&limit=1";
}

QVariantList answerForInstance(QuorinApiClient &client,
                               const CloudSession &session,
                               const platform::InstanceIdentity &identity)
{
    const bool isPlaced = !identity.study.isEmpty() && !identity.series.isEmpty();
    const QByteArray anywhere = instancesWhere("SOPInstanceUID", identity.instance.value());
    return isPlaced ? answerAtPlaceOr(client, session, seriesPath(identity) + anywhere, anywhere)
                    : answerTo(client, session, anywhere);
}

} // namespace

bool isInstanceFound(QuorinApiClient &client,
                     const CloudSession &session,
                     const platform::InstanceIdentity &identity)
{
    const QVariantList found = answerForInstance(client, session, identity);
    return std::ranges::any_of(found,
                               [&](const QVariant &entry) { return isEntryOf(entry.toMap(), identity); });
}

bool mayInstanceBeHeld(QuorinApiClient &client,
                       const CloudSession &session,
                       const platform::InstanceIdentity &identity)
{
    return !answerForInstance(client, session, identity).isEmpty();
}

bool isSeriesFound(QuorinApiClient &client,
                   const CloudSession &session,
                   const platform::InstanceIdentity &identity)
{
    return !answerAtPlaceOr(client,
                            session,
                            seriesPath(identity) + "/instances?limit=1",
                            instancesWhere("SeriesInstanceUID", identity.series.value()))
                .isEmpty();
}

} // namespace gateway::cloud_client

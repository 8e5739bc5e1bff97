#include "cloud_client/stow_query.h"

#include "cloud_client/query_result.h"
#include "cloud_client/quorin_api_client.h"

#include <algorithm>

namespace gateway::cloud_client {

namespace {

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
    return firstText(entry, kSopInstanceUid) == identity.instance &&
           !contradicts(kStudyInstanceUid, identity.study) &&
           !contradicts(kSeriesInstanceUid, identity.series);
}

QByteArray seriesPath(const platform::InstanceIdentity &identity)
{
    return "/studies/" + pathSegment(identity.study) + "/series/" + pathSegment(identity.series);
}

QVariantList answerTo(QuorinApiClient &client, const QByteArray &path)
{
    ApiCall call;
    call.service = ApiCall::Service::dicomWeb;
    call.path = path;
    call.accept = "application/dicom+json";
    call.answerLimit = kLargeAnswer; // an archive that has no limits gives out the whole series
    return queryResult(client.request(call));
}

} // namespace

bool isInstanceFound(QuorinApiClient &client, const platform::InstanceIdentity &identity)
{
    const bool isPlaced = !identity.study.isEmpty() && !identity.series.isEmpty();
    const QVariantList found =
        answerTo(client,
                 (isPlaced ? seriesPath(identity) : QByteArray()) +
                     "/instances?SOPInstanceUID=" + QUrl::toPercentEncoding(identity.instance) + "&limit=1");
    return std::ranges::any_of(found,
                               [&](const QVariant &entry) { return isEntryOf(entry.toMap(), identity); });
}

bool isSeriesFound(QuorinApiClient &client, const platform::InstanceIdentity &identity)
{
    return !answerTo(client, seriesPath(identity) + "/instances?limit=1").isEmpty();
}

} // namespace gateway::cloud_client

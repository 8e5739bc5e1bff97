#include "updates/own_build.h"

#include "cloud_client/qrn_versions_api.h"
#include "updates/ed25519.h"
#include "updates/update_error.h"

#include <algorithm>
#include <iterator>

namespace gateway::updates {

namespace {

bool isNewer(const QString &version, const QString &than)
{
    return cloud_client::compareVersions(version, than) == std::strong_ordering::greater;
}

} // namespace

std::optional<AppcastItem>
newestFor(const OwnBuild &build, const QList<AppcastItem> &items, const QString &where)
{
    QList<AppcastItem> newer;
    std::ranges::copy_if(items, std::back_inserter(newer), [&build](const AppcastItem &item) {
        return item.kind == build.kind && item.architecture == build.architecture &&
               isNewer(item.versionString, build.versionString);
    });
    std::ranges::sort(newer, [](const AppcastItem &left, const AppcastItem &right) {
        return isNewer(left.versionString, right.versionString);
    });
    const auto newest = std::ranges::find_if(newer, [&build](const AppcastItem &item) {
        return isSignedBy(build.publicKey, signedText(item), item.signature);
    });
    if (newest != newer.end()) {
        return *newest;
    }
    if (!newer.isEmpty()) {
        throw UpdateError(UpdateFailure::badSignature, where);
    }
    return std::nullopt;
}

} // namespace gateway::updates

#include "index/kept_failures.h"

#include "platform/sqlite/database.h"

#include <QtCore/QHash>

#include <algorithm>

namespace gateway::index {

using platform::Database;
using platform::Statement;

namespace {

constexpr const char *kRecord =
    "INSERT INTO UploadFailure (pathString, failureClass, failureCode, failedAt, tries) "
    "SELECT ?1, ?2, ?3, ?4, ?5 WHERE EXISTS (SELECT 1 FROM DicomImage WHERE pathString = ?1) "
    "ON CONFLICT (pathString) DO UPDATE SET failureClass = excluded.failureClass, "
    "failureCode = excluded.failureCode, failedAt = excluded.failedAt, tries = tries + excluded.tries "
    "RETURNING tries";

constexpr const char *kHold = "UPDATE DicomImage SET notBefore = ? WHERE pathString = ?";

/// The pause after a file's `tries`-th failure, shortened by the file's own share.
std::int64_t
pauseInMilliseconds(std::span<const std::chrono::seconds> pauses, std::int64_t tries, const QString &path)
{
    constexpr std::size_t kShares = 256;
    constexpr std::int64_t kWhole = 8 * kShares; // the largest share is an eighth
    const auto last = static_cast<std::int64_t>(pauses.size());
    const auto step = static_cast<std::size_t>(std::clamp<std::int64_t>(tries, 1, last) - 1);
    const std::int64_t whole = std::chrono::milliseconds(pauses[step]).count();
    return whole - whole / kWhole * static_cast<std::int64_t>(qHash(path, 0) % kShares);
}

} // namespace

void keepFailure(Database &database, const QString &path, const FailedUpload &failure, std::int64_t now)
{
    Statement kept = database.prepare(kRecord);
    kept.bindAll(path, failure.failureClass, failure.failureCode, now, failure.pauses.empty() ? 0 : 1);
    const bool isKept = kept.step();
    const std::int64_t tries = isKept ? kept.integer(0) : 0;
    kept.run();
    if (isKept && !failure.pauses.empty()) {
        const std::int64_t pause = pauseInMilliseconds(failure.pauses, tries, path);
        database.prepare(kHold).bindAll(now + pause, path).run();
    }
}

LastFailure lastFailureOf(Database &database, const QString &path)
{
    Statement row = database.prepare("SELECT failureClass, tries FROM UploadFailure WHERE pathString = ?");
    return row.bindAll(path).step() ? LastFailure{row.text(0), row.integer(1)} : LastFailure();
}

} // namespace gateway::index

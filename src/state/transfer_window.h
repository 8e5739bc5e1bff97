#pragma once

#include "state/transfer_timeframe.h"

#include <QtCore/QDateTime>
#include <QtCore/QTimeZone>

#include <chrono>
#include <cstdint>
#include <vector>

namespace gateway::state {

// The arithmetic of the window that the transfer activity shows. Plain functions; thread: any.

/// The start of the bucket that a moment falls into, by the wall clock of `zone`: buckets of a day start with
/// the day, longer ones at an hour that is a multiple of theirs, shorter ones at such a minute.
///
/// Where the clock is set back, the hour that comes twice has its own buckets each time. A start that the
/// clock skips is the first moment behind the gap. Without a valid zone it is the moment itself.
///
/// \return in UTC; never later than `moment`.
QDateTime
alignedBucketStart(const QDateTime &moment, std::chrono::seconds bucketDuration, const QTimeZone &zone);

/// Like `alignedBucketStart`, for the bucket at the end of a window: it always holds `now`. Where the clock
/// was set back, an aligned bucket is longer than others, and a window that ended with its regular length
/// would leave out what comes in the time that is left over.
QDateTime newestBucketStart(const QDateTime &now, std::chrono::seconds bucketDuration, const QTimeZone &zone);

/// The two series and where they stand in time; index 0 is the oldest bucket.
struct TransferWindow
{
    std::vector<std::int64_t> received;
    std::vector<std::int64_t> sent;
    QDateTime start;  ///< of bucket 0
    QDateTime newest; ///< start of the newest bucket at the last build or roll
};

/// Where the first of `count` buckets starts when the last one starts at `newest`.
QDateTime windowStart(const QDateTime &newest, std::chrono::seconds bucketDuration, std::int64_t count);

/// What became of a window when time went on.
enum class Roll
{
    sameBucket, ///< nothing changed
    rolled,     ///< it moved by whole buckets
    outOfStep   ///< nothing changed: the clock was set forward or back, so that it must be built anew
};

/// Moves `window` to the one that ends with the bucket at `newest`; what leaves it is forgotten, what enters
/// is 0.
Roll rollForward(TransferWindow &window,
                 const QDateTime &newest,
                 std::chrono::seconds bucketDuration,
                 std::int64_t count);

/// What a distance of scrolling buys.
struct ZoomSpending
{
    std::int64_t steps = 0; ///< positive narrows the window
    double rest = 0;        ///< distance that waits for the next scrolling
};

/// One step for each 8 units of an accumulated distance; positive means scrolling up.
ZoomSpending spendScrolling(double accumulated);

/// The number of buckets after so many steps, within the bounds of the timeframe.
std::int64_t zoomedBucketCount(std::int64_t count, std::int64_t steps, TransferTimeframe timeframe);

} // namespace gateway::state

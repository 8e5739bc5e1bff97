#include "state/transfer_window.h"

#include <algorithm>
#include <cmath>

namespace gateway::state {

namespace {

using std::chrono::seconds;

constexpr seconds kDay = std::chrono::hours(24);
constexpr seconds kHour = std::chrono::hours(1);
constexpr seconds kMinute = std::chrono::minutes(1);

constexpr double kUnitsOfAStep = 8;
constexpr double kZoomOfAStep = 1.08;

// So many steps reach every bound from every count; more would only overflow.
constexpr double kMostSteps = 1000;

/// The wall clock's time at which a bucket starts.
QTime startOnTheClock(QTime time, seconds bucketDuration)
{
    if (bucketDuration >= kDay) {
        return {0, 0};
    }
    if (bucketDuration >= kHour) {
        const int hours = static_cast<int>(bucketDuration / kHour);
        return {time.hour() - time.hour() % hours, 0};
    }
    const int minutes = std::max(1, static_cast<int>(bucketDuration / kMinute));
    return {time.hour(), time.minute() - time.minute() % minutes};
}

/// The moment at which the clock of `zone` showed `time` on `date`; where it skipped that, the moment at
/// which it did so, which is the last change of the clock before `moment`.
QDateTime onTheClock(QDate date, QTime time, const QTimeZone &zone, const QDateTime &moment)
{
    const QDateTime shown(date, time, zone);
    if (shown.isValid() && shown.date() == date && shown.time() == time) {
        return shown.toUTC();
    }
    return zone.previousTransition(moment.addMSecs(1)).atUtc;
}

void shift(std::vector<std::int64_t> &series, std::size_t steps)
{
    series.erase(series.begin(),
                 series.begin() + static_cast<std::ptrdiff_t>(std::min(steps, series.size())));
    series.resize(series.size() + steps);
}

} // namespace

QDateTime alignedBucketStart(const QDateTime &moment, seconds bucketDuration, const QTimeZone &zone)
{
    const QDateTime local = moment.toTimeZone(zone);
    if (!local.isValid()) {
        return moment.toUTC();
    }
    const QTime start = startOnTheClock(local.time(), bucketDuration);

    // As much earlier as the clock says, unless the clock was set in between.
    const QDateTime earlier = local.addMSecs(-start.msecsTo(local.time()));
    if (earlier.date() == local.date() && earlier.time() == start) {
        return earlier.toUTC();
    }
    const QDateTime aligned = onTheClock(local.date(), start, zone, moment);
    return aligned.isValid() && aligned <= moment ? aligned : moment.toUTC();
}

QDateTime newestBucketStart(const QDateTime &now, seconds bucketDuration, const QTimeZone &zone)
{
    const QDateTime aligned = alignedBucketStart(now, bucketDuration, zone);
    const qint64 whole = aligned.secsTo(now) / bucketDuration.count();
    return aligned.addSecs(whole * bucketDuration.count());
}

QDateTime windowStart(const QDateTime &newest, seconds bucketDuration, std::int64_t count)
{
    return newest.addSecs(-bucketDuration.count() * (count - 1));
}

Roll rollForward(TransferWindow &window, const QDateTime &newest, seconds bucketDuration, std::int64_t count)
{
    if (newest <= window.newest) {
        return Roll::sameBucket;
    }
    const qint64 passed = window.newest.msecsTo(newest);
    const qint64 bucket = std::chrono::milliseconds(bucketDuration).count();
    if (passed % bucket != 0) {
        return Roll::outOfStep;
    }
    const qint64 steps = passed / bucket;
    const auto size = static_cast<std::size_t>(count);
    if (count <= steps) {
        window.received.assign(size, 0);
        window.sent.assign(size, 0);
        window.start = windowStart(newest, bucketDuration, count);
    } else {
        shift(window.received, static_cast<std::size_t>(steps));
        shift(window.sent, static_cast<std::size_t>(steps));
        window.start = window.start.addMSecs(bucket * steps);
    }
    window.newest = newest;
    return Roll::rolled;
}

ZoomSpending spendScrolling(double accumulated)
{
    const double whole = std::floor(std::abs(accumulated) / kUnitsOfAStep);
    const double rest = accumulated - std::copysign(whole * kUnitsOfAStep, accumulated);
    const auto steps = static_cast<std::int64_t>(std::min(whole, kMostSteps));
    return {accumulated > 0 ? steps : -steps, rest};
}

std::int64_t zoomedBucketCount(std::int64_t count, std::int64_t steps, TransferTimeframe timeframe)
{
    const double wanted =
        std::round(static_cast<double>(count) * std::pow(kZoomOfAStep, -static_cast<double>(steps)));
    const auto largest = static_cast<double>(largestVisibleBuckets(timeframe));
    auto next = static_cast<std::int64_t>(std::min(wanted, largest));
    if (next == count) {
        next = count - steps; // a small count still moves
    }
    return std::clamp(next, smallestVisibleBuckets(timeframe), largestVisibleBuckets(timeframe));
}

} // namespace gateway::state

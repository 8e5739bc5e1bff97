#pragma once

#include <QtCore/QString>

#include <array>
#include <chrono>
#include <cstdint>

namespace gateway::state {

/// How far back the transfer activity looks. Not kept between launches.
enum class TransferTimeframe
{
    oneHour,
    fourHours,
    oneDay,
    oneWeek,
    oneMonth
};

/// All timeframes in the order of the menu.
inline constexpr std::array kTransferTimeframes = {TransferTimeframe::oneHour,
                                                   TransferTimeframe::fourHours,
                                                   TransferTimeframe::oneDay,
                                                   TransferTimeframe::oneWeek,
                                                   TransferTimeframe::oneMonth};

// Thread: any.

/// The case's own name, such as "oneDay".
QString rawValue(TransferTimeframe timeframe);

/// The length of one bucket; zoom doesn't change it.
std::chrono::seconds bucketDuration(TransferTimeframe timeframe);

/// How many buckets show where nobody has zoomed.
std::int64_t defaultVisibleBuckets(TransferTimeframe timeframe);

/// The bounds of zooming.
std::int64_t smallestVisibleBuckets(TransferTimeframe timeframe);
std::int64_t largestVisibleBuckets(TransferTimeframe timeframe);

/// The words of the menu, such as "Last 24 hours".
QString menuTitle(TransferTimeframe timeframe);

/// What a moment on the chart is told by.
enum class MomentTemplate
{
    time,        ///< "HH:mm"
    weekdayTime, ///< "EEE HH:mm"
    monthDay     ///< "MMM d"
};

MomentTemplate momentTemplate(TransferTimeframe timeframe);

} // namespace gateway::state

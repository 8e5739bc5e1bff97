#include "state/transfer_timeframe.h"

namespace gateway::state {

namespace {

using std::chrono::seconds;

struct Row
{
    const char *name;
    seconds bucket;
    std::int64_t visible;
    const char *title;
    MomentTemplate moment;
};

constexpr Row kOneHour{"oneHour", seconds(300), 12, "Last 1 hour", MomentTemplate::time};
constexpr Row kFourHours{"fourHours", seconds(900), 16, "Last 4 hours", MomentTemplate::time};
constexpr Row kOneDay{"oneDay", seconds(3600), 24, "Last 24 hours", MomentTemplate::time};
constexpr Row kOneWeek{"oneWeek", seconds(21600), 28, "Last 7 days", MomentTemplate::weekdayTime};
constexpr Row kOneMonth{"oneMonth", seconds(86400), 30, "Last 30 days", MomentTemplate::monthDay};

// A third of the usual window, and twelve of them.
constexpr std::int64_t kSmallestPart = 3;
constexpr std::int64_t kLargestTimes = 12;

const Row &row(TransferTimeframe timeframe)
{
    switch (timeframe) {
    case TransferTimeframe::oneHour:
        return kOneHour;
    case TransferTimeframe::fourHours:
        return kFourHours;
    case TransferTimeframe::oneDay:
        return kOneDay;
    case TransferTimeframe::oneWeek:
        return kOneWeek;
    case TransferTimeframe::oneMonth:
        return kOneMonth;
    }
    qFatal("there is no such timeframe");
}

} // namespace

QString rawValue(TransferTimeframe timeframe)
{
    return QString::fromLatin1(row(timeframe).name);
}

std::chrono::seconds bucketDuration(TransferTimeframe timeframe)
{
    return row(timeframe).bucket;
}

std::int64_t defaultVisibleBuckets(TransferTimeframe timeframe)
{
    return row(timeframe).visible;
}

std::int64_t smallestVisibleBuckets(TransferTimeframe timeframe)
{
    return row(timeframe).visible / kSmallestPart;
}

std::int64_t largestVisibleBuckets(TransferTimeframe timeframe)
{
    return row(timeframe).visible * kLargestTimes;
}

QString menuTitle(TransferTimeframe timeframe)
{
    return QString::fromLatin1(row(timeframe).title);
}

MomentTemplate momentTemplate(TransferTimeframe timeframe)
{
    return row(timeframe).moment;
}

} // namespace gateway::state

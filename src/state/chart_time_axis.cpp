#include "state/chart_time_axis.h"

#include "state/time_texts.h"

#include <algorithm>

namespace gateway::state {

namespace {

constexpr std::int64_t kFewestLabels = 2;
constexpr std::int64_t kFewValues = 3;

std::int64_t countOf(const ChartXAxisLabels &labels)
{
    if (labels.valuesCount < kFewValues) {
        return kFewestLabels;
    }
    return std::max(std::min<std::int64_t>(labels.valuesCount, labels.labelCount), kFewestLabels);
}

LabelAlignment alignmentOf(std::int64_t i, std::int64_t count)
{
    if (i == 0) {
        return LabelAlignment::left;
    }
    return i == count - 1 ? LabelAlignment::right : LabelAlignment::centre;
}

} // namespace

QList<AxisLabel> placed(const ChartXAxisLabels &labels, const QTimeZone &zone, const QLocale &locale)
{
    const std::int64_t count = countOf(labels);
    const std::int64_t buckets = std::max<std::int64_t>(labels.valuesCount - 1, 1);
    const std::int64_t span = std::chrono::milliseconds(labels.bucketDuration).count() * buckets;
    QList<AxisLabel> list;
    for (std::int64_t i = 0; i < count; ++i) {
        const QDateTime moment = labels.windowStart.addMSecs(span * i / (count - 1));
        list.append({moment,
                     momentText(moment, labels.timeframe, zone, locale),
                     alignmentOf(i, count),
                     static_cast<double>(i) / static_cast<double>(count - 1)});
    }
    return list;
}

double leftOf(const AxisLabel &label, double width, double plotWidth)
{
    const double moment = label.share * plotWidth;
    switch (label.alignment) {
    case LabelAlignment::left:
        return moment;
    case LabelAlignment::right:
        return moment - width;
    case LabelAlignment::centre:
        break;
    }
    return moment - width / 2;
}

} // namespace gateway::state

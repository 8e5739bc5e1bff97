#pragma once

#include "state/transfer_timeframe.h"

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QLocale>
#include <QtCore/QString>
#include <QtCore/QTimeZone>

#include <chrono>
#include <cstdint>

namespace gateway::state {

// The time axis of the transfer chart. Plain values and functions; thread: any.

/// The moments below the plot.
struct ChartXAxisLabels
{
    std::int64_t valuesCount = 0; ///< of the longer series
    int labelCount = 5;
    TransferTimeframe timeframe = TransferTimeframe::oneDay;
    QDateTime windowStart;
    std::chrono::seconds bucketDuration{0};

    bool operator==(const ChartXAxisLabels &) const = default;
};

enum class LabelAlignment
{
    left,
    centre,
    right
};

/// One label. It stands where its moment is: the first one begins there, the last one ends there, those
/// between have it in their middle.
struct AxisLabel
{
    QDateTime moment;
    QString text;
    LabelAlignment alignment = LabelAlignment::centre;
    double share = 0; ///< of the plot's width, from its left edge to the moment

    bool operator==(const AxisLabel &) const = default;
};

/// The labels from left to right, from the first bucket's start to the last one's; at least two.
QList<AxisLabel> placed(const ChartXAxisLabels &labels, const QTimeZone &zone, const QLocale &locale);

/// Where a label of that width begins, from the plot's left edge.
double leftOf(const AxisLabel &label, double width, double plotWidth);

} // namespace gateway::state

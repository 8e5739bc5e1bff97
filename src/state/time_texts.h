#pragma once

#include "state/transfer_timeframe.h"

#include <QtCore/QDateTime>
#include <QtCore/QLocale>
#include <QtCore/QString>
#include <QtCore/QTimeZone>

#include <chrono>

namespace gateway::state {

// Times in the words of a locale. Plain functions; thread: any.

/// A duration in days, hours and minutes, such as "1d 6h": the largest two of those that aren't zero, what
/// is smaller cut off. Nothing for less than a minute.
QString abbreviatedDuration(std::chrono::seconds duration, const QLocale &locale);

/// "Last " and how long a window of `span` is.
QString rangeTitle(std::chrono::seconds span, const QLocale &locale);

/// A moment as the axis and the callout of a timeframe tell it, on the clock of `zone`: hours of 24, the
/// order and the signs of the locale.
QString momentText(const QDateTime &moment,
                   TransferTimeframe timeframe,
                   const QTimeZone &zone,
                   const QLocale &locale);

} // namespace gateway::state

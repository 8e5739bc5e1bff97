#include "upload/retention_cutoff.h"

#include <algorithm>

namespace gateway::upload {

namespace {

constexpr qint64 kMillisecondsOfADay = 86'400'000;

/// The moment at which clocks in `zone` show a date and time.
QDateTime momentShowing(QDate date, QTime time, const QTimeZone &zone)
{
    const qint64 shown = QDateTime(date, time, Qt::UTC).toMSecsSinceEpoch();
    const auto offsetAt = [&](qint64 moment) {
        return qint64{zone.offsetFromUtc(QDateTime::fromMSecsSinceEpoch(moment, Qt::UTC))} * 1000;
    };
    // No zone changes its clocks twice within two days: one of these offsets rules, or both.
    const qint64 before = offsetAt(shown - kMillisecondsOfADay);
    const qint64 after = offsetAt(shown + kMillisecondsOfADay);
    const qint64 early = shown - std::max(before, after);
    const bool earlyIsShown = offsetAt(early) == std::max(before, after);
    const qint64 moment = earlyIsShown ? early : shown - std::min(before, after);
    return QDateTime::fromMSecsSinceEpoch(moment, Qt::UTC);
}

} // namespace

std::optional<QDateTime>
retentionCutoff(const core::RetentionPolicy &policy, const QDateTime &now, const QTimeZone &zone)
{
    const QDateTime local = now.toTimeZone(zone);
    QDate date;
    switch (policy.mode) {
    case core::GatewayAutoDeleteMode::never:
        return std::nullopt;
    case core::GatewayAutoDeleteMode::days:
        date = local.date().addDays(-policy.value);
        break;
    case core::GatewayAutoDeleteMode::months:
        date = local.date().addMonths(-policy.value);
        break;
    }
    const bool isKnown = local.isValid() && date.isValid() && zone.isValid();
    return isKnown ? std::optional(momentShowing(date, local.time(), zone)) : std::nullopt;
}

} // namespace gateway::upload

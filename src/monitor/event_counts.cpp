#include "monitor/event_counts.h"

#include <utility>

namespace gateway::monitor {

using log::GatewayLogAction;

void EventCounts::log(log::GatewayLogEvent event)
{
    count(event);
    m_log.log(std::move(event));
}

void EventCounts::count(const log::GatewayLogEvent &event)
{
    const QMap<QString, QString> details = event.details.value_or(QMap<QString, QString>());
    const auto is = [&event](GatewayLogAction action) { return event.action == action; };
    if (is(GatewayLogAction::associationStarted)) {
        ++m_associations;
    } else if (is(GatewayLogAction::associationFailed) && details.contains(QStringLiteral("turned_away"))) {
        countTurnedAway(details);
    } else if (is(GatewayLogAction::associationFailed)) {
        ++m_failedAssociations;
    } else if (is(GatewayLogAction::fileReceivedCallback)) {
        if (event.outcome == log::GatewayLogOutcome::failed) {
            return; // what the receiver named is no file of its inbox
        }
        ++m_receivedImages;
        m_receivedBytes += event.fileSizeBytes.value_or(0);
    } else if (is(GatewayLogAction::importFailed)) {
        ++m_failedImports;
    } else if (is(GatewayLogAction::uploadAttemptSucceeded)) {
        m_uploadedBytes += event.fileSizeBytes.value_or(0);
    } else if (is(GatewayLogAction::uploadResultRecorded)) {
        // The record's outcome also tells whether a row changed; what the cloud said is in this detail.
        const bool didSync = details.value(QStringLiteral("did_sync")) == QStringLiteral("true");
        ++(didSync ? m_uploadedImages : m_failedUploads);
    } else if (is(GatewayLogAction::listenerStartFailed)) {
        ++m_listenerFailures;
    }
}

void EventCounts::countTurnedAway(const QMap<QString, QString> &details)
{
    const platform::MutexLock lock(m_mutex);
    m_turnedAway[details.value(QStringLiteral("reason"))] +=
        details.value(QStringLiteral("turned_away")).toLongLong();
}

EventTotals EventCounts::totals() const
{
    const platform::MutexLock lock(m_mutex);
    return {.associations = m_associations,
            .failedAssociations = m_failedAssociations,
            .receivedImages = m_receivedImages,
            .receivedBytes = m_receivedBytes,
            .failedImports = m_failedImports,
            .uploadedImages = m_uploadedImages,
            .uploadedBytes = m_uploadedBytes,
            .failedUploads = m_failedUploads,
            .listenerFailures = m_listenerFailures,
            .turnedAway = m_turnedAway};
}

} // namespace gateway::monitor

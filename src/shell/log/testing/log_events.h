#pragma once

#include "log/browsing/image_trail.h"
#include "log/browsing/testing/log_folder.h"

#include <QtCore/QList>

namespace gateway::shell::testing {

/// An event as an upload that failed leaves it.
inline log::GatewayLogEvent failedUpload(int second)
{
    log::GatewayLogEvent event = log::testing::eventAt(second);
    event.level = log::GatewayLogLevel::error;
    event.category = log::GatewayLogCategory::send;
    event.action = log::GatewayLogAction::uploadAttemptFailed;
    event.outcome = log::GatewayLogOutcome::failed;
    event.correlationId = QStringLiteral("5D7C1B60-3F0E-4C57-9E56-0A4F3B7C9D12");
    event.fileHash = QStringLiteral("0123456789abcdef");
    event.assocHash = QStringLiteral("fedcba9876543210");
    event.fileSizeBytes = 526336;
    event.attempt = 2;
    event.details = QMap<QString, QString>{{QStringLiteral("statusCode"), QStringLiteral("503")}};
    event.error = {
        QStringLiteral("QuorinAPI"), 503, QStringLiteral("redacted_message_hash=9f86d081884c7d65")};
    return event;
}

/// Events of a working day, in turn.
inline log::GatewayLogEvent someEvent(int second)
{
    if (second % 7 == 3) {
        return failedUpload(second);
    }
    log::GatewayLogEvent event = log::testing::eventAt(second);
    constexpr struct
    {
        log::GatewayLogLevel level;
        log::GatewayLogCategory category;
        log::GatewayLogAction action;
        log::GatewayLogOutcome outcome;
    } kKinds[] = {{log::GatewayLogLevel::info,
                   log::GatewayLogCategory::receive,
                   log::GatewayLogAction::associationStarted,
                   log::GatewayLogOutcome::started},
                  {log::GatewayLogLevel::debug,
                   log::GatewayLogCategory::send,
                   log::GatewayLogAction::uploadAttemptProgress,
                   log::GatewayLogOutcome::inProgress},
                  {log::GatewayLogLevel::info,
                   log::GatewayLogCategory::receive,
                   log::GatewayLogAction::importSucceeded,
                   log::GatewayLogOutcome::succeeded},
                  {log::GatewayLogLevel::warning,
                   log::GatewayLogCategory::uploadQueue,
                   log::GatewayLogAction::uploadRunRequeued,
                   log::GatewayLogOutcome::queued}};
    const auto &kind = kKinds[second % 4];
    event.level = kind.level;
    event.category = kind.category;
    event.action = kind.action;
    event.outcome = kind.outcome;
    event.fileHash = QStringLiteral("%1").arg(quint64(second) * 0x9E3779B97F4A7C15ULL, 16, 16, QChar(u'0'));
    return event;
}

/// What happens to one image, an event a second: ten of them.
inline QList<log::GatewayLogEvent> lifeOfAnImage(int second)
{
    using Action = log::GatewayLogAction;
    using Outcome = log::GatewayLogOutcome;
    QList<log::GatewayLogEvent> life;
    const auto add = [&](log::GatewayLogCategory category, Action action, Outcome outcome) {
        log::GatewayLogEvent event = log::testing::eventAt(second++);
        event.category = category;
        event.action = action;
        event.outcome = outcome;
        const bool isReceived = category == log::GatewayLogCategory::receive;
        if (isReceived) {
            event.assocHash = QStringLiteral("aaaaaaaaaaaaaaaa");
        }
        if (action != Action::associationStarted && action != Action::associationCompleted) {
            event.fileHash =
                isReceived ? QStringLiteral("1111111111111111") : QStringLiteral("2222222222222222");
        }
        if (action == Action::importSucceeded) {
            event.details = {{log::kStoredFileHashKey, QStringLiteral("2222222222222222")}};
        }
        life.append(event);
    };
    using enum log::GatewayLogCategory;
    add(receive, Action::associationStarted, Outcome::started);
    add(receive, Action::fileReceivedCallback, Outcome::started);
    add(receive, Action::importAttempted, Outcome::started);
    add(receive, Action::importSucceeded, Outcome::succeeded);
    add(receive, Action::incomingFileDeleted, Outcome::succeeded);
    add(send, Action::uploadCandidateSelected, Outcome::started);
    add(send, Action::uploadAttemptStarted, Outcome::started);
    add(send, Action::uploadAttemptSucceeded, Outcome::succeeded);
    add(send, Action::uploadResultRecorded, Outcome::succeeded);
    add(uploadQueue, Action::incomingFileDeleted, Outcome::completed);
    return life;
}

} // namespace gateway::shell::testing

#include "receive/listener_log.h"

#include "log/writing/redaction.h"

#include <utility>

namespace gateway::receive {

using log::GatewayLogAction;
using log::GatewayLogCategory;
using log::GatewayLogLevel;
using log::GatewayLogOutcome;
using platform::StoreSCPInterruption;

namespace {

const QString kPort = QStringLiteral("port");
const QString kReason = QStringLiteral("reason");
const QString kResult = QStringLiteral("listener_result");

QString reasonOf(StoreSCPInterruption::Cause cause)
{
    switch (cause) {
    case StoreSCPInterruption::Cause::ended:
        return QStringLiteral("process_ended");
    case StoreSCPInterruption::Cause::silent:
        return QStringLiteral("process_gave_no_sign_of_life");
    case StoreSCPInterruption::Cause::notStarted:
        return QStringLiteral("restart_failed");
    }
    return {};
}

std::optional<log::GatewayLogError> logError(const std::optional<QString> &message)
{
    return message
               ? std::optional(log::redactedError(QStringLiteral("QuorinGateway.StoreError"), 1, *message))
               : std::nullopt;
}

} // namespace

void ListenerLog::startRequested(int port) const
{
    emitOfListener(GatewayLogAction::listenerStartRequested,
                   GatewayLogOutcome::started,
                   {{kPort, QString::number(port)}});
}

void ListenerLog::startSkipped(int port, const QString &reason) const
{
    emitOfListener(GatewayLogAction::listenerStartRequested,
                   GatewayLogOutcome::skipped,
                   {{kReason, reason}, {kPort, QString::number(port)}});
}

void ListenerLog::startSucceeded(int port) const
{
    emitOfListener(GatewayLogAction::listenerStartSucceeded,
                   GatewayLogOutcome::succeeded,
                   {{kPort, QString::number(port)}});
}

void ListenerLog::startFailed(int port, std::int32_t result) const
{
    emitOfListener(GatewayLogAction::listenerStartFailed,
                   GatewayLogOutcome::failed,
                   {{kPort, QString::number(port)}, {kResult, QString::number(result)}},
                   QStringLiteral("startListeningAETitle returned non-zero result"));
}

void ListenerLog::startRefused(const platform::Sentence &why) const
{
    emitOfListener(GatewayLogAction::listenerStartFailed, GatewayLogOutcome::failed, {}, why.inEnglish());
}

void ListenerLog::stopped(bool hadListener) const
{
    emitOfListener(GatewayLogAction::listenerStopped,
                   hadListener ? GatewayLogOutcome::completed : GatewayLogOutcome::skipped,
                   {{QStringLiteral("had_active_listener"),
                     hadListener ? QStringLiteral("true") : QStringLiteral("false")}});
}

void ListenerLog::interrupted(int port, const StoreSCPInterruption &interruption) const
{
    emitOfListener(GatewayLogAction::listenerStopped,
                   GatewayLogOutcome::failed,
                   {{kPort, QString::number(port)},
                    {kReason, reasonOf(interruption.cause)},
                    {kResult, QString::number(interruption.status)},
                    {QStringLiteral("restart_in_ms"), QString::number(interruption.pause.count())}},
                   interruption.message.inEnglish());
}

void ListenerLog::resumed(int port) const
{
    emitOfListener(GatewayLogAction::listenerStartSucceeded,
                   GatewayLogOutcome::succeeded,
                   {{kPort, QString::number(port)}, {kReason, QStringLiteral("after_interruption")}});
}

void ListenerLog::associationStarted(const QString &association) const
{
    emitOfAssociation(association, GatewayLogAction::associationStarted, GatewayLogOutcome::started);
}

void ListenerLog::associationCompleted(const QString &association) const
{
    emitOfAssociation(association, GatewayLogAction::associationCompleted, GatewayLogOutcome::completed);
}

void ListenerLog::associationFailed(const QString &association, const QString &message) const
{
    emitOfAssociation(
        association, GatewayLogAction::associationFailed, GatewayLogOutcome::failed, {}, message);
}

void ListenerLog::fileMisnamed(const QString &association) const
{
    emitOfAssociation(association,
                      GatewayLogAction::fileReceivedCallback,
                      GatewayLogOutcome::failed,
                      {{kReason, QStringLiteral("not_a_file_of_the_inbox")}});
}

void ListenerLog::peersTurnedAway(const platform::StoreSCPTurnedAway &away) const
{
    log::StoreLogRecord record;
    record.level = GatewayLogLevel::warning;
    record.category = GatewayLogCategory::receive;
    record.action = GatewayLogAction::associationFailed;
    record.outcome = GatewayLogOutcome::skipped;
    record.details = {{kReason, away.reason},
                      {QStringLiteral("turned_away"), QString::number(away.count)},
                      {QStringLiteral("host_hash"), log::hashedIdentifier(away.host).value_or(QString())}};
    m_emitter.emit(record);
}

void ListenerLog::emitOfListener(GatewayLogAction action,
                                 GatewayLogOutcome outcome,
                                 QMap<QString, QString> details,
                                 std::optional<QString> error) const
{
    log::StoreLogRecord record;
    record.level = error ? GatewayLogLevel::error : GatewayLogLevel::info;
    record.category = GatewayLogCategory::listener;
    record.action = action;
    record.outcome = outcome;
    record.details = std::move(details);
    record.error = logError(error);
    m_emitter.emit(record);
}

void ListenerLog::emitOfAssociation(const QString &association,
                                    GatewayLogAction action,
                                    GatewayLogOutcome outcome,
                                    QMap<QString, QString> details,
                                    std::optional<QString> error) const
{
    log::StoreLogRecord record;
    record.level = outcome == GatewayLogOutcome::failed ? GatewayLogLevel::error : GatewayLogLevel::info;
    record.category = GatewayLogCategory::receive;
    record.action = action;
    record.outcome = outcome;
    record.assocHash = log::hashedIdentifier(association);
    record.details = std::move(details);
    record.error = logError(error);
    m_emitter.emit(record);
}

} // namespace gateway::receive

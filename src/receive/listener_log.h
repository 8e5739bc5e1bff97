#pragma once

#include "log/writing/store_log_emitter.h"
#include "platform/dicom/store_scp.h"
#include "platform/sentences/sentence.h"

#include <QtCore/QMap>
#include <QtCore/QString>

#include <cstdint>
#include <optional>

namespace gateway::receive {

/// What the log says of the listener and of its associations. Ports are numbers, associations come by their
/// identifiers and are kept as hashes.
///
/// Owner: StoreListenerService. Thread: any.
class ListenerLog
{
public:
    /// \param emitter  outlives this.
    explicit ListenerLog(log::StoreLogEmitter &emitter) : m_emitter(emitter) {}

    void startRequested(int port) const;
    void startSkipped(int port, const QString &reason) const;
    void startSucceeded(int port) const;
    void startFailed(int port, std::int32_t result) const;

    /// The incoming folder was in the way before anything was tried.
    void startRefused(const platform::Sentence &why) const;

    void stopped(bool hadListener) const;
    void interrupted(int port, const platform::StoreSCPInterruption &interruption) const;
    void resumed(int port) const;

    void associationStarted(const QString &association) const;
    void associationCompleted(const QString &association) const;
    void associationFailed(const QString &association, const QString &message) const;

    /// The receiver named a file that isn't one of its own.
    void fileMisnamed(const QString &association) const;
    void peersTurnedAway(const platform::StoreSCPTurnedAway &away) const;

private:
    void emitOfListener(log::GatewayLogAction action,
                        log::GatewayLogOutcome outcome,
                        QMap<QString, QString> details,
                        std::optional<QString> error = std::nullopt) const;
    void emitOfAssociation(const QString &association,
                           log::GatewayLogAction action,
                           log::GatewayLogOutcome outcome,
                           QMap<QString, QString> details = {},
                           std::optional<QString> error = std::nullopt) const;

    log::StoreLogEmitter &m_emitter;
};

} // namespace gateway::receive

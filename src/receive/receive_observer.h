#pragma once

#include <QtCore/QString>
#include <QtCore/QtGlobal>

namespace gateway::receive {

/// Is told what comes in, as it happens. Nothing here blocks or throws.
///
/// Thread: any, several at a time.
class ReceiveObserver
{
public:
    virtual ~ReceiveObserver() = default;

    /// An association was accepted.
    virtual void associationStarted() = 0;

    /// An association ended otherwise than by its release.
    virtual void associationFailed() = 0;

    /// So many peers were turned away, for a reason in the log's words.
    virtual void peersTurnedAway(const QString &reason, qint64 count) = 0;

    /// A complete file of so many bytes came over the network.
    virtual void fileReceived(qint64 bytes) = 0;

    /// A received file, or a whole manual import, could not be taken into the index.
    virtual void importFailed() = 0;

    /// The listener could not start, or ended by itself.
    virtual void listenerFailed() = 0;
};

} // namespace gateway::receive

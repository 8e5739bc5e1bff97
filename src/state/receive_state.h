#pragma once

#include <QtCore/QString>

namespace gateway::state {

/// Where the listener's live figures go: who is sending at the moment, and what came.
///
/// Owner: app. Thread: main.
class ReceiveState
{
public:
    virtual ~ReceiveState() = default;

    /// Whether a receiver stands now; told before the notification of the change.
    virtual void setListening(bool isListening) = 0;

    /// An association with this identifier began.
    virtual void beginReceiveAssociation(const QString &association) = 0;

    /// The association ended, well or badly; an unknown one is no error.
    virtual void endReceiveAssociation(const QString &association) = 0;

    /// The listener stopped: no association is left.
    virtual void clearReceiveAssociations() = 0;

    /// One more file has come.
    virtual void recordReceivedItem() = 0;

    /// The index has changed; its counters are to be read again.
    virtual void refreshCounters() = 0;
};

} // namespace gateway::state

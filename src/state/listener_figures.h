#pragma once

#include <QtCore/QString>

namespace gateway::state {

/// How the listener stands. Thread: a plain value.
struct ListenerFigures
{
    bool isEnabled = true;      ///< by its settings
    bool isStarted = false;     ///< told to listen; its port may not be bound yet
    bool isBound = false;       ///< its port is bound
    bool isInterrupted = false; ///< it was bound, and its process is being started again
    QString aeTitle;
    int port = 0;    ///< the bound one, else the configured one
    QString address; ///< to register in a modality
    QString failure; ///< why the last start failed, or why it is interrupted; empty once it listens

    /// False when it should listen and doesn't. A listener that nobody has started yet is as it should be.
    bool isAsItShouldBe() const
    {
        const bool wasTried = isStarted || isInterrupted || !failure.isEmpty();
        return !isEnabled || !wasTried || (isBound && !isInterrupted);
    }
};

} // namespace gateway::state

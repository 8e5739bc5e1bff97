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
};

} // namespace gateway::state

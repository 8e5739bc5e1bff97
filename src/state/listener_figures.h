#pragma once

#include <QtCore/QString>

namespace gateway::state {

/// How the listener stands. Thread: a plain value.
struct ListenerFigures
{
    bool isEnabled = true;  ///< by its settings
    bool isStarted = false; ///< told to listen; its port may not be bound yet
    bool isBound = false;   ///< its port is bound
    QString aeTitle;
    int port = 0;    ///< the bound one, else the configured one
    QString address; ///< to register in a modality
    QString failure; ///< why the last start failed; empty once one succeeded
};

} // namespace gateway::state

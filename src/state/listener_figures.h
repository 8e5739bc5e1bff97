#pragma once

#include <QtCore/QString>

namespace gateway::state {

/// How the listener stands.
enum class ListenerState
{
    stopped,
    starting,   ///< told to listen; its port isn't bound yet
    listening,  ///< its port is bound
    restarting, ///< it was bound, and its process is being started again
    failed      ///< its last start was in vain
};

/// What is known of the listener. Thread: a plain value.
struct ListenerFigures
{
    bool isEnabled = true; ///< by its settings
    ListenerState state = ListenerState::stopped;
    QString aeTitle;
    int port = 0;    ///< the bound one, else the configured one
    QString address; ///< to register in a modality
    QString failure; ///< why the last start failed, or why it is interrupted; empty once it listens

    /// False when it should listen and doesn't. A listener that nobody has started yet is as it should be.
    bool isAsItShouldBe() const
    {
        return !isEnabled || state == ListenerState::stopped || state == ListenerState::listening;
    }
};

} // namespace gateway::state

#pragma once

#include "platform/sentences/sentence.h"

#include <QtCore/QLatin1StringView>
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

/// The state as programs are told of it; it never changes.
inline QLatin1StringView rawValue(ListenerState state)
{
    switch (state) {
    case ListenerState::stopped:
        break;
    case ListenerState::starting:
        return QLatin1StringView("starting");
    case ListenerState::listening:
        return QLatin1StringView("listening");
    case ListenerState::restarting:
        return QLatin1StringView("restarting");
    case ListenerState::failed:
        return QLatin1StringView("failed");
    }
    return QLatin1StringView("stopped");
}

/// What is known of the listener. Thread: a plain value.
struct ListenerFigures
{
    bool isEnabled = true; ///< by its settings
    ListenerState state = ListenerState::stopped;
    QString aeTitle;
    int port = 0;    ///< the bound one, else the configured one
    QString address; ///< to register in a modality
    platform::Sentence
        failure; ///< why the last start failed, or why it is interrupted; empty once it listens

    /// False when it should listen and doesn't. A listener that nobody has started yet is as it should be.
    bool isAsItShouldBe() const
    {
        return !isEnabled || state == ListenerState::stopped || state == ListenerState::listening;
    }
};

} // namespace gateway::state

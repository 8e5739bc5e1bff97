#pragma once

#include "monitor/health_figures.h"

namespace gateway::monitor {

/// Whether the gateway does what it is there for.
struct HealthVerdict
{
    bool isHealthy = false;
    QString
        sentence; ///< for people: one plain sentence, and one for each trouble that a restart wouldn't end

    bool operator==(const HealthVerdict &) const = default;
};

/// Healthy while the index answers and the listener that should run runs. A listener that is switched off, or
/// waits for the end of setup, needn't run.
HealthVerdict verdictOn(const HealthFigures &figures);

/// The verdict when the main loop has told nothing for too long.
HealthVerdict verdictOnSilence();

/// How the gateway does, in a few words for the service manager.
QString statusLine(const HealthFigures &figures);

} // namespace gateway::monitor

#pragma once

#include "app/launch_ports.h"

namespace gateway::app {

/// A gateway without a display is kept up to date by the system's packages, not by itself.
class PackagedUpkeep final : public ProgramUpkeep
{
public:
    void checkInstallLocation() override {}
    void startUpdater() override {}
    void startVersionPolicy() override {}
    void checkForUpdates(const QString &) override {}
};

} // namespace gateway::app

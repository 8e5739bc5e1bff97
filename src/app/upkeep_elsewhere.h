#pragma once

#include "app/launch_ports.h"

namespace gateway::app {

/// The gateway is kept up to date by the system's packages, not by itself.
///
/// Owner: Gateway. Thread: main.
class PackagedUpkeep final : public ProgramUpkeep
{
public:
    explicit PackagedUpkeep(GatewayFace &face) : m_face(face) {}

    void checkInstallLocation() override {}
    void startUpdater() override {}
    void startVersionPolicy() override {}

    /// Says who keeps it up to date, since nobody here can look.
    void checkForUpdates(const QString &reason) override;

private:
    GatewayFace &m_face;
};

} // namespace gateway::app

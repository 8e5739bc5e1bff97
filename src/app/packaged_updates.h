#pragma once

#include "app/launch_ports.h"
#include "updates/updater.h"

namespace gateway::app {

/// The gateway is kept up to date by the system's packages, not by itself: it never looks, and says so to a
/// person who asks.
///
/// Owner: GatewayUpdaterService. Thread: main.
class PackagedUpdates final : public updates::Updater
{
public:
    /// \param face  outlives this.
    explicit PackagedUpdates(GatewayFace &face) : m_face(face) {}

    bool automaticallyChecksForUpdates() const override { return false; }

    /// There is nothing to switch on.
    void setAutomaticallyChecksForUpdates(bool /*areOn*/) override {}

    void checkForUpdatesInBackground() override {}
    void checkForUpdates() override;

private:
    GatewayFace &m_face;
};

} // namespace gateway::app

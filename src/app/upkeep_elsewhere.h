#pragma once

#include "app/launch_ports.h"
#include "upload/upload_ports.h"

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

/// Leaves the question of terms to whoever signs in next.
class NoTermsFollowUp final : public upload::TermsFollowUp
{
public:
    void checkTermsAfterUploadFailure(const std::exception &, const QString &, const QUrl &) override {}
};

} // namespace gateway::app

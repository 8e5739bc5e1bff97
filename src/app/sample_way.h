#pragma once

#include "app/receiving.h"
#include "wizard/sample_ports.h"

namespace gateway::app {

/// The way that a sample takes: through this gateway to its cloud, as every image's.
///
/// Owner: Doors. Thread: as the ports say.
class SampleWay final : public wizard::SampleGateway, public wizard::SampleCloud
{
public:
    /// All outlive this.
    struct Parts
    {
        Ground &ground;
        CloudAccount &account;
        Sending &sending;
        Receiving &receiving;
    };

    explicit SampleWay(const Parts &parts) : m_parts(parts) {}

    std::optional<platform::SampleDestination> listener() override;
    platform::SampleOutcome send(const platform::SampleDestination &destination,
                                 const platform::InstanceIdentity &sample,
                                 const QDateTime &madeAt) override;
    wizard::LocalSample look(const platform::InstanceIdentity &sample) override;
    void requestUpload() override;
    bool isUploading() override;

    bool isSignedIn() override;
    bool isFound(const platform::InstanceIdentity &sample) override;

    bool removeHere(const platform::InstanceIdentity &sample) override;
    void removeInCloud(const platform::InstanceIdentity &sample) override;

private:
    std::optional<wizard::LocalSample> recorded(const platform::InstanceIdentity &sample) const;
    std::optional<core::FailureClass> failureOf(const platform::StudyUid &study) const;
    bool isSurelyAbsent(const platform::StudyUid &study) const;

    const Parts m_parts;
};

} // namespace gateway::app

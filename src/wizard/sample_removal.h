#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/task_scope.h"
#include "platform/concurrency/worker_pool.h"
#include "wizard/sample_notes.h"
#include "wizard/sample_ports.h"

#include <QCoro/QCoroTask>

#include <chrono>
#include <optional>
#include <stop_token>

namespace gateway::wizard {

/// What sending samples and taking them away works with; all outlives it.
struct SampleParts
{
    platform::UserDefaults &defaults;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;        ///< for disks
    platform::WorkerPool &networkPool; ///< for calls that may take as long as the network lets them
    platform::Clock &clock;
    SampleGateway &gateway;
    SampleCloud &cloud;
};

/// How far a sample is gone.
struct SampleRemoved
{
    enum class Rest
    {
        none,          ///< it is gone, here and in the cloud
        yetToCome,     ///< it may lie in an incoming folder, and isn't recorded
        here,          ///< what is recorded of it can't be deleted now
        beingUploaded, ///< an upload is under way that may carry it
        inCloud,       ///< nobody is signed in, or the cloud doesn't delete it
        mayComeLater   ///< gone as far as is known, but the cloud may have taken it without showing it yet
    };

    Rest rest = Rest::none;
    std::optional<QString> why =
        std::nullopt; ///< of `inCloud`: what the cloud said; nothing without a session
};

/// Sees to it that no sample stays, neither here nor in the cloud, whatever went wrong in between and
/// whenever the gateway ended: what was sent is kept in mind until it is gone.
///
/// Owner: app. Thread: main.
class SampleRemoval
{
public:
    /// What couldn't be taken away is tried again after this, and then after twice as long each time.
    static constexpr std::chrono::seconds kFirstPause{30};
    static constexpr std::chrono::hours kLongestPause{1};

    /// An archive that takes images and stores them later has done so by then.
    static constexpr std::chrono::hours kLatestArrival{24};

    explicit SampleRemoval(const SampleParts &parts);
    ~SampleRemoval();

    SampleRemoval(const SampleRemoval &) = delete;
    SampleRemoval &operator=(const SampleRemoval &) = delete;

    /// Keeps a sample in mind that is about to be sent. \return false when it isn't to be sent.
    bool expect(const platform::InstanceIdentity &sample)
    {
        return m_notes.add(sample.study, m_parts.clock.now().addDuration(kLatestArrival));
    }

    /// The sample was sent nowhere.
    void forget(const platform::InstanceIdentity &sample) { m_notes.remove(sample.study); }

    /// Takes a sample away as far as that goes now, and forgets it when nothing is left.
    ///
    /// \param wasUploadSeenToEnd  whether an upload that is under way can't be this sample's.
    QCoro::Task<SampleRemoved> remove(platform::InstanceIdentity sample, bool wasUploadSeenToEnd);

    /// Takes away by and by what is left of all samples, also from earlier starts. Called at the start, and
    /// whenever something may have stayed.
    void clearUp();

    /// The session may have changed: where somebody has signed in, what waits in the cloud is tried at once.
    void sessionSeen();

    /// The next samples that are cleared up are all but this one, which somebody works with; nothing for
    /// none.
    void setInUse(const std::optional<platform::StudyUid> &study) { m_inUse = study; }

private:
    QCoro::Task<> keepClearing();
    QCoro::Task<bool> clearOnce();
    bool isClosing() const { return m_scope.stopToken().stop_requested(); }

    const SampleParts m_parts;
    SampleNotes m_notes;
    std::optional<platform::StudyUid> m_inUse;
    bool m_isClearing = false;
    bool m_wasSignedIn = false;
    std::stop_source m_wake;     // ends the present pause
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::wizard

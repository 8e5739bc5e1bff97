#pragma once

#include "index/deletion_results.h"
#include "log/writing/store_log_emitter.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/serial_queue.h"
#include "upload/upload_ports.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <atomic>
#include <functional>
#include <optional>

namespace gateway::upload {

/// Applies the retention policy: lets go of the images that were uploaded longer ago than it allows, in the
/// background, one cleanup at a time.
///
/// Owner: app. Thread: any. The destructor waits for a cleanup under way; those that wait are dropped.
class GatewayAutoDeleteCleanupService final : public GatewayAutoDeleteCleanupServicing
{
public:
    /// What the service works with. The functions are called on the cleanup's thread where nothing else is
    /// said; none may throw.
    struct Collaborators
    {
        log::StoreLogEmitter &logger; ///< outlives the service, as does `main`
        platform::MainExecutor &main;

        /// Before which moment uploaded images go, for a given now; nothing when none are to go.
        std::function<std::optional<QDateTime>(const QDateTime &now)> cutoffDateProvider;

        /// Lets go of what was uploaded before a moment.
        std::function<index::LocalPruneResult(const QDateTime &cutoff)> pruner;

        /// Refreshes the live figures. Called on the main thread, where it may run after the service has
        /// gone.
        std::function<void()> appStateRefreshHandler;

        std::function<QDateTime()> dateProvider; ///< now

        /// False while the clock is in doubt, so that nothing may go by its age.
        std::function<bool()> isClockBelieved;
    };

    explicit GatewayAutoDeleteCleanupService(Collaborators collaborators);
    ~GatewayAutoDeleteCleanupService() override;

    GatewayAutoDeleteCleanupService(const GatewayAutoDeleteCleanupService &) = delete;
    GatewayAutoDeleteCleanupService &operator=(const GatewayAutoDeleteCleanupService &) = delete;

    void runCleanup(const QString &trigger,
                    const std::optional<QString> &correlationId,
                    const std::optional<QDateTime> &overrideCutoff) override;

    /// The work itself, on the caller's thread; blocks until it is done.
    ///
    /// \param overrideCutoff  stands for now: the policy still goes from there.
    /// \return nothing when the policy keeps everything, when the clock is in doubt, or when a cleanup is
    ///         running already.
    std::optional<index::LocalPruneResult> performCleanup(const QString &trigger,
                                                          const std::optional<QString> &correlationId,
                                                          const std::optional<QDateTime> &overrideCutoff);

    /// True when the last cleanup was held back because the clock was in doubt.
    bool isHeldBack() const { return m_isHeldBack; }

private:
    class Running;

    bool mayTrustClock(const QString &trigger, const std::optional<QString> &correlationId);
    void tell(const index::LocalPruneResult &result,
              const QString &trigger,
              const std::optional<QString> &correlationId);

    const Collaborators m_collaborators;
    std::atomic<bool> m_closing = false;
    std::atomic<bool> m_isHeldBack = false;
    platform::Mutex m_stateLock;
    bool m_isCleanupRunning QUORIN_GUARDED_BY(m_stateLock) = false;

    platform::SerialQueue m_queue; // last: drained before the fields go
};

} // namespace gateway::upload

#include "monitor/health_collector.h"

#include "platform/concurrency/main_thread.h"
#include "platform/dicom/dcmtk_store_scp.h"

#include <algorithm>
#include <utility>

namespace gateway::monitor {

namespace {

constexpr double kBytesPerMegabit = 1'000'000.0 / 8;

} // namespace

HealthCollector::HealthCollector(Collaborators collaborators) : m_collaborators(std::move(collaborators))
{
    platform::assertMainThread("HealthCollector");
}

void HealthCollector::sample()
{
    m_receiving.add(m_collaborators.clock.monotonic(), m_collaborators.events.totals().receivedImages);
    m_collaborators.freeSpace->refresh();
}

void HealthCollector::refresh()
{
    m_collaborators.freeSpace->refresh();
    m_collaborators.sending.failedFiles->refresh();
}

HealthFigures HealthCollector::collect()
{
    HealthFigures figures;
    figures.listener = listener();
    const state::UpkeepFigures upkeep = m_collaborators.upkeep();
    figures.inbox = upkeep.inbox;
    figures.isStoreOutOfSight = upkeep.isStoreOutOfSight;
    figures.isRetentionHeldBack = upkeep.isRetentionHeldBack;
    figures.filesToRecordAgain = upkeep.filesToRecordAgain;
    figures.filesRecordedAgain = upkeep.filesRecordedAgain;
    figures.logBytes = upkeep.logBytes;
    figures.index = index();
    figures.storage = storage();
    figures.cloud = cloud();
    figures.isSetupFinished = !core::isSetupRequired(m_collaborators.settings);
    figures.totals = m_collaborators.events.totals();
    return figures;
}

HealthFigures::Listener HealthCollector::listener() const
{
    const state::ListenerFigures known = m_collaborators.receiving.listener.figures();
    return {.isEnabled = known.isEnabled,
            .isListening = known.state == state::ListenerState::listening,
            .aeTitle = known.aeTitle,
            .port = known.port,
            .failure = known.failure.inEnglish(),
            .openAssociations = static_cast<int>(m_collaborators.receiving.state.openReceiveAssociations()),
            .receivedPerSecond = m_receiving.perSecond()};
}

HealthFigures::Index HealthCollector::index() const
{
    const std::optional<index::IndexFigures> known = m_collaborators.sending.index.figures();
    if (!known) {
        return {};
    }
    HealthFigures::Index figures{.isAnswering = true,
                                 .studies = known->total.studies,
                                 .series = known->total.series,
                                 .images = known->total.images,
                                 .unsent = known->total.images - known->syncedImages,
                                 .synced = known->syncedImages,
                                 .failed = known->failedImages,
                                 .instances = known->instances,
                                 .oldestUnsentAge = {}};
    if (known->oldestUnsentImageDate) {
        // A clock that was set back makes no negative age.
        figures.oldestUnsentAge = std::max(
            std::chrono::milliseconds(known->oldestUnsentImageDate->msecsTo(m_collaborators.clock.now())),
            std::chrono::milliseconds(0));
    }
    return figures;
}

HealthFigures::Storage HealthCollector::storage() const
{
    std::optional<qint64> usedBytes;
    if (m_collaborators.receiving.state.isStorageMeasured()) {
        usedBytes = m_collaborators.receiving.state.figures().receivedStorageUsage.usedBytes;
    }
    return {.usedBytes = usedBytes,
            .reserveBytes = platform::kFreeSpaceReserveBytes,
            .rooms = m_collaborators.freeSpace->rooms(platform::kFreeSpaceReserveBytes)};
}

std::optional<std::chrono::milliseconds> HealthCollector::until(const std::optional<QDateTime> &moment) const
{
    if (!moment) {
        return std::nullopt;
    }
    const std::chrono::milliseconds left(m_collaborators.clock.now().msecsTo(*moment));
    return std::max(left, std::chrono::milliseconds(0));
}

HealthFigures::Cloud HealthCollector::cloud() const
{
    const auto pause = m_collaborators.sending.coordinator.closure();
    return {.isOnline = m_collaborators.cloud.watch.isOnline(),
            .session = m_collaborators.cloud.auth.standing().state,
            .areTermsRequired = m_collaborators.cloud.watch.areTermsRequired(),
            .isUploading = m_collaborators.sending.runs.figures().isRunning,
            .uploadBytesPerSecond =
                m_collaborators.receiving.state.figures().uploadSpeedMbps * kBytesPerMegabit,
            .failedFiles = m_collaborators.sending.failedFiles->counts().byClass,
            .waitingFiles = m_collaborators.sending.failedFiles->counts().waiting.files,
            .untilNextTry = until(m_collaborators.sending.failedFiles->counts().waiting.next),
            .pause = pause ? until(pause->until) : std::nullopt};
}

} // namespace gateway::monitor

#include "terminal/instance/status_commands.h"

#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"
#include "terminal/commands/command_requests.h"

#include <utility>

namespace gateway::terminal {

StatusCommands::StatusCommands(Collaborators collaborators)
    : m_with(std::move(collaborators)), m_scope(m_with.main, m_with.pool)
{
    platform::assertMainThread("StatusCommands");
}

bool StatusCommands::handle(const ControlRequest &request, const Answer &answer)
{
    if (request.command != requests::kStatus) {
        return false;
    }
    m_scope.start(status(answer));
    return true;
}

QCoro::Task<void> StatusCommands::status(Answer answer)
{
    co_await m_with.cloud.watch.look();
    auto read = co_await platform::onPool(m_with.main, m_with.pool, [&sending = m_with.sending] {
        const std::optional<index::IndexFigures> figures = sending.index.figures();
        const QList<index::UploadFailureCount> counts = sending.failures.counts();
        return FromIndex{upload::failureFigures(counts),
                         {sending.failures.waitingRetries(), std::nullopt, upload::awaitedFiles(counts)},
                         figures ? std::optional(figures->instances) : std::nullopt};
    });
    m_with.receiving.state.refreshCounters();
    m_with.receiving.state.refreshTransferSeries();
    m_with.receiving.state.whenStorageIsMeasured([self = shared_from_this(), read = std::move(read), answer] {
        answer(ControlReply::success(toJson(self->report(read))));
    });
}

StatusReport StatusCommands::report(const FromIndex &read) const
{
    StatusReport report;
    report.listener = m_with.receiving.listener.figures();
    const state::GatewayFigures &figures = m_with.receiving.state.figures();
    report.counters = {figures.receivedStudiesCount,
                       figures.receivedSeriesCount,
                       figures.receivedImagesCount,
                       figures.notSyncedImagesCount,
                       figures.syncedImagesCount,
                       figures.failedImagesCount,
                       read.instances};
    report.upkeep = m_with.upkeep();
    report.failures = read.failures;
    report.waiting = read.waiting;
    report.waiting.pause = m_with.sending.coordinator.closure();
    report.storage = {figures.receivedStorageUsage.usedBytes, figures.receivedStorageUsage.availableBytes};
    report.activity = {state::rawValue(figures.transferTimeframe),
                       figures.transferWindowStart,
                       m_with.receiving.state.bucketDuration(),
                       figures.transferReceivedSeries,
                       figures.transferSentSeries};
    report.cloud = cloudReport();
    report.terms = termsReport();
    report.session = sessionReport();
    report.setup = {core::isSetupRequired(m_with.settings), m_with.settings.gatewaySetupVersion.get()};
    report.openAssociations = static_cast<int>(m_with.receiving.state.openReceiveAssociations());
    report.upload = m_with.sending.runs.figures();
    report.uploadSpeedMbps = figures.uploadSpeedMbps;
    report.banner = figures.updateBannerMessage.value_or(QString());
    return report;
}

StatusReport::Session StatusCommands::sessionReport() const
{
    using account::SessionState;
    const account::QuorinAuthViewModel &auth = m_with.cloud.auth;
    const SessionState state = auth.standing().state;
    const bool isTroubled =
        state == SessionState::credentialsRefused || state == SessionState::signInUnavailable;
    return {auth.state().isSignedIn(),
            auth.signedInLabel().value_or(QString()),
            auth.standing(),
            isTroubled ? auth.lastAuthError().value_or(QString()) : QString()};
}

StatusReport::Cloud StatusCommands::cloudReport() const
{
    const account::QuorinCloudStatusViewModel &status = m_with.cloud.watch.status();
    StatusReport::Cloud cloud{cloud_client::cloudKindName(m_with.cloud.configuration.kind),
                              m_with.cloud.configuration.baseUrl.toString(),
                              m_with.cloud.watch.isOnline(),
                              status.lastError().value_or(QString()),
                              status.lastCheckedAt().value_or(QDateTime()),
                              {}};
    if (const auto &usage = m_with.cloud.watch.storage().storageUsage()) {
        cloud.storage = {usage->allowanceInKb, usage->usedInKb};
    }
    return cloud;
}

StatusReport::Terms StatusCommands::termsReport() const
{
    const account::GatewayQuorinCloudTermsCoordinator &terms = m_with.cloud.watch.terms();
    if (!terms.showTerms()) {
        return {m_with.cloud.watch.areTermsRequired(), {}, {}};
    }
    return {true, terms.termsVersion(), terms.reasonMessage().value_or(QString())};
}

} // namespace gateway::terminal

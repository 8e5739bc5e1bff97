#include "terminal/instance/status_commands.h"

#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"
#include "terminal/commands/command_requests.h"

#include <utility>

namespace gateway::terminal {

StatusCommands::StatusCommands(Collaborators collaborators)
    : m_collaborators(std::move(collaborators)), m_scope(m_collaborators.main, m_collaborators.pool)
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
    co_await m_collaborators.cloud.watch.look();
    auto read = co_await platform::onPool(
        m_collaborators.main, m_collaborators.pool, [&sending = m_collaborators.sending] {
            const std::optional<index::IndexFigures> figures = sending.index.figures();
            const QList<index::UploadFailureCount> counts = sending.failures.counts();
            return FromIndex{upload::failureFigures(counts),
                             {sending.failures.waitingRetries(), std::nullopt, upload::awaitedFiles(counts)},
                             figures ? std::optional(figures->instances) : std::nullopt};
        });
    m_collaborators.receiving.state.refreshCounters();
    m_collaborators.receiving.state.refreshTransferSeries();
    m_collaborators.receiving.state.whenStorageIsMeasured(
        [self = shared_from_this(), read = std::move(read), answer] {
            answer(ControlReply::success(toJson(self->report(read))));
        });
}

StatusReport StatusCommands::report(const FromIndex &read) const
{
    StatusReport report;
    report.listener = m_collaborators.receiving.listener.figures();
    const state::GatewayFigures &figures = m_collaborators.receiving.state.figures();
    report.counters = {figures.receivedStudiesCount,
                       figures.receivedSeriesCount,
                       figures.receivedImagesCount,
                       figures.notSyncedImagesCount,
                       figures.syncedImagesCount,
                       figures.failedImagesCount,
                       read.instances};
    report.upkeep = m_collaborators.upkeep();
    report.failures = read.failures;
    report.waiting = read.waiting;
    report.waiting.pause = m_collaborators.sending.coordinator.closure();
    report.storage = {figures.receivedStorageUsage.usedBytes, figures.receivedStorageUsage.availableBytes};
    report.activity = {state::rawValue(figures.transferTimeframe),
                       figures.transferWindowStart,
                       m_collaborators.receiving.state.bucketDuration(),
                       figures.transferReceivedSeries,
                       figures.transferSentSeries};
    report.cloud = cloudReport();
    report.terms = termsReport();
    report.session = sessionReport();
    report.setup = {core::isSetupRequired(m_collaborators.settings),
                    m_collaborators.settings.gatewaySetupVersion.get()};
    report.openAssociations = static_cast<int>(m_collaborators.receiving.state.openReceiveAssociations());
    report.upload = m_collaborators.sending.runs.figures();
    report.uploadSpeedMbps = figures.uploadSpeedMbps;
    report.banner = figures.updateBannerMessage.value_or(QString());
    return report;
}

StatusReport::Session StatusCommands::sessionReport() const
{
    using account::SessionState;
    const account::QuorinAuthViewModel &auth = m_collaborators.cloud.auth;
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
    const account::QuorinCloudStatusViewModel &status = m_collaborators.cloud.watch.status();
    StatusReport::Cloud cloud{cloud_client::cloudKindName(m_collaborators.cloud.configuration.kind),
                              m_collaborators.cloud.configuration.baseUrl.toString(),
                              m_collaborators.cloud.watch.isOnline(),
                              status.lastError().value_or(QString()),
                              status.lastCheckedAt().value_or(QDateTime()),
                              {}};
    if (const auto &usage = m_collaborators.cloud.watch.storage().storageUsage()) {
        cloud.storage = {usage->allowanceInKb, usage->usedInKb};
    }
    return cloud;
}

StatusReport::Terms StatusCommands::termsReport() const
{
    const account::GatewayQuorinCloudTermsCoordinator &terms = m_collaborators.cloud.watch.terms();
    if (!terms.showTerms()) {
        return {m_collaborators.cloud.watch.areTermsRequired(), {}, {}};
    }
    return {true, terms.termsVersion(), terms.reasonMessage().value_or(QString())};
}

} // namespace gateway::terminal

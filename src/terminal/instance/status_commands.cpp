#include "terminal/instance/status_commands.h"

#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"
#include "terminal/commands/command_requests.h"

#include <utility>

namespace gateway::terminal {

namespace {

QString kindText(cloud_client::CloudKind kind)
{
    switch (kind) {
    case cloud_client::CloudKind::quorin:
        return QStringLiteral("quorin");
    case cloud_client::CloudKind::dicomweb:
        return QStringLiteral("dicomweb");
    }
    return {};
}

} // namespace

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
    auto failures = co_await platform::onPool(m_with.main, m_with.pool, [&waiting = m_with.sending.failures] {
        return std::pair(upload::failureFigures(waiting.counts()), waiting.waitingRetries());
    });
    m_with.receiving.state.refreshCounters();
    m_with.receiving.state.refreshTransferSeries();
    m_with.receiving.state.whenStorageIsMeasured(
        [self = shared_from_this(), failures = std::move(failures), answer] {
            answer(ControlReply::success(toJson(self->report(failures.first, failures.second))));
        });
}

StatusReport StatusCommands::report(const QList<upload::FailureFigure> &failures,
                                    const index::WaitingRetries &retries) const
{
    StatusReport report;
    report.listener = m_with.receiving.listener.figures();
    const state::GatewayFigures &figures = m_with.receiving.state.figures();
    report.counters = {figures.receivedStudiesCount,
                       figures.receivedSeriesCount,
                       figures.receivedImagesCount,
                       figures.notSyncedImagesCount,
                       figures.syncedImagesCount,
                       figures.failedImagesCount};
    report.upkeep = m_with.upkeep();
    report.failures = failures;
    report.waiting = {retries, m_with.sending.coordinator.closure()};
    report.storage = {figures.receivedStorageUsage.usedBytes, figures.receivedStorageUsage.availableBytes};
    report.activity = {state::rawValue(figures.transferTimeframe),
                       figures.transferWindowStart,
                       m_with.receiving.state.bucketDuration(),
                       figures.transferReceivedSeries,
                       figures.transferSentSeries};
    report.cloud = cloudReport();
    report.terms = termsReport();
    const bool isSignedIn = m_with.cloud.auth.state().isSignedIn();
    report.session = {
        isSignedIn, m_with.cloud.auth.signedInLabel().value_or(QString()), m_with.cloud.auth.standing()};
    report.setup = {core::isSetupRequired(m_with.settings), m_with.settings.gatewaySetupVersion.get()};
    report.openAssociations = static_cast<int>(m_with.receiving.state.openReceiveAssociations());
    report.upload = m_with.sending.runs.figures();
    report.uploadSpeedMbps = figures.uploadSpeedMbps;
    report.banner = figures.updateBannerMessage.value_or(QString());
    return report;
}

StatusReport::Cloud StatusCommands::cloudReport() const
{
    const account::QuorinCloudStatusViewModel &status = m_with.cloud.watch.status();
    StatusReport::Cloud cloud{kindText(m_with.cloud.configuration.kind),
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

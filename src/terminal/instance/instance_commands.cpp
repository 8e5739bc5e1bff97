#include "terminal/instance/instance_commands.h"

#include "core/dcm_listener_settings.h"
#include "core/notification_names.h"
#include "platform/concurrency/async.h"
#include "receive/network_address.h"
#include "terminal/commands/command_requests.h"
#include "terminal/instance/import_commands.h"
#include "terminal/instance/settings_commands.h"

#include <QtCore/QCoreApplication>

#include <utility>

namespace gateway::terminal {

namespace {

QString kindText(platform::CloudKind kind)
{
    switch (kind) {
    case platform::CloudKind::quorin:
        return QStringLiteral("quorin");
    case platform::CloudKind::dicomweb:
        return QStringLiteral("dicomweb");
    }
    return {};
}

} // namespace

InstanceCommands::InstanceCommands(Collaborators collaborators)
    : m_with(std::move(collaborators)), m_scope(m_with.main, m_with.pool)
{
}

void InstanceCommands::handle(const ControlRequest &request, const Answer &answer)
{
    if (request.command == requests::kActivate) {
        answer(activate());
    } else if (request.command == requests::kStatus) {
        m_scope.start(status(answer));
    } else if (request.command == requests::kUpload) {
        answer(requestUpload());
    } else if (request.command == requests::kSignIn) {
        m_scope.start(signIn(request, answer));
    } else if (request.command == requests::kSignOut) {
        m_scope.start(signOut(answer));
    } else if (isImportRequest(request)) {
        answer(answerImport(m_with.manualImports, request, core::isSetupRequired(m_with.settings)));
    } else if (request.command == requests::kSetup) {
        setUp(request, answer);
    } else if (request.command == requests::kSettingsList || request.command == requests::kSettingsGet ||
               request.command == requests::kSettingsSet) {
        answer(changeSettings(request));
    } else if (!m_with.termsCommands.handle(request, answer) &&
               !m_with.accountCommands.handle(request, answer)) {
        answer(ControlReply::failure(
            QStringLiteral("The running gateway doesn't know the command %1.").arg(request.command),
            ExitCode::usage));
    }
}

ControlReply InstanceCommands::activate()
{
    m_with.reopen();
    return ControlReply::success({{QStringLiteral("pid"), QCoreApplication::applicationPid()}});
}

ControlReply InstanceCommands::requestUpload()
{
    if (core::isSetupRequired(m_with.settings)) {
        return ControlReply::failure(QStringLiteral("Setup isn't finished, so nothing can be uploaded."));
    }
    if (!m_with.auth.state().isSignedIn()) {
        return ControlReply::failure(QStringLiteral("No account is signed in, so nothing can be uploaded."));
    }
    m_with.uploadRequests.requestUpload(QStringLiteral("command_line"), upload::UploadUrgency::everythingNow);
    return ControlReply::success();
}

ControlReply InstanceCommands::changeSettings(const ControlRequest &request)
{
    SettingsCatalogue catalogue(m_with.settings, m_with.defaults);
    SettingsAnswer answer = answerSettings(catalogue, request);
    if (answer.needsListenerRestart) {
        restartListener();
    }
    return std::move(answer.reply);
}

/// Makes the listener go by its new settings: off when it is disabled, else stopped and, with setup finished,
/// started.
void InstanceCommands::restartListener()
{
    receive::StoreListenerService &listener = m_with.listenerService;
    const bool isEnabled = core::DCMListenerSettings::load(m_with.defaults).isEnabled.value_or(true);
    if (!isEnabled || listener.storeListener()) {
        listener.stopListener();
    }
    if (isEnabled && !core::isSetupRequired(m_with.settings)) {
        listener.startListener();
    }
}

QCoro::Task<void> InstanceCommands::status(Answer answer)
{
    co_await m_with.cloudWatch.look();
    auto failures = co_await platform::onPool(m_with.main, m_with.pool, [&index = m_with.index] {
        return std::pair(upload::failureFigures(index.uploadFailureCounts()), index.waitingRetries());
    });
    m_with.state.refreshCounters();
    m_with.state.refreshTransferSeries();
    m_with.state.whenStorageIsMeasured([self = shared_from_this(), failures = std::move(failures), answer] {
        answer(ControlReply::success(toJson(self->report(failures.first, failures.second))));
    });
}

StatusReport InstanceCommands::report(const QList<upload::FailureFigure> &failures,
                                      const index::WaitingRetries &retries) const
{
    StatusReport report;
    report.listener = m_with.listener.figures();
    const state::GatewayFigures &figures = m_with.state.figures();
    report.counters = {figures.receivedStudiesCount,
                       figures.receivedSeriesCount,
                       figures.receivedImagesCount,
                       figures.notSyncedImagesCount,
                       figures.syncedImagesCount,
                       figures.failedImagesCount};
    report.upkeep = m_with.upkeep();
    report.failures = failures;
    report.waiting = {retries, m_with.uploadCoordinator.closure()};
    report.storage = {figures.receivedStorageUsage.usedBytes, figures.receivedStorageUsage.availableBytes};
    report.activity = {state::rawValue(figures.transferTimeframe),
                       figures.transferWindowStart,
                       m_with.state.bucketDuration(),
                       figures.transferReceivedSeries,
                       figures.transferSentSeries};
    report.cloud = cloudReport();
    report.terms = termsReport();
    const bool isSignedIn = m_with.auth.state().isSignedIn();
    report.session = {isSignedIn, m_with.auth.signedInLabel().value_or(QString()), m_with.auth.standing()};
    report.setup = {core::isSetupRequired(m_with.settings), m_with.settings.gatewaySetupVersion.get()};
    report.openAssociations = static_cast<int>(m_with.state.openReceiveAssociations());
    report.upload = m_with.uploadRuns.figures();
    report.uploadSpeedMbps = figures.uploadSpeedMbps;
    report.banner = figures.updateBannerMessage.value_or(QString());
    return report;
}

StatusReport::Cloud InstanceCommands::cloudReport() const
{
    const account::QuorinCloudStatusViewModel &status = m_with.cloudWatch.status();
    StatusReport::Cloud cloud{kindText(m_with.cloud.kind),
                              m_with.cloud.baseUrl.toString(),
                              m_with.cloudWatch.isOnline(),
                              status.lastError().value_or(QString()),
                              status.lastCheckedAt().value_or(QDateTime()),
                              {}};
    if (const auto &usage = m_with.cloudWatch.storage().storageUsage()) {
        cloud.storage = {usage->allowanceInKb, usage->usedInKb};
    }
    return cloud;
}

StatusReport::Terms InstanceCommands::termsReport() const
{
    const account::GatewayQuorinCloudTermsCoordinator &terms = m_with.cloudWatch.terms();
    if (!terms.showTerms()) {
        return {m_with.cloudWatch.areTermsRequired(), {}, {}};
    }
    return {true, terms.termsVersion(), terms.reasonMessage().value_or(QString())};
}

void InstanceCommands::setUp(const ControlRequest &request, const Answer &answer)
{
    const std::optional<wizard::SetupDraft> draft = draftIn(request);
    if (!draft) {
        answer(ControlReply::failure(QStringLiteral("This is no retention policy."), ExitCode::usage));
        return;
    }
    m_scope.start(applySetup(*draft, answer));
}

QCoro::Task<void> InstanceCommands::applySetup(wizard::SetupDraft draft, Answer answer)
{
    const std::optional<QString> problem = co_await m_with.setup.apply(draft);
    const int port = wizard::parsedPort(draft.portText).value_or(0);
    answer(problem ? ControlReply::failure(*problem)
                   : ControlReply::success({{QStringLiteral("address"), m_with.listener.addressText(port)}}));
}

QCoro::Task<void> InstanceCommands::signIn(ControlRequest request, Answer answer)
{
    const QString email = request.arguments.value(QStringLiteral("email")).toString().trimmed();
    const QString password = request.arguments.value(QStringLiteral("password")).toString();
    if (email.isEmpty() || password.isEmpty()) {
        answer(ControlReply::failure(QStringLiteral("Enter both email and password to sign in.")));
        co_return;
    }
    if (m_with.auth.isChecking()) {
        answer(ControlReply::failure(QStringLiteral("Another sign-in or sign-out is under way.")));
        co_return;
    }

    const bool signedIn = co_await m_with.auth.signIn(email, password);

    if (signedIn) {
        const QString label = m_with.auth.signedInLabel().value_or(QString());
        const QString remark = m_with.auth.signInRemark().value_or(QString());
        answer(ControlReply::success({{QStringLiteral("label"), label}, {QStringLiteral("remark"), remark}}));
    } else {
        answer(
            ControlReply::failure(m_with.auth.lastAuthError().value_or(QStringLiteral("Sign in failed."))));
    }
}

QCoro::Task<void> InstanceCommands::signOut(Answer answer)
{
    if (m_with.auth.isChecking()) {
        answer(ControlReply::failure(QStringLiteral("Another sign-in or sign-out is under way.")));
        co_return;
    }

    co_await m_with.auth.signOut();

    // The session has ended here in any case; what the cloud had to say about it is told.
    answer(
        ControlReply::success({{QStringLiteral("notice"), m_with.auth.lastAuthError().value_or(QString())}}));
}

} // namespace gateway::terminal

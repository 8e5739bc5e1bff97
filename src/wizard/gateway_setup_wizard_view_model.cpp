#include "wizard/gateway_setup_wizard_view_model.h"

#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "account/quorin_auth_view_model.h"
#include "core/ae_title_formatter.h"
#include "core/dcm_listener_settings.h"
#include "platform/concurrency/main_thread.h"
#include "receive/network_address.h"
#include "wizard/setup_apply.h"
#include "wizard/setup_checks.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <utility>

namespace gateway::wizard {

using Fix = GatewaySetupIssueFixAction;
using Step = GatewaySetupStep;

namespace {

QString addressOf(const QString &bindAddress, std::optional<int> port)
{
    const std::optional<QString> address = bindAddress.isEmpty()
                                               ? receive::primaryAddress(receive::interfaceAddresses())
                                               : std::optional(bindAddress);
    return address ? receive::addressText(address, port)
                   : QCoreApplication::translate("SetupWizard", "Unavailable");
}

} // namespace

SetupMachine SetupMachine::here(const QString &bindAddress, const QString &defaultIncomingFolder)
{
    return {[bindAddress](int port) { return probePort(port, bindAddress); },
            [](const QString &folder) { return wizard::validateFolder(folder); },
            [bindAddress](std::optional<int> port) { return addressOf(bindAddress, port); },
            defaultIncomingFolder};
}

GatewaySetupWizardViewModel::GatewaySetupWizardViewModel(const SetupWizardParts &parts,
                                                         const std::optional<SetupAccount> &account)
    : m_parts(parts), m_account(account), m_draft(storedDraft(parts.settings, parts.defaults)),
      m_folderCheck({{parts.main, parts.clock, parts.machine.validateFolder},
                     m_scope,
                     [this] { refreshValidation(false); }}),
      m_portCheck({parts.main,
                   parts.pool,
                   parts.clock,
                   parts.machine.probe,
                   [this] { return ownPort(); },
                   [this] { refreshValidation(false); }}),
      m_scope(parts.main, parts.pool)
{
    platform::assertMainThread("GatewaySetupWizardViewModel");
    m_draft.listenerAddress = m_parts.machine.addressText(parsedPort(m_draft.portText));
    m_wasSignedIn = isSignedIn();
    if (m_account) {
        connect(&m_account->auth, &account::QuorinAuthViewModel::changed, this, [this] { authChanged(); });
        connect(&m_account->terms,
                &account::GatewayQuorinCloudTermsCoordinator::changed,
                this,
                &GatewaySetupWizardViewModel::changed);
    }
    m_portCheck.schedule(parsedPort(m_draft.portText));
    refreshValidation(false);
}

GatewaySetupWizardViewModel::~GatewaySetupWizardViewModel()
{
    if (m_account) {
        m_account->auth.disconnect(this);
        m_account->terms.disconnect(this);
    }
    m_scope.close();
}

std::optional<int> GatewaySetupWizardViewModel::ownPort() const
{
    return m_parts.listener.isListenerRunning()
               ? std::optional(core::DCMListenerSettings::load(m_parts.defaults).port)
               : std::nullopt;
}

PortFacts GatewaySetupWizardViewModel::portFacts() const
{
    const std::optional<int> port = parsedPort(m_draft.portText);
    return {m_portCheck.isChecking(), port ? m_portCheck.stateOf(*port) : std::nullopt};
}

std::optional<QString> GatewaySetupWizardViewModel::aeTitleHint() const
{
    return wizard::aeTitleHint(m_draft.aeTitle);
}

bool GatewaySetupWizardViewModel::hasAETitleProblem() const
{
    return aeTitleIssue(m_draft.aeTitle).has_value();
}

QList<GatewaySetupIssue> GatewaySetupWizardViewModel::issuesForStep(Step step) const
{
    QList<GatewaySetupIssue> issues;
    std::copy_if(m_validationIssues.begin(),
                 m_validationIssues.end(),
                 std::back_inserter(issues),
                 [step](const GatewaySetupIssue &issue) { return issue.step == step; });
    return issues;
}

std::optional<GatewaySetupIssue> GatewaySetupWizardViewModel::firstBlockingIssue(Step step) const
{
    const QList<GatewaySetupIssue> candidates =
        step == Step::summary ? m_validationIssues + m_summaryPreflightResult.issues : issuesForStep(step);
    const auto found = std::find_if(
        candidates.begin(), candidates.end(), [](const auto &issue) { return issue.isBlocking(); });
    return found == candidates.end() ? std::nullopt : std::optional(*found);
}

QList<GatewaySetupSummaryRow> GatewaySetupWizardViewModel::summaryRows() const
{
    return summaryRowsFor(m_draft, accountStanding(), m_parts.machine.defaultIncomingFolder);
}

void GatewaySetupWizardViewModel::refreshValidation(bool verifyPort)
{
    m_folderCheck.follow(m_draft.destinationFolder);
    if (verifyPort) {
        m_portCheck.verifyNow(parsedPort(m_draft.portText));
    }
    const QList<GatewaySetupIssue> listener = listenerIssues(m_draft, portFacts());
    const QList<GatewaySetupIssue> local =
        localIssues(m_draft, {m_folderCheck.isChecking(), m_folderCheck.found()});
    m_validationIssues = listener + local;
    m_summaryPreflightChecks = preflightChecks(
        {m_draft, portFacts(), listener, local, m_listenerStartupFailureMessage, accountStanding()});
    m_summaryPreflightResult = preflightResult(m_summaryPreflightChecks);
    if (!firstBlockingIssue(m_step)) {
        m_validationMessage.reset();
    }
    Q_EMIT changed();
}

/// Looks at what a step, or for the summary all, asks of the machine, and shows what comes of it.
QCoro::Task<void> GatewaySetupWizardViewModel::askMachine(Step step)
{
    const auto operation = m_scope.enter();
    if (step != Step::localFiles && step != Step::summary) {
        refreshValidation(step == Step::listener);
        co_return;
    }
    const QCoro::Task<> answer = m_folderCheck.ask(m_draft.destinationFolder);
    refreshValidation(step == Step::summary);
    co_await answer;
}

void GatewaySetupWizardViewModel::followSettings()
{
    if (m_isApplying) {
        return;
    }
    const GatewaySetupDraft stored = storedDraft(m_parts.settings, m_parts.defaults);
    if (!m_edits.aeTitle) {
        m_draft.aeTitle = stored.aeTitle;
    }
    if (!m_edits.port && m_draft.portText != stored.portText) {
        setPortText(stored.portText);
    }
    if (!m_edits.advertise) {
        m_draft.advertiseWithBonjour = stored.advertiseWithBonjour;
    }
    if (!m_edits.folder) {
        m_draft.destinationFolder = stored.destinationFolder;
    }
    if (!m_edits.retention) {
        m_draft.autoDeleteMode = stored.autoDeleteMode;
        m_draft.autoDeleteValueText = stored.autoDeleteValueText;
    }
    refreshValidation(false);
}

void GatewaySetupWizardViewModel::updateAETitle(const QString &text)
{
    m_edits.aeTitle = true;
    m_draft.aeTitle = text;
    refreshValidation(false);
}

void GatewaySetupWizardViewModel::normalizeAETitle()
{
    const QString formatted = core::AETitleFormatter::format(m_draft.aeTitle.trimmed());
    if (!formatted.isEmpty() && formatted != m_draft.aeTitle) {
        m_edits.aeTitle = true;
        m_draft.aeTitle = formatted;
    }
    refreshValidation(false);
}

void GatewaySetupWizardViewModel::setPortText(const QString &text)
{
    m_draft.portText = text;
    m_portCheck.forget();
    m_listenerStartupFailureMessage.reset();
    m_draft.listenerAddress = m_parts.machine.addressText(parsedPort(text));
    m_portCheck.schedule(parsedPort(text));
}

void GatewaySetupWizardViewModel::updatePortText(const QString &text)
{
    m_edits.port = true;
    setPortText(digitsIn(text));
    refreshValidation(false);
}

void GatewaySetupWizardViewModel::updateAdvertiseWithBonjour(bool advertise)
{
    m_edits.advertise = true;
    m_draft.advertiseWithBonjour = advertise;
    refreshValidation(false);
}

void GatewaySetupWizardViewModel::updateDestinationFolder(const QString &folder)
{
    m_edits.folder = true;
    m_draft.destinationFolder = folder;
    m_scope.start(askMachine(Step::localFiles));
}

void GatewaySetupWizardViewModel::updateAutoDeleteMode(core::GatewayAutoDeleteMode mode)
{
    m_edits.retention = true;
    m_draft.autoDeleteMode = mode;
    if (mode == core::GatewayAutoDeleteMode::never) {
        m_draft.autoDeleteValueText.clear();
    }
    refreshValidation(false);
}

void GatewaySetupWizardViewModel::updateAutoDeleteValueText(const QString &text)
{
    m_edits.retention = true;
    m_draft.autoDeleteValueText = digitsIn(text);
    refreshValidation(false);
}

void GatewaySetupWizardViewModel::findAvailablePort()
{
    const int stored = core::DCMListenerSettings::load(m_parts.defaults).port;
    const std::optional<int> found =
        m_portCheck.suggest(parsedPort(m_draft.portText).value_or(std::max(stored, 1)));
    if (!found) {
        m_validationMessage = QCoreApplication::translate(
            "SetupWizard", "Could not find a free port. Close other apps using DICOM ports and try again.");
        return;
    }
    m_edits.port = true;
    m_draft.portText = QString::number(*found);
    m_listenerStartupFailureMessage.reset();
    m_draft.listenerAddress = m_parts.machine.addressText(*found);
}

void GatewaySetupWizardViewModel::takeRecommendedListener()
{
    const core::DCMListenerSettings recommended = core::DCMListenerSettings::recommended();
    m_edits.aeTitle = true;
    m_edits.port = true;
    m_edits.advertise = true;
    m_draft.aeTitle = recommended.aeTitle;
    m_draft.advertiseWithBonjour = recommended.advertiseWithBonjour.value_or(true);
    setPortText(QString::number(recommended.port));
}

void GatewaySetupWizardViewModel::takeDefaultFolder()
{
    m_edits.folder = true;
    m_draft.destinationFolder.reset();
}

void GatewaySetupWizardViewModel::applyFixAction(Fix action, std::optional<Step> step)
{
    if (m_isApplying) {
        return;
    }
    const bool wasOnSummary = m_step == Step::summary;
    m_validationMessage.reset();
    switch (action) {
    case Fix::suggestAvailablePort:
        m_step = Step::listener;
        findAvailablePort();
        break;
    case Fix::restoreRecommendedListenerDefaults:
        m_step = Step::listener;
        takeRecommendedListener();
        break;
    case Fix::restoreRecommendedLocalDefaults:
        m_step = Step::localFiles;
        takeDefaultFolder();
        updateAutoDeleteMode(core::GatewayAutoDeleteMode::never);
        break;
    case Fix::useDefaultFolder:
        m_step = Step::localFiles;
        takeDefaultFolder();
        m_listenerStartupFailureMessage.reset();
        break;
    case Fix::rerunFolderProbe:
        m_step = Step::localFiles;
        break;
    case Fix::openListenerStep:
        m_step = Step::listener;
        break;
    case Fix::openLocalFilesStep:
        m_step = Step::localFiles;
        break;
    case Fix::openAccountStep:
        m_step = Step::quorinAccount;
        break;
    }
    enterStep(step && wasOnSummary ? *step : m_step);
    m_scope.start(askMachine(m_step));
}

} // namespace gateway::wizard

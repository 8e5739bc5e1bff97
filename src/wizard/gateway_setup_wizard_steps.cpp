// The ways through the steps, and the end of setup.

#include "account/quorin_auth_view_model.h"
#include "core/store_errors.h"
#include "wizard/gateway_setup_wizard_view_model.h"
#include "wizard/setup_apply.h"
#include "wizard/setup_checks.h"

#include <QtCore/QCoreApplication>

#include <chrono>

namespace gateway::wizard {

namespace {

using Step = GatewaySetupStep;

constexpr std::chrono::nanoseconds kListenerStartWait{2'000'000'000};
constexpr double kListenerStartWaitSeconds = 2.0;

/// The neighbour of a step, `by` steps on.
Step neighbour(Step step, int by)
{
    return static_cast<Step>(static_cast<int>(step) + by);
}

} // namespace

bool GatewaySetupWizardViewModel::canGoBack() const
{
    return m_step != Step::welcome && !m_isApplying;
}

bool GatewaySetupWizardViewModel::canContinue() const
{
    if (m_isApplying) {
        return false;
    }
    switch (m_step) {
    case Step::welcome:
        return true;
    case Step::listener:
        return !isCheckingPortAvailability() && !firstBlockingIssue(m_step);
    case Step::localFiles:
        return !isCheckingFolderAccess() && !firstBlockingIssue(m_step);
    case Step::quorinAccount:
        return !m_account || !m_account->auth.isChecking();
    case Step::summary:
        return canFinish();
    }
    return false;
}

bool GatewaySetupWizardViewModel::canFinish() const
{
    return !m_isApplying && mayFinish();
}

/// Whether nothing is in the way of applying the draft.
bool GatewaySetupWizardViewModel::mayFinish() const
{
    return !isCheckingPortAvailability() && !isCheckingFolderAccess() &&
           !m_summaryPreflightResult.hasBlockingIssues();
}

void GatewaySetupWizardViewModel::showBlockingMessage(Step step)
{
    const std::optional<GatewaySetupIssue> issue = firstBlockingIssue(step);
    m_validationMessage =
        issue ? issue->message
              : QCoreApplication::translate("SetupWizard", "Resolve highlighted issues before continuing.");
    Q_EMIT changed();
}

void GatewaySetupWizardViewModel::enterStep(Step step)
{
    m_step = step;
    if (step == Step::quorinAccount) {
        checkTerms();
    }
}

void GatewaySetupWizardViewModel::goNext()
{
    if (!isCheckingFolderAccess()) {
        m_scope.start(goOn());
    }
}

QCoro::Task<void> GatewaySetupWizardViewModel::goOn()
{
    const auto operation = m_scope.enter();
    const Step from = m_step;
    followSettings();
    m_validationMessage.reset();
    co_await askMachine(from);
    if (m_scope.stopToken().stop_requested() || m_step != from || isCheckingFolderAccess()) {
        co_return; // somebody went elsewhere, or chose another folder
    }
    if (!canContinue()) {
        showBlockingMessage(m_step);
        co_return;
    }
    if (m_step == Step::summary) {
        co_return;
    }
    if (from == Step::quorinAccount) {
        tellOfUnusedEntries();
    }
    enterStep(neighbour(m_step, 1));
    refreshValidation(false);
    if (m_step == Step::summary) {
        co_await askMachine(m_step);
    }
}

void GatewaySetupWizardViewModel::goBack()
{
    if (!canGoBack()) {
        return;
    }
    m_validationMessage.reset();
    enterStep(neighbour(m_step, -1));
    Q_EMIT changed();
}

void GatewaySetupWizardViewModel::revalidateCurrentStep()
{
    m_scope.start(revalidate());
}

QCoro::Task<void> GatewaySetupWizardViewModel::revalidate()
{
    const auto operation = m_scope.enter();
    co_await askMachine(m_step);
    if (!m_scope.stopToken().stop_requested() && firstBlockingIssue(m_step)) {
        showBlockingMessage(m_step);
    }
}

QCoro::Task<bool> GatewaySetupWizardViewModel::finishSetup()
{
    if (m_isApplying) {
        co_return false;
    }
    const auto operation = m_scope.enter();
    m_validationMessage.reset();
    setAccountMessage(std::nullopt, false);
    m_listenerStartupFailureMessage.reset();
    followSettings();
    m_isApplying = true;
    co_await askMachine(Step::summary);
    if (m_scope.stopToken().stop_requested()) {
        co_return false;
    }
    const SetupTurn::Hold turn = mayFinish() ? m_parts.turn.take() : nullptr;
    if (turn == nullptr) {
        m_isApplying = false;
        tellWhyNotApplied();
        co_return false;
    }
    std::optional<QString> problem = writeSettings();
    if (!problem) {
        problem = co_await startListener();
        if (m_scope.stopToken().stop_requested()) {
            co_return false;
        }
    }
    if (!problem && !markSetupCompleted(m_parts.settings, m_parts.clock.now())) {
        problem = settingsNotWrittenMessage();
    }
    endApplying(problem);
    co_return !problem;
}

void GatewaySetupWizardViewModel::tellWhyNotApplied()
{
    if (!mayFinish()) {
        showBlockingMessage(Step::summary);
        return;
    }
    m_validationMessage = QCoreApplication::translate("SetupWizard", "Setup is being applied already.");
    Q_EMIT changed();
}

/// \return why nothing, or not all, was written.
std::optional<QString> GatewaySetupWizardViewModel::writeSettings()
{
    if (!parsedPort(m_draft.portText)) {
        return portFormatIssue(m_draft.portText);
    }
    if (m_draft.autoDeleteMode != core::GatewayAutoDeleteMode::never &&
        !parsedRetentionValue(m_draft.autoDeleteValueText)) {
        return QCoreApplication::translate("SetupWizard",
                                           "Enter a valid retention value before finishing setup.");
    }
    return writeDraft(m_draft, m_folderCheck.found().bookmark, m_parts.settings, m_parts.defaults);
}

/// \return why no listener stands; it is stopped then.
QCoro::Task<std::optional<QString>> GatewaySetupWizardViewModel::startListener()
{
    SetupListener &listener = m_parts.listener;
    if (listener.isListenerRunning()) {
        listener.stopListener();
    }
    listener.startListener();
    try {
        co_await listener.waitForListenerStart(kListenerStartWait, kListenerStartWaitSeconds);
    } catch (const core::StoreStartupError &error) {
        m_listenerStartupFailureMessage = error.message;
    }
    if (m_listenerStartupFailureMessage) {
        listener.stopListener();
    }
    const std::optional<QString> problem = m_listenerStartupFailureMessage;
    co_return problem;
}

void GatewaySetupWizardViewModel::endApplying(const std::optional<QString> &problem)
{
    refreshValidation(true);
    m_validationMessage = problem;
    m_isApplying = false;
    Q_EMIT changed();
}

} // namespace gateway::wizard

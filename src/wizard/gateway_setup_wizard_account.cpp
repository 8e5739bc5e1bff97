// The account step: signing in and out, and the cloud's terms.

#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "account/quorin_auth_view_model.h"
#include "wizard/gateway_setup_wizard_view_model.h"

#include <QtCore/QCoreApplication>

#include <utility>

namespace gateway::wizard {

bool GatewaySetupWizardViewModel::isSignedIn() const
{
    return m_account && m_account->auth.state().isSignedIn();
}

SetupAccountStanding GatewaySetupWizardViewModel::accountStanding() const
{
    return isSignedIn() ? SetupAccountStanding{true, m_account->auth.state().displayName()}
                        : SetupAccountStanding{};
}

void GatewaySetupWizardViewModel::setAccountMessage(const std::optional<QString> &message, bool isError)
{
    m_accountMessage = message;
    m_accountMessageIsError = isError;
}

void GatewaySetupWizardViewModel::updateAccountEmail(const QString &text)
{
    m_draft.accountEmail = text;
    Q_EMIT changed();
}

void GatewaySetupWizardViewModel::updateAccountPassword(const QString &text)
{
    m_draft.accountPassword = text;
    Q_EMIT changed();
}

void GatewaySetupWizardViewModel::updateArchiveEntries(bool areThere)
{
    m_hasArchiveEntries = areThere;
}

/// Whoever entered a sign-in and went on believes to be signed in.
void GatewaySetupWizardViewModel::tellOfUnusedEntries()
{
    if (isSignedIn() || m_accountMessageIsError) {
        return; // which tells more
    }
    if (m_hasArchiveEntries || !m_draft.accountPassword.isEmpty()) {
        setAccountMessage(
            QCoreApplication::translate("SetupWizard",
                                        "The sign-in that you entered wasn't used. Go back to sign in with "
                                        "it, or sign in later from the tray menu or Preferences."),
            false);
    } else {
        setAccountMessage(std::nullopt, false);
    }
}

void GatewaySetupWizardViewModel::skipSignIn()
{
    goNext();
    if (m_step == GatewaySetupStep::summary) {
        setAccountMessage(QCoreApplication::translate(
                              "SetupWizard", "You can sign in later from the tray menu or Preferences."),
                          false);
        Q_EMIT changed();
    }
}

QCoro::Task<void> GatewaySetupWizardViewModel::signIn()
{
    const QString email = m_draft.accountEmail.trimmed();
    if (!m_account || m_account->auth.isChecking() || m_isApplying) {
        co_return;
    }
    if (email.isEmpty() || m_draft.accountPassword.isEmpty()) {
        setAccountMessage(
            QCoreApplication::translate("SetupWizard", "Enter both email and password to sign in."), true);
        Q_EMIT changed();
        co_return;
    }
    const auto operation = m_scope.enter();
    account::QuorinAuthViewModel &auth = m_account->auth;
    setAccountMessage(std::nullopt, false);
    auth.clearLastAuthError();

    const int attempt = m_waitingSignIn = ++m_signIns;

    const bool isSignedIn = co_await auth.signIn(email, m_draft.accountPassword);

    if (attempt != m_waitingSignIn) {
        co_return; // it was given up
    }
    m_waitingSignIn = 0;
    if (isSignedIn) {
        m_draft.accountPassword.clear();
        setAccountMessage(auth.signInRemark(), false);
    } else {
        setAccountMessage(
            auth.lastAuthError().value_or(QCoreApplication::translate("SetupWizard", "Sign in failed.")),
            true);
    }
    refreshValidation(false);
}

void GatewaySetupWizardViewModel::cancelSignIn()
{
    if (std::exchange(m_waitingSignIn, 0) != 0) {
        m_account->auth.cancelSignIn();
        Q_EMIT changed();
    }
}

QCoro::Task<void> GatewaySetupWizardViewModel::signOut()
{
    if (!m_account) {
        co_return;
    }
    const auto operation = m_scope.enter();
    account::QuorinAuthViewModel &auth = m_account->auth;
    setAccountMessage(std::nullopt, false);

    co_await auth.signOut();

    m_draft.accountEmail.clear();
    m_draft.accountPassword.clear();
    if (!auth.lastAuthError().value_or(QString()).isEmpty()) {
        setAccountMessage(auth.lastAuthError(), true);
    }
    refreshValidation(false);
}

/// Whoever signed in may have terms to answer; whoever signed out has none.
void GatewaySetupWizardViewModel::authChanged()
{
    const bool isOther = isSignedIn() != m_wasSignedIn;
    m_wasSignedIn = isSignedIn();
    if (isOther && m_step == GatewaySetupStep::quorinAccount) {
        checkTerms();
    }
    refreshValidation(false);
}

bool GatewaySetupWizardViewModel::isCheckingTerms() const
{
    return m_account && m_account->terms.isLoading() && !m_account->terms.showTerms();
}

void GatewaySetupWizardViewModel::checkTerms()
{
    if (!m_account) {
        return;
    }
    if (isSignedIn()) {
        m_scope.start(loadTerms());
    } else {
        m_account->terms.reset();
    }
}

QCoro::Task<void> GatewaySetupWizardViewModel::loadTerms()
{
    const auto operation = m_scope.enter();
    co_await m_account->terms.refreshStatus();
    if (m_account->terms.errorMessage()) {
        setAccountMessage(m_account->terms.errorMessage(), true);
    }
    Q_EMIT changed();
}

void GatewaySetupWizardViewModel::termsAccepted()
{
    setAccountMessage(QCoreApplication::translate("SetupWizard", "Quorin Cloud Terms & Conditions accepted."),
                      false);
    Q_EMIT changed();
}

QCoro::Task<void> GatewaySetupWizardViewModel::termsDeclined()
{
    const auto operation = m_scope.enter();
    co_await signOut();
    setAccountMessage(
        QCoreApplication::translate(
            "SetupWizard", "Quorin Cloud Terms & Conditions were declined. You have been signed out."),
        true);
    Q_EMIT changed();
}

} // namespace gateway::wizard

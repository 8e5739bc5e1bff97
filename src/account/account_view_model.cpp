#include "account/account_view_model.h"

#include "platform/concurrency/main_thread.h"

#include <QtCore/QCoreApplication>

#include <utility>

namespace gateway::account {

AccountViewModel::AccountViewModel(const AccountParts &parts, TermsSigner signer)
    : m_parts(parts), m_profile({parts.user, parts.auth, parts.terms.main, parts.terms.pool}),
      m_terms(parts.terms, std::move(signer)), m_scope(parts.terms.main, parts.terms.pool)
{
    platform::assertMainThread("AccountViewModel");
    connect(&parts.auth, &QuorinAuthViewModel::changed, this, &AccountViewModel::authChanged);
    connect(&m_terms, &GatewayQuorinCloudTermsCoordinator::changed, this, &AccountViewModel::termsChanged);
    authChanged();
}

AccountViewModel::~AccountViewModel()
{
    close();
}

void AccountViewModel::close()
{
    m_scope.close();
    m_terms.close();
    m_profile.close();
}

/// Comes with each look at the session, changed or not.
void AccountViewModel::authChanged()
{
    const bool isSignedIn = m_parts.auth.state().isSignedIn();
    const auto session = isSignedIn ? std::optional(m_parts.auth.sessionNumber()) : std::nullopt;
    if (session == m_session) {
        return;
    }
    if (m_session) {
        leaveSession();
    }
    m_session = session;
    if (m_session) {
        enterSession();
    }
}

void AccountViewModel::enterSession()
{
    setTermsError(std::nullopt);
    if (m_isSeen) {
        m_scope.start(m_profile.load(false));
    }
    checkTerms();
}

void AccountViewModel::leaveSession()
{
    m_profile.reset();
    m_terms.reset();
    setTermsError(std::nullopt);
}

void AccountViewModel::setSeen(bool seen)
{
    const bool comesUp = seen && !std::exchange(m_isSeen, seen);
    if (comesUp && m_session) {
        if (!m_profile.isEditing()) {
            m_scope.start(m_profile.load(false));
        }
        checkTerms();
    }
}

void AccountViewModel::checkTerms()
{
    if (m_session && !m_terms.isLoading()) {
        m_scope.start(loadTerms());
    }
}

QCoro::Task<> AccountViewModel::loadTerms()
{
    const std::optional<quint64> session = m_session;
    co_await m_terms.refreshStatus();
    if (m_scope.stopToken().stop_requested() || session != m_session) {
        co_return;
    }
    setTermsError(m_terms.errorMessage());
    Q_EMIT termsChecked();
}

/// Terms that were loaded anew, and can't be had any more, leave their screen with the reason behind.
void AccountViewModel::termsChanged()
{
    if (m_session && !m_terms.isLoading() && !m_terms.showTerms() && m_terms.errorMessage()) {
        setTermsError(m_terms.errorMessage());
    }
}

void AccountViewModel::termsAccepted()
{
    setTermsError(std::nullopt);
}

void AccountViewModel::termsDeclined()
{
    m_scope.start(endSession());
}

QCoro::Task<> AccountViewModel::endSession()
{
    co_await m_parts.auth.signOut();
    if (!m_scope.stopToken().stop_requested() && !m_session) {
        setTermsError(QCoreApplication::translate(
            "SetupWizard", "Quorin Cloud Terms & Conditions were declined. You have been signed out."));
    }
}

void AccountViewModel::signOut()
{
    m_scope.start(m_parts.auth.signOut());
}

void AccountViewModel::setTermsError(const std::optional<QString> &error)
{
    if (m_termsError != error) {
        m_termsError = error;
        Q_EMIT changed();
    }
}

} // namespace gateway::account

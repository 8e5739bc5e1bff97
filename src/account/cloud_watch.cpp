#include "account/cloud_watch.h"

#include "core/notification_names.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/main_thread.h"

#include <QtCore/QObject>

#include <stop_token>
#include <utility>

namespace gateway::account {

CloudWatch::CloudWatch(const Collaborators &collaborators)
    : m_collaborators(collaborators),
      m_status({collaborators.status, collaborators.main, collaborators.pool, collaborators.clock}),
      m_storage({collaborators.user,
                 collaborators.networkSettings,
                 collaborators.main,
                 collaborators.pool,
                 collaborators.clock}),
      m_terms({collaborators.terms,
               collaborators.defaults,
               collaborators.main,
               collaborators.pool,
               collaborators.clock},
              TermsSigner::here(QStringLiteral(QUORIN_VERSION))),
      m_scope(collaborators.main, collaborators.pool)
{
    platform::assertMainThread("CloudWatch");
    m_authObserver = collaborators.notifications.observe(core::kAuthStateChanged,
                                                         [this](const QVariantMap &) { authStateChanged(); });
    m_termsObserver = collaborators.notifications.observe(core::kQuorinCloudTermsRequired,
                                                          [this](const QVariantMap &) { checkTerms(); });
}

void CloudWatch::start()
{
    m_status.startPolling(kStatusPoll);
    m_storage.startPolling(kStoragePoll);
}

void CloudWatch::close()
{
    m_scope.close();
    m_terms.close();
    m_storage.close();
    m_status.close();
}

QCoro::Task<> CloudWatch::look()
{
    const auto operation = m_scope.enter();
    std::stop_source enough;
    const auto connection = QObject::connect(
        &m_status, &QuorinCloudStatusViewModel::changed, &m_status, [this, enough]() mutable {
            if (!m_status.isChecking()) {
                enough.request_stop();
            }
        });
    m_scope.start(m_status.refresh());
    if (m_status.isChecking()) {
        co_await platform::asyncSleep(
            m_collaborators.main, m_collaborators.clock, kGracePeriod, enough.get_token());
    }
    QObject::disconnect(connection);
}

void CloudWatch::cloudAnswered()
{
    if (!m_status.isOnline()) {
        m_scope.start(m_status.refresh());
    }
}

/// Posted at every look at the session, changed or not.
void CloudWatch::authStateChanged()
{
    const AuthState &state = m_collaborators.auth.state();
    if (state.isSignedIn() != std::exchange(m_wasSignedIn, state.isSignedIn())) {
        m_scope.start(m_storage.refresh());
    }
    if (state.displayName()) {
        cloudAnswered();
    }
    if (state.isSignedIn()) {
        checkTerms();
    } else {
        m_areTermsKnown = false;
        m_terms.reset();
    }
}

void CloudWatch::checkTerms()
{
    m_scope.start(refreshTerms());
}

QCoro::Task<> CloudWatch::refreshTerms()
{
    if (!m_collaborators.auth.state().isSignedIn()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    co_await m_terms.refreshStatus();
    m_areTermsKnown = m_collaborators.auth.state().isSignedIn() && !m_terms.errorMessage();
}

std::optional<bool> CloudWatch::isOnline() const
{
    return m_status.lastCheckedAt() ? std::optional(m_status.isOnline()) : std::nullopt;
}

std::optional<bool> CloudWatch::areTermsRequired() const
{
    return m_areTermsKnown ? std::optional(m_terms.showTerms()) : std::nullopt;
}

} // namespace gateway::account

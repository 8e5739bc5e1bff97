#include "shell/desktop/screen_rules.h"

#include "account/cloud_watch.h"
#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "account/quorin_auth_view_model.h"
#include "core/notification_names.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/main_thread.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/notifications/notification_center.h"
#include "state/gateway_app_state.h"

#include <utility>

namespace gateway::shell {

ScreenRules::ScreenRules(const Collaborators &with) : m_with(with), m_scope(with.main, with.networkPool)
{
    platform::assertMainThread("ScreenRules");
}

void ScreenRules::statusItemShown(bool hasPlace)
{
    if (!hasPlace) {
        m_with.main.post(m_life, [this] { m_with.notifications.post(core::kOpenDashboard); });
    }
}

void ScreenRules::signInAskedFor()
{
    m_with.appState.setShowSignInSheet(true);
}

void ScreenRules::preferencesAskedFor()
{
    m_arePreferencesDue = true;
    m_with.main.post(m_life, [this] {
        if (std::exchange(m_arePreferencesDue, false)) {
            m_with.screens.presentPreferences();
        }
    });
}

void ScreenRules::termsRequired()
{
    m_arePreferencesDue = false;
    m_scope.start(loadTerms());
}

QCoro::Task<void> ScreenRules::loadTerms()
{
    co_await m_with.terms.refreshStatus();
    if (m_with.terms.showTerms()) {
        m_with.screens.presentTerms();
    } else if (m_with.terms.errorMessage()) {
        m_with.screens.tellTermsProblem(*m_with.terms.errorMessage());
    }
}

void ScreenRules::termsAccepted()
{
    m_with.cloudWatch.checkTerms();
}

void ScreenRules::termsDeclined()
{
    m_scope.start(m_with.auth.signOut());
}

} // namespace gateway::shell

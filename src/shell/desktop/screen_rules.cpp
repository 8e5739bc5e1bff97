#include "shell/desktop/screen_rules.h"

#include "account/account_view_model.h"
#include "account/cloud_watch.h"
#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"
#include "platform/notifications/notification_center.h"
#include "state/gateway_app_state.h"

#include <utility>

namespace gateway::shell {

ScreenRules::ScreenRules(const Collaborators &collaborators) : m_collaborators(collaborators)
{
    platform::assertMainThread("ScreenRules");
    QObject::connect(&collaborators.account, &account::AccountViewModel::termsChecked, &m_context, [this] {
        termsChecked();
    });
}

void ScreenRules::statusItemShown(bool hasPlace)
{
    if (!hasPlace) {
        m_collaborators.main.post(m_life,
                                  [this] { m_collaborators.notifications.post(core::kOpenDashboard); });
    }
}

void ScreenRules::signInAskedFor()
{
    m_collaborators.appState.setShowSignInSheet(true);
}

void ScreenRules::preferencesAskedFor()
{
    m_arePreferencesDue = true;
    m_collaborators.main.post(m_life, [this] {
        if (!std::exchange(m_arePreferencesDue, false)) {
            return;
        }
        if (std::exchange(m_isAccountWanted, false)) {
            m_collaborators.screens.presentAccount();
        } else {
            m_collaborators.screens.presentPreferences();
        }
    });
}

void ScreenRules::accountAskedFor()
{
    m_isAccountWanted = true;
    m_collaborators.notifications.post(core::kOpenPreferences);
}

void ScreenRules::termsRequired()
{
    m_arePreferencesDue = false;
    m_collaborators.account.checkTerms();
}

void ScreenRules::termsChecked()
{
    const account::GatewayQuorinCloudTermsCoordinator &terms = m_collaborators.account.terms();
    if (!terms.showTerms() || m_collaborators.screens.isSetupInTheWay()) {
        return;
    }
    const Presented waiting{m_collaborators.account.auth().sessionNumber(), terms.termsVersion()};
    if (m_presented != waiting) {
        m_presented = waiting;
        m_collaborators.screens.presentAccount();
    }
}

void ScreenRules::termsAccepted()
{
    m_collaborators.cloudWatch.checkTerms();
}

} // namespace gateway::shell

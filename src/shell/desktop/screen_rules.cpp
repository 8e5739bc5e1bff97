#include "shell/desktop/screen_rules.h"

#include "account/account_view_model.h"
#include "account/cloud_watch.h"
#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"
#include "platform/notifications/notification_center.h"
#include "state/gateway_app_state.h"

#include <utility>

namespace gateway::shell {

ScreenRules::ScreenRules(const Collaborators &with) : m_with(with)
{
    platform::assertMainThread("ScreenRules");
    QObject::connect(
        &with.account, &account::AccountViewModel::termsChecked, &m_context, [this] { termsChecked(); });
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
        if (!std::exchange(m_arePreferencesDue, false)) {
            return;
        }
        if (std::exchange(m_isAccountWanted, false)) {
            m_with.screens.presentAccount();
        } else {
            m_with.screens.presentPreferences();
        }
    });
}

void ScreenRules::accountAskedFor()
{
    m_isAccountWanted = true;
    m_with.notifications.post(core::kOpenPreferences);
}

void ScreenRules::termsRequired()
{
    m_arePreferencesDue = false;
    m_with.account.checkTerms();
}

void ScreenRules::termsChecked()
{
    const account::GatewayQuorinCloudTermsCoordinator &terms = m_with.account.terms();
    if (!terms.showTerms() || m_with.screens.isSetupInTheWay()) {
        return;
    }
    const Presented waiting{m_with.account.auth().sessionNumber(), terms.termsVersion()};
    if (m_presented != waiting) {
        m_presented = waiting;
        m_with.screens.presentAccount();
    }
}

void ScreenRules::termsAccepted()
{
    m_with.cloudWatch.checkTerms();
}

} // namespace gateway::shell

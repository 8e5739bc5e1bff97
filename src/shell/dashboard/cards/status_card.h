#pragma once

#include "platform/concurrency/task_scope.h"
#include "shell/controls/card.h"

class QLabel;

namespace gateway::account {
class QuorinAuthViewModel;
class QuorinCloudStatusViewModel;
} // namespace gateway::account

namespace gateway::state {
class GatewayAppState;
}

namespace gateway::shell {

class Button;
class ElidedLabel;
class StateLabel;
class SymbolTile;
class UnifiedCardHeader;
struct DashboardParts;

/// "Quorin Cloud Status": whether images can go to the cloud, and who is signed in.
///
/// Owner: OverviewPage. Thread: main.
class StatusCard : public Card
{
    Q_OBJECT

public:
    explicit StatusCard(const DashboardParts &parts, QWidget *parent = nullptr);
    ~StatusCard() override;

    StateLabel &state() { return *m_state; }
    QLabel &account() const;
    Button &refreshButton() { return *m_refresh; }
    Button &signInButton() { return *m_signIn; }
    Button &signOutButton() { return *m_signOut; }

private:
    QLayout *stateRow();
    QLayout *accountRow();
    void showNow();
    void showState();
    void showAccount();

    const Theme &m_theme;
    account::QuorinAuthViewModel &m_auth;
    account::QuorinCloudStatusViewModel &m_cloudStatus;
    state::GatewayAppState &m_appState;
    Button *m_refresh;
    UnifiedCardHeader *m_header;
    StateLabel *m_state;
    ElidedLabel *m_detail;
    SymbolTile *m_accountSymbol;
    ElidedLabel *m_account;
    Button *m_signIn;
    Button *m_signOut;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::shell

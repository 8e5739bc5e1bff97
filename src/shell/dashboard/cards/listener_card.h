#pragma once

#include "shell/controls/card.h"
#include "shell/theme/tokens.h"

namespace gateway::receive {
class DimseListenerViewModel;
}

namespace gateway::state {
class GatewayAppState;
}

namespace gateway::shell {

class Button;
class ElidedLabel;
class Paragraph;
class StateLabel;
class TextLabel;
class UnifiedCardHeader;
struct DashboardParts;

/// "DIMSE Listener": whether modalities can send, and what they are told to send to.
///
/// Owner: OverviewPage. Thread: main.
class ListenerCard : public Card
{
    Q_OBJECT

public:
    explicit ListenerCard(const DashboardParts &parts, QWidget *parent = nullptr);

    StateLabel &state() { return *m_state; }
    Button &switchButton() { return *m_switch; }
    ElidedLabel &address() { return *m_address; }
    TextLabel &aeTitle() { return *m_aeTitle; }
    TextLabel &port() { return *m_port; }
    Paragraph &failure() { return *m_failure; }
    ElidedLabel &waiting() { return *m_waiting; }
    ElidedLabel &setAside() { return *m_setAside; }

private:
    void showListener();
    QString stateWord() const;
    Color stateColor() const;
    void showInbox();

    receive::DimseListenerViewModel &m_listener;
    const state::GatewayAppState &m_appState;
    Button *m_switch;
    UnifiedCardHeader *m_header;
    StateLabel *m_state;
    ElidedLabel *m_address;
    TextLabel *m_aeTitle;
    TextLabel *m_port;
    Paragraph *m_failure;
    ElidedLabel *m_waiting; // seen only where there is something to say, as the next
    ElidedLabel *m_setAside;
};

} // namespace gateway::shell

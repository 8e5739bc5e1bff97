#include "shell/dashboard/listener_card.h"

#include "receive/dimse_listener_view_model.h"
#include "shell/controls/button.h"
#include "shell/controls/state_label.h"
#include "shell/controls/text_label.h"
#include "shell/controls/unified_card_header.h"
#include "shell/dashboard/dashboard_parts.h"
#include "shell/dashboard/elided_label.h"
#include "shell/dashboard/state_binding.h"
#include "shell/theme/theme.h"
#include "state/gateway_app_state.h"

namespace gateway::shell {

using Field = state::GatewayField;

ListenerCard::ListenerCard(const DashboardParts &parts, QWidget *parent)
    : Card(parts.theme, parent), m_listener(parts.listener), m_appState(parts.appState),
      m_switch(new Button(parts.theme, ButtonKind::secondary, tr("Start"))),
      m_state(new StateLabel(parts.theme)),
      m_address(new ElidedLabel(parts.theme, TypeStyle::small, Color::muted)),
      m_aeTitle(new TextLabel(parts.theme, {}, TypeStyle::bodyStrong)),
      m_port(new TextLabel(parts.theme, {}, TypeStyle::bodyStrong)),
      m_waiting(new ElidedLabel(parts.theme, TypeStyle::small, Color::amber)),
      m_setAside(new ElidedLabel(parts.theme, TypeStyle::small, Color::amber))
{
    const Theme &theme = parts.theme;
    setAccessibleName(tr("DIMSE Listener"));
    body().addWidget(new UnifiedCardHeader(
        theme, QStringLiteral("dot.radiowaves.left.and.right"), tr("DIMSE Listener"), Color::blue, m_switch));
    const auto caption = [&theme](const QString &words) {
        return new TextLabel(theme, words, TypeStyle::body, Color::text2);
    };
    auto *state = new QHBoxLayout;
    state->setSpacing(theme.space(Space::wide));
    state->addWidget(caption(tr("State")));
    state->addWidget(m_state);
    state->addWidget(m_address, 1);
    body().addLayout(state);
    auto *address = new QHBoxLayout;
    address->setSpacing(theme.space(Space::tight));
    address->addWidget(caption(tr("AE Title")));
    address->addWidget(m_aeTitle);
    address->addSpacing(theme.space(Space::wide));
    address->addWidget(caption(tr("Port")));
    address->addWidget(m_port);
    address->addStretch();
    address->addStrut(theme.size(Size::control)); // as high as the line with a button beside it
    body().addLayout(address);
    m_waiting->hide();
    body().addWidget(m_waiting);
    m_setAside->hide();
    body().addWidget(m_setAside);
    connect(m_switch, &QAbstractButton::clicked, this, [this] { m_listener.setEnabled(!m_listener.isOn()); });
    connect(&m_listener, &receive::DimseListenerViewModel::changed, this, &ListenerCard::showListener);
    new StateBinding(
        m_appState,
        {Field::isReceivingNow, Field::isDimseListening},
        [this](const state::GatewayAppState &) { showListener(); },
        this);
    new StateBinding(
        m_appState,
        {Field::inbox, Field::isStoreOutOfSight},
        [this](const state::GatewayAppState &) { showInbox(); },
        this);
}

void ListenerCard::showListener()
{
    const bool canBeReached = m_listener.state() == state::ListenerState::listening;
    if (m_appState.figures().isReceivingNow) {
        m_state->setState(tr("RECEIVING"), Color::blue);
    } else {
        m_state->setState(stateWord(), canBeReached ? Color::green : Color::amber);
    }
    m_address->setWords(canBeReached ? tr("Reached at %1").arg(m_listener.addressText(true))
                                     : tr("Modalities can't send now"));
    m_aeTitle->setText(m_listener.settings().aeTitle);
    m_port->setText(QString::number(m_listener.settings().port));
    m_switch->setText(m_listener.isOn() ? tr("Stop") : tr("Start"));
    m_switch->setSymbol(m_listener.isOn() ? QStringLiteral("stop.fill") : QStringLiteral("play.fill"));
}

QString ListenerCard::stateWord() const
{
    switch (m_listener.state()) {
    case state::ListenerState::stopped:
        break;
    case state::ListenerState::starting:
        return tr("STARTING");
    case state::ListenerState::listening:
        return tr("RUNNING");
    case state::ListenerState::restarting:
        return tr("RESTARTING");
    case state::ListenerState::failed:
        return tr("FAILED");
    }
    return tr("STOPPED");
}

/// Nothing, while there is nothing to say.
void ListenerCard::showInbox()
{
    const state::GatewayFigures &figures = m_appState.figures();
    m_waiting->setWords(
        figures.isStoreOutOfSight
            ? tr("The file store can't be seen; nothing is taken in")
            : tr("Received images not taken in: %1. Run quorin-gateway doctor").arg(figures.inbox.waiting));
    m_waiting->setVisible(figures.isStoreOutOfSight || figures.inbox.isWaitingLong());
    m_setAside->setWords(
        tr("Received files set aside: %1. Run quorin-gateway doctor --repair").arg(figures.inbox.setAside));
    m_setAside->setVisible(figures.inbox.setAside > 0);
}

} // namespace gateway::shell

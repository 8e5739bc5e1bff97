#include "shell/dashboard/cards/listener_card.h"

#include "receive/dimse_listener_view_model.h"
#include "shell/controls/button.h"
#include "shell/controls/elided_label.h"
#include "shell/controls/state_label.h"
#include "shell/controls/text_label.h"
#include "shell/controls/unified_card_header.h"
#include "shell/dashboard/cards/dashboard_parts.h"
#include "shell/dashboard/cards/paragraph.h"
#include "shell/dashboard/cards/state_binding.h"
#include "shell/theme/theme.h"
#include "state/gateway_app_state.h"

namespace gateway::shell {

using Field = state::GatewayField;

ListenerCard::ListenerCard(const DashboardParts &parts, QWidget *parent)
    : Card(parts.theme, parent), m_listener(parts.receiving.listener), m_appState(parts.appState),
      m_switch(new Button(parts.theme, ButtonKind::secondary, tr("Start"))),
      m_header(new UnifiedCardHeader(parts.theme,
                                     QStringLiteral("dot.radiowaves.left.and.right"),
                                     tr("DIMSE Listener"),
                                     Color::blue,
                                     m_switch)),
      m_state(new StateLabel(parts.theme)),
      m_address(new ElidedLabel(parts.theme, TypeStyle::small, Color::muted)),
      m_aeTitle(new TextLabel(parts.theme, {}, TypeStyle::bodyStrong)),
      m_port(new TextLabel(parts.theme, {}, TypeStyle::bodyStrong)),
      m_failure(new Paragraph(parts.theme, TypeStyle::small, Color::red)),
      m_waiting(new ElidedLabel(parts.theme, TypeStyle::small, Color::amber)),
      m_setAside(new ElidedLabel(parts.theme, TypeStyle::small, Color::amber))
{
    const Theme &theme = parts.theme;
    setAccessibleName(tr("DIMSE Listener"));
    body().addWidget(m_header);
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
    m_failure->hide();
    body().addWidget(m_failure);
    m_waiting->hide();
    body().addWidget(m_waiting);
    m_setAside->hide();
    body().addWidget(m_setAside);
    connect(m_switch, &QAbstractButton::clicked, this, [this] { m_listener.setEnabled(!m_listener.isOn()); });
    connect(&m_listener, &receive::DimseListenerViewModel::changed, this, &ListenerCard::showListener);
    new StateBinding(
        m_appState,
        {Field::isReceivingNow, Field::isDimseListening, Field::dimseAlertMessage},
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
        m_state->setState(stateWord(), stateColor());
    }
    const bool hasFailed = m_listener.state() == state::ListenerState::failed;
    m_header->setSymbol(hasFailed ? QStringLiteral("exclamationmark.triangle.fill")
                                  : QStringLiteral("dot.radiowaves.left.and.right"),
                        hasFailed ? Color::red : Color::blue);
    m_address->setWords(canBeReached ? tr("Reached at %1").arg(m_listener.addressText(true))
                                     : tr("Modalities can't send now"));
    const platform::Sentence why = m_appState.figures().dimseAlertMessage.value_or(platform::Sentence());
    m_failure->setText(why.inLanguage());
    m_failure->setVisible(hasFailed && !why.isEmpty());
    m_aeTitle->setText(m_listener.settings().aeTitle);
    m_port->setText(QString::number(m_listener.settings().port));
    m_switch->setBusy(m_listener.state() == state::ListenerState::starting);
    m_switch->setText(m_listener.isOn() ? tr("Stop") : tr("Start"));
    m_switch->setSymbol(m_listener.isOn() ? QStringLiteral("stop.fill") : QStringLiteral("play.fill"));
}

Color ListenerCard::stateColor() const
{
    switch (m_listener.state()) {
    case state::ListenerState::listening:
        return Color::green;
    case state::ListenerState::failed:
        return Color::red;
    default:
        return Color::amber;
    }
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
        figures.isStoreOutOfSight ? tr("The file store can't be seen; nothing is taken in")
        : figures.inbox.outOfSight > 0
            ? tr("An incoming folder can't be seen. Run quorin-gateway doctor")
            : tr("Received images not taken in: %1. Run quorin-gateway doctor").arg(figures.inbox.waiting));
    m_waiting->setVisible(figures.isStoreOutOfSight || figures.inbox.outOfSight > 0 ||
                          figures.inbox.isWaitingLong());
    m_setAside->setWords(
        tr("Received files set aside: %1. Run quorin-gateway doctor --repair").arg(figures.inbox.setAside));
    m_setAside->setVisible(figures.inbox.setAside > 0);
}

} // namespace gateway::shell

#include "shell/dashboard/cards/status_card.h"

#include "account/quorin_auth_view_model.h"
#include "account/quorin_cloud_status_view_model.h"
#include "account/session_words.h"
#include "shell/controls/button.h"
#include "shell/controls/elided_label.h"
#include "shell/controls/state_label.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/controls/unified_card_header.h"
#include "shell/dashboard/cards/dashboard_parts.h"
#include "shell/dashboard/cards/state_binding.h"
#include "shell/theme/theme.h"
#include "state/gateway_app_state.h"

namespace gateway::shell {

namespace {

constexpr int kSymbolEdge = 16;

} // namespace

StatusCard::StatusCard(const DashboardParts &parts, QWidget *parent)
    : Card(parts.theme, parent), m_theme(parts.theme), m_auth(parts.cloud.auth),
      m_cloudStatus(parts.cloud.status), m_appState(parts.appState),
      m_refresh(new Button(parts.theme, ButtonKind::quiet, tr("Refresh"), QStringLiteral("arrow.clockwise"))),
      m_header(new UnifiedCardHeader(
          parts.theme, QStringLiteral("cloud.fill"), tr("Quorin Cloud Status"), Color::green, m_refresh)),
      m_state(new StateLabel(parts.theme)),
      m_detail(new ElidedLabel(parts.theme, TypeStyle::small, Color::muted)),
      m_accountSymbol(new SymbolTile(
          parts.theme, QStringLiteral("lock.fill"), Color::text2, kSymbolEdge, SymbolTile::Ground::none)),
      m_account(new ElidedLabel(parts.theme, TypeStyle::body, Color::text)),
      m_signIn(new PrimaryButton(parts.theme, tr("Sign in"))),
      m_signOut(new Button(parts.theme, ButtonKind::secondary, tr("Sign out"))),
      m_scope(parts.runtime.main, parts.runtime.pool)
{
    setAccessibleName(tr("Quorin Cloud Status"));
    m_detail->setElision(Qt::ElideRight);
    body().addWidget(m_header);
    body().addLayout(stateRow());
    body().addLayout(accountRow());
    connect(m_refresh, &QAbstractButton::clicked, this, [this] { m_scope.start(m_cloudStatus.refresh()); });
    connect(m_signIn, &QAbstractButton::clicked, this, [this] { m_appState.setShowSignInSheet(true); });
    connect(m_signOut, &QAbstractButton::clicked, this, [this] { m_scope.start(m_auth.signOut()); });
    connect(&m_cloudStatus, &account::QuorinCloudStatusViewModel::changed, this, &StatusCard::showNow);
    connect(&m_auth, &account::QuorinAuthViewModel::changed, this, &StatusCard::showNow);
    new StateBinding(
        m_appState,
        {state::GatewayField::failedImagesCount},
        [this](const state::GatewayAppState &) { showNow(); },
        this);
}

StatusCard::~StatusCard()
{
    m_scope.close();
}

QLabel &StatusCard::account() const
{
    return *m_account;
}

QLayout *StatusCard::stateRow()
{
    auto *row = new QHBoxLayout;
    row->setSpacing(m_theme.space(Space::wide));
    row->addWidget(new TextLabel(m_theme, tr("State"), TypeStyle::body, Color::text2));
    row->addWidget(m_state);
    row->addWidget(m_detail, 1);
    return row;
}

QLayout *StatusCard::accountRow()
{
    auto *row = new QHBoxLayout;
    row->setSpacing(m_theme.space(Space::tight));
    row->addWidget(m_accountSymbol);
    row->addWidget(m_account, 1);
    row->addWidget(m_signIn);
    row->addWidget(m_signOut);
    return row;
}

void StatusCard::showNow()
{
    showState();
    showAccount();
    m_refresh->setBusy(m_cloudStatus.isChecking());
}

void StatusCard::showState()
{
    const account::SessionState session = m_auth.standing().state;
    m_header->setSymbol(QStringLiteral("cloud.fill"), Color::green);
    if (session == account::SessionState::ended) {
        m_state->setState(tr("SESSION ENDED"), Color::red);
    } else if (session == account::SessionState::notKnownYet) {
        m_state->setState(tr("CHECKING"), Color::muted);
    } else if (!m_auth.state().isSignedIn()) {
        m_state->setState(tr("SIGNED OUT"), Color::red);
    } else if (session == account::SessionState::credentialsRefused) {
        m_state->setState(tr("PASSWORD REFUSED"), Color::red);
    } else if (session == account::SessionState::signInUnavailable) {
        m_state->setState(tr("NO SIGN-IN"), Color::red);
    } else if (m_cloudStatus.isOnline()) {
        const bool isRefusing = m_appState.figures().failedImagesCount > 0; // answers, but took not all
        m_state->setState(tr("READY"), isRefusing ? Color::amber : Color::green);
    } else if (!m_cloudStatus.lastCheckedAt()) {
        m_state->setState(QStringLiteral("--"), Color::muted); // nobody has asked yet
    } else {
        m_state->setState(tr("UNREACHABLE"), Color::red);
        m_header->setSymbol(QStringLiteral("cloud.slash"), Color::red);
    }
    const QString words = m_cloudStatus.detailText().value_or(QString());
    m_detail->setWords(words.simplified());
    m_detail->setColor(m_cloudStatus.isOnline() ? Color::muted : Color::text2);
}

void StatusCard::showAccount()
{
    const bool isSignedIn = m_auth.state().isSignedIn();
    const account::SessionState session = m_auth.standing().state;
    const bool isKnown = session != account::SessionState::notKnownYet;
    if (session == account::SessionState::credentialsRefused) {
        m_accountSymbol->setSymbol(QStringLiteral("exclamationmark.triangle.fill"), Color::red);
    } else if (session == account::SessionState::signInUnavailable) {
        m_accountSymbol->setSymbol(QStringLiteral("exclamationmark.triangle.fill"), Color::amber);
    } else if (isSignedIn) {
        m_accountSymbol->setSymbol(QStringLiteral("checkmark.circle.fill"), Color::green);
    } else if (!isKnown) {
        m_accountSymbol->setSymbol(QStringLiteral("arrow.clockwise.circle.fill"), Color::muted);
    } else {
        m_accountSymbol->setSymbol(QStringLiteral("lock.fill"), Color::amber);
    }
    m_account->setWords(account::accountText(session, m_auth.signedInLabel()));
    m_signIn->setVisible(isKnown && (!isSignedIn || session == account::SessionState::credentialsRefused));
    m_signOut->setVisible(isSignedIn);
    m_signOut->setBusy(m_auth.isChecking());
    m_signIn->setBusy(m_auth.isChecking());
}

} // namespace gateway::shell

#include "shell/tray/quorin_gateway_menu_view.h"

#include "account/quorin_auth_view_model.h"
#include "account/quorin_cloud_status_view_model.h"
#include "account/session_words.h"
#include "core/notification_names.h"
#include "receive/dimse_listener_view_model.h"
#include "shell/controls/button.h"
#include "shell/controls/state_label.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_label.h"
#include "shell/dashboard/cards/state_binding.h"
#include "shell/theme/theme.h"
#include "shell/tray/panel_group.h"
#include "shell/tray/panel_rows.h"
#include "state/gateway_app_state.h"

#include <QtGui/QShortcut>

#include <QtWidgets/QLayout>

#include <chrono>

namespace gateway::shell {

namespace {

constexpr std::chrono::seconds kSessionPoll{60};
constexpr std::chrono::seconds kStatusPoll{30};

} // namespace

QuorinGatewayMenuView::~QuorinGatewayMenuView() = default;

void QuorinGatewayMenuView::listen()
{
    const auto post = [this](const QString &name) {
        return [this, name] { m_parts.notifications.post(name); };
    };
    connect(m_signIn, &QPushButton::clicked, this, post(core::kOpenSignIn));
    connect(m_manage, &QPushButton::clicked, this, m_parts.actions.manageAccount);
    connect(m_signOut, &QPushButton::clicked, this, [this] { m_scope.start(m_parts.auth.signOut()); });
    connect(m_checkForUpdates, &QPushButton::clicked, this, post(core::kCheckForUpdatesRequested));
    connect(m_listener, &QCheckBox::clicked, this, [this](bool on) {
        m_parts.dimseListener.setEnabled(on);
        showListener();
    });

    // Posted after each look at the session, also after one that was under way when the panel appeared.
    m_authObserver = m_parts.notifications.observe(core::kAuthStateChanged, [this](const QVariantMap &) {
        m_isAuthStatusLoading = false;
        showAccount();
    });
    connect(&m_parts.auth, &account::QuorinAuthViewModel::changed, this, &QuorinGatewayMenuView::showAccount);
    connect(&m_parts.quorinCloudStatus,
            &account::QuorinCloudStatusViewModel::changed,
            this,
            &QuorinGatewayMenuView::showCloud);
    connect(&m_parts.dimseListener,
            &receive::DimseListenerViewModel::changed,
            this,
            &QuorinGatewayMenuView::showListener);
    using Field = state::GatewayField;
    new StateBinding(
        m_parts.appState,
        {Field::receivedImagesCount,
         Field::syncedImagesCount,
         Field::failedImagesCount,
         Field::isReceivingNow},
        [this](const state::GatewayAppState &) {
            if (isVisible()) {
                showFigures();
                showListener();
            }
        },
        this);
    new StateBinding(
        m_parts.appState,
        {Field::updateBannerMessage},
        [this](const state::GatewayAppState &) { showBanner(); },
        this);

    auto *f5 = new QShortcut(QKeySequence(Qt::Key_F5), this);
    connect(f5, &QShortcut::activated, this, &QuorinGatewayMenuView::refresh);
    auto *preferences = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma), this);
    connect(preferences, &QShortcut::activated, this, post(core::kOpenPreferences));
}

void QuorinGatewayMenuView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    showAll();
    refresh();
}

void QuorinGatewayMenuView::refresh()
{
    m_parts.dimseListener.refresh();
    m_parts.appState.refreshCounters();
    m_parts.quorinCloudStatus.startPolling(kStatusPoll);
    m_scope.start(m_parts.quorinCloudStatus.refresh());
    m_parts.auth.startPolling(kSessionPoll);
    m_scope.start(m_parts.auth.refresh(false));
}

void QuorinGatewayMenuView::showAll()
{
    showBanner();
    showAccount();
    showCloud();
    showFigures();
    showListener();
}

void QuorinGatewayMenuView::showBanner()
{
    const std::optional<QString> &message = m_parts.appState.figures().updateBannerMessage;
    m_bannerText->setText(message.value_or(QString()));
    m_banner->setVisible(message.has_value());
    m_checkForUpdates->setSymbol(message ? QStringLiteral("exclamationmark.triangle.fill") : QString());
    arrangeFooter();
    const QList<PanelGroup *> groups = findChildren<PanelGroup *>();
    for (PanelGroup *group : groups) {
        group->setRoomy(!message && group != m_banner);
    }
    layout()->setSpacing(m_parts.theme.space(message ? Space::tight : Space::gap));
}

void QuorinGatewayMenuView::showAccount()
{
    const bool isLoading = m_isAuthStatusLoading || m_parts.auth.isChecking();
    const bool isSignedIn = m_parts.auth.state().isSignedIn();
    const account::SessionState session = m_parts.auth.standing().state;
    const QString words = account::accountText(session, m_parts.auth.signedInLabel());
    if (isLoading) {
        m_account->setBusy(account::accountText(account::SessionState::notKnownYet, {}));
    } else if (session == account::SessionState::credentialsRefused) {
        m_account->setContent(QStringLiteral("exclamationmark.triangle.fill"), Color::red, words);
    } else if (session == account::SessionState::signInUnavailable) {
        m_account->setContent(QStringLiteral("exclamationmark.triangle.fill"), Color::amber, words);
    } else if (isSignedIn) {
        m_account->setContent(QStringLiteral("checkmark.circle.fill"), Color::green, words);
    } else {
        m_account->setContent(QStringLiteral("lock.fill"), Color::amber, words);
    }
    m_checking->setVisible(isLoading);
    m_signIn->setVisible(!isLoading && (!isSignedIn || session == account::SessionState::credentialsRefused));
    m_manage->setVisible(!isLoading && isSignedIn);
    m_signOut->setVisible(!isLoading && isSignedIn);
}

void QuorinGatewayMenuView::showCloud()
{
    const account::QuorinCloudStatusViewModel &status = m_parts.quorinCloudStatus;
    if (status.isChecking()) {
        m_cloud->setContent(QStringLiteral("arrow.clockwise.circle.fill"), Color::muted, status.statusText());
    } else if (status.isOnline()) {
        m_cloud->setContent(QStringLiteral("checkmark.circle.fill"), Color::green, status.statusText());
    } else {
        m_cloud->setContent(QStringLiteral("exclamationmark.triangle.fill"), Color::red, status.statusText());
    }
}

void QuorinGatewayMenuView::showFigures()
{
    const state::GatewayFigures &figures = m_parts.appState.figures();
    m_received->setFigure(figures.receivedImagesCount);
    m_uploaded->setFigure(figures.syncedImagesCount);
    m_failed->setFigure(figures.failedImagesCount, figures.failedImagesCount > 0 ? Color::red : Color::text);
}

void QuorinGatewayMenuView::showListener()
{
    const receive::DimseListenerViewModel &listener = m_parts.dimseListener;
    m_listener->setChecked(listener.isOn());
    m_listener->setBusy(listener.state() == state::ListenerState::starting);
    m_listener->setText(listener.isOn() ? tr("Stop Listener") : tr("Start Listener"));
    if (m_parts.appState.figures().isReceivingNow) {
        m_listenerState->setState(tr("Receiving on Port %1").arg(listener.settings().port), Color::blue);
        return;
    }
    switch (listener.state()) {
    case state::ListenerState::stopped:
        m_listenerState->setState(tr("Stopped"), Color::muted);
        return;
    case state::ListenerState::starting:
        m_listenerState->setState(tr("Starting"), Color::amber);
        return;
    case state::ListenerState::restarting:
        m_listenerState->setState(tr("Restarting"), Color::amber);
        return;
    case state::ListenerState::failed:
        m_listenerState->setState(tr("Failed"), Color::red);
        return;
    case state::ListenerState::listening:
        m_listenerState->setState(tr("Listening on Port %1").arg(listener.settings().port), Color::green);
        return;
    }
}

} // namespace gateway::shell

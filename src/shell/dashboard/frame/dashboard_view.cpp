#include "shell/dashboard/frame/dashboard_view.h"

#include "account/quorin_cloud_status_view_model.h"
#include "account/quorin_cloud_storage_limit_view_model.h"
#include "receive/dimse_listener_view_model.h"
#include "shell/controls/sheet.h"
#include "shell/dashboard/cards/state_binding.h"
#include "shell/dashboard/frame/dashboard_header.h"
#include "shell/dashboard/frame/dashboard_sidebar.h"
#include "shell/dashboard/frame/overview_page.h"
#include "shell/dashboard/frame/update_banner.h"
#include "shell/log/log_screen.h"
#include "shell/theme/theme.h"
#include "state/gateway_app_state.h"

#include <QtCore/QEvent>
#include <QtGui/QGuiApplication>
#include <QtGui/QShortcut>
#include <QtGui/QWindow>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QStackedWidget>

#include <algorithm>

namespace gateway::shell {

namespace {

using namespace std::chrono_literals;
using Field = state::GatewayField;

constexpr auto kCloudStatusInterval = 30s;
constexpr auto kCloudStorageInterval = 60s;

constexpr int kNarrowBelow = 1120; // pixels; the cards need the room more than the rail's words do
constexpr int kWidestOverview = 2400;

} // namespace

DashboardView::DashboardView(const DashboardParts &parts, QWidget *parent)
    : QWidget(parent), m_parts(parts), m_sidebar(new DashboardSidebar(parts.theme)),
      m_header(new DashboardHeader(parts.theme, parts.actions.openPreferences != nullptr)),
      m_banner(new UpdateBanner(parts.theme, parts.actions.checkForUpdates)), m_screens(new QStackedWidget),
      m_overview(new OverviewPage(parts)), m_logs(new LogScreen({.theme = parts.theme,
                                                                 .model = parts.logs.model,
                                                                 .defaults = parts.runtime.defaults,
                                                                 .main = parts.runtime.main,
                                                                 .pool = parts.runtime.pool,
                                                                 .openFolder = parts.logs.openFolder})),
      m_scope(parts.runtime.main, parts.runtime.pool)
{
    layOut();
    addShortcuts();
    listen();
    setSelectedScreen(Screen::overview);
}

DashboardView::~DashboardView()
{
    m_scope.close();
}

QString DashboardView::windowTitle()
{
    return QStringLiteral("Quorin Gateway");
}

void DashboardView::layOut()
{
    auto *column = new QVBoxLayout;
    column->setSpacing(0);
    column->addWidget(m_header);
    column->addWidget(m_banner);
    m_screens->addWidget(m_overview);
    m_screens->addWidget(m_logs);
    column->addWidget(m_screens, 1);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins({});
    row->setSpacing(0);
    row->addWidget(m_sidebar);
    row->addLayout(column, 1);
}

void DashboardView::addShortcuts()
{
    const auto add = [this](const QKeySequence &keys, QWidget *where, const auto &act) {
        auto *shortcut = new QShortcut(keys, where);
        connect(shortcut, &QShortcut::activated, this, act);
    };
    add(Qt::Key_F5, m_overview, [this] { refresh(); }); // the log screen has its own
    if (m_parts.actions.openPreferences) {
        add(Qt::CTRL | Qt::Key_Comma, this, m_parts.actions.openPreferences);
    }
}

void DashboardView::listen()
{
    connect(m_sidebar, &DashboardSidebar::chosen, this, &DashboardView::setSelectedScreen);
    if (m_parts.actions.openPanel) {
        SidebarEntry &panel = m_sidebar->addCommand(tr("Menu"), QStringLiteral("ellipsis.circle"));
        connect(&panel, &QPushButton::clicked, this, m_parts.actions.openPanel);
    }
    connect(m_header, &DashboardHeader::viewLogsRequested, this, [this] { setSelectedScreen(Screen::logs); });
    connect(m_overview, &OverviewPage::viewLogsRequested, this, [this] { setSelectedScreen(Screen::logs); });
    connect(m_header, &DashboardHeader::preferencesRequested, this, m_parts.actions.openPreferences);
    connect(m_header, &DashboardHeader::manualUploadRequested, m_overview, &OverviewPage::manualUpload);
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive) {
            m_parts.appState.refreshStorageUsage();
        }
    });
    connect(qApp, &QGuiApplication::focusWindowChanged, this, &DashboardView::windowGotKeyboard);
    new StateBinding(
        m_parts.appState,
        {Field::updateBannerMessage},
        [this](const state::GatewayAppState &now) {
            m_banner->setMessage(now.figures().updateBannerMessage);
        },
        this);
    new StateBinding(
        m_parts.appState,
        {Field::showSignInSheet},
        [this](const state::GatewayAppState &) { showSignInSheet(); },
        this);
}

void DashboardView::setSelectedScreen(Screen screen)
{
    m_selectedScreen = screen;
    m_sidebar->setSelected(screen);
    m_header->setScreen(screen);
    m_screens->setCurrentWidget(screen == Screen::overview ? m_overview : m_logs);
}

void DashboardView::refresh()
{
    m_parts.appState.refreshCounters();
    m_parts.appState.refreshTransferSeries();
    m_parts.receiving.listener.refresh();
    m_scope.start(m_parts.cloud.status.refresh());
    m_scope.start(m_parts.cloud.storage.refresh());
}

void DashboardView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (event->spontaneous()) {
        return; // back from the task bar
    }
    m_parts.cloud.status.startPolling(kCloudStatusInterval);
    m_parts.cloud.storage.startPolling(kCloudStorageInterval);
    refresh();
    showSignInSheet(); // asked for while nobody could see it
}

void DashboardView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_sidebar->setNarrow(width() < kNarrowBelow);
    const int page = m_parts.theme.space(Space::page);
    const int room = width() - m_sidebar->minimumWidth();
    const int side = std::max(page, (room - kWidestOverview) / 2);
    m_header->setSideMargin(side);
    m_banner->setSideMargin(side);
    m_overview->setSideMargin(side);
}

void DashboardView::windowGotKeyboard(const QWindow *window)
{
    if (window != nullptr && window->title() == windowTitle()) {
        m_parts.appState.refreshStorageUsage();
    }
}

void DashboardView::showSignInSheet()
{
    if (!m_parts.appState.figures().showSignInSheet) {
        if (m_signInSheet != nullptr) {
            m_signInSheet->closeSheet();
        }
        return;
    }
    if (!isVisible() || !m_parts.cloud.makeSignInSheet) {
        return;
    }
    if (m_signInSheet == nullptr) {
        m_signInSheet = m_parts.cloud.makeSignInSheet(window());
        m_signInSheet->installEventFilter(this);
    }
    if (m_signInSheet->isHidden()) {
        m_signInSheet->open();
    }
}

bool DashboardView::eventFilter(QObject *watched, QEvent *event)
{
    // A sheet closes in several ways; all of them hide it, and not its window.
    if (watched == m_signInSheet && event->type() == QEvent::Hide && m_signInSheet->isHidden()) {
        signInSheetClosed();
    }
    return QWidget::eventFilter(watched, event);
}

void DashboardView::signInSheetClosed()
{
    m_overview->signInSheetClosed();
    m_parts.appState.setShowSignInSheet(false);
}

} // namespace gateway::shell

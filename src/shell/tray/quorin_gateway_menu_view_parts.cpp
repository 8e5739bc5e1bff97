// What the panel is put together from.

#include "core/notification_names.h"
#include "platform/notifications/notification_center.h"
#include "shell/controls/button.h"
#include "shell/controls/state_label.h"
#include "shell/controls/switch.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/theme/symbols.h"
#include "shell/theme/theme.h"
#include "shell/tray/panel_group.h"
#include "shell/tray/panel_rows.h"
#include "shell/tray/quorin_gateway_menu_view.h"
#include "shell/tray/status_bar_controller.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QMenu>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

namespace {

constexpr QSize kPanel(340, 500);

Button *compact(Button *button)
{
    button->setCompact();
    return button;
}

} // namespace

QuorinGatewayMenuView::QuorinGatewayMenuView(const MenuViewParts &parts)
    : m_parts(parts), m_scope(parts.main, parts.pool)
{
    setFixedSize(kPanel);
    auto *column = new QVBoxLayout(this);
    const int margin = parts.theme.space(Space::gap);
    column->setContentsMargins(margin, margin, margin, parts.theme.space(Space::tight));
    column->setSpacing(parts.theme.space(Space::tight));
    column->addWidget(makeHeader());
    column->addWidget(makeBanner());
    column->addWidget(makeSession());
    column->addWidget(makeFigures());
    column->addWidget(makeListener());
    column->addStretch(1);
    auto *dashboard =
        new PrimaryButton(parts.theme, tr("Open Dashboard"), QStringLiteral("square.grid.2x2.fill"));
    connect(
        dashboard, &QPushButton::clicked, this, [this] { m_parts.notifications.post(core::kOpenDashboard); });
    column->addWidget(dashboard);
    column->addWidget(makeFooter());
    listen();
    showAll();
}

QWidget *QuorinGatewayMenuView::makeHeader()
{
    auto *header = new QWidget;
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins({}); // as the groups below
    row->setSpacing(m_parts.theme.space(Space::gap));
    row->addWidget(new SymbolTile(m_parts.theme,
                                  applicationSymbol(kApplicationSymbol),
                                  Color::blue,
                                  m_parts.theme.size(Size::icon),
                                  SymbolTile::Ground::tinted));
    row->addWidget(new TextLabel(m_parts.theme, tr("Quorin Gateway"), TypeStyle::h2), 1);
    return header;
}

QWidget *QuorinGatewayMenuView::makeBanner()
{
    auto *banner = new PanelGroup(m_parts.theme, Color::amber);
    auto *row = new QHBoxLayout;
    row->setSpacing(m_parts.theme.space(Space::tight) + 2);
    row->addWidget(new SymbolTile(m_parts.theme,
                                  QStringLiteral("arrow.triangle.2.circlepath.circle.fill"),
                                  Color::amber,
                                  16,
                                  SymbolTile::Ground::none));
    m_bannerText = new TextLabel(m_parts.theme, {}, TypeStyle::small);
    m_bannerText->setWordWrap(true);
    row->addWidget(m_bannerText, 1);
    banner->body().addLayout(row);
    m_banner = banner;
    return banner;
}

QWidget *QuorinGatewayMenuView::makeSession()
{
    const Theme &theme = m_parts.theme;
    auto *group = new PanelGroup(theme);
    m_account = new PanelLine(theme);
    group->body().addWidget(m_account);

    auto *actions = new QHBoxLayout;
    actions->setContentsMargins(16 + theme.space(Space::tight) + 2, 0, 0, 0);
    actions->setSpacing(theme.space(Space::tight));
    m_checking = new TextLabel(theme, tr("Checking…"), TypeStyle::small, Color::muted);
    m_checking->setFixedHeight(theme.size(Size::rowCompact));
    m_signIn = compact(new Button(theme, ButtonKind::secondary, tr("Sign in")));
    m_manage = compact(new Button(theme, ButtonKind::secondary, tr("Manage")));
    m_signOut = compact(new Button(theme, ButtonKind::secondary, tr("Sign out")));
    for (QWidget *part : std::initializer_list<QWidget *>{m_checking, m_signIn, m_manage, m_signOut}) {
        actions->addWidget(part);
    }
    actions->addStretch(1);
    group->body().addLayout(actions);

    group->addRule();
    m_cloud = new PanelLine(theme);
    group->body().addWidget(m_cloud);
    return group;
}

QWidget *QuorinGatewayMenuView::makeFigures()
{
    const Theme &theme = m_parts.theme;
    auto *group = new PanelGroup(theme);
    m_received = new FigureRow(theme, QStringLiteral("folder.fill"), Color::blue, tr("Received Images"));
    m_uploaded =
        new FigureRow(theme, QStringLiteral("tray.and.arrow.up.fill"), Color::green, tr("Uploaded Images"));
    m_failed = new FigureRow(
        theme, QStringLiteral("exclamationmark.triangle.fill"), Color::red, tr("Upload Failures"));
    for (FigureRow *row : {m_received, m_uploaded, m_failed}) {
        group->body().addWidget(row);
    }
    return group;
}

QWidget *QuorinGatewayMenuView::makeListener()
{
    const Theme &theme = m_parts.theme;
    auto *group = new PanelGroup(theme);
    group->body().setSpacing(0);
    m_listenerState = new StateLabel(theme);
    group->body().addWidget(m_listenerState);
    m_listener = new Switch(theme, {}, Color::switchOn);
    m_listener->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    group->body().addWidget(m_listener);
    return group;
}

QWidget *QuorinGatewayMenuView::makeFooter()
{
    const Theme &theme = m_parts.theme;
    auto *footer = new QWidget;
    auto *rows = new QVBoxLayout(footer);
    rows->setContentsMargins({});
    rows->setSpacing(0);
    m_footerAbove = new QHBoxLayout;
    m_footer = new QHBoxLayout;
    rows->addLayout(m_footerAbove);
    rows->addLayout(m_footer);
    m_footerAbove->addStretch(1);
    m_footer->setSpacing(0);

    m_checkForUpdates = compact(new Button(theme, ButtonKind::quiet, tr("Check for Updates…")));
    m_preferences = compact(new Button(theme, ButtonKind::quiet, tr("Preferences…")));
    connect(m_preferences, &QPushButton::clicked, this, [this] {
        m_parts.notifications.post(core::kOpenPreferences);
    });
    m_more = makeMore();
    m_footer->addWidget(m_checkForUpdates);
    m_footer->addWidget(m_preferences);
    m_footer->addStretch(1);
    m_footer->addWidget(m_more);
    return footer;
}

/// Words that don't fit into one row get a second one.
void QuorinGatewayMenuView::arrangeFooter()
{
    int wanted = 0;
    for (const Button *button : {m_checkForUpdates, m_preferences, m_more}) {
        wanted += button->sizeHint().width();
    }
    const QMargins margins = layout()->contentsMargins();
    const bool fits = wanted <= width() - margins.left() - margins.right();
    (fits ? m_footer : m_footerAbove)->insertWidget(0, m_checkForUpdates);
}

Button *QuorinGatewayMenuView::makeMore()
{
    const Theme &theme = m_parts.theme;
    Button *more =
        compact(new Button(theme, ButtonKind::quiet, tr("More"), QStringLiteral("ellipsis.circle")));
    auto *menu = new QMenu(more);
    const auto add = [&](const QString &symbol, const QString &title, const auto &act) {
        menu->addAction(theme.icon(symbol), title, this, act);
    };
    add(QStringLiteral("wand.and.stars"), tr("Setup Wizard…"), [this] {
        m_parts.notifications.post(core::kOpenSetupWizard);
    });
    if (m_parts.actions.sendFeedback) {
        add(QStringLiteral("envelope.fill"), tr("Send feedback"), m_parts.actions.sendFeedback);
    }
    add(QStringLiteral("ladybug.fill"), tr("Report a bug"), [this] {
        m_parts.notifications.post(core::kOpenBugReport);
    });
    add(QStringLiteral("info.circle"), tr("About Quorin Gateway"), m_parts.actions.openAbout);
    add(QStringLiteral("power"), tr("Quit Quorin Gateway"), m_parts.actions.quit);
    more->setMenu(menu);
    return more;
}

} // namespace gateway::shell

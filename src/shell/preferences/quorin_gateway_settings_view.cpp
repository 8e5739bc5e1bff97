#include "shell/preferences/quorin_gateway_settings_view.h"

#include "shell/controls/empty_state.h"
#include "shell/controls/segmented_control.h"
#include "shell/controls/text_label.h"
#include "shell/preferences/account_settings_pane.h"
#include "shell/preferences/appearance_choice.h"
#include "shell/preferences/category_list.h"
#include "shell/preferences/listener_settings_pane.h"
#include "shell/preferences/quorin_cloud_settings_pane.h"
#include "shell/theme/theme.h"

#include <QtCore/QEvent>
#include <QtGui/QPainter>
#include <QtGui/QShortcut>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

namespace {

constexpr int kRailWidth = 280; // the faces beside each other, in a wordier language too

} // namespace

QuorinGatewaySettingsView::QuorinGatewaySettingsView(const PreferencesParts &parts)
    : m_parts(parts), m_categories(new CategoryList(parts.theme)),
      m_appearance(new SegmentedControl(parts.theme)), m_rail(makeRail()), m_stack(new QStackedWidget)
{
    m_panes = {
        new AccountSettingsPane(parts), new ListenerSettingsPane(parts), new QuorinCloudSettingsPane(parts)};
    for (SettingsPaneContainer *pane : m_panes) {
        m_stack->addWidget(pane);
    }
    m_stack->addWidget(new EmptyState(parts.theme,
                                      {.symbol = QStringLiteral("gearshape.fill"),
                                       .title = tr("Preferences"),
                                       .sentence = tr("Select a settings category."),
                                       .action = {}}));
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins({});
    row->setSpacing(0);
    row->addWidget(m_rail);
    row->addWidget(m_stack, 1);
    auto *anew = new QShortcut(QKeySequence::Refresh, this);
    connect(anew, &QShortcut::activated, this, &QuorinGatewaySettingsView::refresh);
    connect(m_categories, &CategoryList::chosen, this, &QuorinGatewaySettingsView::showSelection);
    connect(&parts.theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
    setSelection(GatewaySettingsItem::account);
}

QString QuorinGatewaySettingsView::windowTitle()
{
    return tr("Preferences");
}

QWidget *QuorinGatewaySettingsView::makeRail()
{
    const Theme &theme = m_parts.theme;
    auto *rail = new QWidget;
    rail->setFixedWidth(kRailWidth);
    auto *column = new QVBoxLayout(rail);
    const int margin = theme.space(Space::wide);
    column->setContentsMargins(margin, theme.space(Space::page), margin, margin);
    column->setSpacing(theme.space(Space::gap));
    column->addWidget(m_categories);
    column->addStretch(1);
    column->addWidget(makeAppearance());
    return rail;
}

QWidget *QuorinGatewaySettingsView::makeAppearance()
{
    const Theme &theme = m_parts.theme;
    auto *choice = new QWidget;
    auto *column = new QVBoxLayout(choice);
    column->setContentsMargins({});
    column->setSpacing(theme.space(Space::tight));
    column->addWidget(new TextLabel(theme, tr("Appearance"), TypeStyle::small, Color::text2));
    m_appearance->addSegment(tr("Dark"));
    m_appearance->addSegment(tr("Light"));
    m_appearance->addSegment(tr("System"));
    m_appearance->setAccessibleName(tr("Appearance"));
    column->addWidget(m_appearance, 0, Qt::AlignLeft);
    const auto show = [this] {
        m_appearance->setCurrentIndex(static_cast<int>(m_parts.appearance.current()));
    };
    show();
    connect(m_appearance, &SegmentedControl::currentChanged, this, [this](int index) {
        m_parts.appearance.choose(core::kAllAppearances.at(static_cast<std::size_t>(index)));
    });
    connect(&m_parts.appearance, &AppearanceChoice::changed, this, show);
    return choice;
}

std::optional<GatewaySettingsItem> QuorinGatewaySettingsView::selection() const
{
    return m_categories->selection();
}

void QuorinGatewaySettingsView::setSelection(std::optional<GatewaySettingsItem> item)
{
    m_categories->select(item);
    showSelection();
}

void QuorinGatewaySettingsView::showSelection()
{
    const std::optional<GatewaySettingsItem> item = selection();
    m_stack->setCurrentIndex(item ? static_cast<int>(*item) : static_cast<int>(m_panes.size()));
    follow();
}

void QuorinGatewaySettingsView::follow()
{
    if (const std::optional<GatewaySettingsItem> item = selection()) {
        m_panes.at(static_cast<qsizetype>(*item))->follow();
    }
}

void QuorinGatewaySettingsView::refresh()
{
    if (const std::optional<GatewaySettingsItem> item = selection()) {
        m_panes.at(static_cast<qsizetype>(*item))->refresh();
    }
}

bool QuorinGatewaySettingsView::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate) {
        m_parts.appearance.follow(); // whatever was changed meanwhile, be it from a terminal
        follow();
    }
    return QWidget::event(event);
}

void QuorinGatewaySettingsView::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.fillRect(rect(), m_parts.theme.color(Color::canvas));
    painter.fillRect(m_rail->geometry(), m_parts.theme.color(Color::rail));
    painter.fillRect(QRect(m_rail->width() - 1, 0, 1, height()), m_parts.theme.color(Color::line));
}

} // namespace gateway::shell

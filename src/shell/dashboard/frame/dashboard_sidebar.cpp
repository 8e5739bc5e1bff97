#include "shell/dashboard/frame/dashboard_sidebar.h"

#include "shell/controls/painting.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/dashboard/cards/ink.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/symbols.h"
#include "shell/theme/theme.h"

#include <QtCore/QEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

namespace {

constexpr int kSymbolEdge = 18;
constexpr int kNarrowWidth = 68;

constexpr double kSelectedFill = 0.75;
constexpr double kSelectedBorder = 0.28;
constexpr double kOtherFill = 0.08;
constexpr double kOtherBorder = 0.12;
constexpr double kHoverMore = 0.05;

} // namespace

SidebarEntry::SidebarEntry(const Theme &theme, const QString &title, const QString &symbol, QWidget *parent)
    : QPushButton(title, parent), m_theme(theme), m_symbol(symbol), m_hover(theme, *this, 0)
{
    setFont(theme.font(TypeStyle::bodyStrong));
    setFocusPolicy(Qt::StrongFocus);
    setCheckable(true);
    setAutoDefault(true);
    setSizePolicy(QSizePolicy::MinimumExpanding, QSizePolicy::Fixed);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void SidebarEntry::setNarrow(bool narrow)
{
    m_isNarrow = narrow;
    setToolTip(narrow ? text() : QString());
    updateGeometry();
    update();
}

QSize SidebarEntry::sizeHint() const
{
    const int height = m_theme.size(Size::controlLarge);
    const int gap = m_theme.space(Space::gap);
    return {m_isNarrow ? height : gap + kSymbolEdge + gap + widthOf(font(), text()) + gap, height};
}

bool SidebarEntry::event(QEvent *event)
{
    const QEvent::Type type = event->type();
    if (type == QEvent::Enter || type == QEvent::Leave || type == QEvent::EnabledChange) {
        m_hover.moveTo(type != QEvent::Leave && underMouse() && isEnabled() ? 1 : 0);
    }
    return QPushButton::event(event);
}

void SidebarEntry::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool isDark = m_theme.variant() == Variant::dark;
    QColor fill = ink(m_theme, kOtherFill + kHoverMore * (isDown() ? 2 : m_hover.value()));
    if (isChecked()) {
        fill = m_theme.color(Color::blue);
        // On white ground the thinner blue would be too pale for white words.
        fill.setAlphaF(isDark ? static_cast<float>(kSelectedFill) : 1.0F);
    }
    const double radius = m_theme.radius(Radius::chip);
    painter.setPen(QPen(ink(m_theme, isChecked() ? kSelectedBorder : kOtherBorder), 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);

    const Color content = isChecked() ? Color::onBlue : Color::text;
    const int gap = m_theme.space(Space::gap);
    const QRect symbol = m_isNarrow ? rect() : QRect(gap, 0, kSymbolEdge, height());
    paintSymbol(painter, m_theme, symbol, m_symbol, content, kSymbolEdge);
    if (!m_isNarrow) {
        painter.setFont(font());
        painter.setPen(m_theme.color(content));
        const QRect words = rect().adjusted(gap + kSymbolEdge + gap, 0, -gap, 0);
        painter.drawText(words, Qt::AlignVCenter | Qt::AlignLeft, text());
    }
    if (showsFocus(*this)) {
        painter.setBrush(Qt::NoBrush);
        paintFocusRing(painter, m_theme, rect(), radius);
    }
}

DashboardSidebar::DashboardSidebar(const Theme &theme, QWidget *parent)
    : QWidget(parent), m_theme(theme),
      m_name(new TextLabel(theme, QStringLiteral("Quorin Gateway"), TypeStyle::bodyStrong))
{
    auto *column = new QVBoxLayout(this);
    const int margin = theme.space(Space::wide) - 2; // the entries of the narrow rail are square
    column->setContentsMargins(margin, theme.space(Space::page), margin, margin);
    column->setSpacing(theme.space(Space::tight));
    auto *brand = new QHBoxLayout;
    brand->setSpacing(theme.space(Space::tight));
    brand->addSpacing(theme.space(Space::hair));
    brand->addWidget(new SymbolTile(theme,
                                    kApplicationSymbol.toString(),
                                    Color::blueHi,
                                    theme.size(Size::icon),
                                    SymbolTile::Ground::tinted));
    brand->addWidget(m_name, 1);
    column->addLayout(brand);
    column->addSpacing(theme.space(Space::wide));
    addEntry(Screen::overview, tr("Dashboard"), QStringLiteral("square.grid.2x2.fill"));
    addEntry(Screen::logs, tr("Logs"), QStringLiteral("list.bullet.rectangle"));
    column->addStretch();
    setMinimumWidth(theme.size(Size::rail));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    setSelected(Screen::overview);
    connect(&m_entries, &QButtonGroup::idClicked, this, [this](int id) {
        Q_EMIT chosen(static_cast<Screen>(id));
    });
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void DashboardSidebar::addEntry(Screen screen, const QString &title, const QString &symbol)
{
    auto *entry = new SidebarEntry(m_theme, title, symbol);
    m_entries.addButton(entry, static_cast<int>(screen));
    layout()->addWidget(entry);
}

SidebarEntry &DashboardSidebar::addCommand(const QString &title, const QString &symbol)
{
    m_action = new SidebarEntry(m_theme, title, symbol);
    m_action->setCheckable(false);
    m_action->setNarrow(m_isNarrow);
    layout()->addWidget(m_action);
    return *m_action;
}

SidebarEntry &DashboardSidebar::entry(Screen screen) const
{
    return *static_cast<SidebarEntry *>(m_entries.button(static_cast<int>(screen)));
}

void DashboardSidebar::setSelected(Screen screen)
{
    entry(screen).setChecked(true);
}

void DashboardSidebar::setNarrow(bool narrow)
{
    if (narrow == m_isNarrow) {
        return;
    }
    m_isNarrow = narrow;
    m_name->setVisible(!narrow);
    for (const Screen screen : {Screen::overview, Screen::logs}) {
        entry(screen).setNarrow(narrow);
    }
    if (m_action != nullptr) {
        m_action->setNarrow(narrow);
    }
    setMinimumWidth(narrow ? kNarrowWidth : m_theme.size(Size::rail));
}

void DashboardSidebar::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.fillRect(rect(), m_theme.color(Color::rail));
    painter.fillRect(QRect(width() - 1, 0, 1, height()), m_theme.color(Color::line));
}

} // namespace gateway::shell

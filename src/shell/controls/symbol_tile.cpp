#include "shell/controls/symbol_tile.h"

#include "shell/controls/painting.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>

namespace gateway::shell {

SymbolTile::SymbolTile(
    const Theme &theme, const QString &symbol, Color color, int edge, Ground ground, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_symbol(symbol), m_color(color), m_edge(edge), m_ground(ground)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void SymbolTile::setSymbol(const QString &symbol, Color color)
{
    m_symbol = symbol;
    m_color = color;
    update();
}

QSize SymbolTile::sizeHint() const
{
    const int edge =
        m_ground == Ground::none ? m_edge : m_edge * m_theme.size(Size::iconChip) / m_theme.size(Size::icon);
    return {edge, edge};
}

void SymbolTile::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Color shown = isEnabled() ? m_color : Color::disabled;
    if (m_ground == Ground::tinted) {
        const double radius = std::min<double>(m_theme.radius(Radius::card), height() * 0.3);
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_theme.tinted(shown));
        painter.drawRoundedRect(rect(), radius, radius);
    }
    paintSymbol(painter, m_theme, rect(), m_symbol, shown, m_edge);
}

} // namespace gateway::shell

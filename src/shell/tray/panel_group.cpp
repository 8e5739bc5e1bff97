#include "shell/tray/panel_group.h"

#include "shell/controls/painting.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>

namespace gateway::shell {

namespace {

class Rule : public QWidget
{
public:
    explicit Rule(const Theme &theme) : m_theme(theme) { setFixedHeight(1); }

protected:
    void paintEvent(QPaintEvent * /*event*/) override
    {
        QPainter(this).fillRect(rect(), m_theme.color(Color::line));
    }

private:
    const Theme &m_theme;
};

} // namespace

PanelGroup::PanelGroup(const Theme &theme, std::optional<Color> tint, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_tint(tint), m_body(new QVBoxLayout(this))
{
    m_body->setSpacing(theme.space(Space::tight));
    setRoomy(false);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void PanelGroup::setRoomy(bool roomy)
{
    const int side = m_theme.space(Space::tight); // where the words of a quiet button begin, too
    const int top = m_theme.space(roomy ? Space::gap : Space::tight);
    m_body->setContentsMargins(side, top, side, top);
}

void PanelGroup::addRule()
{
    m_body->addWidget(new Rule(m_theme));
}

void PanelGroup::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = m_theme.radius(Radius::chip);
    QLinearGradient light(0, 0, 0, height());
    light.setColorAt(0, m_theme.color(Color::cardTop));
    light.setColorAt(1, m_theme.color(Color::card));
    painter.setPen(Qt::NoPen);
    painter.setBrush(light);
    painter.drawRoundedRect(rect(), radius, radius);
    if (m_tint) {
        painter.setBrush(m_theme.tinted(*m_tint));
        painter.drawRoundedRect(rect(), radius, radius);
    }
    paintInnerStroke(painter, m_theme, rect(), radius);
}

} // namespace gateway::shell

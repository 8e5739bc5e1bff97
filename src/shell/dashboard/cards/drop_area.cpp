#include "shell/dashboard/cards/drop_area.h"

#include "shell/controls/painting.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtCore/QEvent>
#include <QtGui/QFontMetricsF>
#include <QtGui/QPainter>

#include <algorithm>

namespace gateway::shell {

namespace {

constexpr int kHeight = 56;
constexpr int kSymbolEdge = 20;
constexpr int kLineGap = 2;

QString firstLineAtRest()
{
    return DropArea::tr("Drop DICOM Files Or Folders");
}

QString secondLineAtRest()
{
    return DropArea::tr("Uses the same pipeline as Manual Import");
}

} // namespace

DropArea::DropArea(const Theme &theme, QWidget *parent)
    : QAbstractButton(parent), m_theme(theme), m_light(theme, *this, 0), m_hover(theme, *this, 0)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
    setToolTip(tr("Click to choose files or folders"));
    setState(State::rest);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void DropArea::setState(State state)
{
    m_state = state;
    m_light.moveTo(state == State::rest ? 0 : 1, Motion::base);
    setText(state == State::started ? tr("Import Started") : firstLineAtRest());
    setAccessibleDescription(secondLine());
    update();
}

QString DropArea::symbol() const
{
    return m_state == State::started ? QStringLiteral("tray.and.arrow.down.fill")
                                     : QStringLiteral("square.and.arrow.down.fill");
}

QString DropArea::secondLine() const
{
    return m_state == State::started ? QString() : secondLineAtRest();
}

QSize DropArea::sizeHint() const
{
    // That of the longest words, so that nothing moves when they change.
    const int words = std::max({widthOf(m_theme.font(TypeStyle::bodyStrong), firstLineAtRest()),
                                widthOf(m_theme.font(TypeStyle::bodyStrong), tr("Import Started")),
                                widthOf(m_theme.font(TypeStyle::small), secondLineAtRest())});
    const int gap = m_theme.space(Space::gap);
    return {gap + kSymbolEdge + gap + words + gap, kHeight};
}

bool DropArea::event(QEvent *event)
{
    const QEvent::Type type = event->type();
    if (type == QEvent::Enter || type == QEvent::Leave) {
        m_hover.moveTo(type == QEvent::Enter && isEnabled() ? 1 : 0);
    }
    return QAbstractButton::event(event);
}

void DropArea::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintGround(painter);
    const int gap = m_theme.space(Space::gap);
    const int content = sizeHint().width() - 2 * gap;
    const int left = std::max(gap, (width() - content) / 2);
    const Color color = m_state == State::rest       ? Color::text2
                        : m_state == State::targeted ? Color::blueHi
                                                     : Color::greenHi;
    paintSymbol(painter, m_theme, QRect(left, 0, kSymbolEdge, height()), symbol(), color, kSymbolEdge);
    paintWords(painter, left + kSymbolEdge + gap);
    if (showsFocus(*this)) {
        painter.setBrush(Qt::NoBrush);
        paintFocusRing(painter, m_theme, rect(), m_theme.radius(Radius::chip));
    }
}

void DropArea::paintGround(QPainter &painter) const
{
    const Color lit = m_state == State::started ? Color::green : Color::blue;
    QColor fill = m_theme.color(Color::hover);
    fill.setAlphaF(static_cast<float>(isDown() ? 0.8 : 0.25 + 0.25 * m_hover.value()));
    fill = Theme::mixed(m_theme.color(Color::card), fill, fill.alphaF());
    fill = Theme::mixed(fill, m_theme.color(lit), m_light.value() * (m_state == State::rest ? 0 : 0.2));
    QPen edge(m_state == State::rest ? m_theme.color(Color::inputBorder) : m_theme.color(lit), 1.5);
    edge.setStyle(m_state == State::started ? Qt::SolidLine : Qt::CustomDashLine);
    if (m_state != State::started) {
        edge.setDashPattern({4, 3});
    }
    painter.setPen(edge);
    painter.setBrush(fill);
    const double radius = m_theme.radius(Radius::chip);
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), radius, radius);
}

void DropArea::paintWords(QPainter &painter, int left) const
{
    const QFontMetricsF strong(m_theme.font(TypeStyle::bodyStrong), this);
    const QFontMetricsF small(m_theme.font(TypeStyle::small), this);
    const QString second = secondLine();
    const double block = strong.height() + (second.isEmpty() ? 0 : kLineGap + small.height());
    const double top = (height() - block) / 2;
    painter.setFont(m_theme.font(TypeStyle::bodyStrong));
    painter.setPen(m_theme.color(Color::text));
    painter.drawText(QPointF(left, top + strong.ascent()), text());
    painter.setFont(m_theme.font(TypeStyle::small));
    painter.setPen(m_theme.color(Color::text2));
    painter.drawText(QPointF(left, top + strong.height() + kLineGap + small.ascent()), second);
}

} // namespace gateway::shell

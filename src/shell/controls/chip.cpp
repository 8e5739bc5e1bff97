#include "shell/controls/chip.h"

#include "shell/controls/painting.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>

namespace gateway::shell {

namespace {

constexpr int kHeight = 22;
constexpr int kMargin = 9;
constexpr int kMarkEdge = 12;
constexpr int kMarkGap = 6;

QFont chipFont(const Theme &theme)
{
    QFont font = theme.font(TypeStyle::small);
    font.setWeight(QFont::Medium);
    return font;
}

} // namespace

Chip::Chip(const Theme &theme, const QString &text, Color color, QWidget *parent)
    : QLabel(text, parent), m_theme(theme), m_color(color)
{
    setTextFormat(Qt::PlainText);
    setFont(chipFont(theme));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void Chip::setColor(Color color)
{
    m_color = color;
    update();
}

QSize Chip::sizeHint() const
{
    return sizeOf(m_theme, text());
}

QSize Chip::sizeOf(const Theme &theme, const QString &text)
{
    return {widthOf(chipFont(theme), text) + 2 * kMargin, kHeight};
}

void Chip::paint(QPainter &painter, const Theme &theme, const QRect &bounds, const QString &text, Color color)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(chipFont(theme));
    QRect body(QPoint(), sizeOf(theme, text));
    body.setWidth(std::min(body.width(), bounds.width()));
    body.moveCenter(bounds.center());
    body.moveLeft(bounds.left());
    const double radius = std::min(theme.radius(Radius::chip), kHeight / 2);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.tinted(color));
    painter.drawRoundedRect(body, radius, radius);
    painter.setPen(theme.color(color));
    const QString shown = painter.fontMetrics().elidedText(text, Qt::ElideRight, body.width() - 2 * kMargin);
    painter.drawText(body, Qt::AlignCenter, shown);
    painter.restore();
}

void Chip::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    paint(painter, m_theme, rect(), text(), isEnabled() ? m_color : Color::disabled);
}

FilterChip::FilterChip(const Theme &theme, const QString &text, QWidget *parent)
    : QPushButton(text, parent), m_theme(theme)
{
    setCheckable(true);
    setFont(chipFont(theme));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

QSize FilterChip::sizeHint() const
{
    // Room for the mark is kept while the filter is off, so that its neighbours stay where they are.
    const int words = widthOf(font(), text());
    return {words + kMarkEdge + kMarkGap + 2 * m_theme.space(Space::gap), m_theme.size(Size::rowCompact)};
}

void FilterChip::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = height() / 2.0;
    const bool isOver = isEnabled() && underMouse();
    const Color rest = isOver || isDown() ? Color::hover : Color::raised;
    QColor fill = m_theme.color(isChecked() && isEnabled() ? Color::selected : rest);
    fill = isDown() ? m_theme.pressed(fill) : fill;
    const Color border = isChecked() && isEnabled() ? Color::blue
                         : isEnabled()              ? Color::lineStrong
                                                    : Color::line;
    painter.setPen(QPen(m_theme.color(border), 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius - 0.5, radius - 0.5);

    const Color enabled = isChecked() || isOver ? Color::text : Color::text2;
    const Color content = isEnabled() ? enabled : Color::disabled;
    QRect words = rect();
    if (isChecked()) {
        const int left = m_theme.space(Space::gap);
        paintSymbol(painter, m_theme, QRect(left, 0, kMarkEdge, height()), u"checkmark", content, kMarkEdge);
        words.setLeft(left + kMarkEdge + kMarkGap);
        words.setRight(words.right() - left);
    }
    painter.setPen(m_theme.color(content));
    painter.drawText(words, Qt::AlignCenter, text());
    if (showsFocus(*this)) {
        paintFocusRing(painter, m_theme, rect(), radius);
    }
}

} // namespace gateway::shell

#include "shell/controls/storage_hover_tooltip.h"

#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/painting.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtCore/QEvent>
#include <QtGui/QFontMetricsF>
#include <QtGui/QPainter>

#include <algorithm>
#include <cmath>

namespace gateway::shell {

namespace {

constexpr int kShadowRoom = 16;
constexpr int kMarginX = 12;
constexpr int kMarginY = 9;
constexpr int kDistance = 8;

} // namespace

StorageHoverTooltip::StorageHoverTooltip(const Theme &theme, QWidget *parent)
    : QWidget(parent), m_theme(theme)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    setFont(theme.font(TypeStyle::small));
    hide();
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void StorageHoverTooltip::setText(const QString &text)
{
    m_text = text;
    if (isVisible() && m_anchor != nullptr) {
        showFor(*m_anchor);
    }
    update();
}

void StorageHoverTooltip::watch(QWidget &anchor)
{
    anchor.installEventFilter(this);
}

QSize StorageHoverTooltip::sizeHint() const
{
    const QFontMetricsF metrics(font(), this);
    const QStringList lines = m_text.split(u'\n');
    double widest = 0;
    for (const QString &line : lines) {
        widest = std::max(widest, fixedDigitWidth(metrics, line));
    }
    const int words = static_cast<int>(std::ceil(metrics.lineSpacing() * static_cast<double>(lines.size())));
    return {static_cast<int>(std::ceil(widest)) + 2 * (kMarginX + kShadowRoom),
            words + 2 * (kMarginY + kShadowRoom)};
}

bool StorageHoverTooltip::eventFilter(QObject *watched, QEvent *event)
{
    auto &anchor = *static_cast<QWidget *>(watched);
    const QEvent::Type type = event->type();
    if (type == QEvent::Enter || (type == QEvent::FocusIn && showsFocus(anchor))) {
        showFor(anchor);
    } else if (type == QEvent::Leave || type == QEvent::FocusOut || type == QEvent::Hide) {
        if (&anchor == m_anchor) {
            hide();
        }
    }
    return QWidget::eventFilter(watched, event);
}

void StorageHoverTooltip::showFor(QWidget &anchor)
{
    QWidget *const window = anchor.window();
    if (m_text.isEmpty()) {
        return;
    }
    m_anchor = &anchor;
    if (parentWidget() != window) {
        setParent(window);
    }
    const QPoint above = anchor.mapTo(window, QPoint(anchor.width() / 2, 0));
    const QSize size = sizeHint();
    int top = above.y() - size.height() + kShadowRoom - kDistance;
    if (top + kShadowRoom < 0) {
        top = above.y() + anchor.height() - kShadowRoom + kDistance;
    }
    const int furthest = std::max(-kShadowRoom, window->width() - size.width() + kShadowRoom);
    setGeometry(QRect(QPoint(std::clamp(above.x() - size.width() / 2, -kShadowRoom, furthest), top), size));
    raise();
    show();
}

void StorageHoverTooltip::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect body = rect().adjusted(kShadowRoom, kShadowRoom, -kShadowRoom, -kShadowRoom);
    const int radius = m_theme.radius(Radius::control);
    paintSoftShadow(painter, m_theme, body, radius);
    painter.setPen(QPen(m_theme.color(Color::lineStrong), 1));
    painter.setBrush(m_theme.color(Color::raised));
    painter.drawRoundedRect(QRectF(body).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);

    painter.setFont(font());
    painter.setPen(m_theme.color(Color::text));
    const QFontMetricsF metrics(font(), this);
    double baseLine = body.top() + kMarginY + metrics.ascent();
    const QStringList lines = m_text.split(u'\n');
    for (const QString &line : lines) {
        drawFixedDigits(painter, QPointF(body.left() + kMarginX, baseLine), line);
        baseLine += metrics.lineSpacing();
    }
}

} // namespace gateway::shell

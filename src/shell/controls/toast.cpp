#include "shell/controls/toast.h"

#include "shell/controls/painting.h"
#include "shell/theme/theme.h"

#include <QtCore/QEvent>
#include <QtGui/QPainter>

namespace gateway::shell {

namespace {

constexpr int kShadowRoom = 20;
constexpr int kHeight = 44;
constexpr double kRiseBy = 10;

} // namespace

Toast::Toast(const Theme &theme, QWidget &window) : QWidget(&window), m_theme(theme), m_rise(theme, *this, 0)
{
    announceAccessible();
    setFont(theme.font(TypeStyle::bodyStrong));
    setFocusPolicy(Qt::NoFocus);
    hide();
    m_end.setSingleShot(true);
    m_end.setInterval(kLinger);
    connect(&m_end, &QTimer::timeout, this, &QWidget::hide);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
    window.installEventFilter(this);
}

void Toast::showMessage(const QString &symbol, const QString &sentence, Color color)
{
    m_symbol = symbol;
    m_sentence = sentence;
    m_color = color;
    place();
    raise();
    m_rise.jumpTo(0);
    show();
    m_rise.moveTo(1, Motion::base);
    m_end.start();
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

QSize Toast::sizeHint() const
{
    const int words = widthOf(font(), m_sentence);
    const int symbol = m_theme.size(Size::icon) + m_theme.space(Space::gap);
    return {words + symbol + 2 * m_theme.space(Space::wide) + 2 * kShadowRoom, kHeight + 2 * kShadowRoom};
}

void Toast::place()
{
    QSize size = sizeHint();
    size.setWidth(std::min(size.width(), parentWidget()->width()));
    const int bottom = parentWidget()->height() - m_theme.space(Space::page) + kShadowRoom;
    setGeometry(QRect(QPoint((parentWidget()->width() - size.width()) / 2, bottom - size.height()), size));
}

bool Toast::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize && isVisible()) {
        place();
    }
    return QWidget::eventFilter(watched, event);
}

void Toast::enterEvent(QEnterEvent * /*event*/)
{
    m_end.stop();
}

void Toast::leaveEvent(QEvent * /*event*/)
{
    m_end.start();
}

void Toast::mousePressEvent(QMouseEvent * /*event*/)
{
    hide();
}

void Toast::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(m_rise.value());
    painter.translate(0, (1 - m_rise.value()) * kRiseBy);
    const QRect body = rect().adjusted(kShadowRoom, kShadowRoom, -kShadowRoom, -kShadowRoom);
    const int radius = m_theme.radius(Radius::chip);
    paintSoftShadow(painter, m_theme, body, radius);
    painter.setPen(QPen(m_theme.color(Color::lineStrong), 1));
    painter.setBrush(m_theme.color(Color::raised));
    painter.drawRoundedRect(QRectF(body).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);

    const int edge = m_theme.size(Size::icon);
    const QRect symbol(body.left() + m_theme.space(Space::wide), body.top(), edge, body.height());
    paintSymbol(painter, m_theme, symbol, m_symbol, m_color, edge);
    painter.setPen(m_theme.color(Color::text));
    painter.setFont(font());
    QRect words = body.adjusted(0, 0, -m_theme.space(Space::gap), 0);
    words.setLeft(symbol.right() + 1 + m_theme.space(Space::gap));
    painter.drawText(words,
                     Qt::AlignVCenter | Qt::AlignLeft,
                     fontMetrics().elidedText(m_sentence, Qt::ElideRight, words.width()));
}

} // namespace gateway::shell

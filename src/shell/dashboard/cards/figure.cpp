#include "shell/dashboard/cards/figure.h"

#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/painting.h"
#include "shell/controls/text_label.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtCore/QLocale>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

namespace {

constexpr int kLineGap = 2;

} // namespace

Figure::Figure(const Theme &theme, const QString &caption, TypeStyle style, QWidget *parent)
    : Figure(theme, caption, new FixedDigitLabel(theme, QStringLiteral("--"), style), parent)
{
}

Figure::Figure(const Theme &theme, const QString &caption, FixedDigitLabel *value, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_caption(caption), m_value(value)
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(kLineGap);
    column->addWidget(new TextLabel(theme, caption, TypeStyle::small, Color::text2));
    column->addWidget(value);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
}

void Figure::setText(const QString &text)
{
    m_value->setText(text);
    m_value->setAccessibleName(tr("%1: %2").arg(m_caption, text));
}

void Figure::setCount(std::int64_t count)
{
    setText(QLocale().toString(static_cast<qlonglong>(count)));
}

void Figure::setColor(Color color)
{
    m_value->setColor(color);
}

QString Figure::text() const
{
    return m_value->text();
}

void Figure::setActivatable(bool activatable, const QString &hint)
{
    m_isActivatable = activatable;
    setFocusPolicy(activatable ? Qt::StrongFocus : Qt::NoFocus);
    setCursor(activatable ? Qt::PointingHandCursor : Qt::ArrowCursor);
    setToolTip(activatable ? hint : QString());
    setAccessibleName(activatable ? tr("%1: %2").arg(m_caption, text()) : QString());
    setAccessibleDescription(activatable ? hint : QString());
}

void Figure::mouseReleaseEvent(QMouseEvent *event)
{
    if (m_isActivatable && event->button() == Qt::LeftButton &&
        rect().contains(event->position().toPoint())) {
        Q_EMIT activated();
    }
}

void Figure::keyPressEvent(QKeyEvent *event)
{
    const bool isPressed =
        event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space;
    if (m_isActivatable && isPressed) {
        Q_EMIT activated();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void Figure::paintEvent(QPaintEvent * /*event*/)
{
    if (showsFocus(*this)) {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        paintFocusRing(painter, m_theme, rect(), m_theme.radius(Radius::control));
    }
}

} // namespace gateway::shell

#include "shell/controls/switch.h"

#include "shell/controls/painting.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>

#include <chrono>

namespace gateway::shell {

namespace {

constexpr QSizeF kTrack(38, 22);
constexpr double kRoomForRing = 4;
constexpr double kKnobInset = 3;

} // namespace

Switch::Switch(const Theme &theme, const QString &text, Color onColor, QWidget *parent)
    : QCheckBox(text, parent), m_theme(theme), m_onColor(onColor), m_knob(theme, *this, 0),
      m_spin(theme, *this)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(text.isEmpty() ? QSizePolicy::Fixed : QSizePolicy::Minimum, QSizePolicy::Fixed);
    connect(this, &QAbstractButton::toggled, this, [this](bool on) { m_knob.moveTo(on ? 1 : 0); });
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
    connect(&m_spin, &FrameTicker::frame, this, qOverload<>(&QWidget::update));
}

void Switch::setBusy(bool busy)
{
    if (m_isBusy != busy) {
        m_isBusy = busy;
        m_spin.setWanted(busy);
        update();
    }
}

bool Switch::event(QEvent *event)
{
    const QEvent::Type type = event->type();
    const bool isKey = type == QEvent::KeyPress;
    const bool isSpace = isKey && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Space;
    if (m_isBusy && (type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick || isSpace)) {
        event->accept();
        return true;
    }
    return QCheckBox::event(event);
}

QSize Switch::sizeHint() const
{
    const int words = text().isEmpty() ? 0 : widthOf(font(), text()) + m_theme.space(Space::gap);
    return {words + qRound(kTrack.width() + 2 * kRoomForRing), m_theme.size(Size::control)};
}

bool Switch::hitButton(const QPoint &position) const
{
    return rect().contains(position);
}

QRectF Switch::track() const
{
    const double right = width() - kRoomForRing;
    return {right - kTrack.width(), (height() - kTrack.height()) / 2, kTrack.width(), kTrack.height()};
}

void Switch::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto color = [this](Color which) { return m_theme.color(which); };
    const QRectF where = track();
    const double radius = where.height() / 2;

    QColor rest = color(underMouse() ? Color::hover : Color::raised);
    QColor on = color(m_onColor);
    on = underMouse() ? Theme::mixed(on, color(Color::onBlue), 0.1) : on;
    QColor fill = isEnabled() ? Theme::mixed(rest, on, m_knob.value()) : color(Color::raised);
    fill = isDown() ? m_theme.pressed(fill) : fill;
    QColor border = isEnabled() ? color(Color::inputBorder) : color(Color::line);
    border = isEnabled() && isChecked() ? fill : border;
    painter.setPen(QPen(border, 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(where.adjusted(0.5, 0.5, -0.5, -0.5), radius - 0.5, radius - 0.5);

    const double diameter = where.height() - 2 * kKnobInset;
    const double way = where.width() - 2 * kKnobInset - diameter;
    painter.setPen(Qt::NoPen);
    const Color rested = m_theme.variant() == Variant::dark ? Color::text2 : Color::inputBorder;
    painter.setBrush(isEnabled() ? Theme::mixed(color(rested), color(Color::onBlue), m_knob.value())
                                 : color(Color::disabled));
    const QRectF knob(
        where.left() + kKnobInset + way * m_knob.value(), where.top() + kKnobInset, diameter, diameter);
    painter.drawEllipse(knob);
    if (m_isBusy) {
        const double turn = std::chrono::duration<double>(m_spin.elapsed()).count();
        paintSpinner(painter, m_theme, knob.adjusted(3, 3, -3, -3), Color::blueFill, turn);
    }

    painter.setPen(color(isEnabled() ? Color::text : Color::disabled));
    painter.drawText(QRectF(0, 0, where.left() - m_theme.space(Space::gap) + 1, height()),
                     int{Qt::AlignLeft | Qt::AlignVCenter},
                     text());
    if (showsFocus(*this)) {
        paintFocusRing(painter, m_theme, where.adjusted(-4, -4, 4, 4), radius + 4);
    }
}

} // namespace gateway::shell

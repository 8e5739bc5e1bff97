#include "shell/tray/popover.h"

#include "shell/controls/painting.h"
#include "shell/theme/theme.h"
#include "shell/tray/popover_place.h"

#include <QtCore/QEvent>
#include <QtGui/QBitmap>
#include <QtGui/QCursor>
#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtGui/QScreen>
#include <QtWidgets/QApplication>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace gateway::shell {

namespace {

/// Between the press that takes the activation away and the tray's word of the same click: a moment, but a
/// busy machine makes it long.
constexpr std::chrono::milliseconds kSameClick{900};

/// The same where nobody knows which place the press was on.
constexpr std::chrono::milliseconds kPerhapsSameClick{300};

} // namespace

Popover::Popover(const Theme &theme, const platform::Clock &clock, QWidget *content)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint), m_theme(theme),
      m_clock(clock), m_content(content), m_area(new QScrollArea)
{
    m_area->setFrameShape(QFrame::NoFrame);
    m_area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_area->setFocusPolicy(Qt::NoFocus);
    m_area->setWidget(content);
    m_area->setWidgetResizable(true);
    m_area->viewport()->setAutoFillBackground(false); // the popover paints the ground
    content->setAutoFillBackground(false);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_area);
    setWindowTitle(tr("Quorin Gateway"));
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void Popover::open(const QRect &anchor)
{
    m_anchor = anchor;
    const QPoint pointer = QCursor::pos();
    const QRect beside = anchor.isEmpty() ? QRect(pointer, QSize(1, 1)) : anchor;
    const QScreen *screen = QGuiApplication::screenAt(beside.center());
    const QRect room = (screen == nullptr ? QGuiApplication::primaryScreen() : screen)->availableGeometry();
    resize(fitted(room.size()));
    move(popoverPlace(screen == nullptr ? QRect() : beside, size(), room));
    show();
    raise();
    activateWindow();
}

/// The content's size, or so much of its height as there is, and the bar to scroll by beside it.
QSize Popover::fitted(const QSize &room) const
{
    const QSize wanted =
        m_content->sizeHint().expandedTo(m_content->minimumSize()).boundedTo(m_content->maximumSize());
    if (wanted.height() <= room.height()) {
        return wanted;
    }
    return {std::min(wanted.width() + m_area->verticalScrollBar()->sizeHint().width(), room.width()),
            room.height()};
}

bool Popover::hasJustGone() const
{
    if (!m_goneAt) {
        return false;
    }
    const auto since = m_clock.monotonic() - *m_goneAt;
    return m_anchor.isEmpty() ? since < kPerhapsSameClick : m_wasPointerOnAnchor && since < kSameClick;
}

bool Popover::event(QEvent *event)
{
    // A menu of its own takes the activation, too, on some desktops.
    if (event->type() == QEvent::WindowDeactivate && isVisible() &&
        QApplication::activePopupWidget() == nullptr) {
        m_goneAt = m_clock.monotonic();
        m_wasPointerOnAnchor = m_anchor.contains(QCursor::pos());
        hide();
    }
    return QWidget::event(event);
}

void Popover::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        hide();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void Popover::resizeEvent(QResizeEvent *event)
{
    QBitmap mask(size());
    mask.clear();
    QPainter painter(&mask);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::color1);
    painter.drawRoundedRect(rect(), m_theme.radius(Radius::card), m_theme.radius(Radius::card));
    painter.end();
    setMask(mask);
    QWidget::resizeEvent(event);
}

void Popover::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), m_theme.color(Color::canvas));
    painter.setPen(QPen(m_theme.color(Color::lineStrong), 1));
    painter.setBrush(Qt::NoBrush);
    const double radius = m_theme.radius(Radius::card);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

} // namespace gateway::shell

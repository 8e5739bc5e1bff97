#include "shell/dashboard/cards/flow_overlay.h"

#include "platform/concurrency/clock.h"
#include "shell/dashboard/cards/ink.h"
#include "shell/theme/symbols.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>

#include <algorithm>
#include <cmath>

namespace gateway::shell {

namespace {

constexpr int kArrowEdge = 12;
constexpr double kArrowDistance = 44;
constexpr double kColumnRoom = 70;
constexpr int kFewestColumns = 4;

constexpr double kSlowest = 70; // points a second
constexpr double kFasterBy = 20;
constexpr int kSpeeds = 3;

constexpr double kFaintest = 0.18;
constexpr double kStrongerBy = 0.06;

QDateTime referenceDate()
{
    return {QDate(2001, 1, 1), QTime(0, 0), Qt::UTC};
}

double phaseOf(int column, double height, double seconds)
{
    const double speed = kSlowest + kFasterBy * (column % kSpeeds);
    const double round = height + kArrowDistance;
    const double phase = std::fmod(seconds * speed, round);
    return phase < 0 ? phase + round : phase; // the clock may stand before 2001
}

/// Adds the arrows of a column that can be seen; they repeat without end either way.
void appendColumn(QList<FlowArrow> &arrows, double x, double first, double height, double opacity)
{
    const double steps = std::ceil((first + kArrowDistance) / kArrowDistance);
    double y = first - steps * kArrowDistance;
    for (; y <= height + kArrowDistance; y += kArrowDistance) {
        arrows.append({{x, y}, opacity});
    }
}

} // namespace

QList<FlowArrow> flowArrows(FlowDirection direction, const QSizeF &area, double seconds)
{
    QList<FlowArrow> arrows;
    const int columns = std::max(static_cast<int>(area.width() / kColumnRoom), kFewestColumns);
    for (int column = 0; column < columns; ++column) {
        const double phase = phaseOf(column, area.height(), seconds);
        const double first =
            direction == FlowDirection::down ? phase - kArrowDistance : area.height() - phase;
        appendColumn(arrows,
                     area.width() / (columns + 1) * (column + 1),
                     first,
                     area.height(),
                     std::min(1.0, kFaintest + kStrongerBy * column));
    }
    return arrows;
}

FlowOverlay::FlowOverlay(const Theme &theme,
                         const platform::Clock &clock,
                         FlowDirection direction,
                         QWidget *parent)
    : QWidget(parent), m_theme(theme), m_clock(clock), m_direction(direction), m_ticker(theme, *this)
{
    announceAccessible();
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
    connect(&m_ticker, &FrameTicker::frame, this, [this] {
        update();
        Q_EMIT frame();
    });
}

void FlowOverlay::setFlowing(bool flowing)
{
    if (flowing == m_isFlowing) {
        return;
    }
    m_isFlowing = flowing;
    m_ticker.setWanted(flowing);
    update();
    Q_EMIT flowingChanged(flowing);
    QAccessibleEvent renamed(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&renamed);
}

double FlowOverlay::seconds() const
{
    using Seconds = std::chrono::duration<double>;
    return m_ticker.isTicking()
               ? Seconds(std::chrono::milliseconds(referenceDate().msecsTo(m_clock.now()))).count()
               : 0;
}

void FlowOverlay::paintEvent(QPaintEvent * /*event*/)
{
    if (!m_isFlowing) {
        return;
    }
    QPainter painter(this);
    const QStringView symbol = m_direction == FlowDirection::down ? u"arrow.down" : u"arrow.up";
    const QPixmap pixmap =
        symbolPixmap(symbol, ink(m_theme), kArrowEdge, painter.device()->devicePixelRatioF());
    const QPointF toCorner(kArrowEdge / 2.0, kArrowEdge / 2.0);
    if (!isMoving()) { // they stand where they can be seen, also on a low way
        painter.translate(0, (m_direction == FlowDirection::down ? 0.5 : -0.5) * height());
    }
    const QList<FlowArrow> arrows = flowArrows(m_direction, size(), seconds());
    for (const FlowArrow &arrow : arrows) {
        painter.setOpacity(arrow.opacity);
        painter.drawPixmap(arrow.centre - toCorner, pixmap);
    }
}

DownArrowFlowOverlay::DownArrowFlowOverlay(const Theme &theme, const platform::Clock &clock, QWidget *parent)
    : FlowOverlay(theme, clock, FlowDirection::down, parent)
{
}

void DownArrowFlowOverlay::setState(bool isListening, bool isActive)
{
    setFlowing(isListening && isActive);
}

QString DownArrowFlowOverlay::accessibleWords() const
{
    return isFlowing() ? tr("Images are coming in") : tr("No images are coming in");
}

UpArrowFlowOverlay::UpArrowFlowOverlay(const Theme &theme, const platform::Clock &clock, QWidget *parent)
    : FlowOverlay(theme, clock, FlowDirection::up, parent)
{
}

QString UpArrowFlowOverlay::accessibleWords() const
{
    return isFlowing() ? tr("Images are being sent") : tr("No images are being sent");
}

} // namespace gateway::shell

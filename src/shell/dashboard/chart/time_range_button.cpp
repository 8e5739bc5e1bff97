#include "shell/dashboard/chart/time_range_button.h"

#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/painting.h"
#include "shell/dashboard/chart/transfer_words.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtCore/QEvent>
#include <QtGui/QActionGroup>
#include <QtGui/QFontMetricsF>
#include <QtGui/QPainter>
#include <QtWidgets/QMenu>

#include <algorithm>
#include <cmath>

namespace gateway::shell {

namespace {

constexpr int kSymbolEdge = 18;
constexpr int kSymbolGap = 10;
constexpr int kChevronEdge = 14;
constexpr int kHeight = 44;
constexpr int kLineDistance = 17;

} // namespace

TimeRangeButton::TimeRangeButton(const Theme &theme, QWidget *parent)
    : QPushButton(tr("Time Range"), parent), m_theme(theme), m_timeframes(new QActionGroup(this)),
      m_hover(theme, *this, 0)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto *choices = new QMenu(this);
    choices->setAccessibleName(text());
    for (const state::TransferTimeframe timeframe : state::kTransferTimeframes) {
        QAction *action = choices->addAction(transferWord(menuTitle(timeframe)));
        action->setCheckable(true);
        m_timeframes->addAction(action);
        connect(action, &QAction::triggered, this, [this, timeframe] { Q_EMIT chosen(timeframe); });
    }
    setMenu(choices);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void TimeRangeButton::setRange(state::TransferTimeframe timeframe, const QString &rangeTitle)
{
    if (rangeTitle != m_rangeTitle) {
        m_rangeTitle = rangeTitle;
        setAccessibleDescription(rangeTitle);
        updateGeometry();
        update();
    }
    if (timeframe != m_current) {
        m_current = timeframe;
        const QList<QAction *> actions = m_timeframes->actions();
        for (qsizetype i = 0; i < actions.size(); ++i) {
            const bool isCurrent = state::kTransferTimeframes.at(static_cast<std::size_t>(i)) == timeframe;
            actions[i]->setChecked(isCurrent);
            actions[i]->setIcon(isCurrent ? m_theme.icon(u"checkmark.circle.fill", Color::blue) : QIcon());
        }
    }
}

QSize TimeRangeButton::sizeHint() const
{
    const QFontMetricsF strong(m_theme.font(TypeStyle::bodyStrong), this);
    const double words =
        std::max(QFontMetricsF(m_theme.font(TypeStyle::axis), this).horizontalAdvance(text()),
                 fixedDigitWidth(strong, m_rangeTitle));
    const int margins = 2 * m_theme.space(Space::gap);
    return {margins + kSymbolEdge + kSymbolGap + static_cast<int>(std::ceil(words)) + kSymbolGap +
                kChevronEdge,
            kHeight};
}

bool TimeRangeButton::event(QEvent *event)
{
    const QEvent::Type type = event->type();
    if (type == QEvent::Enter || type == QEvent::Leave || type == QEvent::EnabledChange) {
        m_hover.moveTo(type != QEvent::Leave && underMouse() && isEnabled() ? 1 : 0);
    }
    return QPushButton::event(event);
}

void TimeRangeButton::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor surface =
        Theme::mixed(m_theme.color(Color::raised), m_theme.color(Color::hover), m_hover.value());
    const double radius = m_theme.radius(Radius::control);
    painter.setPen(QPen(m_theme.color(isEnabled() ? Color::lineStrong : Color::line), 1));
    painter.setBrush(isDown() ? m_theme.pressed(surface) : surface);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius - 0.5, radius - 0.5);

    const int margin = m_theme.space(Space::gap);
    const Color content = isEnabled() ? Color::text2 : Color::disabled;
    paintSymbol(painter, m_theme, QRect(margin, 0, kSymbolEdge, height()), u"calendar", content, kSymbolEdge);
    paintSymbol(painter,
                m_theme,
                QRect(width() - margin - kChevronEdge, 0, kChevronEdge, height()),
                u"chevron.down",
                content,
                kChevronEdge);
    paintWords(painter, margin + kSymbolEdge + kSymbolGap);
    if (showsFocus(*this)) {
        paintFocusRing(painter, m_theme, rect(), radius);
    }
}

void TimeRangeButton::paintWords(QPainter &painter, int left) const
{
    const auto baseLineAround = [this](const QFontMetricsF &metrics, double offset) {
        return height() / 2.0 + offset + (metrics.ascent() - metrics.descent()) / 2;
    };
    painter.setFont(m_theme.font(TypeStyle::axis)); // not font(): the style sheet gives buttons their own
    painter.setPen(m_theme.color(isEnabled() ? Color::muted : Color::disabled));
    const QFontMetricsF small(painter.font(), this);
    painter.drawText(QPointF(left, baseLineAround(small, -kLineDistance / 2.0)), text());
    painter.setFont(m_theme.font(TypeStyle::bodyStrong));
    painter.setPen(m_theme.color(isEnabled() ? Color::text : Color::disabled));
    const QFontMetricsF strong(painter.font(), this);
    drawFixedDigits(painter, {double(left), baseLineAround(strong, kLineDistance / 2.0)}, m_rangeTitle);
}

} // namespace gateway::shell

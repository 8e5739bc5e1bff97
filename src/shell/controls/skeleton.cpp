#include "shell/controls/skeleton.h"

#include "shell/theme/theme.h"

#include <QtGui/QPainter>

#include <cmath>
#include <numbers>

namespace gateway::shell {

namespace {

constexpr int kBar = 12;
constexpr int kColumnGap = 24;

} // namespace

Skeleton::Skeleton(const Theme &theme, int rows, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_rows(rows), m_beat(theme, *this)
{
    announceAccessible();
    connect(&m_beat, &FrameTicker::frame, this, qOverload<>(&QWidget::update));
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
    m_beat.setWanted(true);
}

QSize Skeleton::sizeHint() const
{
    return {320, m_rows * m_theme.size(Size::row)};
}

void Skeleton::paintEvent(QPaintEvent * /*event*/)
{
    using Rounds = std::chrono::duration<double>;
    const double round = Rounds(m_beat.elapsed()) / Rounds(m_theme.duration(Motion::flowPeriod));
    const double glow = (1 - std::cos(round * 2 * std::numbers::pi)) / 2;

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::mixed(m_theme.color(Color::raised), m_theme.color(Color::hover), glow));
    const int row = m_theme.size(Size::row);
    const double shares[] = {0.34, 0.22, 0.14}; // of the width, as names, dates and numbers take
    for (int index = 0; index < m_rows; ++index) {
        double left = 0;
        for (const double share : shares) {
            const double length =
                width() * share * (1 - 0.12 * ((index * 7) % 4)); // no two neighbours are alike
            painter.drawRoundedRect(
                QRectF(left, index * row + (row - kBar) / 2.0, length, kBar), kBar / 2.0, kBar / 2.0);
            left += width() * share + kColumnGap;
        }
    }
}

} // namespace gateway::shell

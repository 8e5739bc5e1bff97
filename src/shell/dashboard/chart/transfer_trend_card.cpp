#include "shell/dashboard/chart/transfer_trend_card.h"

#include "shell/controls/text_label.h"
#include "shell/dashboard/cards/state_binding.h"
#include "shell/dashboard/chart/summary_pill.h"
#include "shell/dashboard/chart/time_range_button.h"
#include "shell/dashboard/chart/transfer_line_chart.h"
#include "shell/theme/theme.h"

#include <QtCore/QEasingCurve>

#include <algorithm>

namespace gateway::shell {

using state::GatewayAppState;
using Field = state::GatewayField;

namespace {

constexpr double kFaded = 0.82;
constexpr std::chrono::milliseconds kFlickerDuration{160};

} // namespace

TransferTrendCard::TransferTrendCard(const Theme &theme, std::function<QTimeZone()> timeZone, QWidget *parent)
    : Card(theme, parent), m_timeRange(new TimeRangeButton(theme)),
      m_chart(new TransferLineChart(theme, std::move(timeZone))), m_flicker(theme, *this)
{
    body().addLayout(headRow(theme));
    body().addLayout(figuresRow(theme));
    body().addWidget(m_chart, 1);
    setAccessibleName(tr("Transfer Activity"));
    connect(m_timeRange, &TimeRangeButton::chosen, this, &TransferTrendCard::onTimeframeChange);
    connect(&m_flicker, &FrameTicker::frame, this, [this] {
        setZoomTransitionOpacity(opacityAfterZoom(m_flicker.elapsed()));
        m_flicker.setWanted(m_flicker.elapsed() < kFlickerDuration);
    });
    connect(&m_flicker, &FrameTicker::rested, this, [this] { setZoomTransitionOpacity(1); });
}

QLayout *TransferTrendCard::headRow(const Theme &theme)
{
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::gap));
    row->addWidget(new TextLabel(theme, tr("Transfer Activity"), TypeStyle::h2));
    row->addStretch();
    row->addWidget(m_timeRange);
    row->addStrut(m_timeRange->sizeHint().height()); // the style sheet would let it shrink
    return row;
}

QLayout *TransferTrendCard::figuresRow(const Theme &theme)
{
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::tight));
    for (SummaryPill *&pill : m_pills) {
        pill = new SummaryPill(theme);
        row->addWidget(pill);
    }
    row->addStretch();
    for (const state::LegendItem &item : state::legendItems()) {
        row->addSpacing(theme.space(Space::tight));
        row->addWidget(new LegendItem(theme, item));
    }
    row->addSpacing(theme.space(Space::tight)); // ends where the plot does
    return row;
}

void TransferTrendCard::setTrend(const TransferTrend &trend)
{
    const std::array<state::SummaryPill, 2> sums = state::summaryPills(trend.received, trend.sent);
    for (std::size_t i = 0; i < sums.size(); ++i) {
        m_pills.at(i)->setPill(sums.at(i));
    }
    m_timeRange->setRange(trend.timeframe, trend.rangeTitle);
    m_chart->setChart({trend.received,
                       trend.sent,
                       trend.timeframe,
                       trend.windowStart,
                       trend.bucketDuration,
                       [this](double delta) { Q_EMIT onRangeZoom(delta); }});
    if (m_hasTrend && trend.zoomRevision != m_zoomRevision) {
        flicker();
    }
    m_hasTrend = true;
    m_zoomRevision = trend.zoomRevision;
}

double TransferTrendCard::opacityAfterZoom(std::chrono::milliseconds elapsed)
{
    using Share = std::chrono::duration<double>;
    const double progress = std::clamp(Share(elapsed) / Share(kFlickerDuration), 0.0, 1.0);
    return kFaded + (1 - kFaded) * QEasingCurve(QEasingCurve::OutCubic).valueForProgress(progress);
}

void TransferTrendCard::flicker()
{
    m_flicker.setWanted(false); // the time counts anew
    setZoomTransitionOpacity(kFaded);
    m_flicker.setWanted(true);
    if (!m_flicker.isTicking()) {
        m_flicker.setWanted(false); // nobody would see it, now or later
        setZoomTransitionOpacity(1);
    }
}

void TransferTrendCard::setZoomTransitionOpacity(double opacity)
{
    m_zoomTransitionOpacity = opacity;
    m_chart->setOpacity(opacity);
}

void bind(TransferTrendCard &card, GatewayAppState &state)
{
    QObject::connect(
        &card, &TransferTrendCard::onTimeframeChange, &state, &GatewayAppState::setTransferTimeframe);
    QObject::connect(&card, &TransferTrendCard::onRangeZoom, &state, &GatewayAppState::applyTransferZoom);
    new StateBinding(
        state,
        {Field::transferTimeframe,
         Field::transferVisibleBucketCount,
         Field::transferZoomRevision,
         Field::transferReceivedSeries,
         Field::transferSentSeries,
         Field::transferWindowStart},
        [&card](const GatewayAppState &now) {
            const state::GatewayFigures &figures = now.figures();
            card.setTrend({figures.transferReceivedSeries,
                           figures.transferSentSeries,
                           figures.transferTimeframe,
                           now.transferRangeTitle(),
                           figures.transferZoomRevision,
                           figures.transferWindowStart,
                           now.bucketDuration()});
        },
        &card);
}

} // namespace gateway::shell

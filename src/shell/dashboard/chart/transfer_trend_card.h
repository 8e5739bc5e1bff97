#pragma once

#include "shell/controls/card.h"
#include "shell/controls/frame_ticker.h"
#include "state/transfer_timeframe.h"

#include <QtCore/QDateTime>
#include <QtCore/QTimeZone>

#include <array>
#include <chrono>
#include <functional>
#include <vector>

namespace gateway::state {
class GatewayAppState;
}

namespace gateway::shell {

class SummaryPill;
class TimeRangeButton;
class TransferLineChart;

/// What the card shows.
struct TransferTrend
{
    std::vector<std::int64_t> received;
    std::vector<std::int64_t> sent;
    state::TransferTimeframe timeframe = state::TransferTimeframe::oneDay;
    QString rangeTitle;
    std::int64_t zoomRevision = 0;
    QDateTime windowStart;
    std::chrono::seconds bucketDuration{0};
};

/// "Transfer Activity": sums, legend and chart of what came and what went, and the choice of the time range.
///
/// Owner: its parent. Thread: main.
class TransferTrendCard : public Card
{
    Q_OBJECT

public:
    /// \param timeZone  the user's, asked at each painting.
    TransferTrendCard(const Theme &theme, std::function<QTimeZone()> timeZone, QWidget *parent = nullptr);

    /// Another zoom revision than the last one makes the chart flicker softly; the first doesn't.
    void setTrend(const TransferTrend &trend);

    /// How much of the chart shows: 1, but while it flickers.
    double zoomTransitionOpacity() const { return m_zoomTransitionOpacity; }

    /// The course of a flicker.
    static double opacityAfterZoom(std::chrono::milliseconds elapsed);

    TransferLineChart &chart() { return *m_chart; }
    TimeRangeButton &timeRange() { return *m_timeRange; }
    const std::array<SummaryPill *, 2> &pills() const { return m_pills; }

Q_SIGNALS:
    /// The user chose a timeframe in the menu.
    void onTimeframeChange(gateway::state::TransferTimeframe timeframe);

    /// The user scrolled over the chart; a positive distance is upward.
    void onRangeZoom(double delta);

private:
    QLayout *headRow(const Theme &theme);
    QLayout *figuresRow(const Theme &theme);
    void flicker();
    void setZoomTransitionOpacity(double opacity);

    TimeRangeButton *m_timeRange;
    std::array<SummaryPill *, 2> m_pills{};
    TransferLineChart *m_chart;
    bool m_hasTrend = false;
    std::int64_t m_zoomRevision = 0;
    double m_zoomTransitionOpacity = 1;
    FrameTicker m_flicker;
};

/// Lets the card follow the live figures, which outlive it, and what is chosen on it act on them.
void bind(TransferTrendCard &card, state::GatewayAppState &state);

} // namespace gateway::shell

#include "shell/dashboard/frame/overview_page.h"

#include "receive/store_manual_import_service.h"
#include "shell/controls/canvas.h"
#include "shell/dashboard/cards/dimse_import_card.h"
#include "shell/dashboard/cards/flow_band.h"
#include "shell/dashboard/cards/flow_overlay.h"
#include "shell/dashboard/cards/listener_card.h"
#include "shell/dashboard/cards/sent_items_card.h"
#include "shell/dashboard/cards/state_binding.h"
#include "shell/dashboard/cards/status_card.h"
#include "shell/dashboard/chart/transfer_line_chart.h"
#include "shell/dashboard/chart/transfer_trend_card.h"
#include "shell/dashboard/imports/import_progress_card.h"
#include "shell/theme/theme.h"

#include <QtCore/QEvent>
#include <QtWidgets/QGridLayout>

#include <algorithm>

namespace gateway::shell {

namespace {

/// What the keyboard stops at in a card, in its order.
QList<QWidget *> stopsIn(QWidget &card)
{
    QList<QWidget *> stops;
    for (QWidget *next = card.nextInFocusChain(); next != &card; next = next->nextInFocusChain()) {
        if (card.isAncestorOf(next) && (next->focusPolicy() & Qt::TabFocus) != 0) {
            stops.append(next);
        }
    }
    return stops;
}

constexpr int kLeastChartHeight = 130;
constexpr double kHighestChart = 0.42; // of the width: a steeper one would say more than there is

} // namespace

OverviewPage::OverviewPage(const DashboardParts &parts, QWidget *parent)
    : QScrollArea(parent), m_theme(parts.theme), m_importService(parts.receiving.imports),
      m_ground(new Canvas(parts.theme)), m_grid(new QGridLayout(m_ground)),
      m_listener(new ListenerCard(parts, m_ground)), m_status(new StatusCard(parts, m_ground)),
      m_received(new DimseImportCard(parts, m_ground)), m_sent(new SentItemsCard(parts, m_ground)),
      m_imports(new ImportProgressCard(parts.theme, parts.receiving.imports, m_ground)),
      m_trend(new TransferTrendCard(parts.theme, parts.runtime.timeZone, m_ground))
{
    auto *down = new DownArrowFlowOverlay(parts.theme, parts.runtime.clock);
    bind(*down, parts.appState);
    m_incoming = new FlowBand(parts.theme, QStringLiteral("arrow.down"), Color::blue, down, m_ground);
    auto *up = new UpArrowFlowOverlay(parts.theme, parts.runtime.clock);
    bind(*up, parts.appState);
    m_outgoing = new FlowBand(parts.theme, QStringLiteral("arrow.up"), Color::green, up, m_ground);
    bind(*m_trend, parts.appState);
    m_trend->chart().setMinimumHeight(kLeastChartHeight);

    m_grid->setHorizontalSpacing(m_theme.space(Space::wide));
    m_grid->setVerticalSpacing(0);
    place(true);
    setWidget(m_ground);
    setWidgetResizable(true);
    setFrameShape(NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    m_ground->installEventFilter(this);
    connect(m_sent, &SentItemsCard::viewLogsRequested, this, &OverviewPage::viewLogsRequested);
    connect(m_received, &DimseImportCard::importRequested, this, &OverviewPage::manualUpload);
    m_batches = m_importService.observeBatches([this](const QString &batch) { m_imports->follow(batch); });
    connect(m_received, &DimseImportCard::dropped, this, [this](const QList<QUrl> &urls) {
        m_importService.importItems(urls, QStringLiteral("drag_drop"));
    });
}

void OverviewPage::setSideMargin(int margin)
{
    m_sideMargin = margin;
    arrange();
}

void OverviewPage::manualUpload()
{
    m_importService.presentImportPanel();
}

void OverviewPage::signInSheetClosed()
{
    m_sent->signInSheetClosed();
}

int OverviewPage::leastColumnWidth() const
{
    int least = 0;
    for (const QWidget *card :
         std::initializer_list<const QWidget *>{m_listener, m_status, m_received, m_sent}) {
        least = std::max(least, card->minimumSizeHint().width());
    }
    return least;
}

void OverviewPage::arrange()
{
    const int bar = width() - viewport()->width(); // the cards keep their edge when it comes
    m_grid->setContentsMargins(
        m_sideMargin, m_theme.space(Space::wide), m_sideMargin - bar, m_theme.space(Space::page));
    const int aboveImports = m_imports->isHidden() ? 0 : m_theme.space(Space::wide);
    if (m_grid->rowMinimumHeight(7) != aboveImports) { // setting it lays out anew in any case
        m_grid->setRowMinimumHeight(7, aboveImports);
    }
    const int room = width() - 2 * m_sideMargin;
    m_trend->setMaximumHeight(std::max(m_trend->minimumSizeHint().height(), qRound(kHighestChart * room)));
    const bool twoColumns = room >= 2 * leastColumnWidth() + m_theme.space(Space::wide);
    if (twoColumns != m_hasTwoColumns) {
        place(twoColumns);
    }
}

void OverviewPage::place(bool twoColumns)
{
    m_hasTwoColumns = twoColumns;
    const auto put = [this](QWidget *widget, int row, int column, int columns = 1) {
        m_grid->removeWidget(widget);
        m_grid->addWidget(widget, row, column, 1, columns);
    };
    const int right = twoColumns ? 1 : 0;
    const int under = twoColumns ? 0 : 4; // where the way to the cloud begins
    put(m_listener, 0, 0);
    put(m_incoming, 1, 0);
    put(m_received, 2, 0);
    put(m_status, under, right);
    put(m_outgoing, under + 1, right);
    put(m_sent, under + 2, right);
    put(m_imports, 8, 0, 2);
    put(m_trend, 10, 0, 2);
    const int gap = m_theme.space(Space::wide);
    m_grid->setRowMinimumHeight(3, twoColumns ? 0 : gap);
    m_grid->setRowMinimumHeight(9, gap);
    m_grid->setRowStretch(10, 1000);
    m_grid->setRowStretch(11, 1); // what the chart leaves
    m_grid->setColumnStretch(0, 1);
    m_grid->setColumnStretch(1, twoColumns ? 1 : 0);
    m_grid->setHorizontalSpacing(twoColumns ? gap : 0);
    followReadingOrder();
}

void OverviewPage::followReadingOrder()
{
    QList<QWidget *> cards{m_listener, m_status, m_received, m_sent, m_imports, m_trend};
    if (!m_hasTwoColumns) {
        cards.swapItemsAt(1, 2);
    }
    QList<QWidget *> stops;
    for (QWidget *card : cards) {
        stops.append(stopsIn(*card));
    }
    for (qsizetype i = 1; i < stops.size(); ++i) {
        setTabOrder(stops[i - 1], stops[i]);
    }
}

bool OverviewPage::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_ground && event->type() == QEvent::LayoutRequest) {
        arrange(); // words may have become longer
    }
    return QScrollArea::eventFilter(watched, event);
}

void OverviewPage::resizeEvent(QResizeEvent *event)
{
    QScrollArea::resizeEvent(event);
    arrange();
}

} // namespace gateway::shell

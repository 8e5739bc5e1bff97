#include "shell/dashboard/cards/dimse_import_card.h"

#include "platform/concurrency/async_sleep.h"
#include "shell/controls/button.h"
#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/unified_card_header.h"
#include "shell/dashboard/cards/dashboard_parts.h"
#include "shell/dashboard/cards/drop_area.h"
#include "shell/dashboard/cards/figure.h"
#include "shell/dashboard/cards/more_menu.h"
#include "shell/dashboard/cards/state_binding.h"
#include "shell/dashboard/cards/storage_figures.h"
#include "shell/theme/theme.h"
#include "state/gateway_app_state.h"

#include <QtCore/QMimeData>
#include <QtGui/QDropEvent>

namespace gateway::shell {

namespace {

using Field = state::GatewayField;

/// The local files and folders among what is dragged.
QList<QUrl> fileUrlsOf(const QMimeData &data)
{
    QList<QUrl> files;
    const QList<QUrl> items = data.urls();
    for (const QUrl &item : items) {
        if (const std::optional<QUrl> file = DimseImportCard::loadDroppedFileURL(item)) {
            files.append(*file);
        }
    }
    return files;
}

} // namespace

DimseImportCard::DimseImportCard(const DashboardParts &parts, QWidget *parent)
    : Card(parts.theme, parent), m_theme(parts.theme), m_appState(parts.appState), m_main(parts.runtime.main),
      m_clock(parts.runtime.clock),
      m_more(makeMoreMenu(
          parts.theme,
          {{tr("Open Local Studies"), QStringLiteral("tablecells"), parts.actions.openLocalStudies}})),
      m_studies(new Figure(parts.theme, tr("Studies"), TypeStyle::h3)),
      m_series(new Figure(parts.theme, tr("Series"), TypeStyle::h3)),
      m_images(new Figure(parts.theme, tr("Images"), TypeStyle::h1)),
      m_storage(new StorageFigures(parts.theme, Color::blue, tr("Local storage"))),
      m_dropArea(new DropArea(parts.theme)), m_scope(parts.runtime.main, parts.runtime.pool)
{
    setAccessibleName(tr("Received Items"));
    setAcceptDrops(true);
    body().addWidget(new UnifiedCardHeader(
        m_theme, QStringLiteral("folder.fill"), tr("Received Items"), Color::blue, m_more));
    body().addLayout(countsBeside(m_theme, m_images, {m_studies, m_series}, Space::page, m_storage), 1);
    body().addWidget(m_dropArea);
    connect(m_dropArea, &QAbstractButton::clicked, this, &DimseImportCard::importRequested);
    new StateBinding(
        m_appState,
        {Field::receivedStudiesCount, Field::receivedSeriesCount, Field::receivedImagesCount},
        [this](const state::GatewayAppState &now) {
            m_studies->setCount(now.figures().receivedStudiesCount);
            m_series->setCount(now.figures().receivedSeriesCount);
            m_images->setCount(now.figures().receivedImagesCount);
        },
        this);
    new StateBinding(
        m_appState,
        {Field::receivedStorageUsage},
        [this](const state::GatewayAppState &now) {
            if (!now.isStorageMeasured()) {
                m_storage->setUnknown({});
                return;
            }
            const state::ReceivedStorageUsage usage = now.figures().receivedStorageUsage;
            const auto used = static_cast<double>(usage.usedBytes);
            const auto free = static_cast<double>(usage.availableBytes);
            m_storage->setUsage(
                used, free, tr("Used: %1\nFree: %2").arg(gigabytesText(used), gigabytesText(free)));
        },
        this);
}

DimseImportCard::~DimseImportCard()
{
    m_scope.close();
}

std::optional<QUrl> DimseImportCard::loadDroppedFileURL(const QUrl &item)
{
    return item.isLocalFile() && !item.toLocalFile().isEmpty() ? std::optional(item) : std::nullopt;
}

void DimseImportCard::showEvent(QShowEvent *event)
{
    Card::showEvent(event);
    if (!event->spontaneous()) {
        m_appState.refreshCounters();
        m_appState.refreshStorageUsage();
    }
}

void DimseImportCard::dragEnterEvent(QDragEnterEvent *event)
{
    if (!fileUrlsOf(*event->mimeData()).isEmpty()) {
        event->setDropAction(Qt::CopyAction); // sources are only read
        event->accept();
        setDropTargeted(true);
    }
}

void DimseImportCard::dragLeaveEvent(QDragLeaveEvent * /*event*/)
{
    setDropTargeted(false);
}

void DimseImportCard::dropEvent(QDropEvent *event)
{
    setDropTargeted(false);
    const QList<QUrl> files = fileUrlsOf(*event->mimeData());
    if (files.isEmpty()) {
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    if (!m_isDropImportIndicatorVisible) { // one that shows already keeps its own end
        m_scope.start(showImportStarted());
    }
    Q_EMIT dropped(files);
}

void DimseImportCard::setDropTargeted(bool targeted)
{
    m_isDropTargeted = targeted;
    showDropState();
}

void DimseImportCard::showDropState()
{
    m_dropArea->setState(m_isDropImportIndicatorVisible ? DropArea::State::started
                         : m_isDropTargeted             ? DropArea::State::targeted
                                                        : DropArea::State::rest);
}

QCoro::Task<> DimseImportCard::showImportStarted()
{
    const auto operation = m_scope.enter();
    m_isDropImportIndicatorVisible = true;
    showDropState();
    const bool sleptThrough =
        co_await platform::asyncSleep(m_main, m_clock, kIndicatorDuration, m_scope.stopToken());
    if (!sleptThrough) {
        co_return;
    }
    m_isDropImportIndicatorVisible = false;
    showDropState();
}

} // namespace gateway::shell

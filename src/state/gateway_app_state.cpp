#include "state/gateway_app_state.h"

#include "core/notification_names.h"
#include "index/figure_index.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_thread.h"
#include "state/time_texts.h"

#include <QtCore/QLocale>

#include <algorithm>
#include <cmath>
#include <utility>

namespace gateway::state {

namespace {

constexpr std::chrono::seconds kUploadSpeedFades{8};

/// Associations without an identifier are one.
QString associationKey(const QString &id)
{
    const QString trimmed = id.trimmed();
    return trimmed.isEmpty() ? QStringLiteral("__default_assoc__") : trimmed;
}

std::int64_t checkedSum(std::int64_t one, std::int64_t other)
{
    std::int64_t sum = 0;
    if (__builtin_add_overflow(one, other, &sum)) {
        qFatal("a counter of the live figures overflowed");
    }
    return sum;
}

} // namespace

GatewayAppState::GatewayAppState(GatewayAppStateParts parts)
    : m_parts(std::move(parts)), m_transferSeriesReferenceBucketStart(m_parts.clock.now()),
      m_walker(m_parts.clock),
      m_storage(
          [this](const std::stop_token &stop) {
              return measureStorage(m_walker, m_parts.index.fileStoreRoot(), stop);
          },
          [this](ReceivedStorageUsage usage) {
              publish(Field::receivedStorageUsage, &GatewayFigures::receivedStorageUsage, usage);
          },
          m_parts.main,
          m_parts.clock),
      m_life(std::make_shared<int>()), m_scope(m_parts.main, m_parts.pool)
{
    enterMain();
    const auto count = static_cast<std::size_t>(m_figures.transferVisibleBucketCount);
    m_figures.transferReceivedSeries.resize(count);
    m_figures.transferSentSeries.resize(count);
    m_figures.transferWindowStart = m_transferSeriesReferenceBucketStart;

    refreshCounters();
    refreshTransferSeries();
    syncListeningState();

    follow(m_listenerObserver, core::kStoreListenerStateChanged, &GatewayAppState::syncListeningState);
    follow(m_localSyncStateObserver, core::kLocalSyncStateChanged, &GatewayAppState::refreshAll);
}

GatewayAppState::~GatewayAppState()
{
    m_life.reset();
    if (m_uploadSpeedReset) {
        m_uploadSpeedReset->request_stop();
    }
}

void GatewayAppState::enterMain() const
{
    platform::assertMainThread("GatewayAppState");
}

template <typename T>
void GatewayAppState::publish(GatewayField field, T GatewayFigures::*slot, const T &value)
{
    if (m_figures.*slot != value) {
        m_figures.*slot = value;
        Q_EMIT published(field);
    }
}

/// Reacts to a notification on the main thread: at once where it is posted there.
void GatewayAppState::follow(platform::NotificationCenter::Token &token,
                             const QString &name,
                             void (GatewayAppState::*react)())
{
    token = m_parts.notifications.observe(
        name, [this, react, life = std::weak_ptr(m_life), &main = m_parts.main](const QVariantMap &) {
            if (!main.isCurrent()) {
                main.post(life, [this, react] { (this->*react)(); });
            } else if (!life.expired()) {
                (this->*react)();
            }
        });
}

void GatewayAppState::refreshAll()
{
    refreshCounters();
    refreshTransferSeries();
}

// --- Counters and storage ----------------------------------------------------------------------------

void GatewayAppState::refreshCounters()
{
    enterMain();
    using Figures = GatewayFigures;
    const index::IndexCounts counts = m_parts.index.counts();
    publish(Field::notSyncedStudiesCount, &Figures::notSyncedStudiesCount, counts.notSynced.studies);
    publish(Field::notSyncedSeriesCount, &Figures::notSyncedSeriesCount, counts.notSynced.series);
    publish(Field::notSyncedImagesCount, &Figures::notSyncedImagesCount, counts.notSynced.images);
    publish(Field::receivedStudiesCount, &Figures::receivedStudiesCount, counts.total.studies);
    publish(Field::receivedSeriesCount, &Figures::receivedSeriesCount, counts.total.series);
    publish(Field::syncedImagesCount, &Figures::syncedImagesCount, counts.syncedImages);
    publish(Field::receivedImagesCount,
            &Figures::receivedImagesCount,
            checkedSum(counts.notSynced.images, counts.syncedImages));
    publish(Field::failedImagesCount, &Figures::failedImagesCount, counts.failedImages);
    if (counts.notSynced.images == 0) {
        resetUploadSpeed(); // nothing is left to send
    }
    refreshStorageUsage();
}

void GatewayAppState::refreshStorageUsage()
{
    enterMain();
    m_storage.refresh();
}

void GatewayAppState::whenStorageIsMeasured(std::function<void()> then)
{
    enterMain();
    m_storage.whenMeasured(std::move(then));
}

// --- Receiving ---------------------------------------------------------------------------------------

void GatewayAppState::syncListeningState()
{
    enterMain();
    publish(Field::isDimseListening, &GatewayFigures::isDimseListening, m_isListening);
    if (!m_figures.isDimseListening) {
        clearReceiveAssociations();
    }
}

void GatewayAppState::beginReceiveAssociation(const QString &id)
{
    enterMain();
    m_activeReceiveAssociations.insert(associationKey(id));
    publishReceiving();
}

void GatewayAppState::endReceiveAssociation(const QString &id)
{
    enterMain();
    m_activeReceiveAssociations.remove(associationKey(id));
    publishReceiving();
}

void GatewayAppState::clearReceiveAssociations()
{
    enterMain();
    m_activeReceiveAssociations.clear();
    publishReceiving();
}

void GatewayAppState::publishReceiving()
{
    publish(Field::isReceivingNow, &GatewayFigures::isReceivingNow, !m_activeReceiveAssociations.isEmpty());
}

// --- Upload speed ------------------------------------------------------------------------------------

void GatewayAppState::recordUploadThroughput(qint64 bytes, std::chrono::duration<double> elapsed)
{
    enterMain();
    const UploadSpeed::Sample sample = m_uploadSpeed.take(bytes, elapsed, m_parts.clock.monotonic());
    if (sample == UploadSpeed::Sample::none) {
        return;
    }
    publish(Field::uploadSpeedMbps, &GatewayFigures::uploadSpeedMbps, m_uploadSpeed.mbps());
    armUploadSpeedReset();
}

void GatewayAppState::resetUploadSpeed()
{
    enterMain();
    if (m_uploadSpeedReset) {
        m_uploadSpeedReset->request_stop();
        m_uploadSpeedReset.reset();
    }
    m_uploadSpeed.reset();
    publish(Field::uploadSpeedMbps, &GatewayFigures::uploadSpeedMbps, m_uploadSpeed.mbps());
}

/// Puts the end of the figure off; one sleeper serves all samples until a reset.
void GatewayAppState::armUploadSpeedReset()
{
    m_uploadSpeedEndsAt = m_parts.clock.monotonic() + kUploadSpeedFades;
    if (!m_uploadSpeedReset) {
        m_uploadSpeedReset.emplace();
        m_scope.start(resetUploadSpeedLater(m_uploadSpeedReset->get_token()));
    }
}

QCoro::Task<> GatewayAppState::resetUploadSpeedLater(std::stop_token stop)
{
    const auto operation = m_scope.enter();
    while (true) {
        const auto rest = m_uploadSpeedEndsAt - m_parts.clock.monotonic();
        if (rest <= rest.zero()) {
            break;
        }
        const bool sleptThrough = co_await platform::asyncSleep(m_parts.main, m_parts.clock, rest, stop);
        if (!sleptThrough || stop.stop_requested()) {
            co_return;
        }
    }
    resetUploadSpeed();
}

// --- Transfer activity -------------------------------------------------------------------------------

std::chrono::seconds GatewayAppState::bucketDuration() const
{
    return state::bucketDuration(m_figures.transferTimeframe);
}

QDateTime GatewayAppState::newestBucket() const
{
    return newestBucketStart(m_parts.clock.now(), bucketDuration(), m_parts.timeZone());
}

void GatewayAppState::refreshTransferSeries()
{
    enterMain();
    const std::int64_t count = std::max<std::int64_t>(m_figures.transferVisibleBucketCount, 1);
    TransferWindow window;
    window.newest = newestBucket();
    window.start = windowStart(window.newest, bucketDuration(), count);
    index::TransferCounts buckets =
        m_parts.index.transferBuckets(window.start,
                                      window.newest.addSecs(bucketDuration().count()),
                                      bucketDuration(),
                                      static_cast<int>(count));
    window.received = std::move(buckets.received);
    window.sent = std::move(buckets.sent);
    publishWindow(std::move(window));
}

void GatewayAppState::publishWindow(TransferWindow window)
{
    m_transferSeriesReferenceBucketStart = window.newest;
    publish(Field::transferReceivedSeries, &GatewayFigures::transferReceivedSeries, window.received);
    publish(Field::transferSentSeries, &GatewayFigures::transferSentSeries, window.sent);
    publish(Field::transferWindowStart, &GatewayFigures::transferWindowStart, window.start);
}

void GatewayAppState::recordReceivedItem()
{
    enterMain();
    TransferWindow window{m_figures.transferReceivedSeries,
                          m_figures.transferSentSeries,
                          m_figures.transferWindowStart,
                          m_transferSeriesReferenceBucketStart};
    const Roll roll =
        rollForward(window, newestBucket(), bucketDuration(), m_figures.transferVisibleBucketCount);
    if (roll == Roll::outOfStep) {
        refreshTransferSeries();
        window.received = m_figures.transferReceivedSeries;
    }
    if (!window.received.empty()) {
        ++window.received.back();
    }
    if (roll == Roll::rolled) {
        publishWindow(std::move(window));
    } else {
        publish(Field::transferReceivedSeries, &GatewayFigures::transferReceivedSeries, window.received);
    }
}

void GatewayAppState::setTransferTimeframe(TransferTimeframe timeframe)
{
    enterMain();
    const std::int64_t count = defaultVisibleBuckets(timeframe);
    if (m_figures.transferTimeframe == timeframe && m_figures.transferVisibleBucketCount == count) {
        return;
    }
    m_transferZoomDeltaAccumulator = 0;
    publish(Field::transferTimeframe, &GatewayFigures::transferTimeframe, timeframe);
    publish(Field::transferVisibleBucketCount, &GatewayFigures::transferVisibleBucketCount, count);
    const std::vector<std::int64_t> zeros(static_cast<std::size_t>(count));
    publish(Field::transferReceivedSeries, &GatewayFigures::transferReceivedSeries, zeros);
    publish(Field::transferSentSeries, &GatewayFigures::transferSentSeries, zeros);
    refreshTransferSeries();
}

void GatewayAppState::applyTransferZoom(double delta)
{
    enterMain();
    if (delta == 0 || !std::isfinite(delta)) {
        return;
    }
    const ZoomSpending spending = spendScrolling(m_transferZoomDeltaAccumulator + delta);
    m_transferZoomDeltaAccumulator = spending.rest;
    if (spending.steps == 0) {
        return;
    }
    const std::int64_t count = m_figures.transferVisibleBucketCount;
    const std::int64_t next = zoomedBucketCount(count, spending.steps, m_figures.transferTimeframe);
    if (next == count) {
        return;
    }
    publish(Field::transferVisibleBucketCount, &GatewayFigures::transferVisibleBucketCount, next);
    publish(Field::transferZoomRevision,
            &GatewayFigures::transferZoomRevision,
            m_figures.transferZoomRevision + 1);
    refreshTransferSeries();
}

QString GatewayAppState::transferRangeTitle() const
{
    const std::int64_t count = std::max<std::int64_t>(m_figures.transferVisibleBucketCount, 1);
    return rangeTitle(bucketDuration() * count, QLocale());
}

// --- What others show --------------------------------------------------------------------------------

void GatewayAppState::setShowSignInSheet(bool show)
{
    enterMain();
    publish(Field::showSignInSheet, &GatewayFigures::showSignInSheet, show);
}

void GatewayAppState::setDimseAlertMessage(const std::optional<platform::Sentence> &message)
{
    enterMain();
    publish(Field::dimseAlertMessage, &GatewayFigures::dimseAlertMessage, message);
}

void GatewayAppState::setInboxFigures(const InboxFigures &inbox)
{
    enterMain();
    publish(Field::inbox, &GatewayFigures::inbox, inbox);
}

void GatewayAppState::setStoreOutOfSight(bool isOutOfSight)
{
    enterMain();
    publish(Field::isStoreOutOfSight, &GatewayFigures::isStoreOutOfSight, isOutOfSight);
}

void GatewayAppState::setUpdateBannerMessage(const std::optional<QString> &message)
{
    enterMain();
    const QString trimmed = message.value_or(QString()).trimmed();
    publish(Field::updateBannerMessage,
            &GatewayFigures::updateBannerMessage,
            trimmed.isEmpty() ? std::nullopt : std::optional(trimmed));
}

} // namespace gateway::state

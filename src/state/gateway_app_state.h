#pragma once

#include "platform/concurrency/task_scope.h"
#include "platform/notifications/notification_center.h"
#include "state/gateway_figures.h"
#include "state/receive_state.h"
#include "state/storage_metrics.h"
#include "state/storage_walker.h"
#include "state/transfer_window.h"
#include "state/upload_speed.h"
#include "state/upload_state.h"

#include <QCoro/QCoroTask>

#include <QtCore/QObject>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QTimeZone>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace gateway::index {
class FigureIndex;
}

namespace gateway::platform {
class Clock;
class MainExecutor;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::state {

/// What the live figures work with; all outlive them.
struct GatewayAppStateParts
{
    index::FigureIndex &index;
    platform::NotificationCenter &notifications;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
    platform::Clock &clock;
    std::function<QTimeZone()> timeZone; ///< the user's, which may change while the program runs
};

/// The one object that holds what the operator sees of the running gateway. Receivers, upload runs and
/// deletion push into it; screens read `figures`, follow `published` and call its operations. It keeps
/// nothing between launches: every figure comes from the index and the file system.
///
/// A field is published by `published` after it has its new value; one that gets the value it had tells
/// nobody. Fields that move together are published in the order that the operations name. A reader of several
/// fields therefore waits for the event loop, as Qt's own views do when they are told to update.
///
/// Nothing here reports a failure: what can't be read shows as 0.
///
/// Owner: app; exactly one exists. Thread: main.
class GatewayAppState final : public QObject, public ReceiveState, public UploadState
{
    Q_OBJECT

public:
    using TransferTimeframe = state::TransferTimeframe;
    using Field = GatewayField;

    /// Reads counters, series and the listener's state, then follows the notifications of both.
    explicit GatewayAppState(GatewayAppStateParts parts);
    ~GatewayAppState() override;

    const GatewayFigures &figures() const { return m_figures; }

    /// How many associations are open; those without an identifier count as one.
    qsizetype openReceiveAssociations() const { return m_activeReceiveAssociations.size(); }

    // --- Counters and storage ------------------------------------------------------------------------

    /// Reads the counts of the index and asks for a storage measurement. Costs one row of the index.
    /// Publishes notSyncedStudies-, notSyncedSeries-, notSyncedImages-, receivedStudies-, receivedSeries-,
    /// syncedImages-, receivedImages- and failedImagesCount, in this order.
    void refreshCounters() override;

    /// Asks for a new measurement of the file store, which follows on another thread.
    void refreshStorageUsage();

    /// Whether the storage usage is a measured one by now.
    bool isStorageMeasured() const { return m_storage.hasMeasured(); }

    /// Calls `then` once the file store has been measured: at once, or after the first measurement.
    void whenStorageIsMeasured(std::function<void()> then);

    // --- Receiving -----------------------------------------------------------------------------------

    void setListening(bool isListening) override { m_isListening = isListening; }

    /// Shows whether the listener stands; where it doesn't, no association is left either.
    void syncListeningState();

    /// \param id  of the association; white space around it means nothing.
    void beginReceiveAssociation(const QString &id) override;
    void endReceiveAssociation(const QString &id) override;

    /// The listener stopped.
    void clearReceiveAssociations() override;

    // --- Upload speed --------------------------------------------------------------------------------

    /// Takes a sample; the figure moves at most every 1.2 s, and falls to 0 after 8 s without one.
    void recordUploadThroughput(qint64 bytes, std::chrono::duration<double> elapsed) override;
    void resetUploadSpeed() override;

    // --- Transfer activity ---------------------------------------------------------------------------

    /// Builds both series from the index. Publishes received and sent series and the window's start, in this
    /// order.
    void refreshTransferSeries() override;

    /// Counts one received file without a query, in the bucket of now.
    void recordReceivedItem() override;

    /// Chooses a timeframe with its usual number of buckets; the one that shows already loses its zoom.
    void setTransferTimeframe(TransferTimeframe timeframe);

    /// Scrolls over the chart; a positive distance, upward, narrows the window.
    void applyTransferZoom(double delta);

    /// How far the window looks back, such as "Last 1d".
    QString transferRangeTitle() const;

    std::chrono::seconds bucketDuration() const;

    // --- What others show ----------------------------------------------------------------------------

    void setShowSignInSheet(bool show);
    void setDimseAlertMessage(const std::optional<platform::Sentence> &message);
    void setInboxFigures(const InboxFigures &inbox);
    void setStoreOutOfSight(bool isOutOfSight);

    /// The text is trimmed; a blank one takes the banner away.
    void setUpdateBannerMessage(const std::optional<QString> &message);

Q_SIGNALS:
    /// The field has a new value.
    void published(gateway::state::GatewayField field);

private:
    template <typename T>
    void publish(GatewayField field, T GatewayFigures::*slot, const T &value);
    void publishReceiving();
    void publishWindow(TransferWindow window);
    QDateTime newestBucket() const;
    void
    follow(platform::NotificationCenter::Token &token, const QString &name, void (GatewayAppState::*react)());
    void refreshAll();
    void armUploadSpeedReset();
    QCoro::Task<> resetUploadSpeedLater(std::stop_token stop);
    void enterMain() const;

    const GatewayAppStateParts m_parts;
    GatewayFigures m_figures;

    platform::NotificationCenter::Token m_listenerObserver;
    platform::NotificationCenter::Token m_localSyncStateObserver;
    bool m_isListening = false; ///< as told; shown at the notification
    QSet<QString> m_activeReceiveAssociations;
    QDateTime m_transferSeriesReferenceBucketStart;
    double m_transferZoomDeltaAccumulator = 0;

    UploadSpeed m_uploadSpeed;
    std::chrono::nanoseconds m_uploadSpeedEndsAt{0};
    std::optional<std::stop_source> m_uploadSpeedReset; ///< set while one is armed

    StorageWalker m_walker; // touched by the measurement alone
    StorageMetrics m_storage;
    std::shared_ptr<const void> m_life; ///< what is posted to the main thread is dropped once it has died
    platform::TaskScope m_scope;        // last: drained before the fields go
};

} // namespace gateway::state

#pragma once

#include "platform/sentences/sentence.h"
#include "state/inbox_figures.h"
#include "state/received_storage_usage.h"
#include "state/transfer_timeframe.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace gateway::state {

/// What the operator sees of the running gateway: the published fields of GatewayAppState.
///
/// Thread: a plain value.
struct GatewayFigures
{
    bool showSignInSheet = false;                        ///< the dashboard is to present the sign-in sheet
    std::optional<platform::Sentence> dimseAlertMessage; ///< why the listener's last start failed

    std::int64_t receivedImagesCount = 0; ///< the sum of notSyncedImagesCount and syncedImagesCount
    std::int64_t receivedStudiesCount = 0;
    std::int64_t receivedSeriesCount = 0;
    std::int64_t notSyncedImagesCount = 0; ///< failed ones and those in progress among them
    std::int64_t syncedImagesCount = 0;
    std::int64_t failedImagesCount = 0;
    std::int64_t notSyncedStudiesCount = 0;
    std::int64_t notSyncedSeriesCount = 0;

    bool isDimseListening = false;
    bool isReceivingNow = false; ///< at least one association is open

    TransferTimeframe transferTimeframe = TransferTimeframe::oneDay;
    std::int64_t transferVisibleBucketCount = 24;
    std::int64_t transferZoomRevision = 0;            ///< counts zoom steps, so that a view can animate them
    std::vector<std::int64_t> transferReceivedSeries; ///< index 0 oldest, the last one the current bucket
    std::vector<std::int64_t> transferSentSeries;     ///< as long as the other
    QDateTime transferWindowStart;                    ///< start of bucket 0

    ReceivedStorageUsage receivedStorageUsage;
    double uploadSpeedMbps = 0; ///< smoothed, decimal megabits per second
    std::optional<QString> updateBannerMessage;
    InboxFigures inbox;
    bool isStoreOutOfSight = false; ///< where files were stored there is no store now
};

/// A field of GatewayFigures, by its name and in its order.
enum class GatewayField
{
    showSignInSheet,
    dimseAlertMessage,
    receivedImagesCount,
    receivedStudiesCount,
    receivedSeriesCount,
    notSyncedImagesCount,
    syncedImagesCount,
    failedImagesCount,
    notSyncedStudiesCount,
    notSyncedSeriesCount,
    isDimseListening,
    isReceivingNow,
    transferTimeframe,
    transferVisibleBucketCount,
    transferZoomRevision,
    transferReceivedSeries,
    transferSentSeries,
    transferWindowStart,
    receivedStorageUsage,
    uploadSpeedMbps,
    updateBannerMessage,
    inbox,
    isStoreOutOfSight
};

} // namespace gateway::state

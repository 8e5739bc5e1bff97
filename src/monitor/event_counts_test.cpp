#include "monitor/event_counts.h"

#include <gtest/gtest.h>

namespace gateway::monitor {

TEST(EventCounts, TellWhatCameAndHowMuch)
{
    EventCounts counts;
    counts.associationStarted();
    counts.fileReceived(500);
    counts.fileReceived(700);
    counts.fileReceived(0);
    counts.importFailed();
    counts.associationFailed();
    counts.listenerFailed();

    const EventTotals totals = counts.totals();
    EXPECT_EQ(totals.associations, 1);
    EXPECT_EQ(totals.failedAssociations, 1);
    EXPECT_EQ(totals.receivedImages, 3);
    EXPECT_EQ(totals.receivedBytes, 1200);
    EXPECT_EQ(totals.failedImports, 1);
    EXPECT_EQ(totals.listenerFailures, 1);
}

TEST(EventCounts, TellWhoWasTurnedAwayByTheReason)
{
    EventCounts counts;
    counts.peersTurnedAway(QStringLiteral("request_too_late"), 1);
    counts.peersTurnedAway(QStringLiteral("request_too_late"), 40);

    const EventTotals totals = counts.totals();
    EXPECT_EQ(totals.turnedAway, (QMap<QString, qint64>{{QStringLiteral("request_too_late"), 41}}));
    EXPECT_EQ(totals.failedAssociations, 0);
}

TEST(EventCounts, TakeAFileForUploadedOnlyWhereTheCloudHoldsIt)
{
    EventCounts counts;
    counts.requestSucceeded(900);
    counts.fileEnded(true);
    counts.fileEnded(false);
    counts.fileEnded(false);

    const EventTotals totals = counts.totals();
    EXPECT_EQ(totals.uploadedImages, 1);
    EXPECT_EQ(totals.uploadedBytes, 900);
    EXPECT_EQ(totals.failedUploads, 2);
}

} // namespace gateway::monitor

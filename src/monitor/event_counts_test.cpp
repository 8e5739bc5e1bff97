#include "monitor/event_counts.h"

#include "log/testing/recording_log.h"

#include <gtest/gtest.h>

namespace gateway::monitor {
namespace {

using log::GatewayLogAction;

class Counts : public ::testing::Test
{
protected:
    void tell(GatewayLogAction action,
              std::optional<qint64> size = std::nullopt,
              const QMap<QString, QString> &details = {})
    {
        log::GatewayLogEvent event;
        event.action = action;
        event.fileSizeBytes = size;
        event.details = details;
        m_counts.log(event);
    }

    log::testing::RecordingLog m_log;
    EventCounts m_counts{m_log};
};

TEST_F(Counts, PassEveryEventOn)
{
    tell(GatewayLogAction::associationStarted);
    tell(GatewayLogAction::updaterStarted);

    EXPECT_EQ(m_log.events().size(), 2U);
}

TEST_F(Counts, TellWhatCameAndHowMuch)
{
    tell(GatewayLogAction::associationStarted);
    tell(GatewayLogAction::fileReceivedCallback, 500);
    tell(GatewayLogAction::fileReceivedCallback, 700);
    tell(GatewayLogAction::fileReceivedCallback);
    tell(GatewayLogAction::importFailed);
    tell(GatewayLogAction::associationFailed);

    const EventTotals totals = m_counts.totals();
    EXPECT_EQ(totals.associations, 1);
    EXPECT_EQ(totals.failedAssociations, 1);
    EXPECT_EQ(totals.receivedImages, 3);
    EXPECT_EQ(totals.receivedBytes, 1200);
    EXPECT_EQ(totals.failedImports, 1);
}

TEST_F(Counts, TakeNothingForReceivedThatIsNoFileOfTheInbox)
{
    log::GatewayLogEvent misnamed;
    misnamed.action = GatewayLogAction::fileReceivedCallback;
    misnamed.outcome = log::GatewayLogOutcome::failed;
    misnamed.fileSizeBytes = 500;

    m_counts.log(misnamed);

    EXPECT_EQ(m_counts.totals().receivedImages, 0);
    EXPECT_EQ(m_counts.totals().receivedBytes, 0);
}

TEST_F(Counts, TellWhoWasTurnedAwayByTheReason)
{
    tell(GatewayLogAction::associationFailed,
         std::nullopt,
         {{u"reason"_qs, u"request_too_late"_qs}, {u"turned_away"_qs, u"1"_qs}});
    tell(GatewayLogAction::associationFailed,
         std::nullopt,
         {{u"reason"_qs, u"request_too_late"_qs}, {u"turned_away"_qs, u"40"_qs}});

    const EventTotals totals = m_counts.totals();
    EXPECT_EQ(totals.turnedAway, (QMap<QString, qint64>{{u"request_too_late"_qs, 41}}));
    EXPECT_EQ(totals.failedAssociations, 0);
}

TEST_F(Counts, TakeAFileForUploadedOnlyWhereTheCloudHoldsIt)
{
    tell(GatewayLogAction::uploadAttemptSucceeded, 900);
    tell(GatewayLogAction::uploadResultRecorded, 500, {{u"did_sync"_qs, u"true"_qs}});
    tell(GatewayLogAction::uploadResultRecorded, 500, {{u"did_sync"_qs, u"false"_qs}});
    tell(GatewayLogAction::uploadResultRecorded, 500);

    const EventTotals totals = m_counts.totals();
    EXPECT_EQ(totals.uploadedImages, 1);
    EXPECT_EQ(totals.uploadedBytes, 900);
    EXPECT_EQ(totals.failedUploads, 2);
}

TEST_F(Counts, TellHowOftenTheListenerFailedToStart)
{
    tell(GatewayLogAction::listenerStartFailed);

    EXPECT_EQ(m_counts.totals().listenerFailures, 1);
}

} // namespace
} // namespace gateway::monitor

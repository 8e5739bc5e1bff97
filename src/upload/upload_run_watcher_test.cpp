#include "upload/upload_run_watcher.h"

#include "log/testing/recording_log.h"

#include <gtest/gtest.h>

namespace gateway::upload {
namespace {

class Watcher : public ::testing::Test
{
protected:
    void tell(log::GatewayLogAction action, const QMap<QString, QString> &details)
    {
        log::GatewayLogEvent event;
        event.action = action;
        event.timestamp = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
        event.details = details;
        m_watcher.log(event);
    }

    log::testing::RecordingLog m_log;
    UploadRunWatcher m_watcher{m_log};
};

TEST_F(Watcher, PassesEveryEventOn)
{
    tell(log::GatewayLogAction::associationStarted, {});
    tell(log::GatewayLogAction::uploadRunStarted, {});

    EXPECT_EQ(m_log.events().size(), 2U);
}

TEST_F(Watcher, KnowsARunFromItsStartToItsEnd)
{
    EXPECT_FALSE(m_watcher.figures().isRunning);
    EXPECT_FALSE(m_watcher.figures().last.has_value());

    tell(log::GatewayLogAction::uploadRunStarted, {{u"execution_mode"_qs, u"single"_qs}});
    EXPECT_TRUE(m_watcher.figures().isRunning);
    EXPECT_EQ(m_watcher.figures().mode, u"single"_qs);

    tell(log::GatewayLogAction::uploadRunFinished, {{u"successful_uploads"_qs, u"3"_qs}});
    EXPECT_FALSE(m_watcher.figures().isRunning);
    EXPECT_EQ(m_watcher.figures().mode, u"single"_qs);
    EXPECT_EQ(m_watcher.figures().last->value(u"successful_uploads"_qs), u"3"_qs);
    EXPECT_TRUE(m_watcher.figures().lastFinishedAt.isValid());
}

TEST(WatcherOfSuccesses, TellsOfEachUploadThatTheCloudTookAndOfNothingElse)
{
    log::testing::RecordingLog log;
    int successes = 0;
    UploadRunWatcher watcher(log, [&successes] { ++successes; });
    log::GatewayLogEvent event;

    for (const log::GatewayLogAction action : {log::GatewayLogAction::uploadAttemptStarted,
                                               log::GatewayLogAction::uploadAttemptSucceeded,
                                               log::GatewayLogAction::uploadAttemptFailed}) {
        event.action = action;
        watcher.log(event);
    }

    EXPECT_EQ(successes, 1);
}

} // namespace
} // namespace gateway::upload

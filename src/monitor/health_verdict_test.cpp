#include "monitor/health_verdict.h"

#include <gtest/gtest.h>

namespace gateway::monitor {
namespace {

HealthFigures well()
{
    HealthFigures figures;
    figures.isSetupFinished = true;
    figures.listener.isListening = true;
    figures.listener.aeTitle = u"QUORIN"_qs;
    figures.listener.port = 11112;
    figures.index.isAnswering = true;
    figures.cloud.session = account::SessionState::signedIn;
    return figures;
}

TEST(HealthVerdict, IsGoodWhileTheListenerRunsAndTheIndexAnswers)
{
    EXPECT_EQ(verdictOn(well()), (HealthVerdict{true, u"The listener runs on port 11112."_qs}));
}

TEST(HealthVerdict, IsBadWhenTheListenerThatShouldRunDoesNotAndSaysWhy)
{
    HealthFigures figures = well();
    figures.listener.isListening = false;
    EXPECT_EQ(verdictOn(figures), (HealthVerdict{false, u"The listener doesn't run."_qs}));

    figures.listener.failure = u"Port 11112 is taken."_qs;
    EXPECT_EQ(verdictOn(figures),
              (HealthVerdict{false, u"The listener doesn't run: Port 11112 is taken."_qs}));
}

TEST(HealthVerdict, IsBadWhenTheIndexDoesNotAnswer)
{
    HealthFigures figures = well();
    figures.index.isAnswering = false;

    EXPECT_EQ(verdictOn(figures), (HealthVerdict{false, u"The index doesn't answer."_qs}));
}

TEST(HealthVerdict, TellsOfWhatIsNotTakenInForMinutesThoughARestartWouldNotHelp)
{
    HealthFigures figures = well();
    figures.inbox = {.waiting = 3, .longestWait = std::chrono::seconds(299)};
    EXPECT_EQ(verdictOn(figures), verdictOn(well()));

    figures.inbox.longestWait = std::chrono::minutes(6);
    EXPECT_EQ(verdictOn(figures),
              (HealthVerdict{true,
                             u"The listener runs on port 11112. "
                             "3 received images aren't taken in, the first for 6 min."_qs}));
    EXPECT_TRUE(statusLine(figures).contains(u"; 3 not taken in, the first for 6 min"_qs));
}

TEST(HealthVerdict, TellsOfAFileStoreThatCannotBeSeen)
{
    HealthFigures figures = well();
    figures.isStoreOutOfSight = true;

    EXPECT_TRUE(
        verdictOn(figures).sentence.endsWith(u" The file store can't be seen, so nothing is taken in."_qs));
    EXPECT_TRUE(statusLine(figures).contains(u"; file store out of sight"_qs));
}

TEST(HealthVerdict, TellsOfAnIncomingFolderThatCannotBeSeen)
{
    HealthFigures figures = well();
    figures.inbox.outOfSight = 1;

    EXPECT_TRUE(verdictOn(figures).sentence.endsWith(
        u" An incoming folder can't be seen; received images may wait in it."_qs));
    EXPECT_TRUE(statusLine(figures).contains(u"; incoming folder out of sight"_qs));
}

TEST(HealthVerdict, IsGoodForAListenerThatIsSwitchedOff)
{
    HealthFigures figures = well();
    figures.listener.isListening = false;
    figures.listener.isEnabled = false;

    EXPECT_TRUE(verdictOn(figures).isHealthy);
}

TEST(HealthVerdict, IsGoodBeforeSetupSoThatNobodyRestartsAGatewayThatWaitsForIt)
{
    HealthFigures figures = well();
    figures.listener.isListening = false;
    figures.isSetupFinished = false;

    EXPECT_EQ(verdictOn(figures), (HealthVerdict{true, u"Setup isn't finished, so nothing is received."_qs}));
}

TEST(HealthVerdict, DoesNotDependOnTheCloud)
{
    HealthFigures figures = well();
    figures.cloud.session = account::SessionState::signedOut;
    figures.cloud.isOnline = false;

    EXPECT_TRUE(verdictOn(figures).isHealthy);
}

TEST(HealthVerdict, IsBadWhenTheMainLoopIsSilent)
{
    EXPECT_FALSE(verdictOnSilence().isHealthy);
}

TEST(StatusLine, TellsTheListenerAndTheQueue)
{
    HealthFigures figures = well();
    EXPECT_EQ(statusLine(figures), u"Listening as QUORIN on port 11112; all images sent"_qs);

    figures.index.unsent = 12;
    figures.index.failed = 2;
    figures.index.oldestUnsentAge = std::chrono::seconds(200);
    EXPECT_EQ(statusLine(figures),
              u"Listening as QUORIN on port 11112; 12 images to send, the oldest for 3 min, 2 failed"_qs);
}

TEST(StatusLine, TellsWhatIsWrong)
{
    HealthFigures figures = well();
    figures.cloud.isOnline = false;
    EXPECT_TRUE(statusLine(figures).endsWith(u"; cloud away"_qs));

    figures.inbox.setAside = 3;
    EXPECT_TRUE(statusLine(figures).contains(u"; 3 set aside; "_qs));

    figures.inbox.setAside = 0;
    figures.cloud.session = account::SessionState::signedOut;
    EXPECT_TRUE(statusLine(figures).endsWith(u"; signed out"_qs));

    figures.listener.isListening = false;
    figures.index.isAnswering = false;
    EXPECT_EQ(statusLine(figures), u"Not listening; the index doesn't answer; signed out"_qs);

    figures.listener.isEnabled = false;
    EXPECT_TRUE(statusLine(figures).startsWith(u"Listener switched off; "_qs));

    figures.isSetupFinished = false;
    EXPECT_TRUE(statusLine(figures).startsWith(u"Setup isn't finished; "_qs));
}

TEST(StatusLine, RoundsAnAgeToItsLargestUnit)
{
    HealthFigures figures = well();
    figures.index.unsent = 1;
    const auto lineAt = [&figures](std::chrono::seconds age) {
        figures.index.oldestUnsentAge = age;
        return statusLine(figures).section(u' ', -2);
    };

    EXPECT_EQ(lineAt(std::chrono::seconds(59)), u"59 s"_qs);
    EXPECT_EQ(lineAt(std::chrono::seconds(60)), u"1 min"_qs);
    EXPECT_EQ(lineAt(std::chrono::hours(23)), u"23 h"_qs);
    EXPECT_EQ(lineAt(std::chrono::hours(49)), u"2 d"_qs);
}

} // namespace
} // namespace gateway::monitor

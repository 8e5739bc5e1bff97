#include "wizard/port_check.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/testing/runs_main.h"

#include <gtest/gtest.h>

namespace gateway::wizard {
namespace {

class PortChecks : public ::testing::Test, public platform::testing::RunsMain
{
protected:
    PortCheck::Collaborators parts()
    {
        return {main,
                pool,
                clock,
                [](int port) { return port % 2 == 0 ? PortState::available : PortState::inUse; },
                [this] { return own; },
                [this] { ++answers; }};
    }

    platform::MainExecutor main;
    platform::WorkerPool pool{u"test"_qs, 1};
    platform::testing::ManualClock clock;
    std::optional<int> own;
    int answers = 0;
    PortCheck check{parts()};
};

TEST_F(PortChecks, KnowNothingOfAPortThatWasNotAskedFor)
{
    EXPECT_EQ(check.stateOf(104), std::nullopt);
    check.verifyNow(104);
    EXPECT_EQ(check.stateOf(104), PortState::available);
    EXPECT_EQ(check.stateOf(105), std::nullopt);
    check.verifyNow(std::nullopt);
    EXPECT_EQ(check.stateOf(104), std::nullopt);
    EXPECT_EQ(answers, 0) << "whoever asks at once has the answer";
}

TEST_F(PortChecks, TakeTheOwnPortForFreeAtOnceAndLater)
{
    own = 105;
    check.verifyNow(105);
    EXPECT_EQ(check.stateOf(105), PortState::available);

    check.schedule(105);
    clock.waitForSleepers(1);
    clock.advance(std::chrono::milliseconds(350));
    runUntil([this] { return answers == 1; });
    EXPECT_EQ(check.stateOf(105), PortState::available);
    EXPECT_FALSE(check.isChecking());
}

TEST_F(PortChecks, DropWhatWasScheduledForAnAnswerAtOnce)
{
    check.schedule(104);
    check.verifyNow(104);

    EXPECT_FALSE(check.isChecking());
    clock.advance(std::chrono::seconds(1));
    main.drain();
    EXPECT_EQ(answers, 0);
}

TEST_F(PortChecks, SearchFromTheStartThatIsWithinBounds)
{
    EXPECT_EQ(check.suggest(-5), 2);
    EXPECT_EQ(check.suggest(105), 106);
    EXPECT_EQ(check.suggest(70'000), 2) << "65535 is odd, so on from 1";
    EXPECT_EQ(check.stateOf(2), PortState::available);
}

} // namespace
} // namespace gateway::wizard

#include "upload/run_halt.h"

#include <gtest/gtest.h>

namespace gateway::upload {

using core::FailureClass;
using StoreUpload::AttemptResult;
using StoreUpload::CandidateOutcome;
using StoreUpload::FailureReach;
using StoreUpload::QueueTrouble;

namespace {

CandidateOutcome file(FailureClass failureClass, FailureReach reach)
{
    return {{},
            {.result = AttemptResult::failed,
             .failure = {failureClass, 1},
             .reach = reach,
             .retryAfter = std::chrono::seconds(9)},
            {}};
}

const CandidateOutcome kSent{{}, StoreUpload::kUploaded, {}};
const CandidateOutcome kRefused = file(FailureClass::refused, FailureReach::file);
const CandidateOutcome kUnanswered = file(FailureClass::timedOut, FailureReach::unanswered);
const CandidateOutcome kAway = file(FailureClass::notReachable, FailureReach::queue);

} // namespace

TEST(RunHalt, ComesAtOnceWithWhatConcernsTheWholeQueue)
{
    RunHalt halt;
    halt.requestEnded({kSent});
    EXPECT_FALSE(halt.isHalted());

    halt.requestEnded({kSent, kAway});

    EXPECT_EQ(halt.trouble(), (QueueTrouble{{FailureClass::notReachable, 1}, std::chrono::seconds(9)}));
}

TEST(RunHalt, ComesWithThreeRequestsInARowThatGotNoAnswer)
{
    RunHalt halt;
    halt.requestEnded({kUnanswered});
    halt.requestEnded({kUnanswered, kUnanswered, kUnanswered});
    EXPECT_FALSE(halt.isHalted()) << "one request is one, however many files it had";

    halt.requestEnded({kUnanswered});

    EXPECT_TRUE(halt.isHalted());
    EXPECT_FALSE(halt.wasAnswered());
}

TEST(RunHalt, CountsFromTheStartAfterAnyAnswer)
{
    for (const CandidateOutcome &answered : {kSent, kRefused}) {
        RunHalt halt;
        halt.requestEnded({kUnanswered});
        halt.requestEnded({kUnanswered});
        halt.requestEnded({kUnanswered, answered});
        halt.requestEnded({kUnanswered});
        halt.requestEnded({kUnanswered});

        EXPECT_FALSE(halt.isHalted());
        EXPECT_TRUE(halt.wasAnswered());
    }
}

TEST(RunHalt, NeverComesForFilesThatWereRefused)
{
    RunHalt halt;
    for (int request = 0; request < 100; ++request) {
        halt.requestEnded({kRefused});
    }

    EXPECT_FALSE(halt.isHalted());
}

TEST(RunHalt, KeepsWhatCameFirst)
{
    RunHalt halt;
    halt.requestEnded({kAway});
    halt.requestEnded({file(FailureClass::tooManyRequests, FailureReach::queue)});

    EXPECT_EQ(halt.trouble()->failure.failureClass, FailureClass::notReachable);
}

TEST(RunHalt, ComesWhenTheSessionIsOver)
{
    RunHalt halt;

    halt.sessionOver();

    EXPECT_EQ(halt.trouble(), (QueueTrouble{{FailureClass::notSignedIn, 0}, std::nullopt}));
}

} // namespace gateway::upload

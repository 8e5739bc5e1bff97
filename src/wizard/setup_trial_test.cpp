#include "wizard/setup_trial.h"

#include "wizard/testing/sample_world.h"

#include <gtest/gtest.h>

#include <memory>

namespace gateway::wizard {
namespace {

using Kind = platform::SampleOutcome::Kind;
using enum TrialState;
using State = LocalSample::State;

class SetupTrialTest : public ::testing::Test, public testing::SampleWorld
{
protected:
    ~SetupTrialTest() override { trial.reset(); }

    /// Runs a trial to its end, however long that takes on the clock.
    void run()
    {
        trial->start();
        runToEnd();
    }

    void runToEnd()
    {
        while (trial->isRunning()) {
            pass(SetupTrial::kLook);
        }
    }

    void runUntilStep(TrialStep step)
    {
        runUntil([this, step] { return line(step).state == running; });
    }

    TrialLine line(TrialStep step) const { return trial->lines().at(static_cast<int>(step)); }

    QList<TrialState> states() const
    {
        QList<TrialState> all;
        for (const TrialLine &line : trial->lines()) {
            all.append(line.state);
        }
        return all;
    }

    bool says(TrialStep step, const char *words) const
    {
        return line(step).detail.contains(QString::fromUtf8(words));
    }

    SampleRemoval removal{parts()};
    std::unique_ptr<SetupTrial> trial = std::make_unique<SetupTrial>(parts(), removal);
};

TEST_F(SetupTrialTest, GoesThroughAllFiveStepsAndLeavesNothing)
{
    EXPECT_EQ(states(), (QList<TrialState>{waiting, waiting, waiting, waiting, waiting}));

    run();

    EXPECT_EQ(states(), (QList<TrialState>{passed, passed, passed, passed, passed}));
    EXPECT_FALSE(trial->hasFailed());
    EXPECT_TRUE(says(TrialStep::send, "GATE took it at 127.0.0.1:11112."));
    EXPECT_EQ(gateway.here(), QStringList());
    EXPECT_EQ(cloud.removed(), gateway.sent());
    EXPECT_EQ(kept(), QStringList());
}

TEST_F(SetupTrialTest, IsOneAtATime)
{
    trial->start();
    trial->start();
    runToEnd();

    EXPECT_EQ(gateway.sent().size(), 1);
}

TEST_F(SetupTrialTest, SendsAnotherSampleEachTime)
{
    run();
    run();

    ASSERT_EQ(gateway.sent().size(), 2);
    EXPECT_NE(gateway.sent().first(), gateway.sent().last());
}

TEST_F(SetupTrialTest, SendsNothingWithoutAListener)
{
    gateway.setListening(false);

    run();

    EXPECT_EQ(states(), (QList<TrialState>{failed, skipped, skipped, skipped, skipped}));
    EXPECT_TRUE(says(TrialStep::send, "The listener isn't running."));
    EXPECT_EQ(gateway.sent(), QStringList());
}

TEST_F(SetupTrialTest, TellsHowTheListenerAnswered)
{
    struct Answer
    {
        platform::SampleOutcome outcome;
        const char *words;
        bool mayBeTaken;
    };
    const QList<Answer> answers{{{Kind::unreachable, 0}, "Nothing answers at 127.0.0.1:11112.", false},
                                {{Kind::rejected, 0}, "takes no more connections", false},
                                {{Kind::notTaken, 0}, "takes no images", false},
                                {{Kind::failed, 0xA700}, "(status A700)", false},
                                {{Kind::broken, 0}, "was cut", true},
                                {{Kind::silent, 0}, "didn't answer in time", true},
                                {{Kind::unavailable, 0}, "can't run", true}};
    for (const auto &[outcome, words, mayBeTaken] : answers) {
        const qsizetype before = kept().size();
        gateway.answer(outcome);

        run();

        EXPECT_EQ(line(TrialStep::send).state, failed);
        EXPECT_TRUE(says(TrialStep::send, words)) << words;
        EXPECT_EQ(line(TrialStep::upload).state, skipped);
        EXPECT_EQ(gateway.here(), QStringList()) << words;
        EXPECT_EQ(kept().size() - before, mayBeTaken ? 1 : 0) << words;
    }
}

TEST_F(SetupTrialTest, TellsThatAnImageIsNotRecorded)
{
    gateway.recordAs(State::mayYetCome);

    run();

    EXPECT_EQ(states(), (QList<TrialState>{passed, failed, skipped, skipped, failed}));
    EXPECT_TRUE(says(TrialStep::record, "It waits in the incoming folder."));
    EXPECT_TRUE(says(TrialStep::remove, "It is deleted as soon as it is."));
    EXPECT_EQ(kept(), gateway.sent());

    gateway.put(gateway.sent().first(), State::waiting); // the disk is back
    runUntil([this] {
        clock.advance(SampleRemoval::kFirstPause);
        return kept().isEmpty();
    });
    EXPECT_EQ(gateway.here(), QStringList());
}

TEST_F(SetupTrialTest, TellsThatNobodyIsSignedInAndForgetsASampleThatNeverLeft)
{
    cloud.setSignedIn(false);

    run();

    EXPECT_EQ(states(), (QList<TrialState>{passed, passed, failed, skipped, passed}));
    EXPECT_TRUE(says(TrialStep::upload, "Nobody is signed in."));
    EXPECT_TRUE(says(TrialStep::remove, "It never went to the cloud."));
    EXPECT_EQ(gateway.here(), QStringList());
    EXPECT_EQ(kept(), QStringList());
}

TEST_F(SetupTrialTest, TellsWhyAnUploadFailed)
{
    gateway.recordAs(State::failed);
    gateway.holdUp(core::FailureClass::storageUsedUp);

    run();

    EXPECT_EQ(states(), (QList<TrialState>{passed, passed, failed, skipped, passed}));
    EXPECT_EQ(line(TrialStep::upload).detail, core::failureSentence(core::FailureClass::storageUsedUp));
    EXPECT_EQ(cloud.removed().first(), gateway.sent().first()); // it may have arrived all the same
    EXPECT_EQ(gateway.here(), QStringList());
    EXPECT_EQ(kept(), gateway.sent()); // or may yet
    EXPECT_TRUE(says(TrialStep::remove, "Should it show up there within a day"));
}

TEST_F(SetupTrialTest, TellsWhatHoldsUpAllUploadsOnceItsOwnRequestHadItsTime)
{
    gateway.holdUp(core::FailureClass::serviceFault);
    trial->start();
    runUntilStep(TrialStep::upload);
    const auto start = clock.monotonic();

    runToEnd();

    EXPECT_GE(clock.monotonic() - start, SetupTrial::kStartOfUpload);
    EXPECT_LT(clock.monotonic() - start, SetupTrial::kLongestUpload);
    EXPECT_EQ(line(TrialStep::upload).detail, core::failureSentence(core::FailureClass::serviceFault));
}

TEST_F(SetupTrialTest, TellsThatOthersGoFirst)
{
    gateway.setGoesLast(true);
    gateway.setUploading(true);

    run();

    EXPECT_TRUE(says(TrialStep::upload, "other images go first"));
    EXPECT_TRUE(says(TrialStep::remove, "Should the upload under way carry it"));
    EXPECT_EQ(gateway.here(), QStringList());
    EXPECT_EQ(kept(), gateway.sent());
}

TEST_F(SetupTrialTest, WaitsForAnArchiveThatFindsLate)
{
    cloud.findAfter(5);

    run();

    EXPECT_EQ(line(TrialStep::find).state, passed);
    EXPECT_EQ(cloud.asked().size(), 5);
}

TEST_F(SetupTrialTest, TellsThatTheCloudDoesNotFindIt)
{
    cloud.findAfter(1'000'000);

    run();

    EXPECT_EQ(states(), (QList<TrialState>{passed, passed, passed, failed, passed}));
    EXPECT_TRUE(says(TrialStep::find, "doesn't find it yet"));
    EXPECT_EQ(cloud.removed(), gateway.sent());
}

TEST_F(SetupTrialTest, TellsWhyAQueryFailed)
{
    cloud.refuseQueries(QStringLiteral("No queries here."));

    run();

    EXPECT_TRUE(says(TrialStep::find, "The query failed: "));
    EXPECT_EQ(kept(), QStringList());
}

TEST_F(SetupTrialTest, TellsThatTheCloudDoesNotDeleteAndTriesAgain)
{
    cloud.refuseDeletes(QStringLiteral("Deleting isn't allowed."));

    run();

    EXPECT_EQ(states(), (QList<TrialState>{passed, passed, passed, passed, failed}));
    EXPECT_TRUE(says(TrialStep::remove, "If the cloud has it, it isn't deleted there yet"));
    EXPECT_EQ(gateway.here(), QStringList());
    EXPECT_EQ(kept(), gateway.sent());

    cloud.refuseDeletes({});
    runUntil([this] {
        clock.advance(SampleRemoval::kFirstPause);
        return kept().isEmpty();
    });
    EXPECT_EQ(cloud.removed(), gateway.sent());
}

TEST_F(SetupTrialTest, StoppedHalfWayGoesStraightToTheRemoval)
{
    gateway.holdUp(core::FailureClass::serviceFault);
    gateway.setUploading(true);
    trial->start();
    runUntilStep(TrialStep::upload);

    trial->stop();
    runUntilStep(TrialStep::remove);
    EXPECT_EQ(line(TrialStep::upload).state, skipped);
    EXPECT_TRUE(says(TrialStep::upload, "Stopped."));
    EXPECT_EQ(kept(), gateway.sent()); // the upload under way may carry it

    gateway.setUploading(false);
    runToEnd();
    EXPECT_EQ(states(), (QList<TrialState>{passed, passed, skipped, skipped, passed}));
    EXPECT_EQ(gateway.here(), QStringList());
    EXPECT_EQ(cloud.removed().first(), gateway.sent().first());
}

TEST_F(SetupTrialTest, EndingHalfWayLeavesTheRestToTheNextStart)
{
    gateway.holdUp(core::FailureClass::serviceFault);
    gateway.setUploading(true);
    trial->start();
    runUntilStep(TrialStep::upload);

    trial.reset(); // the program ends

    EXPECT_EQ(gateway.here(), gateway.sent());
    EXPECT_EQ(kept(), gateway.sent());
    gateway.setUploading(false);
    SampleRemoval next(parts());
    next.clearUp();
    runUntil([this] { return !cloud.removed().isEmpty(); });
    EXPECT_EQ(gateway.here(), QStringList());
    EXPECT_EQ(cloud.removed(), gateway.sent());
}

TEST_F(SetupTrialTest, ForgetsALastTrial)
{
    run();

    trial->reset();

    EXPECT_EQ(states(), (QList<TrialState>{waiting, waiting, waiting, waiting, waiting}));
}

} // namespace
} // namespace gateway::wizard

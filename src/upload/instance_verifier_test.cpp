#include "platform/dicom/testing/identities.h"
#include "upload/instance_verifier.h"

#include "upload/testing/fake_surroundings.h"

#include <gtest/gtest.h>

namespace gateway::upload {

using core::FailureClass;
using StoreUpload::AttemptEnd;
using StoreUpload::AttemptResult;
using StoreUpload::PreparedCandidate;

namespace {

const platform::InstanceUid kUid = platform::testing::instanceUid("1.2.3");

struct InstanceVerifierTest : ::testing::Test
{
    testing::FakeSurroundings around;
    InstanceVerifier verifier{around.collaborators};
    PreparedCandidate prepared = stored();

    PreparedCandidate stored() const
    {
        PreparedCandidate made;
        made.identity = platform::testing::identity("1", "1.1", "1.2.3");
        made.version = 7;
        return made;
    }

    void upload()
    {
        around.cloud.upload({}, cloud_client::StowFile{storedFile(), prepared.identity}, {}, {});
    }

    QUrl storedFile() { return QUrl::fromLocalFile(around.store(kUid.value())); }
};

AttemptEnd failedFor(FailureClass failureClass, std::int64_t code = 0)
{
    return {.result = AttemptResult::failed, .failure = {failureClass, code}};
}

} // namespace

TEST_F(InstanceVerifierTest, HoldsUpNobodyElseWhereOnlyALookIsRefused)
{
    upload();
    around.index.rememberOtherVersion(kUid);
    for (const int status : {401, 407, 429, 502, 503, 507, 511}) {
        around.cloud.giveNothingBack(status);
        EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored).reach, StoreUpload::FailureReach::file)
            << status;
    }
    around.cloud.giveNothingBack(401);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored).failure.failureClass,
              FailureClass::notConfirmed)
        << "the session takes uploads";

    around.index.doubt(kUid, index::SentBefore::unknown);
    around.cloud.giveNothingBack(503);
    EXPECT_EQ(verifier.endWithoutRequest(prepared)->reach, StoreUpload::FailureReach::file);
    around.cloud.giveNothingBack(0);
    around.cloud.answerOddly(cloud_client::NoAnswer::unusableAnswer);
    EXPECT_EQ(verifier.endWithoutRequest(prepared)->reach, StoreUpload::FailureReach::file) << "a page";
    around.cloud.answerOddly(cloud_client::NoAnswer::connectionLost);
    EXPECT_EQ(verifier.endWithoutRequest(prepared)->reach, StoreUpload::FailureReach::unanswered);
}

TEST_F(InstanceVerifierTest, HoldsUpNobodyElseWhereOnlyTheServerForLooksIsAway)
{
    around.index.doubt(kUid, index::SentBefore::unknown);
    around.cloud.answerOddly(cloud_client::NoAnswer::notReachable);
    EXPECT_EQ(verifier.endWithoutRequest(prepared)->reach, StoreUpload::FailureReach::queue);

    around.cloud.beAskedElsewhere();
    for (const auto away : {cloud_client::NoAnswer::notReachable, cloud_client::NoAnswer::timedOut}) {
        around.cloud.answerOddly(away);
        EXPECT_EQ(verifier.endWithoutRequest(prepared), failedFor(FailureClass::notLookedUp));
    }
}

TEST_F(InstanceVerifierTest, TakesTheCloudsWordForTheOnlyVersionThatWasSent)
{
    upload();

    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored), StoreUpload::kUploaded);
    EXPECT_TRUE(around.cloud.retrieved().isEmpty());
}

TEST_F(InstanceVerifierTest, LooksForWhatTheCloudHasTakenBeforeItIsSentAgain)
{
    around.index.doubt(kUid, index::SentBefore::thisVersionInVain);
    index::PendingImageUpload &candidate = prepared.context.candidate;
    EXPECT_EQ(verifier.endWithoutRequest(prepared), std::nullopt) << "another failure";
    candidate.lastFailure = QStringLiteral("notThereYet");
    for (candidate.tries = 1; candidate.tries < 3; ++candidate.tries) {
        EXPECT_EQ(verifier.endWithoutRequest(prepared), failedFor(FailureClass::notThereYet));
    }
    EXPECT_EQ(verifier.endWithoutRequest(prepared), std::nullopt) << "it may have been lost";
}

TEST_F(InstanceVerifierTest, HoldsUpNobodyElseWhereALookForWhatWasTakenIsNotAnswered)
{
    around.index.doubt(kUid, index::SentBefore::thisVersionInVain);
    prepared.context.candidate.lastFailure = QStringLiteral("notThereYet");
    prepared.context.candidate.tries = 3;

    using cloud_client::NoAnswer;
    for (const auto silence :
         {NoAnswer::timedOut, NoAnswer::notAsked, NoAnswer::connectionLost, NoAnswer::otherReason}) {
        around.cloud.answerOddly(silence);
        const auto end = verifier.endWithoutRequest(prepared);

        ASSERT_TRUE(end) << "it isn't sent again";
        EXPECT_EQ(end->failure.failureClass, FailureClass::notThereYet);
        EXPECT_EQ(end->reach, StoreUpload::FailureReach::file);
    }
}

TEST_F(InstanceVerifierTest, ComparesWhatTheCloudShowsLaterForAnyoneMayHaveSentItMeanwhile)
{
    upload();
    prepared.context.candidate.lastFailure = QStringLiteral("notThereYet");
    prepared.context.candidate.tries = 1;
    around.index.doubt(kUid, index::SentBefore::thisVersionInVain);
    EXPECT_EQ(verifier.endWithoutRequest(prepared),
              (AttemptEnd{.result = AttemptResult::success, .isVerified = true}));
    EXPECT_EQ(around.index.sent(), (QList<index::SentInstance>{{kUid, 0}})) << "a doubt, before the look";

    around.converter.compareAs(platform::Likeness::different);
    EXPECT_EQ(verifier.endWithoutRequest(prepared), failedFor(FailureClass::anotherVersionInCloud));

    around.cloud.giveNothingBack(501);
    EXPECT_EQ(verifier.endWithoutRequest(prepared), failedFor(FailureClass::notComparable, 501));
}

TEST_F(InstanceVerifierTest, TakesWhatIsShownLaterForItsOwnWhereItWasCalledStoredOnce)
{
    upload();
    around.cloud.giveNothingBack(501);
    prepared.context.candidate.lastFailure = QStringLiteral("notThereYet");
    around.index.doubt(kUid, index::SentBefore::thisVersion);

    EXPECT_EQ(verifier.endWithoutRequest(prepared), StoreUpload::kUploaded);
}

TEST_F(InstanceVerifierTest, BelievesNoRequestThatBrokeOffWhereTheInstanceIsMerelyShown)
{
    upload();
    prepared.sentBefore = index::SentBefore::thisVersionBrokeOff;
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isShown),
              (AttemptEnd{.result = AttemptResult::success, .isVerified = true}));

    around.cloud.giveNothingBack(501);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isShown), failedFor(FailureClass::notComparable, 501));
    EXPECT_FALSE(around.index.sent().isEmpty()) << "a doubt for later";
}

TEST_F(InstanceVerifierTest, FetchesASecondVersionAndComparesIt)
{
    upload();
    around.index.rememberOtherVersion(kUid);

    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored),
              (AttemptEnd{.result = AttemptResult::success, .isVerified = true}));
    EXPECT_EQ(around.cloud.retrieved(), QStringList{kUid.value()});
    EXPECT_EQ(around.leftovers(), 0);
}

TEST_F(InstanceVerifierTest, SaysThatTheCloudHoldsAnotherVersion)
{
    upload();
    around.index.rememberOtherVersion(kUid);
    around.converter.compareAs(platform::Likeness::different);

    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored),
              failedFor(FailureClass::anotherVersionInCloud));
    EXPECT_EQ(around.leftovers(), 0);
}

TEST_F(InstanceVerifierTest, TakesNothingForProvenThatCannotBeFetchedOrCompared)
{
    around.index.rememberOtherVersion(kUid);

    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored), failedFor(FailureClass::notComparable, 404));

    upload();
    around.converter.compareAs(platform::Likeness::unknown);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored), failedFor(FailureClass::notConfirmed));

    prepared.identity.study = {};
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored), failedFor(FailureClass::notComparable));
}

TEST_F(InstanceVerifierTest, TakesAnArchiveThatForbidsFetchingForOneThatGivesNothingBack)
{
    around.index.rememberOtherVersion(kUid);
    around.cloud.giveNothingBack(403);

    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored), failedFor(FailureClass::notComparable, 403));
}

TEST_F(InstanceVerifierTest, TakesOnlyAnAnswerForAnArchiveThatGivesNothingBack)
{
    around.index.rememberOtherVersion(kUid);
    for (const int status : {404, 405, 406, 410, 415, 501}) {
        around.cloud.giveNothingBack(status);
        EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored),
                  failedFor(FailureClass::notComparable, status))
            << status;
    }
    around.cloud.giveNothingBack(400);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored), failedFor(FailureClass::notConfirmed, 400));
    around.cloud.giveNothingBack(500);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored), failedFor(FailureClass::serviceFault, 500));

    around.cloud.answerOddly(cloud_client::NoAnswer::unusableAnswer);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored).failure.failureClass,
              FailureClass::notConfirmed);
    around.cloud.answerOddly(cloud_client::NoAnswer::timedOut);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored).failure.failureClass, FailureClass::timedOut);
    around.cloud.answerOddly(cloud_client::NoAnswer::answerNotKept);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored).failure.failureClass,
              FailureClass::machineTrouble);
}

TEST_F(InstanceVerifierTest, TakesNoOddAnswerForAnArchiveThatTakesNoQueries)
{
    around.cloud.answerOddly(cloud_client::NoAnswer::unusableAnswer);
    for (const auto before : {index::SentBefore::unrecorded, index::SentBefore::unknown}) {
        around.index.doubt(kUid, before);
        const std::optional<AttemptEnd> end = verifier.endWithoutRequest(prepared);
        ASSERT_TRUE(end) << "nothing is sent before somebody could look";
        EXPECT_EQ(end->failure.failureClass, FailureClass::notLookedUp);
    }
}

TEST_F(InstanceVerifierTest, FetchesWhatTheCloudHadThoughItWasNotSentFromHere)
{
    upload();

    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::wasThere),
              (AttemptEnd{.result = AttemptResult::success, .isVerified = true}));

    around.converter.compareAs(platform::Likeness::different);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::wasThere),
              failedFor(FailureClass::anotherVersionInCloud));
    EXPECT_EQ(around.index.sent(), (QList<index::SentInstance>{{kUid, 0}, {kUid, 0}})) << "a doubt for later";

    around.cloud.giveNothingBack(404);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::wasThere), failedFor(FailureClass::notComparable, 404));
    EXPECT_EQ(around.leftovers(), 0);
}

TEST_F(InstanceVerifierTest, TakesTheWordOfACloudThatMayHaveItFromHereWhereItGivesNothingBack)
{
    upload();
    prepared.sentBefore = index::SentBefore::thisVersion;

    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::wasThere),
              (AttemptEnd{.result = AttemptResult::success, .isVerified = true}));
    around.converter.compareAs(platform::Likeness::different);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::wasThere),
              failedFor(FailureClass::anotherVersionInCloud));

    around.cloud.giveNothingBack(404);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::wasThere), StoreUpload::kUploaded);
    around.cloud.takeNoQueries();
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::wasThere), StoreUpload::kUploaded);
    prepared.sentBefore = index::SentBefore::thisVersionBrokeOff;
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::wasThere), StoreUpload::kUploaded);
    EXPECT_TRUE(around.index.sent().isEmpty());
}

TEST_F(InstanceVerifierTest, TakesNoWordForWhatIsKnownToHaveFailedAndNotesADoubt)
{
    upload();
    around.cloud.giveNothingBack(404);
    prepared.sentBefore = index::SentBefore::thisVersionInVain;

    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::wasThere), failedFor(FailureClass::notComparable, 404));
    EXPECT_EQ(around.index.sent(), (QList<index::SentInstance>{{kUid, 0}}));
}

TEST_F(InstanceVerifierTest, WaitsForTheResultOfTheSameVersionThatIsOnItsWay)
{
    upload();
    around.cloud.giveNothingBack(404);
    prepared.sentBefore = index::SentBefore::thisVersionOnItsWay;

    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::wasThere), failedFor(FailureClass::notConfirmed));
    EXPECT_TRUE(around.index.sent().isEmpty()) << "no doubt yet";
}

TEST_F(InstanceVerifierTest, TakesNoWordAgainstAQueryThatDoesNotFindIt)
{
    prepared.sentBefore = index::SentBefore::thisVersion;
    around.cloud.giveNothingBack(404);

    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::wasThere), failedFor(FailureClass::notConfirmed));
}

TEST_F(InstanceVerifierTest, TakesNothingForProvenWhereItsDoubtCannotBeNoted)
{
    upload();
    around.index.failWrites();

    EXPECT_EQ(
        verifier.confirm(prepared, CloudsWord::wasThere),
        (AttemptEnd{.failure = {FailureClass::indexTrouble, 0}, .reach = StoreUpload::FailureReach::queue}));
}

TEST_F(InstanceVerifierTest, AsksNothingBeforeARequestWhereTheIndexKnowsWhatWasSent)
{
    for (const auto before :
         {index::SentBefore::nothing, index::SentBefore::thisVersion, index::SentBefore::anotherVersion}) {
        around.index.doubt(kUid, before);

        EXPECT_EQ(verifier.endWithoutRequest(prepared), std::nullopt);
    }
    EXPECT_EQ(around.cloud.queries(), 0);
    EXPECT_TRUE(around.cloud.retrieved().isEmpty());
}

TEST_F(InstanceVerifierTest, NeedsNoRequestForWhatTheCloudIsSeenToHold)
{
    upload();
    around.index.doubt(kUid, index::SentBefore::unknown);

    EXPECT_EQ(verifier.endWithoutRequest(prepared),
              (AttemptEnd{.result = AttemptResult::success, .isVerified = true}));

    around.converter.compareAs(platform::Likeness::different);
    EXPECT_EQ(verifier.endWithoutRequest(prepared), std::nullopt) << "this one may take its place";
    EXPECT_EQ(around.leftovers(), 0);
}

TEST_F(InstanceVerifierTest, SendsWhatCannotBeFetchedOnceAndAgainOnlyWhereNoQueryFindsIt)
{
    upload();
    around.index.doubt(kUid, index::SentBefore::unknown);
    around.cloud.giveNothingBack(404);
    EXPECT_EQ(verifier.endWithoutRequest(prepared), std::nullopt) << "it was never called stored";

    prepared.context.candidate.lastFailure = QStringLiteral("notComparable");
    EXPECT_EQ(verifier.endWithoutRequest(prepared), failedFor(FailureClass::notComparable, 404));

    around.cloud.takeNoQueries();
    EXPECT_EQ(verifier.endWithoutRequest(prepared), std::nullopt) << "nobody can say that it is there";
}

TEST_F(InstanceVerifierTest, SendsNothingOverALaterVersionThatTheCloudTook)
{
    around.index.doubt(kUid, index::SentBefore::laterVersion);

    EXPECT_EQ(verifier.endWithoutRequest(prepared), failedFor(FailureClass::laterVersionSent));
    EXPECT_EQ(around.cloud.queries(), 0);
}

TEST_F(InstanceVerifierTest, AsksOnceForASeriesOfWhichTheCloudHoldsNothing)
{
    around.index.doubt(kUid, index::SentBefore::unrecorded);

    EXPECT_EQ(verifier.endWithoutRequest(prepared), std::nullopt);
    upload();
    EXPECT_EQ(verifier.endWithoutRequest(prepared), std::nullopt) << "this process sent it";

    EXPECT_EQ(around.cloud.queries(), 1);
    EXPECT_TRUE(around.index.sent().isEmpty());
}

TEST_F(InstanceVerifierTest, NotesADoubtWhereTheCloudHoldsWhatTheIndexDoesNotKnow)
{
    upload();
    around.index.doubt(kUid, index::SentBefore::unrecorded);
    around.converter.compareAs(platform::Likeness::different);

    EXPECT_EQ(verifier.endWithoutRequest(prepared), std::nullopt);

    EXPECT_EQ(around.index.sent(), (QList<index::SentInstance>{{kUid, 0}}));
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored),
              failedFor(FailureClass::anotherVersionInCloud));
}

TEST_F(InstanceVerifierTest, NotesADoubtWhereTheCloudNamesAnotherInstanceThanItWasAskedFor)
{
    around.index.doubt(kUid, index::SentBefore::unrecorded);
    around.cloud.passOverQuestions();

    EXPECT_EQ(verifier.endWithoutRequest(prepared), std::nullopt);

    EXPECT_EQ(around.index.sent(), (QList<index::SentInstance>{{kUid, 0}}));
}

TEST_F(InstanceVerifierTest, TakesTheWordOfACloudThatTakesNoQueriesForWhatTheIndexDoesNotKnow)
{
    upload();
    around.index.doubt(kUid, index::SentBefore::unrecorded);
    around.cloud.takeNoQueries();
    EXPECT_EQ(verifier.endWithoutRequest(prepared)->failure.failureClass, FailureClass::notLookedUp)
        << "it may have been a proxy's word";

    around.index.believeRefusals();
    EXPECT_EQ(verifier.endWithoutRequest(prepared), std::nullopt);
    EXPECT_EQ(verifier.confirm(prepared, CloudsWord::isStored), StoreUpload::kUploaded);
}

TEST_F(InstanceVerifierTest, NotesThatAQueryEndedInSomeOtherWay)
{
    upload();
    around.index.doubt(kUid, index::SentBefore::unrecorded);
    around.index.believeRefusals();
    around.cloud.answerWith(503);

    EXPECT_NE(verifier.endWithoutRequest(prepared), std::nullopt);

    EXPECT_FALSE(around.index.noteQueryRefused(QStringLiteral("a cloud")));
}

TEST_F(InstanceVerifierTest, NotesThatTheCloudAnswersQueries)
{
    around.index.doubt(kUid, index::SentBefore::unrecorded);
    around.index.believeRefusals();
    EXPECT_EQ(verifier.endWithoutRequest(prepared), std::nullopt);

    EXPECT_FALSE(around.index.noteQueryRefused(QStringLiteral("a cloud")));
}

TEST_F(InstanceVerifierTest, SendsNothingWhereItsDoubtCannotBeNoted)
{
    upload();
    around.index.doubt(kUid, index::SentBefore::unrecorded);
    around.index.failWrites();

    const std::optional<AttemptEnd> end = verifier.endWithoutRequest(prepared);

    ASSERT_TRUE(end);
    EXPECT_EQ(end->failure.failureClass, FailureClass::indexTrouble);
    EXPECT_EQ(end->reach, StoreUpload::FailureReach::queue);
}

} // namespace gateway::upload

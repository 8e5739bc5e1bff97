#include "upload/retry_pauses.h"

#include "index/dicom_db.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace gateway::upload {

using core::FailureClass;
using StoreUpload::AttemptEnd;
using StoreUpload::FailureReach;

namespace {

using namespace std::chrono_literals;

std::span<const std::chrono::seconds> pauses(FailureClass failureClass,
                                             FailureReach reach = FailureReach::file)
{
    return pausesAfter({.failure = {failureClass, 0}, .reach = reach});
}

} // namespace

TEST(RetryPauses, GrowToADayForWhatWasRefusedForGood)
{
    for (const FailureClass refused : {FailureClass::kindNotSupported,
                                       FailureClass::contentDoesNotFit,
                                       FailureClass::notUnderstood,
                                       FailureClass::tooLarge,
                                       FailureClass::refused,
                                       FailureClass::conversionFailed,
                                       FailureClass::withoutIdentity,
                                       FailureClass::anotherVersionInCloud,
                                       FailureClass::laterVersionSent}) {
        EXPECT_EQ(pauses(refused).front(), 1min);
        EXPECT_EQ(pauses(refused).back(), 24h);
    }
}

TEST(RetryPauses, GrowToAnHourForWhatMayPass)
{
    for (const FailureClass passing :
         {FailureClass::serviceFault, FailureClass::fileMissing, FailureClass::machineTrouble}) {
        EXPECT_EQ(pauses(passing).front(), 10s);
        EXPECT_EQ(pauses(passing).back(), 1h);
    }
    EXPECT_EQ(pauses(FailureClass::connectionLost, FailureReach::unanswered).front(), 10s);
}

TEST(RetryPauses, AreNoneWhereTheFileHadNoPartInTheFailure)
{
    for (const FailureClass ofAll : {FailureClass::sessionEnded,
                                     FailureClass::tooManyRequests,
                                     FailureClass::notReachable,
                                     FailureClass::termsNotAccepted}) {
        EXPECT_TRUE(pauses(ofAll, FailureReach::queue).empty());
    }
}

TEST(RetryPauses, LetAnotherFileTryWhereTheAnswerMayBeOfThisOne)
{
    EXPECT_EQ(pauses(FailureClass::notPermitted, FailureReach::queue).front(), 10s);
    EXPECT_EQ(pauses(FailureClass::storageUsedUp, FailureReach::queue).front(), 10s);
    EXPECT_EQ(pauses(FailureClass::unexpectedAnswer, FailureReach::queue).front(), 10s);
    EXPECT_EQ(pauses(FailureClass::notPermitted).front(), 1min) << "refused for this file alone";
}

TEST(RetryPauses, NeverShrinkAndNeverPassTheLongestWaitOfTheIndex)
{
    for (int number = 0; number <= static_cast<int>(FailureClass::unknown); ++number) {
        const auto all = pauses(static_cast<FailureClass>(number));
        EXPECT_TRUE(std::ranges::is_sorted(all));
        EXPECT_LE(all.back(), index::FailedUploads::kLongestWait);
    }
}

} // namespace gateway::upload

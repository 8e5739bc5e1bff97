#include "shell/dashboard/cards/sent_notice.h"

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

/// Somebody is signed in, the cloud answers.
SentSituation onTheWay(std::int64_t notSent, std::int64_t sent, std::int64_t failed = 0)
{
    return {notSent, sent, failed, false, true, true};
}

TEST(SentNotice, SaysThatThereIsNothingYet)
{
    const CardNotice::Words words = sentNotice(onTheWay(0, 0));

    EXPECT_EQ(words.title, QStringLiteral("Nothing to send yet"));
    EXPECT_EQ(words.color, Color::text2);
    EXPECT_FALSE(words.share);
}

TEST(SentNotice, SaysHowFarSendingIs)
{
    SentSituation now = onTheWay(1000, 3000);
    now.isSending = true;
    const CardNotice::Words words = sentNotice(now);

    EXPECT_EQ(words.title, QStringLiteral("Sending to Quorin Cloud"));
    EXPECT_EQ(words.sentence, QStringLiteral("3,000 of 4,000 images are there."));
    ASSERT_TRUE(words.share);
    EXPECT_DOUBLE_EQ(*words.share, 0.75);

    now.isSending = false;
    EXPECT_EQ(sentNotice(now).title, QStringLiteral("Waiting to be sent"));
}

TEST(SentNotice, SaysThatEverythingIsUploaded)
{
    EXPECT_EQ(sentNotice(onTheWay(0, 12)).title, QStringLiteral("Everything is uploaded"));
    EXPECT_EQ(sentNotice(onTheWay(0, 12)).color, Color::green);
}

TEST(SentNotice, PutsFailuresBeforeProgress)
{
    SentSituation now = onTheWay(10, 20, 1);
    now.isSending = true;

    EXPECT_EQ(sentNotice(now).title, QStringLiteral("1 image could not be sent"));
    EXPECT_EQ(sentNotice(now).color, Color::red);
    EXPECT_EQ(sentNotice(now).action, QStringLiteral("View Logs"));
    EXPECT_EQ(sentNotice(onTheWay(1200, 20, 1200)).title, QStringLiteral("1,200 images could not be sent"));
}

TEST(SentNotice, SaysWhyAndWhatHelpsWhereThatIsKnown)
{
    SentSituation now = onTheWay(10, 20, 4);
    EXPECT_EQ(sentNotice(now).sentence, QStringLiteral("Kept here and tried again."));

    now.reason = core::FailureClass::tooLarge;
    EXPECT_EQ(sentNotice(now).sentence, core::failureSentence(core::FailureClass::tooLarge));
}

TEST(SentNotice, PutsWhatKeepsAllImagesFromGoingBeforeSingleFailures)
{
    SentSituation now = onTheWay(10, 20, 4);
    now.isReachable = false;
    EXPECT_EQ(sentNotice(now).title, QStringLiteral("Quorin Cloud can't be reached"));

    now.isSignedIn = false;
    EXPECT_EQ(sentNotice(now).title, QStringLiteral("Waiting for a sign-in"));
}

TEST(SentNotice, NeedsNoSignInWhereNothingWaits)
{
    SentSituation now = onTheWay(0, 20);
    now.isSignedIn = false;
    now.isReachable = false;

    EXPECT_EQ(sentNotice(now).title, QStringLiteral("Everything is uploaded"));
}

} // namespace
} // namespace gateway::shell

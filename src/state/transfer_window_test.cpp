#include "state/transfer_window.h"

#include <gtest/gtest.h>

#include <limits>

namespace gateway::state {

namespace {

using namespace std::chrono_literals;
using Counts = std::vector<std::int64_t>;

const QTimeZone kBerlin("Europe/Berlin");
const QTimeZone kKolkata("Asia/Kolkata"); // half an hour beside the others
const QTimeZone kBeirut("Asia/Beirut");   // sets its clocks at midnight

QDateTime utc(int month, int day, int hour, int minute = 0, int second = 0)
{
    return {QDate(2026, month, day), QTime(hour, minute, second), Qt::UTC};
}

/// What the clock of `zone` shows at the start of the bucket.
QString clockAt(const QDateTime &moment, std::chrono::seconds bucket, const QTimeZone &zone)
{
    return alignedBucketStart(moment, bucket, zone)
        .toTimeZone(zone)
        .toString(QStringLiteral("MM-dd HH:mm:ss"));
}

const QDateTime kStart = utc(5, 1, 0);

TransferWindow window()
{
    return {{1, 2, 3, 4}, {5, 6, 7, 8}, kStart, kStart.addSecs(3 * 3600)};
}

} // namespace

// --- Alignment ---------------------------------------------------------------------------------------

TEST(BucketAlignment, OfShortBucketsIsTheMultipleOfTheirMinutes)
{
    const QDateTime moment = utc(5, 1, 10, 59, 59);

    EXPECT_EQ(alignedBucketStart(moment, 5min, QTimeZone::utc()), utc(5, 1, 10, 55));
    EXPECT_EQ(alignedBucketStart(moment, 15min, QTimeZone::utc()), utc(5, 1, 10, 45));
    EXPECT_EQ(alignedBucketStart(utc(5, 1, 10, 55), 5min, QTimeZone::utc()), utc(5, 1, 10, 55));
}

TEST(BucketAlignment, OfHoursFollowsTheUsersClock)
{
    EXPECT_EQ(alignedBucketStart(utc(5, 1, 10, 20), 1h, QTimeZone::utc()), utc(5, 1, 10));
    EXPECT_EQ(alignedBucketStart(utc(5, 1, 10, 20), 1h, kKolkata), utc(5, 1, 9, 30)) << "15:50 there";
}

TEST(BucketAlignment, OfSixHoursStartsAtMidnightSixNoonAndSixOnTheUsersClock)
{
    EXPECT_EQ(clockAt(utc(5, 1, 21, 59), 6h, kBerlin), QStringLiteral("05-01 18:00:00"));
    EXPECT_EQ(clockAt(utc(5, 1, 22, 0), 6h, kBerlin), QStringLiteral("05-02 00:00:00"));
    EXPECT_EQ(clockAt(utc(5, 2, 4, 0), 6h, kBerlin), QStringLiteral("05-02 06:00:00"));
    EXPECT_EQ(clockAt(utc(5, 2, 10, 30), 6h, kBerlin), QStringLiteral("05-02 12:00:00"));
}

TEST(BucketAlignment, OfDaysIsTheStartOfTheUsersDay)
{
    EXPECT_EQ(alignedBucketStart(utc(5, 1, 21, 59), 24h, kBerlin), utc(4, 30, 22));
    EXPECT_EQ(alignedBucketStart(utc(5, 1, 22, 0), 24h, kBerlin), utc(5, 1, 22));
}

TEST(BucketAlignment, WhenTheClockIsSetForwardSkipsTheMissingHour)
{
    // In Berlin 02:00 became 03:00 on 29 March, at 01:00 UTC.
    EXPECT_EQ(alignedBucketStart(utc(3, 29, 0, 59, 59), 1h, kBerlin), utc(3, 29, 0));
    EXPECT_EQ(alignedBucketStart(utc(3, 29, 1, 10), 1h, kBerlin), utc(3, 29, 1));
    EXPECT_EQ(clockAt(utc(3, 29, 1, 10), 1h, kBerlin), QStringLiteral("03-29 03:00:00"));
    EXPECT_EQ(clockAt(utc(3, 29, 3, 30), 6h, kBerlin), QStringLiteral("03-29 00:00:00")) << "05:30 there";
    EXPECT_EQ(clockAt(utc(3, 29, 4, 0), 6h, kBerlin), QStringLiteral("03-29 06:00:00"));
    EXPECT_EQ(alignedBucketStart(utc(3, 29, 12), 24h, kBerlin), utc(3, 28, 23));
}

TEST(BucketAlignment, OfADayWithoutMidnightIsItsFirstMoment)
{
    // In Beirut 00:00 became 01:00 on 29 March, at 22:00 UTC of the day before.
    EXPECT_EQ(alignedBucketStart(utc(3, 29, 9), 24h, kBeirut), utc(3, 28, 22));
    EXPECT_EQ(clockAt(utc(3, 29, 1), 6h, kBeirut), QStringLiteral("03-29 01:00:00")) << "04:00 there";
}

TEST(BucketAlignment, OfAStartThatTheClockSkippedIsTheFirstMomentBehindTheGap)
{
    // On Lord Howe Island 02:00 became 02:30 on 4 October, at 15:30 UTC of the day before.
    const QTimeZone island("Australia/Lord_Howe");

    EXPECT_EQ(alignedBucketStart(utc(10, 3, 15, 40), 1h, island), utc(10, 3, 15, 30)) << "02:40 there";
    EXPECT_EQ(alignedBucketStart(utc(10, 3, 16, 0), 1h, island), utc(10, 3, 16)) << "03:00 there";
}

TEST(BucketAlignment, WhenTheClockIsSetBackGivesEachOfTheTwinHoursBucketsOfItsOwn)
{
    // In Berlin 03:00 became 02:00 on 25 October, at 01:00 UTC.
    EXPECT_EQ(alignedBucketStart(utc(10, 25, 0, 30), 1h, kBerlin), utc(10, 25, 0));
    EXPECT_EQ(alignedBucketStart(utc(10, 25, 1, 30), 1h, kBerlin), utc(10, 25, 1));
    EXPECT_EQ(alignedBucketStart(utc(10, 25, 0, 44), 15min, kBerlin), utc(10, 25, 0, 30));
    EXPECT_EQ(alignedBucketStart(utc(10, 25, 1, 44), 15min, kBerlin), utc(10, 25, 1, 30));
    EXPECT_EQ(clockAt(utc(10, 25, 4, 59), 6h, kBerlin), QStringLiteral("10-25 00:00:00"))
        << "seven hours long";
    EXPECT_EQ(alignedBucketStart(utc(10, 25, 22, 59), 24h, kBerlin), utc(10, 24, 22)) << "25 hours long";
}

TEST(BucketAlignment, WithoutAValidZoneIsTheMomentItself)
{
    EXPECT_EQ(alignedBucketStart(utc(5, 1, 10, 20, 3), 1h, QTimeZone()), utc(5, 1, 10, 20, 3));
}

TEST(BucketAlignment, IsNeverLaterThanTheMomentAndNeverGoesBackInTime)
{
    for (const QTimeZone &zone : {kBerlin, kBeirut, kKolkata, QTimeZone("Australia/Lord_Howe")}) {
        for (const TransferTimeframe timeframe : kTransferTimeframes) {
            QDateTime before = utc(1, 1, 0).addDays(-2);
            for (QDateTime moment = utc(1, 1, 0); moment < utc(12, 31, 0); moment = moment.addSecs(1867)) {
                const QDateTime start = alignedBucketStart(moment, bucketDuration(timeframe), zone);
                ASSERT_LE(start, moment);
                ASSERT_GE(start, before) << moment.toString().toStdString();
                ASSERT_EQ(start.time().second(), 0);
                ASSERT_EQ(start.time().minute() % 5, 0) << "the index counts by five minutes";
                before = start;
            }
        }
    }
}

TEST(NewestBucket, HoldsThePresentMomentAlsoWhereAnAlignedOneIsLonger)
{
    EXPECT_EQ(newestBucketStart(utc(10, 25, 21, 59), 24h, kBerlin), utc(10, 24, 22));
    EXPECT_EQ(newestBucketStart(utc(10, 25, 22, 30), 24h, kBerlin), utc(10, 25, 22))
        << "the 25th hour of the day";
    EXPECT_EQ(newestBucketStart(utc(10, 25, 4, 30), 6h, kBerlin), utc(10, 25, 4)) << "the 7th hour";
    for (const TransferTimeframe timeframe : kTransferTimeframes) {
        for (QDateTime now = utc(1, 1, 0); now < utc(12, 31, 0); now = now.addSecs(1867)) {
            const auto duration = bucketDuration(timeframe);
            const QDateTime newest = newestBucketStart(now, duration, kBerlin);
            ASSERT_LE(newest, now);
            ASSERT_GT(newest.addSecs(duration.count()), now) << now.toString().toStdString();
        }
    }
}

TEST(WindowStart, LiesAllBucketsButOneBeforeTheNewest)
{
    EXPECT_EQ(windowStart(utc(5, 2, 23), 1h, 24), utc(5, 2, 0));
    EXPECT_EQ(windowStart(utc(5, 2, 23), 1h, 1), utc(5, 2, 23));
}

// --- Rolling -----------------------------------------------------------------------------------------

TEST(Rolling, WithinTheSameBucketChangesNothing)
{
    TransferWindow moved = window();

    EXPECT_EQ(rollForward(moved, moved.newest, 1h, 4), Roll::sameBucket);
    EXPECT_EQ(rollForward(moved, moved.newest.addSecs(-3600), 1h, 4), Roll::sameBucket)
        << "the clock went back";

    EXPECT_EQ(moved.received, window().received);
    EXPECT_EQ(moved.start, window().start);
    EXPECT_EQ(moved.newest, window().newest);
}

TEST(Rolling, DropsTheOldestAndAddsEmptyOnes)
{
    TransferWindow moved = window();

    EXPECT_EQ(rollForward(moved, moved.newest.addSecs(2 * 3600), 1h, 4), Roll::rolled);

    EXPECT_EQ(moved.received, (Counts{3, 4, 0, 0}));
    EXPECT_EQ(moved.sent, (Counts{7, 8, 0, 0}));
    EXPECT_EQ(moved.start, kStart.addSecs(2 * 3600));
    EXPECT_EQ(moved.newest, kStart.addSecs(5 * 3600));
}

TEST(Rolling, PastMoreBucketsThanAreVisibleClearsBothSeriesAndRestartsTheWindow)
{
    for (const int steps : {4, 5, 1000}) {
        TransferWindow moved = window();
        const QDateTime newest = moved.newest.addSecs(steps * 3600);

        EXPECT_EQ(rollForward(moved, newest, 1h, 4), Roll::rolled);

        EXPECT_EQ(moved.received, Counts(4));
        EXPECT_EQ(moved.sent, Counts(4));
        EXPECT_EQ(moved.start, newest.addSecs(-3 * 3600));
        EXPECT_EQ(moved.newest, newest);
    }
}

TEST(Rolling, ByLessThanABucketOrABrokenNumberOfThemLeavesTheWindowToBeBuiltAnew)
{
    for (const int hours : {23, 47}) { // days on which the clock was set forward
        TransferWindow moved = window();

        EXPECT_EQ(rollForward(moved, moved.newest.addSecs(hours * 3600), 24h, 4), Roll::outOfStep);

        EXPECT_EQ(moved.received, window().received);
        EXPECT_EQ(moved.newest, window().newest);
    }
}

// --- Zoom --------------------------------------------------------------------------------------------

TEST(Scrolling, SevenUnitsDoNothingAndOneMoreMakesOneStep)
{
    EXPECT_EQ(spendScrolling(7).steps, 0);
    EXPECT_EQ(spendScrolling(7).rest, 7);
    EXPECT_EQ(spendScrolling(7 + 1).steps, 1);
    EXPECT_EQ(spendScrolling(7 + 1).rest, 0);
}

TEST(Scrolling, KeepsTheRestWithItsSign)
{
    EXPECT_EQ(spendScrolling(-21).steps, -2);
    EXPECT_EQ(spendScrolling(-21).rest, -5);
    EXPECT_EQ(spendScrolling(19.5).steps, 2);
    EXPECT_EQ(spendScrolling(19.5).rest, 3.5);
}

TEST(Scrolling, OfAnyDistanceStaysWithinTheBounds)
{
    constexpr double kFar = std::numeric_limits<double>::max();

    EXPECT_EQ(zoomedBucketCount(24, spendScrolling(kFar).steps, TransferTimeframe::oneDay), 8);
    EXPECT_EQ(zoomedBucketCount(24, spendScrolling(-kFar).steps, TransferTimeframe::oneDay), 288);
}

TEST(Zoom, NarrowsUpwardAndWidensDownwardByEightPercentAStep)
{
    EXPECT_EQ(zoomedBucketCount(24, 1, TransferTimeframe::oneDay), 22);
    EXPECT_EQ(zoomedBucketCount(24, -1, TransferTimeframe::oneDay), 26);
    EXPECT_EQ(zoomedBucketCount(24, -3, TransferTimeframe::oneDay), 30);
}

TEST(Zoom, AtACountOfFiveMovesByExactlyOneWhereAStepRoundsBackToFive)
{
    EXPECT_EQ(zoomedBucketCount(5, -1, TransferTimeframe::oneHour), 6);
    EXPECT_EQ(zoomedBucketCount(5, 1, TransferTimeframe::oneHour), 4);
}

TEST(Zoom, StopsAtAThirdAndAtTwelveTimesTheUsualCount)
{
    for (const TransferTimeframe timeframe : kTransferTimeframes) {
        const std::int64_t smallest = smallestVisibleBuckets(timeframe);
        const std::int64_t largest = largestVisibleBuckets(timeframe);

        EXPECT_EQ(zoomedBucketCount(smallest, 1, timeframe), smallest);
        EXPECT_EQ(zoomedBucketCount(largest, -1, timeframe), largest);
        EXPECT_LT(zoomedBucketCount(largest, 1, timeframe), largest);
        EXPECT_GT(zoomedBucketCount(smallest, -1, timeframe), smallest);
    }
}

} // namespace gateway::state

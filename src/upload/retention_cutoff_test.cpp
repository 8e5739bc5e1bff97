#include "upload/retention_cutoff.h"

#include <gtest/gtest.h>

namespace gateway::upload {

namespace {

using core::GatewayAutoDeleteMode;
using core::RetentionPolicy;

class RetentionCutoff : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_zone.isValid()) << "the machine has no time zone data"; }

    /// The cut-off for a local time, both as ISO texts in the zone; "none" where there is none.
    std::string cutoff(const RetentionPolicy &policy, const char *now) const
    {
        const QDateTime local = QDateTime::fromString(QString::fromLatin1(now), Qt::ISODateWithMs);
        const QDateTime moment(local.date(), local.time(), m_zone);
        const auto found = retentionCutoff(policy, moment.toUTC(), m_zone);
        if (found && found->timeSpec() != Qt::UTC) {
            return "not in UTC";
        }
        return found ? found->toTimeZone(m_zone).toString(Qt::ISODateWithMs).toStdString() : "none";
    }

    static RetentionPolicy days(int value) { return {GatewayAutoDeleteMode::days, value}; }
    static RetentionPolicy months(int value) { return {GatewayAutoDeleteMode::months, value}; }

    // Clocks go from 02:00 to 03:00 on 29 March 2026 and from 03:00 to 02:00 on 25 October 2026.
    const QTimeZone m_zone{"Europe/Berlin"};
};

} // namespace

TEST_F(RetentionCutoff, IsNothingWhenEverythingIsKept)
{
    EXPECT_EQ(cutoff({}, "2026-05-10T10:00:00.000"), "none");
}

TEST_F(RetentionCutoff, GoesBackByDaysAndKeepsTheTimeOfDay)
{
    EXPECT_EQ(cutoff(days(30), "2026-07-15T17:45:12.345"), "2026-06-15T17:45:12.345+02:00");
    EXPECT_EQ(cutoff(days(1), "2026-01-01T00:00:00.000"), "2025-12-31T00:00:00.000+01:00");
    EXPECT_EQ(cutoff(days(3650), "2026-06-01T12:00:00.000"), "2016-06-03T12:00:00.000+02:00");
}

TEST_F(RetentionCutoff, GoesBackByCalendarMonthsToTheEndOfAShorterOne)
{
    EXPECT_EQ(cutoff(months(1), "2026-03-31T10:00:00.000"), "2026-02-28T10:00:00.000+01:00");
    EXPECT_EQ(cutoff(months(1), "2024-03-31T10:00:00.000"), "2024-02-29T10:00:00.000+01:00");
    EXPECT_EQ(cutoff(months(1), "2026-07-31T10:00:00.000"), "2026-06-30T10:00:00.000+02:00");
    EXPECT_EQ(cutoff(months(3), "2026-01-15T10:00:00.000"), "2025-10-15T10:00:00.000+02:00");
}

TEST_F(RetentionCutoff, OfALeapDayIsTheDayBeforeInACommonYear)
{
    EXPECT_EQ(cutoff(months(12), "2024-02-29T10:00:00.000"), "2023-02-28T10:00:00.000+01:00");
    EXPECT_EQ(cutoff(months(48), "2024-02-29T10:00:00.000"), "2020-02-29T10:00:00.000+01:00");
    EXPECT_EQ(cutoff(days(366), "2025-02-28T10:00:00.000"), "2024-02-28T10:00:00.000+01:00");
    EXPECT_EQ(cutoff(days(365), "2025-02-28T10:00:00.000"), "2024-02-29T10:00:00.000+01:00");
    EXPECT_EQ(cutoff(months(120), "2026-02-28T10:00:00.000"), "2016-02-28T10:00:00.000+01:00");
}

TEST_F(RetentionCutoff, KeepsTheTimeOfDayOverAChangeOfTheClocks)
{
    EXPECT_EQ(cutoff(days(1), "2026-03-29T12:00:00.000"), "2026-03-28T12:00:00.000+01:00");
    EXPECT_EQ(cutoff(days(1), "2026-10-25T12:00:00.000"), "2026-10-24T12:00:00.000+02:00");
    EXPECT_EQ(cutoff(months(1), "2026-04-10T12:00:00.000"), "2026-03-10T12:00:00.000+01:00");
    EXPECT_EQ(cutoff(months(1), "2026-11-10T12:00:00.000"), "2026-10-10T12:00:00.000+02:00");
    EXPECT_EQ(cutoff(days(1), "2026-03-30T01:30:00.000"), "2026-03-29T01:30:00.000+01:00");
    EXPECT_EQ(cutoff(days(1), "2026-10-26T04:30:00.000"), "2026-10-25T04:30:00.000+01:00");
}

TEST_F(RetentionCutoff, OfATimeOfDayThatDoesNotExistIsAsFarBehindTheChange)
{
    EXPECT_EQ(cutoff(days(1), "2026-03-30T02:30:00.000"), "2026-03-29T03:30:00.000+02:00");
    EXPECT_EQ(cutoff(days(1), "2026-03-30T02:00:00.000"), "2026-03-29T03:00:00.000+02:00");
    EXPECT_EQ(cutoff(days(1), "2026-03-30T03:00:00.000"), "2026-03-29T03:00:00.000+02:00");
    EXPECT_EQ(cutoff(months(1), "2026-04-29T02:59:59.999"), "2026-03-29T03:59:59.999+02:00");
}

TEST_F(RetentionCutoff, OfATimeOfDayThatOccursTwiceIsTheFirstWhichKeepsMore)
{
    EXPECT_EQ(cutoff(days(1), "2026-10-26T02:30:00.000"), "2026-10-25T02:30:00.000+02:00");
    EXPECT_EQ(cutoff(days(1), "2026-10-26T02:00:00.000"), "2026-10-25T02:00:00.000+02:00");
    EXPECT_EQ(cutoff(days(1), "2026-10-26T03:00:00.000"), "2026-10-25T03:00:00.000+01:00");
}

TEST_F(RetentionCutoff, IsNothingForADateThatIsNone)
{
    EXPECT_EQ(retentionCutoff(days(30), QDateTime(), m_zone), std::nullopt);
    EXPECT_EQ(retentionCutoff(days(30), QDateTime::currentDateTimeUtc(), QTimeZone()), std::nullopt);
}

TEST(RetentionCutoffZones, GoByTheDaysOfTheirOwn)
{
    const QTimeZone auckland("Pacific/Auckland");
    ASSERT_TRUE(auckland.isValid());
    const QDateTime now(QDate(2026, 3, 31), QTime(12, 30), Qt::UTC); // 1 April there

    EXPECT_EQ(retentionCutoff({GatewayAutoDeleteMode::months, 1}, now, auckland),
              QDateTime(QDate(2026, 2, 28), QTime(12, 30), Qt::UTC)); // 1 March there, 01:30
    EXPECT_EQ(retentionCutoff({GatewayAutoDeleteMode::months, 1}, now, QTimeZone::utc()),
              QDateTime(QDate(2026, 2, 28), QTime(12, 30), Qt::UTC));
    EXPECT_EQ(retentionCutoff({GatewayAutoDeleteMode::days, 31}, now, auckland),
              QDateTime(QDate(2026, 2, 28), QTime(12, 30), Qt::UTC));
}

TEST(RetentionCutoffZones, ADayThatAZoneLeftOutIsTheNext)
{
    const QTimeZone apia("Pacific/Apia"); // had no 30 December 2011
    ASSERT_TRUE(apia.isValid());
    const QDateTime now(QDate(2011, 12, 31), QTime(12, 0), apia);

    const auto cutoff = retentionCutoff({GatewayAutoDeleteMode::days, 1}, now.toUTC(), apia);

    ASSERT_TRUE(cutoff);
    EXPECT_EQ(cutoff->toTimeZone(apia).date(), QDate(2011, 12, 31));
    EXPECT_EQ(cutoff->toTimeZone(apia).time(), QTime(12, 0));
}

} // namespace gateway::upload

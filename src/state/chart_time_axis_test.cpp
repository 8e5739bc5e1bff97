#include "state/chart_time_axis.h"

#include <QtCore/QStringList>

#include <gtest/gtest.h>

namespace gateway::state {

namespace {

const QDateTime kStart(QDate(2026, 5, 1), QTime(0, 0), Qt::UTC);

QList<AxisLabel> labels(std::int64_t values, int labelCount = 5)
{
    return placed({values, labelCount, TransferTimeframe::oneDay, kStart, std::chrono::hours(1)},
                  QTimeZone::utc(),
                  QLocale(QStringLiteral("en_US")));
}

QString texts(const QList<AxisLabel> &list)
{
    QStringList words;
    for (const AxisLabel &label : list) {
        words.append(label.text);
    }
    return words.join(u' ');
}

} // namespace

TEST(XLabels, SpanFromTheFirstBucketToTheLast)
{
    EXPECT_EQ(texts(labels(25)), QStringLiteral("00:00 06:00 12:00 18:00 00:00"));
    EXPECT_EQ(texts(labels(24)), QStringLiteral("00:00 05:45 11:30 17:15 23:00"));
}

TEST(XLabels, AreAtLeastTwoAndNoMoreThanThereAreValues)
{
    EXPECT_EQ(texts(labels(0)), QStringLiteral("00:00 01:00"));
    EXPECT_EQ(texts(labels(1)), QStringLiteral("00:00 01:00"));
    EXPECT_EQ(texts(labels(2)), QStringLiteral("00:00 01:00"));
    EXPECT_EQ(texts(labels(3)), QStringLiteral("00:00 01:00 02:00"));
    EXPECT_EQ(texts(labels(9, 1)), QStringLiteral("00:00 08:00"));
}

TEST(XLabels, AreAlignedOutwardAtBothEnds)
{
    const QList<AxisLabel> list = labels(25);

    EXPECT_EQ(list[0].alignment, LabelAlignment::left);
    EXPECT_EQ(list[1].alignment, LabelAlignment::centre);
    EXPECT_EQ(list[3].alignment, LabelAlignment::centre);
    EXPECT_EQ(list[4].alignment, LabelAlignment::right);
    EXPECT_EQ(list[4].moment, kStart.addDays(1));
}

TEST(XLabels, StandBelowThePointOfTheirMoment)
{
    constexpr double kWidth = 960; // of the plot
    constexpr double kWords = 30;
    for (const std::int64_t values : {25, 28, 9, 3}) {
        const QList<AxisLabel> list = labels(values);
        for (const AxisLabel &label : list) {
            const double hours = static_cast<double>(kStart.secsTo(label.moment)) / 3600;
            const double x = kWidth * hours / static_cast<double>(values - 1);
            const double from = label.alignment == LabelAlignment::left    ? x
                                : label.alignment == LabelAlignment::right ? x - kWords
                                                                           : x - kWords / 2;
            EXPECT_NEAR(leftOf(label, kWords, kWidth), from, 0.01) << label.text.toStdString();
        }
    }
}

} // namespace gateway::state

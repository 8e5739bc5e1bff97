#include "state/time_texts.h"

#include <gtest/gtest.h>

namespace gateway::state {

namespace {

using namespace std::chrono_literals;

const QDateTime kMoment(QDate(2026, 11, 21), QTime(14, 5), Qt::UTC); // a Saturday

QString inWords(TransferTimeframe timeframe, const char *locale)
{
    return momentText(kMoment, timeframe, QTimeZone::utc(), QLocale(QString::fromLatin1(locale)));
}

} // namespace

TEST(AbbreviatedDuration, ShowsTheLargestTwoUnitsThatAreNotZero)
{
    const QLocale locale(QStringLiteral("en_US"));

    EXPECT_EQ(abbreviatedDuration(24h, locale), QStringLiteral("1d"));
    EXPECT_EQ(abbreviatedDuration(26h, locale), QStringLiteral("1d 2h"));
    EXPECT_EQ(abbreviatedDuration(24h + 30min, locale), QStringLiteral("1d 30m")) << "a zero in the middle";
    EXPECT_EQ(abbreviatedDuration(25h + 15min, locale), QStringLiteral("1d 1h")) << "at most two";
    EXPECT_EQ(abbreviatedDuration(4h, locale), QStringLiteral("4h"));
    EXPECT_EQ(abbreviatedDuration(65min, locale), QStringLiteral("1h 5m"));
    EXPECT_EQ(abbreviatedDuration(20min, locale), QStringLiteral("20m"));
    EXPECT_EQ(abbreviatedDuration(59s, locale), QString());
}

TEST(AbbreviatedDuration, WritesNumbersAsTheLocaleDoes)
{
    EXPECT_EQ(abbreviatedDuration(26h, QLocale(QStringLiteral("ar_EG"))), QStringLiteral("١d ٢h"));
}

TEST(RangeTitle, TellsTheLengthOrWholeHoursWhereThereIsNothingToTell)
{
    const QLocale locale(QStringLiteral("en_US"));

    EXPECT_EQ(rangeTitle(24h, locale), QStringLiteral("Last 1d"));
    EXPECT_EQ(rangeTitle(26h, locale), QStringLiteral("Last 1d 2h"));
    EXPECT_EQ(rangeTitle(0s, locale), QStringLiteral("Last 0h"));
}

TEST(MomentText, ShowsTwentyFourHoursWithTheSignOfTheLocale)
{
    EXPECT_EQ(inWords(TransferTimeframe::oneHour, "en_US"), QStringLiteral("14:05"));
    EXPECT_EQ(inWords(TransferTimeframe::fourHours, "de_DE"), QStringLiteral("14:05"));
    EXPECT_EQ(inWords(TransferTimeframe::oneDay, "fi_FI"), QStringLiteral("14.05"));
}

TEST(MomentText, OfAWeekNamesTheDay)
{
    EXPECT_EQ(inWords(TransferTimeframe::oneWeek, "en_US"), QStringLiteral("Sat 14:05"));
    EXPECT_EQ(inWords(TransferTimeframe::oneWeek, "fr_FR"), QStringLiteral("sam. 14:05"));
}

TEST(MomentText, OfAMonthSetsDayAndMonthInTheOrderOfTheLocale)
{
    EXPECT_EQ(inWords(TransferTimeframe::oneMonth, "en_US"), QStringLiteral("Nov 21"));
    EXPECT_EQ(inWords(TransferTimeframe::oneMonth, "en_GB"), QStringLiteral("21 Nov"));
    EXPECT_EQ(inWords(TransferTimeframe::oneMonth, "de_DE"), QStringLiteral("21. Nov."));
    EXPECT_EQ(inWords(TransferTimeframe::oneMonth, "ja_JP"), QStringLiteral("11月21日"));
    EXPECT_EQ(inWords(TransferTimeframe::oneMonth, "C"), QStringLiteral("21 Nov"));
}

TEST(MomentText, IsThatOfTheUsersClock)
{
    const QLocale locale(QStringLiteral("en_US"));

    EXPECT_EQ(momentText(kMoment, TransferTimeframe::oneDay, QTimeZone("Asia/Kolkata"), locale),
              QStringLiteral("19:35"));
}

TEST(MomentText, OfAMonthHoldsDayAndMonthInEveryLocale)
{
    const auto all = QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry);
    for (QLocale locale : all) {
        locale.setNumberOptions(QLocale::DefaultNumberOptions);
        const QString day = locale.toString(21);
        const QString text = momentText(kMoment, TransferTimeframe::oneMonth, QTimeZone::utc(), locale);

        EXPECT_TRUE(text.contains(day) || text.contains(QStringLiteral("21")))
            << locale.name().toStdString() << ": " << text.toStdString();
        EXPECT_FALSE(text.contains(QStringLiteral("2026"))) << locale.name().toStdString();
        EXPECT_GT(text.size(), day.size()) << locale.name().toStdString();
    }
}

} // namespace gateway::state
